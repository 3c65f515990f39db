#include "common/capture/execgetlinestimeout.h"

#include <fcntl.h>
#include <gtest/gtest.h>
#include <sys/wait.h>
#include <unistd.h>

#include <cerrno>
#include <csignal>
#include <cstdio>
#include <ctime>
#include <filesystem>
#include <fstream>
#include <functional>
#include <list>
#include <string>
#include <vector>

#include "common/text/timetext.h"
#include "support/actionlog.h"
#include "support/childrun.h"
#include "support/descriptors.h"
#include "support/failingfdopen.h"
#include "support/logtexts.h"
#include "support/scratch.h"

namespace {

/// Between one look at the child and the next the function sleeps, two hours long if need be. Only
/// tests of how often it sleeps switch this off; all others wait for as long as is promised.
bool isSleepReal = true;
std::vector<unsigned> sleeps;  // the seconds of each, in order
std::string awaited;           // what the command makes when it has started; no sleep ends before

}  // namespace

// Stands before the C library's own, which the function under test would call.
extern "C" unsigned sleep(unsigned seconds) {
  sleeps.push_back(seconds);
  if (!isSleepReal) {
    while (::access(awaited.c_str(), F_OK) != 0) ::usleep(1000);
    return 0;
  }
  timespec left = {static_cast<time_t>(seconds), 0};
  while (::nanosleep(&left, &left) != 0 && errno == EINTR) continue;
  return 0;
}

namespace {

namespace fs = std::filesystem;
using Texts = std::vector<std::string>;

const Texts kSigterm = {"VUQ90004L : Command  TIMEOUT (send SIGTERM)"};
const Texts kSigkill = {"VUQ90004L : Command  TIMEOUT (send SIGKILL)"};

Texts started(const std::string& command) { return {"VUQ90004L : com=" + command}; }

Texts ended(const std::string& status) { return {"VUQ90004L : pid=<pid>,wstat=" + status}; }

/// One run: what came back, what was logged, and how long it took.
struct Outcome {
  int result;
  Texts lines;
  Texts log;
  double took;
};

Outcome run(const std::string& command, int seconds) {
  const CapturedLog log;
  std::list<std::string> lines = {"left over"};
  const double start = elapsedTime();
  const int result = execGetLinesTimeout(lines, command.c_str(), seconds);
  const double took = elapsedTime() - start;
  return {result, Texts(lines.begin(), lines.end()), withoutPids(log.texts()), took};
}

void expectBetween(double took, double least, double most) {
  EXPECT_GE(took, least - 0.01);
  EXPECT_LT(took, most);
}

/// Whether a process is there and no zombie.
bool isAlive(const std::string& pid) {
  std::ifstream status("/proc/" + pid + "/stat");
  std::string text;
  std::getline(status, text);
  const std::size_t end = text.rfind(") ");
  return end != std::string::npos && text.at(end + 2) != 'Z';
}

// --- commands that end in time -------------------------------------------------------------------

TEST(ExecGetLinesTimeout, NullCommand_IsLoggedAndMinusOne) {
  const CapturedLog log(CapturedLog::Level::kTrace);
  std::list<std::string> lines = {"left over"};
  EXPECT_EQ(execGetLinesTimeout(lines, nullptr, 5), -1);
  EXPECT_EQ(lines, std::list<std::string>({"left over"}));
  EXPECT_EQ(log.texts(), Texts({"[I](common:2951):invalid param"}));
}

TEST(ExecGetLinesTimeout, Output_ComesInOrderWithoutLineEnds) {
  const Outcome outcome = run("printf 'one\\r\\n\\n two \\nthree'", 30);
  EXPECT_EQ(outcome.result, 0);
  EXPECT_EQ(outcome.lines, Texts({"one", "", " two ", "three"}));
  EXPECT_EQ(outcome.log,
            inOrder({started("printf 'one\\r\\n\\n two \\nthree'"), ended("00000000")}));
}

TEST(ExecGetLinesTimeout, NoOutput_EmptiesTheList) {
  const Outcome outcome = run("true", 30);
  EXPECT_EQ(outcome.result, 0);
  EXPECT_EQ(outcome.lines, Texts());
}

TEST(ExecGetLinesTimeout, CommandThatIsAnEntryOfItsResult_IsRunAndLogged) {
  const std::string command = "echo one # too long to need no memory of its own";
  const CapturedLog log;
  std::list<std::string> lines = {"left over", command};
  EXPECT_EQ(execGetLinesTimeout(lines, lines.back().c_str(), 30), 0);
  EXPECT_EQ(lines, std::list<std::string>({"one"}));
  EXPECT_EQ(withoutPids(log.texts()), inOrder({started(command), ended("00000000")}));
}

TEST(ExecGetLinesTimeout, ExitStatus3_Is3) {
  const Outcome outcome = run("echo a; exit 3", 30);
  EXPECT_EQ(outcome.result, 3);
  EXPECT_EQ(outcome.lines, Texts({"a"}));
  EXPECT_EQ(outcome.log, inOrder({started("echo a; exit 3"), ended("00000300")}));
}

TEST(ExecGetLinesTimeout, CommandKilledByASignal_IsMinusOne) {
  const Outcome outcome = run("echo a; kill -9 $$", 30);
  EXPECT_EQ(outcome.result, -1);
  EXPECT_EQ(outcome.lines, Texts({"a"}));
  EXPECT_EQ(outcome.log, inOrder({started("echo a; kill -9 $$"), ended("00000009")}));
}

TEST(ExecGetLinesTimeout, MissingCommand_Is127) { EXPECT_EQ(run("/nowhere/x", 30).result, 127); }

TEST(ExecGetLinesTimeout, RunAtTraceLevel_IsLoggedFromCommandToStatus) {
  const CapturedLog log(CapturedLog::Level::kTrace);
  std::list<std::string> lines;
  EXPECT_EQ(execGetLinesTimeout(lines, "echo $$; exit 5", 30), 5);
  EXPECT_EQ(log.texts(),
            inOrder({{"[T](common:2955):execGetLinesTimeout() command:[echo $$; exit 5]",
                      "VUQ90004L : com=echo $$; exit 5",
                      "VUQ90004L : pid=" + lines.front() + ",wstat=00000500"},
                     tracedExit(5)}));
}

TEST(ExecGetLinesTimeout, ErrorOutput_IsDropped) {
  const CapturedLog log;
  const ChildResult child = runInChild([] {
    std::list<std::string> lines;
    const int result = execGetLinesTimeout(lines, "echo error >&2; echo out", 30);
    return lines == std::list<std::string>({"out"}) ? result : 1;
  });
  EXPECT_EQ(child.exitCode(), 0);
  EXPECT_EQ(child.out + child.err, "");
}

TEST(ExecGetLinesTimeout, Command_LeadsAGroupAndASessionOfItsOwn) {
  // Process, group and session of the shell itself, which replaces itself by the reader.
  const Outcome outcome = run("exec cut -d' ' -f1,5,6 /proc/self/stat", 30);
  ASSERT_EQ(outcome.lines.size(), 1u);
  const std::string pid = outcome.lines[0].substr(0, outcome.lines[0].find(' '));
  EXPECT_EQ(outcome.lines[0], pid + " " + pid + " " + pid);
}

TEST(ExecGetLinesTimeout, Child_IsLookedAtOnceASecond) {
  const Outcome outcome = run("sleep 0.3", 30);
  EXPECT_EQ(outcome.result, 0);
  expectBetween(outcome.took, 1.0, 10.0);
}

TEST(ExecGetLinesTimeout, EndInTheLastSecondOfTheLimit_IsLoggedAsATimeoutWithItsStatus) {
  const Outcome outcome = run("sleep 0.3; exit 3", 1);
  EXPECT_EQ(outcome.result, 3);
  EXPECT_EQ(outcome.log, inOrder({started("sleep 0.3; exit 3"), kSigterm, ended("00000300")}));
  expectBetween(outcome.took, 1.0, 10.0);
}

TEST(ExecGetLinesTimeout, LongLines_ArriveInPiecesOf1022Characters) {
  const ScratchDir dir;
  const struct {
    std::size_t length;
    std::vector<std::size_t> pieces;
  } kRows[] = {{1021, {1021}},      {1022, {1022}},       {1023, {1022, 1}},      {1024, {1022, 2}},
               {1500, {1022, 478}}, {2044, {1022, 1022}}, {2045, {1022, 1022, 1}}};
  for (const auto& row : kRows) {
    const std::string path = dir.write("line", std::string(row.length, 'x'));
    std::vector<std::size_t> pieces;
    for (const std::string& piece : run("cat " + path, 30).lines) {
      EXPECT_EQ(piece, std::string(piece.size(), 'x'));
      pieces.push_back(piece.size());
    }
    EXPECT_EQ(pieces, row.pieces) << row.length;
  }
}

TEST(ExecGetLinesTimeout, LineEndThatDoesNotFit_IsAnEmptyEntry) {
  const ScratchDir dir;
  const std::string line(1021, 'x');
  const std::string path = dir.write("line", line + "\n" + line + "y\nz\n");
  EXPECT_EQ(run("cat " + path, 30).lines, Texts({line, line + "y", "", "z"}));
}

TEST(ExecGetLinesTimeout, DescriptorsAndChildren_AreGoneAfterwards) {
  const ChildResult child = runInChild([] {
    const Texts before = namesIn("/proc/self/fd");
    std::list<std::string> lines;
    execGetLinesTimeout(lines, "echo a", 30);
    if (namesIn("/proc/self/fd") != before) return 1;
    return ::wait(nullptr) == -1 && errno == ECHILD ? 0 : 2;
  });
  EXPECT_EQ(child.exitCode(), 0);
}

// --- commands that do not ------------------------------------------------------------------------

TEST(ExecGetLinesTimeout, CommandAboveItsLimit_IsEndedBySigterm) {
  const std::string command = "echo a; exec sleep 1000";
  const Outcome outcome = run(command, 2);
  EXPECT_EQ(outcome.result, -1);
  EXPECT_EQ(outcome.lines, Texts({"a"}));
  EXPECT_EQ(outcome.log, inOrder({started(command), kSigterm, ended("0000000f")}));
  expectBetween(outcome.took, 2.0, 15.0);
}

TEST(ExecGetLinesTimeout, CommandThatEndsWithinItsLimit_IsNotTouched) {
  const std::string command = "sleep 2; echo a";
  const Outcome outcome = run(command, 10);
  EXPECT_EQ(outcome.lines, Texts({"a"}));
  EXPECT_EQ(outcome.log, inOrder({started(command), ended("00000000")}));
  expectBetween(outcome.took, 2.0, 9.0);
}

TEST(ExecGetLinesTimeout, CommandThatTidiesUpAfterSigterm_GivesItsOwnStatus) {
  const std::string command =
      "trap 'sleep 4; echo late; exit 7' TERM; echo a; while :; do sleep 1; done";
  const Outcome outcome = run(command, 2);
  EXPECT_EQ(outcome.result, 7);
  EXPECT_EQ(outcome.lines, Texts({"a", "late"}));
  EXPECT_EQ(outcome.log, inOrder({started(command), kSigterm, ended("00000700")}));
  expectBetween(outcome.took, 6.0, 30.0);
}

TEST(ExecGetLinesTimeout, CommandThatIgnoresSigterm_IsKilled60SecondsLater) {
  const std::string command = "trap '' TERM; echo a; sleep 1000; echo b";
  const Outcome outcome = run(command, 3);
  EXPECT_EQ(outcome.result, -1);
  EXPECT_EQ(outcome.lines, Texts({"a"}));
  EXPECT_EQ(outcome.log, inOrder({started(command), kSigterm, kSigkill, ended("00000009")}));
  expectBetween(outcome.took, 63.0, 75.0);
}

TEST(ExecGetLinesTimeout, CommandThatEndsShortlyBeforeSigkill_IsNotKilled) {
  const std::string command = "trap '' TERM; sleep 57; exit 9";
  const Outcome outcome = run(command, 3);
  EXPECT_EQ(outcome.result, 9);
  EXPECT_EQ(outcome.log, inOrder({started(command), kSigterm, ended("00000900")}));
  expectBetween(outcome.took, 57.0, 63.0);
}

TEST(ExecGetLinesTimeout, Grandchildren_GetSigtermToo) {
  const std::string command = "sleep 1000 & echo $!; wait";
  const Outcome outcome = run(command, 2);
  ASSERT_EQ(outcome.lines.size(), 1u);
  EXPECT_FALSE(isAlive(outcome.lines[0]));
  EXPECT_EQ(outcome.log, inOrder({started(command), kSigterm, ended("0000000f")}));
  expectBetween(outcome.took, 2.0, 15.0);
}

TEST(ExecGetLinesTimeout, GrandchildrenThatIgnoreSigterm_AreKilledWithTheCommand) {
  const std::string command = "trap '' TERM; sleep 1000 & echo $!; wait";
  const Outcome outcome = run(command, 3);
  ASSERT_EQ(outcome.lines.size(), 1u);
  EXPECT_FALSE(isAlive(outcome.lines[0]));
  EXPECT_EQ(outcome.log, inOrder({started(command), kSigterm, kSigkill, ended("00000009")}));
  expectBetween(outcome.took, 63.0, 75.0);
}

TEST(ExecGetLinesTimeout, GrandchildThatOutlivesTheCommand_IsReadToItsEnd) {
  const std::string command = "(sleep 4; echo late) & echo early";
  const Outcome outcome = run(command, 2);
  EXPECT_EQ(outcome.result, 0);
  EXPECT_EQ(outcome.lines, Texts({"early", "late"}));
  EXPECT_EQ(outcome.log, inOrder({started(command), ended("00000000")}));
  expectBetween(outcome.took, 4.0, 30.0);
}

TEST(ExecGetLinesTimeout, GrandchildThatSurvivesSigterm_KeepsTheOutputOpen) {
  const std::string command = "(trap '' TERM; sleep 6; echo late) & echo early; wait";
  const Outcome outcome = run(command, 2);
  EXPECT_EQ(outcome.result, -1);
  EXPECT_EQ(outcome.lines, Texts({"early", "late"}));
  EXPECT_EQ(outcome.log, inOrder({started(command), kSigterm, ended("0000000f")}));
  expectBetween(outcome.took, 6.0, 30.0);
}

// --- commands that print more than a pipe holds --------------------------------------------------

std::size_t pipeBytes() {
  int ends[2];
  EXPECT_EQ(::pipe(ends), 0);
  const int bytes = ::fcntl(ends[0], F_GETPIPE_SZ);
  ::close(ends[0]);
  ::close(ends[1]);
  return static_cast<std::size_t>(bytes);
}

/// Runs a command that prints so many bytes without any line end, and gives how many came back.
Outcome runPrinting(std::size_t bytes, std::size_t& returned) {
  const ScratchDir dir;
  // In the shell's own place: a child of it might print on when the shell has gone.
  const Outcome outcome = run("exec cat " + dir.write("output", std::string(bytes, 'x')), 2);
  returned = 0;
  for (const std::string& piece : outcome.lines) returned += piece.size();
  return outcome;
}

TEST(ExecGetLinesTimeout, AsMuchAsAPipeHolds_IsNoTimeout) {
  for (const std::size_t bytes : {pipeBytes() - 1, pipeBytes()}) {
    std::size_t returned = 0;
    const Outcome outcome = runPrinting(bytes, returned);
    EXPECT_EQ(outcome.result, 0);
    EXPECT_EQ(returned, bytes);
    EXPECT_EQ(outcome.log.back(), ended("00000000").front());
    EXPECT_EQ(outcome.log.size(), 2u);
  }
}

TEST(ExecGetLinesTimeout, OneByteMoreThanAPipeHolds_EndsInTheTimeoutWithTheRest) {
  std::size_t returned = 0;
  const Outcome outcome = runPrinting(pipeBytes() + 1, returned);
  EXPECT_EQ(outcome.result, -1);
  EXPECT_EQ(returned, pipeBytes());
  ASSERT_EQ(outcome.log.size(), 3u);
  EXPECT_EQ(Texts(outcome.log.begin() + 1, outcome.log.end()),
            inOrder({kSigterm, ended("0000000f")}));
}

TEST(ExecGetLinesTimeout, EndlessOutput_EndsInTheTimeoutWithWhatThePipeHeld) {
  const Outcome outcome = run("exec yes 0123456", 2);
  EXPECT_EQ(outcome.result, -1);
  EXPECT_EQ(outcome.lines, Texts(pipeBytes() / 8, "0123456"));
  EXPECT_EQ(outcome.log, inOrder({started("exec yes 0123456"), kSigterm, ended("0000000f")}));
}

// --- the time limit ------------------------------------------------------------------------------

TEST(ExecGetLinesTimeout, LimitsBelow1_LetACommandRun) {
  for (const int seconds : {0, -5}) {
    const Outcome outcome = run("sleep 3; echo a", seconds);
    EXPECT_EQ(outcome.result, 0) << seconds;
    EXPECT_EQ(outcome.lines, Texts({"a"})) << seconds;
    EXPECT_EQ(outcome.log, inOrder({started("sleep 3; echo a"), ended("00000000")})) << seconds;
  }
}

/// How often the function sleeps for a command that nothing but SIGKILL ends, where sleeping takes
/// no time.
std::vector<unsigned> sleepsWithLimit(int seconds) {
  const ScratchDir dir;
  const std::string command = ": >" + dir / "started" + "; exec sleep 100000";
  const CapturedLog log;
  const ChildResult child = runInChild([&] {
    std::signal(SIGTERM, SIG_IGN);  // which the command inherits
    isSleepReal = false;
    awaited = dir / "started";
    sleeps.clear();
    std::list<std::string> lines;
    const int result = execGetLinesTimeout(lines, command.c_str(), seconds);
    for (const unsigned slept : sleeps) std::printf("%u\n", slept);
    return result == -1 ? 0 : 1;
  });
  EXPECT_EQ(child.exitCode(), 0);
  EXPECT_EQ(withoutPids(log.texts()),
            inOrder({started(command), kSigterm, kSigkill, ended("00000009")}));
  std::vector<unsigned> slept;
  for (const std::string& line : linesOf(child.out)) {
    slept.push_back(static_cast<unsigned>(std::stoul(line)));
  }
  return slept;
}

TEST(ExecGetLinesTimeout, LimitOf0_IsTwoHours) {
  EXPECT_EQ(sleepsWithLimit(0), std::vector<unsigned>(7200 + 60, 1));
}

TEST(ExecGetLinesTimeout, NegativeLimit_IsTwoHours) {
  EXPECT_EQ(sleepsWithLimit(-5), std::vector<unsigned>(7200 + 60, 1));
}

TEST(ExecGetLinesTimeout, LimitOf9000_IsTwoHours) {
  EXPECT_EQ(sleepsWithLimit(9000), std::vector<unsigned>(7200 + 60, 1));
}

TEST(ExecGetLinesTimeout, LimitsFrom1To7200_AreTakenAsTheyAre) {
  for (const int seconds : {1, 2, 7199, 7200}) {
    EXPECT_EQ(sleepsWithLimit(seconds),
              std::vector<unsigned>(static_cast<std::size_t>(seconds) + 60, 1));
  }
  EXPECT_EQ(sleepsWithLimit(7201), std::vector<unsigned>(7200 + 60, 1));
}

// --- failures ------------------------------------------------------------------------------------

TEST(ExecGetLinesTimeout, FailingWait_IsLoggedAtEveryLookButEndsNoLoop) {
  CapturedLog log;
  const ChildResult child = runInChild([] {
    std::signal(SIGCHLD, SIG_IGN);  // the kernel reaps, and every wait fails
    std::list<std::string> lines;
    const double start = elapsedTime();
    const int result = execGetLinesTimeout(lines, "echo a", 2);
    const double took = elapsedTime() - start;
    return result == -1 && lines.front() == "a" && took >= 61.99 && took < 75.0 ? 0 : 1;
  });
  EXPECT_EQ(child.exitCode(), 0);
  const std::string failed = "VUQ90004L : waitpid(pid=<pid>) : No child processes";
  const Texts texts = withoutPids(log.texts());
  // The first look may still find the command running, which is no failure.
  ASSERT_GE(texts.size(), 66u);
  ASSERT_LE(texts.size(), 67u);
  EXPECT_EQ(texts, inOrder({started("echo a"),
                            Texts(texts.size() - 65, failed),
                            kSigterm,
                            Texts(60, failed),
                            kSigkill,
                            {failed},
                            ended("ffffffff")}));
}

TEST(ExecGetLinesTimeout, NoPipe_IsLoggedWithTheReason) {
  CapturedLog log(CapturedLog::Level::kTrace);
  const ChildResult child = runInChild([] {
    // One descriptor is left, which the log needs.
    if (!closeOtherDescriptors() || !limitDescriptors(4)) return 77;
    std::list<std::string> lines = {"left over"};
    return execGetLinesTimeout(lines, "echo a", 5) == -1 && lines.empty() ? 0 : 1;
  });
  EXPECT_EQ(child.exitCode(), 0);
  EXPECT_EQ(log.texts(), Texts({"[T](common:2955):execGetLinesTimeout() command:[echo a]",
                                "VUQ90003L : failed to pipe():Too many open files"}));
}

TEST(ExecGetLinesTimeout, NoChild_IsLoggedWithReasonFirstAndCommandSecond) {
  if (!canBecomeNobody()) GTEST_SKIP() << "needs root to become another user";
  const CapturedLog log;
  std::ofstream(log.path()).close();  // a log that another user may go on with
  fs::permissions(log.path(), fs::perms::all);
  fs::permissions(fs::path(log.path()).parent_path(), fs::perms::all);
  const ChildResult child = runInChild([] {
    if (!becomeNobody() || !forbidFork()) return 77;
    const int before = upcomingDescriptor(2);
    std::list<std::string> lines = {"left over"};
    if (execGetLinesTimeout(lines, "echo a", 5) != -1 || !lines.empty()) return 1;
    return upcomingDescriptor(2) == before ? 0 : 2;  // both ends of the pipe are closed
  });
  EXPECT_EQ(child.exitCode(), 0);
  EXPECT_EQ(log.texts(), inOrder({started("echo a"),
                                  {"VUQ90005L : failed to exec(Resource temporarily "
                                   "unavailable):echo a"}}));
}

TEST(ExecGetLinesTimeout, NoStream_LeavesTheChildUnwaitedAndNoDescriptorOpen) {
  const CapturedLog log;
  const ChildResult child = runInChild([] {
    const int before = upcomingDescriptor(2);
    isFdopenFailing = true;
    std::list<std::string> lines;
    if (execGetLinesTimeout(lines, "exit 3", 5) != -1) return 77;
    isFdopenFailing = false;
    if (upcomingDescriptor(2) != before) return 79;
    int status = 0;
    return ::wait(&status) > 0 && WIFEXITED(status) ? WEXITSTATUS(status) : 78;
  });
  EXPECT_EQ(child.exitCode(), 3);
  EXPECT_EQ(log.texts(), started("exit 3"));
}

TEST(ExecGetLinesTimeout, ShellThatCannotBeStarted_Is1) {
  if (::getuid() != 0) GTEST_SKIP() << "needs root to hide the shell";
  const CapturedLog log;
  const ChildResult child = runInChild([] {
    if (!enterPrivateMounts() || !mountTmpfs("/bin")) return 77;
    std::list<std::string> lines;
    return execGetLinesTimeout(lines, "echo a", 5) == 1 && lines.empty() ? 0 : 1;
  });
  EXPECT_EQ(child.exitCode(), 0);
  EXPECT_EQ(withoutPids(log.texts()), inOrder({started("echo a"), ended("00000100")}));
}

}  // namespace
