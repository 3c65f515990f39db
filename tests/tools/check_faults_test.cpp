#include <gtest/gtest.h>

#include "tools/check/faults.h"
#include "tools/common/listed.h"

namespace {

using check::Fault;
using check::Faults;

std::string shownOf(const Faults& faults) {
  std::string text;
  for (const Fault& fault : faults.kept()) text += fault.isError ? 'e' : 'w';
  return text;
}

TEST(CheckFaults, BeyondAThousand_ErrorsTakeThePlaceOfTheLastWarnings) {
  Faults faults;
  const auto add = [&faults](int count, bool isError) {
    for (int i = 0; i < count; ++i) faults.add({"a", 1, isError, "x"});
  };
  add(998, false);
  add(2, true);
  EXPECT_EQ(faults.rest(), "");
  EXPECT_EQ(shownOf(faults), std::string(998, 'w') + "ee");
  add(1, false);
  EXPECT_EQ(faults.rest(), "... and 1 warning more");
  EXPECT_FALSE(faults.isErrorLeftOut());
  add(3, true);
  EXPECT_EQ(shownOf(faults), std::string(995, 'w') + "eeeee");
  EXPECT_EQ(faults.rest(), "... and 4 warnings more");
  add(996, true);
  EXPECT_EQ(shownOf(faults), std::string(1000, 'e'));
  EXPECT_EQ(faults.rest(), "... and 1 error and 999 warnings more");
  EXPECT_TRUE(faults.isErrorLeftOut());
  EXPECT_EQ(faults.errors(), 1001u);
  EXPECT_EQ(faults.warnings(), 999u);
}

TEST(CheckFaults, Text_IsReadableAndNotTooLong) {
  EXPECT_EQ(check::quoted("a\\\x01\xff"), "\"a\\\\\\x01\\xff\"");
  std::string long199;
  for (int i = 0; i < 199; ++i) long199 += "あ";
  EXPECT_EQ(check::shown(long199 + "い"), long199 + "い");
  EXPECT_EQ(check::shown(long199 + "いう"), long199 + "い...");
}

TEST(CheckFaults, Words_AreJoined) {
  EXPECT_EQ(listed({}), "");
  EXPECT_EQ(listed({"a"}), "a");
  EXPECT_EQ(listed({"a", "b"}), "a and b");
  EXPECT_EQ(listedAsChoice({"a", "b", "c"}), "a, b or c");
  EXPECT_EQ(check::sentenceOf({"is old", "is large"}), "is old; it is large");
}

}  // namespace
