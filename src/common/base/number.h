#ifndef TANEXICS_COMMON_BASE_NUMBER_H
#define TANEXICS_COMMON_BASE_NUMBER_H

#include <string>

/// atoi(3) for any text: the number at its start, 0 without one. Where the number does not fit, for
/// which atoi itself promises nothing, the result is what the C library's atoi gives. Null gives 0.
int toInt(const char* text);
int toInt(const std::string& text);

#endif
