#include "common/files/prefix.h"

#include "common/base/format.h"
#include "common/base/pathparts.h"
#include "common/files/filesystem.h"
#include "common/files/pathform.h"
#include "common/text/fields.h"
#include "log/loglines.h"

namespace {

std::list<std::string> directoryFields(const std::string& path) {
  std::list<std::string> fields;
  split(C(justifyPath(isDir(path) == 1 ? path : parentPath(path))), "/", fields, 0);
  return fields;
}

/// The fields that both have at the same place, also after a difference.
std::list<std::string> sameFields(const std::list<std::string>& a,
                                  const std::list<std::string>& b) {
  std::list<std::string> same;
  for (auto x = a.begin(), y = b.begin(); x != a.end() && y != b.end(); ++x, ++y) {
    if (*x == *y) same.push_back(*y);
  }
  return same;
}

}  // namespace

std::string acquireSamePrefix(std::list<std::string>& paths) {
  std::list<std::string> common;
  for (const std::string& path : paths) {
    traceAt("common", 82, "src:%s", C(path));
    std::list<std::string> fields = directoryFields(path);
    if (common.empty()) {
      common.swap(fields);
      continue;
    }
    std::list<std::string> same = sameFields(common, fields);
    if (same.size() < common.size()) common.swap(same);
  }
  std::string prefix = join(common, "/");
  if (common.size() == 1 && common.front().empty()) prefix = "/";
  traceAt("common", 133, "same prefix:%s", C(prefix));
  return prefix;
}
