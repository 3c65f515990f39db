#include "sweep/loglines.h"

#include <sys/syscall.h>

#include <algorithm>
#include <cctype>
#include <cstdio>

#include "sweep/areas.h"
#include "sweep/calls.h"
#include "sweep/scenario.h"

namespace {

constexpr std::size_t kGeneratedBytes = 6;

/// Replaces what follows each `head` as far as `isPart` says.
template <class Predicate>
void blank(std::string& text, const std::string& head, std::size_t most, const Predicate& isPart) {
  for (std::size_t at = text.find(head); at != std::string::npos; at = text.find(head, at)) {
    at += head.size();
    std::size_t end = at;
    while (end < text.size() && end - at < most && isPart(text[end])) ++end;
    text.replace(at, end - at, "*");
  }
}

bool isOfNumber(char byte) {
  return std::isdigit(static_cast<unsigned char>(byte)) != 0 || byte == '.' || byte == '-';
}

bool isOfLog(const Call& call) { return call.process == 0 && call.target == kActionLog; }

std::size_t acceptedBytes(const Call& call) {
  if (!call.isHit) return call.bytes.size();
  return call.error == kShortCount ? call.bytes.size() / 2 : 0;
}

}  // namespace

std::vector<LogLine> intendedLines(const Trace& trace) {
  std::vector<LogLine> lines;
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

std::string normalised(const std::string& text) {
  std::string result = text;
  blank(result, "pid=", 20, isOfNumber);
  blank(result, "time='", 40, isOfNumber);
  blank(result, "/swcon", kGeneratedBytes,
        [](char byte) { return std::isalnum(static_cast<unsigned char>(byte)) != 0; });
  return result;
}

std::string messageOf(const LogLine& line) {
  return line.pieces.size() < 2 ? "" : normalised(line.pieces[1]);
}

std::vector<std::string> messagesOf(const std::vector<LogLine>& lines) {
  std::vector<std::string> messages;
  messages.reserve(lines.size());
  for (const LogLine& line : lines) messages.push_back(messageOf(line));
  return messages;
}

bool isHead(const std::string& piece, int pid) {
  static const std::string shape = "0000/00/00 00:00:00 ";
  char rest[32];
  std::snprintf(rest, sizeof rest, "%5d ", pid);
  if (piece.size() < shape.size() || piece.substr(shape.size()) != rest) return false;
  return std::equal(shape.begin(), shape.end(), piece.begin(), [](char expected, char byte) {
    return expected == '0' ? std::isdigit(static_cast<unsigned char>(byte)) != 0 : expected == byte;
  });
}

LogContents contentsAfter(const Trace& trace, const std::string& before) {
  LogContents contents;
  contents.log = before;
  for (const Call& call : trace.calls) {
    if (call.process == 0 && makesProcess(call.kind) && call.child != 0 &&
        areaOfShell(trace.processes.at(static_cast<std::size_t>(call.child)).shell) == kRotation) {
      contents.backup = contents.log;
      contents.isBackedUp = true;
    }
    if (!isOfLog(call)) continue;
    if (call.kind == SYS_truncate && !call.isHit) contents.log.clear();
    if (call.kind == SYS_write) contents.log += call.bytes.substr(0, acceptedBytes(call));
  }
  return contents;
}
