#include "core/loglines.h"

#include <algorithm>
#include <cctype>
#include <cstdio>
#include <sstream>

namespace {

constexpr std::size_t kGenerated = 6;
const char* const kNameHead = "/swcon";

bool isOfNumber(char byte) {
  return std::isdigit(static_cast<unsigned char>(byte)) != 0 || byte == '.' || byte == '-';
}

bool isOfName(char byte) { return std::isalnum(static_cast<unsigned char>(byte)) != 0; }

/// Replaces what follows each `head` as far as `isPart` says: each byte of it, or all by one.
void blank(std::string& text, const std::string& head, std::size_t most, bool (*isPart)(char),
           char blank, bool isEach = false) {
  for (std::size_t at = text.find(head); at != std::string::npos; at = text.find(head, at)) {
    at += head.size();
    std::size_t end = at;
    while (end < text.size() && end - at < most && isPart(text[end])) ++end;
    text.replace(at, end - at, isEach ? end - at : 1, blank);
  }
}

bool beginsWithTime(const std::string& line) {
  static const std::string shape = "0000/00/00 00:00:00 ";
  return line.size() >= shape.size() &&
         std::equal(shape.begin(), shape.end(), line.begin(), [](char expected, char byte) {
           return expected == '0' ? std::isdigit(static_cast<unsigned char>(byte)) != 0
                                  : expected == byte;
         });
}

}  // namespace

std::vector<LogLine> linesOf(const std::string& log) {
  std::vector<LogLine> lines;
  for (const std::string& text : splitLines(log)) {
    if (!beginsWithTime(text)) {
      if (lines.empty()) lines.emplace_back();
      lines.back().message += "\n" + text;
      continue;
    }
    const std::size_t number = text.find_first_not_of(' ', kTimeBytes);
    const std::size_t end = std::min(text.find(' ', number), text.size() - 1) + 1;
    lines.push_back({text.substr(0, end), text.substr(end)});
  }
  return lines;
}

Texts messagesOf(const std::vector<LogLine>& lines) {
  Texts messages;
  for (const LogLine& line : lines) messages.push_back(normalised(line.message));
  return messages;
}

bool isHead(const std::string& head, pid_t pid) {
  char rest[32];
  std::snprintf(rest, sizeof rest, "%5d ", pid);
  return beginsWithTime(head) && head.substr(kTimeBytes) == rest;
}

std::string normalised(const std::string& text) {
  std::string result = text;
  blank(result, "pid=", 20, isOfNumber, '*');
  blank(result, "time='", 40, isOfNumber, '*');
  blank(result, kNameHead, kGenerated, isOfName, '*');
  return result;
}

Texts normalised(Texts texts) {
  for (std::string& text : texts) text = normalised(text);
  return texts;
}

std::string withFixedNames(const std::string& text) {
  std::string result = text;
  blank(result, kNameHead, kGenerated, isOfName, 'X', /*isEach=*/true);
  return result;
}

Texts splitLines(const std::string& text) {
  Texts lines;
  std::istringstream stream(text);
  for (std::string line; std::getline(stream, line);) lines.push_back(line);
  return lines;
}

bool beginsWith(const std::string& text, const std::string& head) {
  return text.compare(0, head.size(), head) == 0;
}
