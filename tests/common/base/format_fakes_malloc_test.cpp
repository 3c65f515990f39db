#include "common/base/format.h"

#include <gtest/gtest.h>
#include <malloc.h>

#include <cstdarg>
#include <cstdio>
#include <cstdlib>
#include <string>
#include <vector>

#include "support/sanitizer.h"

// --- allocations are counted; growing a heap buffer is watched, and fails on demand --------------

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

std::string formatWatched(const std::string& text, std::size_t failAt) {
  growth.count = 0;
  growth.allocations = 0;
  growth.failAt = failAt;
  growth.watching = true;
  std::string result = format("%s", text.c_str());
  growth.watching = false;
  return result;
}

Sizes grownTo() { return Sizes(growth.sizes, growth.sizes + growth.count); }

TEST(CharacterPointer, OfAPointer_IsThePointer) {
  const char text[] = "text";
  EXPECT_EQ(C(text), text);
  EXPECT_EQ(C(static_cast<const char*>(nullptr)), nullptr);
}

TEST(CharacterPointer, OfAString_IsItsContents) {
  const std::string fixed = "fixed";
  EXPECT_EQ(C(fixed), fixed.c_str());
  EXPECT_STREQ(C(std::string()), "");
}

TEST(CharacterPointer, OfAWritableString_IsWritable) {
  std::string text = "text";
  char* writable = C(text);
  writable[0] = 'n';
  EXPECT_EQ(text, "next");
}

TEST(Format, Arguments_AreFormattedAsPrintf) {
  EXPECT_EQ(format("%s", ""), "");
  EXPECT_EQ(format("100%%"), "100%");
  EXPECT_EQ(format("%04d|%-3s|%08x|%lld", 7, "a", 0xbeefu, -1LL), "0007|a  |0000beef|-1");
  EXPECT_EQ(format("%s", "\xe6\xbc\xa2 \xa4\xa2 "), "\xe6\xbc\xa2 \xa4\xa2 ");
}

TEST(Format, Null_IsEmpty) {
  const char* null = nullptr;
#pragma GCC diagnostic push
#pragma GCC diagnostic ignored "-Wformat-security"
  EXPECT_EQ(format(null), "");
#pragma GCC diagnostic pop
}

TEST(Format, TextOf1023Bytes_FitsTheFirstBuffer) {
  EXPECT_EQ(formatWatched(std::string(1023, 'x'), 0), std::string(1023, 'x'));
  EXPECT_EQ(grownTo(), Sizes());
}

TEST(Format, TextOf1024Bytes_IsFormattedAgainIntoABufferOf2049Bytes) {
#ifdef TANEXICS_ADDRESS_SANITIZER
  GTEST_SKIP() << "the address sanitizer brings its own allocator";
#endif
  EXPECT_EQ(formatWatched(std::string(1024, 'x'), 0), std::string(1024, 'x'));
  EXPECT_EQ(grownTo(), Sizes({2049}));
}

TEST(Format, TextOf5000Bytes_ComesBackWhole) {
  EXPECT_EQ(format("%s", std::string(5000, 'x').c_str()), std::string(5000, 'x'));
}

TEST(Format, TextsAroundEveryBufferSize_ComeBackWhole) {
  for (const std::size_t length :
       {1u, 1022u, 1023u, 1024u, 1025u, 2046u, 2047u, 2048u, 2049u, 4095u, 4096u, 4097u, 100000u}) {
    std::string text;
    while (text.size() < length) text += static_cast<char>('a' + text.size() % 26);
    EXPECT_EQ(format("%s", text.c_str()), text) << length;
    EXPECT_EQ(format("%d%s%d", 1, text.c_str(), 2), "1" + text + "2") << length;
  }
}

TEST(Format, BuffersGrow_ToTwiceTheSizePlusOne) {
#ifdef TANEXICS_ADDRESS_SANITIZER
  GTEST_SKIP() << "the address sanitizer brings its own allocator";
#endif
  formatWatched(std::string(5000, 'x'), 0);
  EXPECT_EQ(grownTo(), Sizes({2049, 4097, 8193}));
}

TEST(Format, ShortText_AllocatesOnlyItsResult) {
#ifdef TANEXICS_ADDRESS_SANITIZER
  GTEST_SKIP() << "the address sanitizer brings its own allocator";
#endif
  const std::size_t inPlace = std::string().capacity();  // what a string holds without allocating
  for (const std::size_t length : {std::size_t{0}, std::size_t{1}, inPlace, inPlace + 1,
                                   std::size_t{100}, std::size_t{1023}}) {
    EXPECT_EQ(formatWatched(std::string(length, 'x'), 0).size(), length);
    EXPECT_EQ(growth.allocations, length > inPlace ? 1u : 0u) << length;
    EXPECT_EQ(growth.count, 0u) << length;
  }
}

TEST(Format, FailedAllocation_GivesTheTextCutAtTheLastBuffer) {
#ifdef TANEXICS_ADDRESS_SANITIZER
  GTEST_SKIP() << "the address sanitizer brings its own allocator";
#endif
  const std::string text(5000, 'x');
  EXPECT_EQ(formatWatched(text, 2049), std::string(1023, 'x'));
  EXPECT_EQ(formatWatched(text, 4097), std::string(2047, 'x'));
  EXPECT_EQ(formatWatched(text, 8193), std::string(4095, 'x'));
}

TEST(Format, FailingConversion_GivesWhatPrecedesIt) {
  EXPECT_EQ(format("abc%ls", L"\x3042"), "abc");
  // A count below 0 is no length to grow to: what fits the first buffer is all.
  for (const std::size_t length : {1022u, 1023u, 1024u, 5000u}) {
    const std::string text(length, 'x');
    EXPECT_EQ(format("%s%ls", text.c_str(), L"\x3042"), text.substr(0, 1023)) << length;
  }
}

TEST(Format, ZeroByte_EndsTheText) { EXPECT_EQ(format("a%cb", '\0'), "a"); }

__attribute__((format(printf, 1, 2))) std::string formatTwice(const char* fmt, ...) {
  va_list args;
  va_start(args, fmt);
  const std::string first = format_va(fmt, args);
  const std::string second = format_va(fmt, args);
  va_end(args);
  EXPECT_EQ(first, second);
  return first;
}

TEST(FormatVa, ArgumentList_IsLeftAsItWas) {
  EXPECT_EQ(formatTwice("%s-%d", "a", 1), "a-1");
  const std::string text(3000, 'x');
  EXPECT_EQ(formatTwice("%d%s%d", 1, text.c_str(), 2), "1" + text + "2");
}

TEST(BareFormat, OnlyPercentAndErrorText_KeepTheirMeaning) {
  const struct {
    const char* text;
    const char* format;
  } kRows[] = {
      {"", ""},
      {"text", "text"},
      {"%", "%%"},
      {"%%", "%%"},
      {"%%%", "%%%%"},
      {"%m", "%m"},
      {"%%m", "%%m"},
      {"%%%m", "%%%m"},
      {"%d", "%%d"},
      {"%s%n", "%%s%%n"},
      {"%5m", "%%5m"},
      {"% %", "%% %%"},
      {"100% of", "100%% of"},
      {"a%", "a%%"},
      {"%M", "%%M"},
  };
  for (const auto& row : kRows) {
    const std::string text = row.text;
    std::vector<char> out(2 * text.size() + 1, '#');
    bareFormat(text.c_str(), out.data());
    EXPECT_STREQ(out.data(), row.format) << row.text;
  }
}

TEST(Format, LongText_LeavesNothingAllocated) {
  const std::string text(5000, 'x');
  const std::size_t before = ::mallinfo2().uordblks;
  EXPECT_EQ(format("%s", C(text)).size(), text.size());
  EXPECT_EQ(::mallinfo2().uordblks, before);
}

}  // namespace
