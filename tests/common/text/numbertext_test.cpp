#include "common/text/numbertext.h"

#include <gtest/gtest.h>

#include <climits>
#include <string>

#include "support/generator.h"

namespace {

// --- commas --------------------------------------------------------------------------------------

std::string withCommas(long long value) {
  std::string out = "left over";
  const char* text = commas(value, out);
  EXPECT_EQ(text, out.c_str());
  return out;
}

TEST(Commas, SevenDigits_GetTwoCommas) { EXPECT_EQ(withCommas(1234567), "1,234,567"); }

TEST(Commas, ThreeDigits_GetNone) { EXPECT_EQ(withCommas(123), "123"); }

TEST(Commas, Numbers_HaveOneAfterEveryThreePlacesFromTheRight) {
  const struct {
    long long value;
    const char* text;
  } kRows[] = {{0, "0"},
               {9, "9"},
               {99, "99"},
               {999, "999"},
               {1000, "1,000"},
               {9999, "9,999"},
               {10000, "10,000"},
               {999999, "999,999"},
               {1000000, "1,000,000"},
               {-1, "-1"},
               {-12, "-12"},
               {-123, "-,123"},  // the minus sign is a place
               {-1234, "-1,234"},
               {-12345, "-12,345"},
               {-123456, "-,123,456"},
               {LLONG_MAX, "9,223,372,036,854,775,807"},
               {LLONG_MIN, "-9,223,372,036,854,775,808"}};
  for (const auto& row : kRows) EXPECT_EQ(withCommas(row.value), row.text);
}

/// The judge: counts from the right, and puts a comma before every place that follows three.
std::string slowCommas(long long value) {
  const std::string digits = std::to_string(value);
  std::string text;
  for (std::size_t i = 0; i < digits.size(); ++i) {
    if (i != 0 && (digits.size() - i) % 3 == 0) text += ',';
    text += digits[i];
  }
  return text;
}

TEST(Commas, GeneratedNumbers_AgreeWithTheSlowText) {
  Generator generator(20056);
  for (int i = 0; i < 5000; ++i) {
    const std::string digits = generator.text("0123456789", 17) + "7";
    const long long value = std::stoll(digits) * (generator.below(2) == 0 ? 1 : -1);
    ASSERT_EQ(withCommas(value), slowCommas(value));
  }
}

// --- KB ------------------------------------------------------------------------------------------

TEST(KB, OneByte_Is1) { EXPECT_EQ(KB(1), 1); }

TEST(KB, OneByteBelowTwoKilobytes_Is1) { EXPECT_EQ(KB(2047), 1); }

TEST(KB, TwoKilobytes_Are2) { EXPECT_EQ(KB(2048), 2); }

TEST(KB, Zero_Is0) { EXPECT_EQ(KB(0), 0); }

TEST(KB, Bytes_AreWholeKilobytes) {
  const struct {
    int bytes;
    int kilobytes;
  } kRows[] = {{1023, 1},   {1024, 1},  {1025, 1},          {2049, 2},
               {-1, 0},     {-1023, 0}, {-1024, -1},        {-2047, -1},
               {-2048, -2}, {512, 1},   {INT_MAX, 2097151}, {INT_MIN, -2097152}};
  for (const auto& row : kRows) EXPECT_EQ(KB(row.bytes), row.kilobytes) << row.bytes;
}

}  // namespace
