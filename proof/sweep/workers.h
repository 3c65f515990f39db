#ifndef TANEXICS_PROOF_SWEEP_WORKERS_H
#define TANEXICS_PROOF_SWEEP_WORKERS_H

#include <functional>
#include <map>
#include <string>
#include <vector>

/// One trial that broke something.
struct Finding {
  std::string trial;
  std::vector<std::string> broken;
};

/// What the trials of one process, or of several, have come to.
struct Tally {
  std::map<std::string, std::map<std::string, int>> rows;  // counts, by row and column
  std::vector<Finding> findings;

  void count(const std::string& row, const std::string& column, int more = 1);

  /// Counts a trial that broke something in the column "broken", and keeps it. Nothing is done when
  /// nothing is broken.
  void note(const std::string& row, const std::string& trial,
            const std::vector<std::string>& broken);

  /// 0 for what was never counted.
  int at(const std::string& row, const std::string& column) const;
  int sum(const std::string& column) const;
};

/// Does `share` in `count` processes at once, each with its number from 0, and adds up what they
/// return. Throws std::runtime_error when one of them failed.
Tally workTogether(unsigned count, const std::function<Tally(unsigned)>& share);

#endif
