#ifndef TANEXICS_PROOF_SWEEP_JUDGE_PLAIN_H
#define TANEXICS_PROOF_SWEEP_JUDGE_PLAIN_H

#include <string>
#include <vector>

#include "sweep/trial.h"

// What must hold of a run that no tracer has watched. What is broken goes to `broken`, with the
// number of the promise.

/// Notes `what` unless it is kept.
void demand(bool isKept, const std::string& what, std::vector<std::string>& broken);

/// The log must hold whole lines that all belong to the command.
void judgePlainLog(const Outcome& run, std::vector<std::string>& broken);

/// The last line must be the exit line of the status, where the command came to an end of its own.
void judgePlainEnd(const Outcome& run, std::vector<std::string>& broken);

/// Input files and /opt are as they were.
void judgePlainInputs(const Reference& reference, const Outcome& run,
                      std::vector<std::string>& broken);

/// Nothing but what the collection commands print, or less where one was not run or its output not
/// read.
void judgePlainOutput(const Reference& reference, const Outcome& run,
                      std::vector<std::string>& broken);

/// No temporary item is left, but where the command was told that it could not be made, or the
/// memory to remove it was not to be had.
void judgePlainTemporary(const Reference& reference, const Outcome& run,
                         std::vector<std::string>& broken);

/// All that is left to promise where memory is refused to the command, or to what it starts: a
/// status of the table, or std::terminate with communication stopped and whole lines in the log.
void judgeShortOfMemory(const Reference& reference, const Outcome& run,
                        std::vector<std::string>& broken);

#endif
