#ifndef TANEXICS_PROOF_CORE_HARNESS_H
#define TANEXICS_PROOF_CORE_HARNESS_H

#include <cstdint>
#include <functional>
#include <map>
#include <string>
#include <vector>

#include "core/judge.h"
#include "core/verdicts.h"

// What the sweeps have in common: which of their trials are tried, by how many processes, and how
// the result is told.

/// What one trial has shown.
struct Verdict {
  bool isHit = false;  // what was to happen was seen to happen; a trial without it proves nothing
  Findings findings;
  Texts claimed;           // the exceptions that the run has made use of
  VerdictCounts verdicts;  // what the log says of the run, and of further ones
  Outcome run;             // the run itself, or the last one of several
};

/// One trial, ready to be tried.
struct Trial {
  std::string row;   // the line of the table that it counts in
  std::string name;  // enough to try it again
  std::function<Verdict()> run;
};

/// What the trials of one process, or of several, have come to.
struct Tally {
  struct Finding {
    std::string trial;
    Texts broken;
  };
  std::map<std::string, std::map<std::string, int>> rows;  // counts, by row and column
  std::map<std::string, int> claims;                       // of exceptions
  VerdictCounts verdicts;                                  // self-tests left out
  std::vector<Finding> findings;

  /// Counts a trial that broke something in the column "broken", and keeps it. Nothing is done when
  /// nothing is broken.
  void note(const std::string& row, const std::string& trial, const Findings& found);

  int sum(const std::string& column);
};

/// What is to be tried.
struct Plan {
  std::string command;     // the command under proof
  std::uint32_t seed = 1;  // of the sample, and of the order
  std::size_t sample = 0;  // how many trials; 0 for all
  unsigned jobs = 1;       // how many at a time
  std::string row;         // only those of this line of the table; empty for all
  std::string only;        // only the one of this name; empty for all
  bool isBlunt = false;    // for the proof of the sweep itself: nothing happens, all must be red
  int least = 1;           // how many must be hit

  /// Whether nothing is left out.
  bool isWhole() const { return sample == 0 && row.empty() && only.empty() && !isBlunt; }
};

/// One sweep. Each of the processes that share the work has its own copy of the object.
class Sweep {
 public:
  virtual ~Sweep() = default;

  /// Moves the process to the stage, and tries what has to be known before anything else can be.
  /// What is found by this goes to `tally`, which is null in all processes but one.
  virtual void prepare(const Plan& plan, Tally* tally) = 0;

  /// Everything that can be tried.
  virtual std::vector<Trial> trials() = 0;

  /// The trials of the sweep itself, which are never left to chance; not asked for where the plan
  /// is blunt.
  virtual std::vector<Trial> selfTrials() = 0;

  /// Prints what there is to say beside the table. Returns whether all is well.
  virtual bool report(const Plan& /*plan*/, Tally& /*tally*/) { return true; }
};

/// What the sweep is called by those who use it.
struct Terms {
  const char* purpose;               // for --help
  const char* row;                   // "scenario": the option that chooses a line of the table
  std::vector<const char*> columns;  // of the table, beside the row's name
};

/// The row of the trials that try the machinery itself.
extern const char* const kSelfTestRow;

/// The main function of a sweep. Returns the exit status.
int runSweep(int argc, char** argv, const Terms& terms, Sweep& sweep);

/// The trial of a seeded bug: it must be found by those whose findings begin with `judge`, and
/// nothing must be found without it. `findingsOf` runs the seeded command with the bug of a name.
Trial seedTrial(const std::string& name, const std::string& bug, const std::string& judge,
                const std::function<Findings(const std::string&)>& findingsOf);

#endif
