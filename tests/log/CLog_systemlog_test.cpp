#include "log/CLog.h"

#include <gtest/gtest.h>
#include <sched.h>
#include <sys/socket.h>
#include <sys/un.h>
#include <sys/wait.h>
#include <unistd.h>

#include <cerrno>
#include <cstdio>
#include <cstring>
#include <functional>
#include <string>

#include "support/childrun.h"
#include "support/descriptors.h"
#include "support/pattern.h"
#include "support/scratch.h"

namespace {

/// What `body`, which writes one message to the system log, sends from a child with a /dev of its
/// own; the time and the process id replaced where they stand as expected.
std::string systemLogOf(const std::function<void()>& body) {
  const ChildResult child = runInChild([&] {
    sockaddr_un address = {};
    address.sun_family = AF_UNIX;
    std::strcpy(address.sun_path, "/dev/log");
    const int fd = ::socket(AF_UNIX, SOCK_DGRAM | SOCK_CLOEXEC, 0);
    if (!enterPrivateMounts() || !mountTmpfs("/dev") ||
        ::bind(fd, reinterpret_cast<const sockaddr*>(&address), sizeof address) != 0) {
      return 77;
    }
    body();
    char message[8192];
    const ssize_t size = ::recv(fd, message, sizeof message, MSG_DONTWAIT);
    if (size < 0 || ::recv(fd, message, sizeof message, MSG_DONTWAIT) >= 0) return 1;
    char pid[32];
    std::snprintf(pid, sizeof pid, "PID=%5d", static_cast<int>(::getpid()));
    std::string text(message, static_cast<std::size_t>(size));
    const std::size_t at = text.find(pid);
    if (at != std::string::npos) text.replace(at, std::strlen(pid), "PID=<pid>");
    std::fwrite(text.data(), 1, text.size(), stdout);
    return 0;
  });
  EXPECT_EQ(child.exitCode(), 0) << child.err;
  return replacePattern(child.out, R"(^<(\d+)>[A-Z][a-z]{2} [ \d]\d \d\d:\d\d:\d\d )", "<$1>TIME ");
}

class SystemLog : public testing::Test {
 protected:
  void SetUp() override {
    if (::getuid() != 0) GTEST_SKIP() << "needs root for a /dev of its own";
  }
};

TEST_F(SystemLog, Message_GoesOutAsTheUserFacilitysNoticeUnderTheProgramsNameAlone) {
  const ScratchDir dir;
  const std::string message = systemLogOf([&] {
    CLog log;
    log.init("/opt/bin/prog", (dir / "action.log").c_str());
    const int before = upcomingDescriptor(1);
    log.slog("%s %d", "message", 7);
    if (upcomingDescriptor(1) != before) ::_exit(1);
  });
  EXPECT_EQ(message, "<13>TIME prog: PID=<pid> : QZKBsoftmsg message 7");
  EXPECT_EQ(namesIn(dir.path()), Texts());
}

/// What comes before the message where the log knows no program.
const std::string kHead = "<13>TIME : PID=<pid> : QZKBsoftmsg ";

TEST_F(SystemLog, NullProgramPath_IsAnEmptyName) {
  const std::string message = systemLogOf([] {
    CLog log;
    log.init("prog", "/dev/null");
    log.init(nullptr, "/dev/null");
    log.slog("message");
  });
  EXPECT_EQ(message, kHead + "message");
}

TEST_F(SystemLog, Text_IsAFormatWithoutArgumentsOfPrintableBytesCutTo2046) {
  std::string manyPercentSigns;
  while (manyPercentSigns.size() < 2046) manyPercentSigns += "%d";
  const std::string longest(2046, 'x');
  const struct {
    std::string text;
    std::string sent;
  } kRows[] = {{"a\tb\rc\nd e\x01-\x7fg\x80h\xa4\xa2i\xff!~", "a b c d e - g h  i !~"},
               {"100%", "100%"},
               {"a%%b", "a%b"},
               {"%s%d%n%ls", "%s%d%n%ls"},
               {"%", "%"},
               {"%%%", "%%"},
               {"% m%5m", "% m%5m"},
               {"%m", "No such file or directory"},
               {manyPercentSigns, manyPercentSigns},
               {longest, longest},
               {longest + "x", longest},
               {longest + "xx", longest},
               {longest + longest, longest}};
  for (const auto& row : kRows) {
    const std::string message = systemLogOf([&] {
      errno = ENOENT;
      CLog().slog("%s", row.text.c_str());
    });
    EXPECT_EQ(message, kHead + row.sent);
  }
}

TEST_F(SystemLog, ProcessIdBelow10000_IsPaddedToFiveColumns) {
  const std::string message = systemLogOf([] {
    // Process 1 of a process-id namespace of its own.
    if (::unshare(CLONE_NEWPID) != 0) return;
    const pid_t pid = ::fork();
    if (pid == 0) {
      CLog().slog("message");
      ::_exit(0);
    }
    ::waitpid(pid, nullptr, 0);
  });
  EXPECT_EQ(message, "<13>TIME : PID=    1 : QZKBsoftmsg message");
}

TEST(SystemLogAlone, NobodyListening_IsNoFailure) {
  const ScratchDir dir;
  const ChildResult child = runInChild([&] {
    if (::getuid() == 0 && ::chroot(dir.path().c_str()) != 0) return 77;
    gLog.slog("message");
    return 0;
  });
  EXPECT_EQ(child.exitCode(), 0);
  EXPECT_EQ(child.out + child.err, "");
}

}  // namespace
