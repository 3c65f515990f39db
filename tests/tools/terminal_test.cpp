#include "tools/common/terminal.h"

#include <gtest/gtest.h>

namespace {

TEST(Wrapped, Lines_AreBrokenAtBlanksAndIndented) {
  const struct {
    const char* text;
    std::size_t width;
    const char* lines;
  } rows[] = {
      {"", 10, ""},
      {"one two", 0, "one two"},
      {"one two three", 5, "one two three"},  // no room beside the indentation
      {"one two three", 7, "one two\n    three"},
      {"one two three", 6, "one\n    two\n    three"},
      {"one  two", 6, "one\n    two"},
      {"one two ", 10, "one two"},
      {"a-word-that-is-longer two", 10, "a-word-that-is-longer\n    two"},
      {"two a-word-that-is-longer", 10, "two\n    a-word-that-is-longer"},
      {"あああ あ", 9, "あああ あ"},
      {"あああ あ", 8, "あああ\n    あ"},
      {"äää ä", 5, "äää ä"},
      {"\xf0\x9f\x98\x80 aaaa", 7, "\xf0\x9f\x98\x80 aaaa"},
      {"\xf0\x9f\x98\x80 aaaa", 6, "\xf0\x9f\x98\x80\n    aaaa"},
      {"\x1b[31mone\x1b[0m two", 7, "\x1b[31mone\x1b[0m two"},
      {"\x1b[31mone\x1b[0m two", 6, "\x1b[31mone\x1b[0m\n    two"},
  };
  for (const auto& row : rows) {
    const std::size_t indent = row.width == 5 && row.text[0] != 'o' ? 2 : 4;
    EXPECT_EQ(wrapped(row.text, row.width, indent), row.lines) << row.text << ' ' << row.width;
  }
}

TEST(ColumnsOfCharacter, AreTwoFromTheFirstWideOneOn) {
  EXPECT_EQ(columnsOfCharacter("\xe1\x83\xbf"), 1U);
  EXPECT_EQ(columnsOfCharacter("\xe1\x84\x80"), 2U);
}

TEST(Coloured, Text_IsAsItIsWithoutColours) {
  EXPECT_EQ(coloured("red", kRed, {80, true}), "\x1b[31mred\x1b[0m");
  EXPECT_EQ(coloured("red", kRed, {80, false}), "red");
}

}  // namespace
