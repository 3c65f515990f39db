#ifndef TANEXICS_PROOF_SWEEP_JUDGE_H
#define TANEXICS_PROOF_SWEEP_JUDGE_H

#include <string>
#include <vector>

#include "core/judge.h"

// --- what can be read from the calls of a run ---------------------------------------------------

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

// --- what must hold of it -----------------------------------------------------------------------

/// One run before its judge.
struct Case {
  const Scenario& scenario;
  const Outcome& reference;  // the undisturbed run of the scenario
  const Outcome& run;
  unsigned areas = 0;  // what the faults of the run have touched
  Findings& findings;  // out: each broken promise, its number first

  bool touched(unsigned some) const { return (areas & some) != 0; }
  void expect(bool isKept, const std::string& what) const { findings.expect(isKept, what); }
};

/// Judges a disturbed run by all seven promises.
Findings judge(const Scenario& scenario, const Outcome& reference, const Outcome& run);

/// Judges the undisturbed run itself: by what is known of the scenario beforehand, and by a second
/// run of the same.
Findings judgeReference(const Scenario& scenario, const Outcome& first, const Outcome& second);

/// Whether the command ended at once, with status 1, because a pipe failed under `s_popen`: nothing
/// that would have come later happens then.
bool isEndOfPipes(const Trace& run);

/// Whether input that could not be read was rejected: nothing follows but the end.
bool isRejected(const Case& subject);

/// The fourth promise, in a file of its own.
void judgeLog(const Case& subject);

#endif
