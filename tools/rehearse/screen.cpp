#include "tools/rehearse/screen.h"

#include <algorithm>

#include "loopback/bytes.h"
#include "tools/common/terminal.h"

namespace {

/// The columns that an indent leaves at least.
constexpr std::size_t kLeastColumns = 8;

/// How many bytes of `text`, valid UTF-8, stand in a row of `columns`: at least one character.
std::size_t bytesOfRow(std::string_view text, std::size_t columns) {
  std::size_t at = 0;
  std::size_t used = 0;
  std::size_t afterBlank = 0;
  while (at < text.size()) {
    const std::size_t length = utf8Length(text.substr(at));
    used += columnsOfCharacter(text.substr(at, length));
    if (used > columns && at > 0) return afterBlank > 0 ? afterBlank : at;
    at += length;
    if (text[at - 1] == ' ' && used > columns / 2) afterBlank = at;
  }
  return at;
}

}  // namespace

std::string screenRows(std::string_view bytes, std::size_t indent, std::size_t hang,
                       std::size_t width) {
  const std::string visible = visibleBytes(bytes);
  if (visible.empty()) return "\n";
  if (width == 0) return std::string(indent, ' ') + visible + '\n';
  const std::size_t most = width > kLeastColumns ? width - kLeastColumns : 0;
  std::string_view rest = visible;
  std::string rows;
  for (std::size_t blanks = std::min(indent, most); !rest.empty(); blanks = std::min(hang, most)) {
    const std::size_t length = bytesOfRow(rest, width - blanks);
    rows.append(blanks, ' ').append(rest.substr(0, length)) += '\n';
    rest.remove_prefix(length);
  }
  return rows;
}

std::string groupedNumber(unsigned long long number) {
  std::string text = std::to_string(number);
  for (std::size_t at = text.size(); at > 3; at -= 3) text.insert(at - 3, ",");
  return text;
}
