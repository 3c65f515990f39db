#include "tools/outcome/readable.h"

#include <iconv.h>

#include <cstdint>
#include <optional>

#include "loopback/bytes.h"

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

/// The C library's converter, which has a state that every use leaves as it was.
class EucJpConverter {
 public:
  EucJpConverter() : m_converter(::iconv_open("UTF-8", "EUC-JP")) {}
  ~EucJpConverter() {
    if (isOpen()) ::iconv_close(m_converter);
  }
  EucJpConverter(const EucJpConverter&) = delete;
  EucJpConverter& operator=(const EucJpConverter&) = delete;

  /// One character as UTF-8; nothing where these are not the bytes of one.
  std::optional<std::string> convert(std::string_view character) {
    if (!isOpen()) return std::nullopt;
    std::string input(character);
    char output[8];
    char* from = input.data();
    char* to = output;
    std::size_t fromLeft = input.size();
    std::size_t toLeft = sizeof output;
    ::iconv(m_converter, nullptr, nullptr, nullptr, nullptr);
    const std::size_t result = ::iconv(m_converter, &from, &fromLeft, &to, &toLeft);
    if (result == static_cast<std::size_t>(-1) || fromLeft != 0) return std::nullopt;
    return std::string(output, sizeof output - toLeft);
  }

 private:
  /// iconv_open(3) gives -1, as a pointer, where it fails.
  bool isOpen() const { return reinterpret_cast<std::intptr_t>(m_converter) != -1; }

  iconv_t m_converter;
};

/// The length of the EUC-JP character that `bytes`, which are not empty, may begin with: code set 1
/// has two bytes, 2 has two after SS2, 3 has three after SS3 (JIS X 0208, 0201 and 0212). 0 where
/// they begin with none.
std::size_t eucJpLength(std::string_view bytes) {
  const auto first = static_cast<unsigned char>(bytes.front());
  if (first < 0x80) return 1;
  if (first == 0x8f) return 3;
  return first == 0x8e || (first >= 0xa1 && first != 0xff) ? 2 : 0;
}

bool isControl(std::string_view utf8) {
  const auto first = static_cast<unsigned char>(utf8.front());
  if (first < 0x20 || first == 0x7f) return true;
  return utf8.size() == 2 && first == 0xc2 && static_cast<unsigned char>(utf8[1]) < 0xa0;
}

void append(std::string& text, std::string_view character, std::string_view bytes) {
  if (character == "\\") {
    text += "\\\\";
  } else if (isControl(character)) {
    for (const char byte : bytes) text += hexEscape(byte);
  } else {
    text += character;
  }
}

}  // namespace

std::string readable(std::string_view bytes, Encoding encoding) {
  static EucJpConverter converter;
  const bool asUtf8 =
      encoding == Encoding::kUtf8 || (encoding == Encoding::kEither && isUtf8(bytes));
  std::string text;
  text.reserve(bytes.size());
  while (!bytes.empty()) {
    std::size_t length = asUtf8 ? utf8Length(bytes) : eucJpLength(bytes);
    std::optional<std::string> character;
    if (length > 0 && length <= bytes.size()) {
      character = asUtf8 || length == 1 ? std::string(bytes.substr(0, length))
                                        : converter.convert(bytes.substr(0, length));
    }
    if (character) {
      append(text, *character, bytes.substr(0, length));
    } else {
      length = 1;
      text += hexEscape(bytes.front());
    }
    bytes.remove_prefix(length);
  }
  return text;
}

}  // namespace outcome
