#ifndef TANEXICS_TOOLS_COMMON_LISTED_H
#define TANEXICS_TOOLS_COMMON_LISTED_H

#include <string>
#include <vector>

// Texts in a row, in the language that is spoken.

/// "a", "a and b", "a, b and c"; empty for none.
std::string listed(const std::vector<std::string>& texts);

/// The same with "or" before the last one.
std::string listedAsChoice(const std::vector<std::string>& texts);

#endif
