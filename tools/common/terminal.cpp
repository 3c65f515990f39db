#include "tools/common/terminal.h"

#include <sys/ioctl.h>
#include <unistd.h>

#include <algorithm>
#include <cstdlib>

#include "loopback/bytes.h"
#include "tools/common/language.h"

namespace {

constexpr char kPlain[] = "\x1b[0m";

/// The bytes of the character, or of the escape sequence of a colour, that `text` begins with.
std::size_t lengthOfFirst(std::string_view text) {
  if (text.front() == '\x1b') return std::min(text.find('m'), text.size() - 1) + 1;
  return std::max<std::size_t>(utf8Length(text), 1);
}

bool isOneOf(std::string_view character, std::string_view others) {
  return others.find(character) != std::string_view::npos;
}

/// Whether a line may end between two characters, one of which is East Asian: those are written
/// without blanks, but for a few that belong to the one before or behind them.
bool mayBreak(std::string_view before, std::string_view behind) {
  constexpr std::string_view kClosing =
      ")]}.,:;!?%、。）」』・ーぁぃぅぇぉっゃゅょァィゥェォッャュョ";
  constexpr std::string_view kOpening = "([{（「『";
  return (columnsOfCharacter(before) == 2 || columnsOfCharacter(behind) == 2) &&
         !isOneOf(behind, kClosing) && !isOneOf(before, kOpening);
}

/// Takes what stays in one line from the beginning of a word: in English all of it.
std::string_view takePiece(std::string_view& word) {
  std::size_t at = word.empty() || !isTranslated() ? word.size() : lengthOfFirst(word);
  std::string_view before = word.substr(0, at);
  while (at < word.size()) {
    const std::string_view behind = word.substr(at, lengthOfFirst(word.substr(at)));
    if (mayBreak(before, behind)) break;
    at += behind.size();
    before = behind;
  }
  const std::string_view piece = word.substr(0, at);
  word.remove_prefix(at);
  return piece;
}

}  // namespace

std::size_t columnsOf(std::string_view text) {
  std::size_t columns = 0;
  while (!text.empty()) {
    const std::size_t length = lengthOfFirst(text);
    if (text.front() != '\x1b') columns += columnsOfCharacter(text.substr(0, length));
    text.remove_prefix(length);
  }
  return columns;
}

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
    std::string_view word = std::string_view(text).substr(at, end - at);
    std::size_t gap = at > 0 ? 1 : 0;
    do {
      const std::string_view piece = takePiece(word);
      const std::size_t columns = columnsOf(piece);
      if (column > 0 && column + gap + columns > width) {
        result.erase(result.find_last_not_of(' ') + 1);
        result += '\n' + std::string(indent, ' ');
        column = indent;
      } else {
        result.append(gap, ' ');
        column += gap;
      }
      result += piece;
      column += columns;
      gap = 0;
    } while (!word.empty());
    at = end + 1;
  }
  return result;
}
