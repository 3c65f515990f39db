#ifndef TANEXICS_PROOF_SWEEP_AREAS_H
#define TANEXICS_PROOF_SWEEP_AREAS_H

#include <string>

#include "sweep/scenario.h"
#include "sweep/trace.h"

/// What a fault can touch. One bit each, so that a run's faults are a sum.
enum Area : unsigned {
  kNoArea = 0,
  kLog = 1U << 0,         // the command's own calls on the action log
  kList = 1U << 1,        // the send-file list
  kDefinition = 1U << 2,  // the event definition file
  kExcerpt = 1U << 3,     // the log extract that the notification quotes
  kSentFile = 1U << 4,    // the size of a file to send
  kHostName = 1U << 5,    // uname and its shell
  kTempDir = 1U << 6,     // the name of the temporary directory, mkdir and its shell
  kCollection = 1U << 7,  // the collection commands
  kRemoval = 1U << 8,     // rm and its shell
  kRotation = 1U << 9,    // cp and its shell, and the truncation
  kOutput = 1U << 10,     // standard output
  kErrors = 1U << 11,     // standard error
  kTimeZone = 1U << 12,   // the local time
  kMemory = 1U << 13,     // mmap and brk of the command itself
  kStart = 1U << 14       // the look at the standard descriptors
};

/// The area of the command line that a shell was given.
Area areaOfShell(const std::string& shell);

/// All that the faults of `run` have touched. The undisturbed run tells what a child would have
/// been that never came to be. Throws std::runtime_error for a call that belongs to no area: a new
/// kind of call wants a decision.
unsigned touchedAreas(const Trace& run, const Trace& reference);

/// The area of one call.
Area areaOfCall(const Trace& run, std::size_t call, const Trace& reference);

#endif
