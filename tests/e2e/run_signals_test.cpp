// Signals that the caller ignores or blocks, and those that the command's own writes raise: none of
// them changes a run, and the programs that it starts get what the caller handed down.

#include <fcntl.h>
#include <sys/mount.h>
#include <sys/resource.h>
#include <unistd.h>

#include <csignal>

#include "e2e/support/cases.h"

namespace {

constexpr char kFirst[] = "/opt/dovra/tanex/bin/tanexcc";
constexpr char kSecond[] = "/opt/dovra/tanex/bin/tanexcs";

std::string incidentLog() { return framed(standardIncident(false) + collectionLines(false), 0); }

/// An undisturbed incident, whatever is prepared in its process.
Case incident(const std::string& name, std::function<bool()> prepare) {
  Case row = {name, {{"/case/list", "-i", "1"}}, {incidentLog(), standardIncidentCalls()}};
  row.call.prepare = std::move(prepare);
  return row;
}

std::function<bool()> ignoring(const std::vector<int>& signals) {
  return [=] {
    for (const int signal : signals) {
      if (::signal(signal, SIG_IGN) == SIG_ERR) return false;
    }
    return true;
  };
}

std::function<bool()> blocking(const std::vector<int>& signals) {
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

}  // namespace

TANEXICS_PLAY(InheritedSignals, cases);

class SignalRun : public CommandTest {};

TEST_F(SignalRun, ChildEndsIgnored_DirectoryIsGoneAndBothCommandsRanInIt) {
  const Machine machine;
  machine.run(incident("", ignoring({SIGCHLD})).call);
  EXPECT_EQ(machine.names("/tmp"), std::vector<std::string>());
  EXPECT_EQ(linesOf(machine.read("/case/collected")).size(), 2u);
}

/// What a run leaves whose collection commands print `bytes` to an output that nobody reads.
void expectBothCommandsRun(const std::string& bytes) {
  const Machine machine;
  machine.write("/case/bytes", bytes);
  for (const char* path : {kFirst, kSecond}) {
    machine.write(path, "#!/bin/sh\ncat /case/bytes\necho ran >>/case/collected\n", 0755);
  }
  Call call = {{"/case/list", "-i", "1"}};
  call.prepare = [] { return loseReader(STDOUT_FILENO); };
  expectRun(machine.run(call), {incidentLog(), standardIncidentCalls()});
  EXPECT_EQ(machine.read("/case/collected"), "ran\nran\n");
  EXPECT_EQ(machine.names("/tmp"), std::vector<std::string>());
}

TEST_F(SignalRun, ReaderOfOutputGone_BothCommandsRunAndTheFrameIsWhole) {
  expectBothCommandsRun("one line\n");
}

TEST_F(SignalRun, ReaderOfOutputGone_MoreThanABufferIsLetGoAllTheSame) {
  expectBothCommandsRun(std::string(100000, 'x') + "\n");
}

TEST_F(SignalRun, ReaderOfErrorsGone_RunWithoutALogSendsEverything) {
  const Machine machine;
  Call call = {{"/case/list", "-i", "1"}};
  call.environment["TANEX_LOG"] = "/no/folder/action.log";
  call.prepare = [] { return loseReader(STDERR_FILENO); };
  expectRun(machine.run(call), {"", standardIncidentCalls()});
  EXPECT_EQ(linesOf(machine.read("/case/collected")).size(), 2u);
}

TEST_F(SignalRun, LogAtTheLimitOfFileSizes_EverythingIsSentAndStopped) {
  const Machine machine;
  const std::string older(100000, 'o');
  machine.write("/case/full.log", older);
  Call call = {{"/case/list", "-i", "1"}};
  call.environment["TANEX_LOG"] = "/case/full.log";
  call.prepare = [&] { return limitFileSize(older.size()); };
  const RunResult result = machine.run(call);
  EXPECT_EQ(result.child.status, 0);
  EXPECT_EQ(result.exchanges, standardIncidentCalls());
  EXPECT_EQ(machine.read("/case/full.log"), older);
  EXPECT_EQ(linesOf(machine.read("/case/collected")).size(), 2u);
}

/// Puts bash(1) in the place of sh(1), in the private mounts of a run: other shells block and
/// unblock signals of their own accord.
bool usePlainShell() { return ::mount("/bin/bash", "/bin/sh", nullptr, MS_BIND, nullptr) == 0; }

/// The sets of blocked and ignored signals of a program that a collection command starts.
std::string handedOn(const std::function<bool()>& prepare) {
  const Machine machine;
  machine.write(kFirst, "#!/bin/sh\ngrep -E '^Sig(Ign|Blk):' /proc/self/status\n", 0755);
  machine.write(kSecond, "#!/bin/sh\n", 0755);
  Call call = {{"/case/list", "-i", "1"}};
  call.prepare = [&] { return usePlainShell() && prepare(); };
  return machine.run(call).child.out;
}

TEST_F(SignalRun, CallerIgnoresAndBlocksNothing_NorDoProgramsThatAreStarted) {
  EXPECT_EQ(handedOn(ignoring({})), "SigBlk:\t0000000000000000\nSigIgn:\t0000000000000000\n");
}

TEST_F(SignalRun, CallerIgnoresSome_ProgramsThatAreStartedIgnoreThem) {
  EXPECT_EQ(handedOn(ignoring({SIGHUP, SIGPIPE, SIGXFSZ})),
            "SigBlk:\t0000000000000000\nSigIgn:\t0000000001001001\n");
}

TEST_F(SignalRun, CallerBlocksSome_ProgramsThatAreStartedHaveThemBlocked) {
  EXPECT_EQ(handedOn(blocking({SIGHUP, SIGPIPE, SIGXFSZ})),
            "SigBlk:\t0000000001001001\nSigIgn:\t0000000000000000\n");
}
