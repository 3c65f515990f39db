// The temporary directory of an incident: where it is made, what happens when it cannot be made,
// and whether it is removed.

#include <filesystem>

#include "e2e/support/cases.h"

namespace {

Call incident(const std::string& name, const std::string& value, bool trace = false) {
  return {{"/case/list", "-i", "1"}, "", trace, {{name, value}}};
}

const std::string kTempError = "make tempname error (CSendEventSingleSystem::SendEvent)\n";

std::string tenTimes(const std::string& attempt) {
  std::string log;
  for (int count = 0; count < 10; ++count) log += attempt;
  return log;
}

class TempDir : public CommandTest {
 protected:
  Machine machine;

  std::string directoryOfTheRun() const {
    const std::string line = linesOf(machine.read("/case/collected")).front();
    const std::size_t start = std::string("tanexcc 1 ").size();
    return line.substr(start, line.find(' ', start) - start);
  }
};

TEST_F(TempDir, IsMadeInTheVariablesDirectory) {
  for (const bool trace : {false, true}) {
    const Machine another;
    another.makeFolder("/case/tmp");
    expectRun(another.run(incident("TMPDIR", "/case/tmp", trace)),
              {framed(standardIncident(trace) + collectionLines(trace, "/case/tmp"), 0),
               standardIncidentCalls()});
    EXPECT_TRUE(another.names("/case/tmp").empty());
  }
}

TEST_F(TempDir, IsMadeInTmpWhereTheVariablesDirectoryIsUnusable) {
  for (const std::string value : {"/case/none", "/case/a.txt", ""}) {
    const Machine another;
    expectRun(another.run(incident("TMPDIR", value)),
              {framed(standardIncident() + collectionLines(), 0), standardIncidentCalls()});
    EXPECT_TRUE(another.names("/tmp").empty());
  }
}

TEST_F(TempDir, IsNotRemovedFromAFirstLevelDirectory) {
  machine.makeFolder("/first");
  expectRun(machine.run(incident("TMPDIR", "/first")),
            {framed(standardIncident() + tempDirLines(false, "/first") +
                        "VUQ90008L : /first/swcon*_ too shallow to delete\n",
                    0),
             standardIncidentCalls()});
  EXPECT_TRUE(machine.exists(directoryOfTheRun()));
}

TEST_F(TempDir, IsNotRemovedFromAFirstLevelDirectoryTraced) {
  machine.makeFolder("/first");
  const std::string directory = "/first/swcon*_";
  expectRun(machine.run(incident("TMPDIR", "/first", true)),
            {framed(standardIncident(true) + tempDirLines(true, "/first") +
                        lines({"[T](CTemp:188):delTempFile:" + directory,
                               "[T](common:469):getCanonicalPath():" + directory + "," + directory,
                               "VUQ90008L : " + directory + " too shallow to delete"}),
                    0),
             standardIncidentCalls()});
}

TEST_F(TempDir, IsKeptWithAllThatIsInItWhenTheVariableSaysSo) {
  machine.write("/opt/dovra/tanex/bin/tanexcs", "#!/bin/sh\necho kept >\"$1/file\"\n", 0755);
  expectRun(machine.run(incident("TANEX_NOT_DEL_TEMP", "1", true)),
            {framed(standardIncident(true) + tempDirLines(true), 0), standardIncidentCalls()});
  EXPECT_EQ(machine.read(directoryOfTheRun() + "/file"), "kept\n");
}

TEST_F(TempDir, IsRemovedWhenTheVariableIsEmpty) {
  expectRun(machine.run(incident("TANEX_NOT_DEL_TEMP", "", true)),
            {framed(standardIncident(true) + collectionLines(true), 0), standardIncidentCalls()});
  EXPECT_TRUE(machine.names("/tmp").empty());
}

TEST_F(TempDir, FullTmpEndsTheRunWith78AfterTenAttempts) {
  for (const bool trace : {false, true}) {
    const Machine another;
    Call call = incident("X", "", trace);
    // One inode is the directory's own.
    call.prepare = [] { return mountTmpfs("/tmp", "4k,nr_inodes=1"); };
    std::string attempt = lines(
        {"VUQ90004L : pid=*,wstat=00000100", "VUQ90004L : com=mkdir -p /tmp/swcon*_ 2>/dev/null"});
    if (trace) {
      attempt.insert(0, "[T](CTemp:73):getTemp_sub():prefix=/tmp,templ=swconf\n");
      attempt += decodedStatus(1);
    }
    attempt += "VUQ90103L : failed to create dir:/tmp/swcon*_\n";
    expectRun(another.run(call),
              {framed(standardIncident(trace) + tenTimes(attempt) + kTempError, 78),
               standardIncidentCalls(), 78});
    EXPECT_FALSE(another.exists("/case/collected"));
  }
}

TEST_F(TempDir, FullTmpEndsARefusedRunWith78Too) {
  Call call = incident("X", "");
  call.script = "start 5\n";
  call.prepare = [] { return mountTmpfs("/tmp", "4k,nr_inodes=1"); };
  const RunResult result = machine.run(call);
  EXPECT_EQ(result.child.exitCode(), 78);
  EXPECT_EQ(result.exchanges, asked() + startComm(5));
}

TEST_F(TempDir, MissingTmpIsMade) {
  machine.remove("/tmp");
  expectRun(machine.run(incident("X", "")),
            {framed(standardIncident() +
                        lines({"VUQ90004L : pid=*,wstat=00000000",
                               "VUQ90004L : com=mkdir -p /tmp 2>/dev/null"}) +
                        collectionLines(),
                    0),
             standardIncidentCalls()});
  EXPECT_TRUE(machine.names("/tmp").empty());
}

TEST_F(TempDir, TmpThatIsMissingAndCannotBeMadeEndsTheRunWith78) {
  machine.remove("/tmp");
  // A dangling link is no directory and no file, and mkdir cannot make it.
  std::filesystem::create_symlink("/no/where", machine.outside("/tmp"));
  const std::string attempt =
      lines({"VUQ90004L : pid=*,wstat=00000100", "VUQ90004L : com=mkdir -p /tmp 2>/dev/null",
             "VUQ90101L : failed to makeDir:/tmp"});
  expectRun(machine.run(incident("X", "")),
            {framed(standardIncident() + tenTimes(attempt) + kTempError, 78),
             standardIncidentCalls(), 78});
}

TEST_F(TempDir, WithoutSystemCommandsTheHostNameIsEmptyAndTheRunEndsWith78) {
  machine.write("/case/list", "/case/a.txt\n");
  const std::string text = R"(INCNO="1",HOSTNAME="",PART="1",TOTAL="1")";
  const std::string attempt = lines({"VUQ90004L : pid=*,wstat=00007f00",
                                     "VUQ90004L : com=mkdir -p /tmp/swcon*_ 2>/dev/null",
                                     "VUQ90103L : failed to create dir:/tmp/swcon*_"});
  expectRun(
      machine.run(incident("PATH", "/nowhere")),
      {framed(lines({"VUQ90004L : com=uname -n 2>/dev/null", "VUQ90004L : pid=*,wstat=00007f00"}) +
                  startedLine() +
                  lines({"commonSendEvent Main Loop (1/1)",
                         "RM_Communicate call (param=0x40017 0 0 " + text + " NULL  NULL)"}) +
                  done() +
                  lines({"RM_Communicate call (param=0x4010b ? 1 /case/a.txt NULL  NULL)"}) +
                  done() + "commonSendEvent OK\n" + tenTimes(attempt) + kTempError,
              78),
       asked() + startComm() + notify("0x40017", text) +
           sendItems("0x4010b", {standardItems()[0]}) + stopped(),
       78});
}

TEST_F(TempDir, TmpThatIsAFileEndsTheRunWith78) {
  machine.remove("/tmp");
  machine.write("/tmp", "");
  expectRun(
      machine.run(incident("X", "")),
      {framed(standardIncident() +
                  tenTimes("VUQ90100L : prefix:/tmp already exist and it's file\n") + kTempError,
              78),
       standardIncidentCalls(), 78});
  EXPECT_FALSE(machine.exists("/case/collected"));
}

}  // namespace
