#include "common/text/padding.h"

#include <gtest/gtest.h>

#include <climits>
#include <string>
#include <vector>

#include "support/actionlog.h"
#include "support/environmentguard.h"

namespace {

// In UTF-8, each three bytes long and two columns wide.
const std::string kOneWide = "\xe6\xbc\xa2";
const std::string kTwoWide = "\xe6\xbc\xa2\xe5\xad\x97";

struct Row {
  std::string text;
  int width;
  int pad;       // the blanks that are added
  int returned;  // by `getStrPattingTail`
};

const std::vector<Row> kRows = {
    // single bytes are measured against twice the width
    {"abc", 5, 7, 7},
    {"abc", 2, 1, 1},
    {"abc", 1, 0, 2},
    {"abcd", 3, 2, 2},
    {"abcd", 2, 0, 4},
    {"abcde", 2, 0, 4},
    {"a", 1, 1, 1},
    {"a", 0, 0, 0},
    {"a", -3, 0, -6},
    {" ", 1, 1, 1},
    {"a ", 3, 4, 4},
    // multi-byte characters are measured against the width, and two blanks stand for each
    {kOneWide, 3, 4, 4},
    {kOneWide, 2, 2, 2},
    {kOneWide, 1, 0, 1},
    {kOneWide, 0, 0, 0},
    {kTwoWide, 3, 2, 2},
    {kTwoWide, 2, 0, 2},
    {kTwoWide, 1, 0, 1},
    {"a" + kOneWide, 5, 6, 6},        // 4 bytes, 2 characters: two bytes each
    {"ab" + kOneWide, 5, 7, 7},       // 5 bytes, 3 characters: taken for single bytes
    {"abc" + kTwoWide, 4, 8 - 5, 3},  // 9 bytes, 5 characters
};

TEST(GetStrPatting, Texts_AreWrittenBehindTheirBlanks) {
  const EnvironmentGuard lang("LANG", "ja_JP.UTF-8");
  for (const Row& row : kRows) {
    const std::string expected = std::string(static_cast<std::size_t>(row.pad), ' ') + row.text;
    std::vector<char> dst(expected.size() + 2, '#');
    dst[static_cast<std::size_t>(row.pad)] = '\0';  // where the text is going to stand
    EXPECT_EQ(getStrPatting(row.text, static_cast<int>(row.text.size()), row.width, dst.data()),
              dst.data());
    EXPECT_STREQ(dst.data(), expected.c_str()) << "'" << row.text << "' in " << row.width;
    EXPECT_EQ(dst.back(), '#');
  }
}

TEST(GetStrPattingTail, Texts_AreFilledUpWithBlanks) {
  const EnvironmentGuard lang("LANG", "ja_JP.UTF-8");
  for (const Row& row : kRows) {
    std::string text = row.text;
    EXPECT_EQ(getStrPattingTail(text, static_cast<int>(text.size()), row.width), row.returned)
        << "'" << row.text << "' in " << row.width;
    EXPECT_EQ(text, row.text + std::string(static_cast<std::size_t>(row.pad), ' '))
        << "'" << row.text << "' in " << row.width;
  }
}

TEST(GetStrPatting, Encoding_IsThatOfLang) {
  const struct {
    const char* lang;
    std::string text;
    int pad;
  } kEncodings[] = {{"ja_JP.eucJP", "\xb4\xc1\xbb\xfa", 2},
                    {"ja_JP.SJIS", "\x8a\xbf\x8e\x9a", 2},
                    {"ja_JP.UTF-8", kTwoWide, 2},
                    {"C", "\xb4\xc1\xbb\xfa", 2},
                    {"C", kTwoWide, 0}};
  for (const auto& row : kEncodings) {
    const EnvironmentGuard lang("LANG", row.lang);
    char dst[64] = {};
    getStrPatting(row.text, static_cast<int>(row.text.size()), 3, dst);
    EXPECT_EQ(dst, std::string(static_cast<std::size_t>(row.pad), ' ') + row.text) << row.lang;
  }
}

TEST(GetStrPatting, ShorterLength_MeasuresAPartAndWritesTheWhole) {
  const EnvironmentGuard lang("LANG", "C");
  char dst[64] = {};
  getStrPatting("abcdef", 2, 2, dst);
  EXPECT_STREQ(dst, "  abcdef");
  std::string text = "abcdef";
  EXPECT_EQ(getStrPattingTail(text, 2, 2), 2);
  EXPECT_EQ(text, "abcdef  ");
}

TEST(GetStrPatting, LengthBehindTheText_CountsTheTextOnly) {
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

TEST(GetStrPatting, NullDestination_IsReturnedWithoutALine) {
  const CapturedLog log(CapturedLog::Level::kTrace);
  EXPECT_EQ(getStrPatting("ab", 2, 2, nullptr), nullptr);
  EXPECT_EQ(log.bytes(), "");
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
