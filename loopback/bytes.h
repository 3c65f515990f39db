#ifndef TANEXICS_LOOPBACK_BYTES_H
#define TANEXICS_LOOPBACK_BYTES_H

#include <cstddef>
#include <optional>
#include <string>
#include <string_view>

// Texts and path names are bytes in no promised encoding (host names and log excerpts are often
// EUC-JP), and a JSON string holds UTF-8 only. One rule, the same for every string, carries the one
// in the other without loss:
//
//   a byte that is part of valid UTF-8   stands as it is
//   a backslash                          is doubled
//   any other byte                       becomes \xHH, two lower-case hexadecimal digits

/// The length, 1 to 4, of the UTF-8 character that `bytes` begins with; 0 when it begins with none
/// (empty, a stray or missing continuation, an overlong form, a surrogate, above U+10FFFF).
std::size_t utf8Length(std::string_view bytes);

/// `\xHH` for one byte.
std::string hexEscape(char byte);

/// Whether a character of UTF-8 is a control character: below 0x20, 0x7f, and U+0080 to U+009F.
bool isControlCharacter(std::string_view utf8);

/// `bytes` anew: `append(text, character)` adds to the text what becomes of a character of UTF-8,
/// and any byte that is part of none becomes `\xHH`.
template <class Append>
std::string rewriteUtf8(std::string_view bytes, const Append& append) {
  std::string text;
  text.reserve(bytes.size());
  while (!bytes.empty()) {
    const std::size_t length = utf8Length(bytes);
    if (length == 0) {
      text += hexEscape(bytes.front());
      bytes.remove_prefix(1);
    } else {
      append(text, bytes.substr(0, length));
      bytes.remove_prefix(length);
    }
  }
  return text;
}

/// The same bytes for a terminal: control characters (those of UTF-8 above 0x7f too) and bytes that
/// are not UTF-8 become `\xHH`, byte by byte. For reading only: a backslash stays as it is.
std::string visibleBytes(std::string_view bytes);

/// Any bytes as valid UTF-8, by the rule above.
std::string escapeBytes(std::string_view bytes);

/// The bytes that `escapeBytes` was given. Nothing for a text with a backslash that is followed
/// neither by a second one nor by "x" and two lower-case hexadecimal digits; other texts that
/// `escapeBytes` never makes are not told apart.
std::optional<std::string> unescapeBytes(std::string_view text);

#endif
