#include "sweep/judge_plain.h"

#include <csignal>
#include <cstdlib>
#include <cstring>
#include <sstream>

#include "sweep/ending.h"
#include "sweep/judge.h"
#include "sweep/loglines.h"

namespace {

bool isLogged(const Outcome& run, const std::string& message) {
  return run.log.find(message) != std::string::npos;
}

/// Whether a directory that is left is no fault: the command was told that it could not be made, or
/// the memory to remove it was not to be had.
bool isExcused(const Outcome& run, const std::string& path) {
  const std::string directory = path.substr(0, path.find('/', std::strlen("/tmp/")));
  return isLogged(run, "VUQ90103L : failed to create dir:" + directory + "\n") ||
         (signalOf(run.trace.waitStatus) == SIGABRT &&
          isLogged(run, "[T](CTemp:188):delTempFile:" + directory + "\n"));
}

}  // namespace

void demand(bool isKept, const std::string& what, std::vector<std::string>& broken) {
  if (!isKept) broken.push_back(what);
}

void judgePlainInputs(const Reference& reference, const Outcome& run,
                      std::vector<std::string>& broken) {
  demand(run.inputs == reference.outcome.inputs, "6: an input file was changed", broken);
}

void judgePlainOutput(const Reference& reference, const Outcome& run,
                      std::vector<std::string>& broken) {
  demand(isPartOf(run.output, reference.outcome.output), "5: standard output is: " + run.output,
         broken);
}

void judgePlainTemporary(const Reference& reference, const Outcome& run,
                         std::vector<std::string>& broken) {
  if (keepsItems(*reference.scenario)) return;
  for (const std::string& item : run.temporary) {
    demand(isExcused(run, item), "6: left behind: " + item, broken);
  }
}

void judgePlainEnd(const Outcome& run, std::vector<std::string>& broken) {
  if (signalOf(run.trace.waitStatus) != 0) return;
  std::string last;
  std::istringstream lines(run.log);
  for (std::string line; std::getline(lines, line);) last = line;
  const std::string head = "exit. code = ";
  const std::size_t at = last.find(head);
  // The log has the whole integer, the caller its low eight bits.
  const bool isRight = at != std::string::npos && (std::stoll(last.substr(at + head.size())) &
                                                   0xff) == exitStatusOf(run.trace.waitStatus);
  demand(isRight,
         "2: status " + std::to_string(exitStatusOf(run.trace.waitStatus)) + ", last line: " + last,
         broken);
}

void judgePlainLog(const Outcome& run, std::vector<std::string>& broken) {
  demand(!run.log.empty() && run.log.back() == '\n', "4: the log does not end with a line", broken);
  static const std::string shape = "0000/00/00 00:00:00 ";
  std::istringstream lines(run.log);
  for (std::string line; std::getline(lines, line);) {
    // Two messages end with a line feed of their own; an empty line follows them.
    if (line.empty()) continue;
    const std::size_t blank = line.find_first_not_of(' ', shape.size());
    const int pid = blank == std::string::npos ? 0 : std::atoi(line.c_str() + blank);  // NOLINT
    const std::size_t end = line.find(' ', blank);
    demand(end != std::string::npos && isHead(line.substr(0, end + 1), pid),
           "4: not a whole line: " + line, broken);
  }
}

void judgeShortOfMemory(const Reference& reference, const Outcome& run,
                        std::vector<std::string>& broken) {
  const int status = exitStatusOf(run.trace.waitStatus);
  const bool isEndOfTable =
      status == reference.scenario->status || status == kRejected || status == kNoTempDir;
  demand(isEndOfTable || signalOf(run.trace.waitStatus) == SIGABRT,
         "1: wait status " + std::to_string(run.trace.waitStatus), broken);
  const Ending ending =
      signalOf(run.trace.waitStatus) == SIGABRT ? Ending::kTerminated : Ending::kWhole;
  for (const std::string& finding : judgeOrder(run.record, *reference.scenario, ending)) {
    broken.push_back(finding);
  }
  // Without memory for the log's own name, or for the command that backs it up, nothing is logged.
  const bool isUntouched = run.log == initialLog(*reference.scenario);
  if (!isUntouched || signalOf(run.trace.waitStatus) != SIGABRT) judgePlainLog(run, broken);
  judgePlainEnd(run, broken);
  const bool isThrough = status == reference.scenario->status;
  demand(!isThrough || countExchanges(run.record) == reference.scenario->exchanges,
         "3: " + std::to_string(countExchanges(run.record)) + " exchanges", broken);
  judgePlainTemporary(reference, run, broken);
  judgePlainOutput(reference, run, broken);
  judgePlainInputs(reference, run, broken);
}
