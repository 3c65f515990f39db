// The verdict from the log against what the stand-in of the communication library has recorded, for
// every situation that can be rehearsed.

#include <gtest/gtest.h>
#include <unistd.h>

#include <fstream>
#include <nlohmann/json.hpp>

#include "support/childrun.h"
#include "tools/logbytes.h"

namespace {

using outcome::Verdict;

constexpr char kDefinition[] =
    "Time=t\nLabel=l\nHostName=h\nOSType=o\nOSName=n\nOSVersion=1\nPkgName=p\nMsgType=e\nEventID=1\n"
    "PartitionName=x\nSendType=";

/// What the record says: nothing where an answer of 0 came with an agent's error and decides.
std::optional<Verdict> recorded(const std::string& path, bool isFileMissing) {
  int accepted = 0;
  int failed = 0;
  int either = 0;
  std::ifstream file(path);
  for (std::string line; std::getline(file, line);) {
    const auto call = nlohmann::json::parse(line);
    if (call["call"] != "KEL_Communicate") continue;
    const bool hasError = call["error"] != nlohmann::json::array({0, 0, 0});
    if (call["result"] != 0) {
      ++failed;
    } else {
      ++(hasError ? either : accepted);
    }
  }
  if (accepted + failed + either == 0) return Verdict::kNotSent;
  if (accepted > 0 && failed > 0) return Verdict::kPartly;
  if (either > 0) return std::nullopt;
  if (accepted == 0) return Verdict::kRefused;
  return isFileMissing ? Verdict::kPartly : Verdict::kDelivered;
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
  for (const std::string& script : namesIn(LOOPBACK_SITUATIONS)) {
    for (const std::string& call : calls) {
      const std::string name = script.substr(0, script.rfind('.'));
      const std::string outbox = dir / (name + std::to_string(counts["runs"]++));
      runProgram({"/bin/sh", "-c",
                  "cd " + dir.path() + "; " REHEARSE " --outbox " + outbox + " --situation " +
                      name + " -- " + call});
      const auto runs = runsOf(readFile(outbox + "/action.log"));
      ASSERT_EQ(runs.size(), 1u) << name << ' ' << call;
      const auto truth = recorded(outbox + "/exchanges.jsonl", call[0] == 'm');
      EXPECT_STREQ(wordOf(runs[0].verdict), wordOf(truth.value_or(Verdict::kUnknown)))
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
