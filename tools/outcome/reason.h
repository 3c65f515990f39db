#ifndef TANEXICS_OUTCOME_REASON_H
#define TANEXICS_OUTCOME_REASON_H

#include "tools/outcome/readable.h"
#include "tools/outcome/run.h"

namespace outcome {

/// One sentence: why `run` has its verdict, in English and with the bytes of the log. `run.reason`
/// is the line that says why nothing was sent, if the log has one.
std::string reasonOf(const Run& run);

/// The same for people: in the language that is spoken, and `readable`. Of a run whose reason is
/// known, also as it stands in `run.reason`.
std::string shownReasonOf(const Run& run, Encoding encoding);

}  // namespace outcome

#endif
