#include "common/files/pathform.h"

#include "common/base/format.h"
#include "log/loglines.h"

int isFullPath(const char* path) {
  if (path == nullptr) {
    invalidParamAt("common", 870);
    return 0;
  }
  return path[0] == '/' ? 1 : 0;
}

int isFullPath(const std::string& path) { return isFullPath(C(path)); }

std::string justifyPath(const char* path) {
  if (path == nullptr) {
    invalidParamAt("common", 754);
    return "";
  }
  std::string justified;
  for (const char* byte = path; *byte != '\0'; ++byte) {
    const bool repeats = *byte == '/' && !justified.empty() && justified.back() == '/';
    if (!repeats) justified += *byte;
  }
  if (justified.size() > 1 && justified.back() == '/') justified.pop_back();
  return justified;
}

std::string justifyPath(const std::string& path) { return justifyPath(C(path)); }
