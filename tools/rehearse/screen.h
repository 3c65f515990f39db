#ifndef TANEXICS_REHEARSE_SCREEN_H
#define TANEXICS_REHEARSE_SCREEN_H

#include <cstddef>
#include <string>
#include <string_view>

/// The widest row of a report, in columns.
constexpr std::size_t kScreenColumns = 96;

/// Any bytes as rows of at most `kScreenColumns` columns, each ended by a line feed. Rows break
/// after a blank where one stands in their second half, otherwise wherever they are full; nothing
/// is added and nothing lost. Control characters and bytes that are not UTF-8 are shown as \xHH.
///
/// `indent`  blanks before the first row.
/// `hang`    blanks before each further one.
///
/// An empty text gives one empty row. Both indents must leave room for a few characters.
std::string screenRows(std::string_view bytes, std::size_t indent, std::size_t hang);

/// A number with a comma before every group of three digits.
std::string groupedNumber(unsigned long long number);

#endif
