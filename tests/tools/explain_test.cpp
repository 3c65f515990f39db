#include "tools/outcome/explain.h"

#include <gtest/gtest.h>

#include <algorithm>

#include "rmglib/catalogue.h"
#include "rmglib/kelcom.h"
#include "support/pattern.h"
#include "support/scratch.h"
#include "supportpage.h"
#include "tools/outcome/explanation.h"
#include "tools/outcome/meaning.h"

namespace outcome {

namespace {

using Texts = std::vector<std::string>;

const std::string kConnectionError =
    "(HTTP) 接続異常が発生しました。 サポート要員に以下のエラーコードをお知らせください。 "
    "RL:-62,ZW-Agent:54";
const std::string kServerError =
    "(SMTP) メール（ＳＭＴＰ）サーバ上のエラーです。 "
    "以下のメッセージを参照して、環境を見直してください。 ";

struct WordRow {
  std::string word;
  Texts sentences;
};

std::ostream& operator<<(std::ostream& out, const WordRow& row) { return out << row.word; }

class Explain : public testing::TestWithParam<WordRow> {};

TEST_P(Explain, Word_IsExplainedInSentences) {
  EXPECT_EQ(explain(GetParam().word), GetParam().sentences);
}

const std::string kMaintenanceStop =
    "status word 196608 (0x30000): stopped for maintenance; sent: no";
const std::string kNoLibrary =
    "exit status 127: an error code that the communication library threw; or the loader could not "
    "start the command";
const std::string kStar =
    "; such lines are never written by the command: they come from programs that use its library "
    "of common functions";
const std::string kInvalid =
    "a function was called without a value that it needs, and did nothing" + kStar;

INSTANTIATE_TEST_SUITE_P(
    StatusWords, Explain,
    testing::Values(
        WordRow{"32",
                {"status word 32 (0x20): operating; sent: yes; in a \"Cancel sending\" line: a "
                 "query failed, or the line came into operation between the two questions"}},
        WordRow{"131072", {"status word 131072 (0x20000): stopped; sent: no"}},
        WordRow{"0x20000", {"status word 131072 (0x20000): stopped; sent: no"}},
        WordRow{"196608", {kMaintenanceStop}}, WordRow{"0x30000", {kMaintenanceStop}},
        WordRow{"0x00030000", {kMaintenanceStop}}, WordRow{"33", {}}, WordRow{"0x20001", {}},
        WordRow{"-32", {}}, WordRow{"4294967328", {}}, WordRow{"0x", {}}, WordRow{"0x20g", {}},
        WordRow{"0xffffffff", {}}, WordRow{"99999999999", {}}));

INSTANTIATE_TEST_SUITE_P(
    ExitStatuses, Explain,
    testing::Values(
        WordRow{"exit/0",
                {"exit status 0: the event was parsed, and nothing failed that the status tells "
                 "of"}},
        WordRow{"exit/78",
                {"exit status 78: the temporary directory of an incident could not be made"}},
        WordRow{"exit/5",
                {"exit status 5: an error code that the communication library threw (its low "
                 "eight bits)"}},
        WordRow{"exit/127", {kNoLibrary}},
        WordRow{"exit/134",
                {"exit status 134: an error code that the communication library threw (its low "
                 "eight bits)",
                 "exit status 134 of a shell: none: ended by signal 6 (Aborted)"}},
        WordRow{"exit/128",
                {"exit status 128: an error code that the communication library threw (its low "
                 "eight bits)"}},
        WordRow{"exit/129",
                {"exit status 129: an error code that the communication library threw (its low "
                 "eight bits)",
                 "exit status 129 of a shell: none: ended by signal 1 (Hangup)"}},
        WordRow{"exit/159",
                {"exit status 159: an error code that the communication library threw (its low "
                 "eight bits)",
                 "exit status 159 of a shell: none: ended by signal 31 (Bad system call)"}},
        WordRow{"exit/160",
                {"exit status 160: an error code that the communication library threw (its low "
                 "eight bits)"}},
        WordRow{"exit/255",
                {"exit status 255: an error code that the communication library threw (its low "
                 "eight bits)"}},
        WordRow{"exit/256",
                {"exit status 256: an error code that the communication library threw"}},
        WordRow{"exit/-1", {"exit status -1: an error code that the communication library threw"}},
        WordRow{"exit/9999999999", {}}, WordRow{"exit/", {}}, WordRow{"exit/7x", {}}));

INSTANTIATE_TEST_SUITE_P(
    Errors, Explain,
    testing::Values(
        WordRow{"-62/54", {kConnectionError}}, WordRow{"HTTP/-62/54", {kConnectionError}},
        WordRow{"SMTP/-62/54", {}}, WordRow{"POP3/-62/54", {}},
        WordRow{"SMTP/-72/-6", {kServerError + "RL:-72,ZW-Agent:-6"}},
        WordRow{"HTTP/-52/404",
                {"(HTTP) 通信処理の動作異常(HTTPサーバ異常)が発生しました。 "
                 "サポート要員に以下のエラーコードをお知らせください。 RL:-52,ZW-Agent:404"}},
        WordRow{"-52/258", {}}, WordRow{"9999/9999", {}}, WordRow{"-62/9999999999", {}},
        WordRow{"9999999999/54", {}}, WordRow{"-62/54/", {}},
        WordRow{"(HTTP) RL:-62,ZW-Agent:54,Mailsvr:\"\"", {kConnectionError}},
        WordRow{"(SMTP) RL:-72,ZW-Agent:-6,Mailsvr:\"550 \"no\"\"",
                {kServerError + "(SMTPサーバのエラーメッセージ) 550 \"no\" RL:-72,ZW-Agent:-6"}},
        WordRow{"(SMTP) RL:-72,ZW-Agent:-6,Mailsvr:\"\x1b[1m\xa5\xe1\"",
                {kServerError + "(SMTPサーバのエラーメッセージ) \\x1b[1mメ RL:-72,ZW-Agent:-6"}},
        WordRow{"(HTTP) RL:-62,ZW-Agent:54,Mailsvr:", {}},
        WordRow{"(HTTP) RL:-62,ZW-Agent:54,Mailsvr:\"", {}},
        WordRow{"(HTTP) RL:-62,ZW-Agent:54,Mailsvr:\"x", {}},
        WordRow{"(HTTP) RL:9999999999,ZW-Agent:54,Mailsvr:\"\"", {}},
        WordRow{"() RL:-62,ZW-Agent:54,Mailsvr:\"\"", {}}));

INSTANTIATE_TEST_SUITE_P(
    Lines, Explain,
    testing::Values(
        WordRow{"VUQ90103L",
                {"VUQ90103L, \"failed to create dir:PATH\": a temporary directory could not be "
                 "made: the disk is full, say"}},
        WordRow{"VUQ90104L",
                {"VUQ90104L, \"failed to rename():NAME to PATH:REASON\": a temporary file could "
                 "not get its name, and stays under its first one" +
                 kStar}},
        WordRow{"VUQ99999L", {}}, WordRow{"VUQ90103", {}}, WordRow{"VUQ", {}},
        WordRow{"CTemp:73",
                {"(CTemp:73), \"getTemp_sub():prefix=DIRECTORY,templ=PREFIX\": a temporary item "
                 "is asked for"}},
        WordRow{"(SendEventBase:491)",
                {"(SendEventBase:491), \"final_total='BYTES' bytes.\": all files together"}},
        WordRow{"common:371",
                {"(common:371), \"failed to stat():PATH,REASON\": a directory whose owner, mode "
                 "and times were to be copied could not be examined" +
                 kStar}},
        WordRow{"common:536",
                {"(common:535), (common:536), (common:537), (common:538), \"WIFEXITED:...\", "
                 "\"WIFSIGNALED:...\", \"WIFSTOPPED:...\", \"WIFCONTINUED:...\": how a command "
                 "ended, in four lines: by itself and with which exit status; by a signal and by "
                 "which; stopped; continued, and whether it left a core file"}},
        WordRow{"common:602", {"(common:602), \"invalid param\", of getEnvValue: " + kInvalid}},
        WordRow{"(CTemp:66)",
                {"(CTemp:66), \"invalid param\", of getTempDir, getTempFile: " + kInvalid}},
        WordRow{
            "common.cpp:1491",
            {"common.cpp:1491, of waitpid: on standard error, before abort(3); the command never gets there"}},
        WordRow{"common.cpp:149", {}}, WordRow{"common:60", {}}, WordRow{"common:6020", {}},
        WordRow{"(common:602", {}}, WordRow{"common:602)", {}}, WordRow{"", {}},
        WordRow{"Number", {}}, WordRow{"---", {}}, WordRow{std::string(1 << 20, '7'), {}},
        WordRow{std::string(1 << 20, 'x') + ":1", {}}));

TEST(Explain, NumberOfSeveralTexts_HasASentenceForEach) {
  EXPECT_EQ(explain("VUQ90004L").size(), 3U);
}

TEST(Explain, EveryRowOfTheCatalogue_IsGivenAsTheCommandWouldSayIt) {
  for (const EXTERR* row = catalogueRows(); !isClosingRow(*row); ++row) {
    const std::string type = row->type;
    const std::string numbers = std::to_string(row->rc) + '/' + std::to_string(row->code);
    const Texts lines =
        explanationLines(row->rc, type == kSmtpType ? kKelSmtpError : kKelHttpError, row->code);
    const Texts sentences = explain(type + '/' + numbers);
    ASSERT_EQ(sentences.size(), 1U) << type << '/' << numbers;
    EXPECT_EQ(sentences.front().find(lines.front()), 0U) << sentences.front();
    EXPECT_EQ(explain(numbers), sentences);
  }
}

// --- the page ------------------------------------------------------------------------------------

std::string supportPage() { return readFile(SUPPORT_PAGE); }

/// All that `pattern`, one group of it, finds in the page.
Texts foundInPage(const std::string& pattern) {
  Texts found;
  for (const Texts& match : findPattern(supportPage(), pattern)) found.push_back(match[1]);
  return found;
}

TEST(SupportPage, IsTheOneInTheProgram) { EXPECT_EQ(kSupportPage, supportPage()); }

TEST(SupportPage, EveryNumberAndPosition_IsExplained) {
  const Texts words =
      foundInPage("(VUQ[0-9]{5}L(?= \\*?)|\\([A-Za-z]+:[0-9]+\\)|[a-z]+\\.cpp:[0-9]+(?=\\())");
  EXPECT_GT(words.size(), 60U);
  for (const std::string& word : words) EXPECT_FALSE(explain(word).empty()) << word;
}

TEST(SupportPage, EveryMeaning_IsGivenWordForWord) {
  const std::vector<Texts> rows =
      findPattern(supportPage(),
                  "\n\\| (VUQ[0-9]{5}L|\\([A-Za-z]+:[0-9]+\\))[^\n]*\\| ([^\n]*[^`\n]) \\|(?=\n)");
  EXPECT_GT(rows.size(), 30U);
  for (const Texts& row : rows) {
    const std::string meaning = replacePattern(row[2], "`+", "\"");
    const Texts sentences = explain(row[1]);
    EXPECT_TRUE(std::any_of(sentences.begin(), sentences.end(), [&](const std::string& one) {
      return one.find(": " + meaning) != std::string::npos;
    })) << row[0];
  }
}

TEST(SupportPage, StatusWords_AreThoseOfTheRehearsal) {
  for (const int word : {kKelOperating, kKelMaintenance, kKelStopped, kKelMaintenanceStop}) {
    const Texts sentences = explain(std::to_string(word));
    ASSERT_EQ(sentences.size(), 1U) << word;
    EXPECT_NE(sentences.front().find("): " + statusMeaning(word) + "; sent: "), std::string::npos)
        << sentences.front();
  }
  EXPECT_EQ(foundInPage("\n\\| ([0-9]+) \\| 0x").size(), 4U);
}

TEST(SupportPage, Prose_SaysWhatTheProgramAddsToARow) {
  const std::string page = replacePattern(supportPage(), "\n", " ");
  for (const char* text :
       {" are never written by the command: they come from programs that use its library of common "
        "functions.",
        " a function was called without a value that it needs, and did nothing. None of them is "
        "written by the command:",
        " on standard error, before abort(3); the command never gets there."}) {
    EXPECT_NE(page.find(text), std::string::npos) << text;
  }
}

// --- a run ---------------------------------------------------------------------------------------

outcome::Run cancelledRun(const std::string& status) {
  outcome::Run run;
  run.verdict = Verdict::kNotSent;
  run.exitCode = 1;
  run.reason =
      "(CSendInfo::SendInfo) Cancel sending investigation information, because connection status "
      "is not operating. (status=" +
      status + ")";
  return run;
}

const std::string kExit1 = "exit status 1: communication could not be prepared or started";

TEST(ExplanationsOf, RunOfWhichTheLogTellsNothing_AreNone) {
  EXPECT_EQ(explanationsOf(outcome::Run()), Texts());
}

TEST(ExplanationsOf, CancelledRun_HaveTheStatusWord) {
  EXPECT_EQ(explanationsOf(cancelledRun("131072")),
            (Texts{kExit1, "status word 131072 (0x20000): stopped; sent: no"}));
  EXPECT_EQ(
      explanationsOf(cancelledRun("65536")),
      (Texts{kExit1, "status word 65536 (0x10000): maintenance; sent: no, the query failed"}));
  EXPECT_EQ(explanationsOf(cancelledRun("-7")),
            (Texts{kExit1, "status word -7: not known to the command; sent: no"}));
  EXPECT_EQ(explanationsOf(cancelledRun("99999999999")), Texts{kExit1});
}

TEST(ExplanationsOf, ReasonOfAnotherKind_HaveNoStatusWord) {
  outcome::Run run = cancelledRun("32");
  run.reason = "1 of 2 exchanges failed: /a (status=32): -62";
  EXPECT_EQ(explanationsOf(run), Texts{kExit1});
  run.reason = "(CSendInfo::SendInfo) Cancel sending ";
  EXPECT_EQ(explanationsOf(run), Texts{kExit1});
}

TEST(ExplanationsOf, CodeThatTheLibraryThrew_IsTheWholeOne) {
  outcome::Run run;
  run.exitCode = 127;
  EXPECT_EQ(explanationsOf(run),
            Texts{"exit status 127: an error code that the communication library threw"});
}

TEST(ExplanationsOf, Errors_AreGivenOnceEach) {
  outcome::Run run;
  for (const char* error :
       {"(HTTP) RL:-62,ZW-Agent:54,Mailsvr:\"\"", "(HTTP) RL:-62,ZW-Agent:54,Mailsvr:\"\"", "",
        "(HTTP) RL:-1,ZW-Agent:-1,Mailsvr:\"\"", "(SMTP) RL:-72,ZW-Agent:-6,Mailsvr:\"550 no\""}) {
    run.exchanges.emplace_back();
    run.exchanges.back().error = error;
  }
  run.exchanges.emplace_back();  // without an answer in the log
  EXPECT_EQ(explanationsOf(run),
            (Texts{kConnectionError,
                   kServerError + "(SMTPサーバのエラーメッセージ) 550 no RL:-72,ZW-Agent:-6"}));
}

TEST(ExplanationsOf, Lines_HaveTheirMessageNumbersByTheirTexts) {
  const std::string head = "2026/11/15 12:00:07  4711 ";
  const std::string command =
      "VUQ90004L, \"com=COMMAND\" and \"pid=P,wstat=W\": a command that was run, and how it "
      "ended; ";
  const auto sentencesOf = [&head](const std::string& text) {
    outcome::Run run;
    run.lines = {head + text};
    return explanationsOf(run);
  };
  for (const char* text : {"VUQ90004L : com=mkdir -p /tmp/x", "VUQ90004L : pid=7,wstat=00000000"}) {
    const Texts sentences = sentencesOf(text);
    ASSERT_EQ(sentences.size(), 1U) << text;
    EXPECT_EQ(sentences.front().find(command), 0U) << sentences.front();
  }
  EXPECT_EQ(sentencesOf("VUQ90004L : waitpid(pid=7) : No child processes"),
            Texts{"VUQ90004L, \"waitpid(pid=P) : REASON\": a command could not be waited for"});
  EXPECT_EQ(sentencesOf("VUQ90004L : Command  TIMEOUT (send SIGKILL)").size(), 1U);
  EXPECT_EQ(sentencesOf("VUQ90008L : /tmp too shallow to delete").size(), 1U);
  EXPECT_EQ(sentencesOf("VUQ90103L : failed to create dir:/tmp/swcon"), explain("VUQ90103L"));
  EXPECT_EQ(sentencesOf("VUQ90103L : something else"), Texts());
  EXPECT_EQ(sentencesOf("VUQ99999L : of no known number"), Texts());
  EXPECT_EQ(sentencesOf("commonSendEvent OK"), Texts());
  EXPECT_EQ(sentencesOf("[T](common:520):/bin/rm VUQ90103L : failed to create dir:/x"), Texts());
}

}  // namespace

}  // namespace outcome
