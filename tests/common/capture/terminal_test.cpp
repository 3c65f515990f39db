#include "common/capture/terminal.h"

#include <gtest/gtest.h>
#include <sys/time.h>
#include <unistd.h>

#include <csignal>
#include <cstdio>
#include <functional>
#include <string>
#include <utility>
#include <vector>

#include "common/text/timetext.h"
#include "support/actionlog.h"
#include "support/childrun.h"
#include "support/fakeprogram.h"
#include "support/logtexts.h"

namespace {

using Texts = std::vector<std::string>;

/// A signal in `milliseconds` that interrupts the call in which it finds the process.
void interruptIn(int milliseconds) {
  struct sigaction action = {};
  action.sa_handler = [](int) {};
  ::sigaction(SIGALRM, &action, nullptr);
  const itimerval timer = {{0, 0}, {0, milliseconds * 1000}};
  ::setitimer(ITIMER_REAL, &timer, nullptr);
}

TEST(GetTerminalLineCount, Output_IsTheNumberAtItsStart) {
  const FakeProgram tput("tput");
  const std::pair<const char*, int> kRows[] = {
      {"24\n", 24},    {"1\n", 1},    {"99\n", 99}, {"999\n", 999}, {"9998\n", 999}, {"24", 24},
      {"123456", 123}, {"7\n8\n", 7}, {"0\n", 0},   {"-1\n", -1},   {"\n", 0},       {"lots\n", 0},
      {" 42\n", 42},   {"  42\n", 4}, {"4x\n", 4},  {"", 0}};
  for (const auto& [output, count] : kRows) {
    tput.answer(output);
    EXPECT_EQ(getTerminalLineCount(), count) << output;
  }
}

TEST(GetTerminalLineCount, FailedCommand_Is10AndOnlyTheStatusIsLogged) {
  const FakeProgram tput("tput");
  tput.answer("24\n", "exit 3");
  const CapturedLog log(CapturedLog::Level::kTrace);
  EXPECT_EQ(getTerminalLineCount(), 10);
  EXPECT_EQ(tput.takeArguments(), Texts({"1", "lines"}));
  EXPECT_EQ(log.texts(), tracedExit(3));
  tput.answer("24\n", "kill -9 $$");
  EXPECT_EQ(getTerminalLineCount(), 10);
}

TEST(GetTerminalLineCount, InterruptedRead_Is10) {
  const FakeProgram tput("tput");
  tput.answer("", "/bin/sleep 1");  // would be 0 if its end were reached
  const CapturedLog log(CapturedLog::Level::kTrace);
  const ChildResult child = runInChild([] {
    interruptIn(200);
    return getTerminalLineCount();
  });
  EXPECT_EQ(child.exitCode(), 10);
  EXPECT_EQ(log.bytes(), "") << "the status is not decoded then";
}

/// Runs `body` in a child whose standard input is a pipe that holds `bytes`; the other end stays
/// open unless `isClosed`.
ChildResult withInput(const std::string& bytes, bool isClosed, const std::function<int()>& body) {
  return runInChild([&] {
    int ends[2];
    if (::pipe(ends) != 0 || ::dup2(ends[0], STDIN_FILENO) < 0) return 77;
    if (::write(ends[1], bytes.data(), bytes.size()) != static_cast<ssize_t>(bytes.size()))
      return 78;
    if (isClosed) ::close(ends[1]);
    return body();
  });
}

/// Asks once, and gives "RESULT READY".
std::string received(int seconds) {
  int ready = 7;
  const int result = checkReceiveData(ready, seconds);
  return std::to_string(result) + " " + std::to_string(ready);
}

TEST(CheckReceiveData, Input_IsWaitedForAsLongAsAsked) {
  const struct {
    const char* bytes;
    bool isClosed;
    int seconds;
    std::string answer;
    double least, below;
  } kRows[] = {
      {"x", false, 30, "0 1", 0.0, 10.0}, {"", true, 30, "0 1", 0.0, 10.0},  // its end counts
      {"", false, 1, "0 0", 0.99, 10.0},  {"", false, 0, "0 0", 0.0, 0.99},
      {"x", false, 0, "0 1", 0.0, 0.99},  {"x", false, -1, "-1 0", 0.0, 0.99}};
  for (const auto& row : kRows) {
    const ChildResult child = withInput(row.bytes, row.isClosed, [&] {
      const double start = elapsedTime();
      std::fputs(received(row.seconds).c_str(), stdout);
      const double took = elapsedTime() - start;
      return took >= row.least && took < row.below ? 0 : 1;
    });
    EXPECT_EQ(child.exitCode(), 0) << row.bytes << ", " << row.seconds;
    EXPECT_EQ(child.out, row.answer) << row.bytes << ", " << row.seconds;
  }
}

TEST(CheckReceiveData, InterruptedWait_IsAnError) {
  const ChildResult child = withInput("", false, [] {
    interruptIn(200);
    return received(30) == "-1 0" ? 0 : 1;
  });
  EXPECT_EQ(child.exitCode(), 0);
}

TEST(CheckReceiveData, Input_StaysToBeReadAndWhatIsReadAheadDoesNotCount) {
  const ChildResult child = withInput("one\ntwo\n", false, [] {
    const std::string before = received(0);
    getch();
    std::puts((before + ", " + received(0)).c_str());
    return std::getchar();
  });
  EXPECT_EQ(child.exitCode(), 't');
  EXPECT_EQ(child.out, "0 1, 0 0\n");
}

/// What is left of an input after one call, which must give 0.
std::string leftAfterGetch(const std::string& input) {
  const ChildResult child = withInput(input, true, [] {
    if (getch() != 0) return 1;
    for (int byte = std::getchar(); byte != EOF; byte = std::getchar()) std::putchar(byte);
    return 0;
  });
  EXPECT_EQ(child.exitCode(), 0);
  return child.out;
}

TEST(Getch, OneLine_IsReadUpTo1023BytesAndDropped) {
  const std::string full(1023, 'x');
  EXPECT_EQ(leftAfterGetch(""), "");
  EXPECT_EQ(leftAfterGetch("one"), "");
  EXPECT_EQ(leftAfterGetch("one\ntwo\n"), "two\n");
  EXPECT_EQ(leftAfterGetch("\ntwo\n"), "two\n");
  EXPECT_EQ(leftAfterGetch(full.substr(1) + "\ntwo\n"), "two\n");
  EXPECT_EQ(leftAfterGetch(full + "\ntwo\n"), "\ntwo\n");
  EXPECT_EQ(leftAfterGetch(full + "x\ntwo\n"), "x\ntwo\n");
}

}  // namespace
