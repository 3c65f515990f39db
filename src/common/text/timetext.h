#ifndef TANEXICS_COMMON_TEXT_TIMETEXT_H
#define TANEXICS_COMMON_TEXT_TIMETEXT_H

#include <ctime>
#include <string>

// Elsewhere time_t is so wide by itself. A narrow one would end in January 2038, and be no type
// that the library knows.
static_assert(sizeof(time_t) == 8,
              "32-bit systems need -D_FILE_OFFSET_BITS=64 -D_TIME_BITS=64, as the library does");

/// Turns a duration into whole units of `maxUnit`, and what comes to less than one of them into
/// one: 90 seconds are 1 hour.
///
/// `value`      in units of `startUnit`.
/// `outValue`   out: the number of whole units; 1 where a division gave 0 or less.
/// `outRest`    out: the remainder of the last division, in the next smaller unit; 0 without a
///              division, and where one gave 0 or less.
/// `startUnit`  0 seconds, 1 minutes, 2 hours, 3 days.
/// `maxUnit`    the unit wanted; days where it is above days or below `startUnit`.
///
/// Returns the unit of `outValue`; `maxUnit` itself where a division gave 0 or less.
int convertTimeToStr(int value, int& outValue, int& outRest, int startUnit, int maxUnit);

/// A text such as "90", "5min" or "2hour" in seconds; "" and "hour" are 0. Only a unit that begins
/// with a lower-case letter is multiplied: "2HOUR" is 2. -1 for null and for any other unit than
/// hour, min and sec (which may be in any case). A number that does not fit is what `toInt` makes
/// of it (see numbertext.h), and its product wraps at 32 bits. `text` is not changed.
int convTimeValue(char* text);

/// The offset of local time from UTC at `t`, in seconds, positive east of Greenwich. `t` below 1
/// means now.
int getUTCOffset(time_t t);

// Local time is that of localtime_r(3): a change of TZ counts from the next tzset(3). A year above
// 9999 takes more digits; one that does not fit at all gives the digits of "1900/01/00 00:00:00".

/// Local time at `t` as "20261115120007"; 0 means now. Returns the time used.
time_t getTimeStr(std::string& out, time_t t);

/// Local time at `t` as "2026/11/15 12:00:07"; below 1 means now.
std::string getTimeStr(time_t t);

/// The same for any time, without a special value.
std::string localTimeText(time_t t);

/// Rewrites the digits "YYYYMMDDhhmm" at the beginning of `src`, of which nothing is checked, as
/// "YYYY/MM/DD hh:mm".
///
/// `dst`  at least 17 bytes. What a shorter `src` lacks becomes blanks.
///
/// Returns 0; with a null argument nothing is written.
int convDate(const char* src, char* dst);

/// The time of day in seconds since the epoch, with microseconds: the difference of two calls is a
/// duration, unless the clock was set between them.
double elapsedTime();

#endif
