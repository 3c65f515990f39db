#include <sys/syscall.h>

#include <stdexcept>

#include "core/calls.h"
#include "core/loglines.h"
#include "core/scenario.h"
#include "sweep/judge.h"

namespace {

bool contains(const std::string& text, const std::string& part) {
  return text.find(part) != std::string::npos;
}

bool isPipe(const Call& call) { return call.kind == SYS_pipe2 || call.kind == SYS_pipe; }

/// A shell of the command. Every one begins with a pipe.
struct Shell {
  std::size_t pipe;  // the place of its call
  int child = 0;     // the process that came of it, 0 when none did
};

std::vector<Shell> shellsOf(const Trace& run) {
  std::vector<Shell> shells;
  for (std::size_t at = 0; at < run.calls.size(); ++at) {
    const Call& call = run.calls[at];
    if (call.process != 0) continue;
    if (isPipe(call)) shells.push_back({at});
    if (makesProcess(call.kind) && !shells.empty()) shells.back().child = call.child;
  }
  return shells;
}

/// The area of the command line that a shell was given, kNoArea for any other.
Area findArea(const std::string& shell) {
  if (beginsWith(shell, "cp -f")) return kRotation;
  if (beginsWith(shell, "uname")) return kHostName;
  if (beginsWith(shell, "mkdir")) return kTempDir;
  if (beginsWith(shell, "/opt/dovra")) return kCollection;
  return beginsWith(shell, "/bin/rm") ? kRemoval : kNoArea;
}

/// The same; throws where there is none.
Area areaOfShell(const std::string& shell) {
  const Area area = findArea(shell);
  if (area == kNoArea) throw std::runtime_error("a shell that belongs to no area: " + shell);
  return area;
}

/// The area of the shell that a call of the command serves. The undisturbed run tells what a shell
/// would have been that never came to be.
Area areaOfShellCall(const Trace& run, std::size_t call, const Trace& reference) {
  const std::vector<Shell> shells = shellsOf(run);
  std::size_t number = shells.size();
  while (number > 0 && shells[number - 1].pipe > call) --number;
  if (number == 0) throw std::runtime_error("a call belongs to a shell before there is any");
  const int child = shells[number - 1].child;
  if (child != 0) return areaOfShell(run.process(child).shell);
  const std::vector<Shell> usual = shellsOf(reference);
  // After the last shell of the undisturbed run there are only repeated attempts at a directory.
  if (number > usual.size()) return kTempDir;
  return areaOfShell(reference.process(usual[number - 1].child).shell);
}

bool isOnShell(const Call& call) {
  return isPipe(call) || makesProcess(call.kind) || call.kind == SYS_wait4 ||
         beginsWith(call.target, "pipe:") ||
         (call.target.empty() && (call.kind == SYS_close || call.kind == SYS_fcntl));
}

Area areaOfPath(const Call& call) {
  const std::string& path = call.target;
  if (path == kActionLog) return call.kind == SYS_truncate ? kRotation : kLog;
  if (path == kOutputFile) return kOutput;
  if (path == kErrorFile) return kErrors;
  if (path == "/dev/null") return kStart;
  if (path == "/etc/localtime" || contains(path, "/zoneinfo/")) return kTimeZone;
  if (beginsWith(path, "/tmp")) return kTempDir;
  if (contains(path, "definition")) return kDefinition;
  if (path == "list" || contains(path, "/list") || contains(path, "no-list")) return kList;
  const bool isExamined = call.kind == SYS_newfstatat || call.kind == SYS_stat;
  if (contains(path, ".syslog.txt") && !isExamined) return kExcerpt;
  if (beginsWith(path, kCaseFolder) || path == "first") return kSentFile;
  return kNoArea;
}

/// A collection command that could not be waited for may still write into the directory that is
/// being removed: rm fails then, although no call of its own was made to.
bool isRemovalOvertaken(const Trace& run) {
  bool isLeftRunning = false;
  bool isRefused = false;
  for (const Process& process : run.processes) {
    if (process.parent != 0) continue;
    const Area area = findArea(process.shell);
    isLeftRunning |= area == kCollection && !process.isReaped;
    isRefused |= area == kRemoval && process.waitStatus != 0;
  }
  return isLeftRunning && isRefused;
}

bool isOfLog(const Call& call) { return call.process == 0 && call.target == kActionLog; }

std::size_t acceptedBytes(const Call& call) {
  if (!call.isHit) return call.bytes.size();
  return call.error == kShortCount ? call.bytes.size() / 2 : 0;
}

}  // namespace

Area areaOfCall(const Trace& run, std::size_t at, const Trace& reference) {
  const Call& call = run.calls.at(at);
  if (call.process != 0) {
    return areaOfShell(run.process(call.process).shell);
  }
  if (call.kind == SYS_mmap || call.kind == SYS_brk || call.kind == SYS_mremap) return kMemory;
  if (call.kind == SYS_poll) return kStart;
  if (isOnShell(call)) return areaOfShellCall(run, at, reference);
  const Area area = areaOfPath(call);
  if (area == kNoArea) {
    throw std::runtime_error("a call that belongs to no area: " +
                             std::string(findCall(call.kind)->name) + " " + call.target);
  }
  return area;
}

unsigned touchedAreas(const Trace& run, const Trace& reference) {
  unsigned areas = kNoArea;
  for (std::size_t at = 0; at < run.calls.size(); ++at) {
    if (run.calls[at].isHit) areas |= areaOfCall(run, at, reference);
  }
  if (isRemovalOvertaken(run)) areas |= kRemoval;
  return areas;
}

std::vector<IntendedLine> intendedLines(const Trace& trace) {
  std::vector<IntendedLine> lines;
  for (const Call& call : trace.calls) {
    if (!isOfLog(call)) continue;
    if (call.kind == SYS_openat || call.kind == SYS_open) {
      lines.emplace_back();
      lines.back().isOpened = !call.isHit;
      lines.back().openError = call.error;
    } else if (call.kind == SYS_write && !lines.empty()) {
      lines.back().pieces.push_back(call.bytes);
    }
  }
  return lines;
}

std::string messageOf(const IntendedLine& line) {
  return line.pieces.size() < 2 ? "" : normalised(line.pieces[1]);
}

Texts messagesOf(const Trace& trace) {
  Texts messages;
  for (const IntendedLine& line : intendedLines(trace)) messages.push_back(messageOf(line));
  return messages;
}

LogContents contentsAfter(const Trace& trace, const std::string& before) {
  LogContents contents;
  contents.log = before;
  for (const Call& call : trace.calls) {
    if (call.process == 0 && makesProcess(call.kind) && call.child != 0 &&
        areaOfShell(trace.process(call.child).shell) == kRotation) {
      contents.backup = contents.log;
    }
    if (!isOfLog(call)) continue;
    if (call.kind == SYS_truncate && !call.isHit) contents.log.clear();
    if (call.kind == SYS_write) contents.log += call.bytes.substr(0, acceptedBytes(call));
  }
  return contents;
}
