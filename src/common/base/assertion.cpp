#include "common/base/assertion.h"

#include <unistd.h>

#include <cstdio>
#include <cstdlib>

void assertionFailed(int line, const char* condition) {
  std::fprintf(stderr, "*** assertion failed,P=%d\n*** %s:%d(%s)\n", static_cast<int>(::getpid()),
               "common.cpp", line, condition);
  std::abort();
}
