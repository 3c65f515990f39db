#include "common/text/wildcard.h"

#include <gtest/gtest.h>

#include <string>
#include <tuple>
#include <vector>

#include "support/actionlog.h"

namespace {

using Texts = std::vector<std::string>;

TEST(MatchWild, Names_MatchAsShellPatternsDo) {
  const std::tuple<const char*, Texts, Texts> kRows[] = {
      {"", {""}, {"a"}},
      {"a", {"a"}, {"A"}},
      {"*", {"", ".hidden"}, {"a/b"}},  // a leading period is an ordinary byte, a slash is not
      {"*.tar", {"a.tar"}, {"a.tar.gz"}},
      {"?", {"a"}, {"ab"}},
      {"[a-c]x", {"bx"}, {"dx"}},
      {"[!a]", {"b"}, {"a"}},
      {"\xe6*", {"\xe6\xbc\xa2"}, {}},
      {"a[/]b", {}, {"a/b"}},
      {"*/*", {"a/b"}, {"/d/x/y"}},
      {"\\*", {"\\abc"}, {"*"}},  // a backslash is an ordinary byte, too
      {"a\\", {"a\\"}, {}}};
  const CapturedLog log(CapturedLog::Level::kTrace);
  for (const auto& [pattern, matching, others] : kRows) {
    for (const std::string& name : matching) EXPECT_EQ(matchWild(pattern, name.c_str()), 1) << name;
    for (const std::string& name : others) EXPECT_EQ(matchWild(pattern, name.c_str()), 0) << name;
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
