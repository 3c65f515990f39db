#ifndef TANEXICS_COMMON_TEXT_WILDCARD_H
#define TANEXICS_COMMON_TEXT_WILDCARD_H

#include <string>

/// 1 when `name` matches the shell pattern `pattern`, in which no wildcard matches a "/" and a
/// backslash is an ordinary byte (see fnmatch(3), FNM_PATHNAME and FNM_NOESCAPE); otherwise 0.
/// Either null: 0, and "invalid param" is logged at (common:583).
int matchWild(const char* pattern, const char* name);

/// 1 when `text` holds one of the wildcard characters * [ ] ?; otherwise, and for null, 0.
int hasWildCard(const char* text);
int hasWildCard(const std::string& text);

#endif
