#include "common/files/removal.h"

#include <list>

#include "common/base/format.h"
#include "common/base/shell.h"
#include "common/files/filesystem.h"
#include "common/files/pathform.h"
#include "common/process/waitstatus.h"
#include "common/text/fields.h"
#include "log/loglines.h"

namespace {

/// Resolves "." and ".." among the fields of a path. The very first field is kept also when it is
/// empty: it stands for the root, and only a ".." takes it away again.
std::list<std::string> resolveDots(const std::list<std::string>& fields) {
  std::list<std::string> resolved;
  bool isFirst = true;
  for (const std::string& field : fields) {
    const bool isDropped = field == "." || (field.empty() && !isFirst);
    isFirst = false;
    if (isDropped) continue;
    if (field != "..") {
      resolved.push_back(field);
    } else if (!resolved.empty()) {
      resolved.pop_back();
    }
  }
  return resolved;
}

}  // namespace

std::string getCanonicalPath(std::string path) {
  const std::string full =
      isFullPath(path) == 0 ? format("%s/%s", C(getCwd()), C(path)) : std::string(C(path));
  std::list<std::string> fields;
  split(C(justifyPath(full)), "/", fields, 0);
  std::string canonical = join(resolveDots(fields), "/");
  traceAt("common", 469, "getCanonicalPath():%s,%s", C(path), C(canonical));
  return canonical;
}

int isAllowDelete(std::string path) {
  const std::string canonical = getCanonicalPath(path);
  std::list<std::string> fields;
  split(C(canonical), "/", fields, 0);
  fields.pop_front();  // the empty one before the leading slash
  // A direct child of /tmp may go; everywhere else two directory levels must stay above the target.
  const bool isBelowTmp = !fields.empty() && fields.front() == "tmp";
  const std::size_t levels = fields.size();
  // The root itself, and what lies above it, has no level at all.
  if (isBelowTmp ? levels > 1 : levels >= 3) return 1;
  infoNumbered("VUQ90008L", "%s too shallow to delete", C(path));
  return 0;
}

int removeFiles(const char* path, int recursive) {
  if (path == nullptr) {
    invalidParamAt("common", 511);
    return -1;
  }
  if (isAllowDelete(path) != 1) return 0;
  const std::string command = format("/bin/rm %s %s >/dev/null 2>&1", recursive == 1 ? "-fr" : "-f",
                                     C(shellEsc(path, /*escWild=*/0)));
  traceAt("common", 520, "%s", C(command));
  return exitStatus(s_system(C(command)));
}
