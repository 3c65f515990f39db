#include "loopback/filecopy.h"

#include <sys/stat.h>
#include <unistd.h>

#include <algorithm>
#include <array>
#include <cerrno>
#include <cstddef>
#include <cstring>
#include <limits>

namespace {

constexpr std::size_t kPieceBytes = 65536;
constexpr off_t kNoLimit = std::numeric_limits<off_t>::max();

/// Thrown within this file, with the text that `copyContents` returns.
struct CopyFailure {
  std::string text;
};

[[noreturn]] void fail(const char* operation) {
  throw CopyFailure{std::string(operation) + ": " + std::strerror(errno)};
}

/// pread(2), an interrupted call repeated.
std::size_t readAt(int source, char* buffer, std::size_t size, off_t at) {
  for (;;) {
    const ssize_t count = ::pread(source, buffer, size, at);
    if (count >= 0) return static_cast<std::size_t>(count);
    if (errno != EINTR) fail("read");
  }
}

void writeAllAt(int target, const char* buffer, std::size_t size, off_t at) {
  while (size > 0) {
    const ssize_t count = ::pwrite(target, buffer, size, at);
    if (count < 0 && errno == EINTR) continue;
    if (count < 0) fail("write");
    buffer += count;
    size -= static_cast<std::size_t>(count);
    at += count;
  }
}

/// Copies from `at` to before `end`. Returns where it stopped: before `end` when the file ends
/// there.
off_t copyRange(int source, int target, off_t at, off_t end) {
  std::array<char, kPieceBytes> buffer;
  while (at < end) {
    const off_t wanted = std::min<off_t>(end - at, kPieceBytes);
    const std::size_t count = readAt(source, buffer.data(), static_cast<std::size_t>(wanted), at);
    if (count == 0) break;
    writeAllAt(target, buffer.data(), count, at);
    at += static_cast<off_t>(count);
  }
  return at;
}

/// Where the next data at or after `at` begins: `size` when only a hole follows.
off_t nextData(int source, off_t at, off_t size) {
  const off_t data = ::lseek(source, at, SEEK_DATA);
  if (data >= 0) return std::min(data, size);
  // Nothing but a hole up to the end, unless the file has been cut since its size was taken.
  if (errno == ENXIO) return size;
  // A file system that knows no holes: everything is data.
  if (errno == EINVAL) return at;
  fail("seek");
}

/// Where the data that begins at `at` ends.
off_t endOfData(int source, off_t at, off_t size) {
  const off_t hole = ::lseek(source, at, SEEK_HOLE);
  return hole > at ? std::min(hole, size) : size;
}

off_t copyBetweenHoles(int source, int target, off_t size) {
  off_t at = 0;
  while ((at = nextData(source, at, size)) < size) {
    const off_t end = endOfData(source, at, size);
    at = copyRange(source, target, at, end);
    if (at < end) return at;
  }
  const off_t sizeNow = ::lseek(source, 0, SEEK_END);
  return sizeNow < 0 ? size : std::min(size, sizeNow);
}

}  // namespace

std::string copyContents(int source, int target) {
  try {
    struct stat status;
    if (::fstat(source, &status) != 0) fail("stat");
    // Files that the kernel makes up have a size of 0 and can be read all the same.
    const off_t length = status.st_size == 0 ? copyRange(source, target, 0, kNoLimit)
                                             : copyBetweenHoles(source, target, status.st_size);
    // A hole at the end is made by the length alone.
    if (::ftruncate(target, length) != 0) fail("truncate");
    return "";
  } catch (const CopyFailure& failure) {
    return failure.text;
  }
}
