// The frame of a run: who may run the command, the lines around every log, and descriptors that the
// caller left closed.

#include <sys/stat.h>
#include <unistd.h>

#include <regex>

#include "e2e/support/cases.h"
#include "support/descriptors.h"

namespace {

constexpr uid_t kNobody = 65534;

const Expected kRefused = rejected("not Super-User", 65);

// --- the lines around every log ------------------------------------------------------------------

using Frame = MachineTest;

TEST_F(Frame, ArgumentZero_StandsInItVerbatim) {
  for (const std::string name : {"/usr/sbin/tanexics", "./x/../tanexics", "%s%n", " ", ""}) {
    machine.clear();
    Call call = eventCall();
    Sending sending;
    call.argument0 = sending.argument0 = name;
    expectRun(machine.run(call), sending.event());
  }
}

TEST_F(Frame, ElapsedTime_IsThatOfTheRun) {
  machine.setCollection("sleep 0.3\n", "");
  machine.run(incidentCall());
  const std::string log = machine.read("/case/action.log");
  std::smatch match;
  ASSERT_TRUE(std::regex_search(log, match, std::regex("time='([0-9]+\\.[0-9]{6})'")));
  EXPECT_GE(std::stod(match[1]), 0.3);
  EXPECT_LT(std::stod(match[1]), 30.0);
}

TEST_F(Frame, Mask_Is022WhateverTheCallersWas) {
  for (const mode_t mask : {0U, 077U}) {
    machine.clear();
    machine.run(incidentCall().prepared([=] { return ::umask(mask) != 01000; }));
    const std::vector<std::string> collected = machine.collected();
    ASSERT_EQ(collected.size(), 2U);
    for (const std::string& line : collected) {
      EXPECT_EQ(line.substr(line.size() - 18), "directory 755 0022");
    }
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
  }
};

TEST_F(AnotherUser, AnyArguments_AreRefused) {
  const std::vector<std::vector<std::string>> all = {{},
                                                     {"/case/none", "-i", "1"},
                                                     {"/case/list", "-i", "1"},
                                                     {"/case/list", "-r", "/case/event.def"},
                                                     {"/case/list", "-x"}};
  for (const std::vector<std::string>& arguments : all) {
    for (const bool trace : {false, true}) {
      machine.remove("/case/action.log");
      expectRun(machine.run({arguments, "", trace, {}, becomeNobody}), kRefused);
    }
  }
  EXPECT_FALSE(machine.exists("/case/collected"));
}

TEST_F(AnotherUser, NoLog_IsRefusedAndComplainsOfIt) {
  const Call call = eventCall().with({{"TANEX_LOG", "/root.log"}}).prepared(becomeNobody);
  const std::string err = complaints("/root.log", "Permission denied", kRefused.log);
  expectRun(machine.run(call), {"", "", 65, "", err});
}

TEST_F(AnotherUser, EffectiveIdOfTheSuperUser_IsRefused) {
  // Such a process is one of set-user-ID, and finds its library on its own search path only.
  machine.write("/opt/QZKBkel/lib/libkelcom.so", readFile(LOOPBACK_FOLDER "/libkelcom.so"));
  const auto changeIds = [] { return ::setresuid(kNobody, 0, 0) == 0; };
  expectRun(machine.run(eventCall().prepared(changeIds)), kRefused);
}

TEST_F(AnotherUser, RealIdOfTheSuperUser_IsAccepted) {
#ifdef TANEXICS_INSTRUMENTED
  GTEST_SKIP() << "the instrumentation cannot watch such a process";
#endif
  machine.write("/opt/QZKBkel/lib/libkelcom.so", readFile(LOOPBACK_FOLDER "/libkelcom.so"));
  const auto changeIds = [] { return ::setresuid(0, kNobody, kNobody) == 0; };
  expectRun(machine.run(eventCall().prepared(changeIds)), Sending().event());
}

// --- closed descriptors --------------------------------------------------------------------------

/// Bit 0, 1 and 2 of the parameter: descriptor 0, 1 and 2 are closed when the command starts.
class ClosedDescriptors : public MachineTest, public testing::WithParamInterface<int> {
 protected:
  static bool isClosed(int descriptor) { return (GetParam() >> descriptor & 1) != 0; }

  static bool close() {
    closeStandardDescriptors(GetParam());
    return true;
  }
};

TEST_P(ClosedDescriptors, Incident_GoesAsEver) {
  machine.setCollection("echo printed\necho unseen >&2\n");
  Expected expected = Sending().incident();
  if (!isClosed(1)) expected.out = "printed\nprinted\n";
  expectRun(machine.run(incidentCall().prepared(close)), expected);
  EXPECT_EQ(machine.read("/case/a.txt"), "alpha\n");
  EXPECT_EQ(machine.read("/case/list"), "/case/a.txt\n/case/b.syslog.txt\n/case/c.txt\n");
}

TEST_P(ClosedDescriptors, Event_GoesAsEver) {
  expectRun(machine.run(eventCall().prepared(close)), Sending().event());
  EXPECT_EQ(machine.read("/case/outbox/items/0001-a.txt"), "alpha\n");
}

TEST_P(ClosedDescriptors, LogThatCannotBeOpened_IsToldToAnOpenStandardErrorAlone) {
  Expected expected = Sending().event();
  if (!isClosed(2)) {
    expected.err = complaints("/no/log", "No such file or directory", expected.log);
  }
  expected.log = "";
  expectRun(machine.run(eventCall().with({{"TANEX_LOG", "/no/log"}}).prepared(close)), expected);
}

TEST_P(ClosedDescriptors, LineToTheCentre_GetsNothingOfOurs) {
  machine.setCollection("echo printed\n");
  const RunResult result =
      machine.run(incidentCall().prepared(close).with({{"LD_LIBRARY_PATH", "/testkelcom"},
                                                       {"TEST_KELCOM_LINE", "/case/line"},
                                                       {"TANEX_LOG", "/no/log"}}));
  EXPECT_EQ(result.child.exitCode(), 0);
  EXPECT_EQ(result.child.out, isClosed(1) ? "" : "printed\nprinted\n");
  EXPECT_EQ(machine.read("/case/line"), "");
}

INSTANTIATE_TEST_SUITE_P(Mask, ClosedDescriptors, testing::Range(0, 8));

}  // namespace
