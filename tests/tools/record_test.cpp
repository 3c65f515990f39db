// The verdict from the log against what the stand-in of the communication library has recorded, for
// every situation that can be rehearsed.

#include <gtest/gtest.h>
#include <unistd.h>

#include <fstream>
#include <nlohmann/json.hpp>

#include "support/childrun.h"
#include "tools/logbytes.h"
#include "tools/rehearse/recorded.h"

namespace {

constexpr char kDefinition[] =
    "Time=t\nLabel=l\nHostName=h\nOSType=o\nOSName=n\nOSVersion=1\nPkgName=p\nMsgType=e\nEventID=1\n"
    "PartitionName=x\nSendType=";

/// What the verdict of the log may be, by the name of the situation, where it is not the record's.
bool isHiddenFromLog(const std::string& situation) {
  return situation.rfind("throw-", 0) == 0 || situation == "stop-hangs";
}

TEST(Record, EverySituation_HasTheVerdictThatTheExchangesHad) {
  if (::getuid() != 0) GTEST_SKIP() << "the command works for the super-user alone: run as root";
  const ScratchDir dir;
  dir.write("list", "/etc/passwd\n/etc/hostname\n");
  dir.write("missing", "/etc/passwd\n/nowhere\n");
  const std::string calls[] = {"list -i 42", "missing -i 42",
                               "list -r " + dir.write("err", kDefinition + std::string("err\n")),
                               "list -r " + dir.write("other", kDefinition + std::string("war\n")),
                               "none -i 42"};
  std::map<std::string, int> counts;
  std::map<std::string, int> hidden;
  for (const std::string& script : namesIn(LOOPBACK_SITUATIONS)) {
    for (const std::string& call : calls) {
      const std::string name = script.substr(0, script.rfind('.'));
      const std::string outbox = dir / (name + std::to_string(counts["runs"]++));
      // As a terminal would, once a call hangs.
      const std::string interrupt = "(until grep -qs hangs " + outbox +
                                    "/exchanges.jsonl; do sleep 0.05; done; kill -INT 0) & ";
      const ChildResult child = runProgram(
          {"/usr/bin/setsid", "/bin/sh", "-c",
           "cd " + dir.path() + "; " + (name == "stop-hangs" && call[0] != 'n' ? interrupt : "") +
               "exec " REHEARSE " --json --outbox " + outbox + " --situation " + name + " -- " +
               call});
      const auto runs = runsOf(readFile(outbox + "/action.log"));
      ASSERT_EQ(runs.size(), 1u) << name << ' ' << call;
      std::ifstream record(outbox + "/exchanges.jsonl");
      const Recorded recorded = readRecorded(record);
      EXPECT_EQ(recorded.unreadable, 0) << name << ' ' << call;
      const std::string truth = wordOf(verdictOf(recorded.exchanges));
      const std::string told = wordOf(runs[0].verdict);
      EXPECT_TRUE(told == truth || isHiddenFromLog(name)) << name << ' ' << call;
      EXPECT_EQ(runs[0].torn, 0);
      // What the rehearsal makes of the two.
      const auto object = nlohmann::json::parse(child.out);
      EXPECT_EQ(object["verdict"], truth) << name << ' ' << call;
      EXPECT_EQ(object["judged"]["record"], truth) << name << ' ' << call;
      EXPECT_EQ(object["judged"]["log"], told) << name << ' ' << call;
      EXPECT_EQ(object["judged"]["agree"], true) << name << ' ' << call;
      EXPECT_EQ(object["judged"]["openInLog"].is_string(), told == "unknown" && truth != told)
          << name << ' ' << call;
      ++counts[told];
      if (told != truth) ++hidden[name + ": " + truth + ", log " + told];
    }
  }
  for (const auto& [word, count] : counts) RecordProperty(word, count);
  EXPECT_GT(counts["delivered"], 0);
  EXPECT_GT(counts["refused"], 0);
  const std::map<std::string, int> expected = {
      {"stop-hangs: delivered, log unknown", 3},      {"stop-hangs: partly, log unknown", 1},
      {"throw-data-zero: unknown, log delivered", 3}, {"throw-data: partly, log unknown", 4},
      {"throw-notification: partly, log unknown", 4}, {"throw-start: not-sent, log unknown", 4},
      {"throw-stop: delivered, log unknown", 3},      {"throw-stop: partly, log unknown", 1},
  };
  EXPECT_EQ(hidden, expected);
}

}  // namespace
