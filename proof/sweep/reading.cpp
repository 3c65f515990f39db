#include "sweep/reading.h"

#include <sys/syscall.h>

#include <array>
#include <stdexcept>
#include <utility>

#include "core/calls.h"
#include "core/loglines.h"
#include "core/scenario.h"

namespace {

bool contains(const std::string& text, const std::string& part) {
  return text.find(part) != std::string::npos;
}

bool isPipe(const Call& call) { return call.kind == SYS_pipe2 || call.kind == SYS_pipe; }

/// Every shell of the command begins with a pipe. The place of the pipe that the call belongs to.
std::size_t pipeBefore(const Trace& run, std::size_t call) {
  for (std::size_t at = call + 1; at-- > 0;) {
    if (run.calls[at].process == 0 && isPipe(run.calls[at])) return at;
  }
  throw std::runtime_error("a call belongs to a shell before there is any");
}

/// The child that came of a pipe, 0 when there is none.
int childOf(const Trace& run, std::size_t pipe) {
  for (std::size_t at = pipe + 1; at < run.calls.size(); ++at) {
    const Call& call = run.calls[at];
    if (call.process != 0) continue;
    if (isPipe(call)) break;
    if (makesProcess(call.kind)) return call.child;
  }
  return 0;
}

int pipesUpTo(const Trace& run, std::size_t last) {
  int count = 0;
  for (std::size_t at = 0; at <= last; ++at) {
    count += run.calls[at].process == 0 && isPipe(run.calls[at]) ? 1 : 0;
  }
  return count;
}

/// The area of the command line that a shell was given, kNoArea for any other.
Area findArea(const std::string& shell) {
  static const std::array<std::pair<const char*, Area>, 5> heads = {{{"cp -f", kRotation},
                                                                     {"uname", kHostName},
                                                                     {"mkdir", kTempDir},
                                                                     {"/opt/dovra", kCollection},
                                                                     {"/bin/rm", kRemoval}}};
  for (const auto& [head, area] : heads) {
    if (beginsWith(shell, head)) return area;
  }
  return kNoArea;
}

/// The area of the command line that a shell was given.
Area areaOfShell(const std::string& shell) {
  const Area area = findArea(shell);
  if (area == kNoArea) throw std::runtime_error("a shell that belongs to no area: " + shell);
  return area;
}

Area areaOfNthShell(const Trace& reference, int number) {
  int count = 0;
  for (std::size_t at = 0; at < reference.calls.size(); ++at) {
    if (reference.calls[at].process != 0 || !isPipe(reference.calls[at]) || ++count < number) {
      continue;
    }
    const int child = childOf(reference, at);
    return areaOfShell(reference.process(child).shell);
  }
  // Behind the last shell of the undisturbed run there are only repeated attempts at a directory.
  return kTempDir;
}

/// The shell that a call of the command serves.
Area areaOfShellCall(const Trace& run, std::size_t call, const Trace& reference) {
  const std::size_t pipe = pipeBefore(run, call);
  const int child = childOf(run, pipe);
  if (child != 0) return areaOfShell(run.process(child).shell);
  return areaOfNthShell(reference, pipesUpTo(run, pipe));
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
