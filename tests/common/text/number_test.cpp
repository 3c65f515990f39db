#include <gtest/gtest.h>

#include <climits>
#include <cstdlib>
#include <string>

#include "common/text/numbertext.h"

namespace {

TEST(ToInt, Texts_GiveTheNumberAtTheirStart) {
  const struct {
    const char* text;
    int number;
  } kRows[] = {{"", 0},
               {"0", 0},
               {"7", 7},
               {"-7", -7},
               {"+7", 7},
               {" \t\n7", 7},
               {"7 ", 7},
               {"12\t/path", 12},
               {"007", 7},
               {"0x10", 0},
               {"1e3", 1},
               {"x7", 0},
               {"- 7", 0},
               {"--7", 0},
               {"\xef\xbc\x97", 0},
               {"2147483646", INT_MAX - 1},
               {"2147483647", INT_MAX},
               {"-2147483647", INT_MIN + 1},
               {"-2147483648", INT_MIN}};
  for (const auto& row : kRows) {
    EXPECT_EQ(toInt(row.text), row.number) << row.text;
    EXPECT_EQ(toInt(std::string(row.text)), row.number) << row.text;
  }
}

TEST(ToInt, NumbersThatDoNotFit_AreWhatTheCLibraryGives) {
  for (const char* text : {"2147483648", "-2147483649", "4294967295", "4294967296", "4294967303",
                           "9223372036854775807", "9223372036854775808", "-9223372036854775809",
                           "99999999999999999999999999"}) {
    EXPECT_EQ(toInt(text), std::atoi(text)) << text;
  }
}

TEST(ToInt, Null_IsZero) { EXPECT_EQ(toInt(static_cast<const char*>(nullptr)), 0); }

}  // namespace
