#include "common/base/format.h"

#include <gtest/gtest.h>
#include <malloc.h>

#include <cstdlib>
#include <string>
#include <utility>
#include <vector>

#include "support/sanitizer.h"

namespace {
struct {
  bool watching = false;
  std::size_t failAt = 0;  // the size that is refused, 0 for none
  std::size_t sizes[16] = {};
  std::size_t count = 0;
  std::size_t allocations = 0;  // new ones, not grown
} growth;
}  // namespace

#ifndef TANEXICS_ADDRESS_SANITIZER
extern "C" {
void* __libc_malloc(std::size_t size);
void* __libc_realloc(void* memory, std::size_t size);
void* malloc(std::size_t size) noexcept {
  if (growth.watching) ++growth.allocations;
  return __libc_malloc(size);
}
void* realloc(void* memory, std::size_t size) noexcept {
  if (growth.watching && growth.count < 16) growth.sizes[growth.count++] = size;
  if (growth.watching && size == growth.failAt) return nullptr;
  return __libc_realloc(memory, size);
}
}
#endif

namespace {

using Sizes = std::vector<std::size_t>;

class FormatMemory : public testing::Test {
 protected:
  void SetUp() override {
#ifdef TANEXICS_ADDRESS_SANITIZER
    GTEST_SKIP() << "the address sanitizer brings its own allocator";
#endif
  }

  /// Formats so many bytes; growing to `failAt` bytes fails.
  static std::string formatWatched(std::size_t length, std::size_t failAt = 0) {
    const std::string text(length, 'x');
    growth.count = 0;
    growth.allocations = 0;
    growth.failAt = failAt;
    growth.watching = true;
    std::string result = format("%s", text.c_str());
    growth.watching = false;
    return result;
  }

  static Sizes grownTo() { return Sizes(growth.sizes, growth.sizes + growth.count); }
};

TEST_F(FormatMemory, Buffers_GrowToTwiceTheSizePlusOne) {
  const std::pair<std::size_t, Sizes> kRows[] = {
      {1023, {}}, {1024, {2049}}, {2047, {2049}}, {5000, {2049, 4097, 8193}}};
  for (const auto& [length, sizes] : kRows) {
    EXPECT_EQ(formatWatched(length), std::string(length, 'x'));
    EXPECT_EQ(grownTo(), sizes) << length;
  }
}

TEST_F(FormatMemory, ShortText_AllocatesOnlyItsResult) {
  const std::size_t inPlace = std::string().capacity();  // what a string holds without allocating
  for (const std::size_t length : {std::size_t{0}, std::size_t{1}, inPlace, inPlace + 1,
                                   std::size_t{100}, std::size_t{1023}}) {
    EXPECT_EQ(formatWatched(length).size(), length);
    EXPECT_EQ(growth.allocations, length > inPlace ? 1u : 0u) << length;
  }
}

TEST_F(FormatMemory, FailedGrowth_GivesTheTextCutAtTheLastBuffer) {
  EXPECT_EQ(formatWatched(5000, 2049), std::string(1023, 'x'));
  EXPECT_EQ(formatWatched(5000, 4097), std::string(2047, 'x'));
  EXPECT_EQ(formatWatched(5000, 8193), std::string(4095, 'x'));
}

TEST_F(FormatMemory, LongText_LeavesNothingAllocated) {
  const std::string text(5000, 'x');
  const std::size_t before = ::mallinfo2().uordblks;
  EXPECT_EQ(format("%s", C(text)).size(), text.size());
  EXPECT_EQ(::mallinfo2().uordblks, before);
}

}  // namespace
