#include "common/text/text.h"

#include <gtest/gtest.h>
#include <sys/resource.h>
#include <unistd.h>

#include <csignal>
#include <cstdio>
#include <string>
#include <vector>

#include "support/aborttext.h"
#include "support/actionlog.h"
#include "support/childrun.h"

namespace {

using Texts = std::vector<std::string>;

std::string withoutLineEnd(const std::string& text) {
  std::string asString = text;
  EXPECT_EQ(eraseLastCRLF(asString), 0) << text;
  std::string asBuffer = text;
  EXPECT_EQ(eraseLastCRLF(asBuffer.data()), 0) << text;
  EXPECT_STREQ(asBuffer.c_str(), asString.c_str()) << text;
  return asString;
}

TEST(EraseLastCRLF, CarriageReturnAndLineFeed_AreRemoved) {
  EXPECT_EQ(withoutLineEnd("x\r\n"), "x");
}

TEST(EraseLastCRLF, LineFeedAlone_BecomesTheEmptyText) { EXPECT_EQ(withoutLineEnd("\n"), ""); }

TEST(EraseLastCRLF, EmptyText_StaysEmpty) { EXPECT_EQ(withoutLineEnd(""), ""); }

TEST(EraseLastCRLF, EmptyText_NothingBeforeItIsLookedAt) {
  for (const char before : {'\n', '\r'}) {
    char bytes[] = {before, '\0'};
    EXPECT_EQ(eraseLastCRLF(bytes + 1), 0);
    EXPECT_EQ(bytes[0], before);
  }
}

TEST(EraseLastCRLF, OneOfEach_GoesInThisOrderOnly) {
  const struct {
    const char* text;
    const char* result;
  } kRows[] = {{"a\n", "a"},
               {"a\r", "a"},
               {"a\n\r", "a\n"},
               {"a", "a"},
               {"a\n\n", "a\n"},
               {"a\r\r", "a\r"},
               {"\r", ""},
               {"\r\n", ""},
               {"a\r\n\r\n", "a\r\n"},
               {"a\r\r\n", "a\r"},
               {"\na", "\na"},
               {"a \n", "a "},
               {"\xe6\xbc\r\n", "\xe6\xbc"}};
  for (const auto& row : kRows) {
    EXPECT_EQ(withoutLineEnd(row.text), row.result) << testing::PrintToString(row.text);
  }
}

TEST(EraseLastCRLF, Null_IsLoggedAndMinusOne) {
  const CapturedLog log;
  EXPECT_EQ(eraseLastCRLF(static_cast<char*>(nullptr)), -1);
  EXPECT_EQ(log.texts(), Texts({"[I](common:1525):invalid param"}));
}

// --- trim and trimQuote --------------------------------------------------------------------------

TEST(Trim, WhiteSpaceAtBothEnds_IsRemoved) {
  const struct {
    const char* text;
    const char* result;
  } kRows[] = {{"", ""},          {" ", ""},          {" \t\n\v\f\r", ""},
               {"a", "a"},        {" a", "a"},        {"a ", "a"},
               {" a b\t", "a b"}, {"\r\na\r\n", "a"}, {"\xa0 a", "\xa0 a"}};
  for (const auto& row : kRows) {
    std::string buffer = row.text;
    trim(buffer.data());
    EXPECT_STREQ(buffer.c_str(), row.result) << testing::PrintToString(row.text);
    std::string text = row.text;
    EXPECT_EQ(trim(text), text.data()) << testing::PrintToString(row.text);
    EXPECT_EQ(text, row.result) << testing::PrintToString(row.text);
  }
}

TEST(Trim, Null_IsIgnored) {
  const CapturedLog log;
  trim(static_cast<char*>(nullptr));
  EXPECT_EQ(log.bytes(), "");
}

TEST(TrimQuote, QuotesAroundTheText_AreRemovedOnce) {
  const struct {
    const char* text;
    const char* result;
  } kRows[] = {
      {"", ""},       {"\"", ""},      {"\"\"", ""}, {"\"a\"", "a"},       {"\"\"a\"\"", "\"a\""},
      {"\"a", "\"a"}, {"a\"", "a\""},  {"a", "a"},   {" \"a\"", " \"a\""}, {"\"a\" ", "\"a\" "},
      {"'a'", "'a'"}, {"a\"b", "a\"b"}};
  for (const auto& row : kRows) EXPECT_EQ(trimQuote(row.text), row.result) << row.text;
}

TEST(TrimQuote, Null_IsLoggedAndEmpty) {
  const CapturedLog log;
  EXPECT_EQ(trimQuote(nullptr), "");
  EXPECT_EQ(log.texts(), Texts({"[I](common:335):invalid param"}));
}

// --- quoteEsc, replaceString, matchedString ------------------------------------------------------

TEST(QuoteEsc, EveryQuote_IsDoubled) {
  const struct {
    const char* text;
    const char* result;
  } kRows[] = {{"", ""},        {"a", "a"},       {"'", "''"},      {"''", "''''"},
               {"a'b", "a''b"}, {"'a'", "''a''"}, {"\"a'", "\"a''"}};
  for (const auto& row : kRows) {
    EXPECT_EQ(quoteEsc(row.text, '\''), row.result) << row.text;
    EXPECT_EQ(quoteEsc(std::string(row.text), '\''), row.result) << row.text;
  }
  EXPECT_EQ(quoteEsc("a\"b'", '"'), "a\"\"b'");
}

TEST(ReplaceString, EveryOccurrence_IsReplacedFromLeftToRight) {
  const struct {
    const char* text;
    const char* from;
    const char* to;
    int result;
    const char* replaced;
  } kRows[] = {{"a-b-c", "-", "+", 0, "a+b+c"}, {"aaa", "aa", "b", 0, "ba"},
               {"a", "a", "aa", 0, "aa"},       {"aa", "a", "", 0, ""},
               {"abc", "x", "y", 0, "abc"},     {"abc", "abc", "abcabc", 0, "abcabc"},
               {"", "a", "b", -1, ""},          {"abc", "", "b", -1, "abc"}};
  for (const auto& row : kRows) {
    std::string text = row.text;
    EXPECT_EQ(replaceString(text, row.from, row.to), row.result) << row.text;
    EXPECT_EQ(text, row.replaced) << row.text;
  }
}

TEST(MatchedString, CommonBeginning_IsComparedByteByByte) {
  const struct {
    const char* a;
    const char* b;
    const char* result;
  } kRows[] = {{"", "", ""},        {"abc", "", ""},    {"abc", "abd", "ab"}, {"abc", "abc", "abc"},
               {"ab", "abc", "ab"}, {"abc", "ABC", ""}, {"xbc", "abc", ""}};
  for (const auto& row : kRows) {
    EXPECT_EQ(matchedString(row.a, row.b), row.result) << row.a << ", " << row.b;
    EXPECT_EQ(matchedString(row.b, row.a), row.result) << row.b << ", " << row.a;
  }
}

TEST(MatchedString, EitherNull_IsLoggedAndEmpty) {
  const CapturedLog log;
  EXPECT_EQ(matchedString(nullptr, "a"), "");
  EXPECT_EQ(matchedString("a", nullptr), "");
  EXPECT_EQ(log.texts(), Texts(2, "[I](common:412):invalid param"));
}

// --- strlcpy -------------------------------------------------------------------------------------

TEST(Strlcpy, Text_IsCutPaddedAndTerminated) {
  const struct {
    const char* src;
    unsigned size;
    std::string bytes;  // of eight, "#" where nothing was written
  } kRows[] = {
      {"abc", 8, std::string("abc\0\0\0\0\0", 8)}, {"abc", 5, std::string("abc\0\0###", 8)},
      {"abc", 4, std::string("abc\0####", 8)},     {"abc", 3, std::string("ab\0#####", 8)},
      {"abc", 1, std::string("\0#######", 8)},     {"", 2, std::string("\0\0######", 8)}};
  for (const auto& row : kRows) {
    std::string bytes(8, '#');
    EXPECT_EQ(strlcpy(bytes.data(), row.src, row.size), bytes.data()) << row.src << row.size;
    EXPECT_EQ(bytes, row.bytes) << row.src << row.size;
  }
}

TEST(Strlcpy, SizeZero_CopiesNothingAndIsNull) {
  char bytes[] = "###";
  EXPECT_EQ(strlcpy(bytes, "abc", 0U), nullptr);
  EXPECT_STREQ(bytes, "###");
}

TEST(Strlcpy, NullPointer_PrintsTheAssertionAndAborts) {
  for (const bool isSource : {false, true}) {
    const ChildResult child = runInChild([&] {
      const rlimit none = {0, 0};
      ::setrlimit(RLIMIT_CORE, &none);
      std::printf("%d", static_cast<int>(::getpid()));
      std::fflush(stdout);
      char bytes[8] = {};
      strlcpy(isSource ? bytes : nullptr, isSource ? nullptr : "abc", 8U);
      return 0;
    });
    EXPECT_EQ(child.signal(), SIGABRT);
    EXPECT_EQ(child.err, "*** assertion failed,P=" + child.out +
                             "\n*** common.cpp:19(dst != __null && src != __null)\n");
  }
}

// --- countLines ----------------------------------------------------------------------------------

TEST(CountLines, LastLineWithoutLineEnd_Counts) { EXPECT_EQ(countLines("a\nb"), 2); }

TEST(CountLines, LineEndAtTheEnd_StartsNoLine) { EXPECT_EQ(countLines("a\n"), 1); }

TEST(CountLines, EmptyText_HasNone) { EXPECT_EQ(countLines(""), 0); }

TEST(CountLines, Texts_AreCountedByTheirLineFeeds) {
  const std::string many(100000, '\n');
  const struct {
    std::string text;
    int lines;
  } kRows[] = {{"a", 1},       {"\n", 1},           {"\n\n", 2},  {"\na", 2}, {"a\n\nb\n", 3},
               {"a\r\n", 1},   {"a\rb", 1},         {"a\n\r", 2}, {" ", 1},   {"\xe6\xbc\n\xa2", 2},
               {many, 100000}, {many + "x", 100001}};
  for (const auto& row : kRows) EXPECT_EQ(countLines(row.text.c_str()), row.lines) << row.text;
}

TEST(CountLinesDeathTest, Null_PrintsTheAssertionAndAborts) {
  const CapturedLog log(CapturedLog::Level::kTrace);
  EXPECT_EQ(abortText([] { countLines(nullptr); }),
            "*** assertion failed,P=<pid>\n*** common.cpp:2176(t != __null)\n");
  EXPECT_EQ(log.bytes(), "");
}

}  // namespace
