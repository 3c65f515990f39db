#include "tools/rehearse/report.h"

#include <gtest/gtest.h>
#include <unistd.h>

#include <climits>
#include <csignal>
#include <filesystem>
#include <fstream>
#include <limits>
#include <sstream>
#include <string>
#include <vector>

#include "e2e/support/expected.h"
#include "support/scratch.h"
#include "tools/outcome/meaning.h"
#include "tools/outcome/utf8text.h"
#include "tools/rehearse/screen.h"

namespace {

using namespace std::string_literals;
using Lines = std::vector<std::string>;

const char kNoRecord[] = "  (no record: the command did not load the stand-in library)\n";
const char kNoLine[] = "  (no line)\n";
const char kSuccess[] = "  0: the event was parsed, and nothing failed that the status tells of\n";

/// A whole report with these sections.
std::string report(const std::string& exchanges, const std::string& log = kNoLine,
                   const std::string& end = kSuccess) {
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
         end;
}

class MakeReport : public ::testing::Test {
 protected:
  void write(const std::string& name, const std::string& content) const {
    std::ofstream(folder.path() + "/" + name, std::ios::binary) << content;
  }

  /// Makes the report of a record, and compares what it shows of it.
  void expectShown(const std::string& record, const Lines& rows) const {
    write("exchanges.jsonl", record);
    EXPECT_EQ(makeReport(folder, 0), report(lines(rows)));
  }

  RehearsalFolder folder{""};
};

TEST_F(MakeReport, NothingRecordedAndNothingLogged_IsSaid) {
  EXPECT_EQ(makeReport(folder, 9),
            report(kNoRecord, kNoLine, "  none: ended by signal 9 (Killed)\n"));
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
          "       " + std::string(89, 'd'),
          "         " + std::string(11, 'd'),
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
  EXPECT_EQ(makeReport(folder, 0), report(kNoRecord, rows));

  write("action.bak", "old\n");
  const std::string backup =
      "  (grown too large and cut: its backup first, lines before that are lost)\n"
      "  old\n";
  EXPECT_EQ(makeReport(folder, 0), report(kNoRecord, backup + rows));
}

TEST_F(MakeReport, LogThatCannotBeRead_IsSaid) {
  ASSERT_EQ(::unlink(folder.actionLog().c_str()), 0);
  EXPECT_EQ(makeReport(folder, 0), report(kNoRecord, "  (cannot be read)\n"));
}

// --- its words -----------------------------------------------------------------------------------

TEST(RequestMeaning, Code_IsSaidInWords) {
  EXPECT_EQ(requestMeaning(0x40016), "notification of an event of type 1");
  EXPECT_EQ(requestMeaning(0x40017), "notification of an incident");
  EXPECT_EQ(requestMeaning(0x40204), "notification of an event with send type err");
  EXPECT_EQ(requestMeaning(0x40205), "notification of an event with another send type");
  EXPECT_EQ(requestMeaning(0x4010a), "data of an event of type 1");
  EXPECT_EQ(requestMeaning(0x4010b), "data of an incident");
  EXPECT_EQ(requestMeaning(0x4010d), "data of an event");
  EXPECT_EQ(requestMeaning(0x4010c), "unknown request code");
  EXPECT_EQ(requestMeaning(0), "unknown request code");
}

TEST(StatusMeaning, Word_IsSaidInWords) {
  EXPECT_EQ(statusMeaning(0x20), "operating");
  EXPECT_EQ(statusMeaning(0x10000), "maintenance");
  EXPECT_EQ(statusMeaning(0x20000), "stopped");
  EXPECT_EQ(statusMeaning(0x30000), "stopped for maintenance");
  EXPECT_EQ(statusMeaning(0x10020), "unknown status word");
}

/// The wait status of a run that exits with `status`.
int exited(int status) { return status * 256; }

TEST(EndMeaning, WaitStatus_IsSaidInWordsAndPassedOn) {
  const std::string code = ": an error code that the communication library threw";
  const struct {
    int waitStatus;
    int passedOn;
    std::string text;
  } rows[] = {
      {exited(0), 0, "0: the event was parsed, and nothing failed that the status tells of"},
      {exited(1), 1, "1: communication could not be prepared or started"},
      {exited(65), 65, "65: the caller is not the super-user"},
      {exited(66), 66, "66: the action log could not be initialised"},
      {exited(68), 68,
       "68: the command line, the list of files or the definition file was rejected"},
      {exited(78), 78, "78: the temporary directory of an incident could not be made"},
      {exited(127), 127, "127" + code + "; or the loader could not start the command"},
      {exited(33), 33, "33" + code + " (its low eight bits)"},
      {exited(255), 255, "255" + code + " (its low eight bits)"},
      {SIGABRT, 134, "none: ended by signal 6 (Aborted)"},
      {SIGKILL, 137, "none: ended by signal 9 (Killed)"},
      // With a core file.
      {SIGSEGV | 0x80, 139, "none: ended by signal 11 (Segmentation fault)"},
  };
  for (const auto& row : rows) {
    EXPECT_EQ(endMeaning(row.waitStatus), row.text);
    EXPECT_EQ(passedOn(row.waitStatus), row.passedOn) << row.text;
  }
}

// --- its rows ------------------------------------------------------------------------------------

std::string x(std::size_t count) { return std::string(count, 'x'); }

std::string repeated(const std::string& character, std::size_t count) {
  std::string text;
  for (std::size_t at = 0; at < count; ++at) text += character;
  return text;
}

TEST(ScreenRows, Text_BreaksWhereARowIsFull) {
  const std::string wide = "\xe6\x97\xa5";
  const std::string narrow = "\xc3\xa9";
  const struct {
    const char* what;
    std::string text;
    std::size_t indent;
    std::size_t hang;
    std::string expected;
  } rows[] = {
      {"empty", "", 2, 4, "\n"},
      {"short", "a b ", 2, 4, "  a b \n"},
      {"full row", x(94), 2, 4, "  " + x(94) + "\n"},
      {"long word", x(187), 2, 4, "  " + x(94) + "\n    " + x(92) + "\n    x\n"},
      {"blank in the second half", x(50) + " " + x(60), 0, 2, x(50) + " \n  " + x(60) + "\n"},
      {"blank in the first half", x(20) + " " + x(80), 0, 2,
       x(20) + " " + x(75) + "\n  " + x(5) + "\n"},
      {"control characters and other bytes", "a\n\x1b\xc6\xfc", 0, 0, "a\\x0a\\x1b\\xc6\\xfc\n"},
      {"wide characters count twice", repeated(wide, 49), 0, 0,
       repeated(wide, 48) + "\n" + wide + "\n"},
      {"narrow characters of several bytes count once", repeated(narrow, 97), 0, 0,
       repeated(narrow, 96) + "\n" + narrow + "\n"},
  };
  static_assert(kScreenColumns == 96);
  for (const auto& [what, text, indent, hang, expected] : rows) {
    EXPECT_EQ(screenRows(text, indent, hang), expected) << what;
  }
}

TEST(ScreenRows, TextOfAnyLength_LosesNothingAndHasNoRowTooWide) {
  for (std::size_t length = 1; length < 600; ++length) {
    std::string text;
    for (std::size_t at = 0; at < length; ++at) text += (at * at + length) % 11 < 2 ? ' ' : 'a';
    std::istringstream rows(screenRows(text, 3, 5));
    std::string together;
    std::string row;
    for (std::size_t indent = 3; std::getline(rows, row); indent = 5) {
      ASSERT_LE(row.size(), kScreenColumns);
      together += row.substr(indent);
    }
    ASSERT_EQ(together, text);
  }
}

TEST(GroupedNumber, EveryThreeDigits_AreAGroup) {
  EXPECT_EQ(groupedNumber(0), "0");
  EXPECT_EQ(groupedNumber(999), "999");
  EXPECT_EQ(groupedNumber(1000), "1,000");
  EXPECT_EQ(groupedNumber(999999), "999,999");
  EXPECT_EQ(groupedNumber(1234567), "1,234,567");
  EXPECT_EQ(groupedNumber(std::numeric_limits<unsigned long long>::max()),
            "18,446,744,073,709,551,615");
}

// --- the text of the catalogue -------------------------------------------------------------------

constexpr char kEuc[] = "EUC-JP";
constexpr char kUnknown[] = "no-such-encoding";

TEST(Utf8Text, BytesOfAnEncoding_AreConvertedOrEscaped) {
  const struct {
    const char* what;
    const char* encoding;
    std::string bytes;
    std::string expected;
  } rows[] = {
      {"empty", kEuc, "", ""},
      {"ASCII, a backslash and control characters", kEuc, "a\\~\n\x1b[0m", "a\\~\n\x1b[0m"},
      {"zero byte", kEuc, "a\0b"s, "a\0b"s},
      {"kanji", kEuc, "\xc6\xfc\xcb\xdc", "日本"},
      {"minus, wide blank, wide slash", kEuc, "\xa1\xdd\xa1\xa1\xa1\xbf", "−　／"},
      {"half-width katakana of two bytes", kEuc, "\x8e\xb1", "ｱ"},
      {"supplementary character of three bytes", kEuc, "\x8f\xb0\xa1", "丂"},
      {"no character", kEuc, "\xff", "\\xff"},
      {"no character between others", kEuc, "\xc6\xfc\xff\xcb\xdc", "日\\xff本"},
      {"first half alone", kEuc, "a\xc6", "a\\xc6"},
      {"first half before a line end", kEuc, "\xc6\n\xc6\xfc", "\\xc6\n日"},
      {"two in a row that are none", kEuc, "\xff\xfe!", "\\xff\\xfe!"},
      {"first half before ASCII, and at the end", kEuc, "\xc3(\xc3", "\\xc3(\\xc3"},
      {"empty, unknown encoding", kUnknown, "", ""},
      {"ASCII, unknown encoding", kUnknown, "a\0\x7f"s, "a\0\x7f"s},
      {"bytes above ASCII, unknown encoding", kUnknown, "a\x80\xff\nb", "a\\x80\\xff\nb"},
  };
  for (const auto& [what, encoding, bytes, expected] : rows) {
    EXPECT_EQ(utf8Text(bytes, encoding), expected) << what;
  }
}

TEST(Utf8Text, TextOfAnyLength_IsWhole) {
  // The conversion works in pieces of 1,024 bytes of result.
  for (const int count : {340, 341, 342, 683, 100000}) {
    std::string bytes = "a";
    std::string expected = "a";
    for (int at = 0; at < count; ++at) {
      bytes += "\xc6\xfc";
      expected += "日";
    }
    EXPECT_EQ(utf8Text(bytes, kEuc), expected) << count;
    EXPECT_EQ(utf8Text(bytes + "\xff!", kEuc), expected + "\\xff!") << count;
  }
}

}  // namespace
