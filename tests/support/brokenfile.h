#ifndef TANEXICS_TESTS_SUPPORT_BROKENFILE_H
#define TANEXICS_TESTS_SUPPORT_BROKENFILE_H

#include <dlfcn.h>

#include <algorithm>
#include <cerrno>
#include <cstdio>
#include <string>

#include "support/scratch.h"

// Takes the place of the C library's fopen(3) in the program of one test, and so is included in one
// file of it: forwards every call but those for a broken file.

/// A file that can be opened for reading, gives `bytes`, and then a read error (EIO) in place of an
/// end. One at a time.
class BrokenFile {
 public:
  explicit BrokenFile(const std::string& bytes)
      : m_bytes(bytes), m_path(m_dir.write("broken", "")) {
    current = this;
  }
  ~BrokenFile() { current = nullptr; }
  BrokenFile(const BrokenFile&) = delete;
  BrokenFile& operator=(const BrokenFile&) = delete;

  const std::string& path() const { return m_path; }

  /// The one that there is, null for none.
  static inline BrokenFile* current = nullptr;

  FILE* open() {
    m_read = 0;
    return ::fopencookie(this, "r", {&BrokenFile::read, nullptr, nullptr, nullptr});
  }

 private:
  static ssize_t read(void* cookie, char* buffer, std::size_t size) {
    auto& self = *static_cast<BrokenFile*>(cookie);
    const std::size_t count = std::min(size, self.m_bytes.size() - self.m_read);
    if (count == 0) {
      errno = EIO;
      return -1;
    }
    self.m_bytes.copy(buffer, count, self.m_read);
    self.m_read += count;
    return static_cast<ssize_t>(count);
  }

  ScratchDir m_dir;
  std::string m_bytes;
  std::string m_path;
  std::size_t m_read = 0;
};

// With 64-bit file offsets this is the C library's fopen64.
extern "C" FILE* fopen(const char* path, const char* mode) {
  using Fopen = FILE* (*)(const char*, const char*);
  static const auto real = reinterpret_cast<Fopen>(::dlsym(RTLD_NEXT, "fopen64"));
  const bool isBroken = BrokenFile::current != nullptr && BrokenFile::current->path() == path;
  return isBroken ? BrokenFile::current->open() : real(path, mode);
}

#endif
