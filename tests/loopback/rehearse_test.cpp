// The rehearsal as a person runs it.

#include <gtest/gtest.h>

#include <csignal>
#include <filesystem>
#include <string>
#include <vector>

#include "e2e/support/expected.h"
#include "support/childrun.h"
#include "support/scratch.h"

namespace {

using Names = std::vector<std::string>;

class Rehearse : public ::testing::Test {
 protected:
  /// Temporary folders of the rehearsal are made in one of the test's own.
  ChildResult rehearse(const std::vector<std::string>& words) const {
    std::vector<std::string> all = {REHEARSE};
    all.insert(all.end(), words.begin(), words.end());
    return runProgram(all, {{"TMPDIR", temporary.path()}});
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
  EXPECT_EQ(namesIn(temporary.path()), Names());
}

TEST_F(Rehearse, Script_AnswersAndAgentErrorsAreExplained) {
  const struct {
    std::string text;
    std::string rows;
    std::string complaint;
  } rows[] = {
      {"start 9\ncommunicate * -62 2 54\nstop 6\n",
       "    3  start: result 9\n"
       "    4  0x40017, notification of an incident: result -62, agent error HTTP 54\n"
       "       INCNO=\"1\"\n"
       "       (HTTP) 接続異常が発生しました。\n"
       "       サポート要員に以下のエラーコードをお知らせください。\n"
       "       RL:-62,ZW-Agent:54\n"
       "    5  stop: result 6\n",
       ""},
      {"nonsense\n", "    5  stop: result -1\n",
       "libkelcom loopback: " + (scratch / "script") + ":1: 'nonsense' is no kind of line\n"},
  };
  for (const auto& row : rows) {
    const std::string script = scratch.write("script", row.text);
    const ChildResult child = rehearse({"--script", script, "--command", LOOPBACK_PLAYER, "--"});
    EXPECT_NE(child.out.find("\n" + row.rows + "\n"), std::string::npos) << child.out;
    EXPECT_EQ(child.err, row.complaint);
  }
}

TEST_F(Rehearse, Signal_IsPassedOn) {
  const ChildResult killed = rehearse({"--command", "/bin/sh", "--", "-c", "kill -9 $$"});
  EXPECT_EQ(killed.exitCode(), 128 + SIGKILL);
  EXPECT_NE(killed.out.find("\n  none: ended by signal 9 (Killed)\n"), std::string::npos);
  EXPECT_EQ(namesIn(temporary.path()), Names());
}

TEST_F(Rehearse, WhatCannotBeRun_LeavesNoOutboxAndAnEarlierOneAsItIs) {
  const std::string earlier = scratch / "earlier";
  std::filesystem::create_directory(earlier);
  scratch.write("earlier/exchanges.jsonl", "record\n");
  const struct {
    std::vector<std::string> words;
    int status;
    std::string complaint;
  } rows[] = {
      {{"--outbox", earlier, "--command", LOOPBACK_PLAYER, "--"},
       125,
       "tanexics-rehearse: the outbox " + earlier +
           " already holds 'exchanges.jsonl' of an earlier rehearsal: name another one, or remove "
           "it\n"},
      // The real library is never reached.
      {{"--outbox", scratch / "new", "--library", earlier, "--command", LOOPBACK_PLAYER, "--"},
       125,
       "tanexics-rehearse: no stand-in library: " + earlier + "/libkelcom.so\n"},
      {{"--outbox", scratch / "new", "--situation", "nope", "--", "stop"},
       2,
       "--situation: there is none with the name 'nope': --situations lists them all\n"
       "Run with --help for more information.\n"},
  };
  for (const auto& [words, status, complaint] : rows) {
    const ChildResult child = rehearse(words);
    EXPECT_EQ(child.exitCode(), status) << complaint;
    EXPECT_EQ(child.err, complaint);
    EXPECT_EQ(child.out, "");
    EXPECT_EQ(namesIn(scratch.path()), Names({"earlier"}));
    EXPECT_EQ(namesIn(earlier), Names({"exchanges.jsonl"}));
    EXPECT_EQ(readFile(earlier + "/exchanges.jsonl"), "record\n");
  }
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
    const ChildResult child = runProgram({"/bin/sh", "-c", REHEARSE " " + words + " >/dev/full"},
                                         {{"TMPDIR", temporary.path()}});
    EXPECT_EQ(child.exitCode(), 125) << words;
    EXPECT_EQ(child.err, complaint);
  }
}

}  // namespace
