#ifndef TANEXICS_PROOF_FUZZ_INPUT_H
#define TANEXICS_PROOF_FUZZ_INPUT_H

#include <cstddef>
#include <cstdint>
#include <cstring>
#include <string>
#include <string_view>
#include <vector>

/// The bytes that the fuzzer hands to a target, taken from front to back as the target needs them.
/// Where they have run out, there are zeros and empty texts.
class Input {
 public:
  Input(const std::uint8_t* data, std::size_t size)
      : m_left(reinterpret_cast<const char*>(data), size) {}

  bool isEmpty() const { return m_left.empty(); }

  unsigned byte() {
    if (m_left.empty()) return 0;
    const auto value = static_cast<unsigned char>(m_left.front());
    m_left.remove_prefix(1);
    return value;
  }

  /// One of `count` choices, from 0. With a power of two up to 16 the digits '0', '1', ... choose
  /// 0, 1, ..., so that seeds can be read.
  unsigned choice(unsigned count) { return byte() % count; }

  /// Any 32-bit number, least significant byte first.
  int number() {
    std::uint32_t value = 0;
    for (int shift = 0; shift < 32; shift += 8) value |= std::uint32_t{byte()} << shift;
    return static_cast<std::int32_t>(value);
  }

  /// The text up to the next zero byte, which is dropped.
  std::string word() {
    const std::size_t end = m_left.find('\0');
    const std::string text(m_left.substr(0, end));
    m_left.remove_prefix(end == std::string_view::npos ? m_left.size() : end + 1);
    return text;
  }

  /// A word that is repeated as often as the byte before it says, 1 to 64 times, and thus reaches
  /// the limits of buffers with few bytes of input; at most `kLongWordBytes`.
  std::string longWord() {
    const unsigned times = choice(64) + 1;
    const std::string text = word();
    std::string repeated;
    for (unsigned i = 0; i < times && repeated.size() < kLongWordBytes; ++i) repeated += text;
    return repeated.substr(0, kLongWordBytes);
  }

  std::string rest() {
    const std::string text(m_left);
    m_left = {};
    return text;
  }

 private:
  static constexpr std::size_t kLongWordBytes = 5000;  // above every limit that the code knows

  std::string_view m_left;
};

/// What a C string function sees of `bytes`: all up to the first zero byte.
inline std::string upToZero(const std::string& bytes) { return bytes.c_str(); }

/// `bytes` in memory of their own that ends with the last of them, without a terminator: a
/// sanitizer, or valgrind, sees whoever reads on.
template <class Element = char>
std::vector<Element> exactCopy(const std::string& bytes) {
  std::vector<Element> copy;
  copy.reserve(bytes.size());
  for (const char byte : bytes) {
    copy.push_back(static_cast<Element>(static_cast<unsigned char>(byte)));
  }
  return copy;
}

#endif
