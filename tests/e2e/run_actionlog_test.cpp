// The action log as the world outside finds it: its place, its permission bits, its rotation, and
// what becomes of a run that cannot write it.

#include <sys/stat.h>
#include <unistd.h>

#include "e2e/support/cases.h"

namespace {

constexpr char kLog[] = "/case/action.log";
constexpr char kDefaultFolder[] = "/var/opt/QZKBsoftmsg/log";
constexpr char kDefaultLog[] = "/var/opt/QZKBsoftmsg/log/msg_action.log";
constexpr char kNoEntry[] = "No such file or directory";

Expected sentEvent() { return Sending().event(); }

/// One standard-error line for each line of a log of the command.
std::string complaints(const std::string& path, const std::string& reason, const LogText& log) {
  std::string text;
  for (std::size_t line = 0; line < linesOf(log.info).size(); ++line) {
    text += "*** failed to open(" + path + "):" + reason + "\n";
  }
  return text;
}

mode_t permissionsOf(const Machine& machine, const std::string& path) {
  struct stat status = {};
  EXPECT_EQ(::stat(machine.outside(path).c_str(), &status), 0) << path;
  return status.st_mode & 07777;
}

class ActionLog : public MachineTest {
 protected:
  /// The run went as ever, and left its log at `path`.
  void expectLogAt(const std::string& path, const RunResult& result) const {
    Expected expected = sentEvent();
    EXPECT_EQ(machine.log(path), expected.log.info);
    if (path != kLog) expected.log = "";
    expectRun(result, expected);
  }

  /// The run went as ever, but for its log.
  void expectNoLog(const RunResult& result, const std::string& path,
                   const std::string& reason) const {
    const Expected sent = sentEvent();
    expectRun(result, {"", sent.exchanges, 0, "", complaints(path, reason, sent.log)});
  }
};

// --- its place -----------------------------------------------------------------------------------

/// Where the variable TANEX_LOG sends the log, and why it cannot be written there, "" when it can.
struct Place {
  std::string name;
  std::optional<std::string> variable;
  std::string path;
  std::string reason;
  bool hasDefaultFolder = false;
};

class LogPlace : public ActionLog, public testing::WithParamInterface<Place> {};

TEST_P(LogPlace, GetsEveryLineOrStandardErrorDoes) {
  const Place& row = GetParam();
  if (row.hasDefaultFolder) machine.makeFolder(kDefaultFolder);
  const RunResult result = machine.run(eventCall().with({{"TANEX_LOG", row.variable}}));
  if (row.reason.empty()) {
    expectLogAt(row.path, result);
  } else {
    expectNoLog(result, row.path, row.reason);
  }
  EXPECT_EQ(machine.names("/var/opt").empty(), !row.hasDefaultFolder);
  if (row.hasDefaultFolder && row.path != kDefaultLog) {
    EXPECT_TRUE(machine.names(kDefaultFolder).empty());
  }
}

INSTANTIATE_TEST_SUITE_P(
    Case, LogPlace,
    testing::Values(Place{"Default", std::nullopt, kDefaultLog, "", true},
                    Place{"DefaultWithoutItsDirectory", std::nullopt, kDefaultLog, kNoEntry},
                    Place{"VariableBesideTheDefault", kLog, kLog, "", true},
                    Place{"EmptyVariableIsAnEmptyPath", "", "", kNoEntry, true},
                    Place{"RelativePath", "here.log", "/case/here.log", ""},
                    Place{"MissingDirectory", "/case/no/a.log", "/case/no/a.log", kNoEntry},
                    Place{"DirectoryAtThePath", "/case", "/case", "Is a directory"},
                    Place{"PercentSignsInThePath", "/case/%s%n/x", "/case/%s%n/x", kNoEntry}),
    [](const auto& row) { return row.param.name; });

TEST_F(ActionLog, NotWritable) {
  machine.write(kLog, "", 0444);
  expectNoLog(machine.run(eventCall().prepared(obeyPermissions)), kLog, "Permission denied");
}

TEST_F(ActionLog, RejectionWithoutALogKeepsItsStatus) {
  const RunResult result = machine.run(Call().with({{"TANEX_LOG", "/no/log"}}));
  expectRun(result, {"", "", 68, "", complaints("/no/log", kNoEntry, rejected("").log)});
}

// --- its level -----------------------------------------------------------------------------------

TEST_F(ActionLog, OtherWordsThanTheTraceLevelLeaveTraceOff) {
  for (const std::string level :
       {"", "log_level_trace", "LOG_LEVEL_TRACE ", "LOG_LEVEL_TRAC", "LOG_LEVEL_INFO", "1"}) {
    machine.clear();
    const Call call = eventCall().with({{"TANEX_LOG_LEVEL", level}});
    EXPECT_EQ(machine.run(call).log, sentEvent().log.info) << level;
  }
}

// --- its permission bits -------------------------------------------------------------------------

TEST_F(ActionLog, NewFileHasItsPermissionBitsUnderEveryMaskOfTheCaller) {
  for (const mode_t mask : {0U, 022U, 077U, 0777U}) {
    machine.clear();
    machine.run(eventCall().prepared([=] { return ::umask(mask) != 01000; }));
    EXPECT_EQ(permissionsOf(machine, kLog), 01204U) << mask;
  }
}

TEST_F(ActionLog, OldFileKeepsItsPermissionBitsAndItsLines) {
  machine.write("/case/old.log", "an old line\n", 0640);
  machine.run(eventCall().with({{"TANEX_LOG", "/case/old.log"}}));
  EXPECT_EQ(permissionsOf(machine, "/case/old.log"), 0640U);
  const std::vector<std::string> lines = linesOf(machine.read("/case/old.log"));
  EXPECT_EQ(lines.size(), 1 + linesOf(sentEvent().log.info).size());
  EXPECT_EQ(lines.front(), "an old line");
}

// --- its rotation --------------------------------------------------------------------------------

TEST_F(ActionLog, NotRotatedAtExactly512000Bytes) {
  const std::string old = std::string(511999, 'o') + "\n";
  machine.write("/case/old.log", old);
  machine.run(Call().with({{"TANEX_LOG", "/case/old.log"}}));
  // The first line was appended; it made the file too long for the second one.
  const std::string backup = machine.read("/case/old.bak");
  EXPECT_TRUE(backup.substr(0, old.size()) == old);
  machine.write("/case/first.log", backup.substr(old.size()));
  EXPECT_EQ(machine.log("/case/first.log") + machine.log("/case/old.log"),
            rejected("parameter count error.(CSendEventSingleSystem::parseCommandLine)").log.info);
  EXPECT_EQ(machine.log("/case/first.log"), "### main : tanexics started.\n");
}

/// A log of 512,001 bytes, and where they are when the run is over, "" for nowhere.
struct Rotation {
  std::string name;
  std::optional<std::string> variable;
  std::string path;
  std::string backup;
  Arrange arrange = nullptr;
};

class LogRotation : public ActionLog, public testing::WithParamInterface<Rotation> {};

TEST_P(LogRotation, HappensBeforeTheFirstLine) {
  const Rotation& row = GetParam();
  const std::string old(512001, 'o');
  machine.write(row.path, old);
  if (row.arrange) row.arrange(machine);
  expectLogAt(row.path, machine.run(eventCall().with({{"TANEX_LOG", row.variable}})));
  EXPECT_TRUE(machine.read(row.backup) == old);
}

INSTANTIATE_TEST_SUITE_P(
    Case, LogRotation,
    testing::Values(
        Rotation{"UsualLog", kLog, kLog, "/case/action.bak"},
        Rotation{"OverwritesTheBackup", kLog, kLog, "/case/action.bak",
                 [](const Machine& m) { m.write("/case/action.bak", std::string(600000, 'b')); }},
        Rotation{"DefaultLog", std::nullopt, kDefaultLog,
                 "/var/opt/QZKBsoftmsg/log/msg_action.bak"},
        Rotation{"ReplacesTheLastExtensionOnly", "/case/b.c.log", "/case/b.c.log", "/case/b.c.bak"},
        Rotation{"LogWithoutDirectoryGoesToTheRoot", "bare.log", "/case/bare.log", "/bare.bak"}),
    [](const auto& row) { return row.param.name; });

TEST_F(ActionLog, BackupThatCannotBeWrittenLosesTheOldLinesAlone) {
  machine.write(kLog, std::string(512001, 'o'));
  ASSERT_EQ(::symlink("/dev/full", machine.outside("/case/action.bak").c_str()), 0);
  expectLogAt(kLog, machine.run(eventCall()));
}

TEST_F(ActionLog, BackupWithoutACopyCommandLosesTheOldLinesAlone) {
  machine.write(kLog, std::string(512001, 'o'));
  expectLogAt(kLog, machine.run(eventCall().with({{"PATH", "/nowhere"}})));
  EXPECT_FALSE(machine.exists("/case/action.bak"));
}

// --- a full disk ---------------------------------------------------------------------------------

TEST_F(ActionLog, FullDiskChangesNothingButTheLog) {
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

}  // namespace
