#include "tools/log/metrics.h"

#include <algorithm>
#include <ctime>
#include <functional>

using outcome::Exchange;
using outcome::Run;
using outcome::Verdict;

namespace {

/// A time of the log in seconds since 1970, in the zone of this process; 0 where it is none.
long long unixTimeOf(const std::string& time) {
  std::tm parts = {};
  parts.tm_isdst = -1;  // the C library finds out; of an hour that comes twice it chooses one
  const char* end = ::strptime(time.c_str(), "%Y/%m/%d %H:%M:%S", &parts);
  if (end == nullptr || *end != '\0') return 0;
  return std::max(0LL, static_cast<long long>(std::mktime(&parts)));
}

/// The label of a log. A text that was made readable has no line feed, the third character that
/// both formats escape.
std::string labelOf(const std::string& readablePath) {
  std::string label = "log=\"";
  for (const char byte : readablePath) {
    if (byte == '\\' || byte == '"') label += '\\';
    label += byte;
  }
  return label + '"';
}

std::string headOf(const std::string& name, const std::string& help) {
  return "# HELP " + name + ' ' + help + "\n# TYPE " + name + " gauge\n";
}

std::string lineOf(const std::string& name, const std::string& labels, long long number) {
  return name + '{' + labels + "} " + std::to_string(number) + '\n';
}

}  // namespace

void Metrics::add(const std::string& log, const Run& run) {
  Figures& figures = m_logs[labelOf(readable(log, m_encoding))];
  ++figures.runs[static_cast<std::size_t>(run.verdict)];
  if (run.torn > 0) ++figures.torn;
  figures.failedExchanges +=
      std::count_if(run.exchanges.begin(), run.exchanges.end(),
                    [](const Exchange& one) { return one.code.value_or(0) != 0; });
  const bool isDelivered = run.verdict == Verdict::kDelivered;
  const long long start = unixTimeOf(run.start);
  if (isDelivered) figures.lastDeliveredStart = std::max(figures.lastDeliveredStart, start);
  if (start < figures.lastStart) return;
  // Of runs that began in the same second none is the last, and all have to be delivered.
  figures.isLastDelivered = isDelivered && (start > figures.lastStart || figures.isLastDelivered);
  figures.lastStart = start;
}

std::string Metrics::text() const {
  const std::string runs = "tanexics_log_runs";
  std::string text = headOf(runs, "Runs in the log, by what became of the report.");
  for (const auto& [label, figures] : m_logs) {
    for (std::size_t verdict = 0; verdict < kVerdicts; ++verdict) {
      std::string labels = label;
      labels.append(",verdict=\"").append(wordOf(static_cast<Verdict>(verdict))).append("\"");
      text += lineOf(runs, labels, figures.runs[verdict]);
    }
  }
  const auto addFamily = [&](const std::string& name, const std::string& help,
                             const std::function<long long(const Figures&)>& numberOf) {
    text += headOf(name, help);
    for (const auto& [label, figures] : m_logs) text += lineOf(name, label, numberOf(figures));
  };
  addFamily("tanexics_log_torn_runs",
            "Runs in the log of which lines are missing, torn or not understood.",
            [](const Figures& figures) { return figures.torn; });
  addFamily("tanexics_log_failed_exchanges",
            "Exchanges in the log that were answered with a code other than 0.",
            [](const Figures& figures) { return figures.failedExchanges; });
  addFamily("tanexics_log_last_run_delivered",
            "Whether the run that began last was delivered: 1 or 0.",
            [](const Figures& figures) { return figures.isLastDelivered ? 1 : 0; });
  addFamily("tanexics_log_last_run_start_timestamp_seconds",
            "When the run that began last did so; 0 where the log has no such time.",
            [](const Figures& figures) { return figures.lastStart; });
  addFamily("tanexics_log_last_delivered_run_start_timestamp_seconds",
            "The same of the runs that were delivered; 0 for none.",
            [](const Figures& figures) { return figures.lastDeliveredStart; });
  return text + "# EOF\n";
}
