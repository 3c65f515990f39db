#include "common/text/timetext.h"

#include <strings.h>
#include <sys/time.h>

#include <cstdio>
#include <cstring>

#include "common/text/numbertext.h"

namespace {

enum Unit { kSeconds, kMinutes, kHours, kDays };

/// The size argument of every bounded print of a time.
constexpr std::size_t kTimeTextBytes = 1023;

tm localTime(time_t t) {
  tm broken = {};
  // A year that does not fit leaves the zeros: a strange text is better than none.
  if (::localtime_r(&t, &broken) == nullptr) broken = {};
  return broken;
}

std::string timeText(const char* fmt, time_t t) __attribute__((format(printf, 1, 0)));

std::string timeText(const char* fmt, time_t t) {
  const tm local = localTime(t);
  char text[kTimeTextBytes];
#pragma GCC diagnostic push
#pragma GCC diagnostic ignored "-Wformat-nonliteral"
  // The two formats below are literals; the attribute has them checked at their calls.
  std::snprintf(text, sizeof text, fmt, static_cast<long long>(local.tm_year) + 1900,
                local.tm_mon + 1, local.tm_mday, local.tm_hour, local.tm_min, local.tm_sec);
#pragma GCC diagnostic pop
  return text;
}

int sign(int difference) { return (difference > 0) - (difference < 0); }

/// -1, 0 or 1: the calendar day of `a` before, on or after that of `b`.
int compareDays(const tm& a, const tm& b) {
  if (a.tm_year != b.tm_year) return sign(a.tm_year - b.tm_year);
  if (a.tm_mon != b.tm_mon) return sign(a.tm_mon - b.tm_mon);
  return sign(a.tm_mday - b.tm_mday);
}

/// The seconds of a unit as it is written in a text: capitals have never been multiplied.
int secondsOf(const char* unit) {
  if (unit[0] == 'h') return 3600;
  return unit[0] == 'm' ? 60 : 1;
}

bool isUnit(const char* text) {
  return ::strcasecmp(text, "hour") == 0 || ::strcasecmp(text, "min") == 0 ||
         ::strcasecmp(text, "sec") == 0;
}

}  // namespace

int convertTimeToStr(int value, int& outValue, int& outRest, int startUnit, int maxUnit) {
  int rest = 0;
  for (long long unit = startUnit;; ++unit) {
    if (unit == kDays || unit == maxUnit) {
      outValue = value;
      outRest = rest;
      return static_cast<int>(unit);
    }
    const int divisor = unit < kHours ? 60 : 24;
    const int quotient = value / divisor;
    rest = value % divisor;
    value = quotient;
    if (quotient <= 0) break;
  }
  outValue = 1;
  outRest = 0;
  return maxUnit;
}

int convTimeValue(char* text) {
  if (text == nullptr) return -1;
  const char* unit = text + std::strspn(text, "0123456789");
  const int number = toInt(text);
  if (*unit == '\0') return number;
  if (!isUnit(unit)) return -1;
  return static_cast<int>(static_cast<unsigned>(number) * static_cast<unsigned>(secondsOf(unit)));
}

int getUTCOffset(time_t t) {
  if (t < 1) t = std::time(nullptr);
  const tm local = localTime(t);
  tm utc = {};
  if (::gmtime_r(&t, &utc) == nullptr) utc = {};
  const int days = compareDays(local, utc);
  const int hours = days * 24 + local.tm_hour - utc.tm_hour;
  return (hours * 60 + local.tm_min - utc.tm_min) * 60 + local.tm_sec - utc.tm_sec;
}

time_t getTimeStr(std::string& out, time_t t) {
  if (t == 0) t = std::time(nullptr);
  out = timeText("%04lld%02d%02d%02d%02d%02d", t);
  return t;
}

std::string getTimeStr(time_t t) { return localTimeText(t < 1 ? std::time(nullptr) : t); }

std::string localTimeText(time_t t) { return timeText("%04lld/%02d/%02d %02d:%02d:%02d", t); }

int convDate(const char* src, char* dst) {
  if (src == nullptr || dst == nullptr) return 0;
  char digits[13] = "            ";
  std::memcpy(digits, src, strnlen(src, 12));
  std::snprintf(dst, 17, "%.4s/%.2s/%.2s %.2s:%.2s", digits, digits + 4, digits + 6, digits + 8,
                digits + 10);
  return 0;
}

double elapsedTime() {
  timeval now = {};
  ::gettimeofday(&now, nullptr);
  return static_cast<double>(now.tv_sec) + static_cast<double>(now.tv_usec) * 0.000001;
}
