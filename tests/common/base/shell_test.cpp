#include "common/base/shell.h"

#include <fcntl.h>
#include <gtest/gtest.h>
#include <sys/time.h>
#include <sys/wait.h>
#include <unistd.h>

#include <cerrno>
#include <csignal>
#include <cstdio>
#include <string>
#include <utility>

#include "support/childrun.h"
#include "support/descriptors.h"
#include "support/scratch.h"

namespace {

std::string readAll(FILE* stream) {
  std::string text;
  for (int byte = std::fgetc(stream); byte != EOF; byte = std::fgetc(stream)) {
    text += static_cast<char>(byte);
  }
  return text;
}

struct Opened {
  explicit Opened(const char* command) : stream(s_popen(command, fd, pid)) {}
  int close() const { return s_pclose(stream, fd, pid); }
  int fd = -1;
  int pid = -1;
  FILE* stream;
};

std::string outputOf(const char* command) {
  const Opened child(command);
  std::string output = readAll(child.stream);
  EXPECT_EQ(child.close(), 0);
  return output;
}

TEST(SPopen, OutArguments_AreTheStreamsDescriptorAndTheChild) {
  const Opened child("echo $$; exit 3");
  EXPECT_EQ(child.fd, ::fileno(child.stream));
  EXPECT_EQ(readAll(child.stream), std::to_string(child.pid) + "\n");
  EXPECT_EQ(child.close(), 0x0300);
}

TEST(SPopen, InputErrorOutputAndProcessGroup_AreTheCallers) {
  const ChildResult child = runInChild([] {
    const std::string output =
        outputOf("readlink /proc/$$/fd/0; echo error >&2; ps -o pgid= -p $$ | tr -d ' '");
    return output == "/dev/null\n" + std::to_string(::getpgrp()) + "\n" ? 0 : 1;
  });
  EXPECT_EQ(child.exitCode(), 0);
  EXPECT_EQ(child.out, "");
  EXPECT_EQ(child.err, "error\n");
}

TEST(SPopen, Run_LeavesNoDescriptorOpen) {
  const int before = upcomingDescriptor(1);
  outputOf("echo a");
  s_system("true");
  EXPECT_EQ(upcomingDescriptor(1), before);
}

TEST(SPopen, NoPipe_EndsTheProcessWithStatus1) {
  const ChildResult child = runInChild([] {
    if (!closeOtherDescriptors() || !limitDescriptors(3)) return 77;
    outputOf("echo a");
    return 0;
  });
  EXPECT_EQ(child.exitCode(), 1);
  EXPECT_EQ(child.out + child.err, "");
}

TEST(SPopen, CommandLongerThanAnArgumentMayBe_EndsWithStatus0) {
  const std::string command = "exit 3;";
  const std::string longest = command + std::string(131071 - command.size(), ' ');
  EXPECT_EQ(s_system(longest.c_str()), 0x0300);
  EXPECT_EQ(s_system((longest + " ").c_str()), 0);
}

TEST(SPclose, PartOfTheOutputUnread_EndsTheChild) {
  const Opened child("while echo a; do :; done");
  EXPECT_EQ(std::fgetc(child.stream), 'a');
  EXPECT_EQ(child.close(), SIGPIPE);
}

TEST(SPclose, DescriptorThatTheStreamDoesNotOwn_IsClosedWithAndWithoutAStream) {
  for (const bool withStream : {true, false}) {
    const Opened child("exit 3");
    const int own = ::dup(child.fd);
    EXPECT_EQ(s_pclose(withStream ? child.stream : nullptr, own, child.pid), 0x0300);
    EXPECT_EQ(::fcntl(own, F_GETFD), -1);
    EXPECT_EQ(::fcntl(child.fd, F_GETFD), withStream ? -1 : FD_CLOEXEC);
    if (!withStream) std::fclose(child.stream);
  }
}

TEST(SPclose, InterruptedWait_IsNotMadeAgain) {
  const ChildResult result = runInChild([] {
    struct sigaction action = {};
    action.sa_handler = [](int) {};  // no SA_RESTART
    ::sigaction(SIGALRM, &action, nullptr);
    const Opened child("exec >/dev/null; sleep 1; exit 3");
    if (!readAll(child.stream).empty()) return 77;
    const itimerval timer = {{0, 0}, {0, 200000}};
    ::setitimer(ITIMER_REAL, &timer, nullptr);
    if (child.close() != -1) return 78;
    int status = 0;
    return ::waitpid(child.pid, &status, 0) == child.pid && status == 0x0300 ? 0 : 79;
  });
  EXPECT_EQ(result.exitCode(), 0);
}

/// What s_system prints for a command that prints `bytes`, with errno as ENOENT.
std::string relayed(const std::string& bytes) {
  const ScratchDir dir;
  const std::string command = "cat " + dir.write("output", bytes);
  const ChildResult child = runInChild([&] {
    errno = ENOENT;
    return s_system(command.c_str()) == 0 ? 0 : 1;
  });
  EXPECT_EQ(child.exitCode(), 0);
  EXPECT_EQ(child.err, "");
  return child.out;
}

TEST(SSystem, Command_GivesItsRawStatus) {
  EXPECT_EQ(s_system(nullptr), -1);
  EXPECT_EQ(s_system("exit 3"), 0x0300);
  EXPECT_EQ(s_system("kill -9 $$"), SIGKILL);
  EXPECT_EQ(s_system(""), 0);
}

TEST(SSystem, Output_IsWrittenAtOnceAndErrorOutputLeftAlone) {
  const ChildResult child = runInChild([]() -> int {
    s_system("echo out; echo error >&2");
    ::_exit(0);  // which loses what waits in a buffer
  });
  EXPECT_EQ(child.out, "out\n");
  EXPECT_EQ(child.err, "error\n");
}

TEST(SSystem, Output_ArrivesWholeInPiecesOf511) {
  std::string numbers;
  while (numbers.size() < 300000) numbers += std::to_string(numbers.size()) + "\n";
  EXPECT_TRUE(relayed(numbers) == numbers) << "more than a pipe holds";
  for (const std::size_t length : {510u, 511u, 512u, 1022u, 1023u, 5000u}) {
    const std::string text = std::string(length, 'x') + "\nend without a line feed";
    EXPECT_EQ(relayed(text), text) << length;
  }
}

TEST(SSystem, PercentSignInTheOutput_IsInterpretedAsByPrintf) {
  const std::string full(510, 'x');
  std::string digits;
  while (digits.size() < 2044) digits += "%d";
  const std::pair<std::string, std::string> kRows[] = {
      {"a%%b\n", "a%b\n"},
      {"100%", "100%"},
      {"%s%d%n%x%ls\n", "%s%d%n%x%ls\n"},
      {"%m\n", "No such file or directory\n"},
      {"%%m %%%m\n", "%m %No such file or directory\n"},
      {"%5m %*d %1$s\n", "%5m %*d %1$s\n"},
      // What the end of a piece cuts prints as itself.
      {full + "%m\n", full + "%m\n"},
      {full + "%%\n", full + "%%\n"},
      {full.substr(1) + "%%\n", full.substr(1) + "%\n"},
      {"x" + full + "%%\n", "x" + full + "%\n"},
      // Twice as long as a format.
      {digits, digits},
      {std::string(510, '%'), std::string(255, '%')},
      {std::string(511, '%'), std::string(256, '%')},
      // What follows a zero byte within a piece is lost.
      {std::string("ab\0cd\nef\n", 9), "abef\n"},
  };
  for (const auto& [printed, expected] : kRows) EXPECT_EQ(relayed(printed), expected) << printed;
}

bool isWild(int byte) { return byte == '*' || byte == '?' || byte == '[' || byte == ']'; }

TEST(ShellEsc, EveryByte_GetsABackslashExactlyWhenListed) {
  const std::string special = "\"'\t ()|<>&#^`{}$\\";
  ASSERT_EQ(special.size(), 17u);
  for (int byte = 1; byte < 256; ++byte) {
    const std::string text = "a" + std::string(1, static_cast<char>(byte)) + "b";
    const std::string escaped = "a\\" + text.substr(1);
    const bool isSpecial = special.find(static_cast<char>(byte)) != std::string::npos;
    EXPECT_EQ(shellEsc(text, 0), isSpecial ? escaped : text) << byte;
    for (const int escWild : {1, 2, -1}) {
      EXPECT_EQ(shellEsc(text, escWild), isSpecial || isWild(byte) ? escaped : text) << byte;
      EXPECT_EQ(shellEsc(text.c_str(), escWild), shellEsc(text, escWild)) << byte;
    }
  }
}

}  // namespace
