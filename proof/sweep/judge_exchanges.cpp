#include "sweep/judge.h"

#include <nlohmann/json.hpp>

#include "sweep/reading.h"

namespace {

using Json = nlohmann::json;

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

}  // namespace

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
