#ifndef TANEXICS_TESTS_SUPPORT_FAILINGRENAME_H
#define TANEXICS_TESTS_SUPPORT_FAILINGRENAME_H

#include <fcntl.h>
#include <stdio.h>

#include <cerrno>
#include <cstddef>
#include <filesystem>
#include <iterator>

// Takes the place of the C library's rename(2) in the program of one test, and so is included in
// one file of it: forwards every call, but for the next few that the test wants to fail.

/// How many calls are still to fail, with EACCES.
inline int renamesToFail = 0;

/// How many descriptors the process had at the last call.
inline std::ptrdiff_t descriptorsAtRename = 0;

extern "C" int rename(const char* from, const char* to) noexcept {
  std::error_code none;  // a private root may lack the folder
  const std::filesystem::directory_iterator descriptors("/proc/self/fd", none);
  descriptorsAtRename = std::distance(begin(descriptors), end(descriptors));
  if (renamesToFail > 0) {
    --renamesToFail;
    errno = EACCES;
    return -1;
  }
  return ::renameat(AT_FDCWD, from, AT_FDCWD, to);
}

#endif
