#include "common/files/access.h"

#include <sys/stat.h>
#include <unistd.h>

#include "common/base/format.h"
#include "log/loglines.h"

namespace {

constexpr mode_t kAnyExecuteBit = 0111;

}  // namespace

int isAccessible(const char* path, int mode) {
  if (path == nullptr) {
    infoAt("common", 1000, "filename is NULL , mode=%08x", static_cast<unsigned>(mode));
    return 0;
  }
  return ::access(path, mode) == 0 ? 1 : 0;
}

int isExecutable(const char* path) {
  if (isAccessible(path, X_OK) == 0) return 0;
  if (isAdmin() == 0) return 1;
  struct stat status = {};
  return ::stat(path, &status) == 0 && (status.st_mode & kAnyExecuteBit) != 0 ? 1 : 0;
}

int isExecutable(const std::string& path) { return isExecutable(C(path)); }

int isReadable(const char* path) { return isAccessible(path, R_OK); }

int isReadable(const std::string& path) { return isReadable(C(path)); }

int isAdmin() { return ::getuid() == 0 ? 1 : 0; }
