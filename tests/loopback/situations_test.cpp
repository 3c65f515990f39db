// Every canned situation, rehearsed with the real command: as an incident and as an event, each
// with two files.

#include <gtest/gtest.h>

#include <algorithm>
#include <filesystem>
#include <set>
#include <string>
#include <vector>

#include "e2e/support/cases.h"
#include "loopback/situationtable.h"
#include "rmglib/catalogue.h"

namespace {

constexpr char kRehearsal[] = "/build/loopback/tanexics-rehearse";
constexpr char kCommand[] = "/build/tanexics";

// --- what a row leads to -------------------------------------------------------------------------

/// The log and the record of the stand-in library from the start of communication on.
struct Talk {
  std::string log;
  std::string calls;
};

void add(Talk& talk, const Talk& more) {
  talk.log += more.log;
  talk.calls += more.calls;
}

/// One pass of the loop.
Talk passOf(const Pair& pair, const std::string& part, const std::string& notificationCode,
            const std::string& text, const std::string& dataCode, const std::vector<Item>& items) {
  const Answer& answer = pair.notification.answer;
  const Answer& dataAnswer = pair.data.answer;
  return {
      lines({"commonSendEvent Main Loop (" + part + ")",
             "RM_Communicate call (param=" + notificationCode + " 0 0 " + text + " NULL  NULL)"}) +
          done(answer.result, pair.notification.message) +
          lines({"RM_Communicate call (param=" + dataCode + " ? " + std::to_string(items.size()) +
                 " " + items.front().path + " NULL  NULL)"}) +
          done(dataAnswer.result, pair.data.message),
      notify(notificationCode, text, answer) + sendItems(dataCode, items, dataAnswer)};
}

Talk incidentPasses(const Row& row) {
  const std::vector<Item> items = standardItems();
  Talk talk =
      passOf(row.firstFile, "1/2", "0x40017", incidentText("42", 1, 2), "0x4010b", {items[0]});
  add(talk,
      passOf(row.secondFile, "2/2", "0x40017", incidentText("42", 2, 2), "0x4010b", {items[1]}));
  return talk;
}

Talk eventPass(const Row& row) {
  const std::vector<Item> items = standardItems();
  return passOf(row.event, "1/2", "0x40204", eventText(), "0x4010d", {items[0], items[1]});
}

/// The whole of a run's communication, of which `passes` are the exchanges.
Talk talkOf(const Row& row, const Talk& passes) {
  Talk talk = {"", getId(row.id) + getId(row.id) + getStatus(row.first.word, row.first.result) +
                       getStatus(row.second.word, row.second.result)};
  if (row.start) talk.calls += startComm(*row.start);
  if (!row.refusal.empty()) {
    add(talk, {row.refusal + "\n", ""});
    return talk;
  }
  add(talk, {startedLine(), ""});
  add(talk, passes);
  add(talk, {"commonSendEvent OK\n", stopComm(row.firstStop) + stopComm(row.secondStop)});
  return talk;
}

// --- the runs ------------------------------------------------------------------------------------

class SituationTest : public CommandTest, public testing::WithParamInterface<Row> {
 protected:
  SituationTest() { machine.write("/case/two", "/case/a.txt\n/case/b.syslog.txt\n"); }

  RunResult rehearse(const std::string& situation, const std::vector<std::string>& event) const {
    Call call;
    // The command's path comes after the wrapper's words: as the value of its last option.
    call.wrapper = {kRehearsal, "--situation", situation, "--outbox", "/case/outbox", "--command"};
    call.arguments = {"--", "/case/two"};
    call.arguments.insert(call.arguments.end(), event.begin(), event.end());
    return machine.run(call);
  }

  /// Rehearses the row's situation and compares the log as a whole, the record, the exit status and
  /// standard error. `head` and `tail` are what the log has around the communication.
  void play(const std::vector<std::string>& event, const Talk& passes, const std::string& head = "",
            const std::string& tail = "") const {
    const Row& row = GetParam();
    const Talk talk = talkOf(row, passes);
    const int status = row.refusal.empty() ? 0 : 1;
    const RunResult result = rehearse(row.name, event);
    EXPECT_EQ(machine.log("/case/outbox/action.log"),
              framed(head + talk.log + tail, status, kCommand));
    EXPECT_EQ(result.exchanges, talk.calls);
    EXPECT_EQ(result.child.exitCode(), status);
    EXPECT_EQ(result.child.err, "");
  }

  Machine machine;
};

std::string caseName(const testing::TestParamInfo<Row>& info) {
  std::string name = info.param.name;
  std::replace(name.begin(), name.end(), '-', '_');
  return name;
}

TEST_P(SituationTest, Incident) {
  play({"-i", "42"}, incidentPasses(GetParam()), hostNameLines(), collectionLines());
}

TEST_P(SituationTest, Event) { play({"-r", "/case/event.def"}, eventPass(GetParam())); }

INSTANTIATE_TEST_SUITE_P(All, SituationTest, testing::ValuesIn(allRows()), caseName);

// --- the set of situations -----------------------------------------------------------------------

/// The names of the scripts, sorted.
std::vector<std::string> scriptNames() {
  std::vector<std::string> names;
  for (const std::string& file : namesIn(LOOPBACK_SITUATIONS)) {
    const std::filesystem::path path = file;
    EXPECT_EQ(path.extension(), ".script") << file;
    names.push_back(path.stem());
  }
  std::sort(names.begin(), names.end());
  return names;
}

std::string firstLine(const std::string& name) {
  return linesOf(readFile(LOOPBACK_SITUATIONS "/" + name + ".script")).front();
}

TEST(SituationSet, EveryScriptHasARowAndEveryRowAScript) {
  std::vector<std::string> rows;
  for (const Row& row : allRows()) rows.push_back(row.name);
  std::sort(rows.begin(), rows.end());
  EXPECT_EQ(rows, scriptNames());
  EXPECT_EQ(std::adjacent_find(rows.begin(), rows.end()), rows.end());
}

TEST(SituationSet, EveryRowOfTheCatalogueHasItsSituation) {
  const EXTERR* row = ::catalogueRows();
  for (const Row& situation : explainedRows()) {
    ASSERT_FALSE(isClosingRow(*row)) << situation.name;
    const std::string type = row->type;
    const Answer& answer = situation.firstFile.notification.answer;
    EXPECT_EQ(answer.type, type == "SMTP" ? 1 : 2) << situation.name;
    EXPECT_EQ(answer.result, row->rc) << situation.name;
    EXPECT_EQ(answer.agentCode, row->code) << situation.name;
    const std::string sentence = "# Every exchange fails with " + type + " " +
                                 std::to_string(row->rc) + "/" + std::to_string(row->code) + ": ";
    EXPECT_EQ(firstLine(situation.name).substr(0, sentence.size()), sentence) << situation.name;
    ++row;
  }
  EXPECT_TRUE(isClosingRow(*row));
}

TEST(SituationSet, EveryScriptBeginsWithASentenceOfItsOwn) {
  std::set<std::string> sentences;
  for (const std::string& name : scriptNames()) {
    const std::string line = firstLine(name);
    ASSERT_GT(line.size(), 10U) << name;
    EXPECT_EQ(line.substr(0, 2), "# ") << name;
    EXPECT_TRUE(line[2] >= 'A' && line[2] <= 'Z') << name;
    EXPECT_EQ(line.back(), '.') << name;
    EXPECT_TRUE(sentences.insert(line).second) << name;
  }
}

TEST(SituationSet, ListShowsExactlyThem) {
  std::size_t longest = 0;
  for (const std::string& name : scriptNames()) longest = std::max(longest, name.size());
  std::string expected;
  for (const std::string& name : scriptNames()) {
    expected += name + std::string(longest + 2 - name.size(), ' ') + firstLine(name).substr(2);
    expected += "\n";
  }
  const ChildResult child = runProgram({REHEARSE, "--situations"});
  EXPECT_EQ(child.out, expected);
  EXPECT_EQ(child.err, "");
  EXPECT_EQ(child.exitCode(), 0);
}

// --- the explanations ----------------------------------------------------------------------------

class ExplainedSituation : public SituationTest {
 protected:
  /// What the report of an event tells about the exchanges.
  std::string exchangesOf(const std::string& situation) const {
    const RunResult result = rehearse(situation, {"-r", "/case/event.def"});
    EXPECT_EQ(result.child.err, "");
    const std::string& report = result.child.out;
    const std::string head = "    5  start: result 0\n";
    const std::size_t start = report.find(head) + head.size();
    const std::size_t end = report.find("    8  stop: result 0\n");
    if (start < head.size() || end == std::string::npos) return report;
    return report.substr(start, end - start);
  }
};

/// What the report tells about one exchange: the end of its head, and the rows under it.
struct Told {
  std::string result;
  std::string explanation = "";
};

/// What the report of an event tells about its two exchanges.
std::string exchangeRows(const Told& notification, const Told& data) {
  return "    6  0x40204, notification of an event with send type err: " + notification.result +
         "\n"
         "       \"2026/10/05 12:00:00\",,\"disk\",\"db01\",\"Linux\",\"Debian\",\"12\",\"kernel\","
         "\"E\",\"4001\",\"Jan  1 \n"
         "         host msg\"\n" +
         notification.explanation + "    7  0x4010d, data of an event, 2 files: " + data.result +
         "\n"
         "                      6 bytes  /case/a.txt\n"
         "                     23 bytes  /case/b.syslog.txt\n" +
         data.explanation;
}

TEST_F(ExplainedSituation, PlainRow) {
  const Told failed = {"result -62, agent error HTTP 54",
                       "       (HTTP) 接続異常が発生しました。\n"
                       "       サポート要員に以下のエラーコードをお知らせください。\n"
                       "       RL:-62,ZW-Agent:54\n"};
  EXPECT_EQ(exchangesOf("http-62-54"), exchangeRows(failed, failed));
}

TEST_F(ExplainedSituation, LongestRow) {
  const Told failed = {"result -56, agent error HTTP 59",
                       "       (HTTP) 接続異常が発生しました。\n"
                       "       Proxyサーバで以下が発生していないか、\n"
                       "       ネットワーク管理者にご確認ください。\n"
                       "       　・ ProxyサーバでURLの名前解決に失敗している。\n"
                       "       　・ Proxyサーバで異常が発生している。（障害/瞬断/回線エラー）\n"
                       "       　・ Proxyサーバでタイムアウトが発生している。\n"
                       "       Proxyサーバで問題がない場合は、DOVRAエージェントの\n"
                       "       HTTP処理で内部矛盾が発生している可能性があります。\n"
                       "       サポート要員に以下のエラーコードをお知らせください。\n"
                       "       RL:-56,ZW-Agent:59\n"};
  EXPECT_EQ(exchangesOf("http-56-59"), exchangeRows(failed, failed));
}

TEST_F(ExplainedSituation, RowWithBackslashesAndWideBlanks) {
  const Told failed = {
      "result -27, agent error SMTP -3",
      "       (SMTP) ファイルアクセスエラー。ファイルがありません。\n"
      "       以下のことを確認してください\n"
      "       − 残りディスク容量は十分か\n"
      "       −　システムドライブ:\\Program Files\\ZW-Agent\n"
      "           \\Hexbrook.RM\\vasklormのtempフォルダとtmp2フォルダと\n"
      "       　　その配下のファイルに対するアクセス権限（読み取り/書き込み/変更）があるか\n"
      "       RL:-27,ZW-Agent:-3\n"};
  EXPECT_EQ(exchangesOf("smtp-27-3"), exchangeRows(failed, failed));
}

TEST_F(ExplainedSituation, RowWithTheMessageOfAPop3Server) {
  const Told failed = {"result -79, agent error SMTP -15",
                       "       (SMTP) メール（POP3）サーバとの間でエラーが発生しました。\n"
                       "       POP before SMTPの認証に失敗しました。\n"
                       "       以下の原因が考えられます。\n"
                       "       −　POP3サーバ名が間違っている\n"
                       "       −　ユーザ名に誤りがある。\n"
                       "       −　パスワードに誤りがある。\n"
                       "       (POP3サーバのエラーメッセージ)\n"
                       "\n"
                       "       RL:-79,ZW-Agent:-15\n"};
  EXPECT_EQ(exchangesOf("smtp-79-15"), exchangeRows(failed, failed));
}

TEST_F(ExplainedSituation, HigherHttpStatus) {
  const Told failed = {"result -52, agent error HTTP 404",
                       "       (HTTP) 通信処理の動作異常(HTTPサーバ異常)が発生しました。\n"
                       "       サポート要員に以下のエラーコードをお知らせください。\n"
                       "       RL:-52,ZW-Agent:404\n"};
  EXPECT_EQ(exchangesOf("exchange-http-status"), exchangeRows(failed, failed));
}

TEST_F(ExplainedSituation, OnlyTheFailedExchange) {
  EXPECT_EQ(exchangesOf("only-data-fails"),
            exchangeRows({"result 0"},
                         {"result -55, agent error HTTP 49",
                          "       (HTTP) 通信中に回線が切断されました。\n"
                          "       ネットワークが一時的に不安定になっている可能性があるため、\n"
                          "       時間をおいて再度操作を実施してください。\n"
                          "       問題が解決しない場合はシステム管理者にご確認ください。\n"
                          "       RL:-55,ZW-Agent:49\n"}));
}

TEST_F(ExplainedSituation, NothingWithoutAnAgentError) {
  EXPECT_EQ(exchangesOf("exchange-no-agent-error"), exchangeRows({"result -7"}, {"result -7"}));
}

}  // namespace
