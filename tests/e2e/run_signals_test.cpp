// Signals that the caller ignores or blocks, and those that the command's own writes raise: none of
// them changes a run, and the programs that it starts get what the caller handed down.

#include <fcntl.h>
#include <sys/mount.h>
#include <sys/resource.h>
#include <unistd.h>

#include <csignal>

#include "e2e/support/cases.h"

namespace {

Prepare ignoring(const std::vector<int>& signals) {
  return [=] {
    for (const int signal : signals) {
      if (::signal(signal, SIG_IGN) == SIG_ERR) return false;
    }
    return true;
  };
}

Prepare blocking(const std::vector<int>& signals) {
  return [=] {
    sigset_t blocked;
    ::sigemptyset(&blocked);
    for (const int signal : signals) ::sigaddset(&blocked, signal);
    return ::sigprocmask(SIG_BLOCK, &blocked, nullptr) == 0;
  };
}

/// The descriptor becomes a pipe that nobody reads.
bool loseReader(int descriptor) {
  int ends[2];
  if (::pipe2(ends, O_CLOEXEC) != 0 || ::dup2(ends[1], descriptor) < 0) return false;
  return ::close(ends[0]) == 0;
}

/// No file may become larger than this, also with the signal that says so at its default.
bool limitFileSize(rlim_t bytes) {
  const rlimit limit = {bytes, bytes};
  return ::setrlimit(RLIMIT_FSIZE, &limit) == 0;
}

/// No signal is ignored, as some are by the shell that has put the tests into the background.
bool ignoreNothing() {
  for (int signal = 1; signal < SIGRTMIN; ++signal) ::signal(signal, SIG_DFL);
  return true;
}

/// Puts bash(1) in the place of sh(1), in the private mounts of a run: other shells block and
/// unblock signals of their own accord.
bool usePlainShell() { return ::mount("/bin/bash", "/bin/sh", nullptr, MS_BIND, nullptr) == 0; }

/// An undisturbed incident, whatever is prepared in its process.
Case incident(const std::string& name, const Prepare& prepare) {
  return {name, incidentCall().prepared(prepare), Sending().incident()};
}

std::vector<Case> cases() {
  const std::vector<int> own = {SIGCHLD, SIGPIPE, SIGXFSZ};
  return {
      incident("ChildEndsIgnored", ignoring({SIGCHLD})),
      incident("OwnSignalsIgnored", ignoring(own)),
      incident("OwnSignalsBlocked", blocking(own)),
      incident("ChildEndsIgnoredAndBlocked",
               [] { return ignoring({SIGCHLD})() && blocking({SIGCHLD})(); }),
  };
}

class InheritedSignals : public CaseTest {};

TEST_P(InheritedSignals, DirectoryIsGoneAndBothCommandsRanInIt) {
  play();
  EXPECT_TRUE(machine.names("/tmp").empty());
  EXPECT_EQ(machine.collected().size(), 2U);
}

INSTANTIATE_TEST_SUITE_P(Case, InheritedSignals, testing::ValuesIn(cases()),
                         testing::PrintToStringParamName());

class SignalRun : public MachineTest {
 protected:
  /// What a run leaves whose collection commands print `bytes` to an output that nobody reads.
  void expectBothCommandsRun(const std::string& bytes) const {
    machine.write("/case/bytes", bytes);
    machine.setCollection("cat /case/bytes\necho ran >>/case/collected\n");
    const auto prepare = [] { return loseReader(STDOUT_FILENO); };
    expectRun(machine.run(incidentCall().prepared(prepare)), Sending().incident());
    EXPECT_EQ(machine.read("/case/collected"), "ran\nran\n");
    EXPECT_TRUE(machine.names("/tmp").empty());
  }

  /// The sets of blocked and ignored signals of a program that a collection command starts.
  std::string handedOn(const Prepare& prepare) const {
    machine.clear();
    machine.setCollection("grep -E '^Sig(Ign|Blk):' /proc/self/status\n", "");
    const auto all = [&] { return ignoreNothing() && usePlainShell() && prepare(); };
    return machine.run(incidentCall().prepared(all)).child.out;
  }
};

TEST_F(SignalRun, ReaderOfOutputGone_BothCommandsRunAndTheFrameIsWhole) {
  expectBothCommandsRun("one line\n");
}

TEST_F(SignalRun, ReaderOfOutputGone_MoreThanABufferIsLetGoAllTheSame) {
  expectBothCommandsRun(std::string(100000, 'x') + "\n");
}

TEST_F(SignalRun, ReaderOfErrorsGone_RunWithoutALogSendsEverything) {
  const Call call = incidentCall().with({{"TANEX_LOG", "/no/folder/action.log"}});
  const auto prepare = [] { return loseReader(STDERR_FILENO); };
  expectRun(machine.run(call.prepared(prepare)), {"", Sending().incident().exchanges});
  EXPECT_EQ(machine.collected().size(), 2U);
}

TEST_F(SignalRun, LogAtTheLimitOfFileSizes_EverythingIsSentAndStopped) {
  const std::string older(100000, 'o');
  machine.write("/case/full.log", older);
  const Call call = incidentCall().with({{"TANEX_LOG", "/case/full.log"}});
  const RunResult result = machine.run(call.prepared([&] { return limitFileSize(older.size()); }));
  EXPECT_EQ(result.child.status, 0);
  EXPECT_EQ(result.exchanges, Sending().incident().exchanges);
  EXPECT_EQ(machine.read("/case/full.log"), older);
  EXPECT_EQ(machine.collected().size(), 2U);
}

TEST_F(SignalRun, ProgramsThatAreStarted_IgnoreAndBlockWhatTheCallerDoes) {
  const std::vector<int> some = {SIGHUP, SIGPIPE, SIGXFSZ};
  EXPECT_EQ(handedOn(ignoring({})), "SigBlk:\t0000000000000000\nSigIgn:\t0000000000000000\n");
  EXPECT_EQ(handedOn(ignoring(some)), "SigBlk:\t0000000000000000\nSigIgn:\t0000000001001001\n");
  EXPECT_EQ(handedOn(blocking(some)), "SigBlk:\t0000000001001001\nSigIgn:\t0000000000000000\n");
}

}  // namespace
