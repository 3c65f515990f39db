#include "sweep/judge.h"

#include <sys/syscall.h>

#include <algorithm>
#include <cstring>
#include <nlohmann/json.hpp>
#include <set>

namespace {

using Json = nlohmann::json;

// --- end and streams -----------------------------------------------------------------------------

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

/// Standard error with what programs of others say of their own failures left out. They write a
/// line in several pieces, so that one of the command's may stand in its middle.
std::string withoutForeignText(const std::string& text) {
  std::string own;
  for (const std::string& line : splitLines(text)) {
    const std::size_t begin = line.find("*** ");
    if (begin != std::string::npos) own += line.substr(begin) + "\n";
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
      isChildHit ? withoutForeignText(subject.run.errors) : subject.run.errors;
  const std::string owed = owedErrors(subject.run.trace);
  // What standard error refuses is lost with the line that it stands for.
  const bool isRight = subject.touched(kErrors) ? isPartOf(errors, owed) : errors == owed;
  subject.expect(isRight, "4: standard error is: " + errors);
}

// --- exchanges -----------------------------------------------------------------------------------

std::string withoutHostName(const std::string& text) {
  static const std::string head = "HOSTNAME=\"";
  const std::size_t at = text.find(head);
  if (at == std::string::npos) return text;
  const std::size_t begin = at + head.size();
  return text.substr(0, begin) + text.substr(text.find('"', begin));
}

std::string withoutExcerpt(const std::string& text) {
  const std::size_t comma = text.rfind(",\"");
  return comma == std::string::npos ? text : text.substr(0, comma + 1);
}

/// Whether the notification's text is that of the undisturbed run, or lacks what was touched.
bool isText(const Case& subject, const std::string& expected, const std::string& text) {
  if (text == expected) return true;
  if (subject.touched(kHostName) && text == withoutHostName(expected)) return true;
  return subject.touched(kExcerpt) && text == withoutExcerpt(expected);
}

/// Whether the calls are the same, the numbers of the copies aside.
bool isSame(const Case& subject, Json expected, Json record) {
  if (!expected.is_object() || !record.is_object()) return false;
  if (expected.contains("text") && record.contains("text") && expected["text"].is_string() &&
      record["text"].is_string()) {
    if (!isText(subject, expected["text"], record["text"])) return false;
    record["text"] = expected["text"];
  }
  return expected == record;
}

void judgeCopies(const Case& subject, const std::vector<Json>& records) {
  for (const Json& record : records) {
    if (!record.is_object() || !record.contains("items")) continue;
    for (const Json& item : record["items"]) {
      if (!item.contains("copy")) continue;
      std::string path = item.value("path", "");
      if (path.front() != '/') path = std::string(kCaseFolder) + "/" + path;
      const auto copy = subject.run.items.find(item.value("copy", ""));
      const auto sent = subject.run.inputs.find(path);
      subject.expect(copy != subject.run.items.end() && sent != subject.run.inputs.end() &&
                         copy->second == sent->second,
                     "6: what was sent is not what lies in " + path);
    }
  }
}

void judgeExchanges(const Case& subject) {
  // The process that ends where it stands cannot stop communication any more.
  const bool isCut = isEndOfPipes(subject.run.trace);
  const Ending ownEnd = isTerminated(subject.run) ? Ending::kTerminated : Ending::kWhole;
  const Ending ending = isCut ? Ending::kCut : ownEnd;
  subject.findings.take(judgeOrder(subject.run.record, subject.scenario, ending));
  const std::vector<Json> expected = recordsOf(subject.reference.record);
  const std::vector<Json> records = recordsOf(subject.run.record);
  judgeCopies(subject, records);
  // A terminated run lets go of its line in turn, which is all that is asked of it.
  if (isTerminated(subject.run)) return;
  const bool isWhole = records.size() == expected.size() ||
                       (records.empty() && isRejected(subject)) ||
                       (isCut && records.size() < expected.size());
  subject.expect(isWhole, "3: " + std::to_string(records.size()) +
                              " calls of the library instead of " +
                              std::to_string(expected.size()));
  for (std::size_t at = 0; at < records.size() && at < expected.size(); ++at) {
    subject.expect(
        isSame(subject, expected[at], records[at]),
        "3: call " + std::to_string(at + 1) + " of the library is " + records[at].dump());
  }
}

// --- what remains --------------------------------------------------------------------------------

bool isHitIn(const Trace& trace, int process) {
  return std::any_of(trace.calls.begin(), trace.calls.end(),
                     [process](const Call& call) { return call.isHit && call.process == process; });
}

/// Whether the directory came to be although the command was told that it did not: mkdir failed
/// after the making, or could not be waited for. Nobody knows of such a one any more.
bool isGivenUp(const Trace& trace, const std::string& path) {
  const std::string command = "mkdir -p " + path + " 2>/dev/null";
  return std::any_of(trace.processes.begin(), trace.processes.end(), [&](const Process& process) {
    return process.parent == 0 && process.shell == command &&
           (!process.isReaped || process.waitStatus != 0);
  });
}

void judgeTemporary(const Case& subject) {
  const Trace& trace = subject.run.trace;
  // rm that fails, and a process that ends where it stands.
  const bool isExcused = subject.touched(kRemoval) || isEndOfPipes(trace);
  if (isExcused || keepsItems(subject.scenario)) return;
  for (const std::string& path : subject.run.temporary) {
    subject.expect(isGivenUp(trace, path), "6: left behind: " + path);
  }
}

/// Whether the command has waited for the shell that the process belongs to.
bool isReaped(const Trace& trace, const Process& process) {
  const Process* shell = &process;
  while (shell->parent > 0) shell = &trace.process(shell->parent);
  return shell->isReaped;
}

void judgeChildren(const Case& subject) {
  const Trace& trace = subject.run.trace;
  // A child that could not be waited for, or whose output has no stream, is left to itself.
  const bool isLeftAlone =
      std::any_of(trace.calls.begin(), trace.calls.end(), [](const Call& call) {
        return call.isHit && call.process == 0 &&
               (call.kind == SYS_wait4 || call.kind == SYS_fcntl);
      });
  const bool isExcused = isLeftAlone || isTerminated(subject.run);
  for (const int number : trace.leftRunning) {
    const Process& process = trace.process(number);
    // A shell that could not wait for its program is gone before it.
    const bool isOfShell = process.parent > 0 && isHitIn(trace, process.parent);
    const bool isLeft = isExcused && !isReaped(trace, process);
    subject.expect(isLeft || isOfShell, "6: runs on: " + process.program);
  }
  for (const Process& process : trace.processes) {
    subject.expect(process.parent != 0 || process.isReaped || isExcused,
                   "6: nobody waited for " + process.shell);
  }
  for (int number = 0; number < static_cast<int>(trace.processes.size()); ++number) {
    const Process& process = trace.process(number);
    // What a shell keeps for itself when its own calls fail is not the command's doing.
    if (process.parent > 0 && (isHitIn(trace, process.parent) || isHitIn(trace, number))) continue;
    subject.expect(process.leaked.empty(),
                   "6: descriptors open in " + process.program + ": " + process.leaked);
  }
}

void judgeRemains(const Case& subject) {
  judgeTemporary(subject);
  subject.expect(subject.run.inputs == subject.reference.inputs,
                 "6: something changed outside log, backup and temporary area");
  judgeChildren(subject);
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
