#include "tools/rehearse/report.h"

#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <fstream>
#include <stdexcept>
#include <string_view>

#include "tools/common/language.h"
#include "tools/outcome/explanation.h"
#include "tools/outcome/meaning.h"
#include "tools/rehearse/record.h"
#include "tools/rehearse/screen.h"

namespace {

using Json = nlohmann::ordered_json;
using outcome::agentMeaning;
using outcome::requestMeaning;
using outcome::statusMeaning;

// Indents of the rows of a call: its head, its details, and what does not fit in their first row.
constexpr std::size_t kDetailIndent = 7;
constexpr std::size_t kHangIndent = 9;
constexpr std::size_t kSizeColumns = 22;
constexpr std::size_t kNarrowSizeColumns = 13;
constexpr std::size_t kNarrow = 60;

/// What is reported of, and for what it is laid out.
struct Sheet {
  const RehearsalFolder& folder;
  const Terminal& terminal;

  std::string rows(std::string_view bytes, std::size_t indent, std::size_t hang) const {
    return screenRows(bytes, indent, hang, terminal.width);
  }
};

std::string heading(const char* message) {
  const std::string text = translated(message);
  return text + "\n" + std::string(columnsOf(text), '-') + "\n";
}

std::string hexText(int word) {
  char text[16];
  std::snprintf(text, sizeof text, "0x%x", static_cast<unsigned>(word));
  return text;
}

std::string numberOrNone(const Json& value) {
  return value.is_null() ? translated("nothing stored") : std::to_string(value.get<std::int64_t>());
}

std::string resultText(const Json& call) {
  if (call.contains("hangs")) return translated("does not end");
  if (call.contains("thrown")) {
    return translated("throws %s", {std::to_string(call.at("thrown").get<std::int64_t>())});
  }
  return translated("result %s", {std::to_string(call.at("result").get<std::int64_t>())});
}

std::string statusText(const Json& status) {
  if (status.is_null()) return translated("nothing stored");
  const int word = status.get<int>();
  return hexText(word) + ", " + statusMeaning(word);
}

/// ", agent error HTTP 54" of an exchange; empty when the agent had none.
std::string agentText(const Json& error) {
  if (error.is_null() || error.at(0) == 0) return "";
  return ", " + translated("agent error %s %s", {agentMeaning(error.at(0).get<int>()),
                                                 std::to_string(error.at(1).get<int>())});
}

/// Size and path of one file that was sent, or why it was not.
std::string itemRows(const Json& item, const Sheet& sheet) {
  const std::string path = item.at("path").is_null() ? "(null)" : bytesOf(item.at("path"));
  std::string size = translated("not sent");
  std::string reason;
  if (item.contains("copy")) {
    const auto bytes = bytesOfCopy(item, sheet.folder);
    size = bytes ? translated("%s bytes", {groupedNumber(*bytes)}) : translated("copy gone");
  } else {
    reason = " (" + bytesOf(item.at("error")) + ")";
  }
  const bool isNarrow = sheet.terminal.width != 0 && sheet.terminal.width < kNarrow;
  const std::size_t columns = isNarrow ? kNarrowSizeColumns : kSizeColumns;
  if (columnsOf(size) < columns) size.insert(0, columns - columnsOf(size), ' ');
  return sheet.rows(size + "  " + path + reason, kDetailIndent, kDetailIndent + columns + 2);
}

std::string dataRows(const Json& items, const Sheet& sheet) {
  if (items.is_null()) {
    return sheet.rows(translated("(no list of files)"), kDetailIndent, kHangIndent);
  }
  std::string rows;
  for (const Json& item : items) rows += itemRows(item, sheet);
  return rows;
}

std::string textRows(const Json& text, const Sheet& sheet) {
  return sheet.rows(text.is_null() ? translated("(no text)") : bytesOf(text), kDetailIndent,
                    kHangIndent);
}

/// What the catalogue says about the agent's error of an exchange; empty when it had none.
std::string explanationRows(const Json& call, const Sheet& sheet) {
  const Json& error = call.at("error");
  if (error.is_null()) return "";
  std::string rows;
  for (const std::string& line : outcome::explanationLines(
           call.at("result").get<int>(), error.at(0).get<int>(), error.at(1).get<int>())) {
    rows += sheet.rows(line, kDetailIndent, kHangIndent);
  }
  return rows;
}

/// The head of an exchange: code, meaning, number of files, result.
std::string exchangeHead(const Json& call) {
  const std::string code = call.at("code").get<std::string>();
  const auto count = call.at("count").get<std::int64_t>();
  std::string head =
      code + ", " + requestMeaning(static_cast<unsigned>(std::strtoul(code.c_str(), nullptr, 16)));
  if (count != 0) {
    head += ", " + translatedCount("%s file", "%s files", static_cast<std::size_t>(count),
                                   {std::to_string(count)});
  }
  return head + ": " + resultText(call) + agentText(call.at("error"));
}

/// The head of any call.
std::string callHead(const Json& call) {
  const std::string name = call.at("call").get<std::string>();
  if (name == "KEL_Communicate") return exchangeHead(call);
  if (name == "KEL_StartComm") return translated("start: %s", {resultText(call)});
  if (name == "KEL_StopComm") return translated("stop: %s", {resultText(call)});
  if (name == "KEL_GetID") {
    return translated("machine identifier (%s): %s",
                      {numberOrNone(call.at("id")), resultText(call)});
  }
  if (name == "KEL_GetStatus") {
    return translated("connection status (%s): %s",
                      {statusText(call.at("status")), resultText(call)});
  }
  throw std::invalid_argument("unknown call " + name);
}

std::string callRows(const Json& call, std::size_t number, const Sheet& sheet) {
  char prefix[32];
  std::snprintf(prefix, sizeof prefix, "%5zu  ", number);
  std::string rows = sheet.rows(prefix + callHead(call), 0, kDetailIndent);
  if (call.contains("text")) rows += textRows(call.at("text"), sheet);
  if (call.contains("items")) rows += dataRows(call.at("items"), sheet);
  if (call.contains("error")) rows += explanationRows(call, sheet);
  return rows;
}

/// The rows of one line of the record. A line that is no call of the library is shown as it is.
std::string lineRows(const std::string& line, std::size_t number, const Sheet& sheet) {
  try {
    return callRows(Json::parse(line), number, sheet);
  } catch (const std::exception&) {
    return sheet.rows("  ???  " + line, 0, kDetailIndent);
  }
}

std::string exchanges(const Sheet& sheet) {
  std::ifstream record(sheet.folder.record());
  if (!record) {
    return sheet.rows(translated("(no record: the command did not load the stand-in library)"), 2,
                      2);
  }
  std::string rows;
  std::string line;
  for (std::size_t number = 1; std::getline(record, line); ++number) {
    rows += lineRows(line, number, sheet);
  }
  return rows.empty() ? sheet.rows(translated("(no call)"), 2, 2) : rows;
}

std::string logRows(std::istream& log, const Sheet& sheet) {
  constexpr std::size_t kLineIndent = 2;
  constexpr std::size_t kContinuedIndent = 6;
  std::string rows;
  std::string line;
  while (std::getline(log, line)) {
    rows += line.empty() ? "\n" : sheet.rows(line, kLineIndent, kContinuedIndent);
  }
  return rows;
}

std::string actionLog(const Sheet& sheet) {
  std::string rows;
  if (std::ifstream backup(sheet.folder.actionLogBackup(), std::ios::binary); backup) {
    rows = sheet.rows(
        translated("(grown too large and cut: its backup first, lines before that are lost)"), 2,
        2);
    rows += logRows(backup, sheet);
  }
  std::ifstream log(sheet.folder.actionLog(), std::ios::binary);
  if (!log) return rows + sheet.rows(translated("(cannot be read)"), 2, 2);
  rows += logRows(log, sheet);
  return rows.empty() ? sheet.rows(translated("(no line)"), 2, 2) : rows;
}

const char* colourOf(outcome::Verdict verdict) {
  switch (verdict) {
    case outcome::Verdict::kDelivered:
      return kGreen;
    case outcome::Verdict::kPartly:
    case outcome::Verdict::kUnknown:
      return kYellow;
    default:
      return kRed;
  }
}

/// Verdict and reason, and where one of the two that it was computed from does not tell it.
std::string verdictRows(const Judgement& judgement, const Sheet& sheet) {
  const std::string word = wordOf(judgement.verdict);
  std::string rows = sheet.rows(word + ": " + judgement.reason, 2, 4);
  // In the first row, whose blanks it stands behind: coloured when the row is laid out.
  rows.replace(rows.find(word), word.size(),
               coloured(word, colourOf(judgement.verdict), sheet.terminal));
  if (!judgement.openInLog.empty()) {
    rows += sheet.rows(translated("the log alone would leave this open: %s", {judgement.openInLog}),
                       2, 4);
  }
  if (judgement.verdict != judgement.fromLog && !judgement.openInRecord.empty()) {
    const std::string said = wordOf(judgement.fromLog);
    rows += sheet.rows(
        translated("the log alone would say %s, which the record does not bear out", {said}), 2, 4);
  } else if (!judgement.openInRecord.empty()) {
    rows += sheet.rows(
        translated("the record alone would leave this open: %s", {judgement.openInRecord}), 2, 4);
  }
  if (judgement.isContradiction) rows += sheet.rows(contradictionOf(judgement), 2, 4);
  return rows;
}

}  // namespace

std::string contradictionOf(const Judgement& judgement) {
  return translated(
      "DISAGREEMENT: the record says %s, the log says %s: one of the two is wrong, report this",
      {wordOf(judgement.fromRecord), wordOf(judgement.fromLog)});
}

std::string makeReport(const RehearsalFolder& folder, int waitStatus, const Judgement& judgement,
                       const Terminal& terminal) {
  const Sheet sheet{folder, terminal};
  std::string report = heading(marked("What the centre would have received")) + exchanges(sheet) +
                       "\n" + heading(marked("Action log")) + actionLog(sheet) + "\n" +
                       heading(marked("Exit status")) +
                       sheet.rows(outcome::endMeaning(waitStatus), 2, 2);
  if (folder.isKept()) report += "\n" + heading(marked("Kept")) + sheet.rows(folder.path(), 2, 2);
  return report + "\n" + heading(marked("Verdict")) + verdictRows(judgement, sheet);
}
