#include "common/text/padding.h"

#include <gtest/gtest.h>

#include <climits>
#include <string>
#include <tuple>

#include "support/environmentguard.h"

namespace {

constexpr const char* kUtf8 = "ja_JP.UTF-8";

// Each three bytes long and two columns wide.
const std::string kOneWide = "\xe6\xbc\xa2";
const std::string kTwoWide = "\xe6\xbc\xa2\xe5\xad\x97";

TEST(Padding, Texts_AreFilledUpBeforeOrAfterThem) {
  const std::tuple<const char*, std::string, int, int, int> kRows[] = {
      // single bytes are measured against twice the width
      {kUtf8, "abc", 5, 7, 7},
      {kUtf8, "abc", 2, 1, 1},
      {kUtf8, "abc", 1, 0, 2},
      {kUtf8, "abcd", 3, 2, 2},
      {kUtf8, "abcd", 2, 0, 4},
      {kUtf8, "a", 0, 0, 0},
      {kUtf8, "a", -3, 0, -6},
      // multi-byte characters are measured against the width, and two blanks stand for each
      {kUtf8, kOneWide, 3, 4, 4},
      {kUtf8, kOneWide, 2, 2, 2},
      {kUtf8, kOneWide, 0, 0, 0},
      {kUtf8, kTwoWide, 3, 2, 2},
      {kUtf8, "a" + kOneWide, 5, 6, 6},    // 4 bytes, 2 characters: two bytes each
      {kUtf8, "ab" + kOneWide, 5, 7, 7},   // 5 bytes, 3 characters: taken for single bytes
      {kUtf8, "abc" + kTwoWide, 4, 3, 3},  // 9 bytes, 5 characters
      // in the encoding of the environment
      {"ja_JP.eucJP", "\xb4\xc1\xbb\xfa", 3, 2, 2},
      {"ja_JP.SJIS", "\x8a\xbf\x8e\x9a", 3, 2, 2},
      {"C", "\xb4\xc1\xbb\xfa", 3, 2, 2},
      {"C", kTwoWide, 3, 0, 6},
  };
  for (const auto& [lang, text, width, added, returnedByTail] : kRows) {
    const EnvironmentGuard variable("LANG", lang);
    SCOPED_TRACE("'" + text + "' in " + std::to_string(width) + ", " + lang);
    const int length = static_cast<int>(text.size());
    const std::string blanks(static_cast<std::size_t>(added), ' ');
    std::string dst(blanks.size() + text.size() + 2, '#');
    dst[blanks.size()] = '\0';  // where the text is going to stand
    EXPECT_EQ(getStrPatting(text, length, width, dst.data()), dst.data());
    EXPECT_EQ(dst, blanks + text + '\0' + '#');
    std::string filled = text;
    EXPECT_EQ(getStrPattingTail(filled, length, width), returnedByTail);
    EXPECT_EQ(filled, text + blanks);
  }
}

TEST(Padding, LengthThatIsNotTheTexts_CountsThatMuchOfTheText) {
  const EnvironmentGuard lang("LANG", "C");
  char dst[64] = {};
  EXPECT_STREQ(getStrPatting("abcdef", 2, 2, dst), "  abcdef");
  std::string text = "abcdef";
  EXPECT_EQ(getStrPattingTail(text, 2, 2), 2);
  EXPECT_EQ(text, "abcdef  ");
  char other[64] = {};
  EXPECT_STREQ(getStrPatting("ab", INT_MAX, 2, other), "  ab");
}

TEST(GetStrPatting, DestinationThatHoldsAText_KeepsWhatTheBlanksLeave) {
  const EnvironmentGuard lang("LANG", "C");
  char dst[64] = "1234";
  EXPECT_STREQ(getStrPatting("ab", 2, 2, dst), "  34ab");
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
