#ifndef TANEXICS_LOG_PAGE_H
#define TANEXICS_LOG_PAGE_H

#include <array>
#include <cstddef>
#include <functional>
#include <map>
#include <string>
#include <vector>

#include "tools/outcome/readable.h"
#include "tools/outcome/run.h"

/// A page for people about the runs of one or several logs: how many had which verdict, day by day,
/// and the runs themselves with their exchanges. One HTML file that needs nothing else, forbids
/// scripts and all that comes from elsewhere, and in which no byte of a log is markup.
///
/// It stays small, whatever the logs hold: all runs count in the figures, but only the latest
/// `kMostRuns` of them are listed, fewer where they would take more than `kMostBytes`; the last
/// `kMostDays` days with runs stand by themselves; and of a run or a text that is very long a part
/// is left out. The page says each time how much.
class Page {
 public:
  static constexpr std::size_t kMostRuns = 5000;
  static constexpr std::size_t kMostBytes = std::size_t{32} << 20;
  static constexpr std::size_t kMostDays = 92;
  static constexpr std::size_t kMostExchanges = 200;  ///< of a run; those that failed come first
  static constexpr std::size_t kMostFiles = 100;      ///< of a run that could not be measured
  static constexpr std::size_t kMostTexts = 100;      ///< of a run's explanations
  static constexpr std::size_t kMostText = 1000;      ///< bytes of a text of the log, about
  static constexpr std::size_t kMostExplanation = 4000;

  /// What is known of the errors of a run, one text each, in UTF-8; what is not, and control
  /// characters but line feeds, is escaped.
  using Explain = std::function<std::vector<std::string>(const outcome::Run& run)>;

  /// `encoding`  that of the log's texts.
  /// `explain`   is asked for each run that is listed; may be empty.
  explicit Page(outcome::Encoding encoding, Explain explain = nullptr);

  /// The next run, in any order. `log`: the path of its log, in bytes.
  void add(const std::string& log, const outcome::Run& run);

  /// The page with the runs so far, the latest first.
  std::string html() const;

 private:
  using Counts = std::array<std::size_t, 5>;  // in the order of the verdicts
  struct Item {
    outcome::Verdict verdict;
    std::string html;
  };

  void count(const outcome::Run& run);
  void dropOldest();
  std::string figures() const;
  std::string dayTable() const;
  std::string runs() const;

  outcome::Encoding m_encoding;
  Explain m_explain;
  Counts m_all = {};
  Counts m_earlier = {};  // on days that do not stand by themselves any more
  std::map<std::string, Counts> m_days;
  std::multimap<std::string, Item> m_items;  // by the time of the first line
  std::size_t m_bytes = 0;                   // of the items
  std::string m_horizon;                     // what began earlier is not listed
};

#endif
