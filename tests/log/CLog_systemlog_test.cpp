#include "log/CLog.h"

#include <gtest/gtest.h>
#include <sys/socket.h>
#include <sys/un.h>
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
#include "support/process1.h"
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

TEST(SystemLog, Message_GoesOutAsTheUserFacilitysNoticeUnderTheProgramsName) {
  if (::getuid() != 0) GTEST_SKIP() << "needs root for a /dev of its own";
  const SystemLogMessage message = systemLogOf([] {
    CLog log;
    log.init("/opt/bin/prog", "/dev/null");
    log.slog("%s %d", "message", 7);
  });
  EXPECT_EQ(message.prefix, "<13>TIME prog: PID=<pid> : QZKBsoftmsg ");
  EXPECT_EQ(message.text, "message 7");
}

TEST(SystemLog, WithoutInit_MessageGoesOutWithAnEmptyName) {
  if (::getuid() != 0) GTEST_SKIP() << "needs root for a /dev of its own";
  const SystemLogMessage message = systemLogOf([] { CLog().slog("message"); });
  EXPECT_EQ(message.prefix, "<13>TIME : PID=<pid> : QZKBsoftmsg ");
  EXPECT_EQ(message.text, "message");
}

TEST(SystemLog, InitWithoutProgramPath_MessageGoesOutWithAnEmptyName) {
  if (::getuid() != 0) GTEST_SKIP() << "needs root for a /dev of its own";
  const SystemLogMessage message = systemLogOf([] {
    CLog log;
    log.init("prog", "/dev/null");
    if (log.init(nullptr, "/dev/null") != 0) ::_exit(1);
    log.slog("message");
  });
  EXPECT_EQ(message.prefix, "<13>TIME : PID=<pid> : QZKBsoftmsg ");
  EXPECT_EQ(message.text, "message");
}

TEST(SystemLog, Message_LeavesTheSystemLogClosed) {
  if (::getuid() != 0) GTEST_SKIP() << "needs root for a /dev of its own";
  const SystemLogMessage message = systemLogOf([] {
    const int before = upcomingDescriptor(1);
    gLog.slog("message");
    if (upcomingDescriptor(1) != before) ::_exit(1);
  });
  EXPECT_EQ(message.text, "message");
}

TEST(SystemLog, Message_NeverTouchesTheFile) {
  if (::getuid() != 0) GTEST_SKIP() << "needs root for a /dev of its own";
  const CapturedLog log(CapturedLog::Level::kTrace);
  fs::remove(log.path());
  systemLogOf([] { gLog.slog("message"); });
  EXPECT_FALSE(fs::exists(log.path()));
}

std::string sentFor(const std::string& text) {
  return systemLogOf([&] {
           errno = ENOENT;
           gLog.slog("%s", text.c_str());
         })
      .text;
}

TEST(SystemLog, UnprintableBytes_BecomeBlanks) {
  if (::getuid() != 0) GTEST_SKIP() << "needs root for a /dev of its own";
  EXPECT_EQ(sentFor("a\tb\rc\nd e\x01"
                    "f\x7f"
                    "g\x80h\xa4\xa2i\xff!~"),
            "a b c d e f g h  i !~");
}

TEST(SystemLog, PercentSigns_AreInterpretedAsFarAsTheyNeedNoArgument) {
  if (::getuid() != 0) GTEST_SKIP() << "needs root for a /dev of its own";
  const struct {
    const char* text;
    const char* sent;
  } kRows[] = {
      {"100%", "100%"}, {"a%%b", "a%b"},      {"%s%d%n%ls", "%s%d%n%ls"},          {"%", "%"},
      {"%%%", "%%"},    {"% m%5m", "% m%5m"}, {"%m", "No such file or directory"},
  };
  for (const auto& row : kRows) EXPECT_EQ(sentFor(row.text), row.sent) << row.text;
}

TEST(SystemLog, OverlongMessage_IsCutTo2046Bytes) {
  if (::getuid() != 0) GTEST_SKIP() << "needs root for a /dev of its own";
  for (const std::size_t length : {2046u, 2047u, 2048u, 5000u}) {
    EXPECT_EQ(sentFor(std::string(length, 'x')), std::string(2046, 'x')) << length;
  }
}

TEST(SystemLog, ManyPercentSigns_StayWithinTheBuffers) {
  if (::getuid() != 0) GTEST_SKIP() << "needs root for a /dev of its own";
  std::string text;
  while (text.size() < 2046) text += "%d";
  EXPECT_EQ(sentFor(text), text);
}

TEST(SystemLog, ProcessIdBelow10000_IsPaddedToFiveColumns) {
  if (::getuid() != 0) GTEST_SKIP() << "needs root for a process-id namespace";
  const SystemLogMessage message = systemLogOf([] { asProcess1([] { gLog.slog("message"); }); });
  EXPECT_TRUE(std::regex_match(message.prefix, std::regex("<13>TIME .*: PID=    1 : QZKBsoftmsg ")))
      << message.prefix;
}

TEST(SystemLog, NobodyListening_IsNoFailure) {
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
