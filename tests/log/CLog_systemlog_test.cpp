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
#include <filesystem>
#include <functional>
#include <regex>
#include <string>

#include "support/actionlog.h"
#include "support/childrun.h"
#include "support/descriptors.h"
#include "support/scratch.h"

namespace {

namespace fs = std::filesystem;

struct SystemLogMessage {
  std::string prefix;  // what comes before the message of the caller, the time replaced
  std::string text;    // the caller's message
};

/// Lets `body` write one message to the system log, in a child with a /dev of its own, and takes it
/// apart. The process id is replaced by "PID=<pid>" where it stands as expected.
SystemLogMessage systemLogOf(const std::function<void()>& body) {
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
  static const std::regex kTime(R"(^<(\d+)>[A-Z][a-z]{2} [ \d]\d \d\d:\d\d:\d\d )");
  const std::string text = std::regex_replace(child.out, kTime, "<$1>TIME ");
  const std::string word = "QZKBsoftmsg ";
  const std::size_t end = text.find(word);
  if (end == std::string::npos) return {text, ""};
  return {text.substr(0, end + word.size()), text.substr(end + word.size())};
}

class SystemLog : public testing::Test {
 protected:
  void SetUp() override {
    if (::getuid() != 0) GTEST_SKIP() << "needs root for a /dev of its own";
  }
};

TEST_F(SystemLog, Message_GoesOutAsTheUserFacilitysNoticeUnderTheProgramsName) {
  const SystemLogMessage message = systemLogOf([] {
    CLog log;
    log.init("/opt/bin/prog", "/dev/null");
    log.slog("%s %d", "message", 7);
  });
  EXPECT_EQ(message.prefix, "<13>TIME prog: PID=<pid> : QZKBsoftmsg ");
  EXPECT_EQ(message.text, "message 7");
}

TEST_F(SystemLog, WithoutAProgramPath_MessageGoesOutWithAnEmptyName) {
  for (const bool isInitialized : {false, true}) {
    const SystemLogMessage message = systemLogOf([&] {
      CLog log;
      if (isInitialized) log.init("prog", "/dev/null");
      if (isInitialized && log.init(nullptr, "/dev/null") != 0) ::_exit(1);
      log.slog("message");
    });
    EXPECT_EQ(message.prefix, "<13>TIME : PID=<pid> : QZKBsoftmsg ");
    EXPECT_EQ(message.text, "message");
  }
}

TEST_F(SystemLog, Message_LeavesTheSystemLogClosedAndTheFileUntouched) {
  const CapturedLog log(CapturedLog::Level::kTrace);
  fs::remove(log.path());
  const SystemLogMessage message = systemLogOf([] {
    const int before = upcomingDescriptor(1);
    gLog.slog("message");
    if (upcomingDescriptor(1) != before) ::_exit(1);
  });
  EXPECT_EQ(message.text, "message");
  EXPECT_FALSE(fs::exists(log.path()));
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
    const SystemLogMessage message = systemLogOf([&] {
      errno = ENOENT;
      gLog.slog("%s", row.text.c_str());
    });
    EXPECT_EQ(message.text, row.sent);
  }
}

TEST_F(SystemLog, ProcessIdBelow10000_IsPaddedToFiveColumns) {
  const SystemLogMessage message = systemLogOf([] {
    // Process 1 of a process-id namespace of its own.
    if (::unshare(CLONE_NEWPID) != 0) return;
    const pid_t pid = ::fork();
    if (pid == 0) {
      gLog.slog("message");
      ::_exit(0);
    }
    ::waitpid(pid, nullptr, 0);
  });
  EXPECT_TRUE(std::regex_match(message.prefix, std::regex("<13>TIME .*: PID=    1 : QZKBsoftmsg ")))
      << message.prefix;
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
