#include "common/text/wildcard.h"

#include <gtest/gtest.h>

#include <string>
#include <vector>

#include "support/actionlog.h"

namespace {

using Texts = std::vector<std::string>;
constexpr const char* kNull = nullptr;

TEST(MatchWild, Names_MatchAsShellPatternsDo) {
  const struct {
    const char* pattern;
    const char* name;
    int result;
  } kRows[] = {
      {"", "", 1},
      {"", "a", 0},
      {"a", "", 0},
      {"a", "a", 1},
      {"a", "A", 0},
      {"a", "a ", 0},
      {"*", "", 1},
      {"*", "abc", 1},
      {"*", ".hidden", 1},  // a leading period is an ordinary byte
      {"*.tar", "a.tar", 1},
      {"*.tar", "a.tar.gz", 0},
      {"?", "a", 1},
      {"?", "", 0},
      {"?", "ab", 0},
      {"[a-c]x", "bx", 1},
      {"[a-c]x", "dx", 0},
      {"[!a]", "b", 1},
      {"[!a]", "a", 0},
      {"urgent.*.tar", "urgent.1.tar", 1},
      {"urgent.*.tar", "urgent.tar", 0},
      {"\xe6*", "\xe6\xbc\xa2", 1},
  };
  const CapturedLog log(CapturedLog::Level::kTrace);
  for (const auto& row : kRows) {
    EXPECT_EQ(matchWild(row.pattern, row.name), row.result) << row.pattern << ", " << row.name;
  }
  EXPECT_EQ(log.bytes(), "");
}

TEST(MatchWild, Slash_IsMatchedByASlashOnly) {
  EXPECT_EQ(matchWild("*", "a/b"), 0);
  EXPECT_EQ(matchWild("a?b", "a/b"), 0);
  EXPECT_EQ(matchWild("a[/]b", "a/b"), 0);
  EXPECT_EQ(matchWild("*/*", "a/b"), 1);
  EXPECT_EQ(matchWild("/d/*", "/d/x"), 1);
  EXPECT_EQ(matchWild("/d/*", "/d/x/y"), 0);
}

TEST(MatchWild, Backslash_IsAnOrdinaryByte) {
  EXPECT_EQ(matchWild("\\*", "*"), 0);
  EXPECT_EQ(matchWild("\\*", "\\abc"), 1);
  EXPECT_EQ(matchWild("a\\", "a\\"), 1);
}

TEST(MatchWild, EitherNull_IsLoggedAndNoMatch) {
  CapturedLog log;
  EXPECT_EQ(matchWild(nullptr, "a"), 0);
  EXPECT_EQ(log.take(), Texts({"[I](common:583):invalid param"}));
  EXPECT_EQ(matchWild("*", nullptr), 0);
  EXPECT_EQ(log.take(), Texts({"[I](common:583):invalid param"}));
  EXPECT_EQ(matchWild(nullptr, nullptr), 0);
  EXPECT_EQ(log.take(), Texts({"[I](common:583):invalid param"}));
}

TEST(HasWildCard, EveryByte_IsOneOfTheFourOrNot) {
  for (int byte = 1; byte < 256; ++byte) {
    const std::string alone(1, static_cast<char>(byte));
    const bool isWild = byte == '*' || byte == '[' || byte == ']' || byte == '?';
    for (const std::string& text : {alone, "ab" + alone, alone + "ab", "a" + alone + "b"}) {
      EXPECT_EQ(hasWildCard(text), isWild ? 1 : 0) << text;
      EXPECT_EQ(hasWildCard(text.c_str()), isWild ? 1 : 0) << text;
    }
  }
}

TEST(HasWildCard, EmptyTextAndNull_HaveNoneWithoutALine) {
  const CapturedLog log(CapturedLog::Level::kTrace);
  EXPECT_EQ(hasWildCard(""), 0);
  EXPECT_EQ(hasWildCard(std::string()), 0);
  EXPECT_EQ(hasWildCard(kNull), 0);
  EXPECT_EQ(log.bytes(), "");
}

}  // namespace
