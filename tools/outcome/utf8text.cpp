#include "tools/outcome/utf8text.h"

#include <iconv.h>

#include <algorithm>
#include <array>
#include <cerrno>
#include <cstdint>

#include "loopback/bytes.h"

namespace outcome {

namespace {

/// A conversion to UTF-8.
class Converter {
 public:
  explicit Converter(const char* encoding) : m_handle(::iconv_open("UTF-8", encoding)) {}
  ~Converter() {
    if (isOpen()) ::iconv_close(m_handle);
  }
  Converter(const Converter&) = delete;
  Converter& operator=(const Converter&) = delete;

  /// Converts as much of the beginning of `bytes` as it can, and takes it away from them.
  std::string takeConvertible(std::string_view& bytes);

 private:
  // iconv_open(3) fails with -1, not with null.
  bool isOpen() const { return reinterpret_cast<std::intptr_t>(m_handle) != -1; }

  iconv_t m_handle;
};

std::string takeAscii(std::string_view& bytes) {
  const auto* end = std::find_if(bytes.begin(), bytes.end(),
                                 [](char byte) { return static_cast<unsigned char>(byte) > 0x7f; });
  std::string text(bytes.begin(), end);
  bytes.remove_prefix(text.size());
  return text;
}

std::string Converter::takeConvertible(std::string_view& bytes) {
  if (!isOpen()) return takeAscii(bytes);
  std::string text;
  std::array<char, 1024> piece;
  bool isFull = true;
  while (isFull) {
    // iconv(3) takes a pointer to writable bytes, and leaves them as they are.
    char* in = const_cast<char*>(bytes.data());
    std::size_t inLeft = bytes.size();
    char* out = piece.data();
    std::size_t outLeft = piece.size();
    isFull = ::iconv(m_handle, &in, &inLeft, &out, &outLeft) == static_cast<std::size_t>(-1) &&
             errno == E2BIG;
    text.append(piece.data(), piece.size() - outLeft);
    bytes.remove_prefix(bytes.size() - inLeft);
  }
  return text;
}

}  // namespace

std::string utf8Text(std::string_view bytes, const char* encoding) {
  Converter converter(encoding);
  std::string text = converter.takeConvertible(bytes);
  while (!bytes.empty()) {
    text += hexEscape(bytes.front());
    bytes.remove_prefix(1);
    text += converter.takeConvertible(bytes);
  }
  return text;
}

}  // namespace outcome
