#ifndef TANEXICS_OUTCOME_REASON_H
#define TANEXICS_OUTCOME_REASON_H

#include "tools/outcome/run.h"

namespace outcome {

/// Why nothing can be said of a run although its own lines might decide.
enum class Doubt {
  kNone,
  kTorn,      ///< its lines cannot be told from those of runs at the same time
  kDisputed,  ///< another run began under its process id before it had ended
};

/// One sentence for people: why `run` has its verdict. `run.reason` is the line that says why
/// nothing was sent, if the log has one.
std::string reasonOf(const Run& run, Doubt doubt);

}  // namespace outcome

#endif
