#include "common/base/once.h"

#include <gtest/gtest.h>

#include <climits>
#include <map>
#include <string>

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

TEST(AtOnce, OwnMapAndTheProcessWideOne_AreCountedApart) {
  EXPECT_EQ(mapOnce, Counts());  // as at the start of a process: nothing else here counts in it
  Counts counts;
  EXPECT_EQ(atOnce("k", &counts, 0), 1);
  EXPECT_EQ(atOnce("k", nullptr, 0), 1);
  EXPECT_EQ(atOnce("k", &counts, 0), 0);
  EXPECT_EQ(atOnce("k", nullptr, 0), 0);
  EXPECT_EQ(counts, Counts({{"k", 1}}));
  EXPECT_EQ(mapOnce, Counts({{"k", 1}}));
  mapOnce.clear();
}

TEST(AtOnce, Keys_AreCountedApart) {
  Counts counts;
  for (const char* key : {"", "k", "K", "k ", "\xe6\xbc\xa2"}) {
    EXPECT_EQ(atOnce(key, &counts, 0), 1) << key;
    EXPECT_EQ(atOnce(key, &counts, 0), 0) << key;
  }
  EXPECT_EQ(counts, Counts({{"", 1}, {"K", 1}, {"k", 1}, {"k ", 1}, {"\xe6\xbc\xa2", 1}}));
}

TEST(AtOnce, StoredCounts_AreComparedWithTheLimit) {
  const struct {
    int stored;
    int limit;
    int answer;
    int count;
  } kRows[] = {{4, 5, 1, 5},
               {5, 5, 1, 6},
               {6, 5, 0, 6},
               {-3, -3, 1, -2},
               {-3, -4, 0, -3},
               {INT_MAX - 1, INT_MAX, 1, INT_MAX},
               {INT_MAX, INT_MAX - 1, 0, INT_MAX},
               {INT_MAX, INT_MAX, 1, INT_MAX}};  // no larger count can be stored
  for (const auto& row : kRows) {
    Counts counts = {{"k", row.stored}};
    EXPECT_EQ(atOnce("k", &counts, row.limit), row.answer) << row.stored << ", " << row.limit;
    EXPECT_EQ(counts, Counts({{"k", row.count}})) << row.stored << ", " << row.limit;
  }
}

}  // namespace
