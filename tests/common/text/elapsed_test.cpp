#include <gtest/gtest.h>
#include <unistd.h>

#include <cmath>
#include <ctime>

#include "common/text/timetext.h"

namespace {

TEST(ElapsedTime, Value_IsTheTimeOfDay) {
  const double before = static_cast<double>(std::time(nullptr));
  const double now = elapsedTime();
  // time(2) may lag behind by a clock tick.
  EXPECT_GE(now, before);
  EXPECT_LE(now, static_cast<double>(std::time(nullptr)) + 1.1);
}

TEST(ElapsedTime, Difference_IsADurationInSeconds) {
  const double start = elapsedTime();
  ::usleep(50000);
  const double elapsed = elapsedTime() - start;
  EXPECT_GE(elapsed, 0.049);
  EXPECT_LT(elapsed, 10.0);
}

TEST(ElapsedTime, Fraction_IsInMicroseconds) {
  // Of a hundred readings some fall between two milliseconds.
  bool isFine = false;
  for (int i = 0; i < 100 && !isFine; ++i, ::usleep(37)) {
    const double milliseconds = elapsedTime() * 1000.0;
    isFine = std::abs(milliseconds - std::round(milliseconds)) > 0.05;
  }
  EXPECT_TRUE(isFine);
}

}  // namespace
