// The two collection commands of an incident and their temporary directory: what they print is
// relayed, and nothing that they do changes the run.

#include <sys/stat.h>

#include "e2e/support/cases.h"

namespace {

using Collection = MachineTest;

TEST_F(Collection, WhateverTheCommandsDo_ChangesNothing) {
  const struct {
    std::string script;
    std::string out;
  } rows[] = {
      {"echo unseen >&2; printf part; exit 255\n", "partpart"},
      {"kill -KILL $$\n", ""},
      {"rmdir \"$1\"\n", ""},
      {"mkdir -p \"$1/d e/f\"; touch \"$1/-rf\" \"$1/d e/f/x\"; chmod 0 \"$1\"\n", ""},
      // Those of the command's children that have ended and were not waited for.
      {"ps --ppid \"$(cat /pid)\" -o stat= | grep -c Z\n", "0\n0\n"},
  };
  Expected expected = Sending().incident();
  for (const auto& [script, out] : rows) {
    machine.clear();
    machine.setCollection(script);
    expected.out = out;
    SCOPED_TRACE(script);
    expectRun(machine.run(incidentCall()), expected);
    EXPECT_TRUE(machine.names("/tmp").empty());
  }
}

TEST_F(Collection, RefusedStart_BothCommandsRunAllTheSame) {
  Sending sending;
  sending.queries = asked() + startComm(-12);
  sending.refusal = "(CSendInfo::SendInfo) CRMSenderBase::RM_StartComm() error(code=-12)\n";
  expectRun(machine.run(incidentCall().traced().answered("start -12\n")), sending.incident());
  EXPECT_EQ(machine.collected().size(), 2U);
}

TEST_F(Collection, Commands_GetTheSameDirectoryAndMask022WhateverTheCallersWas) {
  for (const mode_t mask : {0U, 077U}) {
    machine.clear();
    machine.run(incidentCall().prepared([=] { return ::umask(mask) != 01000; }));
    const std::vector<std::string> collected = machine.collected();
    ASSERT_EQ(collected.size(), 2U);
    const std::string directory = collected[0].substr(10, 17);
    EXPECT_EQ(directory.substr(0, 10), "/tmp/swcon");
    EXPECT_EQ(collected[0], "tanexcc 1 " + directory + " directory 755 0022");
    EXPECT_EQ(collected[1], "tanexcs 1 " + directory + " directory 755 0022");
  }
}

TEST_F(Collection, NoSystemCommands_HostNameIsEmptyAndTheRunEndsWith78) {
  machine.write("/case/list", "/case/a.txt\n");
  const std::string text = R"(INCNO="1",HOSTNAME="",PART="1",TOTAL="1")";
  const RunResult result = machine.run(incidentCall().with({{"PATH", "/nowhere"}}));
  EXPECT_EQ(result.exchanges, asked() + startComm() + notify("0x40017", text) +
                                  sendItems("0x4010b", {standardItems()[0]}) + stopped());
  EXPECT_EQ(result.child.exitCode(), 78);
  EXPECT_EQ(result.child.err, "");
}

}  // namespace
