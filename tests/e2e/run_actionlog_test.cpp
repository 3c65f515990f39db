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

TEST_F(ActionLog, DefaultPathWithoutItsDirectory_IsComplainedOfForEachLine) {
  expectNoLog(machine.run(eventCall().with({{"TANEX_LOG", std::nullopt}})), kDefaultLog, kNoEntry);
  EXPECT_TRUE(machine.names("/var/opt").empty());
}

TEST_F(ActionLog, DefaultPath_HasTheLog) {
  machine.makeFolder(kDefaultFolder);
  expectLogAt(kDefaultLog, machine.run(eventCall().with({{"TANEX_LOG", std::nullopt}})));
}

TEST_F(ActionLog, Variable_TakesPrecedenceOverTheDefaultPath) {
  machine.makeFolder(kDefaultFolder);
  expectLogAt("/case/here.log", machine.run(eventCall().with({{"TANEX_LOG", "here.log"}})));
  machine.clear();
  machine.remove("/case/here.log");
  expectNoLog(machine.run(eventCall().with({{"TANEX_LOG", ""}})), "", kNoEntry);
  EXPECT_TRUE(machine.names(kDefaultFolder).empty());
}

TEST_F(ActionLog, FileThatIsNotWritable_IsComplainedOfForEachLine) {
  machine.write(kLog, "", 0444);
  expectNoLog(machine.run(eventCall().prepared(obeyPermissions)), kLog, "Permission denied");
}

TEST_F(ActionLog, RejectionWithoutALog_KeepsItsStatus) {
  const RunResult result = machine.run(Call().with({{"TANEX_LOG", "/no/log"}}));
  expectRun(result, {"", "", 68, "", complaints("/no/log", kNoEntry, rejected("").log)});
}

// --- its permission bits -------------------------------------------------------------------------

TEST_F(ActionLog, NewFile_HasItsPermissionBitsUnderEveryMaskOfTheCaller) {
  for (const mode_t mask : {0U, 022U, 077U, 0777U}) {
    machine.clear();
    machine.run(eventCall().prepared([=] { return ::umask(mask) != 01000; }));
    EXPECT_EQ(permissionsOf(machine, kLog), 01204U) << mask;
  }
}

// --- its rotation --------------------------------------------------------------------------------

TEST_F(ActionLog, LargeDefaultLog_IsRotatedBeforeTheFirstLine) {
  const std::string old(512001, 'o');
  machine.write(kDefaultLog, old);
  machine.write("/var/opt/QZKBsoftmsg/log/msg_action.bak", std::string(600000, 'b'));
  expectLogAt(kDefaultLog, machine.run(eventCall().with({{"TANEX_LOG", std::nullopt}})));
  EXPECT_TRUE(machine.read("/var/opt/QZKBsoftmsg/log/msg_action.bak") == old);
}

TEST_F(ActionLog, LargeLogWithoutDirectory_IsRotatedIntoTheRoot) {
  const std::string old(512001, 'o');
  machine.write("/case/bare.c.log", old);
  expectLogAt("/case/bare.c.log", machine.run(eventCall().with({{"TANEX_LOG", "bare.c.log"}})));
  EXPECT_TRUE(machine.read("/bare.c.bak") == old);
}

TEST_F(ActionLog, RotationWithoutACopyCommand_LosesTheOldLinesAlone) {
  machine.write(kLog, std::string(512001, 'o'));
  expectLogAt(kLog, machine.run(eventCall().with({{"PATH", "/nowhere"}})));
  EXPECT_FALSE(machine.exists("/case/action.bak"));
}

// --- a full disk ---------------------------------------------------------------------------------

TEST_F(ActionLog, FullDisk_ChangesNothingButTheLog) {
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
