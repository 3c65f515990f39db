#include "common/text/padding.h"

#include <gtest/gtest.h>

#include <climits>
#include <string>

#include "support/environmentguard.h"

namespace {

// In UTF-8, each three bytes long and two columns wide.
const std::string kOneWide = "\xe6\xbc\xa2";
const std::string kTwoWide = "\xe6\xbc\xa2\xe5\xad\x97";

std::string blanks(int count) { return std::string(static_cast<std::size_t>(count), ' '); }

TEST(Padding, Texts_AreFilledUpBeforeOrAfterThem) {
  const struct {
    const char* lang;
    std::string text;
    int width;
    int pad;       // the blanks that are added
    int returned;  // by `getStrPattingTail`
  } kRows[] = {
      // single bytes are measured against twice the width
      {"ja_JP.UTF-8", "abc", 5, 7, 7},
      {"ja_JP.UTF-8", "abc", 2, 1, 1},
      {"ja_JP.UTF-8", "abc", 1, 0, 2},
      {"ja_JP.UTF-8", "abcd", 3, 2, 2},
      {"ja_JP.UTF-8", "abcd", 2, 0, 4},
      {"ja_JP.UTF-8", "a", 1, 1, 1},
      {"ja_JP.UTF-8", "a", 0, 0, 0},
      {"ja_JP.UTF-8", "a", -3, 0, -6},
      // multi-byte characters are measured against the width, and two blanks stand for each
      {"ja_JP.UTF-8", kOneWide, 3, 4, 4},
      {"ja_JP.UTF-8", kOneWide, 2, 2, 2},
      {"ja_JP.UTF-8", kOneWide, 1, 0, 1},
      {"ja_JP.UTF-8", kOneWide, 0, 0, 0},
      {"ja_JP.UTF-8", kTwoWide, 3, 2, 2},
      {"ja_JP.UTF-8", kTwoWide, 2, 0, 2},
      {"ja_JP.UTF-8", "a" + kOneWide, 5, 6, 6},    // 4 bytes, 2 characters: two bytes each
      {"ja_JP.UTF-8", "ab" + kOneWide, 5, 7, 7},   // 5 bytes, 3 characters: taken for single bytes
      {"ja_JP.UTF-8", "abc" + kTwoWide, 4, 3, 3},  // 9 bytes, 5 characters
      // in the encoding of the environment
      {"ja_JP.eucJP", "\xb4\xc1\xbb\xfa", 3, 2, 2},
      {"ja_JP.SJIS", "\x8a\xbf\x8e\x9a", 3, 2, 2},
      {"C", "\xb4\xc1\xbb\xfa", 3, 2, 2},
      {"C", kTwoWide, 3, 0, 6},
  };
  for (const auto& row : kRows) {
    const EnvironmentGuard lang("LANG", row.lang);
    SCOPED_TRACE("'" + row.text + "' in " + std::to_string(row.width) + ", " + row.lang);
    const int length = static_cast<int>(row.text.size());
    const std::string expected = blanks(row.pad) + row.text;
    std::string dst(expected.size() + 2, '#');
    dst[static_cast<std::size_t>(row.pad)] = '\0';  // where the text is going to stand
    EXPECT_EQ(getStrPatting(row.text, length, row.width, dst.data()), dst.data());
    EXPECT_EQ(dst, expected + '\0' + '#');
    std::string text = row.text;
    EXPECT_EQ(getStrPattingTail(text, length, row.width), row.returned);
    EXPECT_EQ(text, row.text + blanks(row.pad));
  }
}

TEST(Padding, ShorterLength_MeasuresAPartAndWritesTheWhole) {
  const EnvironmentGuard lang("LANG", "C");
  char dst[64] = {};
  getStrPatting("abcdef", 2, 2, dst);
  EXPECT_STREQ(dst, "  abcdef");
  std::string text = "abcdef";
  EXPECT_EQ(getStrPattingTail(text, 2, 2), 2);
  EXPECT_EQ(text, "abcdef  ");
}

TEST(GetStrPatting, LengthPastTheText_CountsTheTextOnly) {
  const EnvironmentGuard lang("LANG", "C");
  char dst[64] = {};
  getStrPatting("ab", INT_MAX, 2, dst);
  EXPECT_STREQ(dst, "  ab");
}

TEST(GetStrPatting, DestinationThatHoldsAText_KeepsWhatTheBlanksLeave) {
  const EnvironmentGuard lang("LANG", "C");
  char dst[64] = "1234";
  getStrPatting("ab", 2, 2, dst);
  EXPECT_STREQ(dst, "  34ab");
}

#ifdef NDEBUG
TEST(Padding, NoCharacters_ArePaddedWithNothing) {
  char dst[64] = {};
  EXPECT_EQ(getStrPatting("", 0, 5, dst), dst);
  EXPECT_STREQ(dst, "");
  getStrPatting("ab", 0, 5, dst);
  EXPECT_STREQ(dst, "ab");
  for (const int len : {0, -1}) {
    std::string text = "ab";
    EXPECT_EQ(getStrPattingTail(text, len, 5), 0);
    EXPECT_EQ(text, "ab");
  }
}
#else
TEST(PaddingDeathTest, NoCharacters_AreTheCallersMistake) {
  char dst[64] = {};
  std::string text;
  EXPECT_DEATH(getStrPatting("", 0, 5, dst), "characters != 0");
  EXPECT_DEATH(getStrPattingTail(text, 0, 5), "characters != 0");
  for (const int len : {0, -1}) {
    EXPECT_DEATH(getStrPatting("ab", len, 5, dst), "characters != 0");
  }
}
#endif

}  // namespace
