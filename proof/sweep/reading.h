#ifndef TANEXICS_PROOF_SWEEP_READING_H
#define TANEXICS_PROOF_SWEEP_READING_H

#include <string>
#include <vector>

#include "core/trace.h"

// What can be read from the calls of a run.

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

/// All that the faults of `run` have touched. The undisturbed run tells what a child would have
/// been that never came to be. Throws std::runtime_error for a call that belongs to no area: a new
/// kind of call wants a decision.
unsigned touchedAreas(const Trace& run, const Trace& reference);

/// The area of one call.
Area areaOfCall(const Trace& run, std::size_t call, const Trace& reference);

/// One line that the command set out to log.
struct IntendedLine {
  bool isOpened = true;             // false when the log could not be opened for it
  int openError = 0;                // why not
  std::vector<std::string> pieces;  // what was to be written: head, message, line feed
};

/// Every line that the command set out to log, in order.
std::vector<IntendedLine> intendedLines(const Trace& trace);

/// The message of a line, with process ids, times and generated names made equal; empty when the
/// line could not be opened, or its pieces were not written.
std::string messageOf(const IntendedLine& line);

/// The messages of all lines that the command set out to log.
std::vector<std::string> messagesOf(const Trace& trace);

/// What the log and its backup must hold after the calls that were made, byte by byte.
struct LogContents {
  std::string log;
  std::string backup;  // what was there to copy when the last copy began
};
LogContents contentsAfter(const Trace& trace, const std::string& before);

#endif
