#include "sweep/judge.h"

#include <sys/syscall.h>

#include <algorithm>
#include <cstring>
#include <set>

#include "core/loglines.h"
#include "sweep/reading.h"

namespace {

/// The statuses with which a run may end whose faults touched these areas.
std::set<int> allowedStatuses(const Case& subject) {
  std::set<int> allowed = {subject.scenario.status};
  // Input that cannot be read whole is rejected.
  if (subject.touched(kList | kDefinition)) allowed.insert(kRejected);
  // A directory that cannot be made has its own status, however the transmission went.
  if (subject.touched(kTempDir)) allowed.insert(kNoTempDir);
  // A system without pipes: the process ends where it stands.
  if (isEndOfPipes(subject.run.trace)) allowed.insert(1);
  return allowed;
}

void judgeFrame(const Case& subject) {
  const Trace& trace = subject.run.trace;
  const std::vector<IntendedLine> lines = intendedLines(trace);
  const std::string program = kCommandFile;
  // The pipe of a rotation comes before the line for which the log is rotated.
  subject.expect(!lines.empty() || isEndOfPipes(trace), "2: no line at all");
  if (lines.empty()) return;
  if (lines.front().isOpened) {
    subject.expect(messageOf(lines.front()) == "### main : " + program + " started.",
                   "2: the first line is: " + messageOf(lines.front()));
  }
  if (isEndOfPipes(trace) || isTerminated(subject.run)) return;
  subject.expect(lines.size() >= 3, "2: start, elapsed time and exit are not all there");
  if (lines.size() < 3) return;
  const IntendedLine& elapsed = lines[lines.size() - 2];
  const IntendedLine& last = lines.back();
  if (elapsed.isOpened) {
    subject.expect(messageOf(elapsed) == "ELAPSED:range='executing tanexics', time='*'",
                   "2: before the exit line stands: " + messageOf(elapsed));
  }
  if (last.isOpened) {
    const std::string expected =
        "### main : " + program + " exit. code = " + std::to_string(exitStatusOf(trace.waitStatus));
    subject.expect(messageOf(last) == expected, "2: " + endText(trace.waitStatus) +
                                                    ", but the last line is: " + messageOf(last));
  }
}

/// What is fixed for a command line that cannot be run: without a pipe the process ends where it
/// stands, but for the host name, for which it goes on; a shell that cannot be started has ended
/// with 0, and with 1 for the host name.
void judgeShells(const Case& subject) {
  const Trace& trace = subject.run.trace;
  for (std::size_t at = 0; at < trace.calls.size(); ++at) {
    const Call& call = trace.calls[at];
    const Process& process = trace.process(call.process);
    const bool isPipe = call.kind == SYS_pipe2 && call.process == 0;
    const bool isShell = call.kind == SYS_execve && process.parent == 0;
    if (!call.isHit || !(isPipe || isShell)) continue;
    const bool isHostName = areaOfCall(trace, at, subject.reference.trace) == kHostName;
    if (isPipe) {
      subject.expect(isHostName || isEndOfPipes(trace), "1: the command went on without a pipe");
    } else {
      subject.expect(exitStatusOf(process.waitStatus) == (isHostName ? 1 : 0),
                     "1: a shell that was not started ended with " + endText(process.waitStatus));
    }
  }
}

void judgeOutput(const Case& subject) {
  const Trace& trace = subject.run.trace;
  const bool isCut = subject.touched(kCollection | kOutput | kTempDir) || isRejected(subject) ||
                     isEndOfPipes(trace) || isTerminated(subject.run);
  const std::string& output = subject.run.output;
  const std::string& whole = subject.reference.output;
  subject.expect(isCut ? isPartOf(output, whole) : output == whole,
                 "5: standard output is: " + output);
}

/// The lines that the command owes standard error for those that it could not log.
std::string owedErrors(const Trace& trace) {
  std::string text;
  for (const IntendedLine& line : intendedLines(trace)) {
    if (line.isOpened) continue;
    text += std::string("*** failed to open(") + kActionLog + "):" + std::strerror(line.openError) +
            "\n";  // NOLINT(concurrency-mt-unsafe): one thread
  }
  return text;
}

/// Standard error with what programs of others say of their own failures left out.
std::string withoutForeignLines(const std::string& text) {
  std::string own;
  for (const std::string& line : splitLines(text)) {
    if (line.find("*** ") == 0) own += line + "\n";
  }
  return own;
}

void judgeEnd(const Case& subject) {
  const Trace& trace = subject.run.trace;
  subject.expect(!trace.isTimedOut, "1: the run did not end in time");
  if (trace.isTimedOut) return;
  // Memory that is not to be had is the one fault that nobody catches.
  const bool isAllowed = isTerminated(subject.run)
                             ? subject.touched(kMemory)
                             : allowedStatuses(subject).count(exitStatusOf(trace.waitStatus)) != 0;
  subject.expect(isAllowed, "1: ended with " + endText(trace.waitStatus));
  judgeFrame(subject);
  judgeShells(subject);
}

void judgeStreams(const Case& subject) {
  judgeOutput(subject);
  // The runtime tells standard error why it terminates.
  if (isTerminated(subject.run)) return;
  const std::vector<Call>& calls = subject.run.trace.calls;
  const bool isChildHit = std::any_of(
      calls.begin(), calls.end(), [](const Call& call) { return call.isHit && call.process != 0; });
  const std::string errors =
      isChildHit ? withoutForeignLines(subject.run.errors) : subject.run.errors;
  const std::string owed = owedErrors(subject.run.trace);
  // What standard error refuses is lost with the line that it stands for.
  const bool isRight = subject.touched(kErrors) ? isPartOf(errors, owed) : errors == owed;
  subject.expect(isRight, "4: standard error is: " + errors);
}

}  // namespace

bool isEndOfPipes(const Trace& run) {
  const auto last = std::find_if(run.calls.rbegin(), run.calls.rend(),
                                 [](const Call& call) { return call.process == 0; });
  return last != run.calls.rend() && last->isHit && last->kind == SYS_pipe2 &&
         exitStatusOf(run.waitStatus) == 1;
}

bool isRejected(const Case& subject) {
  return subject.touched(kList | kDefinition) &&
         exitStatusOf(subject.run.trace.waitStatus) == kRejected;
}

Findings judge(const Scenario& scenario, const Outcome& reference, const Outcome& run) {
  Findings findings;
  const unsigned areas = touchedAreas(run.trace, reference.trace);
  const Case subject = {scenario, reference, run, areas, findings};
  judgeEnd(subject);
  judgeExchanges(subject);
  judgeLog(subject);
  judgeStreams(subject);
  judgeRemains(subject);
  return findings;
}

Findings judgeReference(const Scenario& scenario, const Outcome& first, const Outcome& second) {
  Findings findings = judge(scenario, first, first);
  const int exchanges = countExchanges(first.record);
  findings.expect(exchanges == scenario.exchanges,
                  "3: " + std::to_string(exchanges) + " exchanges");
  for (const long number : first.trace.undecided) {
    findings.expect(false, "0: nobody decided about system call " + std::to_string(number));
  }
  findings.expect(first.output == scenario.output, "5: standard output is: " + first.output);
  findings.expect(first.errors.empty(), "5: standard error is: " + first.errors);
  findings.expect(messagesOf(first.trace) == messagesOf(second.trace),
                  "7: two undisturbed runs differ in their logs");
  findings.expect(normalised(first.record) == normalised(second.record),
                  "7: two undisturbed runs differ in their exchanges");
  findings.expect(first.trace.calls.size() == second.trace.calls.size(),
                  "7: two undisturbed runs differ in their calls");
  return findings;
}
