#ifndef TANEXICS_COMMON_TEXT_NUMBERTEXT_H
#define TANEXICS_COMMON_TEXT_NUMBERTEXT_H

#include <string>

/// A number with a "," between every three places from the right. The minus sign counts as a place:
/// -123 gives "-,123".
///
/// `out`  out: the text. Its characters are returned, valid until it changes.
const char* commas(long long value, std::string& out);

/// Whole kilobytes of 1,024 bytes; 1 for 1 to 1,023 bytes. Zero and negative values give their
/// quotient, rounded towards 0.
int KB(int bytes);

/// The number of lines of a text; a last one without line end counts. Null ends the process by
/// abort(3), after "*** assertion failed,P=PID\n*** common.cpp:2176(t != __null)\n" on standard
/// error.
int countLines(const char* text);

#endif
