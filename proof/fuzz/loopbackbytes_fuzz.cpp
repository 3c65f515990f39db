// Bytes in texts of the loopback's record: the input is the bytes.

#include <optional>

#include "fuzz/target.h"
#include "loopback/bytes.h"

namespace {

unsigned valueAt(const std::string& bytes, std::size_t at) {
  return at < bytes.size() ? static_cast<unsigned char>(bytes[at]) : 0;
}

/// The UTF-8 form of a character, by the definition.
std::string encoded(unsigned character) {
  const auto tail = [character](int shift) {
    return static_cast<char>(0x80U | (character >> shift & 0x3fU));
  };
  if (character < 0x80) return {static_cast<char>(character)};
  if (character < 0x800) return {static_cast<char>(0xc0U | character >> 6), tail(0)};
  if (character < 0x10000) return {static_cast<char>(0xe0U | character >> 12), tail(6), tail(0)};
  return {static_cast<char>(0xf0U | character >> 18), tail(12), tail(6), tail(0)};
}

/// The judge: the character that `bytes` begins with. Takes the bits together, whatever they are,
/// and sees whether the character's own form is what was there.
std::optional<unsigned> characterAt(const std::string& bytes) {
  const unsigned lead = valueAt(bytes, 0);
  const std::size_t length = lead < 0x80 ? 1 : lead < 0xe0 ? 2 : lead < 0xf0 ? 3 : 4;
  unsigned character = length == 1 ? lead : lead & (0xffU >> (length + 1));
  for (std::size_t i = 1; i < length; ++i) character = character << 6 | (valueAt(bytes, i) & 0x3fU);
  const bool isSurrogate = character >= 0xd800 && character <= 0xdfff;
  if (bytes.empty() || isSurrogate || character > 0x10ffff) return std::nullopt;
  if (bytes.compare(0, length, encoded(character)) != 0) return std::nullopt;
  return character;
}

bool isControl(unsigned character) {
  return character < 0x20 || (character >= 0x7f && character < 0xa0);
}

/// The judge of both escapes; `escapes` says for a character whether it is one to escape.
template <class Escapes, class Write>
std::string escapedBy(std::string bytes, const Escapes& escapes, const Write& write) {
  std::string text;
  while (!bytes.empty()) {
    const std::optional<unsigned> character = characterAt(bytes);
    const bool stands = character && !escapes(*character);
    const std::string taken = stands ? encoded(*character) : bytes.substr(0, 1);
    text += stands ? write(taken) : hexEscape(taken[0]);
    bytes.erase(0, taken.size());
  }
  return text;
}

/// The judge of `unescapeBytes`.
std::optional<std::string> unescaped(const std::string& text) {
  const std::string digits = "0123456789abcdef";
  std::string bytes;
  for (std::size_t i = 0; i < text.size(); ++i) {
    if (text[i] != '\\') {
      bytes += text[i];
    } else if (text.compare(i, 2, "\\\\") == 0) {
      bytes += text[++i];
    } else {
      if (text.compare(i, 2, "\\x") != 0 || i + 4 > text.size()) return std::nullopt;
      const std::size_t high = digits.find(text[i + 2]);
      const std::size_t low = digits.find(text[i + 3]);
      if (high == std::string::npos || low == std::string::npos) return std::nullopt;
      bytes += static_cast<char>(high << 4 | low);
      i += 3;
    }
  }
  return bytes;
}

}  // namespace

void tryInput(Input input) {
  constexpr std::size_t kBytesAtMost = 1000;  // the judges are slow
  const std::string bytes = input.rest().substr(0, kBytesAtMost);
  const std::optional<unsigned> character = characterAt(bytes);
  demandEqual(utf8Length(bytes), character ? encoded(*character).size() : std::size_t{0},
              "the length of the first character");

  const std::string escaped = escapeBytes(bytes);
  demandEqual(escaped,
              escapedBy(
                  bytes, [](unsigned) { return false; },
                  [](const std::string& form) { return form == "\\" ? "\\\\" : form; }),
              "the escaped bytes");
  for (std::string left = escaped; !left.empty();) {
    const std::size_t length = utf8Length(left);
    demand(length > 0, "escaped bytes are valid UTF-8");
    left.erase(0, length);
  }
  demand(unescapeBytes(escaped) == bytes, "escaped bytes come back");
  demand(unescapeBytes(bytes) == unescaped(bytes), "only what was escaped is taken back");
  demandEqual(visibleBytes(bytes),
              escapedBy(bytes, isControl, [](const std::string& form) { return form; }),
              "the bytes on a terminal");
}
