#include "common/text/text.h"

#include <dlfcn.h>
#include <gtest/gtest.h>

#include <cctype>
#include <chrono>
#include <cstring>
#include <string>
#include <vector>

#include "support/aborttext.h"
#include "support/actionlog.h"
#include "support/generator.h"

// --- takes the place of the C library's call in this program -------------------------------------

/// A byte that is white space in some locale; 0 for none.
static int localeSpace = 0;

extern "C" int isspace(int byte) noexcept {
  using IsSpace = int (*)(int);
  static const auto real = reinterpret_cast<IsSpace>(::dlsym(RTLD_NEXT, "isspace"));
  return localeSpace != 0 && byte == localeSpace ? 1 : real(byte);
}

namespace {

using Texts = std::vector<std::string>;
constexpr const char* kNull = nullptr;

// --- trim ----------------------------------------------------------------------------------------

/// Trims both ways, which must agree.
std::string trimmed(const std::string& text) {
  std::string asString = text;
  const char* result = trim(asString);
  EXPECT_EQ(result, asString.c_str());
  std::string asBuffer = text + '\0' + "behind";
  trim(asBuffer.data());
  EXPECT_STREQ(asBuffer.c_str(), asString.c_str()) << "'" << text << "'";
  EXPECT_EQ(asBuffer.substr(text.size()), std::string("\0behind", 7));
  return asString;
}

TEST(Trim, WhiteSpaceAtBothEnds_IsRemoved) {
  const struct {
    const char* text;
    const char* result;
  } kRows[] = {{"", ""},
               {"a", "a"},
               {" ", ""},
               {" \t\n\v\f\r", ""},
               {" \t\n\v\f\ra b\r\f\v\n\t ", "a b"},
               {"a ", "a"},
               {" a", "a"},
               {"a  b", "a  b"},
               {"\x1f"
                "a\x08",
                "\x1f"
                "a\x08"},
               {"\xa0 a \xa0", "\xa0 a \xa0"},
               {" \xe6\xbc\xa2 ", "\xe6\xbc\xa2"}};
  for (const auto& row : kRows) EXPECT_EQ(trimmed(row.text), row.result) << "'" << row.text << "'";
}

TEST(Trim, TrailingWhiteSpaceInABuffer_IsOverwrittenWithZeros) {
  std::string buffer = "ab \t\n";
  trim(buffer.data());
  EXPECT_EQ(buffer, std::string("ab\0\0\0", 5));
  buffer = "  \n";
  trim(buffer.data());
  EXPECT_EQ(buffer[0], '\0');
}

TEST(Trim, WhiteSpace_IsWhatTheCLibrarySaysInTheLocale) {
  localeSpace = 0xA0;
  EXPECT_EQ(trimmed("\xa0 a\xa0"), "a");
  localeSpace = 0;
  EXPECT_EQ(trimmed("\xa0 a\xa0"), "\xa0 a\xa0");
}

TEST(Trim, NullBuffer_IsIgnoredWithoutALine) {
  const CapturedLog log(CapturedLog::Level::kTrace);
  trim(static_cast<char*>(nullptr));
  EXPECT_EQ(log.bytes(), "");
}

/// The judge: takes one byte off an end as long as there is white space.
std::string slowTrim(std::string text) {
  while (!text.empty() && std::isspace(static_cast<unsigned char>(text[0]))) text = text.substr(1);
  while (!text.empty() && std::isspace(static_cast<unsigned char>(text[text.size() - 1]))) {
    text = text.substr(0, text.size() - 1);
  }
  return text;
}

TEST(Trim, GeneratedTexts_AgreeWithTheSlowTrim) {
  Generator generator(20034);
  for (const std::string& alphabet : {std::string(" \t\r\nab"), allBytes()}) {
    for (int i = 0; i < 10000; ++i) {
      const std::string text = generator.text(alphabet, 8);
      ASSERT_EQ(trimmed(text), slowTrim(text));
    }
  }
}

TEST(Trim, TextOfBlanks_LeavesWhatStandsInFrontOfIt) {
  for (const char* const blanks : {"", " ", "  \t"}) {
    std::string buffer = std::string(" ") + blanks;
    trim(buffer.data() + 1);
    EXPECT_STREQ(buffer.c_str(), " ") << "'" << blanks << "'";
  }
}

// --- trimQuote -----------------------------------------------------------------------------------

TEST(TrimQuote, DoubleQuotesAtBothEnds_AreRemovedOnce) {
  const struct {
    const char* text;
    const char* result;
  } kRows[] = {{"", ""},
               {"\"", ""},  // the one quote is first and last
               {"\"\"", ""},
               {"\"\"\"", "\""},
               {"\"a\"", "a"},
               {"\"\"a\"\"", "\"a\""},
               {"\"a", "\"a"},
               {"a\"", "a\""},
               {"a", "a"},
               {"a\"b", "a\"b"},
               {"'a'", "'a'"},
               {" \"a\"", " \"a\""},
               {"\"a\" ", "\"a\" "},
               {"\" a \"", " a "},
               {"\"\xe6\xbc\"", "\xe6\xbc"}};
  const CapturedLog log(CapturedLog::Level::kTrace);
  for (const auto& row : kRows) EXPECT_EQ(trimQuote(row.text), row.result) << row.text;
  EXPECT_EQ(log.bytes(), "");
}

TEST(TrimQuote, Null_IsLoggedAndEmpty) {
  const CapturedLog log;
  EXPECT_EQ(trimQuote(nullptr), "");
  EXPECT_EQ(log.texts(), Texts({"[I](common:335):invalid param"}));
}

// --- quoteEsc ------------------------------------------------------------------------------------

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

TEST(QuoteEsc, Null_IsEmptyWithoutALine) {
  const CapturedLog log(CapturedLog::Level::kTrace);
  EXPECT_EQ(quoteEsc(kNull, '"'), "");
  EXPECT_EQ(log.bytes(), "");
}

// --- replaceString -------------------------------------------------------------------------------

TEST(ReplaceString, EveryOccurrence_IsReplacedFromLeftToRight) {
  const struct {
    const char* text;
    const char* from;
    const char* to;
    const char* result;
  } kRows[] = {{"abc", "b", "x", "axc"},
               {"abcabc", "b", "xy", "axycaxyc"},
               {"abc", "abc", "", ""},
               {"abc", "d", "x", "abc"},
               {"aaa", "aa", "b", "ba"},
               {"aaaa", "aa", "a", "aa"},  // what was inserted is not looked at again
               {"a", "a", "aa", "aa"},
               {"ab", "a", "ba", "bab"},
               {"aabb", "ab", "", "ab"},
               {"a", "abc", "x", "a"},
               {"a b c", " ", "", "abc"},
               {"A", "a", "x", "A"},
               {"\xe6\xbc\xa2", "\xbc", "", "\xe6\xa2"},
               {"%s%n", "%", "%%", "%%s%%n"}};
  for (const auto& row : kRows) {
    std::string text = row.text;
    EXPECT_EQ(replaceString(text, row.from, row.to), 0) << row.text;
    EXPECT_EQ(text, row.result) << row.text;
  }
}

TEST(ReplaceString, EmptyTextOrEmptyFrom_IsMinusOneAndChangesNothing) {
  std::string empty;
  EXPECT_EQ(replaceString(empty, "a", "x"), -1);
  EXPECT_EQ(replaceString(empty, "", "x"), -1);
  EXPECT_EQ(empty, "");
  std::string text = "abc";
  EXPECT_EQ(replaceString(text, "", "x"), -1);
  EXPECT_EQ(text, "abc");
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

TEST(ReplaceString, TextReplacedByItself_IsTheSame) {
  std::string text = "abc";
  EXPECT_EQ(replaceString(text, text, text), 0);
  EXPECT_EQ(text, "abc");
}

/// The judge: looks at one place after the other.
std::string slowReplace(const std::string& text, const std::string& from, const std::string& to) {
  std::string replaced;
  for (std::size_t i = 0; i < text.size();) {
    if (text.substr(i, from.size()) == from) {
      replaced += to;
      i += from.size();
    } else {
      replaced += text[i++];
    }
  }
  return replaced;
}

TEST(ReplaceString, GeneratedTexts_AgreeWithTheSlowReplacement) {
  Generator generator(20021);
  for (int i = 0; i < 20000; ++i) {
    const std::string text = generator.text("ab", 12) + "a";
    const std::string from = generator.text("ab", 2) + "b";
    const std::string to = generator.text("abc", 4);
    std::string replaced = text;
    ASSERT_EQ(replaceString(replaced, from, to), 0);
    ASSERT_EQ(replaced, slowReplace(text, from, to)) << text << ", " << from << ", " << to;
  }
}

// --- matchedString -------------------------------------------------------------------------------

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

TEST(MatchedString, EitherNull_IsLoggedAndEmpty) {
  CapturedLog log;
  EXPECT_EQ(matchedString(nullptr, "a"), "");
  EXPECT_EQ(log.take(), Texts({"[I](common:412):invalid param"}));
  EXPECT_EQ(matchedString("a", nullptr), "");
  EXPECT_EQ(log.take(), Texts({"[I](common:412):invalid param"}));
  EXPECT_EQ(matchedString(nullptr, nullptr), "");
  EXPECT_EQ(log.take(), Texts({"[I](common:412):invalid param"}));
}

// --- strlcpy -------------------------------------------------------------------------------------

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

TEST(StrlcpyDeathTest, EitherNull_PrintsTheAssertionAndAborts) {
  const std::string expected =
      "*** assertion failed,P=<pid>\n*** common.cpp:19(dst != __null && src != __null)\n";
  const CapturedLog log(CapturedLog::Level::kTrace);
  char dst[] = "###";
  EXPECT_EQ(abortText([] { ::strlcpy(nullptr, "abc", 3); }), expected);
  EXPECT_EQ(abortText([&] { ::strlcpy(dst, nullptr, 3); }), expected);
  EXPECT_EQ(abortText([] { ::strlcpy(nullptr, nullptr, 0); }), expected);
  EXPECT_EQ(log.bytes(), "");
}

}  // namespace
