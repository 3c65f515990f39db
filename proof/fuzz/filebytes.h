#ifndef TANEXICS_PROOF_FUZZ_FILEBYTES_H
#define TANEXICS_PROOF_FUZZ_FILEBYTES_H

#include <unistd.h>

#include <string>

#include "fuzz/demand.h"

/// Makes `bytes` the whole content of an open file.
inline void writeFileBytes(int fd, const std::string& bytes) {
  demand(::ftruncate(fd, 0) == 0, "the target's own file can be emptied");
  const ssize_t written = ::pwrite(fd, bytes.data(), bytes.size(), 0);
  demand(written == static_cast<ssize_t>(bytes.size()), "the target's own file can be written");
}

/// The whole content of an open file.
inline std::string readFileBytes(int fd) {
  std::string bytes(static_cast<std::size_t>(::lseek(fd, 0, SEEK_END)), '\0');
  const ssize_t count = ::pread(fd, bytes.data(), bytes.size(), 0);
  demand(count == static_cast<ssize_t>(bytes.size()), "the target's own file can be read");
  return bytes;
}

#endif
