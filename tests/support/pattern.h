#ifndef TANEXICS_TESTS_SUPPORT_PATTERN_H
#define TANEXICS_TESTS_SUPPORT_PATTERN_H

#include <string>
#include <vector>

// Regular expressions of ECMAScript. Compiled here once: what <regex> makes of them takes longer to
// compile than most files of tests.

/// Whether the pattern matches the text as a whole.
bool matchesPattern(const std::string& text, const std::string& pattern);

/// Each match in the text, from its beginning: the match itself, then its groups.
std::vector<std::vector<std::string>> findPattern(const std::string& text,
                                                  const std::string& pattern);

/// The text with each match replaced; "$1" in `by` is the first group of the match.
std::string replacePattern(const std::string& text, const std::string& pattern,
                           const std::string& by);

#endif
