// Loaded before the C library: whoever asks it for the time is told that it is 2040-01-01 00:00:00
// UTC, which 32 bits do not hold.

#include <sys/time.h>

#include <ctime>

namespace {

constexpr time_t kNow = 2208988800;

}  // namespace

time_t time(time_t* now) noexcept {
  if (now != nullptr) *now = kNow;
  return kNow;
}

int gettimeofday(timeval* now, void*) noexcept {
  *now = {kNow, 0};
  return 0;
}
