#include "common/capture/execgetlinestimeout.h"

#include <fcntl.h>
#include <gtest/gtest.h>
#include <sys/ioctl.h>
#include <sys/wait.h>
#include <unistd.h>

#include <csignal>
#include <fstream>
#include <functional>
#include <list>
#include <string>
#include <tuple>
#include <utility>
#include <vector>

#include "common/base/childshell.h"
#include "support/actionlog.h"
#include "support/descriptors.h"
#include "support/logtexts.h"
#include "support/scratch.h"

// --- takes the place of the C library's call in this program -------------------------------------

/// What goes on while the function sleeps between one look at the child and the next, given how
/// often it has slept. Only that passes, and no second.
static std::function<void(int)> duringSleep;
static int sleeps = 0;
static bool isAlwaysOneSecond = true;

extern "C" unsigned sleep(unsigned seconds) {
  isAlwaysOneSecond = isAlwaysOneSecond && seconds == 1;
  duringSleep(++sleeps);
  return 0;
}

namespace {

using Texts = std::vector<std::string>;

constexpr int kForever = 1000000;
const Texts kSigterm = {"VUQ90004L : Command  TIMEOUT (send SIGTERM)"};
const Texts kSigkill = {"VUQ90004L : Command  TIMEOUT (send SIGKILL)"};

Texts started(const std::string& command) { return {"VUQ90004L : com=" + command}; }

Texts ended(const std::string& status) { return {"VUQ90004L : pid=<pid>,wstat=" + status}; }

void waitForTheEnd() {
  siginfo_t info;
  ::waitid(P_ALL, 0, &info, WEXITED | WNOWAIT);
}

void waitForFile(const std::string& path) {
  while (::access(path.c_str(), F_OK) != 0) ::usleep(1000);
}

/// One run: what came back, what was logged, and how often the function slept.
struct Outcome {
  int result;
  Texts lines;
  Texts log;
  int slept;
};

Outcome run(const std::string& command, int seconds, const std::function<void(int)>& meanwhile) {
  const CapturedLog log;
  duringSleep = meanwhile;
  sleeps = 0;
  isAlwaysOneSecond = true;
  std::list<std::string> lines = {"left over"};
  const int result = execGetLinesTimeout(lines, command.c_str(), seconds);
  EXPECT_TRUE(isAlwaysOneSecond);
  return {result, Texts(lines.begin(), lines.end()), withoutPids(log.texts()), sleeps};
}

/// A run of a command that ends by itself, during the first sleep at the latest.
Outcome runToItsEnd(const std::string& command) {
  return run(command, 30, [](int) { waitForTheEnd(); });
}

/// A run of `setup`, after which the command waits until it is told to go on, and then of `rest`.
/// The first sleep ends when the setup is done, the sleep `goesOn` after the command has ended.
Outcome runUntil(int goesOn, int seconds, const std::string& setup, const std::string& rest) {
  const ScratchDir dir;
  const std::string ready = dir / "ready";
  const std::string go = dir / "go";
  const std::string await = "while [ ! -e " + go + " ]; do sleep 0.01; done; ";
  // Its own file for the log, which names the command.
  const std::string script = dir.write("script", setup + ": >" + ready + "; " + await + rest);
  Outcome outcome = run("exec sh " + script, seconds, [&](int nth) {
    waitForFile(ready);
    if (nth == goesOn) dir.write("go", "");
    if (nth >= goesOn) waitForTheEnd();
  });
  EXPECT_EQ(outcome.log.front(), started("exec sh " + script).front());
  outcome.log.erase(outcome.log.begin());
  return outcome;
}

/// Whether a process is there and no zombie.
bool isAlive(const std::string& pid) {
  std::ifstream status("/proc/" + pid + "/stat");
  std::string text;
  std::getline(status, text);
  const std::size_t end = text.rfind(") ");
  return end != std::string::npos && text.at(end + 2) != 'Z';
}

TEST(ExecGetLinesTimeout, Command_GivesItsOutputAndItsStatusAndLeavesNothing) {
  const std::tuple<const char*, Texts, int, const char*> kRows[] = {
      {"readlink /proc/$$/fd/2", {"/dev/null"}, 0, "00000000"},
      {"printf 'one\\r\\n\\n two \\nthree'", {"one", "", " two ", "three"}, 0, "00000000"},
      {"echo a; exit 3", {"a"}, 3, "00000300"},
      {"echo a; kill -9 $$", {"a"}, -1, "00000009"},
      {"/nowhere/x", {}, 127, "00007f00"}};
  const Texts descriptors = namesIn("/proc/self/fd");
  for (const auto& [command, lines, result, status] : kRows) {
    const Outcome outcome = runToItsEnd(command);
    EXPECT_EQ(outcome.result, result) << command;
    EXPECT_EQ(outcome.lines, lines) << command;
    EXPECT_EQ(outcome.log, inOrder({started(command), ended(status)}));
  }
  EXPECT_EQ(namesIn("/proc/self/fd"), descriptors);
  EXPECT_EQ(::wait(nullptr), -1) << "a child was not waited for";
}

TEST(ExecGetLinesTimeout, CommandThatIsAnEntryOfItsResult_IsRunAndLoggedAtTraceLevel) {
  const std::string command = "echo $$; exit 5 # too long to need no memory of its own";
  const CapturedLog log(CapturedLog::Level::kTrace);
  duringSleep = [](int) { waitForTheEnd(); };
  std::list<std::string> lines = {"left over", command};
  EXPECT_EQ(execGetLinesTimeout(lines, lines.back().c_str(), 30), 5);
  ASSERT_EQ(lines.size(), 1u);
  EXPECT_EQ(log.texts(),
            inOrder({{"[T](common:2955):execGetLinesTimeout() command:[" + command + "]"},
                     started(command),
                     {"VUQ90004L : pid=" + lines.front() + ",wstat=00000500"},
                     tracedExit(5)}));
}

TEST(ExecGetLinesTimeout, Command_LeadsAGroupAndASessionOfItsOwn) {
  // Process, group and session of the shell itself, which replaces itself by the reader.
  const Outcome outcome = runToItsEnd("exec cut -d' ' -f1,5,6 /proc/self/stat");
  ASSERT_EQ(outcome.lines.size(), 1u);
  const std::string pid = outcome.lines[0].substr(0, outcome.lines[0].find(' '));
  EXPECT_EQ(outcome.lines[0], pid + " " + pid + " " + pid);
}

TEST(ExecGetLinesTimeout, LongLines_ArriveInPiecesOf1022Characters) {
  const std::string full(1022, 'x');
  const std::pair<std::string, Texts> kRows[] = {{full.substr(1) + "\nz", {full.substr(1), "z"}},
                                                 {full + "\nz\n", {full, "", "z"}},
                                                 {full + "x\nz\n", {full, "x", "z"}},
                                                 {full + full + "x", {full, full, "x"}}};
  const ScratchDir dir;
  for (const auto& [output, lines] : kRows) {
    EXPECT_EQ(runToItsEnd("cat " + dir.write("output", output)).lines, lines);
  }
}

TEST(ExecGetLinesTimeout, EndWithinTheLimitOrTheGrace_GivesTheCommandsOwnStatus) {
  const std::pair<int, Texts> kRows[] = {{1, {}},
                                         {2, {}},
                                         {3, kSigterm},  // in the last second, after the last look
                                         {4, kSigterm},
                                         {3 + 59, kSigterm},
                                         {3 + 60, inOrder({kSigterm, kSigkill})}};
  for (const auto& [goesOn, signals] : kRows) {
    const Outcome outcome = runUntil(goesOn, 3, "trap '' TERM; echo a; ", "echo late; exit 9");
    EXPECT_EQ(outcome.result, 9) << goesOn;
    EXPECT_EQ(outcome.lines, Texts({"a", "late"})) << goesOn;
    EXPECT_EQ(outcome.log, inOrder({signals, ended("00000900")})) << goesOn;
    EXPECT_EQ(outcome.slept, goesOn);
  }
}

TEST(ExecGetLinesTimeout, GroupAboveItsLimit_IsEndedBySigterm) {
  const Outcome outcome = runUntil(3, 2, "sleep 1000 & echo $!; ", "");
  EXPECT_EQ(outcome.result, -1);
  ASSERT_EQ(outcome.lines.size(), 1u);
  EXPECT_FALSE(isAlive(outcome.lines[0]));
  EXPECT_EQ(outcome.log, inOrder({kSigterm, ended("0000000f")}));
}

TEST(ExecGetLinesTimeout, GroupThatIgnoresSigterm_IsKilled60SecondsAfterItsLimit) {
  const std::pair<int, int> kRows[] = {{1, 1},       {2, 2},    {7199, 7199}, {7200, 7200},
                                       {7201, 7200}, {0, 7200}, {-5, 7200},   {9000, 7200}};
  for (const auto& [seconds, taken] : kRows) {
    const Outcome outcome = runUntil(kForever, seconds, "trap '' TERM; sleep 1000 & echo $!; ", "");
    EXPECT_EQ(outcome.result, -1) << seconds;
    ASSERT_EQ(outcome.lines.size(), 1u) << seconds;
    EXPECT_FALSE(isAlive(outcome.lines[0])) << seconds;
    EXPECT_EQ(outcome.log, inOrder({kSigterm, kSigkill, ended("00000009")})) << seconds;
    EXPECT_EQ(outcome.slept, taken + 60) << seconds;
  }
}

TEST(ExecGetLinesTimeout, GrandchildWithTheOutputOpen_IsReadToItsEnd) {
  const std::string early = "(sleep 0.3; echo late) & echo early";
  const Outcome outlived = runToItsEnd(early);
  EXPECT_EQ(outlived.result, 0);
  EXPECT_EQ(outlived.lines, Texts({"early", "late"}));
  EXPECT_EQ(outlived.log, inOrder({started(early), ended("00000000")}));
  const Outcome survived =
      runUntil(3, 2, "trap '' TERM; (sleep 0.3; echo late) & trap - TERM; echo early; ", "");
  EXPECT_EQ(survived.result, -1);
  EXPECT_EQ(survived.lines, Texts({"early", "late"}));
  EXPECT_EQ(survived.log, inOrder({kSigterm, ended("0000000f")}));
}

TEST(ExecGetLinesTimeout, GrandchildWithoutTheOutput_OutlivesTheCommand) {
  const Outcome outcome = runToItsEnd("sleep 1000 >/dev/null & echo $!");
  ASSERT_EQ(outcome.lines.size(), 1u);
  ::usleep(20000);  // a signal would take its time
  EXPECT_TRUE(isAlive(outcome.lines[0]));
  ::kill(std::stoi(outcome.lines[0]), SIGKILL);
}

TEST(ExecGetLinesTimeout, MoreThanAPipeHolds_EndsInTheTimeoutWithWhatItHeld) {
  Pipe pipe;
  ASSERT_TRUE(makePipe(pipe));
  const int capacity = ::fcntl(pipe.readEnd.get(), F_GETPIPE_SZ);
  const struct {
    int bytes, result;
    Texts ending;
  } kRows[] = {{capacity, 0, ended("00000000")},
               {capacity + 1, -1, inOrder({kSigterm, ended("0000000f")})}};
  const ScratchDir dir;
  for (const auto& row : kRows) {
    const std::string text(static_cast<std::size_t>(row.bytes), 'x');
    // In the shell's own place: a child of it might print on when the shell has gone.
    const std::string command = "exec cat " + dir.write("output", text);
    const int readEnd = upcomingDescriptor(1);
    const Outcome outcome = run(command, 2, [&](int nth) {
      for (int held = 0; held < capacity; ::ioctl(readEnd, FIONREAD, &held)) ::usleep(1000);
      if (row.result == 0 || nth > 2) waitForTheEnd();
    });
    EXPECT_EQ(outcome.result, row.result);
    std::string returned;
    for (const std::string& piece : outcome.lines) returned += piece;
    EXPECT_EQ(returned.size(), static_cast<std::size_t>(capacity));
    EXPECT_EQ(outcome.log, inOrder({started(command), row.ending}));
  }
}

TEST(ExecGetLinesTimeout, FailingWait_IsLoggedAtEveryLookButEndsNoLoop) {
  const auto former = std::signal(SIGCHLD, SIG_IGN);  // the kernel reaps, and every wait fails
  const Outcome outcome = runUntil(1, 2, "echo a; ", "");
  std::signal(SIGCHLD, former);
  EXPECT_EQ(outcome.result, -1);
  EXPECT_EQ(outcome.lines, Texts({"a"}));
  EXPECT_EQ(outcome.slept, 2 + 60);
  const std::string failed = "VUQ90004L : waitpid(pid=<pid>) : No child processes";
  EXPECT_EQ(outcome.log, inOrder({{failed},  // the first look still finds it running
                                  kSigterm,
                                  Texts(60, failed),
                                  kSigkill,
                                  {failed},
                                  ended("ffffffff")}));
}

}  // namespace
