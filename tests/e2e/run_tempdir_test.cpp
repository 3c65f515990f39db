// The temporary directory of an incident: where it is made, what happens when it cannot be made,
// and whether it is removed.

#include "e2e/support/cases.h"

namespace {

Call incident(const std::string& name, const std::string& value) {
  return incidentCall().with({{name, value}});
}

/// A run that logs this after the transmission.
Expected endingWith(const LogText& tail, int status = 0) {
  Sending sending;
  sending.tail = tail;
  sending.status = status;
  return sending.incident();
}

/// A run that has tried ten times in vain to make the directory.
Expected failed(const LogText& attempt) {
  LogText log = "";
  for (int count = 0; count < 10; ++count) log = log + attempt;
  return endingWith(log + "make tempname error (CSendEventSingleSystem::SendEvent)\n", 78);
}

// --- where it is made and removed ----------------------------------------------------------------

class RemovedTempDir : public CaseTest {};

TEST_P(RemovedTempDir, LeavesNothing) {
  machine.makeFolder("/case/tmp");
  play();
  EXPECT_TRUE(machine.names("/case/tmp").empty());
  EXPECT_TRUE(machine.names("/tmp").empty());
}

std::vector<Case> removals() {
  const Call inCase = incident("TMPDIR", "/case/tmp");
  const Expected standard = Sending().incident();
  const std::string mkdir =
      lines({"VUQ90004L : pid=*,wstat=00000000", "VUQ90004L : com=mkdir -p /tmp 2>/dev/null"});
  return {
      {"DirectoryOfTheVariable", inCase, endingWith(collectionLines("/case/tmp"))},
      {"DirectoryOfTheVariableTraced", inCase.traced(), endingWith(collectionLines("/case/tmp"))},
      {"VariableOfAFile", incident("TMPDIR", "/case/a.txt"), standard},
      {"MissingTmpIsMade", incidentCall(), endingWith(mkdir + collectionLines()),
       [](const Machine& m) { m.remove("/tmp"); }},
  };
}

INSTANTIATE_TEST_SUITE_P(Case, RemovedTempDir, testing::ValuesIn(removals()),
                         testing::PrintToStringParamName());

class KeptTempDir : public CaseTest {};

TEST_P(KeptTempDir, IsThereWithAllThatIsInIt) {
  machine.makeFolder("/first");
  machine.setCollection("echo \"$1\" >/case/directory\n", "echo kept >\"$1/file\"\n");
  play();
  EXPECT_EQ(machine.read(linesOf(machine.read("/case/directory")).front() + "/file"), "kept\n");
}

std::vector<Case> keepings() {
  const std::string directory = "/first/swcon*_";
  const LogText tooShallow =
      tempDirLines("/first") +
      traced({"[T](CTemp:188):delTempFile:" + directory,
              "[T](common:469):getCanonicalPath():" + directory + "," + directory}) +
      lines({"VUQ90008L : " + directory + " too shallow to delete"});
  return {
      {"InADirectoryOfTheFirstLevel", incident("TMPDIR", "/first"), endingWith(tooShallow)},
      {"InADirectoryOfTheFirstLevelTraced", incident("TMPDIR", "/first").traced(),
       endingWith(tooShallow)},
      {"WhereTheVariableSaysSo", incident("TANEX_NOT_DEL_TEMP", "1").traced(),
       endingWith(tempDirLines())},
  };
}

INSTANTIATE_TEST_SUITE_P(Case, KeptTempDir, testing::ValuesIn(keepings()),
                         testing::PrintToStringParamName());

// --- where it cannot be made ---------------------------------------------------------------------

/// One inode is the directory's own.
bool fillTmp() { return mountTmpfs("/tmp", "4k,nr_inodes=1"); }

using TempDir = MachineTest;

TEST_F(TempDir, FullTmp_EndsTheRunWith78AfterTenAttempts) {
  const LogText attempt = traced({"[T](CTemp:73):getTemp_sub():prefix=/tmp,templ=swconf"}) +
                          lines({"VUQ90004L : pid=*,wstat=00000100",
                                 "VUQ90004L : com=mkdir -p /tmp/swcon*_ 2>/dev/null"}) +
                          decodedStatus(1) +
                          lines({"VUQ90103L : failed to create dir:/tmp/swcon*_"});
  for (const bool trace : {false, true}) {
    machine.clear();
    Call call = incidentCall().prepared(fillTmp);
    call.trace = trace;
    expectRun(machine.run(call), failed(attempt));
    EXPECT_FALSE(machine.exists("/case/collected"));
  }
}

TEST_F(TempDir, FullTmp_EndsARefusedRunWith78Too) {
  const RunResult result = machine.run(incidentCall().answered("start 5\n").prepared(fillTmp));
  EXPECT_EQ(result.child.exitCode(), 78);
  EXPECT_EQ(result.exchanges, asked() + startComm(5));
}

TEST_F(TempDir, NoSystemCommands_HostNameIsEmptyAndTheRunEndsWith78) {
  machine.write("/case/list", "/case/a.txt\n");
  const std::string text = R"(INCNO="1",HOSTNAME="",PART="1",TOTAL="1")";
  const RunResult result = machine.run(incident("PATH", "/nowhere"));
  EXPECT_EQ(result.exchanges, asked() + startComm() + notify("0x40017", text) +
                                  sendItems("0x4010b", {standardItems()[0]}) + stopped());
  EXPECT_EQ(result.child.exitCode(), 78);
  EXPECT_EQ(result.child.err, "");
}

}  // namespace
