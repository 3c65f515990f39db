#ifndef TANEXICS_COMMON_TIMETEXT_H
#define TANEXICS_COMMON_TIMETEXT_H

#include <ctime>
#include <string>

/// Turns a duration into the largest unit in which it is not 0.
///
/// `value`      in units of `startUnit`.
/// `outValue`   out: the number of whole units reached; 1 when `value` came to 0 on the way.
/// `outRest`    out: what is left over, in the next smaller unit; 0 where nothing was divided.
/// `startUnit`  0 seconds, 1 minutes, 2 hours, 3 days.
/// `maxUnit`    the largest unit to use.
///
/// Returns the unit reached, never above days; `maxUnit` when `value` came to 0.
int convertTimeToStr(int value, int& outValue, int& outRest, int startUnit, int maxUnit);

/// A text such as "90", "5min" or "2hour" in seconds; "" is 0. Only a lower-case unit is
/// multiplied: "2HOUR" is 2. -1 for null and for any other unit than hour, min and sec (which may
/// be in any case). A number that does not fit wraps at 32 bits. `text` is not changed.
int convTimeValue(char* text);

/// The offset of local time from UTC at `t`, in seconds, positive east of Greenwich. `t` below 1
/// means now.
int getUTCOffset(time_t t);

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

#endif
