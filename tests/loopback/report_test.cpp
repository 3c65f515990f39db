#include "loopback/rehearse/report.h"

#include <gtest/gtest.h>
#include <unistd.h>

#include <filesystem>
#include <fstream>
#include <string>

#include "support/scratch.h"

namespace {

using namespace std::string_literals;

class Report : public ::testing::Test {
 protected:
  void writeRecord(const std::string& content) { write("exchanges.jsonl", content); }

  void write(const std::string& name, const std::string& content) {
    std::ofstream(folder.path() + "/" + name, std::ios::binary) << content;
  }

  /// The rows between two headings, or from the last one on.
  std::string section(const std::string& title, const std::string& next) {
    const std::string report = makeReport(folder, 0);
    const std::string head = title + "\n" + std::string(title.size(), '-') + "\n";
    const std::size_t start = report.find(head);
    if (start == std::string::npos) return "NO SUCH HEADING";
    return report.substr(start + head.size(),
                         report.find("\n" + next + "\n---") - start - head.size());
  }

  std::string exchanges(const std::string& record) {
    writeRecord(record);
    return section("What the centre would have received", "Action log");
  }

  std::string log() { return section("Action log", "Exit status"); }

  RehearsalFolder folder{""};
};

TEST_F(Report, NothingRecordedAndNothingLogged) {
  EXPECT_EQ(
      "What the centre would have received\n"
      "-----------------------------------\n"
      "  (no record: the command did not load the stand-in library)\n"
      "\n"
      "Action log\n"
      "----------\n"
      "  (no line)\n"
      "\n"
      "Exit status\n"
      "-----------\n"
      "  none: ended by signal 9 (Killed)\n",
      makeReport(folder, 9));
}

TEST_F(Report, KeptFolderIsNamed) {
  const ScratchDir scratch;
  const RehearsalFolder kept(scratch / "kept");
  const std::string report = makeReport(kept, 0);
  const std::string end =
      "Exit status\n"
      "-----------\n"
      "  0: the event was parsed, and nothing failed that the status tells of\n"
      "\n"
      "Kept\n"
      "----\n"
      "  " +
      kept.path() + "\n";
  EXPECT_EQ(end, report.substr(report.find("Exit status")));
}

TEST_F(Report, NoCall) { EXPECT_EQ("  (no call)\n", exchanges("")); }

TEST_F(Report, EveryKindOfCall) {
  std::filesystem::create_directory(folder.path() + "/items");
  write("items/0001-messages", std::string(1234, 'x'));
  write("items/0002-\xc6\\", "");
  EXPECT_EQ(
      "    1  machine identifier (4711): result 0\n"
      "    2  connection status (0x20, operating): result 0\n"
      "    3  start: result -7\n"
      "    4  0x40017, notification of an incident: result -62, agent error HTTP 54\n"
      "       INCNO=\"1\" \\xc6 \\x1b[31m\n"
      "       (HTTP) 接続異常が発生しました。\n"
      "       サポート要員に以下のエラーコードをお知らせください。\n"
      "       RL:-62,ZW-Agent:54\n"
      "    5  0x4010b, data of an incident, 1 file: result 0\n"
      "                  1,234 bytes  /var/log/messages\n"
      "    6  0x4010d, data of an event, 3 files: result 0\n"
      "                     not sent  /nope (No such file or directory)\n"
      "                    copy gone  /gone\n"
      "                      0 bytes  \\xc6\\\n"
      "    7  stop: result 0\n",
      exchanges(R"({"call":"KEL_GetID","id":4711,"result":0})"
                "\n"
                R"({"call":"KEL_GetStatus","reserved":0,"status":32,"result":0})"
                "\n"
                R"({"call":"KEL_StartComm","mode":0,"value":0,"result":-7})"
                "\n"
                R"({"call":"KEL_Communicate","code":"0x40017","reserved":0,"count":0,)"
                R"("text":"INCNO=\"1\" \\xc6 \u001b[31m","error":[2,54,0],"result":-62})"
                "\n"
                R"({"call":"KEL_Communicate","code":"0x4010b","reserved":0,"count":1,)"
                R"("items":[{"path":"/var/log/messages","copy":"items/0001-messages"}],)"
                R"("error":[0,0,0],"result":0})"
                "\n"
                R"({"call":"KEL_Communicate","code":"0x4010d","reserved":0,"count":3,"items":[)"
                R"({"path":"/nope","error":"No such file or directory"},)"
                R"({"path":"/gone","copy":"items/0009-gone"},)"
                R"({"path":"\\xc6\\\\","copy":"items/0002-\\xc6\\\\"}],"error":[0,0,0],"result":0})"
                "\n"
                R"({"call":"KEL_StopComm","result":0})"
                "\n"));
}

TEST_F(Report, NullsAreSaidInWords) {
  EXPECT_EQ(
      "    1  machine identifier (nothing stored): result -1\n"
      "    2  connection status (nothing stored): result -1\n"
      "    3  0x1, unknown request code: result -1\n"
      "       (no text)\n"
      "    4  0x1, unknown request code, 2 files: result 0\n"
      "       (no list of files)\n"
      "    5  0x1, unknown request code, 1 file: result 0\n"
      "                     not sent  (null) (null path name)\n",
      exchanges(
          R"({"call":"KEL_GetID","id":null,"result":-1})"
          "\n"
          R"({"call":"KEL_GetStatus","reserved":0,"status":null,"result":-1})"
          "\n"
          R"({"call":"KEL_Communicate","code":"0x1","count":0,"text":null,"error":null,"result":-1})"
          "\n"
          R"({"call":"KEL_Communicate","code":"0x1","count":2,"items":null,"error":null,"result":0})"
          "\n"
          R"({"call":"KEL_Communicate","code":"0x1","count":1,)"
          R"("items":[{"path":null,"error":"null path name"}],"error":null,"result":0})"
          "\n"));
}

TEST_F(Report, EveryAgentErrorIsExplained) {
  const std::string blanks(7, ' ');
  EXPECT_EQ(
      "    1  0x1, unknown request code: result -72, agent error SMTP -6\n" + blanks +
          "(no text)\n" + blanks + "(SMTP) メール（ＳＭＴＰ）サーバ上のエラーです。\n" + blanks +
          "以下のメッセージを参照して、環境を見直してください。\n" + blanks +
          "(SMTPサーバのエラーメッセージ)\n" + "\n" + blanks + "RL:-72,ZW-Agent:-6\n" +
          "    2  0x1, unknown request code, 1 file: result 0, agent error type 3 4\n"
          "                     not sent  /a (why)\n" +
          blanks + "() RL:0,ZW-Agent:4\n" + "    3  0x1, unknown request code: result -72\n" +
          blanks + "(no text)\n",
      exchanges(
          R"({"call":"KEL_Communicate","code":"0x1","count":0,"text":null,"error":[1,-6,0],"result":-72})"
          "\n"
          R"({"call":"KEL_Communicate","code":"0x1","count":1,"items":[{"path":"/a","error":"why"}],)"
          R"("error":[3,4,0],"result":0})"
          "\n"
          R"({"call":"KEL_Communicate","code":"0x1","count":0,"text":null,"error":[0,-6,0],"result":-72})"
          "\n"));
}

TEST_F(Report, OddStatusWordIsShownAsItsBits) {
  EXPECT_EQ("    1  connection status (0xffffffff, unknown status word): result 0\n",
            exchanges(R"({"call":"KEL_GetStatus","reserved":0,"status":-1,"result":0})"));
}

TEST_F(Report, LinesThatAreNoCallsAreShownAsTheyAre) {
  EXPECT_EQ(
      "  ???  {\"call\":\"KEL_St\n"
      "  ???  7\n"
      "  ???  {\"call\":\"KEL_StartComm\"}\n"
      "  ???  {\"call\":\"KEL_Other\",\"result\":0}\n"
      "    5  stop: result 0\n",
      exchanges("{\"call\":\"KEL_St\n"
                "7\n"
                "{\"call\":\"KEL_StartComm\"}\n"
                "{\"call\":\"KEL_Other\",\"result\":0}\n"
                "{\"call\":\"KEL_StopComm\",\"result\":0}\n"));
}

TEST_F(Report, LongTextIsBrokenIntoRows) {
  const std::string text(200, 'x');
  EXPECT_EQ(
      "    1  0x1, unknown request code: result 0\n"
      "       " +
          text.substr(0, 89) + "\n         " + text.substr(0, 87) + "\n         " +
          text.substr(0, 24) + "\n",
      exchanges(R"({"call":"KEL_Communicate","code":"0x1","count":0,"text":")" + text +
                R"(","error":[0,0,0],"result":0})"));
}

TEST_F(Report, LogLines) {
  write("action.log", "one\n\ntwo \xc6\0\x1b[0m\nlast without end"s);
  EXPECT_EQ("  one\n\n  two \\xc6\\x00\\x1b[0m\n  last without end\n", log());
}

TEST_F(Report, LogThatWasCutShowsItsBackupFirst) {
  write("action.bak", "old\n");
  write("action.log", "new\n");
  EXPECT_EQ(
      "  (grown too large and cut: its backup first, lines before that are lost)\n"
      "  old\n"
      "  new\n",
      log());
}

TEST_F(Report, LogThatCannotBeRead) {
  ASSERT_EQ(0, ::unlink(folder.actionLog().c_str()));
  EXPECT_EQ("  (cannot be read)\n", log());
}

}  // namespace
