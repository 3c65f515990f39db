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
#include <vector>

#include "support/actionlog.h"
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

struct PipeRun {
  std::string out;
  int status;
};

struct Opened {
  explicit Opened(const char* command) : stream(s_popen(command, fd, pid)) {}
  int close() const { return s_pclose(stream, fd, pid); }
  int fd = -1;
  int pid = -1;
  FILE* stream;
};

PipeRun runThroughPipe(const char* command) {
  const Opened child(command);
  std::string out = readAll(child.stream);
  return {out, child.close()};
}

// --- s_popen and s_pclose ------------------------------------------------------------------------

TEST(SPopen, Command_GivesItsOutputAndRawStatus) {
  const CapturedLog log(CapturedLog::Level::kTrace);
  const PipeRun run = runThroughPipe("echo one; echo two; exit 3");
  EXPECT_EQ(run.out, "one\ntwo\n");
  EXPECT_EQ(run.status, 0x0300);
  EXPECT_EQ(runThroughPipe("kill -9 $$").status, SIGKILL);
  EXPECT_EQ(log.bytes(), "");
}

TEST(SPopen, OutArguments_AreTheStreamsDescriptorAndTheChild) {
  const Opened child("echo $$");
  EXPECT_EQ(child.fd, ::fileno(child.stream));
  EXPECT_EQ(readAll(child.stream), std::to_string(child.pid) + "\n");
  EXPECT_EQ(child.close(), 0);
}

TEST(SPopen, InputErrorOutputAndProcessGroup_AreTheCallers) {
  const ChildResult child = runInChild([] {
    const PipeRun run =
        runThroughPipe("readlink /proc/$$/fd/0; echo error >&2; ps -o pgid= -p $$ | tr -d ' '");
    return run.out == "/dev/null\n" + std::to_string(::getpgrp()) + "\n" ? 0 : 1;
  });
  EXPECT_EQ(child.exitCode(), 0);
  EXPECT_EQ(child.out, "");
  EXPECT_EQ(child.err, "error\n");
}

TEST(SPopen, Run_LeavesNoDescriptorOpen) {
  const int before = upcomingDescriptor(1);
  runThroughPipe("echo a");
  s_system("true");
  EXPECT_EQ(upcomingDescriptor(1), before);
}

TEST(SPopen, NoPipe_EndsTheProcessWithStatus1) {
  const ChildResult child = runInChild([] {
    if (!closeOtherDescriptors() || !limitDescriptors(3)) return 77;
    runThroughPipe("echo a");
    return 0;
  });
  EXPECT_EQ(child.exitCode(), 1);
  EXPECT_EQ(child.out + child.err, "");
}

TEST(SPopen, NoChild_GivesNullAndLeavesThePipeOpen) {
  if (!canBecomeNobody()) GTEST_SKIP() << "needs root to become another user";
  const ChildResult child = runInChild([] {
    if (!closeOtherDescriptors() || !becomeNobody() || !forbidFork()) return 77;
    int fd = 7;
    int pid = 7;
    FILE* stream = s_popen("echo a", fd, pid);
    std::printf("%d %d %d, next %d, ", stream == nullptr, fd, pid, upcomingDescriptor(1));
    std::printf("%d", s_system("echo a"));
    return 0;
  });
  EXPECT_EQ(child.exitCode(), 0);
  EXPECT_EQ(child.out + child.err, "1 0 -1, next 5, -1");
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

TEST(SPclose, DescriptorThatTheStreamDoesNotOwn_IsClosedTooAndNoOther) {
  const Opened child("true");
  const int own = ::dup(child.fd);
  const int other = ::dup(child.fd);
  EXPECT_EQ(s_pclose(child.stream, own, child.pid), 0);
  EXPECT_EQ(::fcntl(own, F_GETFD), -1);
  EXPECT_EQ(::fcntl(child.fd, F_GETFD), -1);
  EXPECT_EQ(::close(other), 0);
}

TEST(SPclose, NoStream_ClosesTheDescriptorAndReapsTheChild) {
  const Opened child("exit 3");
  const int own = ::dup(child.fd);
  EXPECT_EQ(s_pclose(nullptr, own, child.pid), 0x0300);
  EXPECT_EQ(::fcntl(own, F_GETFD), -1);
  EXPECT_EQ(std::fclose(child.stream), 0);
}

TEST(SPclose, ChildThatCannotBeWaitedFor_GivesMinusOne) {
  const CapturedLog log;
  const Opened child("exit 3");
  ASSERT_EQ(::waitpid(child.pid, nullptr, 0), child.pid);
  EXPECT_EQ(child.close(), -1);
  EXPECT_EQ(log.bytes(), "");
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

// --- s_system ------------------------------------------------------------------------------------

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

TEST(SSystem, Command_GivesItsRawStatusAndLogsNothing) {
  const CapturedLog log(CapturedLog::Level::kTrace);
  EXPECT_EQ(s_system(nullptr), -1);
  EXPECT_EQ(s_system("exit 3"), 0x0300);
  EXPECT_EQ(s_system("kill -9 $$"), SIGKILL);
  EXPECT_EQ(s_system(""), 0);
  EXPECT_EQ(log.bytes(), "");
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
  const struct {
    std::string printed;
    std::string relayed;
  } kRows[] = {
      {"a%%b\n", "a%b\n"},
      {"100%\n", "100%\n"},
      {"100%", "100%"},
      {"%s%d%n%x%ls\n", "%s%d%n%x%ls\n"},
      {"%m\n", "No such file or directory\n"},
      {"%%m %%%m\n", "%m %No such file or directory\n"},
      {"%5m %*d %1$s\n", "%5m %*d %1$s\n"},
      // What the end of a piece cuts prints as itself.
      {full + "%m\n", full + "%m\n"},
      {full + "%%\n", full + "%%\n"},
      {full + "%d\n", full + "%d\n"},
      {full.substr(1) + "%%\n", full.substr(1) + "%\n"},
      {"x" + full + "%%\n", "x" + full + "%\n"},
      // Twice as long as a format.
      {digits, digits},
      {std::string(510, '%'), std::string(255, '%')},
      {std::string(511, '%'), std::string(256, '%')},
      // What follows a zero byte within a piece is lost.
      {std::string("ab\0cd\nef\n", 9), "abef\n"},
  };
  for (const auto& row : kRows) EXPECT_EQ(relayed(row.printed), row.relayed) << row.printed;
}

}  // namespace
