#ifndef TANEXICS_PROOF_COST_RUNS_H
#define TANEXICS_PROOF_COST_RUNS_H

#include <cstddef>
#include <string>
#include <vector>

/// A program and its arguments.
using Words = std::vector<std::string>;

/// What a run took, its children's share included.
struct Sample {
  double cpu;   // seconds, in user and system mode
  double peak;  // bytes of resident memory
};

/// Runs a program to its end with its output thrown away; `errors` may name a file for standard
/// error. Throws std::runtime_error when it ends with a status other than 0 and 68, which is that
/// of a run without arguments.
Sample runOnce(const Words& words, const std::string& errors = "/dev/null");

/// Two programs, run in turn.
struct Comparison {
  Sample command;  // medians, each of its own
  Sample floor;
  double ratio;  // the median of the turns' ratios of CPU time
  double low;    // between these two the median lies with a probability of 95 %
  double high;
  std::size_t turns;
};

/// The samples of two programs that are run in turn, so that a machine whose speed drifts does so
/// for both. The ratios of the turns are compared, rather than the sums.
class Turns {
 public:
  void add(const Sample& command, const Sample& floor);
  std::size_t count() const { return m_ratios.size(); }

  /// Needs one turn at least.
  Comparison result() const;

 private:
  std::vector<Sample> m_command;
  std::vector<Sample> m_floor;
  std::vector<double> m_ratios;
};

#endif
