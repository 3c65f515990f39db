#include "sweep/judge.h"

#include <sys/syscall.h>

#include <algorithm>

#include "sweep/reading.h"

namespace {

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

}  // namespace

void judgeRemains(const Case& subject) {
  judgeTemporary(subject);
  subject.expect(subject.run.inputs == subject.reference.inputs,
                 "6: something changed outside log, backup and temporary area");
  judgeChildren(subject);
}
