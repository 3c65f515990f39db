// Which texts can stand in which lines: compared with all ways to give them out, one after the
// other.

#include "tools/outcome/matching.h"

#include <gtest/gtest.h>

#include <functional>
#include <random>
#include <set>
#include <utility>

namespace {

struct Knot {
  outcome::Matching::Graph edges;
  std::vector<bool> isClosed;
};

/// Each text with each line that it stands in, in some way to give all of them out; empty where
/// there is no way.
std::set<std::pair<int, int>> waysOf(const Knot& knot) {
  std::set<std::pair<int, int>> found;
  std::vector<int> lineOf;
  std::vector<bool> isTaken(knot.isClosed.size(), false);
  const std::function<void()> go = [&] {
    const std::size_t text = lineOf.size();
    if (text < knot.edges.size()) {
      for (const int line : knot.edges[text]) {
        const auto index = static_cast<std::size_t>(line);
        if (isTaken[index]) continue;
        isTaken[index] = true;
        lineOf.push_back(line);
        go();
        lineOf.pop_back();
        isTaken[index] = false;
      }
      return;
    }
    for (std::size_t line = 0; line < isTaken.size(); ++line) {
      if (knot.isClosed[line] && !isTaken[line]) return;
    }
    for (std::size_t one = 0; one < text; ++one) found.emplace(static_cast<int>(one), lineOf[one]);
  };
  go();
  return found;
}

void expectAllWays(const Knot& knot) {
  const auto ways = waysOf(knot);
  const outcome::Matching matching(knot.edges, knot.isClosed);
  ASSERT_EQ(matching.isPossible(), !ways.empty());
  if (ways.empty()) return;
  for (std::size_t text = 0; text < knot.edges.size(); ++text) {
    for (const int line : knot.edges[text]) {
      const int number = static_cast<int>(text);
      EXPECT_EQ(matching.allows(number, line), ways.count({number, line}) == 1)
          << number << " in " << line;
    }
  }
}

TEST(Matching, OfManyKnots_AllowsWhatSomeWayHas) {
  std::mt19937 random(20261122);
  const auto below = [&](std::size_t end) { return random() % end; };
  std::size_t possible = 0;
  for (int round = 0; round < 20000 && !testing::Test::HasFailure(); ++round) {
    Knot knot;
    knot.edges.resize(1 + below(5));
    knot.isClosed.resize(knot.edges.size() + below(3));
    const std::size_t oneOf = 1 + below(4);
    for (auto& lines : knot.edges) {
      for (std::size_t line = 0; line < knot.isClosed.size(); ++line) {
        if (below(oneOf + 1) == 0) lines.push_back(static_cast<int>(line));
      }
    }
    for (std::size_t line = 0; line < knot.isClosed.size(); ++line) {
      knot.isClosed[line] = below(4) == 0;
    }
    SCOPED_TRACE(round);
    expectAllWays(knot);
    possible += waysOf(knot).empty() ? 0 : 1;
  }
  // Both answers are tried often.
  EXPECT_GT(possible, 5000U);
  EXPECT_LT(possible, 15000U);
}

TEST(Matching, ChainOfLines_MovesToItsEnd) {
  // Each text can stand in its own line and in the next one; the last line is bare, and none is
  // closed: any of them may have moved.
  Knot knot;
  for (int text = 0; text < 6; ++text) knot.edges.push_back({text, text + 1});
  knot.isClosed.assign(7, false);
  expectAllWays(knot);
  // The first line is closed: nothing can move away from it.
  knot.isClosed[0] = true;
  expectAllWays(knot);
  EXPECT_FALSE(outcome::Matching(knot.edges, knot.isClosed).allows(0, 1));
}

}  // namespace
