// The frame of a run: who may run the command, the lines around every log, the log's place,
// descriptors that the caller left closed, and signals that the caller ignores or blocks or that
// the command's own writes raise: none of them changes a run.

#include <fcntl.h>
#include <sys/resource.h>
#include <sys/stat.h>
#include <unistd.h>

#include <csignal>

#include "e2e/support/cases.h"
#include "support/childrun.h"
#include "support/descriptors.h"

namespace {

constexpr uid_t kNobody = 65534;
constexpr char kNoEntry[] = "No such file or directory";

// --- the action log ------------------------------------------------------------------------------

using Frame = MachineTest;

TEST_F(Frame, ArgumentZero_StandsInItVerbatim) {
  for (const std::string name : {"./x/../tanexics", "%s%n", ""}) {
    machine.clear();
    Call call = eventCall();
    Sending sending;
    call.argument0 = sending.argument0 = name;
    expectRun(machine.run(call), sending.event());
  }
}

TEST_F(Frame, LogWithoutItsDirectory_IsComplainedOfForEachLine) {
  const std::string path = "/var/opt/QZKBsoftmsg/log/msg_action.log";
  const Expected sent = Sending().event();
  expectRun(machine.run(eventCall().with({{"TANEX_LOG", std::nullopt}})),
            {"", sent.exchanges, 0, "", complaints(path, kNoEntry, sent.log)});
  EXPECT_TRUE(machine.names("/var/opt").empty());
  machine.clear();
  expectRun(machine.run(Call().with({{"TANEX_LOG", "/no/log"}})),
            {"", "", 68, "", complaints("/no/log", kNoEntry, rejected("").log)});
}

TEST_F(Frame, DefaultLog_IsRotatedWhereItIsLargeAndMadeAnewUnderAnyMask) {
  const std::string folder = "/var/opt/QZKBsoftmsg/log/";
  const std::string old(512001, 'o');
  machine.write(folder + "msg_action.log", old);
  for (const mode_t mask : {0U, 0777U}) {
    const Call call = eventCall().with({{"TANEX_LOG", std::nullopt}});
    machine.run(call.prepared([=] { return ::umask(mask) != 01000; }));
    EXPECT_EQ(machine.log(folder + "msg_action.log"), Sending().event().log.info);
    struct stat status = {};
    ::stat(machine.outside(folder + "msg_action.log").c_str(), &status);
    EXPECT_EQ(status.st_mode & 07777, mask == 0U ? 0644U : 01204U);  // kept, and made anew
    EXPECT_TRUE(machine.read(folder + "msg_action.bak") == old);
    machine.remove(folder + "msg_action.log");
  }
}

TEST_F(Frame, FullDisk_ChangesNothingButTheLog) {
  machine.makeFolder("/full");
  Sending sending;
  sending.files.assign(20, {"/dev/null", 0, "not a regular file"});
  std::string list;
  for (const File& file : sending.files) list += file.path + "\n";
  machine.write("/case/list", list);
  Call call = incidentCall().with({{"TANEX_LOG", "/full/action.log"}});
  call.prepare = [] { return mountTmpfs("/full", "4k"); };
  // Carries the log out before the disk vanishes.
  call.wrapper = {"/bin/sh", "-c",
                  "\"$@\"; status=$?; cp /full/action.log /case/carried; exit $status", "sh"};
  expectRun(machine.run(call), {"", sending.incident().exchanges});
  EXPECT_EQ(machine.read("/case/carried").size(), 4096U);
  EXPECT_EQ(machine.collected().size(), 2U);
}

// --- another user --------------------------------------------------------------------------------

/// Other users exist only where the caller is the super-user of the whole machine.
class AnotherUser : public MachineTest {
 protected:
  void SetUp() override {
    MachineTest::SetUp();
    if (IsSkipped()) return;
    if (!canBecomeNobody()) {
      GTEST_SKIP() << "there is no other user here: run as root outside a user namespace";
    }
    machine.makeFolder("/case", 0777);
    machine.makeFolder("/case/outbox", 0777);
    machine.makeFolder("/case/outbox/items", 0777);
    // A process of set-user-ID finds its library on its own search path only.
    machine.write("/opt/QZKBkel/lib/libkelcom.so", readFile(LOOPBACK_FOLDER "/libkelcom.so"));
  }

  const Expected m_refused = rejected("not Super-User", 65);
};

TEST_F(AnotherUser, AnyArguments_AreRefused) {
  for (const Call& call : {Call(), incidentCall().traced(), eventCall()}) {
    machine.remove("/case/action.log");
    expectRun(machine.run(call.prepared(becomeNobody)), m_refused);
  }
  EXPECT_FALSE(machine.exists("/case/collected"));
}

TEST_F(AnotherUser, EffectiveIdOfTheSuperUser_IsRefused) {
  const auto changeIds = [] { return ::setresuid(kNobody, 0, 0) == 0; };
  expectRun(machine.run(eventCall().prepared(changeIds)), m_refused);
}

TEST_F(AnotherUser, RealIdOfTheSuperUser_IsAccepted) {
#ifdef TANEXICS_INSTRUMENTED
  GTEST_SKIP() << "the instrumentation cannot watch such a process";
#endif
  const auto changeIds = [] { return ::setresuid(0, kNobody, kNobody) == 0; };
  expectRun(machine.run(eventCall().prepared(changeIds)), Sending().event());
}

// --- closed descriptors --------------------------------------------------------------------------

/// Bit 0, 1 and 2 of the parameter: descriptor 0, 1 and 2 are closed when the command starts.
class ClosedDescriptors : public MachineTest, public testing::WithParamInterface<int> {
 protected:
  /// Runs an incident, whose collection commands print something, and compares what it leaves.
  void expectIncident(const Environment& variables, Expected expected) const {
    const auto isClosed = [](int descriptor) { return (GetParam() >> descriptor & 1) != 0; };
    const auto close = [] {
      closeStandardDescriptors(GetParam());
      return true;
    };
    machine.setCollection("echo printed\necho unseen >&2\n");
    if (!isClosed(1)) expected.out = "printed\nprinted\n";
    if (isClosed(2)) expected.err = "";
    expectRun(machine.run(incidentCall().prepared(close).with(variables)), expected);
  }
};

TEST_P(ClosedDescriptors, Incident_GoesAsEver) {
  expectIncident({}, Sending().incident());
  EXPECT_EQ(machine.read("/case/a.txt"), "alpha\n");
  EXPECT_EQ(machine.read("/case/outbox/items/0001-a.txt"), "alpha\n");
  EXPECT_EQ(machine.read("/case/list"), "/case/a.txt\n/case/b.syslog.txt\n/case/c.txt\n");
}

TEST_P(ClosedDescriptors, RunWithoutALog_TellsNothingToTheLineToTheCentre) {
  expectIncident({{"LD_LIBRARY_PATH", "/testkelcom"},
                  {"TEST_KELCOM_LINE", "/case/line"},
                  {"TANEX_LOG", "/no/log"}},
                 {"", "", 0, "", complaints("/no/log", kNoEntry, Sending().incident().log)});
  EXPECT_EQ(machine.read("/case/line"), "");
}

INSTANTIATE_TEST_SUITE_P(Mask, ClosedDescriptors, testing::Range(0, 8));

// --- signals -------------------------------------------------------------------------------------

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
