#include "inherited/judge.h"

#include <algorithm>
#include <cstdlib>
#include <ctime>
#include <set>

namespace {

/// TZ as the command has it: the first of several counts.
const char* zoneOf(const Situation& situation) {
  for (const std::string& entry : situation.caller.environment) {
    if (beginsWith(entry, "TZ=")) return entry.c_str() + 3;
  }
  return nullptr;
}

void setZone(const char* zone) {
  if (zone == nullptr) {
    ::unsetenv("TZ");
  } else {
    ::setenv("TZ", zone, 1);
  }
  ::tzset();
}

/// The heads that a line may have which was written during the run, up to the process id.
std::set<std::string> timesIn(const char* zone, const Run& run) {
  setZone(zone);
  std::set<std::string> times;
  for (std::time_t second = run.begin; second <= run.end; ++second) {
    std::tm local = {};
    ::localtime_r(&second, &local);
    char text[64];
    std::strftime(text, sizeof text, "%Y/%m/%d %H:%M:%S ", &local);
    times.insert(text);
  }
  setZone(nullptr);
  return times;
}

/// The number of the first line that is logged after the closed library has changed the zone.
std::size_t firstOfNewZone(const Subject& subject) {
  if (subject.situation.zoneCall.empty()) return subject.expected.messages.size();
  const Texts& messages = subject.expected.messages;
  const bool isStart = subject.situation.zoneCall == "KEL_StartComm";
  const std::string first = isStart ? "(CSendInfo::SendInfo) call startCom" : "### main : ";
  // The line that follows the call; of an identifier's the one after the start line.
  const auto found =
      std::find_if(messages.begin(), messages.end(),
                   [&first](const std::string& text) { return beginsWith(text, first); });
  const auto at = static_cast<std::size_t>(found - messages.begin());
  return isStart ? at : at + 1;
}

void judgeHeads(const Subject& subject, const std::vector<LogLine>& lines) {
  constexpr std::size_t kTime = 20;
  const Observation* loaded = subject.run.find(Role::kLoaded);
  if (loaded == nullptr) return;
  std::set<std::string> times = timesIn(zoneOf(subject.situation), subject.run);
  for (const std::string& zone : subject.expected.zones) {
    times.merge(timesIn(zone.c_str(), subject.run));
  }
  const std::size_t change = firstOfNewZone(subject);
  for (std::size_t at = 0; at < lines.size(); ++at) {
    if (at == change) times = timesIn(subject.situation.zone.c_str(), subject.run);
    const std::string& head = lines[at].head;
    subject.expect(isHead(head, loaded->pid) && times.count(head.substr(0, kTime)) != 0,
                   "log: line " + std::to_string(at + 1) + " has the head " + head);
  }
}

/// A log that has reached its limit: whole lines, and of the next one what there was room for.
void judgeCutLog(const Subject& subject, std::vector<LogLine>& lines) {
  const std::string& log = subject.run.outcome.log;
  const std::size_t end = log.rfind('\n') + 1;  // 0 where there is none
  lines = linesOf(log.substr(0, end));
  Texts messages = messagesOf(lines);
  const std::vector<LogLine> rest = linesOf(log.substr(end));
  const bool isInHead = rest.empty() || rest.front().head.empty();
  if (!isInHead) messages.push_back(normalised(rest.front().message));
  Texts expected = normalised(subject.expected.messages);
  // The last one may lack its end, which with some is a line feed of its own.
  const std::size_t last = messages.size() - 1;
  if (!messages.empty() && last < expected.size() && beginsWith(expected[last], messages[last])) {
    expected[last] = messages[last];
  }
  subject.findings.expectSame(messages, expected, "log: line", /*isBeginning=*/true);
}

void judgeLogFile(const Subject& subject) {
  const Outcome& outcome = subject.run.outcome;
  subject.expect(subject.run.logMode == subject.undisturbed.run.logMode,
                 "log: its permission bits are " + std::to_string(subject.run.logMode));
  subject.expect(outcome.backup == subject.expected.backup, "log: its backup is not what it was");
}

}  // namespace

void judgeLog(const Subject& subject) {
  const std::string& log = subject.run.outcome.log;
  if (subject.expected.messages.empty()) {
    subject.expect(log == initialLog(*subject.situation.scenario), "log: it was written to");
    return;
  }
  std::vector<LogLine> lines = linesOf(log);
  subject.expect(log.size() <= subject.expected.mostLogBytes, "log: it has grown beyond the limit");
  if (log.size() == subject.expected.mostLogBytes) {
    judgeCutLog(subject, lines);
  } else {
    subject.findings.expectSame(messagesOf(lines), normalised(subject.expected.messages),
                                "log: line");
  }
  judgeHeads(subject, lines);
  judgeLogFile(subject);
}
