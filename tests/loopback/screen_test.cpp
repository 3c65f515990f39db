#include "loopback/rehearse/screen.h"

#include <gtest/gtest.h>

#include <limits>
#include <sstream>
#include <string>

namespace {

std::string x(std::size_t count) { return std::string(count, 'x'); }

TEST(Screen, ShortTextIsOneRow) {
  EXPECT_EQ("\n", screenRows("", 2, 4));
  EXPECT_EQ("  a b \n", screenRows("a b ", 2, 4));
  EXPECT_EQ("  " + x(94) + "\n", screenRows(x(94), 2, 4));
}

TEST(Screen, LongWordBreaksWhereTheRowIsFull) {
  EXPECT_EQ("  " + x(94) + "\n    " + x(92) + "\n    x\n", screenRows(x(187), 2, 4));
}

TEST(Screen, RowsBreakBehindABlankOfTheirSecondHalf) {
  EXPECT_EQ(x(50) + " \n  " + x(60) + "\n", screenRows(x(50) + " " + x(60), 0, 2));
  EXPECT_EQ(x(20) + " " + x(75) + "\n  " + x(5) + "\n", screenRows(x(20) + " " + x(80), 0, 2));
}

TEST(Screen, NothingIsLostAndNoRowIsTooWide) {
  for (std::size_t length = 1; length < 600; ++length) {
    std::string text;
    for (std::size_t at = 0; at < length; ++at) text += (at * at + length) % 11 < 2 ? ' ' : 'a';
    std::istringstream rows(screenRows(text, 3, 5));
    std::string together;
    std::string row;
    for (std::size_t indent = 3; std::getline(rows, row); indent = 5) {
      ASSERT_LE(row.size(), kScreenColumns);
      together += row.substr(indent);
    }
    ASSERT_EQ(text, together);
  }
}

TEST(Screen, ControlCharactersAndOtherBytesAreEscaped) {
  EXPECT_EQ("a\\x0a\\x1b\\xc6\\xfc\n", screenRows("a\n\x1b\xc6\xfc", 0, 0));
}

TEST(Screen, WideCharactersCountTwice) {
  const std::string wide = "\xe6\x97\xa5";
  std::string text;
  for (int count = 0; count < 49; ++count) text += wide;
  EXPECT_EQ(text.substr(0, 144) + "\n" + wide + "\n", screenRows(text, 0, 0));
}

TEST(Screen, NarrowCharactersOfSeveralBytesCountOnce) {
  std::string text;
  for (std::size_t count = 0; count < kScreenColumns; ++count) text += "\xc3\xa9";
  EXPECT_EQ(text + "\n", screenRows(text, 0, 0));
}

TEST(Screen, GroupedNumbers) {
  EXPECT_EQ("0", groupedNumber(0));
  EXPECT_EQ("999", groupedNumber(999));
  EXPECT_EQ("1,000", groupedNumber(1000));
  EXPECT_EQ("999,999", groupedNumber(999999));
  EXPECT_EQ("1,234,567", groupedNumber(1234567));
  EXPECT_EQ("18,446,744,073,709,551,615",
            groupedNumber(std::numeric_limits<unsigned long long>::max()));
}

}  // namespace
