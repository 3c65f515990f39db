#include "tools/log/writefile.h"

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cerrno>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <optional>

#include "common/base/descriptor.h"
#include "tools/common/language.h"

namespace {

constexpr mode_t kPermissions = 0777;
constexpr mode_t kNewFile = 0644;

bool writeAll(int file, std::string_view bytes) {
  while (!bytes.empty()) {
    const ssize_t count = ::write(file, bytes.data(), bytes.size());
    if (count < 0 && errno != EINTR) return false;
    if (count > 0) bytes.remove_prefix(static_cast<std::size_t>(count));
  }
  return true;
}

/// Gives a file the owner and permissions of the one whose place it takes, if there is one.
bool giveMode(int file, const std::optional<struct stat>& older) {
  if (!older) {
    const mode_t mask = ::umask(0);
    ::umask(mask);
    return ::fchmod(file, kNewFile & ~mask) == 0;
  }
  // Not everybody may give files away: then it is the caller's, as any file that he writes.
  static_cast<void>(::fchown(file, older->st_uid, older->st_gid) == 0);
  return ::fchmod(file, older->st_mode & kPermissions) == 0;
}

/// Writes the file that is to take the place of `path`. 0, or the reason why that failed.
int writeBeside(const std::string& path, std::string_view bytes,
                const std::optional<struct stat>& older) {
  // Not made of the name itself, which may be as long as a name can be.
  std::string beside = path.substr(0, path.rfind('/') + 1) + ".tanexics-log-XXXXXX";
  Descriptor file(::mkostemp(beside.data(), O_CLOEXEC));
  if (!file.isOpen()) return errno;
  // On the disk before it has the name, so that a machine that stops leaves one of the two.
  if (writeAll(file.get(), bytes) && giveMode(file.get(), older) && ::fsync(file.get()) == 0 &&
      ::close(file.release()) == 0 && std::rename(beside.c_str(), path.c_str()) == 0) {
    return 0;
  }
  const int reason = errno;
  ::unlink(beside.c_str());
  return reason;
}

}  // namespace

std::string writeWhole(const std::string& path, std::string_view bytes) {
  std::optional<struct stat> older;
  struct stat status = {};
  if (::lstat(path.c_str(), &status) == 0) {
    // The super-user would replace /dev/null as well.
    if (S_ISDIR(status.st_mode)) return std::strerror(EISDIR);
    if (!S_ISREG(status.st_mode)) return translated("it is not a regular file");
    older = status;
  }
  const int reason = writeBeside(path, bytes, older);
  return reason == 0 ? "" : std::strerror(reason);
}
