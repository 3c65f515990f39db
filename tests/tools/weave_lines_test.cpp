// Lines of three and more processes that mix, of which one has begun its next line while nobody
// knows who has written the line before.

#include "tools/outcome/weave.h"

#include <gtest/gtest.h>

#include "tools/logbytes.h"

namespace {

/// A run, of which the lines in the middle are given apart.
std::string before(int pid, const Texts& run, std::size_t first) {
  return linesOf(pid, {run.begin(), run.begin() + static_cast<std::ptrdiff_t>(first)});
}

std::string after(int pid, const Texts& run, std::size_t next) {
  return linesOf(pid, {run.begin() + static_cast<std::ptrdiff_t>(next), run.end()});
}

/// "PID VERDICT: CODES", of an answer that nobody can tell a question mark.
Texts answersOf(const std::vector<outcome::Run>& runs) {
  Texts answers;
  for (const outcome::Run& run : runs) {
    std::string text = std::to_string(run.pid) + ' ' + wordOf(run.verdict) + ':';
    for (const outcome::Exchange& one : run.exchanges) {
      text += one.code ? ' ' + std::to_string(*one.code) : " ?";
    }
    answers.push_back(text);
  }
  return answers;
}

TEST(WeaveLines, TextThatOneRunAloneCanHaveWritten_IsItsOwn) {
  const Texts first = incident({0, 0});
  const Texts second = incident({-7, 0});
  const std::vector<outcome::Run> runs =
      runsOf(before(5, first, 3) + before(6, second, 4) + headOf(5) + headOf(6) + second[4] +
             first[3] + "\n\n" + after(5, first, 4) + after(6, second, 5));
  ASSERT_EQ(answersOf(runs), (Texts{"5 delivered: 0 0", "6 partly: -7 0"}));
  EXPECT_EQ(runs[0].identity, "42");
  EXPECT_EQ(runs[0].torn + runs[1].torn, 0);
}

TEST(WeaveLines, NextLineOfOneRun_LeavesOpenWhoseTheAnswersAre) {
  // The next call is of the first run alone, whichever answer it has got before; the third answer
  // is of one of the other two.
  const Texts first = incident({0, 0, -1, 0});
  const Texts second = incident({0, 0, -1, 0});
  const Texts third = incident({-1, 0, -1, 0});
  EXPECT_EQ(answersOf(runsOf(before(5, first, 4) + before(6, second, 4) + before(7, third, 4) +
                             headOf(5) + headOf(6) + doneLine(0) + '\n' + headOf(7) + doneLine(-1) +
                             headOf(5) + first[5] + "\n\n" + doneLine(0) + '\n' +
                             after(5, first, 6) + after(6, second, 5) + after(7, third, 5))),
            (Texts{"5 partly: ? 0 -1 0", "6 partly: ? 0 -1 0", "7 partly: ? 0 -1 0"}));
}

TEST(WeaveLines, NextLineOfOneRun_TellsWhatItWroteBefore) {
  // Who goes on with a file has started communication: the refusal is of another one.
  const Texts first = incident({0, -1});
  const Texts refused = unsent("not Super-User", 65);
  EXPECT_EQ(answersOf(runsOf(before(5, first, 1) + before(6, refused, 1) + before(7, refused, 1) +
                             headOf(7) + headOf(6) + headOf(5) + refused[1] + first[1] + '\n' +
                             headOf(5) + first[2] + "\n\n" + refused[1] + '\n' +
                             after(5, first, 3) + after(6, refused, 2) + after(7, refused, 2))),
            (Texts{"5 partly: 0 -1", "6 not-sent:", "7 not-sent:"}));
}

TEST(WeaveLines, RunWhoseLineBeforeIsKnown_TakesNoTextThatCannotFollowIt) {
  // Of the last two runs one goes on with its file: the other one is refused, and of the three
  // texts that follow the refusals it has written the one that fits. So the first run has written
  // none that does, was not refused itself, and the second one was.
  const Texts run = incident({0, 0});
  const Texts refused = unsent("not Super-User", 65);
  std::string log;
  for (const int pid : {5, 6, 7, 8}) log += linesOf(pid, {kStartedLine});
  log += headOf(7) + headOf(8) + run[1] + refused[1] + headOf(7) + headOf(8);
  log += headOf(5) + headOf(6) + run[1] + refused[1] + headOf(5);
  log += run[2] + run[2] + kNoTempDirLine + headOf(7) + run[3];
  EXPECT_EQ(answersOf(runsOf(log)),
            (Texts{"5 unknown:", "6 not-sent:", "7 unknown: ?", "8 not-sent:"}));
}

TEST(WeaveLines, TextThatTurnsOutToBeNobodys_TearsThemAll) {
  // The second run was refused and came to its end without it; the first one was not refused.
  const Texts run = incident({0, 0});
  const Texts refused = unsent("not Super-User", 65);
  const std::string log = before(5, run, 1) + before(6, refused, 1) + headOf(5) + headOf(6) +
                          run[1] + refused[1] + headOf(5) + headOf(6);
  const std::string rest = headOf(6) + refused[3] + run[2] + "\n\n\n\n\n" + after(5, run, 3);
  EXPECT_EQ(answersOf(runsOf(log + refused[2] + rest)), (Texts{"6 not-sent:", "5 delivered: 0 0"}));
  EXPECT_EQ(answersOf(runsOf(log + kNoTempDirLine + refused[2] + rest)),
            (Texts{"6 unknown:", "5 unknown: 0 0"}));
}

TEST(WeaveLines, LineThatLostItsText_LeavesTheOthersInTheirPlaces) {
  // The second head of the first run says that the text of its line before is lost.
  const Texts first = incident({0, 0});
  const Texts second = incident({-7, 0});
  const std::vector<outcome::Run> runs =
      runsOf(before(5, first, 3) + before(6, second, 4) + headOf(6) + headOf(5) + headOf(5) +
             second[4] + first[3] + "\n\n" + after(5, first, 4) + after(6, second, 5));
  ASSERT_EQ(answersOf(runs), (Texts{"5 unknown: 0 0", "6 unknown: -7 0"}));
  EXPECT_EQ(runs[0].identity, "42");
}

TEST(WeaveLines, LineThatHasItsText_TakesNoOtherWhileOneBeforeItIsOpen) {
  // Which of the first two has started communication is not known yet, but that the trace line is
  // of the first one, and what comes then of the third.
  const std::string trace = "[T](common:536): WIFSIGNALED:0    WTERMSIG:0";
  const Texts run = incident({0, 0});
  const Texts other = inserted(run, 1, kMissingLine);
  const std::vector<outcome::Run> runs =
      runsOf(before(5, run, 1) + before(6, other, 1) + before(7, run, 1) + headOf(5) + headOf(6) +
             run[1] + other[1] + headOf(5) + trace + headOf(7) + run[1] + "\n\n\n\n" +
             after(5, run, 2) + after(6, other, 2) + after(7, run, 2));
  EXPECT_EQ(answersOf(runs), (Texts{"5 delivered: 0 0", "6 partly: 0 0", "7 delivered: 0 0"}));
  for (const outcome::Run& one : runs) EXPECT_EQ(one.torn, 0) << one.pid;
}

TEST(WeaveLines, TextsThatOneLineMayHaveOfTwoGroups_AreOneGroup) {
  // The third run has started communication, and not begun its file: otherwise the first one would
  // have had two texts. So it was the one with the missing file before.
  const Texts run = incident({0, 0});
  const Texts other = inserted(run, 1, kMissingLine);
  std::string log = before(1, run, 1) + before(2, run, 2) + before(3, other, 1) +
                    before(4, run, 2) + before(5, run, 1);
  log += headOf(3) + headOf(5) + run[1] + other[1] + headOf(3) + headOf(1) + headOf(2) + headOf(4);
  log += run[1] + run[2] + run[2] + run[1] + "\n\n\n\n\n\n";
  log += after(1, run, 2) + after(2, run, 3) + after(3, other, 3) + after(4, run, 3) +
         after(5, run, 2);
  EXPECT_EQ(answersOf(runsOf(log)), (Texts{"1 delivered: 0 0", "2 delivered: 0 0", "3 partly: 0 0",
                                           "4 delivered: 0 0", "5 delivered: 0 0"}));
}

TEST(WeaveLines, TextThatFindsItsLine_TellsAtOnceOfTheLinesBefore) {
  // The third run was refused before, so its text is the elapsed time: the first one, which has
  // gone on, has begun its file then, and was not refused, but the second one was.
  const Texts run = incident({0, 0});
  const Texts refused = unsent("not Super-User", 65);
  std::string log = before(5, run, 1) + before(6, refused, 1) + before(7, refused, 2) +
                    before(8, refused, 2) + before(9, run, 2) + before(10, run, 2);
  log += headOf(5) + headOf(6) + run[1] + refused[1] + headOf(5);
  for (const int pid : {7, 8, 9, 10}) log += headOf(pid);
  log += refused[2] + run[2] + run[2] + headOf(5) + headOf(7);
  EXPECT_EQ(answersOf(runsOf(log)), (Texts{"5 unknown:", "6 not-sent:", "7 not-sent:",
                                           "8 not-sent:", "9 unknown:", "10 unknown:"}));
}

TEST(WeaveLines, RunsThatEndTogether_AreGivenBeforeAnythingFollows) {
  const Texts run = incident({0, 0});
  std::size_t given = 0;
  outcome::Reader reader([&](const outcome::Run& one) {
    EXPECT_STREQ(wordOf(one.verdict), "delivered");
    ++given;
  });
  reader.feed(before(5, run, 9) + before(6, run, 9) + headOf(5) + headOf(6) + run[9] + '\n');
  EXPECT_EQ(given, 0U);
  reader.feed(run[9] + '\n');
  EXPECT_EQ(given, 2U);
}

TEST(WeaveLines, RunsAfterTornOnes_AreToldAsAnyOthers) {
  // Nobody has written the text among the first two, and all is given up.
  const Texts first = incident({0, 0});
  const Texts second = incident({-7, 0});
  const Texts refused = unsent("not Super-User", 65);
  const std::string torn = before(1, first, 1) + before(2, refused, 1) + headOf(1) + headOf(2) +
                           first[1] + refused[1] + headOf(1) + headOf(2) + kNoTempDirLine +
                           refused[2] + headOf(2) + refused[3] + first[2] + "\n\n\n\n\n" +
                           after(1, first, 3);
  const Texts answers =
      answersOf(runsOf(torn + before(5, first, 3) + before(6, second, 4) + headOf(5) + headOf(6) +
                       second[4] + first[3] + "\n\n" + after(5, first, 4) + after(6, second, 5)));
  ASSERT_GE(answers.size(), 2U);
  EXPECT_EQ(answers[answers.size() - 2], "5 delivered: 0 0");
  EXPECT_EQ(answers.back(), "6 partly: -7 0");
}

TEST(WeaveLines, SixteenThatWait_AreNotKeptAnyLonger) {
  // What each has written its next line would tell.
  const Texts run = incident({0, 0});
  const Texts other = inserted(run, 1, kMissingLine);
  for (const int number : {15, 16}) {
    std::string heads;
    std::string texts;
    std::string rest;
    for (int pid = 1; pid <= number; ++pid) {
      heads += before(pid, run, 1);
      texts += (pid == 1 ? other[1] : run[1]) + '\n';
      rest += after(pid, pid == 1 ? other : run, 2);
    }
    for (int pid = 1; pid <= number; ++pid) heads += headOf(pid);
    const std::vector<outcome::Run> runs = runsOf(heads + texts + rest);
    ASSERT_EQ(runs.size(), static_cast<std::size_t>(number));
    for (const outcome::Run& one : runs) {
      EXPECT_EQ(one.torn, number < 16 ? 0 : 1) << one.pid;
      if (number < 16) {
        EXPECT_STREQ(wordOf(one.verdict), one.pid == 1 ? "partly" : "delivered") << one.pid;
      }
    }
  }
}

TEST(WeaveLines, TwoRunsThatNeedOneText_AreTorn) {
  // Two have begun a file, and communication was started once.
  const Texts run = incident({0, 0});
  const Texts refused = unsent("not Super-User", 65);
  std::string log;
  for (const int pid : {5, 6, 7, 8}) log += linesOf(pid, {kStartedLine});
  for (const int pid : {5, 6, 7, 8}) log += headOf(pid);
  log += run[1] + refused[1] + refused[1] + headOf(5) + headOf(6) + run[2] + run[2];
  log += "\n\n\n\n\n" + after(5, run, 3) + after(6, run, 3);
  const std::vector<outcome::Run> runs = runsOf(log);
  EXPECT_EQ(answersOf(runs),
            (Texts{"5 unknown: 0 0", "6 unknown: 0 0", "7 unknown:", "8 unknown:"}));
  for (const outcome::Run& one : runs) {
    EXPECT_EQ(one.reason, "its lines are torn: which of them are its own cannot be told");
  }
}

}  // namespace
