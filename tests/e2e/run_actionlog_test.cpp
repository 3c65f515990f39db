// The action log as the world outside finds it: its place, its permission bits, its rotation, and
// what becomes of a run that cannot write it.

#include <sys/stat.h>
#include <unistd.h>

#include "e2e/support/cases.h"

namespace {

const std::string kDefaultLog = "/var/opt/QZKBsoftmsg/log/msg_action.log";

/// An event, and what it always logs and sends.
Call event(const std::map<std::string, std::optional<std::string>>& environment) {
  return {{"/case/list", "-r", "/case/event.def"}, "", false, environment};
}

std::string eventLog() { return framed(standardEvent(), 0); }

/// One standard-error line for each line of the log.
std::string complaints(const std::string& path, const std::string& reason) {
  std::string text;
  for (std::size_t line = 0; line < linesOf(eventLog()).size(); ++line) {
    text += "*** failed to open(" + path + "):" + reason + "\n";
  }
  return text;
}

mode_t permissionsOf(const Machine& machine, const std::string& path) {
  struct stat status = {};
  EXPECT_EQ(::stat(machine.outside(path).c_str(), &status), 0) << path;
  return status.st_mode & 07777;
}

class ActionLog : public CommandTest {
 protected:
  Machine machine;

  /// The run went as ever, and left its log at `path`.
  void expectLogAt(const std::string& path, const RunResult& result) const {
    EXPECT_EQ(machine.log(path), eventLog());
    expectRun(result, {path == "/case/action.log" ? eventLog() : "", standardEventCalls()});
  }

  /// The run went as ever, but for its log.
  void expectNoLog(const RunResult& result, const std::string& path,
                   const std::string& reason) const {
    expectRun(result, {"", standardEventCalls(), 0, "", complaints(path, reason)});
  }
};

// --- its place -----------------------------------------------------------------------------------

TEST_F(ActionLog, DefaultPath) {
  machine.makeFolder("/var/opt/QZKBsoftmsg/log");
  expectLogAt(kDefaultLog, machine.run(event({{"TANEX_LOG", std::nullopt}})));
}

TEST_F(ActionLog, DefaultPathWithoutItsDirectoryGivesOneErrorLineForEachLine) {
  expectNoLog(machine.run(event({{"TANEX_LOG", std::nullopt}})), kDefaultLog,
              "No such file or directory");
  EXPECT_TRUE(machine.names("/var/opt").empty());
}

TEST_F(ActionLog, VariableTakesPrecedenceOverTheDefaultPath) {
  machine.makeFolder("/var/opt/QZKBsoftmsg/log");
  expectLogAt("/case/action.log", machine.run(event({})));
  EXPECT_TRUE(machine.names("/var/opt/QZKBsoftmsg/log").empty());
}

TEST_F(ActionLog, EmptyVariableSelectsAnEmptyPath) {
  machine.makeFolder("/var/opt/QZKBsoftmsg/log");
  expectNoLog(machine.run(event({{"TANEX_LOG", ""}})), "", "No such file or directory");
  EXPECT_TRUE(machine.names("/var/opt/QZKBsoftmsg/log").empty());
}

TEST_F(ActionLog, RelativePath) {
  expectLogAt("/case/here.log", machine.run(event({{"TANEX_LOG", "here.log"}})));
}

TEST_F(ActionLog, MissingDirectory) {
  expectNoLog(machine.run(event({{"TANEX_LOG", "/case/no/a.log"}})), "/case/no/a.log",
              "No such file or directory");
}

TEST_F(ActionLog, DirectoryAtThePath) {
  expectNoLog(machine.run(event({{"TANEX_LOG", "/case"}})), "/case", "Is a directory");
}

TEST_F(ActionLog, NotWritable) {
  machine.write("/case/action.log", "", 0444);
  Call call = event({});
  call.prepare = obeyPermissions;
  expectNoLog(machine.run(call), "/case/action.log", "Permission denied");
}

TEST_F(ActionLog, PercentSignsInThePath) {
  expectNoLog(machine.run(event({{"TANEX_LOG", "/case/%s%n/x"}})), "/case/%s%n/x",
              "No such file or directory");
}

TEST_F(ActionLog, RejectionWithoutALogKeepsItsStatus) {
  std::string expected;
  for (int line = 0; line < 4; ++line) {
    expected += "*** failed to open(/no/log):No such file or directory\n";
  }
  const RunResult result = machine.run({{}, "", false, {{"TANEX_LOG", "/no/log"}}});
  expectRun(result, {"", "", 68, "", expected});
}

// --- its level -----------------------------------------------------------------------------------

TEST_F(ActionLog, OtherWordsThanTheTraceLevelLeaveTraceOff) {
  for (const std::string level :
       {"", "log_level_trace", "LOG_LEVEL_TRACE ", "LOG_LEVEL_TRAC", "LOG_LEVEL_INFO", "1"}) {
    const Machine another;
    EXPECT_EQ(another.run(event({{"TANEX_LOG_LEVEL", level}})).log, eventLog()) << level;
  }
}

// --- its permission bits -------------------------------------------------------------------------

TEST_F(ActionLog, NewFileHasItsPermissionBitsUnderEveryMaskOfTheCaller) {
  for (const mode_t mask : {0U, 022U, 077U, 0777U}) {
    const Machine another;
    Call call = event({});
    call.prepare = [=] { return ::umask(mask) != 01000; };
    another.run(call);
    EXPECT_EQ(permissionsOf(another, "/case/action.log"), 01204U) << mask;
  }
}

TEST_F(ActionLog, OldFileKeepsItsPermissionBitsAndItsLines) {
  machine.write("/case/old.log", "an old line\n", 0640);
  machine.run(event({{"TANEX_LOG", "/case/old.log"}}));
  EXPECT_EQ(permissionsOf(machine, "/case/old.log"), 0640U);
  const std::vector<std::string> lines = linesOf(machine.read("/case/old.log"));
  EXPECT_EQ(lines.size(), 1 + linesOf(eventLog()).size());
  EXPECT_EQ(lines.front(), "an old line");
}

// --- its rotation --------------------------------------------------------------------------------

TEST_F(ActionLog, NotRotatedAtExactly512000Bytes) {
  const std::string old = std::string(511999, 'o') + "\n";
  machine.write("/case/old.log", old);
  machine.run({{}, "", false, {{"TANEX_LOG", "/case/old.log"}}});
  // The first line was appended; it made the file too long for the second one.
  const std::string backup = machine.read("/case/old.bak");
  EXPECT_TRUE(backup.substr(0, old.size()) == old);
  machine.write("/case/first.log", backup.substr(old.size()));
  EXPECT_EQ(machine.log("/case/first.log") + machine.log("/case/old.log"),
            rejected("parameter count error.(CSendEventSingleSystem::parseCommandLine)"));
  EXPECT_EQ(machine.log("/case/first.log"), "### main : tanexics started.\n");
}

TEST_F(ActionLog, RotatedAt512001BytesBeforeTheFirstLine) {
  const std::string old(512001, 'o');
  machine.write("/case/action.log", old);
  expectLogAt("/case/action.log", machine.run(event({})));
  EXPECT_TRUE(machine.read("/case/action.bak") == old);
}

TEST_F(ActionLog, RotationOverwritesTheBackup) {
  const std::string old(512001, 'o');
  machine.write("/case/action.log", old);
  machine.write("/case/action.bak", std::string(600000, 'b'));
  expectLogAt("/case/action.log", machine.run(event({})));
  EXPECT_TRUE(machine.read("/case/action.bak") == old);
}

TEST_F(ActionLog, RotationOfTheDefaultLog) {
  const std::string old(512001, 'o');
  machine.write(kDefaultLog, old);
  expectLogAt(kDefaultLog, machine.run(event({{"TANEX_LOG", std::nullopt}})));
  EXPECT_TRUE(machine.read("/var/opt/QZKBsoftmsg/log/msg_action.bak") == old);
}

TEST_F(ActionLog, BackupReplacesTheLastExtensionOnly) {
  const std::string old(512001, 'o');
  machine.write("/case/b.c.log", old);
  expectLogAt("/case/b.c.log", machine.run(event({{"TANEX_LOG", "/case/b.c.log"}})));
  EXPECT_TRUE(machine.read("/case/b.c.bak") == old);
}

TEST_F(ActionLog, BackupOfALogWithoutDirectoryGoesToTheRoot) {
  const std::string old(512001, 'o');
  machine.write("/case/bare.log", old);
  expectLogAt("/case/bare.log", machine.run(event({{"TANEX_LOG", "bare.log"}})));
  EXPECT_TRUE(machine.read("/bare.bak") == old);
}

TEST_F(ActionLog, BackupThatCannotBeWrittenLosesTheOldLinesAlone) {
  machine.write("/case/action.log", std::string(512001, 'o'));
  ASSERT_EQ(::symlink("/dev/full", machine.outside("/case/action.bak").c_str()), 0);
  expectLogAt("/case/action.log", machine.run(event({})));
}

TEST_F(ActionLog, BackupWithoutACopyCommandLosesTheOldLinesAlone) {
  machine.write("/case/action.log", std::string(512001, 'o'));
  expectLogAt("/case/action.log", machine.run(event({{"PATH", "/nowhere"}})));
  EXPECT_FALSE(machine.exists("/case/action.bak"));
}

// --- a full disk ---------------------------------------------------------------------------------

TEST_F(ActionLog, FullDiskChangesNothingButTheLog) {
  machine.makeFolder("/full");
  constexpr int kFiles = 20;
  std::string list;
  std::string exchanges = asked() + startComm();
  for (int part = 1; part <= kFiles; ++part) {
    list += "/dev/null\n";
    exchanges += notify("0x40017", incidentText("1", part, kFiles));
    exchanges += sendItems("0x4010b", {{"/dev/null", "not a regular file"}});
  }
  machine.write("/case/list", list);
  Call call = {{"/case/list", "-i", "1"}, "", false, {{"TANEX_LOG", "/full/action.log"}}};
  call.prepare = [] { return mountTmpfs("/full", "4k"); };
  // Carries the log out before the disk vanishes.
  call.wrapper = {"/bin/sh", "-c",
                  "\"$@\"; status=$?; cp /full/action.log /case/carried; exit $status", "sh"};
  expectRun(machine.run(call), {"", exchanges + stopped()});
  EXPECT_EQ(machine.read("/case/carried").size(), 4096U);
  EXPECT_EQ(linesOf(machine.read("/case/collected")).size(), 2U);
}

}  // namespace
