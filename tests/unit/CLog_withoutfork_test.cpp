#include <gtest/gtest.h>
#include <pthread.h>
#include <sys/wait.h>
#include <unistd.h>

#include <cerrno>

#include "log/CLog.h"
#include "support/actionlog.h"

// Takes the place of the C library's call in this program, which is one of its own because the log
// asks once in the life of a process.
extern "C" int pthread_atfork(void (*)(), void (*)(), void (*)()) noexcept { return ENOMEM; }

namespace {

TEST(ActionLog, ForkThatCannotBeToldOf_ChildWritesItsOwnProcessId) {
  const CapturedLog log;
  gLog.ilog("parent");
  const pid_t pid = ::fork();
  if (pid == 0) {
    gLog.ilog("child");
    ::_exit(0);
  }
  ASSERT_EQ(::waitpid(pid, nullptr, 0), pid);
  gLog.ilog("parent again");
  const std::vector<LogLine> lines = parseLog(log.bytes());
  ASSERT_EQ(lines.size(), 3u);
  EXPECT_EQ(lines[0].pid, ::getpid());
  EXPECT_EQ(lines[1].pid, pid);
  EXPECT_EQ(lines[2].pid, ::getpid());
}

}  // namespace
