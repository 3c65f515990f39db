#include "tools/common/terminal.h"

#include <sys/ioctl.h>
#include <unistd.h>

#include <algorithm>
#include <cstdlib>

#include "loopback/bytes.h"

namespace {

constexpr char kPlain[] = "\x1b[0m";

/// The columns of UTF-8 in which escape sequences are those of colours.
std::size_t columnsOf(std::string_view word) {
  std::size_t columns = 0;
  while (!word.empty()) {
    if (word.front() == '\x1b') {
      word.remove_prefix(std::min(word.find('m'), word.size() - 1) + 1);
      continue;
    }
    const std::size_t length = std::max<std::size_t>(utf8Length(word), 1);
    columns += columnsOfCharacter(word.substr(0, length));
    word.remove_prefix(length);
  }
  return columns;
}

}  // namespace

std::size_t columnsOfCharacter(std::string_view character) {
  const bool isWide =
      character.size() == 4 || (character.size() == 3 && character >= "\xe1\x84\x80");
  return isWide ? 2 : 1;
}

Terminal Terminal::ofStandardOutput() {
  Terminal terminal;
  if (::isatty(STDOUT_FILENO) == 0) return terminal;
  const char* noColour = std::getenv("NO_COLOR");
  terminal.hasColours = noColour == nullptr || noColour[0] == '\0';
  winsize size = {};
  if (::ioctl(STDOUT_FILENO, TIOCGWINSZ, &size) == 0) terminal.width = size.ws_col;
  return terminal;
}

std::string coloured(const std::string& text, const char* colour, const Terminal& terminal) {
  return terminal.hasColours ? colour + text + kPlain : text;
}

std::string wrapped(const std::string& text, std::size_t width, std::size_t indent) {
  if (width <= indent + 1) return text;
  std::string result;
  std::size_t column = 0;
  std::size_t at = 0;
  while (at < text.size()) {
    const std::size_t end = std::min(text.find(' ', at), text.size());
    const std::string word = text.substr(at, end - at);
    const std::size_t columns = columnsOf(word);
    if (column > 0 && column + 1 + columns > width) {
      result.erase(result.find_last_not_of(' ') + 1);
      result += '\n' + std::string(indent, ' ');
      column = indent;
    } else if (at > 0) {
      result += ' ';
      ++column;
    }
    result += word;
    column += columns;
    at = end + 1;
  }
  return result;
}
