#include "tools/outcome/reason.h"

#include <algorithm>

namespace outcome {

namespace {

std::string subjectOf(const Exchange& exchange) {
  if (exchange.isData) return exchange.path.value_or("a transfer");
  const std::string part = exchange.part ? ' ' + std::to_string(*exchange.part) : "";
  return "notification" + part;
}

std::string failureOf(const Exchange& exchange) {
  const std::string error = exchange.error.value_or("");
  return subjectOf(exchange) + ": " + std::to_string(*exchange.code) +
         (error.empty() ? "" : ' ' + error);
}

/// "1 of 6 exchanges failed: /a: -55 (HTTP) ..."; the first one that did.
std::string failures(const Run& run) {
  const auto isFailed = [](const Exchange& one) { return one.code && !isAccepted(one); };
  const auto first = std::find_if(run.exchanges.begin(), run.exchanges.end(), isFailed);
  const auto number = std::count_if(run.exchanges.begin(), run.exchanges.end(), isFailed);
  const auto all = static_cast<std::size_t>(
      std::max<long>(run.expected.value_or(0), static_cast<long>(run.exchanges.size())));
  if (first == run.exchanges.end()) return "";
  return std::to_string(number) + " of " + counted(all, "exchange") +
         " failed: " + failureOf(*first);
}

std::string missingFiles(const Run& run) {
  return counted(run.missing.size(), "listed file") +
         " could not be measured: " + run.missing.front();
}

std::string withoutFeed(std::string text) {
  while (!text.empty() && (text.back() == ' ' || text.back() == '\n')) text.pop_back();
  return text;
}

std::string unknownReason(const Run& run, Doubt doubt) {
  if (doubt == Doubt::kDisputed)
    return "another run began under its process id before it had ended";
  if (doubt == Doubt::kTorn) return "its lines are torn: which of them are its own cannot be told";
  if (!run.hasStart) return "the beginning is not in the log";
  if (run.end.empty()) return "the end is not in the log";
  if (run.torn > 0) return counted(static_cast<std::size_t>(run.torn), "line") + " missing or torn";
  const auto isOdd = [](const Exchange& one) { return one.code == 0 && !isAccepted(one); };
  if (std::any_of(run.exchanges.begin(), run.exchanges.end(), isOdd)) {
    return "an answer of 0 comes with an agent's error";
  }
  return "the library threw an integer, and the log does not say by which call";
}

}  // namespace

std::string reasonOf(const Run& run, Doubt doubt) {
  constexpr int kNoTempDir = 78;
  const std::string note =
      run.exitCode == kNoTempDir && run.expected ? "; the collection commands were not run" : "";
  switch (run.verdict) {
    case Verdict::kDelivered:
      return "all " + counted(run.exchanges.size(), "exchange") + " accepted" + note;
    case Verdict::kPartly: {
      std::string reason = failures(run);
      if (run.missing.empty()) return (reason.empty() ? "some exchanges failed" : reason) + note;
      return reason + (reason.empty() ? "" : "; ") + missingFiles(run) + note;
    }
    case Verdict::kRefused:
      return (run.exchanges.empty() ? "all exchanges failed" : failures(run)) + note;
    case Verdict::kNotSent:
      if (!run.reason.empty()) return withoutFeed(run.reason);
      return "communication was never started";
    case Verdict::kUnknown:
      break;
  }
  return unknownReason(run, doubt) + note;
}

}  // namespace outcome
