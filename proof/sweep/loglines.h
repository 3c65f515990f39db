#ifndef TANEXICS_PROOF_SWEEP_LOGLINES_H
#define TANEXICS_PROOF_SWEEP_LOGLINES_H

#include <string>
#include <vector>

#include "sweep/trace.h"

/// One line that the command set out to log, as the tracer saw it.
struct LogLine {
  bool isOpened = true;             // false when the log could not be opened for it
  int openError = 0;                // why not
  std::vector<std::string> pieces;  // what was to be written: head, message, line feed
};

/// Every line that the command set out to log, in order.
std::vector<LogLine> intendedLines(const Trace& trace);

/// The message of a line, with process ids, times and generated names made equal; empty when the
/// line could not be opened, or its pieces were not written.
std::string messageOf(const LogLine& line);

/// The messages of all lines.
std::vector<std::string> messagesOf(const std::vector<LogLine>& lines);

/// Whether the head has its shape, and the process id is `pid`.
bool isHead(const std::string& piece, int pid);

/// A text with process ids, times and generated names made equal.
std::string normalised(const std::string& text);

/// What the log and its backup must hold after the calls that were made, byte by byte.
struct LogContents {
  std::string log;
  std::string backup;  // what was there to copy when the last copy began
  bool isBackedUp = false;
};
LogContents contentsAfter(const Trace& trace, const std::string& before);

#endif
