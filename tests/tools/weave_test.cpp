// Lines of two and three processes that mix at their seams, in every way.

#include "tools/outcome/weave.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <functional>
#include <map>
#include <random>
#include <set>

#include "tools/weavejudge.h"

namespace {

/// Every order of the pieces of all processes in which those of each one keep theirs.
void forEachOrder(const std::vector<Log>& writers, const std::function<void(const Log&)>& take) {
  std::vector<std::size_t> next(writers.size(), 0);
  Log log;
  const std::function<void()> go = [&] {
    bool isDone = true;
    for (std::size_t process = 0; process < writers.size(); ++process) {
      if (next[process] == writers[process].size()) continue;
      isDone = false;
      log.push_back(writers[process][next[process]++]);
      go();
      --next[process];
      log.pop_back();
    }
    if (isDone) take(log);
  };
  go();
}

/// Of runs whose lines up to `whole` stand alone and are followed by those after it in every order.
struct Mix {
  const char* what;
  std::vector<Texts> runs;
  std::size_t whole;
  std::size_t last;
};

/// The verdicts of all that a process may have written, with the lines before and after.
std::set<std::string> verdictsOf(const std::set<Texts>& possible, const Texts& run,
                                 const Mix& mix) {
  std::set<std::string> verdicts;
  for (const Texts& middle : possible) {
    Texts all(run.begin(), run.begin() + static_cast<std::ptrdiff_t>(mix.whole));
    all.insert(all.end(), middle.begin(), middle.end());
    all.insert(all.end(), run.begin() + static_cast<std::ptrdiff_t>(mix.last), run.end());
    verdicts.insert(verdictAlone(all));
  }
  return verdicts;
}

Texts slice(const Texts& all, std::size_t first, std::size_t last) {
  return {all.begin() + static_cast<std::ptrdiff_t>(first),
          all.begin() + static_cast<std::ptrdiff_t>(last)};
}

TEST(Weave, EveryOrderOfPieces_IsJudgedRightOrLeftOpen) {
  const Mix mixes[] = {
      {"last answers and ends", {event({0, 0}), event({0, -1})}, 6, 8},
      {"the same answers", {event({-1, -1}), event({-2, -2})}, 6, 8},
      {"calls and answers", {incident({0, 0}), incident({-1, -1})}, 3, 5},
      {"an answer and a missing file",
       {inserted(incident({0, 0}), 1, kMissingLine), event({0, 0})},
       1,
       3},
      {"a run that is refused", {unsent("not Super-User", 65), incident({0, 0})}, 1, 3},
      {"three answers", {event({0, 0}), event({0, -1}), event({-1, -1})}, 6, 7},
      {"three calls and answers", {incident({0, 0}), event({0, -1}), incident({-1, 0})}, 4, 5},
  };
  for (const Mix& mix : mixes) {
    SCOPED_TRACE(mix.what);
    std::string before;
    std::string after;
    std::vector<Log> writers;
    std::vector<Texts> kinds;
    for (std::size_t process = 0; process < mix.runs.size(); ++process) {
      const Texts& run = mix.runs[process];
      const int pid = 100 + static_cast<int>(process);
      before += linesOf(pid, slice(run, 0, mix.whole));
      after += linesOf(pid, slice(run, mix.last, run.size()));
      writers.push_back(piecesOf(process, slice(run, mix.whole, mix.last)));
      kinds.push_back(kindsOf(slice(run, mix.whole, mix.last)));
    }
    std::size_t orders = 0;
    std::size_t undecidable = 0;
    std::size_t open = 0;
    forEachOrder(writers, [&](const Log& log) {
      ++orders;
      const Judge judge(log, kinds);
      std::map<int, std::string> found;
      for (const outcome::Run& run : runsOf(before + bytesOf(log) + after)) {
        found[run.pid] = found.count(run.pid) == 0 ? wordOf(run.verdict) : "twice";
      }
      ASSERT_EQ(found.size(), mix.runs.size());
      for (std::size_t process = 0; process < mix.runs.size(); ++process) {
        const std::string verdict = found[100 + static_cast<int>(process)];
        const auto possible = verdictsOf(judge.possible[process], mix.runs[process], mix);
        undecidable += possible.size() > 1;
        open += verdict == "unknown";
        if (verdict == "unknown") continue;
        ASSERT_EQ(std::set<std::string>{verdict}, possible) << bytesOf(log);
      }
    });
    EXPECT_LE(open * 10, undecidable * 11) << orders;
    RecordProperty(mix.what, std::to_string(orders) + " orders, undecidable " +
                                 std::to_string(undecidable) + ", open " + std::to_string(open));
  }
}

}  // namespace
