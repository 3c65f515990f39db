#include "common/text/numbertext.h"

#include <gtest/gtest.h>

#include <climits>
#include <cstdlib>
#include <string>

namespace {

TEST(Commas, Numbers_HaveOneAfterEveryThreePlacesFromTheRight) {
  // The minus sign is a place.
  const struct {
    long long value;
    const char* text;
  } kRows[] = {{0, "0"},
               {99, "99"},
               {999, "999"},
               {1000, "1,000"},
               {10000, "10,000"},
               {999999, "999,999"},
               {1000000, "1,000,000"},
               {1234567, "1,234,567"},
               {-1, "-1"},
               {-12, "-12"},
               {-123, "-,123"},
               {-1234, "-1,234"},
               {-12345, "-12,345"},
               {-123456, "-,123,456"},
               {LLONG_MAX, "9,223,372,036,854,775,807"},
               {LLONG_MIN, "-9,223,372,036,854,775,808"}};
  for (const auto& row : kRows) {
    std::string out = "left over";
    const char* text = commas(row.value, out);
    EXPECT_EQ(text, out.c_str());
    EXPECT_EQ(out, row.text);
  }
}

TEST(KB, Bytes_AreWholeKilobytesAndAtLeastOne) {
  const struct {
    int bytes;
    int kilobytes;
  } kRows[] = {{0, 0},      {1, 1},      {512, 1},    {1023, 1},          {1024, 1}, {1025, 1},
               {2047, 1},   {2048, 2},   {2049, 2},   {INT_MAX, 2097151}, {-1, 0},   {-1023, 0},
               {-1024, -1}, {-2047, -1}, {-2048, -2}, {INT_MIN, -2097152}};
  for (const auto& row : kRows) EXPECT_EQ(KB(row.bytes), row.kilobytes) << row.bytes;
}

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
               {"12\t/path", 12},
               {"007", 7},
               {"0x10", 0},
               {"x7", 0},
               {"- 7", 0},
               {"\xef\xbc\x97", 0},
               {"2147483647", INT_MAX},
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

}  // namespace
