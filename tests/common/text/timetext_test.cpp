#include "common/text/timetext.h"

#include <gtest/gtest.h>
#include <unistd.h>

#include <climits>
#include <cmath>
#include <cstdint>
#include <cstring>
#include <ctime>
#include <string>

#include "support/timezoneguard.h"

namespace {

constexpr const char* kTokyo = "JST-9";
constexpr const char* kNewYork = "EST5EDT,M3.2.0,M11.1.0";
constexpr const char* kKolkata = "IST-5:30";
constexpr const char* kUtc = "UTC0";

// Seconds since the epoch of moments in UTC.
constexpr time_t kNewYearsEve20h = 1798747200;  // 2026/12/31 20:00:00
constexpr time_t kNewYear2h = 1798768800;       // 2027/01/01 02:00:00
constexpr time_t kSummerNoon = 1782907200;      // 2026/07/01 12:00:00

// --- convertTimeToStr ----------------------------------------------------------------------------

TEST(ConvertTimeToStr, Durations_AreTurnedIntoTheLargestUnit) {
  const struct {
    int value;
    int startUnit;
    int maxUnit;
    int outValue;
    int outRest;
    int unit;
  } kRows[] = {
      {5, 0, 0, 5, 0, 0},  // nothing to divide
      {100, 0, 0, 100, 0, 0},
      {60, 0, 1, 1, 0, 1},
      {125, 0, 1, 2, 5, 1},
      {7199, 0, 1, 119, 59, 1},
      {7325, 0, 2, 2, 2, 2},  // 2 hours, 2 minutes; the seconds are dropped
      {86400, 0, 3, 1, 0, 3},
      {90000, 0, 3, 1, 1, 3},
      {90000, 0, 5, 1, 1, 3},  // never above days
      {INT_MAX, 0, 3, 24855, 3, 3},
      {125, 1, 2, 2, 5, 2},
      {49, 2, 3, 2, 1, 3},
      {5, 3, 0, 5, 0, 3},
      {5, 3, 3, 5, 0, 3},
      {0, 3, 3, 0, 0, 3},
      {5, 2, 2, 5, 0, 2},
      {100000, 1, 0, 69, 10, 3},  // a largest unit below the start is passed by
      // A value that comes to 0 on the way is one of the largest unit.
      {0, 0, 3, 1, 0, 3},
      {59, 0, 1, 1, 0, 1},
      {59, 0, 3, 1, 0, 3},
      {60, 0, 3, 1, 0, 3},
      {3599, 0, 2, 1, 0, 2},
      {86399, 0, 3, 1, 0, 3},
      {23, 2, 3, 1, 0, 3},
      {59, 0, 5, 1, 0, 5},
      {1000, 4, 3, 1, 0, 3},
      // Negative values end the same way.
      {-5, 0, 0, -5, 0, 0},
      {-5, 0, 3, 1, 0, 3},
      {INT_MIN, 0, 3, 1, 0, 3},
  };
  for (const auto& row : kRows) {
    int outValue = 4711;
    int outRest = 4711;
    const int unit = convertTimeToStr(row.value, outValue, outRest, row.startUnit, row.maxUnit);
    EXPECT_EQ(unit, row.unit) << row.value << " from " << row.startUnit << " to " << row.maxUnit;
    EXPECT_EQ(outValue, row.outValue) << row.value << ", " << row.startUnit << ", " << row.maxUnit;
    EXPECT_EQ(outRest, row.outRest) << row.value << ", " << row.startUnit << ", " << row.maxUnit;
  }
}

// --- convTimeValue -------------------------------------------------------------------------------

TEST(ConvTimeValue, Texts_AreDigitsAndAUnit) {
  const struct {
    std::string text;
    int seconds;
  } kRows[] = {{"", 0},
               {"0", 0},
               {"007", 7},
               {"90", 90},
               {"7sec", 7},
               {"7SEC", 7},
               {"7Sec", 7},
               {"5min", 300},
               {"5MIN", 5},
               {"5Min", 5},
               {"5mIN", 300},
               {"2hour", 7200},
               {"2hOUR", 7200},
               {"2HOUR", 2},
               {"2Hour", 2},
               {"hour", 0},
               {"sec", 0},
               {"0hour", 0},
               {"5 min", -1},
               {"5min ", -1},
               {" 5", -1},
               {"5 ", -1},
               {"-5", -1},
               {"+5", -1},
               {"5h", -1},
               {"5hours", -1},
               {"5mins", -1},
               {"5m", -1},
               {"5minute", -1},
               {"5s", -1},
               {"5day", -1},
               {"1.5hour", -1},
               {"x", -1},
               {"5\n", -1},
               {"5\xe5\x88\x86", -1},
               {"2147483647", INT_MAX},
               {"2147483647sec", INT_MAX},
               {"596523hour", 2147482800},
               // what does not fit wraps; beyond 64 bits it is the largest number, cut
               {"1000000hour", static_cast<int>(3600000000u)},
               {"4294967303", 7},
               {"18446744073709551617", -1},
               {"18446744073709551617min", -60},
               // no text is too long
               {std::string(5000, '0') + "2min", 120},
               {std::string(5000, '0') + "2" + std::string(5000, 'x'), -1}};
  for (const auto& row : kRows) {
    std::string text = row.text;
    EXPECT_EQ(convTimeValue(text.data()), row.seconds) << row.text;
    EXPECT_EQ(text, row.text);  // a copy is worked on
  }
}

// --- getUTCOffset --------------------------------------------------------------------------------

TEST(GetUTCOffset, Zones_AreSecondsEastOfUtc) {
  const struct {
    const char* zone;
    time_t time;
    int offset;
  } kRows[] = {
      {kUtc, kSummerNoon, 0},
      {kTokyo, kSummerNoon, 32400},
      {kNewYork, kSummerNoon, -14400},
      {kKolkata, kSummerNoon, 19800},
      {"NST3:30", kSummerNoon, -12600},
      {"LMT-5:53:28", kSummerNoon, 21208},
      {"LMT4:56:02", kSummerNoon, -17762},
      // across midnight, within a month
      {kTokyo, kSummerNoon + 8 * 3600, 32400},
      {kNewYork, kSummerNoon + 14 * 3600, -14400},
      {kKolkata, kSummerNoon + 8 * 3600, 19800},
      // across the end of a month
      {kTokyo, 1785528000, 32400},     // 2026/07/31 20:00:00
      {kNewYork, 1785549600, -14400},  // 2026/08/01 02:00:00
      // across New Year
      {kTokyo, kNewYearsEve20h, 32400},
      {kNewYork, kNewYear2h, -18000},
      {kKolkata, kNewYearsEve20h, 19800},
      {"NST3:30", kNewYear2h, -12600},
      // the ends of the earth
      {"LINT-14", kNewYearsEve20h, 50400},
      {"SST11", kNewYear2h, -39600},
      {kTokyo, 1, 32400},
  };
  for (const auto& row : kRows) {
    const TimeZoneGuard zone(row.zone);
    EXPECT_EQ(getUTCOffset(row.time), row.offset) << row.zone << ", " << row.time;
  }
}

/// A zone of UTC that is an hour ahead these days only, whatever the day of the year.
std::string zoneWithSummerNow() {
  const time_t now = std::time(nullptr);
  tm utc = {};
  ::gmtime_r(&now, &utc);
  const int first = (utc.tm_yday + 365 - 3) % 365 + 1;
  const int last = (utc.tm_yday + 3) % 365 + 1;
  return "AAA0BBB-1,J" + std::to_string(first) + ",J" + std::to_string(last);
}

TEST(GetUTCOffset, Time1_IsATimeAsAnyOther) {
  const TimeZoneGuard zone("XXX0YYY-1,J1/0,J2/0");  // another offset on every first of January
  EXPECT_EQ(getUTCOffset(1), 3600);
  EXPECT_EQ(getUTCOffset(2 * 86400), 0);
}

TEST(GetUTCOffset, TimeBelow1_MeansNow) {
  const TimeZoneGuard zone(zoneWithSummerNow().c_str());
  ASSERT_EQ(getUTCOffset(std::time(nullptr)), 3600);
  constexpr time_t kHalfAYear = 183 * 86400;
  EXPECT_EQ(getUTCOffset(0), 3600);
  EXPECT_EQ(getUTCOffset(-1), 3600);
  EXPECT_EQ(getUTCOffset(-kHalfAYear), 3600);
}

// --- getTimeStr and localTimeText ----------------------------------------------------------------

TEST(GetTimeStr, Times_AreGivenInLocalTime) {
  const struct {
    const char* zone;
    time_t time;
    const char* digits;
    const char* text;
  } kRows[] = {
      {kUtc, 1, "19700101000001", "1970/01/01 00:00:01"},
      {kUtc, kNewYearsEve20h, "20261231200000", "2026/12/31 20:00:00"},
      {kTokyo, kNewYearsEve20h, "20270101050000", "2027/01/01 05:00:00"},
      {kKolkata, kNewYearsEve20h, "20270101013000", "2027/01/01 01:30:00"},
      {kNewYork, kNewYear2h, "20261231210000", "2026/12/31 21:00:00"},
      {kNewYork, kSummerNoon, "20260701080000", "2026/07/01 08:00:00"},
      {kUtc, 951782399, "20000228235959", "2000/02/28 23:59:59"},
      {kUtc, 951782400, "20000229000000", "2000/02/29 00:00:00"},
      {kUtc, 2147483648, "20380119031408", "2038/01/19 03:14:08"},
      {kUtc, 253402300799, "99991231235959", "9999/12/31 23:59:59"},
      {kUtc, 253402300800, "100000101000000", "10000/01/01 00:00:00"},
      {kUtc, 67768036191676799, "21474855471231235959", "2147485547/12/31 23:59:59"},
  };
  for (const auto& row : kRows) {
    const TimeZoneGuard zone(row.zone);
    std::string digits = "left over";
    EXPECT_EQ(getTimeStr(digits, row.time), row.time);
    EXPECT_EQ(digits, row.digits) << row.zone << ", " << row.time;
    EXPECT_EQ(getTimeStr(row.time), row.text) << row.zone << ", " << row.time;
    EXPECT_EQ(localTimeText(row.time), row.text) << row.zone << ", " << row.time;
  }
}

TEST(GetTimeStr, TwoArgumentsAndZero_MeanNowAndGiveIt) {
  const TimeZoneGuard zone(kKolkata);
  const time_t before = std::time(nullptr);
  std::string digits;
  const time_t used = getTimeStr(digits, 0);
  EXPECT_GE(used, before);
  EXPECT_LE(used, std::time(nullptr));
  std::string expected;
  EXPECT_EQ(getTimeStr(expected, used), used);
  EXPECT_EQ(digits, expected);
}

TEST(GetTimeStr, ZeroAndNegativeTimes_AreTimesAsAnyOtherWhereTheyDoNotMeanNow) {
  const TimeZoneGuard zone(kUtc);
  std::string digits;
  EXPECT_EQ(getTimeStr(digits, -1), -1);
  EXPECT_EQ(digits, "19691231235959");
  EXPECT_EQ(localTimeText(-1), "1969/12/31 23:59:59");
  EXPECT_EQ(localTimeText(0), "1970/01/01 00:00:00");
}

TEST(GetTimeStr, OneArgumentBelow1_MeansNow) {
  const TimeZoneGuard zone(kTokyo);
  for (const time_t t : {time_t{0}, time_t{-1}, time_t{INT_MIN}}) {
    const std::string before = localTimeText(std::time(nullptr));
    const std::string text = getTimeStr(t);
    EXPECT_GE(text, before);
    EXPECT_LE(text, localTimeText(std::time(nullptr)));
  }
}

TEST(TimeTexts, YearThatDoesNotFit_IsAStrangeTextButNoCrash) {
  const TimeZoneGuard zone(kUtc);
  for (const time_t t : {time_t{INT64_MAX}, time_t{INT64_MIN}}) {
    std::string digits;
    EXPECT_EQ(getTimeStr(digits, t), t);
    EXPECT_EQ(digits, "19000100000000");
    EXPECT_EQ(localTimeText(t), "1900/01/00 00:00:00");
  }
  EXPECT_EQ(getUTCOffset(INT64_MAX), 0);
}

// --- convDate ------------------------------------------------------------------------------------

TEST(ConvDate, TwelveDigits_BecomeADateInSeventeenBytes) {
  const struct {
    const char* src;
    const char* dst;
  } kRows[] = {{"202611151200", "2026/11/15 12:00"},
               {"20261115120007", "2026/11/15 12:00"},  // the seconds are not used
               {"20261115120007 and more", "2026/11/15 12:00"},
               {"000000000000", "0000/00/00 00:00"},
               {"999999999999", "9999/99/99 99:99"},
               {"abcdefghijklmn", "abcd/ef/gh ij:kl"},  // nothing is checked
               {"%s%n%d%s%n%d", "%s%n/%d/%s %n:%d"}};
  for (const auto& row : kRows) {
    char dst[18];
    std::memset(dst, '#', sizeof dst);
    EXPECT_EQ(convDate(row.src, dst), 0);
    EXPECT_STREQ(dst, row.dst) << row.src;
    EXPECT_EQ(dst[16], '\0');
    EXPECT_EQ(dst[17], '#');
  }
}

TEST(ConvDate, ShortSource_IsFilledUpWithBlanks) {
  for (std::size_t length = 0; length <= 12; ++length) {
    const std::string digits = std::string("202611151200").substr(0, length);
    const std::string filled = digits + std::string(12 - length, ' ');
    char dst[17];
    EXPECT_EQ(convDate(digits.c_str(), dst), 0);
    EXPECT_EQ(dst, filled.substr(0, 4) + "/" + filled.substr(4, 2) + "/" + filled.substr(6, 2) +
                       " " + filled.substr(8, 2) + ":" + filled.substr(10, 2));
  }
}

// --- elapsedTime ---------------------------------------------------------------------------------

TEST(ElapsedTime, Value_IsTheTimeOfDayInSeconds) {
  const double before = static_cast<double>(std::time(nullptr));
  const double start = elapsedTime();
  // time(2) may lag behind by a clock tick.
  EXPECT_GE(start, before);
  EXPECT_LE(start, static_cast<double>(std::time(nullptr)) + 1.1);
  ::usleep(50000);
  EXPECT_GE(elapsedTime() - start, 0.049);
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
