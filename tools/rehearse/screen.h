#ifndef TANEXICS_REHEARSE_SCREEN_H
#define TANEXICS_REHEARSE_SCREEN_H

#include <cstddef>
#include <string>
#include <string_view>

/// Any bytes as rows of at most `width` columns, each ended by a line feed. Rows break after a
/// blank where one stands in their second half, otherwise wherever they are full; nothing is added
/// and nothing lost. Control characters and bytes that are not UTF-8 are shown as \xHH.
///
/// `indent`  blanks before the first row; less, where they would leave no room for a few
/// characters. `hang`    the same before each further one. `width`   0: all in one row.
///
/// An empty text gives one empty row.
std::string screenRows(std::string_view bytes, std::size_t indent, std::size_t hang,
                       std::size_t width);

/// A number with a comma before every group of three digits.
std::string groupedNumber(unsigned long long number);

#endif
