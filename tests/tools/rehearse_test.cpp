// The rehearsal as a person runs it: its folder, the run of the command, and what is shown.

#include <gtest/gtest.h>
#include <sys/stat.h>
#include <unistd.h>

#include <algorithm>
#include <csignal>
#include <filesystem>
#include <nlohmann/json.hpp>
#include <string>
#include <vector>

#include "e2e/support/expected.h"
#include "support/childrun.h"
#include "support/scratch.h"
#include "tools/logbytes.h"

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
  EXPECT_EQ(child.out,
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
                   "  68: the command line, the list of files or the definition file was rejected",
                   "",
                   "Verdict",
                   "-------",
                   "  partly: all 2 exchanges accepted; a listed file is missing",
                   "  the log alone would leave this open: it has no run"}));
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
  const std::string shown = "\nKept\n----\n  " + (scratch / "b/c") + "\n\nVerdict\n";
  EXPECT_EQ(child.exitCode(), 0) << child.err;
  EXPECT_NE(child.out.find(shown), std::string::npos) << child.out;
  EXPECT_EQ(namesIn(scratch / "b/c"), Words({"action.log", "exchanges.jsonl", "items"}));
}

TEST_F(Rehearse, LinkInThePlaceOfTheLog_LeavesWhatItLeadsToAsItIs) {
  const std::string victim = scratch.write("victim", "");
  std::filesystem::permissions(victim, std::filesystem::perms(0644));
  rehearseShell("ln -sf " + victim + " $KELCOM_LOOPBACK_OUTBOX/action.log");
  EXPECT_EQ(std::filesystem::status(victim).permissions(), std::filesystem::perms(0644));
}

TEST_F(Rehearse, TemporaryFolderThatCannotBeRemoved_IsNamed) {
  if (::getuid() != 0) GTEST_SKIP() << "mounts a file system";
  const std::string all = "exec " REHEARSE
                          " --command /bin/sh -- -c 'mkdir "
                          "$KELCOM_LOOPBACK_OUTBOX/busy && "
                          "mount -t tmpfs none $KELCOM_LOOPBACK_OUTBOX/busy'";
  const ScratchDir own;
  const ChildResult child =
      runProgram({"/usr/bin/unshare", "-m", "/bin/sh", "-c", all}, {{"TMPDIR", own.path()}});
  EXPECT_EQ(child.exitCode(), 0);
  ASSERT_EQ(namesIn(own.path()).size(), 1U);
  // The reason is worded by the C++ library.
  const std::string told = "tanexics-rehearse: " + (own / namesIn(own.path()).front()) + " stays: ";
  EXPECT_EQ(child.err.substr(0, told.size()), told);
  EXPECT_GT(child.err.size(), told.size() + 1);
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

TEST_F(Rehearse, FolderThatCannotBeUsed_IsRefusedInWordsBeforeAnythingRuns) {
  const std::string file = scratch.write("file", "");
  std::filesystem::create_directories(scratch / "open/with-something");
  std::filesystem::permissions(scratch / "open", std::filesystem::perms(0750));
  const struct {
    std::string outbox;
    std::string complaint;
  } rows[] = {
      {file, "the outbox " + file + " cannot be used: not a folder\n"},
      // Some reasons are the choice of the C++ library.
      {file + "/below", "the outbox " + file + "/below cannot be made: "},
      {file + "/far/below", "the outbox " + file + "/far/below cannot be made: Not a directory\n"},
      {scratch / "open", "the outbox " + (scratch / "open") +
                             " is not for its owner alone, and is not empty: name another one\n"},
      {scratch / "a b", "the outbox " + (scratch / "a b") +
                            " cannot be used: the path of an action log has no ' '\n"},
      {scratch / "a\n;id", "the outbox " + (scratch / "a\\x0a;id") +
                               " cannot be used: the path of an action log has no '\\x0a'\n"},
      {"/", "the outbox / is not for its owner alone, and is not empty: name another one\n"},
      {"/proc/nothing", "the outbox /proc/nothing cannot be made: No such file or directory\n"},
  };
  for (const auto& [outbox, complaint] : rows) {
    const ChildResult child =
        rehearse({"--outbox", outbox, "--command", "/usr/bin/touch", "--", scratch / "has-run"});
    EXPECT_EQ(child.exitCode(), 125) << outbox;
    EXPECT_EQ(child.out, "");
    const std::string told = "tanexics-rehearse: " + complaint;
    EXPECT_EQ(child.err.substr(0, told.size()), told);
    EXPECT_EQ(std::count(child.err.begin(), child.err.end(), '\n'), 1) << child.err;
    EXPECT_EQ(namesIn(scratch.path()), Words({"file", "open"}));
  }
  const struct {
    std::string directory;
    std::string complaint;
  } temporaries[] = {
      {"/nonexistent", "there is no directory for temporary files; see TMPDIR: "},
      {"/proc", "cannot be made: No such file or directory"},
      {scratch / "open/with-something/a\"b", ""},
  };
  for (const auto& [directory, complaint] : temporaries) {
    if (complaint.empty()) std::filesystem::create_directories(directory);
    const ChildResult child =
        runProgram({REHEARSE, "--command", LOOPBACK_PLAYER, "--"}, {{"TMPDIR", directory}});
    EXPECT_EQ(child.exitCode(), 125);
    EXPECT_EQ(child.out, "");
    EXPECT_NE(child.err.find(complaint.empty() ? " has no '\"'\n" : complaint), std::string::npos)
        << child.err;
    EXPECT_EQ(complaint.empty() ? namesIn(directory) : Words(), Words());
  }
}

TEST_F(Rehearse, FolderOfTheSystem_IsRefused) {
  const struct {
    std::string outbox;
    std::string complaint;
  } rows[] = {
      {"/proc", "is not for its owner alone, and is not empty: name another one"},
      // Nobody else can enter it, but nothing can be written there either.
      {"/proc/self/map_files", "cannot be closed to others: Operation not permitted"},
  };
  if (::getuid() != 0) GTEST_SKIP() << "both are the super-user's";
  for (const auto& [outbox, complaint] : rows) {
    const ChildResult child = rehearse({"--outbox", outbox, "--command", LOOPBACK_PLAYER, "--"});
    EXPECT_EQ(child.exitCode(), 125);
    EXPECT_EQ(child.out, "");
    EXPECT_NE(child.err.find(" " + complaint + "\n"), std::string::npos) << child.err;
  }
}

TEST_F(Rehearse, LogThatCannotBeMade_IsAnError) {
  if (::getuid() != 0) GTEST_SKIP() << "mounts a file system";
  std::filesystem::create_directory(scratch / "full");
  const std::string all = "mount -t tmpfs -o nr_inodes=1,mode=700 none " + (scratch / "full") +
                          " && exec " REHEARSE " --outbox " + (scratch / "full") +
                          " --command " LOOPBACK_PLAYER " --";
  const ChildResult child = runProgram({"/usr/bin/unshare", "-m", "/bin/sh", "-c", all});
  EXPECT_EQ(child.exitCode(), 125);
  EXPECT_EQ(child.out, "");
  EXPECT_EQ(child.err, "tanexics-rehearse: the outbox " + (scratch / "full") +
                           " cannot be used: No space left on device\n");
}

TEST_F(Rehearse, FolderOfSomebodyElse_IsRefused) {
  if (::getuid() != 0) GTEST_SKIP() << "gives a folder away";
  std::filesystem::create_directory(scratch / "theirs");
  ASSERT_EQ(::chown((scratch / "theirs").c_str(), 65534, 65534), 0);
  const ChildResult child = rehearse({"--outbox", scratch / "theirs", "--"});
  EXPECT_EQ(child.exitCode(), 125);
  EXPECT_EQ(child.err, "tanexics-rehearse: the outbox " + (scratch / "theirs") +
                           " cannot be used: it belongs to another user\n");
}

TEST_F(Rehearse, WorkingDirectoryThatIsGone_IsNamed) {
  std::filesystem::create_directory(scratch / "gone");
  const std::string all = "cd " + (scratch / "gone") + "; rmdir " + (scratch / "gone") +
                          "; exec " REHEARSE " --outbox x --command " LOOPBACK_PLAYER " --";
  const ChildResult child = runProgram({"/bin/sh", "-c", all});
  EXPECT_EQ(child.exitCode(), 125);
  EXPECT_EQ(child.err,
            "tanexics-rehearse: the working directory is gone: No such file or directory\n");
}

TEST_F(Rehearse, KeptFolder_IsForItsOwnerAloneWhateverTheMask) {
  const std::string file = scratch.write("f", "content");
  std::filesystem::create_directory(scratch / "empty");
  std::filesystem::permissions(scratch / "empty", std::filesystem::perms(0755));
  for (const char* mask : {"0", "022", "0777"}) {
    for (const char* name : {"empty", "new", "ends-with-a-slash/"}) {
      const std::string outbox = scratch / name;
      // The command's own files have the permissions that it gives them.
      const std::string command = "umask 0; cp " + file + " $KELCOM_LOOPBACK_OUTBOX/action.bak; " +
                                  "chmod 666 $KELCOM_LOOPBACK_OUTBOX/action.*; umask " + mask +
                                  "; exec " LOOPBACK_PLAYER " " + file;
      const std::string all = std::string("umask ") + mask + "; exec " REHEARSE " --outbox " +
                              outbox + " --command /bin/sh -- -c '" + command + "'";
      EXPECT_EQ(runProgram({"/bin/sh", "-c", all}).exitCode(), 0) << mask << ' ' << name;
      const std::string modes = "cd " + outbox + "; find . -printf '%m %P\n' | sort";
      EXPECT_EQ(runProgram({"/bin/sh", "-c", modes}).out,
                "600 action.bak\n600 action.log\n600 exchanges.jsonl\n600 items/0001-f\n700 \n"
                "700 items\n")
          << mask << ' ' << name;
      std::filesystem::remove_all(outbox);
      if (name == std::string("empty")) std::filesystem::create_directory(outbox);
    }
  }
}

// --- the run -------------------------------------------------------------------------------------

TEST_F(Rehearse, Environment_IsThatOfTheRehearsalWithAbsolutePaths) {
  const std::string show =
      "for name in LD_LIBRARY_PATH KELCOM_LOOPBACK_OUTBOX KELCOM_LOOPBACK_SCRIPT TANEX_LOG "
      "TANEX_LOG_LEVEL OTHER; do eval \"echo $name=\\${$name-unset}\" >>" +
      (scratch / "shown") + "; done";
  const std::string outbox = scratch / "outbox";
  std::filesystem::create_symlink(kLibraryFolder, scratch / "library");
  scratch.write("script", "");
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
  // The shell interrupts the rehearsal, which is its parent, then itself; from the keyboard a quit
  // comes in the same way.
  // Whoever runs the tests may ignore it as well: a shell does in what it runs in the background.
  for (const auto& [name, number] : {std::pair("INT", SIGINT), std::pair("QUIT", SIGQUIT)}) {
    const std::string interrupt =
        std::string("kill -") + name + " $PPID; kill -" + name + " $$; exit 3";
    for (const auto& [signal, status] :
         {std::pair("--default-signal=", 128 + number), std::pair("--ignore-signal=", 3)}) {
      EXPECT_EQ(runProgram({"/usr/bin/env", std::string(signal) + name, REHEARSE, "--command",
                            "/bin/sh", "--", "-c", interrupt})
                    .exitCode(),
                status)
          << signal << name;
    }
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
  std::filesystem::create_symlink(kLibraryFolder, scratch / "a:b");
  const struct {
    std::string command;
    std::string library;
    std::string complaint;
  } rows[] = {
      {scratch / "none", kLibraryFolder, "no command: " + (scratch / "none")},
      {scratch.path(), kLibraryFolder,
       "the command cannot be used: " + scratch.path() + ": not a regular file"},
      {data, kLibraryFolder, "the command cannot be used: " + data + ": Permission denied"},
      // The real library is never reached.
      {LOOPBACK_PLAYER, scratch.path(), "no stand-in library: " + (scratch / "libkelcom.so")},
      {LOOPBACK_PLAYER, scratch / "folder",
       "the stand-in library cannot be used: " + (scratch / "folder/libkelcom.so") +
           ": not a regular file"},
      {LOOPBACK_PLAYER, scratch / "a:b",
       "the loader cannot be given the folder " + (scratch / "a:b") + ": its path has ':'"},
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

TEST_F(Rehearse, ScriptThatCannotBeUsed_IsRefusedInWordsBeforeAnythingRuns) {
  const std::string bad = scratch.write("bad", "id 1\nstaus 2\n");
  ASSERT_EQ(::mkfifo((scratch / "fifo").c_str(), 0600), 0);
  const struct {
    std::string script;
    std::string complaint;
  } rows[] = {
      {scratch / "none", "no script: " + (scratch / "none")},
      {bad + "/below", "no script: " + bad + "/below: Not a directory"},
      {scratch.path(), "the script cannot be used: " + scratch.path() + ": not a regular file"},
      // Neither waited for nor read, which would take it from the command.
      {scratch / "fifo",
       "the script cannot be used: " + (scratch / "fifo") + ": not a regular file"},
      {bad, "the script cannot be used: " + bad + ":2: 'staus' is no kind of line"},
  };
  for (const auto& [script, complaint] : rows) {
    const ChildResult child = rehearse({"--outbox", scratch / "new", "--script", script,
                                        "--command", "/usr/bin/touch", "--", scratch / "has-run"});
    EXPECT_EQ(child.exitCode(), 125);
    EXPECT_EQ(child.out, "");
    EXPECT_EQ(child.err, "tanexics-rehearse: " + complaint + "\n");
    EXPECT_EQ(namesIn(scratch.path()), Words({"bad", "fifo"}));
  }
}

TEST_F(Rehearse, OutputThatCannotBeWritten_IsReported) {
  const struct {
    std::string words;
    std::string complaint;
  } rows[] = {
      {"--situations",
       "tanexics-rehearse: the output cannot be written: No space left on device\n"},
      {"--command " LOOPBACK_PLAYER " --",
       "tanexics-rehearse: the report cannot be written: No space left on device\n"},
      {"--json --command " LOOPBACK_PLAYER " --",
       "tanexics-rehearse: the report cannot be written: No space left on device\n"},
  };
  for (const auto& [words, complaint] : rows) {
    const ChildResult child = runProgram({"/bin/sh", "-c", REHEARSE " " + words + " >/dev/full"});
    EXPECT_EQ(child.exitCode(), 125) << words;
    EXPECT_EQ(child.err, complaint);
  }
}

TEST_F(Rehearse, LimitOnFileSizes_IsReported) {
  const std::string out = scratch.write("out", std::string(1 << 20, 'o'));
  const ChildResult child =
      runProgram({"/bin/sh", "-c", "ulimit -f 2048; exec " REHEARSE " --situations >>" + out});
  EXPECT_EQ(child.exitCode(), 125);
  EXPECT_EQ(child.err, "tanexics-rehearse: the output cannot be written: File too large\n");
  // Nor does it die where even that cannot be told.
  const std::string both = " --situations >>" + out + " 2>&1";
  EXPECT_EQ(runProgram({"/bin/sh", "-c", "ulimit -f 2048; exec " REHEARSE + both}).exitCode(), 125);
}

TEST_F(Rehearse, OutputThatIsClosed_IsRefusedBeforeAnythingRuns) {
  const std::string command = " --command /usr/bin/touch -- " + (scratch / "has-run");
  const ChildResult child = runProgram({"/bin/sh", "-c", "exec " REHEARSE + command + " >&-"});
  EXPECT_EQ(child.exitCode(), 125);
  EXPECT_EQ(child.err, "tanexics-rehearse: standard output: Bad file descriptor\n");
  EXPECT_EQ(namesIn(scratch.path()), Words());
}

TEST_F(Rehearse, ReaderWhoHasGone_IsToldAndTheCommandDiesOfItsOwn) {
  const std::string told = scratch / "told";
  // The shell in the command's place gets the signal as the rehearsal's caller has it.
  const std::string command = "kill -PIPE $$; exit 3";
  const std::string all = "{ sleep 0.2; " REHEARSE " --command /bin/sh -- -c '" + command + "' 2>" +
                          told + "; echo $? >>" + told + "; } | :";
  runProgram({"/bin/sh", "-c", all});
  EXPECT_EQ(readFile(told), "tanexics-rehearse: the report cannot be written: Broken pipe\n125\n");
  EXPECT_EQ(rehearseShell(command).exitCode(), 128 + SIGPIPE);
  const std::string ignoring = "trap '' PIPE; exec " REHEARSE " --command /bin/sh -- -c \"$0\"";
  EXPECT_EQ(runProgram({"/bin/sh", "-c", ignoring, command}).exitCode(), 3);
}

TEST_F(Rehearse, Json_IsAllThatStandardOutputHas) {
  const std::string file = scratch.write("messages", "12345");
  const std::string commands = "echo collected; " LOOPBACK_PLAYER " " + file + " /nonexistent";
  const ChildResult child = rehearse({"--json", "--command", "/bin/sh", "--", "-c", commands});
  EXPECT_EQ(child.err, "collected\n");
  EXPECT_EQ(child.exitCode(), 0);
  ASSERT_EQ(linesOf(child.out).size(), 1U);
  const auto object = nlohmann::json::parse(child.out);
  EXPECT_EQ(object["verdict"], "partly");
  EXPECT_EQ(object["outbox"], nullptr);
}

TEST_F(Rehearse, Contradiction_IsToldOnStandardErrorToo) {
  // A log of a run that was delivered, and a record of one that was not.
  const std::string script = scratch.write("script", "communicate * -7\n");
  const std::string log = scratch.write(
      "log", linesOf(7, {kStartedLine, kStartComm, loopLine(1, 1), incidentCall(1, 1), doneLine(0),
                         dataCall("/a"), doneLine(0), kOk, kElapsedLine, exitLine(0)}));
  const std::string commands = "cat " + log + " >$TANEX_LOG; " LOOPBACK_PLAYER " " + log;
  const ChildResult child =
      rehearse({"--script", script, "--command", "/bin/sh", "--", "-c", commands});
  const std::string told =
      "DISAGREEMENT: the record says refused, the log says delivered: one of the two is wrong, "
      "report this\n";
  EXPECT_EQ(child.err, "tanexics-rehearse: " + told);
  const std::string end = "Verdict\n-------\n  refused: 0 of 2 exchanges accepted\n  " + told;
  ASSERT_GT(child.out.size(), end.size());
  EXPECT_EQ(child.out.substr(child.out.size() - end.size()), end);
  EXPECT_EQ(child.exitCode(), 0);
}

}  // namespace
