#ifndef TANEXICS_TESTS_SUPPORT_GENERATOR_H
#define TANEXICS_TESTS_SUPPORT_GENERATOR_H

#include <gtest/gtest.h>

#include <random>
#include <string>

/// Texts and numbers for property tests: the same in every run, on every machine. While one lives,
/// every failure of the test prints its seed.
class Generator {
 public:
  explicit Generator(unsigned seed)
      : m_engine(seed), m_trace(__FILE__, __LINE__, "seed " + std::to_string(seed)) {
    testing::Test::RecordProperty("seed", std::to_string(seed));
  }

  /// A number from 0 to `count` - 1. Not the standard's distributions, which differ from library to
  /// library.
  std::size_t below(std::size_t count) { return m_engine() % count; }

  /// A number from `first` to `last`.
  int between(int first, int last) {
    return first + static_cast<int>(below(static_cast<std::size_t>(last - first) + 1));
  }

  /// At most `longest` bytes out of `alphabet`, every length as likely as any other.
  std::string text(const std::string& alphabet, std::size_t longest) {
    std::string made(below(longest + 1), ' ');
    for (char& byte : made) byte = alphabet[below(alphabet.size())];
    return made;
  }

 private:
  std::mt19937 m_engine;
  testing::ScopedTrace m_trace;
};

/// All bytes from 1 to 255 in order.
inline std::string allBytes() {
  std::string bytes;
  for (int byte = 1; byte < 256; ++byte) bytes += static_cast<char>(byte);
  return bytes;
}

#endif
