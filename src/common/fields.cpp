#include "common/fields.h"

#include <cassert>
#include <cstring>

#include "log/loglines.h"

namespace {

template <class Container>
int splitInto(const char* text, const char* delim, Container& out, int maxFields) {
  const std::size_t delimLength = delim == nullptr ? 0 : std::strlen(delim);
  assert(delimLength > 0);
  const bool limited = maxFields > 1;
  const std::size_t limit = limited ? static_cast<std::size_t>(maxFields) : 0;

  const char* rest = text;
  for (;;) {
    const bool isLast = limited && out.size() == limit - 1;
    const char* found = isLast || delimLength == 0 ? nullptr : std::strstr(rest, delim);
    if (found == nullptr) break;
    out.emplace_back(rest, static_cast<std::size_t>(found - rest));
    rest = found + delimLength;
  }
  out.emplace_back(rest);
  while (limited && out.size() < limit) out.emplace_back();
  return static_cast<int>(out.size());
}

template <class Container>
std::string joinItems(const Container& items, const char* sep) {
  std::string text;
  for (auto item = items.begin(); item != items.end(); ++item) {
    if (item != items.begin()) text += sep;
    text += *item;
  }
  return text;
}

}  // namespace

int split(const char* text, const char* delim, std::list<std::string>& out, int maxFields) {
  out.clear();
  if (text == nullptr) {
    invalidParamAt("common", 2748);
    return 0;
  }
  return splitInto(text, delim, out, maxFields);
}

int split(const char* text, const char* delim, std::vector<std::string>& out, int maxFields) {
  out.clear();
  if (text == nullptr) {
    invalidParamAt("common", 2812);
    return 0;
  }
  return splitInto(text, delim, out, maxFields);
}

std::string join(const std::list<std::string>& items, const char* sep) {
  if (sep == nullptr) {
    invalidParamAt("common", 2469);
    return "";
  }
  return joinItems(items, sep);
}

std::string join(const std::vector<std::string>& items, const char* sep) {
  if (sep == nullptr) {
    invalidParamAt("common", 2493);
    return "";
  }
  return joinItems(items, sep);
}
