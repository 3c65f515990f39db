#include "tools/outcome/reason.h"

#include <algorithm>

#include "tools/common/language.h"

namespace outcome {

namespace {

/// Of a run that sent nothing, and whose log does not say why.
constexpr const char* kNeverStarted = marked("communication was never started");

using Values = std::initializer_list<std::string_view>;

/// How a reason is worded.
class Wording {
 public:
  /// In English, with the bytes of the log as they are.
  Wording() = default;

  /// In the language that is spoken; texts of the log are read as `encoding`, where there is one.
  explicit Wording(std::optional<Encoding> encoding) : m_isTranslated(true), m_encoding(encoding) {}

  std::string said(const char* message, Values values = {}) const {
    return m_isTranslated ? translated(message, values) : filled(message, values);
  }

  std::string saidCount(const char* one, const char* many, std::size_t number,
                        Values values) const {
    return m_isTranslated ? translatedCount(one, many, number, values)
                          : filled(number == 1 ? one : many, values);
  }

  std::string text(const std::string& bytes) const {
    return m_encoding ? readable(bytes, *m_encoding) : bytes;
  }

 private:
  bool m_isTranslated = false;
  std::optional<Encoding> m_encoding;
};

std::string subjectOf(const Exchange& exchange, const Wording& wording) {
  if (exchange.isData) {
    return exchange.path ? wording.text(*exchange.path) : wording.said("a transfer");
  }
  return exchange.part ? wording.said("notification %s", {std::to_string(*exchange.part)})
                       : wording.said("notification");
}

std::string failureOf(const Exchange& exchange, const Wording& wording) {
  const std::string error = wording.text(exchange.error.value_or(""));
  return subjectOf(exchange, wording) + ": " + std::to_string(*exchange.code) +
         (error.empty() ? "" : ' ' + error);
}

/// "1 of 6 exchanges failed: /a: -55 (HTTP) ..."; the first one that did.
std::string failures(const Run& run, const Wording& wording) {
  const auto isFailed = [](const Exchange& one) { return one.code && !isAccepted(one); };
  const auto first = std::find_if(run.exchanges.begin(), run.exchanges.end(), isFailed);
  const auto number = std::count_if(run.exchanges.begin(), run.exchanges.end(), isFailed);
  const auto all = static_cast<std::size_t>(
      std::max<long>(run.expected.value_or(0), static_cast<long>(run.exchanges.size())));
  if (first == run.exchanges.end()) return "";
  return wording.saidCount(
      "%s of %s exchange failed: %s", "%s of %s exchanges failed: %s", all,
      {std::to_string(number), std::to_string(all), failureOf(*first, wording)});
}

std::string missingFiles(const Run& run, const Wording& wording) {
  const std::size_t number = run.missing.size();
  return wording.saidCount("%s listed file could not be measured: %s",
                           "%s listed files could not be measured: %s", number,
                           {std::to_string(number), wording.text(run.missing.front())});
}

std::string withoutFeed(std::string text) {
  while (!text.empty() && (text.back() == ' ' || text.back() == '\n')) text.pop_back();
  return text;
}

std::string unknownReason(const Run& run, const Wording& wording) {
  if (run.doubt == Doubt::kDisputed) {
    return wording.said("another run began under its process id before it had ended");
  }
  if (run.doubt == Doubt::kTorn) {
    return wording.said("its lines are torn: which of them are its own cannot be told");
  }
  if (!run.hasStart) return wording.said("the beginning is not in the log");
  if (run.end.empty()) return wording.said("the end is not in the log");
  if (run.torn > 0) {
    return wording.saidCount("%s line missing or torn", "%s lines missing or torn",
                             static_cast<std::size_t>(run.torn), {std::to_string(run.torn)});
  }
  const auto isOdd = [](const Exchange& one) { return one.code == 0 && !isAccepted(one); };
  if (std::any_of(run.exchanges.begin(), run.exchanges.end(), isOdd)) {
    return wording.said("an answer of 0 comes with an agent's error");
  }
  return wording.said("the library threw an integer, and the log does not say by which call");
}

/// Why the run has its verdict, but for what may be said of any.
std::string verdictsReason(const Run& run, const Wording& wording) {
  switch (run.verdict) {
    case Verdict::kDelivered: {
      const std::size_t number = run.exchanges.size();
      return wording.saidCount("all %s exchange accepted", "all %s exchanges accepted", number,
                               {std::to_string(number)});
    }
    case Verdict::kPartly: {
      const std::string reason = failures(run, wording);
      if (!run.missing.empty()) {
        return reason + (reason.empty() ? "" : "; ") + missingFiles(run, wording);
      }
      return reason.empty() ? wording.said("some exchanges failed") : reason;
    }
    case Verdict::kRefused:
      return run.exchanges.empty() ? wording.said("all exchanges failed") : failures(run, wording);
    case Verdict::kNotSent:
      return run.reason.empty() || run.reason == kNeverStarted
                 ? wording.said(kNeverStarted)
                 : wording.text(withoutFeed(run.reason));
    case Verdict::kUnknown:
      break;
  }
  return unknownReason(run, wording);
}

std::string wordedReason(const Run& run, const Wording& wording) {
  constexpr int kNoTempDir = 78;
  const std::string reason = verdictsReason(run, wording);
  const bool isIncomplete =
      run.exitCode == kNoTempDir && run.expected && run.verdict != Verdict::kNotSent;
  return isIncomplete ? wording.said("%s; the collection commands were not run", {reason}) : reason;
}

}  // namespace

std::string reasonOf(const Run& run) { return wordedReason(run, Wording()); }

std::string translatedReasonOf(const Run& run) {
  return isTranslated() ? wordedReason(run, Wording(std::nullopt)) : run.reason;
}

std::string shownReasonOf(const Run& run, Encoding encoding) {
  return isTranslated() ? wordedReason(run, Wording(encoding)) : readable(run.reason, encoding);
}

}  // namespace outcome
