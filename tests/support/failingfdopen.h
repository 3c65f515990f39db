#ifndef TANEXICS_TESTS_SUPPORT_FAILINGFDOPEN_H
#define TANEXICS_TESTS_SUPPORT_FAILINGFDOPEN_H

#include <dlfcn.h>

#include <cstdio>

// Takes the place of the C library's fdopen(3) in the program of one test, and so is included in
// one file of it: forwards every call, but for those that the test wants to fail.

inline bool isFdopenFailing = false;

extern "C" FILE* fdopen(int fd, const char* mode) noexcept {
  using Fdopen = FILE* (*)(int, const char*);
  static const auto real = reinterpret_cast<Fdopen>(::dlsym(RTLD_NEXT, "fdopen"));
  return isFdopenFailing ? nullptr : real(fd, mode);
}

#endif
