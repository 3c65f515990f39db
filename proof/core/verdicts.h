#ifndef TANEXICS_PROOF_CORE_VERDICTS_H
#define TANEXICS_PROOF_CORE_VERDICTS_H

#include <map>
#include <string>

#include "core/judge.h"

// What the log says of a run against the record of its exchanges.

/// How many runs of each truth have each verdict: by truth, then by verdict.
using VerdictCounts = std::map<std::string, std::map<std::string, int>>;

/// Reads the log of a run, the backup in front of it, and notes where a verdict contradicts the
/// record: the eighth promise. Where `isExact` the verdict must be the one that the record has.
/// `counts` gets the verdict; of a run without a line in the log it is "no run".
Findings judgeVerdict(const Scenario& scenario, const Outcome& run, bool isExact,
                      VerdictCounts& counts);

/// Prints the table of all verdicts and the share that is unknown. Returns whether it is a tenth at
/// most of the runs in whose log something is told and whose fault did not hit the log itself: what
/// was kept from being written there, nobody can read.
bool printVerdicts(const VerdictCounts& counts);

#endif
