#ifndef TANEXICS_TESTS_SUPPORT_BYTES_H
#define TANEXICS_TESTS_SUPPORT_BYTES_H

#include <cstddef>
#include <string>

/// As many bytes x.
inline std::string x(std::size_t count) { return std::string(count, 'x'); }

/// Bytes of a text with zero bytes in it.
template <std::size_t N>
std::string bytesOf(const char (&literal)[N]) {
  return std::string(literal, N - 1);
}

#endif
