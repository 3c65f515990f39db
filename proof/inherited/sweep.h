#ifndef TANEXICS_PROOF_INHERITED_SWEEP_H
#define TANEXICS_PROOF_INHERITED_SWEEP_H

#include <cstdint>
#include <string>

#include "inherited/run.h"
#include "sweep/workers.h"

/// The row of the seeded bugs.
extern const char* const kSeededRow;

/// The row that counts the claims of an exception.
std::string exceptionRow(const std::string& exception);
bool isExceptionRow(const std::string& row);

/// What is to be tried.
struct InheritedPlan {
  InheritedEquipment equipment;
  std::uint32_t seed = 1;  // of the sample, and of the order
  std::size_t sample = 0;  // how many situations; 0 for all
  unsigned jobs = 1;       // how many at a time
  std::string family;      // only those of this row; empty for all
  std::string only;        // only the one of this name; empty for all
  bool isBlunt = false;  // for the proof of the sweep itself: an ordinary caller hands down nothing
};

/// Tries all that the plan asks for, in processes of its own. The rows are the families, with
/// "tried", "seen" (to have taken effect), "excepted" and "broken"; that of an exception counts the
/// situations that "claimed" it. Throws std::runtime_error when it cannot be done.
Tally sweepInherited(const InheritedPlan& plan);

#endif
