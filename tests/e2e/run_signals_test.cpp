// Signals that the caller ignores or blocks, and those that the command's own writes raise: none of
// them changes a run.

#include <fcntl.h>
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
Prepare losingReaderOf(int descriptor) {
  return [=] {
    int ends[2];
    if (::pipe2(ends, O_CLOEXEC) != 0 || ::dup2(ends[1], descriptor) < 0) return false;
    return ::close(ends[0]) == 0;
  };
}

/// No file may become larger than this, also with the signal that says so at its default.
Prepare limitingFilesTo(rlim_t bytes) {
  return [=] {
    const rlimit limit = {bytes, bytes};
    return ::setrlimit(RLIMIT_FSIZE, &limit) == 0;
  };
}

using Signals = MachineTest;

TEST_F(Signals, InheritedInAnyWay_BothCommandsRunInADirectoryThatIsGone) {
  const std::vector<int> own = {SIGCHLD, SIGPIPE, SIGXFSZ};
  const Prepare both = [own] { return ignoring(own)() && blocking(own)(); };
  for (const Prepare& prepare : {ignoring(own), blocking(own), both}) {
    machine.clear();
    expectRun(machine.run(incidentCall().prepared(prepare)), Sending().incident());
    EXPECT_TRUE(machine.names("/tmp").empty());
    EXPECT_EQ(machine.collected().size(), 2U);
  }
}

TEST_F(Signals, ReaderOfOutputGone_BothCommandsRunAndTheFrameIsWhole) {
  // Also with more than a buffer of it.
  for (const std::size_t bytes : {9U, 100000U}) {
    machine.clear();
    machine.write("/case/bytes", std::string(bytes, 'x') + "\n");
    machine.setCollection("cat /case/bytes\necho ran >>/case/collected\n");
    expectRun(machine.run(incidentCall().prepared(losingReaderOf(STDOUT_FILENO))),
              Sending().incident());
    EXPECT_EQ(machine.read("/case/collected"), "ran\nran\n") << bytes;
    EXPECT_TRUE(machine.names("/tmp").empty());
  }
}

TEST_F(Signals, ReaderOfErrorsGone_RunWithoutALogSendsEverything) {
  const Call call = incidentCall().with({{"TANEX_LOG", "/no/folder/action.log"}});
  expectRun(machine.run(call.prepared(losingReaderOf(STDERR_FILENO))),
            {"", Sending().incident().exchanges});
  EXPECT_EQ(machine.collected().size(), 2U);
}

TEST_F(Signals, LogAtTheLimitOfFileSizes_EverythingIsSentAndStopped) {
  const std::string older(100000, 'o');
  machine.write("/case/full.log", older);
  const Call call = incidentCall().with({{"TANEX_LOG", "/case/full.log"}});
  expectRun(machine.run(call.prepared(limitingFilesTo(older.size()))),
            {"", Sending().incident().exchanges});
  EXPECT_EQ(machine.read("/case/full.log"), older);
  EXPECT_EQ(machine.collected().size(), 2U);
}

}  // namespace
