#include "common/base/once.h"

#include <gtest/gtest.h>

#include <climits>
#include <map>
#include <string>
#include <tuple>

namespace {

using Counts = std::map<std::string, int>;

TEST(AtOnce, LimitN_AnswersOneOnTheFirstNPlusOneCalls) {
  for (int limit = -2; limit <= 4; ++limit) {
    Counts counts;
    int answered = 0;
    for (int call = 1; call <= 10; ++call) {
      const int answer = atOnce("k", &counts, limit);
      EXPECT_EQ(answer, call <= limit + 1 ? 1 : 0) << limit << ", call " << call;
      answered += answer;
    }
    EXPECT_EQ(counts, Counts({{"k", answered}})) << limit;  // entered also where it was refused
  }
}

TEST(AtOnce, KeysOwnMapAndTheProcessWideOne_AreCountedApart) {
  EXPECT_EQ(mapOnce, Counts());  // as at the start of a process: nothing else here counts in it
  Counts counts;
  EXPECT_EQ(atOnce("k", &counts, 0), 1);
  EXPECT_EQ(atOnce("k", nullptr, 0), 1);
  EXPECT_EQ(atOnce("k", &counts, 0), 0);
  EXPECT_EQ(atOnce("k", nullptr, 0), 0);
  EXPECT_EQ(atOnce("K", &counts, 0), 1);
  EXPECT_EQ(counts, Counts({{"K", 1}, {"k", 1}}));
  EXPECT_EQ(mapOnce, Counts({{"k", 1}}));
  mapOnce.clear();
}

TEST(AtOnce, StoredCounts_AreComparedWithTheLimit) {
  const std::tuple<int, int, int, int> kRows[] = {
      {4, 5, 1, 5},
      {5, 5, 1, 6},
      {6, 5, 0, 6},
      {-3, -3, 1, -2},
      {-3, -4, 0, -3},
      {INT_MAX - 1, INT_MAX, 1, INT_MAX},
      {INT_MAX, INT_MAX - 1, 0, INT_MAX},
      {INT_MAX, INT_MAX, 1, INT_MAX}};  // no larger count can be stored
  for (const auto& [stored, limit, answer, count] : kRows) {
    Counts counts = {{"k", stored}};
    EXPECT_EQ(atOnce("k", &counts, limit), answer) << stored << ", " << limit;
    EXPECT_EQ(counts, Counts({{"k", count}})) << stored << ", " << limit;
  }
}

}  // namespace
