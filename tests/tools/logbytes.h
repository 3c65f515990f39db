#ifndef TANEXICS_TESTS_TOOLS_LOGBYTES_H
#define TANEXICS_TESTS_TOOLS_LOGBYTES_H

#include <cstdio>
#include <string>
#include <vector>

#include "support/scratch.h"
#include "tools/outcome/reader.h"

/// The head of a line.
inline std::string headOf(int pid, const std::string& time = "2026/11/21 23:30:33") {
  char head[64];
  std::snprintf(head, sizeof head, "%s %5d ", time.c_str(), pid);
  return head;
}

/// The lines that a process writes, one after the other.
inline std::string linesOf(int pid, const Texts& messages) {
  std::string bytes;
  for (const std::string& message : messages) bytes += headOf(pid) + message + '\n';
  return bytes;
}

constexpr char kStartedLine[] = "### main : tanexics started.";
constexpr char kStartComm[] = "(CSendInfo::SendInfo) call startCom(RM_MODE_SYNC)=0";
constexpr char kCancel[] =
    "(CSendInfo::SendInfo) Cancel sending investigation information, because connection status is "
    "not operating. (status=131072) \n";
constexpr char kOk[] = "commonSendEvent OK";
constexpr char kError[] = "commonSendEvent Error.";
/// A listed file could not be measured.
constexpr char kMissingLine[] = "get file size error(/b,No such file or directory)";
/// An incident has no temporary directory.
constexpr char kNoTempDirLine[] = "make tempname error (CSendEventSingleSystem::SendEvent)";
constexpr char kElapsedLine[] = "ELAPSED:range='executing tanexics', time='0.012000'";

inline std::string exitLine(int code) {
  return "### main : tanexics exit. code = " + std::to_string(code);
}

inline std::string loopLine(int number, int total) {
  return "commonSendEvent Main Loop (" + std::to_string(number) + "/" + std::to_string(total) + ")";
}

inline std::string doneLine(int code, const std::string& error = "") {
  return "RM_Communicate done (code='" + std::to_string(code) + "', msg='" + error + "') ";
}

inline std::string incidentCall(int part, int total, const std::string& number = "42") {
  return "RM_Communicate call (param=0x40017 0 0 INCNO=\"" + number +
         "\",HOSTNAME=\"db01\",PART=\"" + std::to_string(part) + "\",TOTAL=\"" +
         std::to_string(total) + "\" NULL  NULL)";
}

inline std::string dataCall(const std::string& path, const std::string& request = "0x4010b",
                            int files = 1) {
  return "RM_Communicate call (param=" + request + " ? " + std::to_string(files) + " " + path +
         " NULL  NULL)";
}

constexpr char kEventCall[] =
    "RM_Communicate call (param=0x40204 0 0 \"1 Jan\",,\"Disk \"\"a\"\", full\",\"db01\",\"x\" NULL  NULL)";

/// An incident of as many files as `answers` has pairs, answered with these codes.
inline Texts incident(const std::vector<int>& answers, const std::string& end = kOk,
                      int status = 0) {
  const int total = static_cast<int>(answers.size()) / 2;
  Texts messages = {kStartedLine, kStartComm};
  for (int part = 1; part <= total; ++part) {
    const auto at = static_cast<std::size_t>(2 * part - 2);
    messages.insert(messages.end(),
                    {loopLine(part, total), incidentCall(part, total), doneLine(answers[at]),
                     dataCall("/file" + std::to_string(part)), doneLine(answers[at + 1])});
  }
  messages.insert(messages.end(), {end, kElapsedLine, exitLine(status)});
  return messages;
}

/// An error event with three files.
inline Texts event(const std::vector<int>& answers, const std::string& end = kOk, int status = 0) {
  return {kStartedLine,         kStartComm,
          loopLine(1, 3),       kEventCall,
          doneLine(answers[0]), dataCall("/a", "0x4010d", 3),
          doneLine(answers[1]), end,
          kElapsedLine,         exitLine(status)};
}

/// A run of which nothing was sent.
inline Texts unsent(const std::string& reason, int status) {
  return {kStartedLine, reason, kElapsedLine, exitLine(status)};
}

/// The first messages, so many.
inline Texts firstOf(Texts messages, std::size_t count) {
  messages.resize(count);
  return messages;
}

/// Messages with another one before one of them.
inline Texts inserted(Texts messages, std::size_t at, const std::string& message) {
  messages.insert(messages.begin() + static_cast<std::ptrdiff_t>(at), message);
  return messages;
}

/// All runs of a log that is given in pieces of `pieceBytes`.
inline std::vector<outcome::Run> runsOf(const std::string& bytes,
                                        std::size_t pieceBytes = std::string::npos) {
  std::vector<outcome::Run> runs;
  outcome::Reader reader([&runs](outcome::Run run) { runs.push_back(std::move(run)); });
  for (std::size_t at = 0; at < bytes.size(); at += std::min(pieceBytes, bytes.size() - at)) {
    reader.feed(std::string_view(bytes).substr(at, pieceBytes));
  }
  reader.finish();
  return runs;
}

/// "PID VERDICT" of each run, in order.
inline Texts verdictsOf(const std::vector<outcome::Run>& runs) {
  Texts verdicts;
  for (const outcome::Run& run : runs) {
    verdicts.push_back(std::to_string(run.pid) + ' ' + wordOf(run.verdict));
  }
  return verdicts;
}

#endif
