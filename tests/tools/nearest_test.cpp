#include "tools/common/nearest.h"

#include <gtest/gtest.h>

#include "support/scratch.h"

namespace {

const Texts kKnown = {"Time", "HostName", "OSType", "OSName", "OSVersion", "MsgID"};

TEST(NearestWord, AWord_IsTheOneThatIsMeant) {
  const struct {
    const char* word;
    const char* meant;  // null: none
  } rows[] = {
      {"OSName", "OSName"},     {"hostname", "HostName"},
      {"HOSTNAME", "HostName"}, {"Host", "HostName"},
      {"Tim", "Time"},          {"OS", nullptr},  // the beginning of three, and too short
      {"OSV", "OSVersion"},     {"Tmie", "Time"},
      {"Tiime", "Time"},        {"Tme", "Time"},
      {"Tine", "Time"},         {"Tnie", nullptr},
      {"eTime ", nullptr},      {"OsTpye", "OSType"},
      {"HsotNmae", "HostName"}, {"XsotNmae", nullptr},
      {"MsgNumber", nullptr},   {"", nullptr},
      {"\xff", nullptr},        {"iTme", "Time"},
  };
  for (const auto& row : rows) {
    EXPECT_EQ(nearestWord(row.word, kKnown).value_or("none"),
              row.meant == nullptr ? "none" : row.meant)
        << row.word;
  }
  EXPECT_EQ(nearestWord(std::string(1 << 20, 'T'), kKnown), std::nullopt);
  EXPECT_EQ(nearestWord("Time", {}), std::nullopt);
  EXPECT_EQ(nearestWord("AZ", {"az"}), "az");
}

TEST(NearestWord, OfEquals_IsTheFirst) {
  EXPECT_EQ(nearestWord("caxt", {"cart", "cast", "ca"}), "cart");
  EXPECT_EQ(nearestWord("cas", {"cars", "cast", "cash"}), "cars");
  EXPECT_EQ(nearestWord("CAST", {"caste", "cast"}), "cast");
}

}  // namespace
