#ifndef TANEXICS_TOOLS_COMMON_NEAREST_H
#define TANEXICS_TOOLS_COMMON_NEAREST_H

#include <optional>
#include <string>
#include <string_view>
#include <vector>

/// The word that is most likely meant by a misspelt one: the same but for case; else the only one
/// that begins with it, three letters at least; else the one with the fewest letters wrong,
/// missing, too many or exchanged, as long as these are no more than a third of it. Of equals the
/// first one.
///
/// `word`   any bytes; an empty one is like none.
/// `known`  the words to choose from, without empty ones.
///
/// Returns nothing where none is like it.
std::optional<std::string> nearestWord(std::string_view word,
                                       const std::vector<std::string>& known);

#endif
