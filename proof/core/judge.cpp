#include "core/judge.h"

#include <algorithm>
#include <csignal>
#include <cstdlib>
#include <cstring>
#include <nlohmann/json.hpp>

#include "core/loglines.h"

namespace {

using Json = nlohmann::json;

std::string callOf(const Json& record) {
  return record.is_object() ? record.value("call", "") : "not a record";
}

int sentFiles(const Scenario& scenario) {
  const auto list = scenario.files.find("list");
  if (list == scenario.files.end()) return 0;
  const Texts lines = splitLines(list->second);
  return static_cast<int>(lines.size() - std::count(lines.begin(), lines.end(), ""));
}

/// Follows a record from its first call to its last.
class Order {
 public:
  Order(const Scenario& scenario, Ending ending) : m_scenario(scenario), m_ending(ending) {}

  void follow(const Json& record) {
    const std::string call = callOf(record);
    if (call == "KEL_StartComm") {
      m_findings.expect(!m_isStarted, "3: communication is started twice");
      m_isStarted = record.value("result", -1) == 0;
    } else if (call == "KEL_StopComm") {
      m_findings.expect(m_isStarted, "3: communication is stopped before it is started");
      m_findings.expect(!m_awaitsData || m_ending != Ending::kWhole,
                        "3: a notification without its data call");
      m_isStopped = true;
    } else if (call == "KEL_Communicate") {
      followExchange(record);
    } else {
      m_findings.expect(call == "KEL_GetID" || call == "KEL_GetStatus", "3: not a call: " + call);
      m_findings.expect(!m_isStarted, "3: " + call + " after the start");
    }
  }

  Findings end() {
    m_findings.expect(m_ending == Ending::kCut || !m_isStarted || m_isStopped,
                      "3: communication is started and never stopped");
    return m_findings;
  }

 private:
  void followExchange(const Json& record) {
    m_findings.expect(m_isStarted, "3: an exchange before the start");
    m_findings.expect(!m_isStopped, "3: an exchange after the stop");
    const bool isNotification = record.value("count", -1) == 0;
    m_findings.expect(isNotification != m_awaitsData,
                      "3: notification and data call are out of turn");
    m_awaitsData = isNotification;
    if (m_scenario.arguments[1] == "-i") {
      followPart(record);
    } else if (!m_awaitsData) {
      m_findings.expect(record.value("count", 0) == sentFiles(m_scenario),
                        "3: the data call has not all files");
    }
  }

  void followPart(const Json& record) {
    if (!m_awaitsData) {
      m_findings.expect(record.value("count", 0) == 1,
                        "3: a data call of an incident has not one file");
      return;
    }
    const std::string tail = "PART=\"" + std::to_string(++m_part) + "\",TOTAL=\"" +
                             std::to_string(sentFiles(m_scenario)) + "\"";
    const std::string text = record.value("text", "");
    const bool isRight = text.size() >= tail.size() &&
                         text.compare(text.size() - tail.size(), tail.size(), tail) == 0;
    m_findings.expect(isRight, "3: expected " + tail + " in: " + text);
  }

  const Scenario& m_scenario;
  Ending m_ending;
  Findings m_findings;
  bool m_isStarted = false;
  bool m_isStopped = false;
  bool m_awaitsData = false;
  int m_part = 0;
};

/// Whether a directory that is left is no fault: the command was told that it could not be made, or
/// the memory to remove it was not to be had.
bool isExcused(const Outcome& run, const std::string& path) {
  const auto isLogged = [&run](const std::string& message) {
    return run.log.find(message) != std::string::npos;
  };
  const std::string directory = path.substr(0, path.find('/', std::strlen("/tmp/")));
  return isLogged("VUQ90103L : failed to create dir:" + directory + "\n") ||
         (isTerminated(run) && isLogged("[T](CTemp:188):delTempFile:" + directory + "\n"));
}

void judgeLastLine(const Outcome& run, Findings& findings) {
  if (signalOf(run.trace.waitStatus) != 0) return;
  const Texts lines = splitLines(run.log);
  const std::string last = lines.empty() ? "" : lines.back();
  const std::string head = "exit. code = ";
  const std::size_t at = last.find(head);
  // The log has the whole integer, the caller its low eight bits.
  const bool isRight = at != std::string::npos && (std::stoll(last.substr(at + head.size())) &
                                                   0xff) == exitStatusOf(run.trace.waitStatus);
  findings.expect(isRight, "2: " + endText(run.trace.waitStatus) + ", last line: " + last);
}

void judgeWholeLines(const Outcome& run, Findings& findings) {
  findings.expect(!run.log.empty() && run.log.back() == '\n',
                  "4: the log does not end with a line");
  for (const LogLine& line : linesOf(run.log)) {
    const int pid = line.head.empty() ? 0 : std::atoi(line.head.c_str() + kTimeBytes);  // NOLINT
    // Two messages end with a line feed of their own; an empty line follows them.
    const bool isWhole = line.message.find('\n') >= line.message.size() - 1;
    findings.expect(isHead(line.head, pid) && isWhole,
                    "4: not a whole line: " + line.head + line.message);
  }
}

}  // namespace

void Findings::expectSame(const Texts& texts, const Texts& expected, const std::string& what,
                          bool isBeginning) {
  for (std::size_t at = 0; at < texts.size(); ++at) {
    expect(at < expected.size() && texts[at] == expected[at],
           what + " " + std::to_string(at + 1) + " is: " + texts[at]);
  }
  for (std::size_t at = texts.size(); at < expected.size() && !isBeginning; ++at) {
    expect(false, what + " " + std::to_string(at + 1) + " is missing: " + expected[at]);
  }
}

bool Findings::hasHead(const std::string& head) const {
  return std::any_of(broken.begin(), broken.end(),
                     [&head](const std::string& what) { return beginsWith(what, head); });
}

bool isTerminated(const Outcome& run) { return signalOf(run.trace.waitStatus) == SIGABRT; }

std::vector<Json> recordsOf(const std::string& record) {
  std::vector<Json> records;
  for (const std::string& line : splitLines(record)) {
    records.push_back(Json::parse(line, nullptr, /*allow_exceptions=*/false));
  }
  return records;
}

int countExchanges(const std::string& record) {
  const std::vector<Json> records = recordsOf(record);
  return static_cast<int>(std::count_if(records.begin(), records.end(), [](const Json& call) {
    return callOf(call) == "KEL_Communicate";
  }));
}

Findings judgeOrder(const std::string& record, const Scenario& scenario, Ending ending) {
  Order order(scenario, ending);
  for (const Json& call : recordsOf(record)) order.follow(call);
  return order.end();
}

bool isPartOf(const std::string& text, const std::string& whole) {
  const Texts expected = splitLines(whole);
  std::size_t at = 0;
  for (const std::string& line : splitLines(text)) {
    while (at < expected.size() && expected[at].find(line) == std::string::npos) ++at;
    if (at == expected.size()) return false;
    ++at;
  }
  return true;
}

void judgePlainly(const Outcome& reference, const Outcome& run, Findings& findings) {
  judgeWholeLines(run, findings);
  findings.expect(run.inputs == reference.inputs, "6: an input file was changed");
}

void judgePlainEnd(const Scenario& scenario, const Outcome& reference, const Outcome& run,
                   Findings& findings) {
  findings.take(
      judgeOrder(run.record, scenario, isTerminated(run) ? Ending::kTerminated : Ending::kWhole));
  judgeLastLine(run, findings);
  findings.expect(isPartOf(run.output, reference.output), "5: standard output is: " + run.output);
  if (keepsItems(scenario)) return;
  for (const std::string& item : run.temporary) {
    findings.expect(isExcused(run, item), "6: left behind: " + item);
  }
}

void judgeShortOfMemory(const Scenario& scenario, const Outcome& reference, const Outcome& run,
                        Findings& findings) {
  const int status = exitStatusOf(run.trace.waitStatus);
  const bool isThrough = status == scenario.status;
  findings.expect(isThrough || status == kRejected || status == kNoTempDir || isTerminated(run),
                  "1: " + endText(run.trace.waitStatus));
  findings.expect(!isThrough || countExchanges(run.record) == scenario.exchanges,
                  "3: " + std::to_string(countExchanges(run.record)) + " exchanges");
  // Without memory for the log's own name, or for the command that backs it up, nothing is logged.
  const bool isUntouched = isTerminated(run) && run.log == initialLog(scenario);
  if (!isUntouched) judgeWholeLines(run, findings);
  findings.expect(run.inputs == reference.inputs, "6: an input file was changed");
  judgePlainEnd(scenario, reference, run, findings);
}
