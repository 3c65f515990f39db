#include "loopback/bytes.h"

namespace {

constexpr std::string_view kHexDigits = "0123456789abcdef";

unsigned byteAt(std::string_view bytes, std::size_t at) {
  return static_cast<unsigned char>(bytes[at]);
}

/// Whether `lead` and `second` begin an overlong form, a surrogate, or a value above U+10FFFF. For
/// each of these the first two bytes tell.
bool isForbiddenStart(unsigned lead, unsigned second) {
  return (lead == 0xe0 && second < 0xa0) || (lead == 0xed && second > 0x9f) ||
         (lead == 0xf0 && second < 0x90) || (lead == 0xf4 && second > 0x8f);
}

/// The byte of the two digits that `text` begins with, nothing when it does not begin with two.
std::optional<char> hexByte(std::string_view text) {
  if (text.size() < 2) return std::nullopt;
  const std::size_t high = kHexDigits.find(text[0]);
  const std::size_t low = kHexDigits.find(text[1]);
  if (high == std::string_view::npos || low == std::string_view::npos) return std::nullopt;
  return static_cast<char>(high * 16 + low);
}

}  // namespace

std::size_t utf8Length(std::string_view bytes) {
  if (bytes.empty()) return 0;
  const unsigned lead = byteAt(bytes, 0);
  if (lead < 0x80) return 1;
  // 0xc0 and 0xc1 could only begin overlong forms of two bytes.
  if (lead < 0xc2 || lead > 0xf4) return 0;

  const std::size_t length = lead >= 0xf0 ? 4 : lead >= 0xe0 ? 3 : 2;
  if (bytes.size() < length) return 0;
  for (std::size_t at = 1; at < length; ++at) {
    if ((byteAt(bytes, at) & 0xc0) != 0x80) return 0;
  }
  return isForbiddenStart(lead, byteAt(bytes, 1)) ? 0 : length;
}

std::string hexEscape(char byte) {
  const auto value = static_cast<unsigned char>(byte);
  return {'\\', 'x', kHexDigits[value / 16U], kHexDigits[value % 16U]};
}

bool isControlCharacter(std::string_view utf8) {
  const unsigned lead = byteAt(utf8, 0);
  if (utf8.size() == 1) return lead < 0x20 || lead == 0x7f;
  return lead == 0xc2 && byteAt(utf8, 1) < 0xa0;
}

std::string visibleBytes(std::string_view bytes) {
  return rewriteUtf8(bytes, [](std::string& text, std::string_view character) {
    if (isControlCharacter(character)) {
      for (const char byte : character) text += hexEscape(byte);
    } else {
      text += character;
    }
  });
}

std::string escapeBytes(std::string_view bytes) {
  return rewriteUtf8(bytes, [](std::string& text, std::string_view character) {
    if (character == "\\") text += '\\';
    text += character;
  });
}

std::optional<std::string> unescapeBytes(std::string_view text) {
  std::string bytes;
  bytes.reserve(text.size());
  while (!text.empty()) {
    if (text.front() != '\\') {
      bytes += text.front();
      text.remove_prefix(1);
    } else if (text.substr(0, 2) == "\\\\") {
      bytes += '\\';
      text.remove_prefix(2);
    } else {
      if (text.substr(0, 2) != "\\x") return std::nullopt;
      const std::optional<char> byte = hexByte(text.substr(2));
      if (!byte) return std::nullopt;
      bytes += *byte;
      text.remove_prefix(4);
    }
  }
  return bytes;
}
