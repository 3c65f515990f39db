#ifndef TANEXICS_TESTS_SUPPORT_DESCRIPTORS_H
#define TANEXICS_TESTS_SUPPORT_DESCRIPTORS_H

#include <fcntl.h>
#include <sys/resource.h>
#include <unistd.h>

#include <vector>

// For the child of a test: which descriptors there are, and how many more there may be.

/// Closes those of the descriptors 0 to 2 whose bits are set in `mask`.
inline void closeStandardDescriptors(int mask) {
  for (int fd = 0; fd < 3; ++fd) {
    if ((mask & (1 << fd)) != 0) ::close(fd);
  }
}

/// Closes everything above standard error that the test has inherited or opened.
inline bool closeOtherDescriptors() { return ::close_range(3, ~0U, 0) == 0; }

/// Lets the process open descriptors below `count` only.
inline bool limitDescriptors(unsigned count) {
  rlimit limit = {};
  if (::getrlimit(RLIMIT_NOFILE, &limit) != 0) return false;
  limit.rlim_cur = count;
  return ::setrlimit(RLIMIT_NOFILE, &limit) == 0;
}

/// The number that the `nth` descriptor opened from here on will have, 1 for the next one.
inline int upcomingDescriptor(int nth) {
  std::vector<int> opened;
  for (int i = 0; i < nth; ++i) opened.push_back(::open("/", O_RDONLY | O_CLOEXEC));
  const int number = opened.back();
  for (const int fd : opened) ::close(fd);
  return number;
}

#endif
