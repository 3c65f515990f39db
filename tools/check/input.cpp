#include "tools/check/input.h"

#include <fcntl.h>
#include <sys/stat.h>
#include <sys/sysmacros.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <cstring>

#include "common/base/descriptor.h"
#include "common/base/piecereader.h"
#include "common/files/filesystem.h"
#include "tools/common/language.h"

namespace check {

namespace {

constexpr unsigned kMemoryDevices = 1;  // the major number, see null(4)
constexpr unsigned kNullDevice = 3;

bool isNullDevice(const struct stat& status) {
  return S_ISCHR(status.st_mode) && major(status.st_rdev) == kMemoryDevices &&
         minor(status.st_rdev) == kNullDevice;
}

/// Tells that the file cannot be used, and why. That settles what the command does with it, unless
/// it would wait, or the caller may not know what the super-user can, as whom the command runs.
Input failed(const std::string& what, int error, FaultsOf& faults) {
  if (error == EAGAIN) {
    // TRANSLATORS: what cannot be done: "cannot be opened" or "cannot be read to its end"
    faults.warning(0, translated("%s at once, and is not waited for as the command would", {what}));
    return {Extent::kUnknown, ""};
  }
  const std::string text = what + ": " + std::strerror(error);
  if (error == EACCES && isAdmin() == 0) {
    faults.warning(
        0, translated("%s; whether the super-user can, as whom the command runs, is not known",
                      {text}));
    return {Extent::kUnknown, ""};
  }
  faults.error(0, text);
  return {Extent::kRejected, ""};
}

/// Reads at most `kMostBytes` and one more. Returns 0 or the error of the read that failed.
int readSome(int file, std::string& bytes) {
  constexpr std::size_t kStepBytes = 1 << 18;
  ssize_t count = 1;
  while (count > 0 && bytes.size() <= kMostBytes) {
    const std::size_t size = bytes.size();
    bytes.resize(size + std::min(kStepBytes, kMostBytes + 1 - size));
    do {
      count = ::read(file, bytes.data() + size, bytes.size() - size);
    } while (count < 0 && errno == EINTR);
    bytes.resize(size + static_cast<std::size_t>(std::max<ssize_t>(count, 0)));
  }
  return count < 0 ? errno : 0;
}

/// Cuts what is too large at the end of a line, or of a piece where there is but one line.
void cutToLines(std::string& bytes) {
  bytes.resize(kMostBytes);
  const std::size_t end = bytes.rfind('\n');
  const std::size_t piece = PieceReader::kBufferBytes - 1;
  bytes.resize(end == std::string::npos ? bytes.size() / piece * piece : end + 1);
}

}  // namespace

const char* specialKind(mode_t mode) {
  if (S_ISFIFO(mode)) return marked("a FIFO");
  if (S_ISSOCK(mode)) return marked("a socket");
  if (S_ISCHR(mode) || S_ISBLK(mode)) return marked("a device");
  return S_ISREG(mode) || S_ISDIR(mode) ? nullptr : marked("no regular file");
}

Input readInput(const std::string& path, FaultsOf& faults) {
  struct stat status = {};
  if (::stat(path.c_str(), &status) != 0) {
    if (errno != ENOENT) return failed(translated("cannot be examined"), errno, faults);
    faults.error(0, translated("does not exist"));
    return {Extent::kRejected, ""};
  }
  if (isFile(path) == 0) {
    faults.error(0, translated("is a directory"));
    return {Extent::kRejected, ""};
  }
  if (isNullDevice(status)) return {Extent::kWhole, ""};
  if (!S_ISREG(status.st_mode) && !S_ISSOCK(status.st_mode)) {
    faults.warning(0, translated("is %s, and not opened here: the command reads it until it ends",
                                 {translated(specialKind(status.st_mode))}));
    return {};
  }
  // A regular file of the system, or one with a lease, may make its readers wait all the same.
  const Descriptor file(::open(path.c_str(), O_RDONLY | O_CLOEXEC | O_NONBLOCK));
  if (!file.isOpen()) return failed(translated("cannot be opened"), errno, faults);
  Input input;
  input.extent = Extent::kWhole;
  const int error = readSome(file.get(), input.bytes);
  if (error != 0) {
    input.extent = failed(translated("cannot be read to its end"), error, faults).extent;
  } else if (input.bytes.size() > kMostBytes) {
    input.extent = Extent::kPart;
    cutToLines(input.bytes);
    faults.warning(0, translated("is too large to be checked as a whole: its first %s bytes are",
                                 {std::to_string(input.bytes.size())}));
  }
  return input;
}

}  // namespace check
