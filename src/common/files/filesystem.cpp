#include "common/files/filesystem.h"

#include <sys/stat.h>
#include <unistd.h>

#include <cerrno>
#include <cstring>

#include "common/base/format.h"
#include "common/base/shell.h"
#include "common/process/execgetline.h"
#include "log/CLog.h"
#include "log/loglines.h"

namespace {

constexpr mode_t kAnyExecuteBit = 0111;

}  // namespace

int isFile(const char* path) {
  if (path == nullptr) {
    invalidParamAt("common", 1271);
    return 0;
  }
  struct stat status = {};
  return ::stat(path, &status) == 0 && !S_ISDIR(status.st_mode) ? 1 : 0;
}

int isFile(const std::string& path) { return isFile(C(path)); }

int isDir(const char* path) {
  struct stat status = {};
  return path != nullptr && ::stat(path, &status) == 0 && S_ISDIR(status.st_mode) ? 1 : 0;
}

int isDir(const std::string& path) { return isDir(C(path)); }

std::int64_t getFileSize(const char* path) {
  struct stat status = {};
  if (path != nullptr && ::stat(path, &status) == 0) return status.st_size;
  // What stat(2) and printf(3) make of a null pointer, which neither of them may be given.
  const int error = path == nullptr ? EFAULT : errno;
  gLog.ilog("get file size error(%s,%s)", path == nullptr ? "(null)" : path, std::strerror(error));
  return -1;
}

int makeDir(const char* path, int parents) {
  if (path == nullptr) return -1;
  const std::string command =
      format("mkdir %s %s 2>/dev/null", parents != 0 ? "-p" : "", C(shellEsc(path, /*escWild=*/0)));
  return execGetLine(C(command), nullptr) == 0 ? 0 : -1;
}

int makeDir(const std::string& path, int parents) { return makeDir(C(path), parents); }

std::string getCwd() {
  char buffer[4097] = {};
  return ::getcwd(buffer, 4096) == nullptr ? "." : buffer;
}

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
