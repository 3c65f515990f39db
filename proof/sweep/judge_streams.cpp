#include "sweep/judge.h"

#include <cstring>
#include <sstream>

#include "sweep/areas.h"
#include "sweep/loglines.h"

namespace {

std::vector<std::string> splitLines(const std::string& text) {
  std::vector<std::string> lines;
  std::istringstream stream(text);
  for (std::string line; std::getline(stream, line);) lines.push_back(line);
  return lines;
}

void judgeOutput(const Case& subject) {
  const Trace& trace = subject.run.trace;
  const bool isCut = subject.touched(kCollection | kOutput | kTempDir) || isRejected(subject) ||
                     isEndOfPipes(trace) || isTerminated(trace);
  if (isCut) {
    subject.expect(isPartOf(subject.run.output, subject.reference.output), 5,
                   "standard output is: " + subject.run.output);
  } else {
    subject.expect(subject.run.output == subject.reference.output, 5,
                   "standard output is: " + subject.run.output);
  }
}

/// The lines that the command owes standard error for those that it could not log.
std::string owedErrors(const Trace& trace) {
  std::string text;
  for (const LogLine& line : intendedLines(trace)) {
    if (line.isOpened) continue;
    text += std::string("*** failed to open(") + kActionLog + "):" + std::strerror(line.openError) +
            "\n";  // NOLINT(concurrency-mt-unsafe): one thread
  }
  return text;
}

bool isChildHit(const Trace& trace) {
  for (const Call& call : trace.calls) {
    if (call.isHit && call.process != 0) return true;
  }
  return false;
}

/// Standard error with what programs of others say of their own failures left out.
std::string withoutForeignLines(const std::string& text) {
  std::string own;
  for (const std::string& line : splitLines(text)) {
    if (line.find("*** ") == 0) own += line + "\n";
  }
  return own;
}

}  // namespace

bool isPartOf(const std::string& text, const std::string& whole) {
  const std::vector<std::string> expected = splitLines(whole);
  std::size_t at = 0;
  for (const std::string& line : splitLines(text)) {
    while (at < expected.size() && expected[at].find(line) == std::string::npos) ++at;
    if (at == expected.size()) return false;
    ++at;
  }
  return true;
}

void judgeStreams(const Case& subject) {
  judgeOutput(subject);
  // The runtime tells standard error why it terminates.
  if (isTerminated(subject.run.trace)) return;
  const std::string errors =
      isChildHit(subject.run.trace) ? withoutForeignLines(subject.run.errors) : subject.run.errors;
  const std::string owed = owedErrors(subject.run.trace);
  // What standard error refuses is lost with the line that it stands for.
  const bool isRight = subject.touched(kErrors) ? isPartOf(errors, owed) : errors == owed;
  subject.expect(isRight, 4, "standard error is: " + errors);
}
