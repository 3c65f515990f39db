#include "tools/log/plain.h"

#include <cstdio>

#include "tools/common/language.h"
#include "tools/log/json.h"
#include "tools/outcome/reason.h"

using outcome::Run;
using outcome::Verdict;

namespace {

const char* colourOf(Verdict verdict) {
  switch (verdict) {
    case Verdict::kDelivered:
      return kGreen;
    case Verdict::kPartly:
    case Verdict::kUnknown:
      return kYellow;
    case Verdict::kRefused:
    case Verdict::kNotSent:
      break;
  }
  return kRed;
}

std::string subjectOf(const Run& run, outcome::Encoding encoding) {
  const char* mode = wordOf(run.mode);
  std::string subject = mode == nullptr ? "-" : mode;
  if (run.identity) subject += ' ' + readable(*run.identity, encoding);
  if (!run.host || run.host->empty()) return subject;
  // TRANSLATORS: what was reported, such as "incident 42", and the host that it happened on
  return translated("%s of %s", {subject, readable(*run.host, encoding)});
}

}  // namespace

std::string plainTextOf(const Run& run, const Layout& layout) {
  constexpr std::size_t kIndent = 4;
  constexpr std::size_t kVerdictWidth = 9;
  char head[64];
  std::snprintf(head, sizeof head, "%s %7d  ", isoTime(run.start).c_str(), run.pid);
  const std::string verdict = wordOf(run.verdict);
  const std::string padding(kVerdictWidth - verdict.size(), ' ');
  const std::string rest =
      "  " + subjectOf(run, layout.encoding) + ": " + shownReasonOf(run, layout.encoding);
  const std::string text =
      head + coloured(verdict, colourOf(run.verdict), layout.terminal) + padding + rest;
  std::string lines = wrapped(text, layout.terminal.width, kIndent) + '\n';
  for (const std::string& line : run.lines) {
    lines += std::string(kIndent, ' ') + readable(line, layout.encoding) + '\n';
  }
  return lines;
}
