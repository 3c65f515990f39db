#include "check/agreement.h"

#include <sys/stat.h>

#include <algorithm>
#include <nlohmann/json.hpp>

#include "check/losses.h"
#include "fuzz/inputjudge.h"
#include "fuzz/notificationjudge.h"
#include "tools/check/json.h"
#include "tools/check/plain.h"

namespace {

using check::Answer;
using check::Report;

constexpr std::size_t kLongestPiece = 1023;

/// What differs, by what it is.
class Differences {
 public:
  template <class Value>
  void compare(const Value& checker, const Value& other, const std::string& what) {
    if (checker == other) return;
    using testing::PrintToString;
    texts.push_back(what + ": " + PrintToString(checker) + ", not " + PrintToString(other));
  }

  void demand(bool holds, const std::string& what) {
    if (!holds) texts.push_back(what);
  }

  Texts texts;
};

/// The content of a file, where the judge may know it.
const std::string* contentOf(const CheckInput& input, const std::string& path) {
  const auto found = input.files.find(path);
  return found == input.files.end() ? nullptr : &found->second;
}

// --- the errors ----------------------------------------------------------------------------------

/// The judge: the errors in a command line, in the files that it names, and keys without a line.
class ErrorJudge {
 public:
  explicit ErrorJudge(const CheckInput& input) : m_input(input), m_words(input.words) {
    judgeWords();
    if (!m_words.empty()) judgeList(m_words[0]);
    if (const auto path = definition()) judgeDefinition(*path);
  }

  std::vector<Place> places;  // but for the keys that are missing
  Texts missing;              // the keys that no good line gives
  std::optional<std::string> definitionPath;

 private:
  bool isOption(const char* option) const {
    return m_words.size() > 1 && m_words[1].substr(0, 2) == option;
  }
  bool isJoined() const { return m_words[1].size() > 2; }

  std::optional<std::string> definition() const {
    if (!isOption("-r")) return std::nullopt;
    if (isJoined()) return m_words[1].substr(2);
    return m_words.size() > 2 ? std::optional(m_words[2]) : std::nullopt;
  }

  void judgeWords() {
    const bool hasNext = m_words.size() > 2;
    const bool isGood = isOption("-r")
                            ? definition().has_value()
                            : isOption("-i") && hasNext && (!isJoined() || m_words[2].size() >= 2);
    if (!isGood) places.push_back({std::nullopt, 0, true});
  }

  void judgeList(const std::string& path) {
    const std::string* bytes = contentOf(m_input, path);
    if (bytes == nullptr || entriesOf(*bytes).empty()) places.push_back({path, 0, true});
  }

  void judgeDefinition(const std::string& path) {
    definitionPath = path;
    const std::string* bytes = contentOf(m_input, path);
    if (bytes == nullptr) {
      places.push_back({path, 0, true});
      return;
    }
    Texts given;
    const Texts lines = linesIn(*bytes, kLongestPiece);
    const std::vector<std::size_t> numbers = numbersOfLinesIn(*bytes, kLongestPiece);
    for (std::size_t at = 0; at < lines.size(); ++at) {
      if (isSkipped(lines[at])) continue;
      if (isRejected(lines[at], kEventKeys)) {
        places.push_back({path, numbers[at], true});
      } else {
        given.push_back(lines[at].substr(0, lines[at].find('=')));
      }
    }
    for (const std::string& key : kEventKeys) {
      const bool isGiven = std::count(given.begin(), given.end(), key) > 0;
      if (!isGiven && key != "MsgID") missing.push_back(key);
    }
  }

  const CheckInput& m_input;
  const Texts& m_words;
};

/// Compares the errors that the report keeps. A key that no good line gives is told of, but where
/// a bad line is taken for its.
void compareErrors(const CheckInput& input, const Report& report, Differences& differences) {
  const ErrorJudge judge(input);
  std::vector<Place> places;
  std::string bad;
  Texts missing;
  for (const check::Fault& fault : report.faults.kept()) {
    if (!fault.isError) continue;
    const std::string end = " is missing";
    const bool isMissing = fault.text.size() > end.size() && fault.line == 0 &&
                           fault.text.substr(fault.text.size() - end.size()) == end;
    if (isMissing) {
      missing.push_back(fault.text.substr(0, fault.text.size() - end.size()));
    } else {
      places.push_back({fault.file, fault.line, true});
      bad += fault.text + '\n';
    }
  }
  if (!report.faults.rest().empty()) {
    differences.demand(report.faults.errors() >= judge.places.size(), "errors are not counted");
    return;
  }
  differences.compare(textOf(places), textOf(judge.places), "the places of the errors");
  Texts expected;
  for (const std::string& key : judge.missing) {
    const bool isTold = std::count(missing.begin(), missing.end(), key) > 0;
    if (isTold || bad.find(key) == std::string::npos) expected.push_back(key);
  }
  differences.compare(missing, expected, "the keys that are missing");
}

// --- what would be sent --------------------------------------------------------------------------

std::optional<std::int64_t> sizeOf(const std::string& path) {
  struct stat status = {};
  if (::stat(path.c_str(), &status) != 0) return std::nullopt;
  return status.st_size;
}

void compareSending(const CheckInput& input, const Report& report, Told told,
                    Differences& differences) {
  differences.compare(report.eventType, told.type, "the kind of report");
  std::vector<std::optional<std::int64_t>> sizes;
  std::vector<std::optional<std::int64_t>> expected;
  Texts paths;
  for (const check::ListedFile& file : report.files) {
    paths.push_back(file.path);
    sizes.push_back(file.bytes);
    expected.push_back(sizeOf(file.path));
  }
  differences.compare(paths, told.list, "the files");
  differences.compare(sizes, expected, "the sizes of the files");
  differences.demand(report.notification.has_value(), "the notification is not known");
  if (!report.notification) return;
  const std::string& text = report.notification->text;
  Texts losses;
  if (told.type == CSendEventBase::kIncident) {
    told.params["HostName"] = kHostName;
    differences.compare(text, incidentText(told.params, 1, told.list.size()), "the notification");
    losses = lossesOfIncident(told.params, told.list.size(), text);
  } else {
    const std::string extract = extractOf(input.files, told.list);
    differences.compare(text, fieldText(told.params, extract), "the notification");
    losses = lossesOfEvent(told.params, extract, text);
  }
  Texts shown;
  for (const check::Loss& loss : report.notification->losses) {
    shown.push_back((loss.isPart ? "a part of " : "all of ") + loss.field);
  }
  differences.compare(shown, losses, "what is cut or left out");
}

// --- how it is told ------------------------------------------------------------------------------

/// Compares what both forms of the report say with the report.
void compareForms(const Report& report, Differences& differences) {
  const bool isAccepted = report.answer == Answer::kAccepted;
  std::string plain;
  check::writePlain(report, {}, [&plain](const std::string& piece) { plain += piece; });
  const std::size_t warnings = report.faults.warnings();
  const std::string result = !isAccepted     ? "rejected (68)"
                             : warnings == 0 ? "accepted"
                                             : "accepted, " + std::to_string(warnings) +
                                                   (warnings == 1 ? " warning" : " warnings");
  const std::string last = "result: " + result + "\n";
  differences.demand(
      plain.size() >= last.size() && plain.substr(plain.size() - last.size()) == last,
      "the last line is not " + last);
  const std::string::size_type control = static_cast<std::size_t>(
      std::find_if(
          plain.begin(), plain.end(),
          [](char byte) { return (byte >= 0 && byte < ' ' && byte != '\n') || byte == '\x7f'; }) -
      plain.begin());
  differences.demand(control == plain.size(), "a control byte reaches a terminal");

  std::string bytes;
  check::writeJson(report, [&bytes](const std::string& piece) { bytes += piece; });
  const auto json = nlohmann::json::parse(bytes, nullptr, /*allow_exceptions=*/false);
  differences.demand(!json.is_discarded(), "the report is no JSON");
  if (json.is_discarded()) return;
  differences.demand(json["result"] == (isAccepted ? "accepted" : "rejected") &&
                         json["status"] == (isAccepted ? 0 : 68) &&
                         json["files"].size() == report.files.size() &&
                         json["notification"].is_null() != report.notification.has_value(),
                     "the JSON tells something else: " + bytes);
  const std::size_t rest = report.faults.rest().empty() ? 0 : 1;
  differences.demand(json["faults"].size() == report.faults.kept().size() + rest,
                     "the JSON has other faults: " + bytes);
}

}  // namespace

std::vector<Place> placesIn(const Report& report) {
  std::vector<Place> places;
  for (const check::Fault& fault : report.faults.kept()) {
    places.push_back({fault.file, fault.line, fault.isError});
  }
  return places;
}

std::string textOf(const std::vector<Place>& places) {
  std::string text;
  for (const Place& place : places) {
    text += place.file.value_or("command line") + ':' + std::to_string(place.line) +
            (place.isError ? ": error\n" : ": warning\n");
  }
  return text;
}

Texts disagreements(const CheckInput& input, const Report& report) {
  Differences differences;
  Texts words = {"tanexics"};
  words.insert(words.end(), input.words.begin(), input.words.end());
  TestSingleSystem command;
  Arguments arguments(words);
  const bool isAccepted = command.parseCommandLine(arguments.argc(), arguments.argv()) == 0;
  const Told told = meaningOf(words, input.files);

  const std::string answer = report.answer == Answer::kAccepted   ? "accepted"
                             : report.answer == Answer::kRejected ? "rejected"
                                                                  : "not known";
  const auto wordOf = [](bool accepted) { return std::string(accepted ? "accepted" : "rejected"); };
  differences.compare(answer, wordOf(isAccepted), "the answer, by the command's readers");
  differences.compare(answer, wordOf(told.status == 0), "the answer, by the judge");
  if (!differences.texts.empty()) return differences.texts;
  compareErrors(input, report, differences);
  if (isAccepted) compareSending(input, report, told, differences);
  compareForms(report, differences);
  return differences.texts;
}
