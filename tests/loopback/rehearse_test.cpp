// The rehearsal as a person runs it.

#include <gtest/gtest.h>
#include <sys/stat.h>
#include <sys/wait.h>
#include <unistd.h>

#include <map>
#include <string>
#include <vector>

#include "support/childrun.h"
#include "support/scratch.h"

namespace {

using Names = std::vector<std::string>;

class Rehearse : public ::testing::Test {
 protected:
  /// Temporary folders of the rehearsal are made in one of the test's own.
  ChildResult rehearse(const std::vector<std::string>& words) {
    std::vector<std::string> all = {REHEARSE};
    all.insert(all.end(), words.begin(), words.end());
    return runProgram(all, {{"TMPDIR", temporary.path()}});
  }

  /// The same with the player as the command.
  ChildResult play(std::vector<std::string> options, const std::vector<std::string>& words) {
    options.insert(options.end(), {"--command", LOOPBACK_PLAYER, "--"});
    options.insert(options.end(), words.begin(), words.end());
    return rehearse(options);
  }

  ScratchDir scratch;
  ScratchDir temporary;
};

TEST_F(Rehearse, WholeReportAfterTheCommandsOwnOutput) {
  const std::string file = scratch.write("messages", "12345");
  const ChildResult child =
      play({}, {"print", "collected", "log", "first line", "id", "status", "start", "notify",
                "0x40017", "INCNO=\"1\"", "data", "0x4010b", "2", file, "/nonexistent", "stop"});
  EXPECT_EQ(
      "collected\n"
      "What the centre would have received\n"
      "-----------------------------------\n"
      "    1  machine identifier (4711): result 0\n"
      "    2  connection status (0x20, operating): result 0\n"
      "    3  start: result 0\n"
      "    4  0x40017, notification of an incident: result 0\n"
      "       INCNO=\"1\"\n"
      "    5  0x4010b, data of an incident, 2 files: result 0\n"
      "                      5 bytes  " +
          file +
          "\n"
          "                     not sent  /nonexistent (No such file or directory)\n"
          "    6  stop: result 0\n"
          "\n"
          "Action log\n"
          "----------\n"
          "  first line\n"
          "\n"
          "Exit status\n"
          "-----------\n"
          "  0: the event was parsed, and nothing failed that the status tells of\n",
      child.out);
  EXPECT_EQ("", child.err);
  EXPECT_EQ(0, child.status);
  EXPECT_EQ(Names(), namesIn(temporary.path()));
}

TEST_F(Rehearse, KnownLogOfACommandThatIsNoUserOfTheLibrary) {
  const std::string script = scratch.write(
      "fake", "#!/bin/sh\necho \"$# $1 $2 $3\" >\"$TANEX_LOG\"\necho complaint >&2\nexit 68\n");
  ASSERT_EQ(0, ::chmod(script.c_str(), 0755));
  const ChildResult child = rehearse({"--command", script, "--", "a b", "-i", "--trace"});
  EXPECT_EQ(
      "What the centre would have received\n"
      "-----------------------------------\n"
      "  (no record: the command did not load the stand-in library)\n"
      "\n"
      "Action log\n"
      "----------\n"
      "  3 a b -i --trace\n"
      "\n"
      "Exit status\n"
      "-----------\n"
      "  68: the command line, the list of files or the definition file was rejected\n",
      child.out);
  EXPECT_EQ("complaint\n", child.err);
  EXPECT_EQ(68, WEXITSTATUS(child.status));
}

TEST_F(Rehearse, ScriptAnswers) {
  const std::string script = scratch.write("script", "stop 5\nstop 6\n");
  const ChildResult child = play({"--script", script}, {"stop", "stop"});
  EXPECT_EQ(0U, child.out.find("What the centre would have received\n"
                               "-----------------------------------\n"
                               "    1  stop: result 5\n"
                               "    2  stop: result 6\n"
                               "\n"))
      << child.out;
}

TEST_F(Rehearse, BadScriptIsSaidAndEveryCallFails) {
  const std::string script = scratch.write("script", "nonsense\n");
  const ChildResult child = play({"--script", script}, {"stop"});
  EXPECT_EQ("libkelcom loopback: " + script + ":1: 'nonsense' is no kind of line\n", child.err);
  EXPECT_NE(std::string::npos, child.out.find("    1  stop: result -1\n")) << child.out;
}

TEST_F(Rehearse, ExitStatusAndSignalArePassedOn) {
  EXPECT_EQ(33, WEXITSTATUS(play({}, {"exit", "33"}).status));
  const ChildResult killed = play({}, {"kill", "9"});
  EXPECT_EQ(137, WEXITSTATUS(killed.status));
  EXPECT_NE(std::string::npos, killed.out.find("\n  none: ended by signal 9 (Killed)\n"));
  EXPECT_EQ(Names(), namesIn(temporary.path()));
}

TEST_F(Rehearse, KeptOutboxHoldsEverythingAndIsNeverOverwritten) {
  const std::string file = scratch.write("messages", "12345");
  const std::string outbox = scratch / "a/outbox";
  EXPECT_EQ(0, play({"--outbox", outbox}, {"log", "line", "data", "1", "1", file}).status);
  EXPECT_EQ(Names({"action.log", "exchanges.jsonl", "items"}), namesIn(outbox));
  EXPECT_EQ("12345", readFile(outbox + "/items/0001-messages"));
  EXPECT_EQ("line\n", readFile(outbox + "/action.log"));
  const std::string record = readFile(outbox + "/exchanges.jsonl");

  const ChildResult second = play({"--outbox", outbox}, {"stop"});
  EXPECT_EQ(125, WEXITSTATUS(second.status));
  EXPECT_EQ("tanexics-rehearse: the outbox " + outbox +
                " already holds 'exchanges.jsonl' of an earlier rehearsal: name another one, or "
                "remove it\n",
            second.err);
  EXPECT_EQ("", second.out);
  EXPECT_EQ(record, readFile(outbox + "/exchanges.jsonl"));
}

TEST_F(Rehearse, CommandThatIsMissingLeavesNoOutbox) {
  const ChildResult child =
      rehearse({"--outbox", scratch / "outbox", "--command", "/nonexistent/command", "--", "list"});
  EXPECT_EQ(125, WEXITSTATUS(child.status));
  EXPECT_EQ("tanexics-rehearse: no command: /nonexistent/command\n", child.err);
  EXPECT_EQ(Names(), namesIn(scratch.path()));
}

TEST_F(Rehearse, LibraryThatIsMissingStopsItBeforeTheRealOneIsReached) {
  const ChildResult child = play({"--library", scratch.path()}, {"stop"});
  EXPECT_EQ(125, WEXITSTATUS(child.status));
  EXPECT_EQ("tanexics-rehearse: no stand-in library: " + (scratch / "libkelcom.so") + "\n",
            child.err);
}

TEST_F(Rehearse, WrongUsage) {
  const ChildResult child = rehearse({"list", "-i", "5"});
  EXPECT_EQ(2, WEXITSTATUS(child.status));
  EXPECT_EQ("", child.out);
}

TEST_F(Rehearse, UnknownSituation) {
  const ChildResult child = play({"--situation", "nope"}, {"stop"});
  EXPECT_EQ(2, WEXITSTATUS(child.status));
  EXPECT_EQ("", child.out);
  EXPECT_EQ(
      "--situation: there is none with the name 'nope': --situations lists them all\n"
      "Run with --help for more information.\n",
      child.err);
}

TEST_F(Rehearse, ListThatCannotBeWritten) {
  const ChildResult child = runProgram({"/bin/sh", "-c", REHEARSE " --situations >/dev/full"});
  EXPECT_EQ(125, WEXITSTATUS(child.status));
  EXPECT_EQ("tanexics-rehearse: the output cannot be written\n", child.err);
}

TEST_F(Rehearse, ReportThatCannotBeWritten) {
  const ChildResult child =
      runProgram({"/bin/sh", "-c", REHEARSE " --command " LOOPBACK_PLAYER " -- stop >/dev/full"},
                 {{"TMPDIR", temporary.path()}});
  EXPECT_EQ(125, WEXITSTATUS(child.status));
  EXPECT_EQ("tanexics-rehearse: the report cannot be written\n", child.err);
}

#ifdef TANEXICS_COMMAND

TEST_F(Rehearse, RealCommandSendsAnIncident) {
  const std::string file = scratch.write("messages", "12345");
  const std::string list = scratch.write("list", file + "\n");
  const ChildResult child = rehearse({"--command", TANEXICS_COMMAND, "--", list, "-i", "42"});
  ASSERT_EQ("", child.err);
  if (::getuid() != 0) {
    EXPECT_EQ(65, WEXITSTATUS(child.status));
    return;
  }
  char host[256] = {};
  ASSERT_EQ(0, ::gethostname(host, sizeof host - 1));
  EXPECT_EQ(
      "What the centre would have received\n"
      "-----------------------------------\n"
      "    1  machine identifier (4711): result 0\n"
      "    2  machine identifier (4711): result 0\n"
      "    3  connection status (0x20, operating): result 0\n"
      "    4  connection status (0x20, operating): result 0\n"
      "    5  start: result 0\n"
      "    6  0x40017, notification of an incident: result 0\n"
      "       INCNO=\"42\",HOSTNAME=\"" +
          std::string(host) +
          "\",PART=\"1\",TOTAL=\"1\"\n"
          "    7  0x4010b, data of an incident, 1 file: result 0\n"
          "                      5 bytes  " +
          file +
          "\n"
          "    8  stop: result 0\n"
          "    9  stop: result 0\n"
          "\n",
      child.out.substr(0, child.out.find("Action log")));
  EXPECT_EQ(0, child.status);
}

#endif

}  // namespace
