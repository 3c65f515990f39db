#include "common/base/elapsed.h"

#include <sys/time.h>

double elapsedTime() {
  timeval now = {};
  ::gettimeofday(&now, nullptr);
  return static_cast<double>(now.tv_sec) + static_cast<double>(now.tv_usec) * 0.000001;
}
