#include "tools/check/textmarks.h"

#include <algorithm>

#include "tools/common/language.h"

namespace check {

namespace {

bool isControl(char byte) {
  const auto value = static_cast<unsigned char>(byte);
  return value < 0x20 || value == 0x7f;
}

}  // namespace

bool isBlank(char byte) { return byte == ' ' || byte == '\t'; }

bool hasByteOrderMark(std::string_view text) {
  return text.substr(0, kByteOrderMark.size()) == kByteOrderMark;
}

std::vector<std::string> marksOf(std::string_view text) {
  std::vector<std::string> marks;
  if (text.empty()) return marks;
  if (hasByteOrderMark(text)) marks.push_back(translated("begins with a byte order mark"));
  const bool isBefore = isBlank(text.front());
  const bool isAfter = isBlank(text.back());
  if (isBefore && isAfter) {
    marks.push_back(translated("begins and ends with a blank"));
  } else if (isBefore) {
    marks.push_back(translated("begins with a blank"));
  } else if (isAfter) {
    marks.push_back(translated("ends with a blank"));
  }
  if (std::any_of(text.begin(), text.end(), isControl)) {
    marks.push_back(translated("has control bytes"));
  }
  return marks;
}

}  // namespace check
