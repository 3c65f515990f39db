#include "common/text/wildcard.h"

#include <fnmatch.h>

#include <cstring>

#include "common/base/format.h"
#include "log/loglines.h"

int matchWild(const char* pattern, const char* name) {
  if (pattern == nullptr || name == nullptr) {
    invalidParamAt("common", 583);
    return 0;
  }
  return ::fnmatch(pattern, name, FNM_PATHNAME | FNM_NOESCAPE) == 0 ? 1 : 0;
}

int hasWildCard(const char* text) {
  return text != nullptr && std::strpbrk(text, "*[]?") != nullptr ? 1 : 0;
}

int hasWildCard(const std::string& text) { return hasWildCard(C(text)); }
