// Every canned situation, rehearsed with the real command: as an incident and as an event.

#include <gtest/gtest.h>

#include <algorithm>
#include <climits>
#include <csignal>
#include <cstdlib>
#include <nlohmann/json.hpp>
#include <optional>
#include <ostream>
#include <set>
#include <string>
#include <vector>

#include "e2e/support/cases.h"
#include "rmglib/catalogue.h"
#include "tools/rehearse/situationlist.h"

namespace {

// --- the table -----------------------------------------------------------------------------------

// What each canned situation must bring, written down apart from the scripts and without a look at
// them: whoever changes a script changes its row too.

/// The answer to a status query.
struct Query {
  int word = 0x20;
  int result = 0;
};

/// What one situation answers.
struct Row {
  std::string name;
  Query first = {};
  Query second = {};

  /// The result of the start; none when it is not tried.
  std::optional<int> start = 0;

  int firstStop = 0;
  int secondStop = 0;
  int id = 4711;

  /// The exchanges of an incident's three files; an event has those of the first.
  std::vector<Pair> files = std::vector<Pair>(3);

  /// The calls that do not return, such as "KEL_StopComm", or what such an exchange has, "text" or
  /// "items"; and what they throw, none where the first of them hangs.
  std::string guilty = "";
  std::optional<int> thrown = std::nullopt;
};

void PrintTo(const Row& row, std::ostream* stream) { *stream << row.name; }

Row exchanged(const std::string& name, const std::vector<Pair>& files) {
  Row row = {name};
  row.files = files;
  return row;
}

Row everyPair(const std::string& name, const Pair& pair) {
  return exchanged(name, {pair, pair, pair});
}

Row everyExchange(const std::string& name, const Answer& answer) {
  return everyPair(name, {answer, answer});
}

Row identified(const std::string& name, int id) {
  Row row = {name};
  row.id = id;
  return row;
}

Row throwing(const std::string& name, const std::string& guilty, int thrown = 33) {
  Row row = {name};
  row.guilty = guilty;
  row.thrown = thrown;
  return row;
}

Row hanging(const std::string& name, const std::string& guilty) {
  Row row = {name};
  row.guilty = guilty;
  return row;
}

constexpr int kSmtp = 1;
constexpr int kHttp = 2;

std::vector<Row> namedRows() {
  const Answer fine;
  const Answer busy = {-57, kHttp, 53};
  const Answer cut = {-55, kHttp, 49};
  const std::optional<int> notTried;
  return {
      {"connection-operating", {0x20}, {0x20}},
      {"connection-maintenance", {0x10000}, {0x10000}},
      {"connection-stopped", {0x20000}, {0x20000}, notTried},
      {"connection-maintenance-stop", {0x30000}, {0x30000}, notTried},
      {"connection-unknown-word", {0x10020}, {0x10020}, notTried},
      {"connection-zero-word", {0}, {0}, notTried},
      {"connection-negative-word", {-1}, {-1}, notTried},
      {"connection-query-fails", {0, -7}, {0, -7}, notTried},
      {"connection-query-fails-operating", {0x20, -7}, {0x20, -7}, notTried},
      {"connection-query-fails-maintenance", {0x10000, -7}, {0x10000, -7}, notTried},
      {"connection-first-query-fails", {0x20, -7}, {0x20}, notTried},
      {"connection-first-query-fails-maintenance", {0x10000, -7}, {0x10000}},
      {"connection-second-query-fails", {0x20}, {0x20, -7}},
      {"connection-lost-between-queries", {0x20}, {0x20000}},
      {"connection-late", {0x20000}, {0x20}, notTried},
      {"start-refused", {}, {}, 5},
      {"start-refused-negative", {}, {}, -12},
      {"start-refused-smallest", {}, {}, INT_MIN},
      {"start-refused-largest", {}, {}, INT_MAX},
      {"start-refused-maintenance", {0x10000}, {0x10000}, 1},
      {"stop-fails", {}, {}, 0, -3, -3},
      {"stop-fails-first", {}, {}, 0, -3, 0},
      {"stop-fails-second", {}, {}, 0, 0, -3},
      identified("identifier-negative", -1),
      identified("identifier-zero", 0),
      identified("identifier-smallest", INT_MIN),
      identified("identifier-largest", INT_MAX),
      everyExchange("exchange-no-agent-error", {-7, 0, 0}),
      everyExchange("exchange-positive-result", {5, 0, 0}),
      everyExchange("exchange-unknown-agent", {-62, 3, 54}),
      everyExchange("exchange-negative-agent", {-62, -1, 54}),
      everyExchange("exchange-unknown-key", {-99, kHttp, 999}),
      everyExchange("exchange-other-agents-key", {-62, kSmtp, 54}),
      everyExchange("exchange-http-status", {-52, kHttp, 404}),
      everyExchange("exchange-http-status-limit", {-52, kHttp, 258}),
      everyExchange("exchange-agent-error-only", {0, kHttp, 54}),
      everyExchange("exchange-smallest-codes", {INT_MIN, kSmtp, INT_MIN}),
      everyExchange("exchange-largest-codes", {INT_MAX, kHttp, INT_MAX}),
      everyPair("exchange-different-errors", {busy, {-74, kSmtp, -10}}),
      everyPair("only-notifications-fail", {busy, fine}),
      everyPair("only-data-fails", {fine, cut}),
      exchanged("only-first-exchange-fails", {{busy, fine}, {}, {}}),
      exchanged("only-second-file-fails", {{}, {fine, cut}, {}}),
      throwing("throw-identifier", "KEL_GetID"),
      throwing("throw-status", "KEL_GetStatus"),
      throwing("throw-start", "KEL_StartComm"),
      throwing("throw-notification", "text"),
      throwing("throw-data", "items"),
      throwing("throw-data-zero", "items", 0),
      throwing("throw-stop", "KEL_StopComm"),
      hanging("stop-hangs", "KEL_StopComm"),
      {"exchange-slow"},
      {"arguments-overwritten"},
  };
}

/// The situation of a row of the message catalogue: every exchange fails so. Its name is the row's
/// key, as "http-62-54".
Row explained(const EXTERR& row) {
  const bool isSmtp = row.type == std::string("SMTP");
  const std::string name = (isSmtp ? "smtp" : "http") + std::to_string(row.rc) + "-" +
                           std::to_string(std::abs(row.code));
  return everyExchange(name, {row.rc, isSmtp ? kSmtp : kHttp, row.code});
}

std::vector<Row> allRows() {
  std::vector<Row> rows = namedRows();
  for (const EXTERR* row = ::catalogueRows(); !isClosingRow(*row); ++row) {
    rows.push_back(explained(*row));
  }
  return rows;
}

// --- the runs ------------------------------------------------------------------------------------

/// What a row leads to.
Sending sendingOf(const Row& row) {
  Sending sending;
  sending.argument0 = "/build/tanexics";
  sending.queries = getId(row.id) + getId(row.id) + getStatus(row.first.word, row.first.result) +
                    getStatus(row.second.word, row.second.result);
  sending.answers = row.files;
  sending.stops = stopComm(row.firstStop) + stopComm(row.secondStop);
  if (!row.start) {
    sending.refusal =
        "(CSendInfo::SendInfo) Cancel sending investigation information, because connection "
        "status is not operating. (status=" +
        std::to_string(row.second.word) + ") \n\n";
  } else if (*row.start != 0) {
    sending.queries += startComm(*row.start);
    sending.refusal = "(CSendInfo::SendInfo) CRMSenderBase::RM_StartComm() error(code=" +
                      std::to_string(*row.start) + ")\n";
  }
  return sending;
}

/// The part of a text in front of another one.
std::string upTo(const std::string& text, const std::string& end) {
  return text.substr(0, text.find(end));
}

bool isGuilty(const nlohmann::json& call, const std::string& guilty) {
  return call["call"] == guilty || call.contains(guilty);
}

/// The record with calls that do not return. `isLast`: the first of them is the last call.
std::string withGuilty(const std::string& exchanges, const Row& row, bool isLast) {
  std::string calls;
  for (const std::string& line : linesOf(exchanges)) {
    auto call = nlohmann::json::parse(line);
    const bool isOne = isGuilty(call, row.guilty);
    if (isOne) {
      call.erase("result");
      for (const char* stored : {"id", "status", "error"}) {
        if (call.contains(stored)) call[stored] = nullptr;
      }
      if (row.thrown) {
        call["thrown"] = *row.thrown;
      } else {
        call["hangs"] = true;
      }
    }
    calls += call.dump() + "\n";
    if (isOne && isLast) return calls;
  }
  return calls;
}

/// What comes of a run in which everything else is answered as ever.
Expected turned(const Expected& all, const Row& row) {
  const std::string& log = all.log.info;
  const std::string start = upTo(log, "\n") + "\n";
  const bool isExchange = row.guilty == "text" || row.guilty == "items";
  if (isExchange && row.thrown == 0) return {log, withGuilty(all.exchanges, row, false), 0};

  const std::string framedEnd = framed("", row.thrown.value_or(0), "/build/tanexics").info;
  const std::string end = framedEnd.substr(framedEnd.find('\n') + 1);
  const std::string sent = upTo(log, "commonSendEvent OK\n");
  const std::string asked = upTo(log, startedLine());
  if (!row.thrown) return {sent, withGuilty(all.exchanges, row, true), 128 + SIGINT};
  if (row.guilty == "KEL_GetID") {
    return {start + end, withGuilty(all.exchanges, row, true), *row.thrown};
  }
  if (row.guilty == "KEL_GetStatus") {
    return {asked + end, withGuilty(all.exchanges, row, true), *row.thrown};
  }
  if (row.guilty == "KEL_StartComm") {
    return {asked, withGuilty(all.exchanges, row, true), 128 + SIGABRT, "", terminated("int'\n")};
  }
  return {sent + "commonSendEvent Error.\n" + end, withGuilty(all.exchanges, row, false),
          *row.thrown};
}

/// A shell that starts what follows and interrupts it, as a terminal would, once a call hangs.
const std::vector<std::string> kInterrupting = {
    "/usr/bin/setsid", "/bin/sh", "-c",
    "(until grep -qs hangs /case/outbox/exchanges.jsonl; do sleep 0.05; done; kill -INT 0) & "
    "exec \"$0\" \"$@\""};

class Situation : public MachineTest, public testing::WithParamInterface<Row> {
 protected:
  /// Rehearses the row's situation and compares the log as a whole, the record, the exit status and
  /// standard error.
  void play(Call call, Expected expected) const {
    const Row& row = GetParam();
    if (!row.guilty.empty()) expected = turned(expected, row);
    // The command's path comes after the wrapper's words: as the value of its last option.
    call.wrapper = {"/build/tanexics-rehearse",
                    "--situation",
                    row.name,
                    "--outbox",
                    "/case/outbox",
                    "--command"};
    if (!row.guilty.empty() && !row.thrown) {
      call.wrapper.insert(call.wrapper.begin(), kInterrupting.begin(), kInterrupting.end());
    }
    call.arguments.insert(call.arguments.begin(), "--");
    const RunResult result = machine.run(call);
    EXPECT_EQ(machine.log("/case/outbox/action.log"), expected.log.info);
    EXPECT_EQ(result.exchanges, expected.exchanges);
    EXPECT_EQ(result.child.exitCode(), expected.status);
    EXPECT_EQ(result.child.err.substr(0, expected.err.size()), expected.err) << result.child.err;
    EXPECT_EQ(result.child.err.empty(), expected.err.empty()) << result.child.err;
  }
};

std::string caseName(const testing::TestParamInfo<Row>& info) {
  std::string name = info.param.name;
  std::replace(name.begin(), name.end(), '-', '_');
  return name;
}

TEST_P(Situation, OfAnIncident_LeavesWhatItsRowSays) {
  play(incidentCall(), sendingOf(GetParam()).incident());
}

TEST_P(Situation, OfAnEvent_LeavesWhatItsRowSays) {
  play(eventCall(), sendingOf(GetParam()).event());
}

INSTANTIATE_TEST_SUITE_P(All, Situation, testing::ValuesIn(allRows()), caseName);

// --- the set of situations -----------------------------------------------------------------------

TEST(SituationSet, Scripts_HaveARowEachAndBeginWithASentenceOfTheirOwn) {
  std::set<std::string> names;
  for (const Row& row : allRows()) names.insert(row.name);
  std::set<std::string> sentences;
  for (const auto& [name, sentence, script] : readSituations(LOOPBACK_SITUATIONS)) {
    EXPECT_EQ(names.erase(name), 1U) << name;
    ASSERT_GT(sentence.size(), 8U) << name;
    EXPECT_TRUE(sentence.front() >= 'A' && sentence.front() <= 'Z') << name;
    EXPECT_EQ(sentence.back(), '.') << name;
    EXPECT_TRUE(sentences.insert(sentence).second) << name;
  }
  EXPECT_EQ(names, std::set<std::string>()) << "rows without a script";
}

TEST(SituationSet, ScriptOfACatalogueRow_NamesItsKeyInItsSentence) {
  for (const EXTERR* row = ::catalogueRows(); !isClosingRow(*row); ++row) {
    const std::string head = "# Every exchange fails with " + std::string(row->type) + " " +
                             std::to_string(row->rc) + "/" + std::to_string(row->code) + ": ";
    const std::string file = "/" + explained(*row).name + ".script";
    EXPECT_EQ(readFile(LOOPBACK_SITUATIONS + file).substr(0, head.size()), head);
  }
}

TEST(SituationSet, List_ShowsExactlyTheScripts) {
  const ChildResult child = runProgram({REHEARSE, "--situations"});
  EXPECT_EQ(child.out, situationRows(readSituations(LOOPBACK_SITUATIONS), 0));
  EXPECT_EQ(child.err, "");
  EXPECT_EQ(child.exitCode(), 0);
}

}  // namespace
