#include "common/text/charclass.h"

#include <algorithm>
#include <cctype>

#include "common/base/format.h"
#include "log/loglines.h"

namespace {

bool isLetter(char byte) { return std::isalpha(static_cast<unsigned char>(byte)) != 0; }

char lower(char byte) {
  return isLetter(byte) ? static_cast<char>(std::tolower(static_cast<unsigned char>(byte))) : byte;
}

bool isDigit(char byte) { return byte >= '0' && byte <= '9'; }

template <class Predicate>
int holdsForAll(const char* text, const Predicate& predicate) {
  while (*text != '\0' && predicate(*text)) ++text;
  return *text == '\0' ? 1 : 0;
}

}  // namespace

void toLowerStr(char* text) {
  for (; text != nullptr && *text != '\0'; ++text) *text = lower(*text);
}

std::string toLowerStr(const std::string& text) {
  std::string lowered = text;
  std::transform(lowered.begin(), lowered.end(), lowered.begin(), lower);
  return lowered;
}

int compareRightNoCase(const std::string& a, const std::string& b, int n) {
  const std::size_t count = n < 1 ? b.size() : static_cast<std::size_t>(n);
  if (a.size() < count || b.size() < count) return 0;
  const auto isSame = [](char x, char y) { return lower(x) == lower(y); };
  return std::equal(a.end() - static_cast<std::ptrdiff_t>(count), a.end(),
                    b.end() - static_cast<std::ptrdiff_t>(count), isSame)
             ? 1
             : 0;
}

int isNumeric(const char* text) {
  if (text == nullptr) {
    invalidParamAt("common", 819);
    return 0;
  }
  return holdsForAll(text, isDigit);
}

int isNumeric(const std::string& text) { return isNumeric(C(text)); }

int isAlpha(const char* text) {
  if (text == nullptr) {
    invalidParamAt("common", 790);
    return 0;
  }
  return holdsForAll(text, isLetter);
}

int isAlpha(const std::string& text) { return isAlpha(C(text)); }
