#include "common/files/attributes.h"

#include <sys/stat.h>
#include <unistd.h>
#include <utime.h>

#include <cerrno>
#include <cstring>

#include "common/base/format.h"
#include "common/base/ignoreresult.h"
#include "common/files/filesystem.h"
#include "common/text/timetext.h"
#include "log/CLog.h"
#include "log/loglines.h"

namespace {

/// What cannot be given stays as it is: a directory with the wrong owner is better than none.
void copyAttributes(const struct stat& source, const char* dst) {
  const utimbuf times = {source.st_atime, source.st_mtime};
  ::utime(dst, &times);
  ignoreResult(::chown(dst, source.st_uid, source.st_gid));
  ::chmod(dst, source.st_mode);
}

}  // namespace

int dupDir(const char* src, const char* dst) {
  if (src == nullptr || dst == nullptr) {
    invalidParamAt("common", 362);
    return 0;
  }
  struct stat source = {};
  if (::stat(src, &source) != 0) {
    infoAt("common", 371, "failed to stat():%s,%s", src, std::strerror(errno));
    return 0;
  }
  if (isFile(dst) == 1) {
    infoNumbered("VUQ90001L", "destination:%s is already exist and it's file", dst);
    return 0;
  }
  if (isDir(dst) == 0 && makeDir(dst, /*parents=*/1) == -1) {
    infoNumbered("VUQ90002L", "failed to makeDir():%s", dst);
    return 0;
  }
  copyAttributes(source, dst);
  return 1;
}

int getFileDate(const std::string& path, std::string& out) {
  struct stat status = {};
  if (::stat(C(path), &status) != 0) {
    gLog.ilog("get file date error(%s)", C(path));
    out.clear();  // not before: `path` may be the same string
    return -1;
  }
  out = localTimeText(status.st_mtime);
  return 0;
}
