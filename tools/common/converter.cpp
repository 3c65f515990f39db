#include "tools/common/converter.h"

#include <algorithm>
#include <array>
#include <cerrno>
#include <cstdint>

#include "loopback/bytes.h"

namespace {

std::string takeAscii(std::string_view& bytes) {
  const auto* end = std::find_if(bytes.begin(), bytes.end(),
                                 [](char byte) { return static_cast<unsigned char>(byte) > 0x7f; });
  std::string text(bytes.begin(), end);
  bytes.remove_prefix(text.size());
  return text;
}

}  // namespace

Converter::Converter(const char* to, const char* from) : m_handle(::iconv_open(to, from)) {}

Converter::~Converter() {
  if (isOpen()) ::iconv_close(m_handle);
}

// iconv_open(3) fails with -1, not with null.
bool Converter::isOpen() const { return reinterpret_cast<std::intptr_t>(m_handle) != -1; }

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

std::string convertedOrEscaped(std::string_view bytes, const char* to, const char* from) {
  Converter converter(to, from);
  std::string text = converter.takeConvertible(bytes);
  while (!bytes.empty()) {
    text += hexEscape(bytes.front());
    bytes.remove_prefix(1);
    text += converter.takeConvertible(bytes);
  }
  return text;
}
