#ifndef TANEXICS_COMMON_TEXT_CHARCLASS_H
#define TANEXICS_COMMON_TEXT_CHARCLASS_H

#include <string>

// What isalpha(3) and tolower(3) say of the bytes of a text, in the process's locale.
// `isNumeric` and `isAlpha` look at a string up to its first zero byte.

/// Lowers every letter: in place for the pointer form, which ignores null, in a copy for the other.
void toLowerStr(char* text);
std::string toLowerStr(const std::string& text);

/// 1 when the last `n` bytes of `a` and of `b` are equal but for their case, else 0.
///
/// `n`  below 1 means the length of `b`, so that 0 asks whether `a` ends with `b`. A text shorter
///      than `n` gives 0.
int compareRightNoCase(const std::string& a, const std::string& b, int n);

/// 1 when every byte is a digit from 0 to 9, which holds for the empty text too. Null: 0, and
/// "invalid param" is logged at (common:819).
int isNumeric(const char* text);
int isNumeric(const std::string& text);

/// 1 when every byte is a letter, which holds for the empty text too. Null: 0, and "invalid param"
/// is logged at (common:790).
int isAlpha(const char* text);
int isAlpha(const std::string& text);

#endif
