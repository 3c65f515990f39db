#include "common/text/text.h"

#include <cctype>
#include <cstring>
#include <utility>

#include "common/base/assertion.h"
#include "common/base/format.h"
#include "log/loglines.h"

namespace {

bool isSpace(char byte) { return std::isspace(static_cast<unsigned char>(byte)) != 0; }

}  // namespace

int eraseLastCRLF(std::string& text) {
  if (!text.empty() && text.back() == '\n') text.pop_back();
  if (!text.empty() && text.back() == '\r') text.pop_back();
  return 0;
}

int eraseLastCRLF(char* text) {
  if (text == nullptr) {
    invalidParamAt("common", 1525);
    return -1;
  }
  std::size_t length = std::strlen(text);
  if (length > 0 && text[length - 1] == '\n') text[--length] = '\0';
  if (length > 0 && text[length - 1] == '\r') text[--length] = '\0';
  return 0;
}

void trim(char* text) {
  if (text == nullptr) return;
  const char* start = text;
  while (isSpace(*start)) ++start;
  std::size_t length = std::strlen(start);
  std::memmove(text, start, length + 1);
  while (length > 0 && isSpace(text[length - 1])) text[--length] = '\0';
}

char* trim(std::string& text) {
  std::size_t leading = 0;
  while (leading < text.size() && isSpace(text[leading])) ++leading;
  text.erase(0, leading);
  while (!text.empty() && isSpace(text.back())) text.pop_back();
  return C(text);
}

std::string trimQuote(const char* text) {
  if (text == nullptr) {
    invalidParamAt("common", 335);
    return "";
  }
  std::string trimmed = text;
  if (trimmed.empty() || trimmed.front() != '"' || trimmed.back() != '"') return trimmed;
  return trimmed.substr(1, trimmed.size() - 2);  // of one quote alone nothing is left either
}

std::string quoteEsc(const char* text, char quote) {
  std::string escaped;
  for (; text != nullptr && *text != '\0'; ++text) {
    if (*text == quote) escaped += quote;
    escaped += *text;
  }
  return escaped;
}

std::string quoteEsc(std::string text, char quote) { return quoteEsc(C(text), quote); }

// The published signature takes both by value.
// cppcheck-suppress passedByValue
int replaceString(std::string& text, std::string from, std::string to) {
  if (text.empty() || from.empty()) return -1;
  // Collected in a second text: replacing in place would move the rest once for every occurrence.
  std::string replaced;
  const char* rest = text.data();
  const char* const end = rest + text.size();
  // memmem(3) is linear for any pair of texts, which std::string::find is not.
  while (const void* found =
             ::memmem(rest, static_cast<std::size_t>(end - rest), from.data(), from.size())) {
    const char* occurrence = static_cast<const char*>(found);
    replaced.append(rest, occurrence).append(to);
    rest = occurrence + from.size();
  }
  replaced.append(rest, end);
  text = std::move(replaced);
  return 0;
}

std::string matchedString(const char* a, const char* b) {
  if (a == nullptr || b == nullptr) {
    invalidParamAt("common", 412);
    return "";
  }
  std::size_t length = 0;
  while (a[length] != '\0' && a[length] == b[length]) ++length;
  return std::string(a, length);
}

char* strlcpy(char* dst, const char* src, unsigned size) {
  if (dst == nullptr || src == nullptr) assertionFailed(19, "dst != __null && src != __null");
  if (size == 0) return nullptr;
  const std::size_t length = strnlen(src, size - 1);
  std::memmove(dst, src, length);  // the two may overlap
  std::memset(dst + length, 0, size - length);
  return dst;
}

int countLines(const char* text) {
  if (text == nullptr) assertionFailed(2176, "t != __null");
  int count = 0;
  for (const char* byte = text; *byte != '\0'; ++byte) {
    // Every line feed ends a line, and so does the end of a text that does not end with one.
    if (*byte == '\n' || byte[1] == '\0') ++count;
  }
  return count;
}
