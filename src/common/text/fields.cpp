#include "common/text/fields.h"

#include <cassert>
#include <cstring>
#include <utility>

#include "common/base/format.h"
#include "log/loglines.h"

namespace {

/// `out` takes the fields over in the end: the text may be one of its items.
template <class Container>
int splitInto(const char* text, const char* delim, Container& out, int maxFields) {
  const std::size_t delimLength = std::strlen(delim);
  assert(delimLength > 0);
  Container fields;
  const bool limited = maxFields > 1;
  const std::size_t limit = limited ? static_cast<std::size_t>(maxFields) : 0;

  const char* rest = text;
  for (;;) {
    const bool isLast = limited && fields.size() == limit - 1;
    const char* found = isLast || delimLength == 0 ? nullptr : std::strstr(rest, delim);
    if (found == nullptr) break;
    fields.emplace_back(rest, static_cast<std::size_t>(found - rest));
    rest = found + delimLength;
  }
  fields.emplace_back(rest);
  while (limited && fields.size() < limit) fields.emplace_back();
  out = std::move(fields);
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
  if (text == nullptr) invalidParamAt("common", 2748);
  if (text == nullptr || delim == nullptr) {
    out.clear();
    return 0;
  }
  return splitInto(text, delim, out, maxFields);
}

int split(const char* text, const char* delim, std::vector<std::string>& out, int maxFields) {
  if (text == nullptr) invalidParamAt("common", 2812);
  if (text == nullptr || delim == nullptr) {
    out.clear();
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

int logList(std::string id, std::list<std::string>& items) {
  for (const std::string& item : items) infoNumbered(C(id), "%s", C(item));
  return 1;
}
