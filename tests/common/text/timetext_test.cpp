#include "common/text/timetext.h"

#include <gtest/gtest.h>
#include <unistd.h>

#include <climits>
#include <cmath>
#include <cstdint>
#include <cstring>
#include <ctime>
#include <string>
#include <tuple>
#include <utility>

#include "support/environmentguard.h"
#include "support/pattern.h"

namespace {

constexpr const char* kTokyo = "JST-9";
constexpr const char* kNewYork = "EST5EDT,M3.2.0,M11.1.0";
constexpr const char* kKolkata = "IST-5:30";
constexpr const char* kUtc = "UTC0";

// Seconds since the epoch of moments in UTC.
constexpr time_t kNewYearsEve20h = 1798747200;  // 2026/12/31 20:00:00
constexpr time_t kNewYear2h = 1798768800;       // 2027/01/01 02:00:00
constexpr time_t kSummerNoon = 1782907200;      // 2026/07/01 12:00:00

TEST(ConvertTimeToStr, Durations_AreTurnedIntoTheLargestUnit) {
  const struct {
    int value, startUnit, maxUnit, outValue, outRest, unit;
  } kRows[] = {
      {5, 0, 0, 5, 0, 0},  // nothing to divide
      {125, 0, 1, 2, 5, 1},
      {7199, 0, 1, 119, 59, 1},
      {7325, 0, 2, 2, 2, 2},  // 2 hours, 2 minutes; the seconds are dropped
      {90000, 0, 3, 1, 1, 3},
      {90000, 0, 5, 1, 1, 3},  // never above days
      {INT_MAX, 0, 3, 24855, 3, 3},
      {125, 1, 2, 2, 5, 2},
      {5, 3, 3, 5, 0, 3},
      {0, 3, 3, 0, 0, 3},
      {100000, 1, 0, 69, 10, 3},  // a largest unit below the start is passed by
      // A value that comes to 0 on the way is one of the largest unit.
      {0, 0, 3, 1, 0, 3},
      {59, 0, 1, 1, 0, 1},
      {60, 0, 3, 1, 0, 3},
      {3599, 0, 2, 1, 0, 2},
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
    EXPECT_EQ(std::tie(unit, outValue, outRest), std::tie(row.unit, row.outValue, row.outRest))
        << row.value << " from " << row.startUnit << " to " << row.maxUnit;
  }
}

int secondsOf(const std::string& text) {
  std::string buffer = text;
  const int seconds = convTimeValue(buffer.data());
  EXPECT_EQ(buffer, text);  // a copy is worked on
  return seconds;
}

TEST(ConvTimeValue, LowerCaseUnit_IsMultiplied) {
  const std::string zeros(5000, '0');  // no text is too long
  for (const char* seven : {"7", "007", "7sec", "7SEC", "7Sec", "7MIN", "7Min", "7HOUR", "7Hour"}) {
    EXPECT_EQ(secondsOf(seven), 7) << seven;
  }
  for (const char* zero : {"", "0", "hour", "sec", "0hour"}) EXPECT_EQ(secondsOf(zero), 0) << zero;
  for (const char* unit : {"min", "mIN"}) EXPECT_EQ(secondsOf(zeros + "5" + unit), 300) << unit;
  for (const char* unit : {"hour", "hOUR"}) EXPECT_EQ(secondsOf(zeros + "2" + unit), 7200) << unit;
}

TEST(ConvTimeValue, AnyOtherUnit_IsMinusOne) {
  for (const char* text : {"5 min", "5min ", " 5", "5 ", "-5", "+5", "5h", "5hours", "5m", "5mins",
                           "5minute", "5s", "5day", "1.5hour", "x", "5\n", "5\xe5\x88\x86"}) {
    EXPECT_EQ(secondsOf(text), -1) << text;
  }
  EXPECT_EQ(secondsOf("5" + std::string(5000, 'x')), -1);
}

TEST(ConvTimeValue, NumberThatDoesNotFit_Wraps) {
  EXPECT_EQ(secondsOf("2147483647sec"), INT_MAX);
  EXPECT_EQ(secondsOf("596523hour"), 2147482800);
  EXPECT_EQ(secondsOf("1000000hour"), static_cast<int>(3600000000u));
  // What does not even fit into a long is the largest one, cut.
  constexpr int kLargest = static_cast<int>(LONG_MAX);
  constexpr bool isWide = sizeof(long) > sizeof(int);
  EXPECT_EQ(secondsOf("4294967303"), isWide ? 7 : kLargest);
  EXPECT_EQ(secondsOf("18446744073709551617"), kLargest);
  EXPECT_EQ(secondsOf("18446744073709551617min"), -60);
}

/// A time that means itself for both functions.
void expectText(time_t time, const std::string& text) {
  std::string digits = "left over";
  EXPECT_EQ(getTimeStr(digits, time), time);
  EXPECT_EQ(digits, replacePattern(text, "[^0-9]", ""));
  EXPECT_EQ(localTimeText(time), text);
}

TEST(TimeTexts, Times_AreGivenInLocalTimeAndZonesInSecondsEastOfUtc) {
  const std::tuple<const char*, time_t, std::string, int> kRows[] = {
      {kUtc, kSummerNoon, "2026/07/01 12:00:00", 0},
      {kTokyo, kSummerNoon, "2026/07/01 21:00:00", 32400},
      {kNewYork, kSummerNoon, "2026/07/01 08:00:00", -14400},
      {kKolkata, kSummerNoon, "2026/07/01 17:30:00", 19800},
      {"NST3:30", kSummerNoon, "2026/07/01 08:30:00", -12600},
      {"LMT-5:53:28", kSummerNoon, "2026/07/01 17:53:28", 21208},
      {"LMT4:56:02", kSummerNoon, "2026/07/01 07:03:58", -17762},
      // across the end of a month
      {kTokyo, 1785528000, "2026/08/01 05:00:00", 32400},
      {kNewYork, 1785549600, "2026/07/31 22:00:00", -14400},
      // across New Year
      {kTokyo, kNewYearsEve20h, "2027/01/01 05:00:00", 32400},
      {kNewYork, kNewYear2h, "2026/12/31 21:00:00", -18000},
      // the ends of the earth
      {"LINT-14", kNewYearsEve20h, "2027/01/01 10:00:00", 50400},
      {"SST11", kNewYear2h, "2026/12/31 15:00:00", -39600},
      // and of time
      {kTokyo, 1, "1970/01/01 09:00:01", 32400},
      {kUtc, 951782400, "2000/02/29 00:00:00", 0},
      {kUtc, 2147483648, "2038/01/19 03:14:08", 0},
      {kUtc, 253402300800, "10000/01/01 00:00:00", 0},
      {kUtc, 67768036191676799, "2147485547/12/31 23:59:59", 0},
      {kUtc, INT64_MAX, "1900/01/00 00:00:00", 0},  // the year does not fit
  };
  for (const auto& [zone, time, text, offset] : kRows) {
    const TimeZoneGuard guard(zone);
    SCOPED_TRACE(text);
    expectText(time, text);
    EXPECT_EQ(getTimeStr(time), text);
    EXPECT_EQ(getUTCOffset(time), offset);
  }
}

TEST(TimeTexts, ZeroAndNegativeTimes_AreTimesAsAnyOtherWhereTheyDoNotMeanNow) {
  const TimeZoneGuard zone(kUtc);
  EXPECT_EQ(localTimeText(0), "1970/01/01 00:00:00");
  expectText(-1, "1969/12/31 23:59:59");
  expectText(INT64_MIN, "1900/01/00 00:00:00");
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

TEST(GetTimeStr, TwoArgumentsAndZero_MeanNowAndGiveIt) {
  const TimeZoneGuard zone(kKolkata);
  const time_t before = std::time(nullptr);
  std::string digits;
  const time_t used = getTimeStr(digits, 0);
  EXPECT_GE(used, before);
  EXPECT_LE(used, std::time(nullptr));
  std::string again;
  getTimeStr(again, used);
  EXPECT_EQ(digits, again);
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

TEST(ConvDate, TwelveBytesFilledUpWithBlanks_BecomeADateInSeventeen) {
  const std::pair<const char*, const char*> kRows[] = {
      {"", "    /  /     :  "},
      {"20261", "2026/1 /     :  "},
      {"202611151200", "2026/11/15 12:00"},
      {"20261115120007", "2026/11/15 12:00"},  // the seconds are not used
      {"20261115120007 and more", "2026/11/15 12:00"},
      {"000000000000", "0000/00/00 00:00"},
      {"999999999999", "9999/99/99 99:99"},
      {"abcdefghijklmn", "abcd/ef/gh ij:kl"},  // nothing is checked
      {"%s%n%d%s%n%d", "%s%n/%d/%s %n:%d"}};
  for (const auto& [source, date] : kRows) {
    char dst[18];
    std::memset(dst, '#', sizeof dst);
    EXPECT_EQ(convDate(source, dst), 0);
    EXPECT_STREQ(dst, date) << source;
    EXPECT_EQ(dst[16], '\0');
    EXPECT_EQ(dst[17], '#');
  }
}

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
