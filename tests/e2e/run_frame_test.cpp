// The frame of a run: who may run the command, the lines around every log, and descriptors that the
// caller left closed.

#include <sys/stat.h>
#include <unistd.h>

#include <regex>

#include "e2e/support/cases.h"

namespace {

constexpr uid_t kNobody = 65534;

Call event() { return {{"/case/list", "-r", "/case/event.def"}}; }

std::string eventLog(const std::string& argument0 = "tanexics") {
  return framed(standardEvent(), 0, argument0);
}

const std::string kRefusal = framed("not Super-User\n", 65);

class Frame : public CommandTest {
 protected:
  Machine machine;
};

TEST_F(Frame, ArgumentZeroStandsInItVerbatim) {
  for (const std::string name : {"/usr/sbin/tanexics", "./x/../tanexics", "%s%n", " ", ""}) {
    const Machine another;
    Call call = event();
    call.argument0 = name;
    expectRun(another.run(call), {eventLog(name), standardEventCalls()});
  }
}

TEST_F(Frame, ElapsedTimeIsThatOfTheRun) {
  Call call = {{"/case/list", "-i", "1"}};
  machine.write("/opt/dovra/tanex/bin/tanexcc", "#!/bin/sh\nsleep 0.3\n", 0755);
  machine.run(call);
  const std::string log = machine.read("/case/action.log");
  std::smatch match;
  ASSERT_TRUE(std::regex_search(log, match, std::regex("time='([0-9]+\\.[0-9]{6})'")));
  EXPECT_GE(std::stod(match[1]), 0.3);
  EXPECT_LT(std::stod(match[1]), 30.0);
}

TEST_F(Frame, MaskIs022WhateverTheCallersWas) {
  for (const mode_t mask : {0U, 077U}) {
    const Machine another;
    Call call = {{"/case/list", "-i", "1"}};
    call.prepare = [=] { return ::umask(mask) != 01000; };
    another.run(call);
    const std::vector<std::string> collected = linesOf(another.read("/case/collected"));
    ASSERT_EQ(collected.size(), 2U);
    for (const std::string& line : collected) {
      EXPECT_EQ(line.substr(line.size() - 18), "directory 755 0022");
    }
  }
}

TEST_F(Frame, SecondRunAppendsToTheLog) {
  const Call call = {{}, "", false, {{"TANEX_LOG", "/case/common.log"}}};
  machine.run(call);
  const std::string first = machine.read("/case/common.log");
  machine.run(call);
  const std::string both = machine.read("/case/common.log");
  EXPECT_EQ(both.substr(0, first.size()), first);
  machine.write("/case/second.log", both.substr(first.size()));
  EXPECT_EQ(machine.log("/case/second.log"),
            rejected("parameter count error.(CSendEventSingleSystem::parseCommandLine)"));
}

// --- another user --------------------------------------------------------------------------------

/// Other users exist only where the caller is the super-user of the whole machine.
class AnotherUser : public Frame {
 protected:
  void SetUp() override {
    Frame::SetUp();
    if (IsSkipped()) return;
    if (runInChild([] { return becomeNobody() ? 0 : 1; }).exitCode() != 0) {
      GTEST_SKIP() << "there is no other user here: run as root outside a user namespace";
    }
    machine.makeFolder("/case", 0777);
    machine.makeFolder("/case/outbox", 0777);
    machine.makeFolder("/case/outbox/items", 0777);
  }
};

TEST_F(AnotherUser, IsRefusedWhateverTheArguments) {
  const std::vector<std::vector<std::string>> all = {{},
                                                     {"/case/none", "-i", "1"},
                                                     {"/case/list", "-i", "1"},
                                                     {"/case/list", "-r", "/case/event.def"},
                                                     {"/case/list", "-x"}};
  for (const std::vector<std::string>& arguments : all) {
    for (const bool trace : {false, true}) {
      machine.remove("/case/action.log");
      const RunResult result = machine.run({arguments, "", trace, {}, becomeNobody});
      expectRun(result, {kRefusal, "", 65});
    }
  }
  EXPECT_FALSE(machine.exists("/case/collected"));
}

TEST_F(AnotherUser, IsRefusedWithoutALogTooAndComplainsOfIt) {
  std::string complaints;
  for (int line = 0; line < 4; ++line) {
    complaints += "*** failed to open(/root.log):Permission denied\n";
  }
  Call call = event();
  call.environment["TANEX_LOG"] = "/root.log";
  call.prepare = becomeNobody;
  expectRun(machine.run(call), {"", "", 65, "", complaints});
}

TEST_F(AnotherUser, WithTheEffectiveIdOfTheSuperUserIsRefused) {
  // Such a process is one of set-user-ID, and finds its library on its own search path only.
  machine.write("/opt/QZKBkel/lib/libkelcom.so", readFile(LOOPBACK_FOLDER "/libkelcom.so"));
  Call call = event();
  call.prepare = [] { return ::setresuid(kNobody, 0, 0) == 0; };
  expectRun(machine.run(call), {kRefusal, "", 65});
}

TEST_F(AnotherUser, SuperUserWithAnotherEffectiveIdIsAccepted) {
#ifdef TANEXICS_INSTRUMENTED
  GTEST_SKIP() << "the instrumentation cannot watch such a process";
#endif
  machine.write("/opt/QZKBkel/lib/libkelcom.so", readFile(LOOPBACK_FOLDER "/libkelcom.so"));
  Call call = event();
  call.prepare = [] { return ::setresuid(0, kNobody, kNobody) == 0; };
  expectRun(machine.run(call), {eventLog(), standardEventCalls()});
}

// --- closed descriptors --------------------------------------------------------------------------

/// Bit 0, 1 and 2 of the parameter: descriptor 0, 1 and 2 are closed when the command starts.
class ClosedDescriptors : public CommandTest, public testing::WithParamInterface<int> {
 protected:
  static bool isClosed(int descriptor) { return (GetParam() >> descriptor & 1) != 0; }

  static bool close() {
    for (int descriptor = 0; descriptor <= 2; ++descriptor) {
      if (isClosed(descriptor) && ::close(descriptor) != 0) return false;
    }
    return true;
  }

  Machine machine;
};

TEST_P(ClosedDescriptors, IncidentGoesAsEver) {
  for (const std::string name : {"tanexcc", "tanexcs"}) {
    machine.write("/opt/dovra/tanex/bin/" + name, "#!/bin/sh\necho printed\necho unseen >&2\n",
                  0755);
  }
  expectRun(machine.run({{"/case/list", "-i", "1"}, "", false, {}, close}),
            {framed(standardIncident() + collectionLines(), 0), standardIncidentCalls(), 0,
             isClosed(1) ? "" : "printed\nprinted\n"});
  EXPECT_EQ(machine.read("/case/a.txt"), "alpha\n");
  EXPECT_EQ(machine.read("/case/list"), "/case/a.txt\n/case/b.syslog.txt\n/case/c.txt\n");
}

TEST_P(ClosedDescriptors, EventGoesAsEver) {
  Call call = event();
  call.prepare = close;
  expectRun(machine.run(call), {eventLog(), standardEventCalls()});
  EXPECT_EQ(machine.read("/case/outbox/items/0001-a.txt"), "alpha\n");
}

TEST_P(ClosedDescriptors, LogThatCannotBeOpenedIsToldToAnOpenStandardErrorAlone) {
  Call call = event();
  call.prepare = close;
  call.environment["TANEX_LOG"] = "/no/log";
  std::string complaints;
  for (std::size_t line = 0; line < linesOf(eventLog()).size(); ++line) {
    complaints += "*** failed to open(/no/log):No such file or directory\n";
  }
  expectRun(machine.run(call), {"", standardEventCalls(), 0, "", isClosed(2) ? "" : complaints});
}

TEST_P(ClosedDescriptors, NothingOfOursEndsUpOnTheLineToTheCentre) {
  for (const std::string name : {"tanexcc", "tanexcs"}) {
    machine.write("/opt/dovra/tanex/bin/" + name, "#!/bin/sh\necho printed\n", 0755);
  }
  Call call = {{"/case/list", "-i", "1"}, "", false, {}, close};
  call.environment = {{"LD_LIBRARY_PATH", "/testkelcom"},
                      {"TEST_KELCOM_LINE", "/case/line"},
                      {"TANEX_LOG", "/no/log"}};
  const RunResult result = machine.run(call);
  EXPECT_EQ(result.child.exitCode(), 0);
  EXPECT_EQ(result.child.out, isClosed(1) ? "" : "printed\nprinted\n");
  EXPECT_EQ(machine.read("/case/line"), "");
}

INSTANTIATE_TEST_SUITE_P(Mask, ClosedDescriptors, testing::Range(0, 8));

}  // namespace
