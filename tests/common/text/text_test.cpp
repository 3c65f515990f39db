#include "common/text/text.h"

#include <gtest/gtest.h>

#include <chrono>
#include <cstring>
#include <string>
#include <tuple>
#include <utility>

#include "support/actionlog.h"

namespace {

using Row = std::pair<std::string, std::string>;

TEST(EraseLastCRLF, OneOfEach_GoesInThisOrderOnly) {
  const Row kRows[] = {{"", ""},           {"a\n", "a"},     {"a\r", "a"},
                       {"a\r\n", "a"},     {"a\n\r", "a\n"}, {"a\r\n\r\n", "a\r\n"},
                       {"a\r\r\n", "a\r"}, {"\r\n", ""},     {"\na \n", "\na "}};
  for (const auto& [text, result] : kRows) {
    std::string copy = text;
    EXPECT_EQ(eraseLastCRLF(copy), 0);
    EXPECT_EQ(copy, result);
    std::string buffer = text;
    EXPECT_EQ(eraseLastCRLF(buffer.data()), 0);
    EXPECT_EQ(buffer.c_str(), result);
  }
}

TEST(EraseLastCRLF, EmptyText_NothingBeforeItIsLookedAt) {
  for (const char before : {'\n', '\r'}) {
    char bytes[] = {before, '\0'};
    EXPECT_EQ(eraseLastCRLF(bytes + 1), 0);
    EXPECT_EQ(bytes[0], before);
  }
}

TEST(Trim, WhiteSpaceAtBothEnds_IsRemovedAndInABufferOverwrittenWithZeros) {
  const Row kRows[] = {{"", ""},
                       {" \t\n\v\f\r", ""},
                       {" \t\n\v\f\ra b\r\f\v\n\t ", "a b"},
                       {" a", "a"},
                       {"a  b", "a  b"},
                       {"\x1f+\x08", "\x1f+\x08"},
                       {"\xa0 a \xa0", "\xa0 a \xa0"},
                       {" \xe6\xbc\xa2 ", "\xe6\xbc\xa2"}};
  for (const auto& [text, result] : kRows) {
    std::string trimmed = text;
    EXPECT_EQ(trim(trimmed), trimmed.c_str());
    EXPECT_EQ(trimmed, result);
    std::string buffer = " " + text + std::string("\0after", 6);
    trim(buffer.data() + 1);
    EXPECT_EQ(buffer.data() + 1, result);
    EXPECT_EQ(buffer.front(), ' ');
    EXPECT_EQ(buffer.substr(1 + text.size()), std::string("\0after", 6));
  }
  std::string buffer = "ab \t\n";
  trim(buffer.data());
  EXPECT_EQ(buffer, std::string("ab\0\0\0", 5));
}

TEST(TrimQuote, DoubleQuotesAtBothEnds_AreRemovedOnce) {
  const Row kRows[] = {{"", ""},
                       {"\"", ""},  // the one quote is first and last
                       {"\"\"", ""},
                       {"\"\"\"", "\""},
                       {"\"\"a\"\"", "\"a\""},
                       {"\"a", "\"a"},
                       {"a\"", "a\""},
                       {"a", "a"},
                       {"a\"b", "a\"b"},
                       {"'a'", "'a'"},
                       {" \"a\"", " \"a\""},
                       {"\"a\" ", "\"a\" "},
                       {"\"\xe6\xbc\"", "\xe6\xbc"}};
  const CapturedLog log(CapturedLog::Level::kTrace);
  for (const auto& [text, result] : kRows) EXPECT_EQ(trimQuote(text.c_str()), result) << text;
  EXPECT_EQ(log.bytes(), "");
}

TEST(QuoteEsc, EveryQuote_IsWrittenTwice) {
  const std::tuple<const char*, char, const char*> kRows[] = {
      {"", '"', ""},
      {"\"", '"', "\"\""},
      {"\"a\"", '"', "\"\"a\"\""},
      {"a''b'", '\'', "a''''b''"},
      {"a'b\"c", '\'', "a''b\"c"},
      {"\\'", '\\', "\\\\'"},
      {"\xe6\xbc\xa2", '\xbc', "\xe6\xbc\xbc\xa2"}};
  for (const auto& [text, quote, result] : kRows) {
    EXPECT_EQ(quoteEsc(text, quote), result) << text;
    EXPECT_EQ(quoteEsc(std::string(text), quote), result) << text;
  }
}

TEST(ReplaceString, EveryOccurrence_IsReplacedFromLeftToRight) {
  const std::tuple<std::string, const char*, const char*, int, std::string> kRows[] = {
      {"abc", "b", "x", 0, "axc"},
      {"abcabc", "b", "xy", 0, "axycaxyc"},
      {"abc", "d", "x", 0, "abc"},
      {"aaa", "aa", "b", 0, "ba"},
      {"aaaa", "aa", "a", 0, "aa"},  // what was inserted is not looked at again
      {"a", "a", "aa", 0, "aa"},
      {"ab", "a", "ba", 0, "bab"},
      {"aabb", "ab", "", 0, "ab"},
      {"\xe6\xbc\xa2", "\xbc", "", 0, "\xe6\xa2"},
      {"%s%n", "%", "%%", 0, "%%s%%n"},
      {"", "a", "x", -1, ""},
      {"", "", "x", -1, ""},
      {"abc", "", "x", -1, "abc"}};
  for (const auto& [text, from, to, result, replaced] : kRows) {
    std::string changed = text;
    EXPECT_EQ(replaceString(changed, from, to), result) << text;
    EXPECT_EQ(changed, replaced) << text;
  }
}

TEST(ReplaceString, LongTextThatNearlyMatchesEverywhere_TakesNoTime) {
  constexpr std::size_t kHalf = 500000;
  const std::string bytes(2 * kHalf, 'a');
  std::string text = bytes;
  const auto start = std::chrono::steady_clock::now();
  EXPECT_EQ(replaceString(text, bytes.substr(0, kHalf) + "b", "x"), 0);
  // Comparing anew at each place takes more than five seconds.
  EXPECT_LT(std::chrono::steady_clock::now() - start, std::chrono::seconds(2));
  EXPECT_TRUE(text == bytes);
}

TEST(MatchedString, Texts_GiveTheirCommonBeginning) {
  const std::tuple<const char*, const char*, const char*> kRows[] = {
      {"", "", ""},         {"a", "", ""},          {"abc", "abc", "abc"},
      {"abc", "abd", "ab"}, {"ab", "abc", "ab"},    {"abc", "xbc", ""},
      {"abc", "ABC", ""},   {"a b ", "a b", "a b"}, {"\xe6\xbc\xa2", "\xe6\xbc\xa3", "\xe6\xbc"}};
  const CapturedLog log(CapturedLog::Level::kTrace);
  for (const auto& [a, b, result] : kRows) {
    EXPECT_EQ(matchedString(a, b), result) << a << ", " << b;
    EXPECT_EQ(matchedString(b, a), result) << b << ", " << a;
  }
  EXPECT_EQ(log.bytes(), "");
}

TEST(Strlcpy, Text_IsCutFilledUpAndTerminated) {
  for (unsigned size = 1; size <= 6; ++size) {
    for (std::size_t length = 0; length <= 7; ++length) {
      const std::string src = std::string("abcdefg").substr(0, length);
      std::string dst(8, '#');
      EXPECT_EQ(::strlcpy(dst.data(), src.c_str(), size), dst.data());
      std::string expected = src.substr(0, size - 1);
      expected.resize(size, '\0');
      EXPECT_EQ(dst, expected + std::string(8 - size, '#')) << size << ", " << length;
    }
  }
}

TEST(Strlcpy, TextWithinTheDestination_IsMoved) {
  char bytes[] = "abcdefg#";
  EXPECT_EQ(::strlcpy(bytes, bytes + 2, 8U), bytes);
  EXPECT_EQ(std::string(bytes, 8), std::string("cdefg#\0\0", 8));
  EXPECT_EQ(::strlcpy(bytes + 2, bytes, 5U), bytes + 2);
  EXPECT_EQ(std::string(bytes, 8), std::string("cdcdef\0\0", 8));
  EXPECT_EQ(::strlcpy(bytes, bytes, 4U), bytes);
  EXPECT_EQ(std::string(bytes, 8), std::string("cdc\0ef\0\0", 8));
}

TEST(Strlcpy, Size0_IsNullAndCopiesNothing) {
  char dst[] = "###";
  EXPECT_EQ(::strlcpy(dst, "abc", 0U), nullptr);
  EXPECT_STREQ(dst, "###");
}

TEST(CountLines, Texts_AreCountedByTheirLineFeeds) {
  const std::string many(100000, '\n');
  const std::pair<std::string, int> kRows[] = {
      {"", 0},    {"a", 1},        {"\n", 1},    {"\n\n", 2},           {"a\n", 1},
      {"\na", 2}, {"a\n\nb\n", 3}, {"a\n\r", 2}, {"\xe6\xbc\n\xa2", 2}, {many + "x", 100001}};
  for (const auto& [text, lines] : kRows) EXPECT_EQ(countLines(text.c_str()), lines) << text;
}

}  // namespace
