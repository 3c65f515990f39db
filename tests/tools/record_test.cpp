// The verdict from the log against what the stand-in of the communication library has recorded, for
// every situation that can be rehearsed.

#include <gtest/gtest.h>
#include <unistd.h>

#include <fstream>

#include "support/childrun.h"
#include "tools/logbytes.h"
#include "tools/rehearse/recorded.h"

namespace {

constexpr char kDefinition[] =
    "Time=t\nLabel=l\nHostName=h\nOSType=o\nOSName=n\nOSVersion=1\nPkgName=p\nMsgType=e\nEventID=1\n"
    "PartitionName=x\nSendType=";

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
  for (const std::string& script : namesIn(LOOPBACK_SITUATIONS)) {
    for (const std::string& call : calls) {
      const std::string name = script.substr(0, script.rfind('.'));
      const std::string outbox = dir / (name + std::to_string(counts["runs"]++));
      runProgram({"/bin/sh", "-c",
                  "cd " + dir.path() + "; " REHEARSE " --outbox " + outbox + " --situation " +
                      name + " -- " + call});
      const auto runs = runsOf(readFile(outbox + "/action.log"));
      ASSERT_EQ(runs.size(), 1u) << name << ' ' << call;
      std::ifstream record(outbox + "/exchanges.jsonl");
      const Recorded recorded = readRecorded(record);
      EXPECT_EQ(recorded.unreadable, 0) << name << ' ' << call;
      EXPECT_STREQ(wordOf(runs[0].verdict), wordOf(verdictOf(recorded.exchanges)))
          << name << ' ' << call;
      EXPECT_EQ(runs[0].torn, 0);
      ++counts[wordOf(runs[0].verdict)];
    }
  }
  for (const auto& [word, count] : counts) RecordProperty(word, count);
  EXPECT_GT(counts["delivered"], 0);
  EXPECT_GT(counts["refused"], 0);
}

}  // namespace
