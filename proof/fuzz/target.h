#ifndef TANEXICS_PROOF_FUZZ_TARGET_H
#define TANEXICS_PROOF_FUZZ_TARGET_H

#include <gtest/gtest-printers.h>

#include <cstddef>
#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <string>
#include <string_view>
#include <type_traits>
#include <vector>

using Texts = std::vector<std::string>;

// --- what a fuzz target is given -----------------------------------------------------------------

/// The bytes that the fuzzer hands to a target, taken from front to back as the target needs them.
/// Where they have run out, there are zeros and empty texts.
class Input {
 public:
  explicit Input(std::string_view bytes) : m_left(bytes) {}

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

/// Runs the code on one input, and ends the process by abort(3) when a promise is broken. The
/// action log goes to /dev/null at first, without traces; its texts are formatted all the same.
using TryInput = void (*)(Input input);

/// A target, which the driver finds by its name; its inputs are kept in the folder of that name.
struct Target {
  Target(const char* name, TryInput tryInput);
};

// --- what it demands of the code -----------------------------------------------------------------

/// Demands that `holds`; `promise` says in a few words what is broken otherwise. The fuzzer and
/// the test of the kept inputs both take abort(3) for a finding.
inline void demand(bool holds, const char* promise) {
  if (holds) return;
  std::fprintf(stderr, "broken promise: %s\n", promise);
  std::abort();
}

/// Demands that `actual` is `expected`; both are shown otherwise.
template <class Value>
void demandEqual(const Value& actual, const std::common_type_t<Value>& expected,
                 const char* promise) {
  if (actual == expected) return;
  std::fprintf(stderr, "actual:   %s\nexpected: %s\n", testing::PrintToString(actual).c_str(),
               testing::PrintToString(expected).c_str());
  demand(false, promise);
}

// --- where it gets the bytes from ----------------------------------------------------------------

/// `bytes` in memory of their own that ends with the last of them, without a terminator: a
/// sanitizer, or valgrind, sees whoever reads on.
inline std::vector<char> exactCopy(const std::string& bytes) {
  return {bytes.begin(), bytes.end()};
}

/// A folder of files below TMPDIR, or in shared memory. It goes with the object.
class ScratchFolder {
 public:
  ScratchFolder() {
    const char* parent = ::getenv("TMPDIR");
    m_path = std::string(parent == nullptr ? "/dev/shm" : parent) + "/tanexics-fuzz-XXXXXX";
    demand(::mkdtemp(m_path.data()) != nullptr, "there is a scratch folder");
  }
  ~ScratchFolder() { std::filesystem::remove_all(m_path); }
  ScratchFolder(const ScratchFolder&) = delete;
  ScratchFolder& operator=(const ScratchFolder&) = delete;

  std::string operator/(const std::string& name) const { return m_path + "/" + name; }

  /// Makes `bytes` the whole content of a file, and gives its path.
  std::string write(const std::string& name, const std::string& bytes) const {
    std::ofstream stream(*this / name, std::ios::binary);
    demand((stream << bytes << std::flush).good(), "a scratch file can be written");
    return *this / name;
  }

  std::string read(const std::string& name) const {
    std::ifstream stream(*this / name, std::ios::binary);
    demand(stream.good(), "a scratch file can be read");
    return {std::istreambuf_iterator<char>(stream), {}};
  }

 private:
  std::string m_path;
};

#endif
