// The frame of a run: who may run the command, the lines around every log, the log's place, and
// descriptors that the caller left closed.

#include <sys/stat.h>
#include <unistd.h>

#include "e2e/support/cases.h"
#include "support/descriptors.h"

namespace {

constexpr uid_t kNobody = 65534;
constexpr char kDefaultLog[] = "/var/opt/QZKBsoftmsg/log/msg_action.log";
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
  const Expected sent = Sending().event();
  expectRun(machine.run(eventCall().with({{"TANEX_LOG", std::nullopt}})),
            {"", sent.exchanges, 0, "", complaints(kDefaultLog, kNoEntry, sent.log)});
  EXPECT_TRUE(machine.names("/var/opt").empty());
  machine.clear();
  expectRun(machine.run(Call().with({{"TANEX_LOG", "/no/log"}})),
            {"", "", 68, "", complaints("/no/log", kNoEntry, rejected("").log)});
}

TEST_F(Frame, LargeDefaultLog_IsRotatedBeforeTheFirstLine) {
  const std::string old(512001, 'o');
  machine.write(kDefaultLog, old);
  machine.write("/var/opt/QZKBsoftmsg/log/msg_action.bak", std::string(600000, 'b'));
  Expected expected = Sending().event();
  const RunResult result = machine.run(eventCall().with({{"TANEX_LOG", std::nullopt}}));
  EXPECT_EQ(machine.log(kDefaultLog), expected.log.info);
  expected.log = "";
  expectRun(result, expected);
  EXPECT_TRUE(machine.read("/var/opt/QZKBsoftmsg/log/msg_action.bak") == old);
}

TEST_F(Frame, NewLog_HasItsPermissionBitsUnderEveryMaskOfTheCaller) {
  for (const mode_t mask : {0U, 077U, 0777U}) {
    machine.clear();
    machine.run(eventCall().prepared([=] { return ::umask(mask) != 01000; }));
    struct stat status = {};
    ASSERT_EQ(::stat(machine.outside("/case/action.log").c_str(), &status), 0);
    EXPECT_EQ(status.st_mode & 07777U, 01204U) << mask;
  }
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

}  // namespace
