#ifndef TANEXICS_PROOF_SWEEP_SWEEP_H
#define TANEXICS_PROOF_SWEEP_SWEEP_H

#include <cstdint>
#include <string>
#include <vector>

#include "sweep/stage.h"
#include "sweep/workers.h"

/// The row of the trials that try the machinery itself.
extern const char* const kSelfTestRow;

/// What is to be tried.
struct Plan {
  Equipment equipment;
  std::uint32_t seed = 1;  // of the sample, and of the order
  std::size_t sample = 0;  // how many trials; 0 for all
  unsigned jobs = 1;       // how many at a time
  std::string scenario;    // only those of this row; empty for all
  std::string only;        // only the trial of this name; empty for all
  bool isBlunt = false;    // for the proof of the sweep itself: no fault is injected
};

/// Tries all that the plan asks for, in processes of its own. The rows are scenarios and families,
/// with "calls" of the undisturbed run, "tried", "hit" and "broken" (trials that broke a promise or
/// were not hit). Throws std::runtime_error when it cannot be done.
Tally sweep(const Plan& plan);

/// The names of the rows in the order of the table: the scenarios, then the other families.
std::vector<std::string> rowNames(const Tally& tally);

#endif
