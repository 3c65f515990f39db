#include "sweep/judge.h"

#include <nlohmann/json.hpp>
#include <sstream>

#include "sweep/areas.h"

namespace {

using Json = nlohmann::json;

std::vector<Json> recordsOf(const std::string& record) {
  std::vector<Json> records;
  std::istringstream lines(record);
  for (std::string line; std::getline(lines, line);) {
    records.push_back(Json::parse(line, nullptr, /*allow_exceptions=*/false));
  }
  return records;
}

std::string callOf(const Json& record) {
  return record.is_object() ? record.value("call", "") : "not a record";
}

bool isNotification(const Json& record) { return record.value("count", -1) == 0; }

std::size_t sentFiles(const Scenario& scenario) {
  const auto list = scenario.files.find("list");
  std::size_t count = 0;
  if (list == scenario.files.end()) return count;
  std::istringstream lines(list->second);
  for (std::string line; std::getline(lines, line);) count += line.empty() ? 0 : 1;
  return count;
}

/// Follows a record from its first call to its last.
class Order {
 public:
  Order(const Scenario& scenario, Ending ending, std::vector<std::string>& broken)
      : m_scenario(scenario), m_ending(ending), m_broken(broken) {}

  void follow(const Json& record) {
    const std::string call = callOf(record);
    if (call == "KEL_StartComm") {
      expect(!m_isStarted, "communication is started twice");
      m_isStarted = record.value("result", -1) == 0;
    } else if (call == "KEL_StopComm") {
      expect(m_isStarted, "communication is stopped before it is started");
      expect(!m_awaitsData || m_ending != Ending::kWhole, "a notification without its data call");
      m_isStopped = true;
    } else if (call == "KEL_Communicate") {
      followExchange(record);
    } else {
      expect(call == "KEL_GetID" || call == "KEL_GetStatus", "not a call: " + call);
      expect(!m_isStarted, call + " behind the start");
    }
  }

  void end() {
    if (m_ending == Ending::kCut) return;
    if (m_isStarted) expect(m_isStopped, "communication is started and never stopped");
  }

 private:
  void expect(bool isKept, const std::string& what) {
    if (!isKept) m_broken.push_back("3: " + what);
  }

  void followExchange(const Json& record) {
    expect(m_isStarted, "an exchange before the start");
    expect(!m_isStopped, "an exchange behind the stop");
    expect(isNotification(record) != m_awaitsData, "notification and data call are out of turn");
    m_awaitsData = isNotification(record);
    if (m_scenario.arguments[1] == "-i") {
      followPart(record);
    } else if (!m_awaitsData) {
      expect(record.value("count", 0) == static_cast<int>(sentFiles(m_scenario)),
             "the data call has not all files");
    }
  }

  void followPart(const Json& record) {
    if (!m_awaitsData) {
      expect(record.value("count", 0) == 1, "a data call of an incident has not one file");
      return;
    }
    const std::string tail = "PART=\"" + std::to_string(++m_part) + "\",TOTAL=\"" +
                             std::to_string(sentFiles(m_scenario)) + "\"";
    const std::string text = record.value("text", "");
    const bool isRight = text.size() >= tail.size() &&
                         text.compare(text.size() - tail.size(), tail.size(), tail) == 0;
    expect(isRight, "expected " + tail + " in: " + text);
  }

  const Scenario& m_scenario;
  Ending m_ending;
  std::vector<std::string>& m_broken;
  bool m_isStarted = false;
  bool m_isStopped = false;
  bool m_awaitsData = false;
  int m_part = 0;
};

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
                     6, "what was sent is not what lies in " + path);
    }
  }
}

}  // namespace

int countExchanges(const std::string& record) {
  int count = 0;
  for (const Json& call : recordsOf(record)) count += callOf(call) == "KEL_Communicate" ? 1 : 0;
  return count;
}

std::vector<std::string> judgeOrder(const std::string& record, const Scenario& scenario,
                                    Ending ending) {
  std::vector<std::string> broken;
  Order order(scenario, ending, broken);
  for (const Json& call : recordsOf(record)) order.follow(call);
  order.end();
  return broken;
}

void judgeExchanges(const Case& subject) {
  const Trace& trace = subject.run.trace;
  // The process that ends where it stands cannot stop communication any more.
  const bool isCut = isEndOfPipes(trace);
  const Ending ownEnd = isTerminated(trace) ? Ending::kTerminated : Ending::kWhole;
  const Ending ending = isCut ? Ending::kCut : ownEnd;
  for (const std::string& broken : judgeOrder(subject.run.record, subject.scenario, ending)) {
    subject.broken.push_back(broken);
  }
  const std::vector<Json> expected = recordsOf(subject.reference.record);
  const std::vector<Json> records = recordsOf(subject.run.record);
  judgeCopies(subject, records);
  // A terminated run lets go of its line in turn, which is all that is asked of it.
  if (isTerminated(trace)) return;
  const bool isWhole = records.size() == expected.size() ||
                       (records.empty() && isRejected(subject)) ||
                       (isCut && records.size() < expected.size());
  subject.expect(isWhole, 3,
                 std::to_string(records.size()) + " calls of the library instead of " +
                     std::to_string(expected.size()));
  for (std::size_t at = 0; at < records.size() && at < expected.size(); ++at) {
    subject.expect(isSame(subject, expected[at], records[at]), 3,
                   "call " + std::to_string(at + 1) + " of the library is " + records[at].dump());
  }
}
