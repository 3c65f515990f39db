#ifndef TANEXICS_LOG_METRICS_H
#define TANEXICS_LOG_METRICS_H

#include <array>
#include <cstddef>
#include <map>
#include <string>

#include "tools/outcome/readable.h"
#include "tools/outcome/run.h"

/// What a monitoring system asks of action logs, in numbers. All are gauges: they tell what is in
/// the log, and a rotation takes runs out of it, so that none of them grows for ever. Each log has
/// ten series, however many runs it has.
class Metrics {
 public:
  /// `encoding`: how the path of a log is read.
  explicit Metrics(outcome::Encoding encoding) : m_encoding(encoding) {}

  /// Counts one run of the log with this path, given in bytes; the runs of a log come in any order.
  void add(const std::string& log, const outcome::Run& run);

  /// All numbers, as the Prometheus text format and OpenMetrics both have them: the heads of all
  /// families, also without a run, and `# EOF`, which OpenMetrics wants and the other takes for a
  /// comment. The times of a log, which are local, are taken for those of the zone of this process.
  std::string text() const;

 private:
  static constexpr std::size_t kVerdicts = static_cast<std::size_t>(outcome::Verdict::kUnknown) + 1;

  /// The numbers of one log; times are in seconds since 1970.
  struct Figures {
    std::array<long, kVerdicts> runs = {};  // by verdict
    long torn = 0;
    long failedExchanges = 0;
    long long lastStart = 0;
    long long lastDeliveredStart = 0;
    bool isLastDelivered = true;
  };

  outcome::Encoding m_encoding;
  std::map<std::string, Figures> m_logs;  // by their label, which has to be unique
};

#endif
