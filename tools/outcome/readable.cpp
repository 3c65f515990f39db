#include "tools/outcome/readable.h"

#include <algorithm>

#include "loopback/bytes.h"
#include "tools/outcome/utf8text.h"

namespace outcome {

namespace {

bool isUtf8(std::string_view bytes) {
  while (!bytes.empty()) {
    const std::size_t length = utf8Length(bytes);
    if (length == 0) return false;
    bytes.remove_prefix(length);
  }
  return true;
}

/// `character`: one of UTF-8, as it is in the log.
void append(std::string& text, std::string_view character) {
  if (character == "\\") {
    text += "\\\\";
  } else if (isControlCharacter(character)) {
    for (const char byte : character) text += hexEscape(byte);
  } else {
    text += character;
  }
}

std::string readableUtf8(std::string_view bytes) { return rewriteUtf8(bytes, append); }

/// Bytes above ASCII, of which no character of EUC-JP becomes a backslash or a control character
/// but those of one byte: these become the character of the same number.
std::string readableAboveAscii(std::string_view bytes) {
  const std::string utf8 = utf8Text(bytes, "EUC-JP");
  std::string text;
  for (std::string_view rest = utf8; !rest.empty(); rest.remove_prefix(utf8Length(rest))) {
    const std::string_view character = rest.substr(0, utf8Length(rest));
    if (isControlCharacter(character)) {
      text += hexEscape(character.back());
    } else {
      text += character;
    }
  }
  return text;
}

/// Each byte of EUC-JP that is below 0x80 is a character of ASCII, whatever stands around it.
std::string readableEucJp(std::string_view bytes) {
  const auto isAscii = [](char byte) { return static_cast<unsigned char>(byte) < 0x80; };
  std::string text;
  text.reserve(bytes.size());
  while (!bytes.empty()) {
    const auto* const end = std::find_if(bytes.begin(), bytes.end(), isAscii);
    const auto above = static_cast<std::size_t>(end - bytes.begin());
    if (above > 0) {
      text += readableAboveAscii(bytes.substr(0, above));
    } else {
      append(text, bytes.substr(0, 1));
    }
    bytes.remove_prefix(std::max<std::size_t>(above, 1));
  }
  return text;
}

}  // namespace

std::string readable(std::string_view bytes, Encoding encoding) {
  const bool asUtf8 =
      encoding == Encoding::kUtf8 || (encoding == Encoding::kEither && isUtf8(bytes));
  return asUtf8 ? readableUtf8(bytes) : readableEucJp(bytes);
}

}  // namespace outcome
