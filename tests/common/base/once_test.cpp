#include "common/base/once.h"

#include <gtest/gtest.h>

#include <climits>
#include <map>
#include <string>
#include <vector>

#include "support/generator.h"

namespace {

using Counts = std::map<std::string, int>;

// Stands first, before anything is counted.
TEST(AtOnce, ProcessWideMap_IsEmptyAtTheStart) { EXPECT_EQ(mapOnce, Counts()); }

TEST(AtOnce, NullMapAndLimit0_AnswersOneOnTheFirstCallOnly) {
  mapOnce.clear();
  EXPECT_EQ(atOnce("k", nullptr, 0), 1);
  for (int call = 2; call <= 5; ++call) EXPECT_EQ(atOnce("k", nullptr, 0), 0) << call;
  EXPECT_EQ(mapOnce, Counts({{"k", 1}}));
}

TEST(AtOnce, LimitN_AnswersOneOnTheFirstNPlusOneCalls) {
  for (int limit = -2; limit <= 4; ++limit) {
    Counts counts;
    int answered = 0;
    for (int call = 1; call <= 10; ++call) {
      const int answer = atOnce("k", &counts, limit);
      EXPECT_EQ(answer, call <= limit + 1 ? 1 : 0) << limit << ", call " << call;
      answered += answer;
    }
    EXPECT_EQ(counts, Counts({{"k", answered}})) << limit;
  }
}

TEST(AtOnce, OwnMap_LeavesTheProcessWideOneAlone) {
  mapOnce.clear();
  Counts counts;
  EXPECT_EQ(atOnce("k", &counts, 0), 1);
  EXPECT_EQ(atOnce("k", nullptr, 0), 1);
  EXPECT_EQ(atOnce("k", &counts, 0), 0);
  EXPECT_EQ(counts, Counts({{"k", 1}}));
  EXPECT_EQ(mapOnce, Counts({{"k", 1}}));
}

TEST(AtOnce, Keys_AreCountedApart) {
  Counts counts;
  for (const char* key : {"", "k", "K", "k ", "\xe6\xbc\xa2"}) {
    EXPECT_EQ(atOnce(key, &counts, 0), 1) << key;
    EXPECT_EQ(atOnce(key, &counts, 0), 0) << key;
  }
  EXPECT_EQ(counts, Counts({{"", 1}, {"K", 1}, {"k", 1}, {"k ", 1}, {"\xe6\xbc\xa2", 1}}));
}

TEST(AtOnce, RefusedKey_IsEnteredAllTheSame) {
  Counts counts;
  EXPECT_EQ(atOnce("k", &counts, -1), 0);
  EXPECT_EQ(counts, Counts({{"k", 0}}));
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

/// The judge: a call is answered with one when the answers of one so far do not exceed the limit.
class SlowOnce {
 public:
  int ask(const std::string& key, int limit) {
    int answered = 0;
    for (const std::string& earlier : m_answered) answered += earlier == key ? 1 : 0;
    if (answered > limit) return 0;
    m_answered.push_back(key);
    return 1;
  }

 private:
  std::vector<std::string> m_answered;
};

TEST(AtOnce, GeneratedCalls_AgreeWithTheSlowCount) {
  Generator generator(20037);
  mapOnce.clear();
  Counts counts;
  SlowOnce slow;
  SlowOnce slowWide;
  for (int i = 0; i < 3000; ++i) {
    const std::string key = generator.text("ab", 3);
    const int limit = generator.between(-1, 40);
    const bool isWide = generator.below(2) == 0;
    ASSERT_EQ(atOnce(key, isWide ? nullptr : &counts, limit),
              (isWide ? slowWide : slow).ask(key, limit))
        << "call " << i << ": '" << key << "', " << limit;
  }
}

}  // namespace
