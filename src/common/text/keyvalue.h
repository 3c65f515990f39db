#ifndef TANEXICS_COMMON_TEXT_KEYVALUE_H
#define TANEXICS_COMMON_TEXT_KEYVALUE_H

#include <map>
#include <string>

/// The value of a KEY=VALUE line: a pointer just after its first "=", to a text whose white space
/// has been removed at both ends, in the caller's own buffer. Without any "=", and for null, an
/// empty text.
char* getValue(char* line);

/// Takes a KEY=VALUE line apart at its first "=".
///
/// `key`  out: what stands before it, without white space at both ends.
/// `val`  out: all that follows it, white space included.
///
/// Both are empty when there is no "=". Returns 1; for null 0, and "invalid param" is logged at
/// (common:557).
int splitKeyVal(const char* line, std::string& key, std::string& val);

/// 1 when `text`, white space at both ends and case aside, is YES, TRUE, ON or 1; otherwise 0.
/// Null: 0, and "invalid param" is logged at (common:1060).
int conv2Bool(const char* text);

/// The value stored under `key`, valid as long as the entry; "" when there is none. Null: "", and
/// "invalid param" is logged at (common:961).
const char* lookupString(const std::map<std::string, std::string>& map, const char* key);

#endif
