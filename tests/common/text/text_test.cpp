#include "common/text/text.h"

#include <gtest/gtest.h>
#include <sys/resource.h>
#include <unistd.h>

#include <chrono>
#include <csignal>
#include <cstdio>
#include <cstring>
#include <functional>
#include <string>

#include "support/actionlog.h"
#include "support/childrun.h"

namespace {

struct Row {
  const char* text;
  const char* result;
};

// --- eraseLastCRLF and trim ----------------------------------------------------------------------

TEST(EraseLastCRLF, OneOfEach_GoesInThisOrderOnly) {
  const Row kRows[] = {
      {"", ""},           {"a", "a"},       {"a\n", "a"},     {"a\r", "a"},
      {"a\r\n", "a"},     {"a\n\r", "a\n"}, {"a\n\n", "a\n"}, {"a\r\r", "a\r"},
      {"\n", ""},         {"\r", ""},       {"\r\n", ""},     {"a\r\n\r\n", "a\r\n"},
      {"a\r\r\n", "a\r"}, {"\na", "\na"},   {"a \n", "a "},   {"\xe6\xbc\r\n", "\xe6\xbc"}};
  for (const Row& row : kRows) {
    std::string text = row.text;
    EXPECT_EQ(eraseLastCRLF(text), 0);
    EXPECT_EQ(text, row.result);
    std::string buffer = row.text;
    EXPECT_EQ(eraseLastCRLF(buffer.data()), 0);
    EXPECT_STREQ(buffer.c_str(), row.result);
  }
}

TEST(EraseLastCRLF, EmptyText_NothingBeforeItIsLookedAt) {
  for (const char before : {'\n', '\r'}) {
    char bytes[] = {before, '\0'};
    EXPECT_EQ(eraseLastCRLF(bytes + 1), 0);
    EXPECT_EQ(bytes[0], before);
  }
}

TEST(Trim, WhiteSpaceAtBothEnds_IsRemoved) {
  const Row kRows[] = {{"", ""},
                       {"a", "a"},
                       {" ", ""},
                       {" \t\n\v\f\r", ""},
                       {" \t\n\v\f\ra b\r\f\v\n\t ", "a b"},
                       {"a ", "a"},
                       {" a", "a"},
                       {"a  b", "a  b"},
                       {"\x1f+\x08", "\x1f+\x08"},
                       {"\xa0 a \xa0", "\xa0 a \xa0"},
                       {" \xe6\xbc\xa2 ", "\xe6\xbc\xa2"}};
  for (const Row& row : kRows) {
    std::string text = row.text;
    const char* trimmed = trim(text);
    EXPECT_EQ(trimmed, text.c_str());
    EXPECT_EQ(text, row.result) << "'" << row.text << "'";
    std::string buffer = row.text + std::string("\0after", 6);
    trim(buffer.data());
    EXPECT_STREQ(buffer.c_str(), row.result) << "'" << row.text << "'";
    EXPECT_EQ(buffer.substr(std::strlen(row.text)), std::string("\0after", 6));
  }
}

TEST(Trim, TrailingWhiteSpaceInABuffer_IsOverwrittenWithZeros) {
  std::string buffer = "ab \t\n";
  trim(buffer.data());
  EXPECT_EQ(buffer, std::string("ab\0\0\0", 5));
}

TEST(Trim, TextOfBlanks_LeavesWhatStandsInFrontOfIt) {
  for (const char* const blanks : {"", " ", "  \t"}) {
    std::string buffer = std::string(" ") + blanks;
    trim(buffer.data() + 1);
    EXPECT_STREQ(buffer.c_str(), " ") << "'" << blanks << "'";
  }
}

// --- trimQuote and quoteEsc ----------------------------------------------------------------------

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
  for (const Row& row : kRows) EXPECT_EQ(trimQuote(row.text), row.result) << row.text;
  EXPECT_EQ(log.bytes(), "");
}

TEST(QuoteEsc, EveryQuote_IsWrittenTwice) {
  const struct {
    const char* text;
    char quote;
    const char* result;
  } kRows[] = {{"", '"', ""},
               {"a", '"', "a"},
               {"\"", '"', "\"\""},
               {"\"a\"", '"', "\"\"a\"\""},
               {"a''b'", '\'', "a''''b''"},
               {"a'b\"c", '\'', "a''b\"c"},
               {"aXbx", 'X', "aXXbx"},
               {"\\'", '\\', "\\\\'"},
               {"\xe6\xbc\xa2", '\xbc', "\xe6\xbc\xbc\xa2"}};
  for (const auto& row : kRows) {
    EXPECT_EQ(quoteEsc(row.text, row.quote), row.result) << row.text;
    EXPECT_EQ(quoteEsc(std::string(row.text), row.quote), row.result) << row.text;
  }
}

// --- replaceString and matchedString -------------------------------------------------------------

TEST(ReplaceString, EveryOccurrence_IsReplacedFromLeftToRight) {
  const struct {
    const char* text;
    const char* from;
    const char* to;
    int result;
    const char* replaced;
  } kRows[] = {{"abc", "b", "x", 0, "axc"},
               {"abcabc", "b", "xy", 0, "axycaxyc"},
               {"abc", "abc", "", 0, ""},
               {"abc", "d", "x", 0, "abc"},
               {"aaa", "aa", "b", 0, "ba"},
               {"aaaa", "aa", "a", 0, "aa"},  // what was inserted is not looked at again
               {"a", "a", "aa", 0, "aa"},
               {"ab", "a", "ba", 0, "bab"},
               {"aabb", "ab", "", 0, "ab"},
               {"a", "abc", "x", 0, "a"},
               {"a b c", " ", "", 0, "abc"},
               {"A", "a", "x", 0, "A"},
               {"\xe6\xbc\xa2", "\xbc", "", 0, "\xe6\xa2"},
               {"%s%n", "%", "%%", 0, "%%s%%n"},
               {"", "a", "x", -1, ""},
               {"", "", "x", -1, ""},
               {"abc", "", "x", -1, "abc"}};
  for (const auto& row : kRows) {
    std::string text = row.text;
    EXPECT_EQ(replaceString(text, row.from, row.to), row.result) << row.text;
    EXPECT_EQ(text, row.replaced) << row.text;
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
  const struct {
    const char* a;
    const char* b;
    const char* result;
  } kRows[] = {
      {"", "", ""},         {"a", "", ""},          {"abc", "abc", "abc"},
      {"abc", "abd", "ab"}, {"ab", "abc", "ab"},    {"abc", "xbc", ""},
      {"abc", "ABC", ""},   {"a b ", "a b", "a b"}, {"\xe6\xbc\xa2", "\xe6\xbc\xa3", "\xe6\xbc"}};
  const CapturedLog log(CapturedLog::Level::kTrace);
  for (const auto& row : kRows) {
    EXPECT_EQ(matchedString(row.a, row.b), row.result) << row.a << ", " << row.b;
    EXPECT_EQ(matchedString(row.b, row.a), row.result) << row.b << ", " << row.a;
  }
  EXPECT_EQ(log.bytes(), "");
}

// --- strlcpy and countLines ----------------------------------------------------------------------

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
  EXPECT_EQ(::strlcpy(bytes, bytes + 2, 8), bytes);
  EXPECT_EQ(std::string(bytes, 8), std::string("cdefg#\0\0", 8));
  EXPECT_EQ(::strlcpy(bytes + 2, bytes, 5), bytes + 2);
  EXPECT_EQ(std::string(bytes, 8), std::string("cdcdef\0\0", 8));
  EXPECT_EQ(::strlcpy(bytes, bytes, 4), bytes);
  EXPECT_EQ(std::string(bytes, 8), std::string("cdc\0ef\0\0", 8));
}

TEST(Strlcpy, Size0_IsNullAndCopiesNothing) {
  char dst[] = "###";
  EXPECT_EQ(::strlcpy(dst, "abc", 0), nullptr);
  EXPECT_STREQ(dst, "###");
}

TEST(CountLines, Texts_AreCountedByTheirLineFeeds) {
  const std::string many(100000, '\n');
  const struct {
    std::string text;
    int lines;
  } kRows[] = {{"", 0},
               {"a", 1},
               {"\n", 1},
               {"\n\n", 2},
               {"a\n", 1},
               {"a\nb", 2},
               {"\na", 2},
               {"a\n\nb\n", 3},
               {"a\r\n", 1},
               {"a\rb", 1},
               {"a\n\r", 2},
               {" ", 1},
               {"\xe6\xbc\n\xa2", 2},
               {many, 100000},
               {many + "x", 100001}};
  for (const auto& row : kRows) EXPECT_EQ(countLines(row.text.c_str()), row.lines) << row.text;
}

/// Runs `body` in a child, which must end by abort(3), and gives what it printed on standard error,
/// with the child's own process id as "<pid>".
std::string abortText(const std::function<void()>& body) {
  const ChildResult child = runInChild([&body] {
    const rlimit none = {0, 0};
    ::setrlimit(RLIMIT_CORE, &none);
    std::printf("P=%d", static_cast<int>(::getpid()));
    std::fflush(stdout);
    body();
    return 0;
  });
  EXPECT_EQ(child.signal(), SIGABRT);
  std::string text = child.err;
  const std::size_t at = text.find(child.out + "\n");
  if (at != std::string::npos) text.replace(at, child.out.size(), "P=<pid>");
  return text;
}

TEST(StrlcpyAndCountLinesDeathTest, Null_PrintsTheAssertionAndAborts) {
  const std::string start = "*** assertion failed,P=<pid>\n*** common.cpp:";
  const CapturedLog log(CapturedLog::Level::kTrace);
  char dst[] = "###";
  const std::string inStrlcpy = start + "19(dst != __null && src != __null)\n";
  EXPECT_EQ(abortText([] { ::strlcpy(nullptr, "abc", 3); }), inStrlcpy);
  EXPECT_EQ(abortText([&] { ::strlcpy(dst, nullptr, 3); }), inStrlcpy);
  EXPECT_EQ(abortText([] { ::strlcpy(nullptr, nullptr, 0); }), inStrlcpy);
  EXPECT_EQ(abortText([] { countLines(nullptr); }), start + "2176(t != __null)\n");
  EXPECT_EQ(log.bytes(), "");
}

}  // namespace
