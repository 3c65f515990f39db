#include "log/linehead.h"

#include <gtest/gtest.h>

#include <climits>
#include <cstdio>
#include <ctime>
#include <string>

namespace {

std::string headOf(const std::tm& local, int pid) {
  char head[kLineHeadBytes];
  return std::string(head, formatLineHead(head, local, pid));
}

/// The same by printf(3), which the head must be like.
std::string printedHead(const std::tm& local, int pid) {
  char head[kLineHeadBytes];
  std::snprintf(head, sizeof head, "%04ld/%02ld/%02d %02d:%02d:%02d %5d ", 1900L + local.tm_year,
                1L + local.tm_mon, local.tm_mday, local.tm_hour, local.tm_min, local.tm_sec, pid);
  return head;
}

std::tm timeOf(int year, int month, int day, int hour, int minute, int second) {
  std::tm local = {};
  local.tm_year = year - 1900;
  local.tm_mon = month - 1;
  local.tm_mday = day;
  local.tm_hour = hour;
  local.tm_min = minute;
  local.tm_sec = second;
  return local;
}

TEST(LineHead, EveryField_IsFilledUpToItsWidthAndNotCut) {
  EXPECT_EQ(headOf(timeOf(7, 1, 2, 3, 4, 5), 4711), "0007/01/02 03:04:05  4711 ");
  EXPECT_EQ(headOf(timeOf(12345, 12, 31, 23, 59, 60), 4194304), "12345/12/31 23:59:60 4194304 ");
}

TEST(LineHead, EverySecondOfADay_IsAsPrinted) {
  for (int second = 0; second < 24 * 60 * 60; ++second) {
    const std::tm local = timeOf(2026, 11, 22, second / 3600, second / 60 % 60, second % 60);
    ASSERT_EQ(headOf(local, second), printedHead(local, second));
  }
}

TEST(LineHead, EveryDayOfTheCalendar_IsAsPrinted) {
  for (int year = -1; year <= 11000; year += 7) {
    for (int month = 1; month <= 12; ++month) {
      const std::tm local = timeOf(year, month, 1 + year % 31, 1, 2, 3);
      ASSERT_EQ(headOf(local, year), printedHead(local, year));
    }
  }
}

TEST(LineHead, NumbersThatNoClockGives_AreAsPrinted) {
  for (const int number :
       {INT_MIN, -100000, -10000, -999, -10, -9, -1, 100, 99999, 100000, INT_MAX}) {
    std::tm local = {};
    local.tm_year = local.tm_mon = local.tm_mday = number;
    local.tm_hour = local.tm_min = local.tm_sec = number;
    EXPECT_EQ(headOf(local, number), printedHead(local, number));
  }
}

}  // namespace
