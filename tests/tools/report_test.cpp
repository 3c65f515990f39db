#include "tools/rehearse/report.h"

#include <gtest/gtest.h>
#include <unistd.h>

#include <climits>
#include <filesystem>
#include <fstream>
#include <string>
#include <vector>

#include "e2e/support/expected.h"
#include "support/scratch.h"

namespace {

using namespace std::string_literals;
using Lines = std::vector<std::string>;

const char kNoRecord[] = "  (no record: the command did not load the stand-in library)\n";
const char kNoLine[] = "  (no line)\n";
const char kSuccess[] = "  0: the event was parsed, and nothing failed that the status tells of\n";

/// A whole report with these sections.
std::string report(const std::string& exchanges, const std::string& log = kNoLine,
                   const std::string& end = kSuccess, const std::string& kept = "") {
  return "What the centre would have received\n"
         "-----------------------------------\n" +
         exchanges +
         "\n"
         "Action log\n"
         "----------\n" +
         log +
         "\n"
         "Exit status\n"
         "-----------\n" +
         end + kept +
         "\n"
         "Verdict\n"
         "-------\n"
         "  partly: why\n";
}

const Judgement kJudgement = {outcome::Verdict::kPartly, "why"};

class MakeReport : public ::testing::Test {
 protected:
  void write(const std::string& name, const std::string& content) const {
    std::ofstream(folder.path() + "/" + name, std::ios::binary) << content;
  }

  /// Makes the report of a record, and compares what it shows of it.
  void expectShown(const std::string& record, const Lines& rows) const {
    write("exchanges.jsonl", record);
    EXPECT_EQ(made(0), report(lines(rows)));
  }

  /// The report with this verdict, as it is piped.
  std::string made(int waitStatus, const Judgement& judgement = kJudgement) const {
    return makeReport(folder, waitStatus, judgement, {});
  }

  RehearsalFolder folder{""};
};

TEST_F(MakeReport, NothingRecordedAndNothingLogged_IsSaid) {
  EXPECT_EQ(made(9), report(kNoRecord, kNoLine, "  none: ended by signal 9 (Killed)\n"));
  expectShown("", {"  (no call)"});
}

TEST_F(MakeReport, EveryKindOfCall_IsShown) {
  std::filesystem::create_directory(folder.path() + "/items");
  write("items/0001-messages", std::string(1234, 'x'));
  write("items/0002-\xc6\\", "");
  expectShown(getId() + getStatus() + getStatus(-1) + startComm(-7) +
                  notify("0x40017", "INCNO=\"1\" \\xc6 \x1b[31m", {-62, 2, 54}) +
                  sendItems("0x4010b", {{"/var/log/messages", "=items/0001-messages"}}) +
                  sendItems("0x4010d", {{"/nope", "No such file or directory"},
                                        {"/gone", "=items/0009-gone"},
                                        {"\\xc6\\\\", "=items/0002-\\xc6\\\\"}}) +
                  stopComm(),
              {
                  "    1  machine identifier (4711): result 0",
                  "    2  connection status (0x20, operating): result 0",
                  "    3  connection status (0xffffffff, unknown status word): result 0",
                  "    4  start: result -7",
                  "    5  0x40017, notification of an incident: result -62, agent error HTTP 54",
                  "       INCNO=\"1\" \\xc6 \\x1b[31m",
                  "       (HTTP) 接続異常が発生しました。",
                  "       サポート要員に以下のエラーコードをお知らせください。",
                  "       RL:-62,ZW-Agent:54",
                  "    6  0x4010b, data of an incident, 1 file: result 0",
                  "                  1,234 bytes  /var/log/messages",
                  "    7  0x4010d, data of an event, 3 files: result 0",
                  "                     not sent  /nope (No such file or directory)",
                  "                    copy gone  /gone",
                  "                      0 bytes  \\xc6\\",
                  "    8  stop: result 0",
              });
}

TEST_F(MakeReport, Nulls_AreSaidInWords) {
  expectShown(
      lines({
          R"({"call":"KEL_GetID","id":null,"result":-1})",
          R"({"call":"KEL_GetStatus","reserved":0,"status":null,"result":-1})",
          R"({"call":"KEL_Communicate","code":"0x1","count":0,"text":null,"error":null,"result":-1})",
          R"({"call":"KEL_Communicate","code":"0x1","count":2,"items":null,"error":null,"result":0})",
          R"({"call":"KEL_Communicate","code":"0x1","count":1,)"
          R"("items":[{"path":null,"error":"null path name"}],"error":null,"result":0})",
      }),
      {
          "    1  machine identifier (nothing stored): result -1",
          "    2  connection status (nothing stored): result -1",
          "    3  0x1, unknown request code: result -1",
          "       (no text)",
          "    4  0x1, unknown request code, 2 files: result 0",
          "       (no list of files)",
          "    5  0x1, unknown request code, 1 file: result 0",
          "                     not sent  (null) (null path name)",
      });
}

TEST_F(MakeReport, CallThatDoesNotReturn_IsSaid) {
  expectShown(
      lines({
          R"({"call":"KEL_GetID","id":null,"thrown":33})",
          R"({"call":"KEL_Communicate","code":"0x40017","count":0,"text":"t","error":null,"thrown":-1})",
          R"({"call":"KEL_StopComm","hangs":true})",
      }),
      {
          "    1  machine identifier (nothing stored): throws 33",
          "    2  0x40017, notification of an incident: throws -1",
          "       t",
          "    3  stop: does not end",
      });
}

TEST_F(MakeReport, AgentError_IsExplainedByTheCatalogue) {
  expectShown(
      notify("0x1", "a", {-72, 1, -6}) + notify("0x1", "b", {-72, 0, -6}) +
          notify("0x1", "c", {-27, 1, -3}) + sendItems("0x1", {{"/a", "why"}}, {0, 3, 4}) +
          notify("0x1", std::string(100, 'd'), {INT_MIN, 2, INT_MAX}),
      {
          // The server's message, the last line but one, is empty.
          "    1  0x1, unknown request code: result -72, agent error SMTP -6",
          "       a",
          "       (SMTP) メール（ＳＭＴＰ）サーバ上のエラーです。",
          "       以下のメッセージを参照して、環境を見直してください。",
          "       (SMTPサーバのエラーメッセージ)",
          "",
          "       RL:-72,ZW-Agent:-6",
          "    2  0x1, unknown request code: result -72",
          "       b",
          "    3  0x1, unknown request code: result -27, agent error SMTP -3",
          "       c",
          "       (SMTP) ファイルアクセスエラー。ファイルがありません。",
          "       以下のことを確認してください",
          "       − 残りディスク容量は十分か",
          "       −　システムドライブ:\\Program Files\\ZW-Agent",
          "           \\Hexbrook.RM\\vasklormのtempフォルダとtmp2フォルダと",
          "       　　その配下のファイルに対するアクセス権限（読み取り/書き込み/変更）があるか",
          "       RL:-27,ZW-Agent:-3",
          "    4  0x1, unknown request code, 1 file: result 0, agent error type 3 4",
          "                     not sent  /a (why)",
          "       () RL:0,ZW-Agent:4",
          "    5  0x1, unknown request code: result -2147483648, agent error HTTP 2147483647",
          "       " + std::string(100, 'd'),
          "       (HTTP) RL:-2147483648,ZW-Agent:2147483647",
      });
}

TEST_F(MakeReport, LinesThatAreNoCalls_AreShownAsTheyAre) {
  const Lines noCalls = {R"({"call":"KEL_St)", "7", R"({"call":"KEL_StartComm"})",
                         R"({"call":"KEL_Other","result":0})"};
  expectShown(lines(noCalls) + stopComm(),
              {"  ???  " + noCalls[0], "  ???  " + noCalls[1], "  ???  " + noCalls[2],
               "  ???  " + noCalls[3], "    5  stop: result 0"});
}

TEST_F(MakeReport, Log_IsShownWithItsBackupFirst) {
  write("action.log", "one\n\ntwo \xc6\0\x1b[0m\nlast without end"s);
  const std::string rows = "  one\n\n  two \\xc6\\x00\\x1b[0m\n  last without end\n";
  EXPECT_EQ(made(0), report(kNoRecord, rows));

  write("action.bak", "old\n");
  const std::string backup =
      "  (grown too large and cut: its backup first, lines before that are lost)\n"
      "  old\n";
  EXPECT_EQ(made(0), report(kNoRecord, backup + rows));
}

TEST_F(MakeReport, LogThatCannotBeRead_IsSaid) {
  ASSERT_EQ(::unlink(folder.actionLog().c_str()), 0);
  EXPECT_EQ(made(0), report(kNoRecord, "  (cannot be read)\n"));
}

TEST_F(MakeReport, Terminal_IsNotOverrun) {
  std::filesystem::create_directory(folder.path() + "/items");
  write("items/0001-messages", std::string(1234, 'x'));
  write("exchanges.jsonl", notify("0x40017", std::string(300, 't'), {-62, 2, 54}) +
                               sendItems("0x4010b", {{"/a/rather/long/path/to/some/messages.log",
                                                      "=items/0001-messages"}}));
  write("action.log", std::string(500, 'l') + "\n");
  for (const std::size_t width : {36U, 40U, 80U, 200U}) {
    const std::string text = makeReport(folder, 0, kJudgement, {width, false});
    for (const std::string& row : linesOf(text)) {
      const bool isAscii = row.find('\xe3') == std::string::npos;
      EXPECT_LE(isAscii ? row.size() : 0, width) << row;
    }
  }
  const std::string narrow = makeReport(folder, 0, kJudgement, {40, false});
  EXPECT_NE(narrow.find("         1,234 bytes  /a/rather/long/pat\n"
                        "                      h/to/some/messages\n"
                        "                      .log\n"),
            std::string::npos)
      << narrow;
}

TEST_F(MakeReport, Verdict_HasItsColourAndSaysWhereOneOfTheTwoIsOpen) {
  using outcome::Verdict;
  const auto endOf = [this](const Judgement& judgement, bool hasColours) {
    const std::string text = makeReport(folder, 0, judgement, {0, hasColours});
    return text.substr(text.rfind("-------\n") + 8);
  };
  EXPECT_EQ(endOf({Verdict::kDelivered, "d"}, true), "  \x1b[32mdelivered\x1b[0m: d\n");
  EXPECT_EQ(endOf({Verdict::kPartly, "p"}, true), "  \x1b[33mpartly\x1b[0m: p\n");
  EXPECT_EQ(endOf({Verdict::kUnknown, "u"}, true), "  \x1b[33munknown\x1b[0m: u\n");
  EXPECT_EQ(endOf({Verdict::kRefused, "r"}, true), "  \x1b[31mrefused\x1b[0m: r\n");
  EXPECT_EQ(endOf({Verdict::kNotSent, "\xc6\x1b"}, true),
            "  \x1b[31mnot-sent\x1b[0m: \\xc6\\x1b\n");
  EXPECT_EQ(endOf({Verdict::kRefused, "r"}, false), "  refused: r\n");
  const Judgement openInLog = {Verdict::kRefused, "r", Verdict::kRefused, Verdict::kUnknown, "l"};
  EXPECT_EQ(endOf(openInLog, false), "  refused: r\n  the log alone would leave this open: l\n");
  const Judgement noRecord = {Verdict::kRefused, "r", Verdict::kUnknown,
                              Verdict::kRefused, "",  "there is none"};
  EXPECT_EQ(endOf(noRecord, false),
            "  refused: r\n  the record alone would leave this open: there is none\n");
  const Judgement thrownZero = {Verdict::kUnknown,   "r", Verdict::kUnknown,
                                Verdict::kDelivered, "",  "r"};
  EXPECT_EQ(
      endOf(thrownZero, false),
      "  unknown: r\n  the log alone would say delivered, which the record does not bear out\n");
  const Judgement wrong = {
      Verdict::kRefused, "r", Verdict::kRefused, Verdict::kDelivered, "", "", true};
  EXPECT_EQ(endOf(wrong, false),
            "  refused: r\n"
            "  DISAGREEMENT: the record says refused, the log says delivered: one of the two is "
            "wrong, report this\n");
}

TEST_F(MakeReport, KeptFolder_IsNamedBeforeTheVerdict) {
  const ScratchDir scratch;
  const RehearsalFolder kept(scratch / "kept");
  EXPECT_EQ(makeReport(kept, 0, kJudgement, {}),
            report(kNoRecord, kNoLine, kSuccess, "\nKept\n----\n  " + kept.path() + "\n"));
}

}  // namespace
