// The rehearsal as a person runs it: its folder, the run of the command, and what is shown.

#include <gtest/gtest.h>

#include <csignal>
#include <filesystem>
#include <string>
#include <vector>

#include "e2e/support/expected.h"
#include "support/childrun.h"
#include "support/scratch.h"

namespace {

using Words = std::vector<std::string>;

const std::string kLibraryFolder = std::filesystem::path(LOOPBACK_LIBRARY).parent_path();

class Rehearse : public ::testing::Test {
 protected:
  /// Temporary folders of the rehearsal are made in one of the test's own, and must vanish.
  ChildResult rehearse(const Words& words, std::map<std::string, std::string> environment = {}) {
    Words all = {REHEARSE};
    all.insert(all.end(), words.begin(), words.end());
    environment["TMPDIR"] = temporary.path();
    const ChildResult child = runProgram(all, environment);
    EXPECT_EQ(namesIn(temporary.path()), Words());
    return child;
  }

  /// Rehearses shell commands in the command's place.
  ChildResult rehearseShell(const std::string& commands) {
    return rehearse({"--command", "/bin/sh", "--", "-c", commands});
  }

  ScratchDir scratch;
  ScratchDir temporary;
};

TEST_F(Rehearse, Report_ComesAfterTheCommandsOwnOutput) {
  const std::string file = scratch.write("messages", "12345");
  const std::string commands =
      "echo collected; echo complaint >&2; echo \"$# $0 $1 $2\" >\"$TANEX_LOG\"; " LOOPBACK_PLAYER
      " " +
      file + " /nonexistent; exit 68";
  const ChildResult child =
      rehearse({"--command", "/bin/sh", "--", "-c", commands, "a b", "-i", "--trace"});
  EXPECT_EQ(
      child.out,
      lines({"collected",
             "What the centre would have received",
             "-----------------------------------",
             "    1  machine identifier (4711): result 0",
             "    2  connection status (0x20, operating): result 0",
             "    3  start: result 0",
             "    4  0x40017, notification of an incident: result 0",
             "       INCNO=\"1\"",
             "    5  0x4010b, data of an incident, 2 files: result 0",
             "                      5 bytes  " + file,
             "                     not sent  /nonexistent (No such file or directory)",
             "    6  stop: result 0",
             "",
             "Action log",
             "----------",
             "  2 a b -i --trace",
             "",
             "Exit status",
             "-----------",
             "  68: the command line, the list of files or the definition file was rejected"}));
  EXPECT_EQ(child.err, "complaint\n");
  EXPECT_EQ(child.exitCode(), 68);
}

// --- its folder ----------------------------------------------------------------------------------

TEST_F(Rehearse, Folder_IsPrivateAndTemporaryOrMadeWithItsParentsAndKept) {
  const std::string commands =
      "umask 0; stat -c '%a %s' $KELCOM_LOOPBACK_OUTBOX/action.log; stat -c '%A %n' "
      "$KELCOM_LOOPBACK_OUTBOX; mkdir -p $KELCOM_LOOPBACK_OUTBOX/items/more";
  const std::string told = "600 0\ndrwx------ " + temporary.path() + "/tanexics-rehearse-";
  EXPECT_EQ(rehearseShell(commands).out.substr(0, told.size()), told);

  const std::string all =
      "cd " + scratch.path() + "; " REHEARSE " --outbox a/../b/c --command " LOOPBACK_PLAYER " --";
  const ChildResult child = runProgram({"/bin/sh", "-c", all});
  const std::string shown = "\nKept\n----\n  " + (scratch / "b/c") + "\n";
  EXPECT_EQ(child.exitCode(), 0) << child.err;
  EXPECT_NE(child.out.find(shown), std::string::npos) << child.out;
  EXPECT_EQ(namesIn(scratch / "b/c"), Words({"action.log", "exchanges.jsonl", "items"}));
}

TEST_F(Rehearse, EarlierRehearsal_IsRefusedAndLeftAlone) {
  for (const std::string name : {"exchanges.jsonl", "items", "action.log", "action.bak"}) {
    const ScratchDir earlier;
    std::filesystem::create_symlink("nowhere", earlier / name);
    earlier.write("notes", "");  // which alone would be none
    const ChildResult child =
        rehearse({"--outbox", earlier.path(), "--command", LOOPBACK_PLAYER, "--"});
    EXPECT_EQ(child.exitCode(), 125);
    EXPECT_EQ(child.err, "tanexics-rehearse: the outbox " + earlier.path() + " already holds '" +
                             name + "' of an earlier rehearsal: name another one, or remove it\n");
    EXPECT_EQ(child.out, "");
    EXPECT_EQ(namesIn(earlier.path()).size(), 2U);
    std::filesystem::remove(earlier / name);
    EXPECT_EQ(rehearse({"--outbox", earlier.path(), "--command", "/bin/true", "--"}).err, "");
  }
}

TEST_F(Rehearse, FolderThatCannotBeMade_IsAnError) {
  const std::string file = scratch.write("file", "");
  for (const std::string& outbox : {file, file + "/below"}) {
    const ChildResult child = rehearse({"--outbox", outbox, "--command", LOOPBACK_PLAYER, "--"});
    EXPECT_EQ(child.exitCode(), 125) << outbox;
    EXPECT_EQ(child.out, "");
  }
  // In the last one nobody can make a file.
  for (const std::string folder : {"/nonexistent", "/proc"}) {
    const ChildResult child =
        runProgram({REHEARSE, "--command", LOOPBACK_PLAYER, "--"}, {{"TMPDIR", folder}});
    EXPECT_EQ(child.exitCode(), 125) << folder;
    EXPECT_EQ(child.out, "");
  }
}

TEST_F(Rehearse, LogThatCannotBeMade_IsAnError) {
  const ChildResult child = rehearse({"--outbox", "/proc", "--command", LOOPBACK_PLAYER, "--"});
  EXPECT_EQ(child.exitCode(), 125);
  EXPECT_EQ(child.out, "");
  EXPECT_EQ(child.err, "tanexics-rehearse: open(/proc/action.log): No such file or directory\n");
}

// --- the run -------------------------------------------------------------------------------------

TEST_F(Rehearse, Environment_IsThatOfTheRehearsalWithAbsolutePaths) {
  const std::string show =
      "for name in LD_LIBRARY_PATH KELCOM_LOOPBACK_OUTBOX KELCOM_LOOPBACK_SCRIPT TANEX_LOG "
      "TANEX_LOG_LEVEL OTHER; do eval \"echo $name=\\${$name-unset}\" >>" +
      (scratch / "shown") + "; done";
  const std::string outbox = scratch / "outbox";
  std::filesystem::create_symlink(kLibraryFolder, scratch / "library");
  const struct {
    std::string before;
    std::string options;
    Words expected;
  } rows[] = {
      {"unset LD_LIBRARY_PATH",
       "",
       {"LD_LIBRARY_PATH=" + kLibraryFolder, "KELCOM_LOOPBACK_OUTBOX=" + outbox,
        "KELCOM_LOOPBACK_SCRIPT=unset", "TANEX_LOG=" + outbox + "/action.log",
        "TANEX_LOG_LEVEL=unset", "OTHER=kept"}},
      {"export LD_LIBRARY_PATH=/before OTHER=",
       " --trace --script script --library library",
       {"LD_LIBRARY_PATH=" + (scratch / "library") + ":/before", "KELCOM_LOOPBACK_OUTBOX=" + outbox,
        "KELCOM_LOOPBACK_SCRIPT=" + (scratch / "script"), "TANEX_LOG=" + outbox + "/action.log",
        "TANEX_LOG_LEVEL=LOG_LEVEL_TRACE", "OTHER="}},
  };
  for (const auto& [before, options, expected] : rows) {
    std::filesystem::remove_all(outbox);
    scratch.write("shown", "");
    const std::string all = "cd " + scratch.path() +
                            "; unset TANEX_LOG_LEVEL; export TANEX_LOG=/other OTHER=kept "
                            "KELCOM_LOOPBACK_OUTBOX=/other KELCOM_LOOPBACK_SCRIPT=/other; " +
                            before + "; " REHEARSE " --outbox outbox" + options +
                            " --command /bin/sh -- -c \"$0\"";
    const ChildResult child = runProgram({"/bin/sh", "-c", all, show});
    EXPECT_EQ(child.exitCode(), 0) << child.err;
    EXPECT_EQ(linesOf(readFile(scratch / "shown")), expected);
  }
}

TEST_F(Rehearse, Signal_IsPassedOn) {
  const ChildResult killed = rehearseShell("kill -9 $$");
  EXPECT_EQ(killed.exitCode(), 128 + SIGKILL);
  EXPECT_NE(killed.out.find("\n  none: ended by signal 9 (Killed)\n"), std::string::npos);
}

TEST_F(Rehearse, Interrupt_IsIgnoredHereAndDeadlyThereUnlessItWasIgnoredBefore) {
  // The shell interrupts the rehearsal, which is its parent, then itself.
  const std::string interrupt = "kill -INT $PPID; kill -INT $$; exit 3";
  // Whoever runs the tests may ignore it as well: a shell does in what it runs in the background.
  for (const auto& [signal, status] :
       {std::pair("--default-signal=INT", 128 + SIGINT), std::pair("--ignore-signal=INT", 3)}) {
    EXPECT_EQ(runProgram(
                  {"/usr/bin/env", signal, REHEARSE, "--command", "/bin/sh", "--", "-c", interrupt})
                  .exitCode(),
              status);
  }
}

TEST_F(Rehearse, EndThatTheCallerWantsNobodyToHearOf_IsAnError) {
  const ChildResult child = runProgram(
      {"/usr/bin/env", "--ignore-signal=CHLD", REHEARSE, "--command", "/bin/true", "--"});
  EXPECT_EQ(child.exitCode(), 125);
  EXPECT_EQ(child.out, "");
  EXPECT_EQ(child.err, "tanexics-rehearse: waitpid: No child processes\n");
}

TEST_F(Rehearse, WhatCannotBeRun_IsNamedAndLeavesNoOutbox) {
  const std::string garbage = scratch.write("garbage", "no program");
  const std::string data = scratch.write("data", "");
  std::filesystem::permissions(garbage, std::filesystem::perms::owner_all);
  std::filesystem::create_directories(scratch / "folder/libkelcom.so");
  const struct {
    std::string command;
    std::string library;
    std::string complaint;
  } rows[] = {
      {scratch / "none", kLibraryFolder, "no command: " + (scratch / "none")},
      {scratch.path(), kLibraryFolder, "the command cannot be used: " + scratch.path()},
      {data, kLibraryFolder, "the command cannot be used: " + data},
      // The real library is never reached.
      {LOOPBACK_PLAYER, scratch.path(), "no stand-in library: " + (scratch / "libkelcom.so")},
      {LOOPBACK_PLAYER, scratch / "folder",
       "the stand-in library cannot be used: " + (scratch / "folder/libkelcom.so")},
  };
  const Words names = namesIn(scratch.path());
  for (const auto& [command, library, complaint] : rows) {
    const ChildResult child =
        rehearse({"--outbox", scratch / "new", "--command", command, "--library", library, "--"});
    EXPECT_EQ(child.exitCode(), 125);
    EXPECT_EQ(child.err, "tanexics-rehearse: " + complaint + "\n");
    EXPECT_EQ(child.out, "");
    EXPECT_EQ(namesIn(scratch.path()), names);
  }
  EXPECT_EQ(rehearse({"--command", garbage, "--"}).err,
            "tanexics-rehearse: cannot run " + garbage + ": Exec format error\n");
  EXPECT_EQ(rehearse({"--outbox", scratch / "new", "--unknown", "--"}).exitCode(), 2);
}

TEST_F(Rehearse, OutputThatCannotBeWritten_IsReported) {
  const struct {
    std::string words;
    std::string complaint;
  } rows[] = {
      {"--situations", "tanexics-rehearse: the output cannot be written\n"},
      {"--command " LOOPBACK_PLAYER " --", "tanexics-rehearse: the report cannot be written\n"},
  };
  for (const auto& [words, complaint] : rows) {
    const ChildResult child = runProgram({"/bin/sh", "-c", REHEARSE " " + words + " >/dev/full"});
    EXPECT_EQ(child.exitCode(), 125) << words;
    EXPECT_EQ(child.err, complaint);
  }
}

}  // namespace
