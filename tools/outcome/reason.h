#ifndef TANEXICS_OUTCOME_REASON_H
#define TANEXICS_OUTCOME_REASON_H

#include "tools/outcome/readable.h"
#include "tools/outcome/run.h"

namespace outcome {

/// One sentence: why `run` has its verdict, in English and with the bytes of the log. `run.reason`
/// is the line that says why nothing was sent, if the log has one.
std::string reasonOf(const Run& run);

/// The same in the language that is spoken, of a run whose reason is known.
std::string translatedReasonOf(const Run& run);

/// The same for people: `readable` too.
std::string shownReasonOf(const Run& run, Encoding encoding);

}  // namespace outcome

#endif
