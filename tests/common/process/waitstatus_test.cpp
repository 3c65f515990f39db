#include "common/process/waitstatus.h"

#include <gtest/gtest.h>
#include <signal.h>
#include <sys/wait.h>
#include <unistd.h>

#include <cerrno>
#include <string>
#include <tuple>
#include <vector>

#include "support/actionlog.h"

namespace {

using Texts = std::vector<std::string>;

TEST(ExitStatus, RawStatus_IsTracedInItsPartsAndDecoded) {
  const std::tuple<int, int, Texts> kRows[] = {
      // exited
      {0x0000, 0, {"1 0", "0 0", "0 0", "0 0"}},
      {0x0300, 3, {"1 3", "0 0", "0 3", "0 0"}},
      {0xff00, 255, {"1 255", "0 0", "0 255", "0 0"}},
      // ended by a signal, without and with a core file
      {0x0009, -1, {"0 0", "1 9", "0 0", "0 0"}},
      {0x0086, -1, {"0 0", "1 6", "0 0", "0 128"}},
      {0x007e, -1, {"0 0", "1 126", "0 0", "0 0"}},
      // stopped, continued, never reaped
      {0x137f, -1, {"0 19", "0 127", "1 19", "0 0"}},
      {0xffff, -1, {"0 255", "0 127", "0 255", "1 128"}},
      {-1, -1, {"0 255", "0 127", "0 255", "0 128"}},
  };
  const Texts kHeads = {"[T](common:535):   WIFEXITED:", "[T](common:536): WIFSIGNALED:",
                        "[T](common:537):  WIFSTOPPED:", "[T](common:538):WIFCONTINUED:"};
  const Texts kMiddles = {" WEXITSTATUS:", "    WTERMSIG:", "    WSTOPSIG:", "   WCOREDUMP:"};
  for (const auto& [status, result, values] : kRows) {
    const CapturedLog log(CapturedLog::Level::kTrace);
    EXPECT_EQ(exitStatus(status), result) << std::hex << status;
    Texts expected;
    for (std::size_t i = 0; i < 4; ++i) {
      const std::size_t blank = values[i].find(' ');
      expected.push_back(kHeads[i] + values[i].substr(0, blank) + kMiddles[i] +
                         values[i].substr(blank + 1));
    }
    EXPECT_EQ(log.texts(), expected) << std::hex << status;
  }
}

TEST(Waitpid, RunningChildWithoutHanging_GivesZero) {
  const CapturedLog log(CapturedLog::Level::kTrace);
  const pid_t pid = ::fork();
  if (pid == 0) ::pause();
  int status = 77;
  errno = EINTR;  // of an earlier call, which says nothing about this one
  EXPECT_EQ(waitpid("caller.cpp", 3024, pid, &status, WNOHANG), 0);
  EXPECT_EQ(status, 77);
  ::kill(pid, SIGKILL);
  EXPECT_EQ(waitpid("caller.cpp", 3024, pid, nullptr, 0), pid);
  EXPECT_EQ(log.bytes(), "");
}

TEST(Waitpid, NoSuchChild_IsLoggedAndMinusOne) {
  const CapturedLog log;
  int status = 77;
  EXPECT_EQ(waitpid("caller.cpp", 1, ::getpid(), &status, 0), -1);
  EXPECT_EQ(status, 77);
  EXPECT_EQ(log.texts(), Texts({"VUQ90004L : waitpid(pid=" + std::to_string(::getpid()) +
                                ") : No child processes"}));
}

}  // namespace
