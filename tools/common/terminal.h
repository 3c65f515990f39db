#ifndef TANEXICS_TOOLS_COMMON_TERMINAL_H
#define TANEXICS_TOOLS_COMMON_TERMINAL_H

#include <cstddef>
#include <string>
#include <string_view>

/// What texts for people are laid out for.
struct Terminal {
  std::size_t width = 0;    ///< its columns; 0: lines are as long as they are
  bool hasColours = false;  ///< whether texts may be coloured

  /// What standard output is: colours and a width on a terminal alone, and no colours where the
  /// environment says NO_COLOR (no-color.org).
  static Terminal ofStandardOutput();
};

/// The colours of texts, as a terminal takes them.
constexpr char kRed[] = "\x1b[31m";
constexpr char kGreen[] = "\x1b[32m";
constexpr char kYellow[] = "\x1b[33m";

/// `text` in one of the colours above, or as it is where `terminal` has none.
std::string coloured(const std::string& text, const char* colour, const Terminal& terminal);

/// The columns of one character of UTF-8. East Asian ones are two wide; that all from U+1100 up
/// count so makes a few lines shorter than they could be, and none too long.
std::size_t columnsOfCharacter(std::string_view character);

/// The columns of `text`, which is UTF-8 and may be coloured.
std::size_t columnsOf(std::string_view text);

/// `text`, which is UTF-8 and may be coloured, in lines of at most `width` columns. They are broken
/// at blanks, where another language than English is spoken also between East Asian characters, and
/// a word that is longer than a line stands alone; all but the first are indented by
/// `indent` blanks. Where hardly a column is left beside them, `text` as it is.
std::string wrapped(const std::string& text, std::size_t width, std::size_t indent);

#endif
