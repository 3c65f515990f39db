#include "tools/rehearse/screen.h"

#include <gtest/gtest.h>

#include <limits>
#include <sstream>
#include <string>

namespace {

std::string x(std::size_t count) { return std::string(count, 'x'); }

std::string repeated(const std::string& character, std::size_t count) {
  std::string text;
  for (std::size_t at = 0; at < count; ++at) text += character;
  return text;
}

TEST(ScreenRows, Text_BreaksWhereARowIsFull) {
  const std::string wide = "\xe6\x97\xa5";
  const std::string narrow = "\xc3\xa9";
  const struct {
    const char* what;
    std::string text;
    std::size_t indent;
    std::size_t hang;
    std::string expected;
  } rows[] = {
      {"empty", "", 2, 4, "\n"},
      {"short", "a b ", 2, 4, "  a b \n"},
      {"full row", x(94), 2, 4, "  " + x(94) + "\n"},
      {"long word", x(187), 2, 4, "  " + x(94) + "\n    " + x(92) + "\n    x\n"},
      {"blank in the second half", x(50) + " " + x(60), 0, 2, x(50) + " \n  " + x(60) + "\n"},
      {"blank in the first half", x(20) + " " + x(80), 0, 2,
       x(20) + " " + x(75) + "\n  " + x(5) + "\n"},
      {"blank in the middle", x(47) + " " + x(60), 0, 2,
       x(47) + " " + x(48) + "\n  " + x(12) + "\n"},
      {"control characters and other bytes", "a\n\x1b\xc6\xfc", 0, 0, "a\\x0a\\x1b\\xc6\\xfc\n"},
      {"wide characters count twice", repeated(wide, 49), 0, 0,
       repeated(wide, 48) + "\n" + wide + "\n"},
      {"narrow characters of several bytes count once", repeated(narrow, 97), 0, 0,
       repeated(narrow, 96) + "\n" + narrow + "\n"},
  };
  for (const auto& [what, text, indent, hang, expected] : rows) {
    EXPECT_EQ(screenRows(text, indent, hang, 96), expected) << what;
  }
}

TEST(ScreenRows, InTheNarrowestTerminal_HaveACharacterEach) {
  EXPECT_EQ(screenRows("ab", 0, 0, 1), "a\nb\n");
  EXPECT_EQ(screenRows("\xe6\x97\xa5\xe6\x9c\xac", 0, 0, 1), "\xe6\x97\xa5\n\xe6\x9c\xac\n");
}

TEST(ScreenRows, TextOfAnyLength_LosesNothingAndHasNoRowTooWide) {
  constexpr std::size_t kWidth = 96;
  for (std::size_t length = 1; length < 600; ++length) {
    std::string text;
    for (std::size_t at = 0; at < length; ++at) text += (at * at + length) % 11 < 2 ? ' ' : 'a';
    std::istringstream rows(screenRows(text, 3, 5, kWidth));
    std::string together;
    std::string row;
    for (std::size_t indent = 3; std::getline(rows, row); indent = 5) {
      ASSERT_LE(row.size(), kWidth);
      together += row.substr(indent);
    }
    ASSERT_EQ(together, text);
  }
}

TEST(ScreenRows, Width_LeavesRoomBesideTheIndentOrIsNone) {
  EXPECT_EQ(screenRows(x(1000), 2, 4, 0), "  " + x(1000) + "\n");
  EXPECT_EQ(screenRows("", 2, 4, 0), "\n");
  EXPECT_EQ(screenRows(x(20), 7, 31, 12), "    " + x(8) + "\n    " + x(8) + "\n    xxxx\n");
  EXPECT_EQ(screenRows("xyz", 7, 31, 1), "x\ny\nz\n");
}

TEST(GroupedNumber, EveryThreeDigits_AreAGroup) {
  EXPECT_EQ(groupedNumber(0), "0");
  EXPECT_EQ(groupedNumber(999), "999");
  EXPECT_EQ(groupedNumber(1000), "1,000");
  EXPECT_EQ(groupedNumber(999999), "999,999");
  EXPECT_EQ(groupedNumber(1234567), "1,234,567");
  EXPECT_EQ(groupedNumber(std::numeric_limits<unsigned long long>::max()),
            "18,446,744,073,709,551,615");
}

}  // namespace
