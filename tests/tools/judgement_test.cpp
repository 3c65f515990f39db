#include "tools/rehearse/judgement.h"

#include <gtest/gtest.h>

#include <csignal>
#include <fstream>
#include <string>

#include "e2e/support/expected.h"
#include "tools/logbytes.h"

namespace {

using outcome::Verdict;

constexpr int kExited = 0;
constexpr int kKilled = SIGINT;

Recorded recorded(const Exchanges& exchanges, bool hasThrown = false, int unreadable = 0) {
  return {exchanges, hasThrown, unreadable};
}

outcome::Run whole(Verdict verdict) {
  outcome::Run run;
  run.hasStart = true;
  run.end = "2026/11/21 23:30:33";
  run.verdict = verdict;
  run.reason = "the log's";
  return run;
}

outcome::Run cut(Verdict verdict) {
  outcome::Run run = whole(verdict);
  run.end = "";
  return run;
}

const Exchanges kAll = {2, 2, 2, 0, 0, false};
const Exchanges kNone = {2, 2, 0, 0, 0, false};
const Exchanges kOdd = {2, 2, 0, 2, 0, false};
const Exchanges kZero = {2, 2, 1, 0, 1, false};

TEST(Judge, RecordAndLog_MustAgreeButForWhatOneOfThemCannotKnow) {
  const std::string allOfIt = "all 2 exchanges accepted";
  const std::string zero = "1 of 2 exchanges accepted; 1 left by throwing 0";
  outcome::Run torn = whole(Verdict::kUnknown);
  torn.torn = 1;
  outcome::Run headless = whole(Verdict::kUnknown);
  headless.hasStart = false;
  const struct {
    const char* what;
    std::optional<Recorded> recorded;
    std::vector<outcome::Run> runs;
    int waitStatus;
    std::string expected;
  } rows[] = {
      {"both the same",
       recorded(kAll),
       {whole(Verdict::kDelivered)},
       kExited,
       "delivered: the log's"},
      {"both open", recorded(kOdd), {whole(Verdict::kUnknown)}, kExited, "unknown: the log's"},
      {"thrown",
       recorded(kAll, true),
       {whole(Verdict::kUnknown)},
       kExited,
       "delivered: " + allOfIt + " | log: the log's"},
      {"torn", recorded(kAll), {torn}, kExited, "delivered: " + allOfIt + " | log: the log's"},
      {"without start",
       recorded(kAll),
       {headless},
       kExited,
       "delivered: " + allOfIt + " | log: the log's"},
      {"without end",
       recorded(kNone),
       {cut(Verdict::kUnknown)},
       kExited,
       "refused: 0 of 2 exchanges accepted | log: the log's"},
      {"killed",
       recorded(kAll),
       {whole(Verdict::kUnknown)},
       kKilled,
       "delivered: " + allOfIt + " | log: the log's"},
      {"no run", recorded(kAll), {}, kExited, "delivered: " + allOfIt + " | log: it has no run"},
      {"two runs",
       recorded(kAll),
       {whole(Verdict::kRefused), whole(Verdict::kRefused)},
       kExited,
       "delivered: " + allOfIt + " | log: it has 2 runs, and not one"},
      {"a log that could know",
       recorded(kAll),
       {whole(Verdict::kUnknown)},
       kExited,
       "delivered: " + allOfIt + " | contradiction"},
      {"another verdict",
       recorded(kAll),
       {whole(Verdict::kRefused)},
       kExited,
       "delivered: " + allOfIt + " | contradiction"},
      {"another verdict of a run that threw",
       recorded(kNone, true),
       {whole(Verdict::kDelivered)},
       kKilled,
       "refused: 0 of 2 exchanges accepted | contradiction"},
      {"a log that says too much",
       recorded(kOdd),
       {whole(Verdict::kDelivered)},
       kExited,
       "unknown: 0 of 2 exchanges accepted; 2 answered with 0 and an agent's error | "
       "contradiction"},
      {"thrown 0",
       recorded(kZero, true),
       {whole(Verdict::kDelivered)},
       kExited,
       "unknown: " + zero + " | record: " + zero},
      {"no record",
       std::nullopt,
       {whole(Verdict::kRefused)},
       kExited,
       "refused: the log's | record: there is none"},
      {"nothing", std::nullopt, {}, kExited, "unknown: it has no run"},
      {"bad line",
       recorded(kAll, false, 1),
       {whole(Verdict::kRefused)},
       kExited,
       "refused: the log's | record: 1 line cannot be read"},
  };
  for (const auto& [what, record, runs, waitStatus, expected] : rows) {
    const Judgement one = judge(record, runs, waitStatus);
    std::string text = std::string(wordOf(one.verdict)) + ": " + one.reason;
    if (!one.openInLog.empty()) text += " | log: " + one.openInLog;
    if (!one.openInRecord.empty()) text += " | record: " + one.openInRecord;
    if (one.isContradiction) text += " | contradiction";
    EXPECT_EQ(text, expected) << what;
  }
}

TEST(JudgementOf, Folder_GivesRecordAndLogWithItsBackupInFront) {
  const RehearsalFolder folder("");
  EXPECT_EQ(judgementOf(folder, 0).reason, "it has no run");
  const std::string head =
      linesOf(7, {kStartedLine, kStartComm, loopLine(1, 1), incidentCall(1, 1), doneLine(-7)});
  const std::string rest =
      linesOf(7, {dataCall("/a"), doneLine(0), kOk, kElapsedLine, exitLine(0)});
  std::ofstream(folder.actionLogBackup()) << head;
  std::ofstream(folder.actionLog()) << rest;
  std::ofstream(folder.record()) << notify("0x40017", "", {-7, 0, 0}) + sendItems("0x4010b", {}) +
                                        stopped();
  const Judgement judgement = judgementOf(folder, 0);
  EXPECT_EQ(judgement.fromRecord, Verdict::kPartly);
  EXPECT_EQ(judgement.fromLog, Verdict::kPartly);
  EXPECT_EQ(judgement.verdict, Verdict::kPartly);
  EXPECT_EQ(judgement.reason, "1 of 2 exchanges failed: notification 1: -7");
  EXPECT_FALSE(judgement.isContradiction);
}

}  // namespace
