#include "common/text/wildcard.h"

#include <gtest/gtest.h>

#include <string>

#include "support/actionlog.h"

namespace {

TEST(MatchWild, Names_MatchAsShellPatternsDo) {
  const struct {
    const char* pattern;
    const char* name;
    int result;
  } kRows[] = {
      {"", "", 1},
      {"a", "a", 1},
      {"a", "A", 0},
      {"*", "", 1},
      {"*", ".hidden", 1},  // a leading period is an ordinary byte
      {"*.tar", "a.tar", 1},
      {"*.tar", "a.tar.gz", 0},
      {"?", "a", 1},
      {"?", "ab", 0},
      {"[a-c]x", "bx", 1},
      {"[a-c]x", "dx", 0},
      {"[!a]", "b", 1},
      {"\xe6*", "\xe6\xbc\xa2", 1},
      // a slash is matched by a slash only
      {"*", "a/b", 0},
      {"a[/]b", "a/b", 0},
      {"*/*", "a/b", 1},
      {"/d/*", "/d/x/y", 0},
      // a backslash is an ordinary byte
      {"\\*", "*", 0},
      {"\\*", "\\abc", 1},
      {"a\\", "a\\", 1},
  };
  const CapturedLog log(CapturedLog::Level::kTrace);
  for (const auto& row : kRows) {
    EXPECT_EQ(matchWild(row.pattern, row.name), row.result) << row.pattern << ", " << row.name;
  }
  EXPECT_EQ(log.bytes(), "");
}

TEST(HasWildCard, EveryByte_IsOneOfTheFourOrNot) {
  EXPECT_EQ(hasWildCard(""), 0);
  for (int byte = 1; byte < 256; ++byte) {
    const std::string alone(1, static_cast<char>(byte));
    const bool isWild = byte == '*' || byte == '[' || byte == ']' || byte == '?';
    for (const std::string& text : {alone, "ab" + alone, alone + "ab", "a" + alone + "b"}) {
      EXPECT_EQ(hasWildCard(text), isWild ? 1 : 0) << text;
      EXPECT_EQ(hasWildCard(text.c_str()), isWild ? 1 : 0) << text;
    }
  }
}

}  // namespace
