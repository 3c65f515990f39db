// What a run may write next, and what each line means for its verdict.

#include "tools/outcome/progress.h"

#include <gtest/gtest.h>

#include "tools/logbytes.h"

using outcome::Progress;
using outcome::Verdict;
using Phase = outcome::Progress::Phase;

namespace {

constexpr char kRefused[] = "not Super-User";
constexpr char kOther[] = "[T](SendEventBase:486):x";

/// What a run has come to by these lines, the first ones of it.
Progress progressAfter(const Texts& messages) {
  Progress progress;
  for (const std::string& message : messages) progress.advance(outcome::readMessage(message));
  return progress;
}

Texts joined(Texts texts, const Texts& more) {
  texts.insert(texts.end(), more.begin(), more.end());
  return texts;
}

/// An incident of two files, of which so many lines are written.
Texts linesOfIncident(std::size_t count) { return firstOf(incident({0, 0, 0, 0}), count); }

/// An error event with three files, of which so many lines are written.
Texts linesOfEvent(std::size_t count) { return firstOf(event({0, 0}), count); }

/// The letters of all messages that are accepted next.
std::string acceptedBy(const Progress& progress) {
  const std::pair<char, std::string> messages[] = {
      {'S', kStartedLine},
      {'o', kOther},
      {'R', kRefused},
      {'C', kStartComm},
      {'m', kMissingLine},
      {'1', loopLine(1, 2)},
      {'2', loopLine(2, 2)},
      {'3', loopLine(1, 3)},
      {'i', incidentCall(1, 2)},
      {'j', incidentCall(2, 2)},
      {'k', incidentCall(1, 3)},
      {'e', kEventCall},
      {'d', dataCall("/a")},
      {'f', dataCall("/a", "0x4010d", 3)},
      {'g', dataCall("/a", "0x4010d", 2)},
      {'D', doneLine(0)},
      {'O', kOk},
      {'E', kError},
      {'t', kNoTempDirLine},
      {'L', kElapsedLine},
      {'X', exitLine(0)},
      {'u', "nothing that the command writes"},
  };
  std::string accepted;
  for (const auto& [letter, text] : messages) {
    if (progress.accepts(outcome::readMessage(text))) accepted += letter;
  }
  return accepted;
}

TEST(Accepts, EachLineOfAnIncident_HasItsNext) {
  const std::pair<std::size_t, std::string> rows[] = {
      {0, "SoRCm123ijkedfgDOEtLX"},
      {1, "oRCmL"},  // started
      {2, "o13"},    // communication started
      {3, "oie"},    // loop: what it is, the call says
      {4, "oD"},
      {5, "od"},
      {6, "oD"},
      {7, "o2"},
      {8, "oj"},
      {9, "oD"},
      {10, "od"},
      {11, "oD"},
      {12, "oOE"},
      {13, "otL"},
      {14, "X"},
      {15, ""},
  };
  for (const auto& [count, accepted] : rows) {
    EXPECT_EQ(acceptedBy(progressAfter(linesOfIncident(count))), accepted) << count;
  }
}

TEST(Accepts, EachLineOfAnEvent_HasItsNext) {
  const std::pair<std::size_t, std::string> rows[] = {
      {3, "oke"}, {4, "oD"}, {5, "of"}, {6, "oD"}, {7, "oOE"}, {8, "otL"}, {9, "X"}, {10, ""},
  };
  for (const auto& [count, accepted] : rows) {
    EXPECT_EQ(acceptedBy(progressAfter(linesOfEvent(count))), accepted) << count;
  }
}

TEST(Accepts, ARunThatSendsNothing_HasItsNext) {
  EXPECT_EQ(acceptedBy(progressAfter({kStartedLine, kRefused})), "otL");
  EXPECT_EQ(acceptedBy(progressAfter({kStartedLine, kMissingLine})), "oRCmL");
  EXPECT_EQ(acceptedBy(progressAfter({kStartedLine, kElapsedLine})), "X");
}

TEST(Accepts, ALineBeforeTheFirst_LeavesNoFirst) {
  for (const char* before : {kOther, kNoTempDirLine}) {
    EXPECT_EQ(progressAfter({before}).phase, Phase::kNowhere);
    EXPECT_FALSE(progressAfter({before}).accepts(outcome::readMessage(kStartedLine))) << before;
  }
}

TEST(Accepts, TheNextPart_GoesOnFromTheOneBefore) {
  const auto accepts = [](const Progress& progress, const std::string& text) {
    return progress.accepts(outcome::readMessage(text));
  };
  const Progress first = progressAfter(linesOfIncident(7));
  EXPECT_FALSE(accepts(first, loopLine(2, 3)));
  EXPECT_FALSE(accepts(first, loopLine(3, 2)));
  const Progress begun = progressAfter(linesOfIncident(2));
  EXPECT_TRUE(accepts(begun, loopLine(1, 1)));
  EXPECT_FALSE(accepts(begun, loopLine(1, 0)));
  EXPECT_FALSE(accepts(progressAfter(linesOfIncident(8)), kEventCall));
  EXPECT_FALSE(accepts(progressAfter(linesOfIncident(5)), dataCall("/a", "0x4010b", 2)));
}

TEST(Equality, HoldsAllThatIsKnown) {
  EXPECT_EQ(progressAfter(linesOfIncident(15)), progressAfter(linesOfIncident(15)));
  for (std::size_t count = 0; count < 15; ++count) {
    EXPECT_FALSE(progressAfter(linesOfIncident(count)) ==
                 progressAfter(linesOfIncident(count + 1)));
  }
}

TEST(Expected, IsKnownOnceModeAndTotalAre) {
  EXPECT_EQ(progressAfter(linesOfIncident(2)).expected(), 0);
  EXPECT_EQ(progressAfter(linesOfIncident(3)).expected(), 0);
  EXPECT_EQ(progressAfter(linesOfIncident(4)).expected(), 4);
  EXPECT_EQ(progressAfter(linesOfEvent(4)).expected(), 2);
  EXPECT_EQ(progressAfter({kEventCall}).expected(), 0);
  EXPECT_EQ(progressAfter({dataCall("/a", "0x4010d", 3)}).expected(), 2);
  EXPECT_EQ(progressAfter({dataCall("/a")}).expected(), 0);
}

TEST(Advance, AnswersAreCountedByWhatTheyTell) {
  const auto answered = [](const Texts& answers) {
    const Progress progress = progressAfter(joined(linesOfEvent(4), answers));
    return Texts{std::to_string(progress.accepted), std::to_string(progress.doubtful),
                 std::to_string(progress.uncertain), std::to_string(progress.failed)};
  };
  EXPECT_EQ(answered({doneLine(0)}), (Texts{"0", "1", "0", "0"}));
  EXPECT_EQ(answered({doneLine(5)}), (Texts{"0", "0", "0", "1"}));
  EXPECT_EQ(answered({doneLine(0, "() RL:0,ZW-Agent:0,Mailsvr:\"\"")}),
            (Texts{"0", "0", "1", "0"}));
  // After another answer than 0 one of 0 is the call's own, and the one after it a repetition
  // again.
  EXPECT_EQ(answered({doneLine(5), dataCall("/a", "0x4010d", 3), doneLine(0)}),
            (Texts{"1", "0", "0", "1"}));
  EXPECT_EQ(answered({doneLine(0), dataCall("/a", "0x4010d", 3), doneLine(0)}),
            (Texts{"0", "2", "0", "0"}));
}

TEST(Advance, WhatMustHaveBeenAnswered_MayHaveBeenAnything) {
  EXPECT_EQ(progressAfter({loopLine(1, 3)}).uncertain, 0);
  EXPECT_EQ(progressAfter({loopLine(3, 3)}).uncertain, 4);
  EXPECT_EQ(progressAfter({incidentCall(3, 3)}).uncertain, 4);
  EXPECT_EQ(progressAfter({loopLine(3, 3), dataCall("/a")}).uncertain, 5);
  EXPECT_EQ(progressAfter({dataCall("/a")}).uncertain, 1);
  EXPECT_EQ(progressAfter({kEventCall}).uncertain, 0);
  EXPECT_EQ(progressAfter(joined(linesOfIncident(4), {kOk})).uncertain, 4);
  EXPECT_EQ(progressAfter(joined(linesOfIncident(4), {kElapsedLine})).uncertain, 4);
  EXPECT_EQ(progressAfter(joined(linesOfIncident(4), {exitLine(0)})).uncertain, 4);
  EXPECT_EQ(progressAfter({kStartedLine, exitLine(0)}).uncertain, 0);
  // What was answered is not counted twice, and nothing is known of the answer before.
  const Progress after =
      progressAfter(joined(linesOfIncident(4), {doneLine(7), loopLine(2, 2), incidentCall(2, 2)}));
  EXPECT_EQ(after.failed, 1);
  EXPECT_EQ(after.uncertain, 1);
  EXPECT_FALSE(after.wasNonzero);
}

TEST(Advance, WhereCallsAreLost_AnswersTellThePart) {
  EXPECT_EQ(progressAfter(joined(linesOfIncident(7), {doneLine(0)})).part, 2);
  EXPECT_EQ(progressAfter(joined(linesOfIncident(7), {doneLine(0)})).phase, Phase::kNotified);
  EXPECT_EQ(progressAfter(joined(linesOfIncident(7), {dataCall("/b")})).part, 2);
  EXPECT_EQ(progressAfter(joined(linesOfIncident(5), {dataCall("/b")})).part, 1);
  EXPECT_EQ(progressAfter(joined(linesOfIncident(5), {doneLine(0)})).phase, Phase::kCommunicating);
  EXPECT_EQ(progressAfter(joined(linesOfIncident(6), {doneLine(0)})).phase, Phase::kCommunicating);
  EXPECT_EQ(progressAfter({doneLine(0)}).phase, Phase::kNotified);
}

TEST(Advance, ALineOfTheTransmission_SaysThatItHasStarted) {
  for (const std::string& line : {loopLine(1, 1), incidentCall(1, 1), std::string(kEventCall),
                                  dataCall("/a"), doneLine(0), std::string(kOk)}) {
    EXPECT_TRUE(progressAfter({line}).hasStarted) << line;
    EXPECT_TRUE(progressAfter({line}).mayMiss) << line;
  }
  EXPECT_EQ(progressAfter({incidentCall(1, 1)}).part, 1);
  EXPECT_EQ(progressAfter({dataCall("/a", "0x4010d", 3)}).part, 1);
}

TEST(Advance, LinesThatDoNotFollow_AreCountedAsLost) {
  EXPECT_EQ(progressAfter(linesOfIncident(15)).torn, 0);
  EXPECT_EQ(progressAfter({kStartedLine, kOk}).torn, 1);
  EXPECT_EQ(progressAfter(joined(linesOfIncident(15), {kElapsedLine})).torn, 1);
  // These two have no place of their own in a run.
  EXPECT_EQ(progressAfter(joined(linesOfIncident(14), {kOther})).torn, 0);
  EXPECT_EQ(progressAfter(joined(linesOfIncident(4), {kMissingLine})).torn, 0);
}

TEST(Advance, WithoutALineBeforeCommunication_AFileMayHaveBeenMissing) {
  EXPECT_FALSE(progressAfter(linesOfIncident(15)).mayMiss);
  EXPECT_TRUE(progressAfter({kStartComm}).mayMiss);
  EXPECT_TRUE(progressAfter({kStartedLine, loopLine(1, 1)}).mayMiss);
  EXPECT_TRUE(progressAfter({kStartedLine, doneLine(0)}).mayMiss);
  EXPECT_TRUE(progressAfter({kStartedLine, kOk}).mayMiss);
  Progress before = progressAfter({kStartedLine});
  before.lose();
  EXPECT_TRUE(before.mayMiss);
  EXPECT_EQ(before.torn, 1);
  Progress after = progressAfter(linesOfIncident(2));
  after.lose();
  EXPECT_FALSE(after.mayMiss);
}

TEST(VerdictsOfProgress, AreAllThatTheLinesLeave) {
  const struct {
    const char* what;
    Texts lines;
    std::set<Verdict> verdicts;
  } rows[] = {
      {"nothing", {}, {Verdict::kUnknown}},
      {"begun", {kStartedLine}, {Verdict::kUnknown}},
      {"ended, and why is not said",
       {kStartedLine, kElapsedLine, exitLine(1)},
       {Verdict::kNotSent}},
      {"without its beginning", {kElapsedLine, exitLine(1)}, {Verdict::kUnknown}},
      {"with a line lost", {kStartedLine, exitLine(1)}, {Verdict::kUnknown}},
      {"refused before anything", {kRefused}, {Verdict::kNotSent}},
      {"refused by the centre", {kStartedLine, kStartComm, kCancel}, {Verdict::kNotSent}},
      {"all accepted", event({0, 0}), {Verdict::kDelivered}},
      {"a file missing", inserted(event({0, 0}), 1, kMissingLine), {Verdict::kPartly}},
      {"one of two", event({0, 7}, kError), {Verdict::kPartly, Verdict::kRefused}},
      {"one of two, in this order", event({7, 0}, kError), {Verdict::kPartly}},
      {"none", event({7, 7}, kError), {Verdict::kRefused}},
      {"all thrown, or accepted", event({0, 0}, kError), {Verdict::kPartly, Verdict::kRefused}},
      {"cut before the end", linesOfEvent(7), {Verdict::kPartly, Verdict::kRefused}},
      {"an answer lost", joined(linesOfEvent(6), {kOk}), {Verdict::kDelivered, Verdict::kPartly}},
      {"of so many as nobody knows", {kEventCall, doneLine(0)}, {Verdict::kUnknown}},
      {"more answers than asked", joined(linesOfEvent(7), {doneLine(0), kOk}), {Verdict::kUnknown}},
  };
  for (const auto& row : rows) {
    EXPECT_EQ(progressAfter(row.lines).verdicts(), row.verdicts) << row.what;
  }
}

}  // namespace
