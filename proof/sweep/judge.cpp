#include "sweep/judge.h"

#include <sys/syscall.h>

#include <csignal>
#include <set>

#include "sweep/areas.h"
#include "sweep/ending.h"
#include "sweep/loglines.h"

namespace {

const Call* lastOfCommand(const Trace& run) {
  for (auto call = run.calls.rbegin(); call != run.calls.rend(); ++call) {
    if (call->process == 0) return &*call;
  }
  return nullptr;
}

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
  const std::vector<LogLine> lines = intendedLines(trace);
  const std::string program = kCommandFile;
  // The pipe of a rotation comes before the line for which the log is rotated.
  subject.expect(!lines.empty() || isEndOfPipes(trace), 2, "no line at all");
  if (lines.empty()) return;
  if (lines.front().isOpened) {
    subject.expect(messageOf(lines.front()) == "### main : " + program + " started.", 2,
                   "the first line is: " + messageOf(lines.front()));
  }
  if (isEndOfPipes(trace) || isTerminated(trace)) return;
  subject.expect(lines.size() >= 3, 2, "start, elapsed time and exit are not all there");
  if (lines.size() < 3) return;
  const LogLine& elapsed = lines[lines.size() - 2];
  const LogLine& last = lines.back();
  if (elapsed.isOpened) {
    subject.expect(messageOf(elapsed) == "ELAPSED:range='executing tanexics', time='*'", 2,
                   "before the exit line stands: " + messageOf(elapsed));
  }
  if (last.isOpened) {
    const std::string expected =
        "### main : " + program + " exit. code = " + std::to_string(exitStatusOf(trace.waitStatus));
    subject.expect(messageOf(last) == expected, 2,
                   endText(trace.waitStatus) + ", but the last line is: " + messageOf(last));
  }
}

/// What is fixed for a command line that cannot be run: without a pipe the process ends where it
/// stands, but for the host name, for which it goes on; a shell that cannot be started has ended
/// with 0, and with 1 for the host name.
void judgeShells(const Case& subject) {
  const Trace& trace = subject.run.trace;
  for (std::size_t at = 0; at < trace.calls.size(); ++at) {
    const Call& call = trace.calls[at];
    const Process& process = trace.processes.at(static_cast<std::size_t>(call.process));
    const bool isPipe = call.kind == SYS_pipe2 && call.process == 0;
    const bool isShell = call.kind == SYS_execve && process.parent == 0;
    if (!call.isHit || !(isPipe || isShell)) continue;
    const bool isHostName = areaOfCall(trace, at, subject.reference.trace) == kHostName;
    if (isPipe) {
      subject.expect(isHostName || isEndOfPipes(trace), 1, "the command went on without a pipe");
    } else {
      subject.expect(exitStatusOf(process.waitStatus) == (isHostName ? 1 : 0), 1,
                     "a shell that was not started ended with " + endText(process.waitStatus));
    }
  }
}

}  // namespace

bool isEndOfPipes(const Trace& run) {
  const Call* last = lastOfCommand(run);
  return last != nullptr && last->isHit && last->kind == SYS_pipe2 &&
         exitStatusOf(run.waitStatus) == 1;
}

bool isRejected(const Case& subject) {
  return subject.touched(kList | kDefinition) &&
         exitStatusOf(subject.run.trace.waitStatus) == kRejected;
}

bool isTerminated(const Trace& run) { return signalOf(run.waitStatus) == SIGABRT; }

void judgeEnd(const Case& subject) {
  const Trace& trace = subject.run.trace;
  subject.expect(!trace.isTimedOut, 1, "the run did not end in time");
  if (trace.isTimedOut) return;
  // Memory that is not to be had is the one fault that nobody catches.
  const bool isAllowed = isTerminated(trace)
                             ? subject.touched(kMemory)
                             : allowedStatuses(subject).count(exitStatusOf(trace.waitStatus)) != 0;
  subject.expect(isAllowed, 1, "ended with " + endText(trace.waitStatus));
  judgeFrame(subject);
  judgeShells(subject);
}

std::vector<std::string> judge(const Scenario& scenario, const Outcome& reference,
                               const Outcome& run) {
  std::vector<std::string> broken;
  const Case subject = {scenario, reference, run, touchedAreas(run.trace, reference.trace), broken};
  judgeEnd(subject);
  judgeExchanges(subject);
  judgeLog(subject);
  judgeStreams(subject);
  judgeRemains(subject);
  return broken;
}

std::vector<std::string> judgeReference(const Scenario& scenario, const Outcome& first,
                                        const Outcome& second) {
  std::vector<std::string> broken = judge(scenario, first, first);
  const Case subject = {scenario, first, second, kNoArea, broken};
  subject.expect(countExchanges(first.record) == scenario.exchanges, 3,
                 std::to_string(countExchanges(first.record)) + " exchanges");
  for (const long number : first.trace.undecided) {
    subject.expect(false, 0, "nobody decided about system call " + std::to_string(number));
  }
  subject.expect(first.output == scenario.output, 5, "standard output is: " + first.output);
  subject.expect(first.errors.empty(), 5, "standard error is: " + first.errors);
  subject.expect(messagesOf(intendedLines(first.trace)) == messagesOf(intendedLines(second.trace)),
                 7, "two undisturbed runs differ in their logs");
  subject.expect(normalised(first.record) == normalised(second.record), 7,
                 "two undisturbed runs differ in their exchanges");
  subject.expect(first.trace.calls.size() == second.trace.calls.size(), 7,
                 "two undisturbed runs differ in their calls");
  return broken;
}
