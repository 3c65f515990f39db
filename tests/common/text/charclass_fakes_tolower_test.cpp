#include "common/text/charclass.h"

#include <dlfcn.h>
#include <gtest/gtest.h>

#include <cctype>
#include <climits>
#include <string>
#include <vector>

#include "support/actionlog.h"
#include "support/generator.h"

// --- take the place of the C library's calls in this program -------------------------------------

/// Whether the bytes C4 and E4 are one letter in two cases, as they are in some locales.
static bool hasLocaleLetter = false;

using OfByte = int (*)(int);

extern "C" int isalpha(int byte) noexcept {
  static const auto real = reinterpret_cast<OfByte>(::dlsym(RTLD_NEXT, "isalpha"));
  return hasLocaleLetter && (byte == 0xC4 || byte == 0xE4) ? 1 : real(byte);
}

extern "C" int tolower(int byte) noexcept {
  static const auto real = reinterpret_cast<OfByte>(::dlsym(RTLD_NEXT, "tolower"));
  return hasLocaleLetter && byte == 0xC4 ? 0xE4 : real(byte);
}

namespace {

using Texts = std::vector<std::string>;
constexpr const char* kNull = nullptr;

// --- toLowerStr ----------------------------------------------------------------------------------

TEST(ToLowerStr, Letters_AreLoweredInPlaceAndInACopy) {
  const struct {
    const char* text;
    const char* lowered;
  } kRows[] = {{"", ""},
               {"A", "a"},
               {"a", "a"},
               {"AbC xYz ", "abc xyz "},
               {"@AZ[`az{0_9", "@az[`az{0_9"},
               {"A\nB\tC", "a\nb\tc"},
               {"\xc3\x84\xe6\xbc\xa2X", "\xc3\x84\xe6\xbc\xa2x"}};
  for (const auto& row : kRows) {
    const std::string original = row.text;
    EXPECT_EQ(toLowerStr(original), row.lowered) << row.text;
    EXPECT_EQ(original, row.text);
    std::string buffer = row.text;
    toLowerStr(buffer.data());
    EXPECT_EQ(buffer, row.lowered) << row.text;
  }
}

TEST(ToLowerStr, EveryByte_IsLoweredWhereItIsALetter) {
  const std::string lowered = toLowerStr(allBytes());
  ASSERT_EQ(lowered.size(), 255u);
  for (int byte = 1; byte < 256; ++byte) {
    const int expected = std::isalpha(byte) != 0 ? std::tolower(byte) : byte;
    EXPECT_EQ(static_cast<unsigned char>(lowered[static_cast<std::size_t>(byte - 1)]), expected);
  }
}

TEST(ToLowerStr, NullBuffer_IsIgnoredWithoutALine) {
  const CapturedLog log(CapturedLog::Level::kTrace);
  toLowerStr(static_cast<char*>(nullptr));
  EXPECT_EQ(log.bytes(), "");
}

// --- compareRightNoCase --------------------------------------------------------------------------

TEST(CompareRightNoCase, LastBytes_AreComparedWithoutCase) {
  const struct {
    const char* a;
    const char* b;
    int n;
    int result;
  } kRows[] = {
      {"file.TAR", ".tar", 0, 1},  // 0: does `a` end with `b`?
      {"file.tar", ".tgz", 0, 0},
      {".tar", ".tar", 0, 1},
      {"tar", ".tar", 0, 0},  // `a` is one byte shorter
      {"", "", 0, 1},
      {"a", "", 0, 1},
      {"", "a", 0, 0},
      {"file.tar", ".TAR", -1, 1},
      {"file.tar", ".TAR", INT_MIN, 1},
      {"xbc", "ybC", 1, 1},
      {"xbc", "ybC", 2, 1},
      {"xbc", "ybC", 3, 0},
      {"xbc", "xbC", 3, 1},
      {"xbc", "xbC", 4, 0},  // one more than both have
      {"xbc", "abc", INT_MAX, 0},
      {"wxbc", "bc", 3, 0},  // one more than `b` has
      {"bc", "wxbc", 3, 0},  // one more than `a` has
      {"bc", "wxbc", 2, 1},
      {"", "", 1, 0},
      {"a[", "a{", 0, 0},  // no letters: the distance of their codes is that of a case
      {"a@", "a`", 0, 0},
      {"a ", "a", 0, 0},
      {"\xe6\xbc\xa2", "\xbc\xa2", 0, 1},
      {"\xc3\x84", "\xc3\xa4", 0, 0},
  };
  for (const auto& row : kRows) {
    EXPECT_EQ(compareRightNoCase(row.a, row.b, row.n), row.result)
        << "'" << row.a << "', '" << row.b << "', " << row.n;
  }
}

TEST(CompareRightNoCase, ShorterText_IsNotLookedAtBeforeItsBeginning) {
  // In memory a zero byte stands before a short text: it must not pass for one of the text's own.
  const std::string longer("\0bc", 3);
  const std::string shorter = "bc";
  EXPECT_EQ(compareRightNoCase(longer, shorter, 3), 0);
  EXPECT_EQ(compareRightNoCase(shorter, longer, 3), 0);
  EXPECT_EQ(compareRightNoCase(shorter, longer, 0), 0);
}

/// The judge: lowers the last bytes of both, one by one from the right.
int slowCompareRight(const std::string& a, const std::string& b, int n) {
  const int count = n < 1 ? static_cast<int>(b.size()) : n;
  for (int i = 1; i <= count; ++i) {
    const int inA = static_cast<int>(a.size()) - i;
    const int inB = static_cast<int>(b.size()) - i;
    if (inA < 0 || inB < 0) return 0;
    if (std::tolower(static_cast<unsigned char>(a[static_cast<std::size_t>(inA)])) !=
        std::tolower(static_cast<unsigned char>(b[static_cast<std::size_t>(inB)]))) {
      return 0;
    }
  }
  return 1;
}

TEST(CompareRightNoCase, GeneratedTexts_AgreeWithTheSlowComparison) {
  Generator generator(20031);
  int equal = 0;
  for (int i = 0; i < 20000; ++i) {
    const std::string a = generator.text("aAbB[{", 6);
    const std::string b = generator.text("aAbB[{", 4);
    const int n = generator.between(-1, 6);
    const int expected = slowCompareRight(a, b, n);
    equal += expected;
    ASSERT_EQ(compareRightNoCase(a, b, n), expected) << "'" << a << "', '" << b << "', " << n;
  }
  EXPECT_GT(equal, 1000);
}

// --- isNumeric and isAlpha -----------------------------------------------------------------------

TEST(IsNumeric, EmptyText_IsNumeric) {
  EXPECT_EQ(isNumeric(""), 1);
  EXPECT_EQ(isNumeric(std::string()), 1);
}

TEST(IsNumeric, MinusSign_IsNoDigit) {
  EXPECT_EQ(isNumeric("-1"), 0);
  EXPECT_EQ(isNumeric(std::string("-1")), 0);
}

TEST(IsAlpha, EmptyText_IsAlpha) {
  EXPECT_EQ(isAlpha(""), 1);
  EXPECT_EQ(isAlpha(std::string()), 1);
}

TEST(IsNumericAndIsAlpha, Texts_AreJudgedByEveryByte) {
  const std::string longDigits(100000, '7');
  const std::string longLetters(100000, 'q');
  const struct {
    std::string text;
    int numeric;
    int alpha;
  } kRows[] = {{"0", 1, 0},          {"9", 1, 0},
               {"0123456789", 1, 0}, {"/", 0, 0},
               {":", 0, 0},          {"a", 0, 1},
               {"azAZ", 0, 1},       {"a1", 0, 0},
               {"1a", 0, 0},         {" 1", 0, 0},
               {"1 ", 0, 0},         {"a ", 0, 0},
               {"1.5", 0, 0},        {"+1", 0, 0},
               {"0x1f", 0, 0},       {"a_b", 0, 0},
               {"1\n", 0, 0},        {"\xe6\xbc\xa2", 0, 0},
               {longDigits, 1, 0},   {longDigits + "x", 0, 0},
               {longLetters, 0, 1},  {longLetters + "1", 0, 0}};
  const CapturedLog log(CapturedLog::Level::kTrace);
  for (const auto& row : kRows) {
    EXPECT_EQ(isNumeric(row.text.c_str()), row.numeric) << row.text;
    EXPECT_EQ(isNumeric(row.text), row.numeric) << row.text;
    EXPECT_EQ(isAlpha(row.text.c_str()), row.alpha) << row.text;
    EXPECT_EQ(isAlpha(row.text), row.alpha) << row.text;
  }
  EXPECT_EQ(log.bytes(), "");
}

TEST(IsNumericAndIsAlpha, EveryByteAlone_IsWhatTheCLibrarySays) {
  for (int byte = 1; byte < 256; ++byte) {
    const std::string text(1, static_cast<char>(byte));
    EXPECT_EQ(isNumeric(text), byte >= '0' && byte <= '9' ? 1 : 0) << byte;
    EXPECT_EQ(isAlpha(text), std::isalpha(byte) != 0 ? 1 : 0) << byte;
  }
}

TEST(CharacterClasses, Letters_AreWhatTheCLibrarySaysInTheLocale) {
  for (const bool isLetter : {true, false}) {
    hasLocaleLetter = isLetter;
    EXPECT_EQ(isAlpha("a\xc4"), isLetter ? 1 : 0);
    EXPECT_EQ(isNumeric("\xc4"), 0);
    EXPECT_EQ(toLowerStr(std::string("A\xc4")), isLetter ? "a\xe4" : "a\xc4");
    std::string buffer = "A\xc4";
    toLowerStr(buffer.data());
    EXPECT_EQ(buffer, isLetter ? "a\xe4" : "a\xc4");
    EXPECT_EQ(compareRightNoCase("\xc4", "\xe4", 0), isLetter ? 1 : 0);
  }
}

TEST(IsNumeric, Null_IsLoggedAndNot) {
  const CapturedLog log;
  EXPECT_EQ(isNumeric(kNull), 0);
  EXPECT_EQ(log.texts(), Texts({"[I](common:819):invalid param"}));
}

TEST(IsAlpha, Null_IsLoggedAndNot) {
  const CapturedLog log;
  EXPECT_EQ(isAlpha(kNull), 0);
  EXPECT_EQ(log.texts(), Texts({"[I](common:790):invalid param"}));
}

}  // namespace
