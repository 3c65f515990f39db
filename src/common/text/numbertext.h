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

/// atoi(3) for any text: the number at its start, 0 without one. Where the number does not fit, for
/// which atoi itself promises nothing, the result is what the C library's atoi gives. Null gives 0.
int toInt(const char* text);
int toInt(const std::string& text);

#endif
