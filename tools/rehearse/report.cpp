#include "tools/rehearse/report.h"

#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <nlohmann/json.hpp>
#include <stdexcept>
#include <string_view>
#include <system_error>

#include "loopback/bytes.h"
#include "tools/outcome/explanation.h"
#include "tools/outcome/meaning.h"
#include "tools/rehearse/screen.h"

namespace {

using Json = nlohmann::json;
using outcome::agentMeaning;
using outcome::requestMeaning;
using outcome::statusMeaning;

// Indents of the rows of a call: its head, its details, and what does not fit in their first row.
constexpr std::size_t kDetailIndent = 7;
constexpr std::size_t kHangIndent = 9;
constexpr std::size_t kSizeColumns = 22;

std::string heading(const std::string& text) {
  return text + "\n" + std::string(text.size(), '-') + "\n";
}

/// The bytes that a string of the record stands for; one that has no valid escapes, as it is.
std::string bytesOf(const Json& value) {
  const std::string text = value.get<std::string>();
  return unescapeBytes(text).value_or(text);
}

std::string hexText(int word) {
  char text[16];
  std::snprintf(text, sizeof text, "0x%x", static_cast<unsigned>(word));
  return text;
}

std::string numberOrNone(const Json& value) {
  return value.is_null() ? "nothing stored" : std::to_string(value.get<std::int64_t>());
}

std::string resultText(const Json& call) {
  return "result " + std::to_string(call.at("result").get<std::int64_t>());
}

std::string statusText(const Json& status) {
  if (status.is_null()) return "nothing stored";
  const int word = status.get<int>();
  return hexText(word) + ", " + statusMeaning(word);
}

/// ", agent error HTTP 54" of an exchange; empty when the agent had none.
std::string agentText(const Json& error) {
  if (error.is_null() || error.at(0) == 0) return "";
  return ", agent error " + agentMeaning(error.at(0).get<int>()) + " " +
         std::to_string(error.at(1).get<int>());
}

/// Size and path of one file that was sent, or why it was not.
std::string itemRows(const Json& item, const RehearsalFolder& folder) {
  const std::string path = item.at("path").is_null() ? "(null)" : bytesOf(item.at("path"));
  std::string size = "not sent";
  std::string reason;
  if (item.contains("copy")) {
    std::error_code error;
    const auto bytes =
        std::filesystem::file_size(folder.path() + "/" + bytesOf(item.at("copy")), error);
    size = error ? "copy gone" : groupedNumber(bytes) + " bytes";
  } else {
    reason = " (" + bytesOf(item.at("error")) + ")";
  }
  if (size.size() < kSizeColumns) size.insert(0, kSizeColumns - size.size(), ' ');
  return screenRows(size + "  " + path + reason, kDetailIndent, kDetailIndent + kSizeColumns + 2);
}

std::string dataRows(const Json& items, const RehearsalFolder& folder) {
  if (items.is_null()) return screenRows("(no list of files)", kDetailIndent, kHangIndent);
  std::string rows;
  for (const Json& item : items) rows += itemRows(item, folder);
  return rows;
}

std::string textRows(const Json& text) {
  return screenRows(text.is_null() ? "(no text)" : bytesOf(text), kDetailIndent, kHangIndent);
}

/// What the catalogue says about the agent's error of an exchange; empty when it had none.
std::string explanationRows(const Json& call) {
  const Json& error = call.at("error");
  if (error.is_null()) return "";
  std::string rows;
  for (const std::string& line : outcome::explanationLines(
           call.at("result").get<int>(), error.at(0).get<int>(), error.at(1).get<int>())) {
    rows += screenRows(line, kDetailIndent, kHangIndent);
  }
  return rows;
}

/// The head of an exchange: code, meaning, number of files, result.
std::string exchangeHead(const Json& call) {
  const std::string code = call.at("code").get<std::string>();
  const auto count = call.at("count").get<std::int64_t>();
  std::string head =
      code + ", " + requestMeaning(static_cast<unsigned>(std::strtoul(code.c_str(), nullptr, 16)));
  if (count == 1) head += ", 1 file";
  if (count != 0 && count != 1) head += ", " + std::to_string(count) + " files";
  return head + ": " + resultText(call) + agentText(call.at("error"));
}

/// The head of any call.
std::string callHead(const Json& call) {
  const std::string name = call.at("call").get<std::string>();
  if (name == "KEL_Communicate") return exchangeHead(call);
  if (name == "KEL_StartComm") return "start: " + resultText(call);
  if (name == "KEL_StopComm") return "stop: " + resultText(call);
  if (name == "KEL_GetID") {
    return "machine identifier (" + numberOrNone(call.at("id")) + "): " + resultText(call);
  }
  if (name == "KEL_GetStatus") {
    return "connection status (" + statusText(call.at("status")) + "): " + resultText(call);
  }
  throw std::invalid_argument("unknown call " + name);
}

std::string callRows(const Json& call, std::size_t number, const RehearsalFolder& folder) {
  char prefix[32];
  std::snprintf(prefix, sizeof prefix, "%5zu  ", number);
  std::string rows = screenRows(prefix + callHead(call), 0, kDetailIndent);
  if (call.contains("text")) rows += textRows(call.at("text"));
  if (call.contains("items")) rows += dataRows(call.at("items"), folder);
  if (call.contains("error")) rows += explanationRows(call);
  return rows;
}

/// The rows of one line of the record. A line that is no call of the library is shown as it is.
std::string lineRows(const std::string& line, std::size_t number, const RehearsalFolder& folder) {
  try {
    return callRows(Json::parse(line), number, folder);
  } catch (const std::exception&) {
    return screenRows("  ???  " + line, 0, kDetailIndent);
  }
}

std::string exchanges(const RehearsalFolder& folder) {
  std::ifstream record(folder.record());
  if (!record) return "  (no record: the command did not load the stand-in library)\n";
  std::string rows;
  std::string line;
  for (std::size_t number = 1; std::getline(record, line); ++number) {
    rows += lineRows(line, number, folder);
  }
  return rows.empty() ? "  (no call)\n" : rows;
}

std::string logRows(std::istream& log) {
  constexpr std::size_t kLineIndent = 2;
  constexpr std::size_t kContinuedIndent = 6;
  std::string rows;
  std::string line;
  while (std::getline(log, line)) {
    rows += line.empty() ? "\n" : screenRows(line, kLineIndent, kContinuedIndent);
  }
  return rows;
}

std::string actionLog(const RehearsalFolder& folder) {
  std::string rows;
  if (std::ifstream backup(folder.actionLogBackup(), std::ios::binary); backup) {
    rows = "  (grown too large and cut: its backup first, lines before that are lost)\n";
    rows += logRows(backup);
  }
  std::ifstream log(folder.actionLog(), std::ios::binary);
  if (!log) return rows + "  (cannot be read)\n";
  rows += logRows(log);
  return rows.empty() ? "  (no line)\n" : rows;
}

}  // namespace

std::string makeReport(const RehearsalFolder& folder, int waitStatus) {
  std::string report = heading("What the centre would have received") + exchanges(folder) + "\n" +
                       heading("Action log") + actionLog(folder) + "\n" + heading("Exit status") +
                       screenRows(outcome::endMeaning(waitStatus), 2, 2);
  if (folder.isKept()) {
    report += "\n" + heading("Kept") + screenRows(folder.path(), 2, 2);
  }
  return report;
}
