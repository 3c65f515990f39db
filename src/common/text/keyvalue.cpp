#include "common/text/keyvalue.h"

#include <strings.h>

#include <cstring>

#include "common/base/format.h"
#include "common/text/text.h"
#include "log/loglines.h"

char* getValue(char* line) {
  static char nothing[] = "";
  if (line == nullptr) return nothing;
  char* equals = std::strchr(line, '=');
  if (equals == nullptr) return line + std::strlen(line);
  trim(equals + 1);
  return equals + 1;
}

int splitKeyVal(const char* line, std::string& key, std::string& val) {
  // Copied before the results change: `line` may be the characters of one of them.
  const std::string text = line == nullptr ? "" : line;
  key.clear();
  val.clear();
  if (line == nullptr) {
    invalidParamAt("common", 557);
    return 0;
  }
  const std::size_t equals = text.find('=');
  if (equals == std::string::npos) return 1;
  key = text.substr(0, equals);
  trim(key);
  val = text.substr(equals + 1);
  return 1;
}

int conv2Bool(const char* text) {
  if (text == nullptr) {
    invalidParamAt("common", 1060);
    return 0;
  }
  std::string word = text;
  trim(word);
  for (const char* yes : {"YES", "TRUE", "ON", "1"}) {
    if (::strcasecmp(C(word), yes) == 0) return 1;
  }
  return 0;
}

const char* lookupString(const std::map<std::string, std::string>& map, const char* key) {
  if (key == nullptr) {
    invalidParamAt("common", 961);
    return "";
  }
  const auto found = map.find(key);
  return found == map.end() ? "" : C(found->second);
}
