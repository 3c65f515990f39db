#include "common/text/charclass.h"

#include <gtest/gtest.h>

#include <cctype>
#include <climits>
#include <string>
#include <tuple>

#include "support/actionlog.h"

namespace {

TEST(ToLowerStr, EveryLetter_IsLoweredInPlaceAndInACopy) {
  std::string bytes;
  std::string lowered;
  for (int byte = 1; byte < 256; ++byte) {
    bytes += static_cast<char>(byte);
    lowered += static_cast<char>(byte >= 'A' && byte <= 'Z' ? byte - 'A' + 'a' : byte);
  }
  EXPECT_EQ(toLowerStr(bytes), lowered);
  toLowerStr(bytes.data());
  EXPECT_EQ(bytes, lowered);
}

TEST(CompareRightNoCase, LastBytes_AreComparedWithoutCase) {
  const std::string zeroFirst("\0bc", 3);  // in memory a zero byte stands before a short text, too
  const std::tuple<std::string, std::string, int, int> kRows[] = {
      {"file.TAR", ".tar", 0, 1},  // 0: does `a` end with `b`?
      {"file.tar", ".tgz", 0, 0},
      {".tar", ".tar", 0, 1},
      {"tar", ".tar", 0, 0},  // `a` is one byte shorter
      {"", "", 0, 1},
      {"", "a", 0, 0},
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
      {"a[", "a{", 0, 0},  // no letters: the distance of their codes is that of a case
      {"a ", "a", 0, 0},
      {"\xe6\xbc\xa2", "\xbc\xa2", 0, 1},
      {"\xc3\x84", "\xc3\xa4", 0, 0},
      {zeroFirst, "bc", 3, 0},
      {"bc", zeroFirst, 3, 0},
      {"bc", zeroFirst, 0, 0},
  };
  for (const auto& [a, b, n, result] : kRows) {
    EXPECT_EQ(compareRightNoCase(a, b, n), result) << "'" << a << "', '" << b << "', " << n;
  }
}

TEST(IsNumericAndIsAlpha, Texts_AreJudgedByEveryByte) {
  const std::string longDigits(100000, '7');
  const std::string longLetters(100000, 'q');
  const std::tuple<std::string, int, int> kRows[] = {
      {"", 1, 1},   {"0123456789", 1, 0},     {"azAZ", 0, 1},
      {"a1", 0, 0}, {longDigits + "x", 0, 0}, {longLetters + "1", 0, 0}};
  const CapturedLog log(CapturedLog::Level::kTrace);
  for (const auto& [text, numeric, alpha] : kRows) {
    EXPECT_EQ(isNumeric(text.c_str()), numeric) << text;
    EXPECT_EQ(isNumeric(text), numeric) << text;
    EXPECT_EQ(isAlpha(text.c_str()), alpha) << text;
    EXPECT_EQ(isAlpha(text), alpha) << text;
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

}  // namespace
