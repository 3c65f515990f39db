#include "common/text/numbertext.h"

#include <gtest/gtest.h>

#include <climits>
#include <cstdlib>
#include <string>
#include <utility>

namespace {

TEST(Commas, Numbers_HaveOneAfterEveryThreePlacesFromTheRight) {
  const std::pair<long long, std::string> kRows[] = {{0, "0"},
                                                     {999, "999"},
                                                     {1000, "1,000"},
                                                     {999999, "999,999"},
                                                     {1000000, "1,000,000"},
                                                     {-12, "-12"},
                                                     {-123, "-,123"},  // the minus sign is a place
                                                     {-1234, "-1,234"},
                                                     {-123456, "-,123,456"},
                                                     {LLONG_MAX, "9,223,372,036,854,775,807"},
                                                     {LLONG_MIN, "-9,223,372,036,854,775,808"}};
  for (const auto& [value, text] : kRows) {
    std::string out = "left over";
    const char* result = commas(value, out);
    EXPECT_EQ(result, out.c_str());
    EXPECT_EQ(out, text);
  }
}

TEST(KB, Bytes_AreWholeKilobytesAndAtLeastOne) {
  const std::pair<int, int> kRows[] = {{0, 0},      {1, 1},
                                       {1024, 1},   {1025, 1},
                                       {2047, 1},   {2048, 2},
                                       {2049, 2},   {INT_MAX, 2097151},
                                       {-1, 0},     {-1023, 0},
                                       {-1024, -1}, {-2047, -1},
                                       {-2048, -2}, {INT_MIN, -2097152}};
  for (const auto& [bytes, kilobytes] : kRows) EXPECT_EQ(KB(bytes), kilobytes) << bytes;
}

TEST(ToInt, Texts_GiveTheNumberAtTheirStart) {
  for (const char* text : {"", "0", "0x10", "x7", "- 7", "\xef\xbc\x97"}) {
    EXPECT_EQ(toInt(text), 0) << text;
  }
  for (const char* text : {"7", "+7", " \t\n7", "7\t/path", "007"})
    EXPECT_EQ(toInt(text), 7) << text;
  EXPECT_EQ(toInt("-7"), -7);
  EXPECT_EQ(toInt(std::string("12 3")), 12);
}

TEST(ToInt, NumbersAroundTheLimits_AreWhatTheCLibraryGives) {
  for (const char* text : {"2147483647", "-2147483648", "2147483648", "-2147483649", "4294967296",
                           "4294967303", "9223372036854775807", "9223372036854775808",
                           "-9223372036854775809", "99999999999999999999999999"}) {
    EXPECT_EQ(toInt(text), std::atoi(text)) << text;
  }
}

}  // namespace
