#include "core/verdicts.h"

#include <algorithm>
#include <cstdio>
#include <cstring>
#include <nlohmann/json.hpp>

#include "tools/outcome/reader.h"
#include "tools/rehearse/recorded.h"

namespace {

using Json = nlohmann::json;
using outcome::Verdict;

/// What the record says became of a run, for the table.
enum class Truth {
  kDelivered,
  kFileMissing,
  kPartly,
  kRefused,
  kNotSent,
  kCutAccepted,
  kCutNotAccepted,
  kAgentsError,
  kThrewZero,
};

constexpr const char* kTruths[] = {"all accepted",
                                   "all accepted, file missing",
                                   "some accepted",
                                   "none accepted",
                                   "none made",
                                   "cut short, some accepted",
                                   "cut short, none accepted",
                                   "an agent's error with 0",
                                   "0 thrown, the rest accepted"};

const char* const kNoRun = "no run";
const char* const kLogHit = "log hit";  // unknown, and the fault hit the log itself

bool hasAgentsError(const Json& call) {
  // The library that misbehaves hands back three times the same word.
  if (call.value("deed", "") == "garbage") return call.value("value", 0) != 0;
  const auto error = call.find("error");
  return error != call.end() && *error != Json::array({0, 0, 0});
}

bool isFileMissing(const Scenario& scenario, const Outcome& run) {
  const auto list = scenario.files.find("list");
  if (list == scenario.files.end()) return false;
  const Texts paths = splitLines(list->second);
  return std::any_of(paths.begin(), paths.end(), [&run](const std::string& path) {
    if (path.empty() || path == "\r") return false;
    const std::string whole = path.front() == '/' ? path : kCaseFolder + ("/" + path);
    return run.inputs.count(whole) == 0;
  });
}

Exchanges exchangesOf(const Scenario& scenario, const Outcome& run) {
  Exchanges all;
  all.expected = scenario.exchanges;
  all.isFileMissing = isFileMissing(scenario, run);
  for (const Json& call : recordsOf(run.record)) {
    if (!call.is_object() || call.value("call", "") != "KEL_Communicate") continue;
    ++all.made;
    const bool isZero = call.value("result", -1) == 0;
    const bool isThrown = call.value("deed", "") == "throw";
    if (isZero) ++(hasAgentsError(call) ? all.withError : all.accepted);
    if (isThrown && call.value("value", -1) == 0) ++all.thrownZero;
  }
  return all;
}

Truth truthOf(const Exchanges& all) {
  if (all.made == 0) return Truth::kNotSent;
  if (all.thrownZero > 0 && all.isWhole() && all.accepted + all.thrownZero == all.made) {
    return Truth::kThrewZero;
  }
  if (!all.isWhole()) return all.accepted > 0 ? Truth::kCutAccepted : Truth::kCutNotAccepted;
  if (all.accepted == all.made) return all.isFileMissing ? Truth::kFileMissing : Truth::kDelivered;
  const bool hasFailed = all.accepted + all.withError < all.made;
  if (all.withError > 0 && !(all.accepted > 0 && hasFailed)) return Truth::kAgentsError;
  return all.accepted > 0 ? Truth::kPartly : Truth::kRefused;
}

/// The verdict that a log has from which nothing is missing: of a run that was cut short it does
/// not tell what the rest would have come to.
Verdict exactVerdict(const Exchanges& all) {
  return all.made == 0 || all.isWhole() ? verdictOf(all) : Verdict::kUnknown;
}

bool hasLine(const Outcome& run, const char* text) {
  return run.log.find(text) != std::string::npos || run.backup.find(text) != std::string::npos;
}

/// Whether the command was kept from opening the log, or from writing to it.
bool isLogHit(const Outcome& run) {
  const std::vector<Call>& calls = run.trace.calls;
  return std::any_of(calls.begin(), calls.end(), [](const Call& call) {
    return call.isHit && call.process == 0 && call.target == kActionLog;
  });
}

/// Whether the record allows the verdict.
bool isAllowed(Verdict verdict, const Exchanges& all, const Outcome& run) {
  const bool isAccepted = all.isWhole() && all.accepted == all.made;
  switch (verdict) {
    case Verdict::kDelivered:
      // An integer of 0 that was thrown leaves the lines of a result of 0 that was returned, and
      // a line that was never written leaves nothing: neither can be told from the log.
      if (truthOf(all) == Truth::kThrewZero) return true;
      return isAccepted && (!all.isFileMissing || !hasLine(run, "get file size error("));
    case Verdict::kPartly:
      if (isAccepted) return hasLine(run, "get file size error(");
      return all.accepted + all.withError > 0;
    case Verdict::kRefused:
      return all.made > 0 && all.accepted == 0;
    case Verdict::kNotSent:
      // Lines that could not be written leave nothing either: with all of a transmission gone, a
      // run looks like one that ended before it.
      return all.made == 0 || (isLogHit(run) && !hasLine(run, "RM_Communicate "));
    default:
      return true;
  }
}

/// The runs that the log has, but for that of the lines that were there before.
std::vector<outcome::Run> runsIn(const Outcome& run) {
  constexpr int kOlderPid = 1;
  std::vector<outcome::Run> runs;
  outcome::Reader reader([&runs](outcome::Run one) {
    if (one.pid != kOlderPid) runs.push_back(std::move(one));
  });
  reader.feed(run.backup);
  reader.feed(run.log);
  reader.finish();
  return runs;
}

}  // namespace

Findings judgeVerdict(const Scenario& scenario, const Outcome& run, bool isExact,
                      VerdictCounts& counts) {
  const Exchanges exchanges = exchangesOf(scenario, run);
  const Truth truth = truthOf(exchanges);
  const char* const told = kTruths[static_cast<int>(truth)];
  const std::vector<outcome::Run> runs = runsIn(run);
  Findings findings;
  for (const outcome::Run& one : runs) {
    const std::string verdict = wordOf(one.verdict);
    const bool isOpen = one.verdict == Verdict::kUnknown;
    ++counts[told][isOpen && isLogHit(run) ? kLogHit : verdict];
    findings.expect(isAllowed(one.verdict, exchanges, run),
                    "8: the log says " + verdict + ", the record: " + told);
    findings.expect(!isExact || one.verdict == exactVerdict(exchanges),
                    "8: the log says no more than " + verdict + " of: " + told);
  }
  if (runs.empty()) ++counts[told][kNoRun];
  findings.expect(!isExact || runs.size() == 1,
                  "8: " + std::to_string(runs.size()) + " runs are found in the log");
  return findings;
}

bool printVerdicts(const VerdictCounts& counts) {
  constexpr int kMostOfUnknown = 10;  // percent
  const char* const words[] = {"delivered", "partly", "refused", "not-sent",
                               "unknown",   kLogHit,  kNoRun};
  std::printf("%-28s", "what the record says");
  for (const char* word : words) std::printf(" %9s", word);
  std::printf("\n");
  int all = 0;
  int unknown = 0;
  int destroyed = 0;
  for (const char* truth : kTruths) {
    const auto row = counts.find(truth);
    if (row == counts.end()) continue;
    std::printf("%-28s", truth);
    for (const char* word : words) {
      const auto count = row->second.find(word);
      const int runs = count == row->second.end() ? 0 : count->second;
      std::printf(" %9d", runs);
      if (word != kNoRun) all += runs;
      if (word == kLogHit) destroyed += runs;
      if (std::strcmp(word, "unknown") == 0) unknown += runs;
    }
    std::printf("\n");
  }
  if (all == 0) return true;
  const int spared = all - destroyed;
  const auto share = [](int some, int of) { return of == 0 ? 0.0 : 100.0 * some / of; };
  std::printf("unknown: %d of %d runs, %.1f %%", unknown + destroyed, all,
              share(unknown + destroyed, all));
  std::printf("; where the fault spared the log: %d of %d, %.1f %%\n", unknown, spared,
              share(unknown, spared));
  return share(unknown, spared) <= kMostOfUnknown;
}
