// What is lost, met or torn in a log, and what may still be said of its runs.

#include "tools/outcome/reader.h"

#include <gtest/gtest.h>

#include "tools/logbytes.h"

namespace {

constexpr char kTornText[] = "RM_Communicate done (code='0";
constexpr char kChild[] = "VUQ90004L : pid=7843,wstat=00000000";

/// Messages with another one in a place.
Texts replaced(Texts messages, std::size_t at, const std::string& message) {
  messages[at] = message;
  return messages;
}

std::string linesFrom(int pid, const Texts& messages, std::size_t first) {
  return linesOf(pid, {messages.begin() + static_cast<std::ptrdiff_t>(first), messages.end()});
}

std::string linesUpTo(int pid, const Texts& messages, std::size_t last) {
  return linesOf(pid, {messages.begin(), messages.begin() + static_cast<std::ptrdiff_t>(last)});
}

/// The call of an incident whose number leaves no room for the rest of it, in so many bytes.
std::string cutCall(std::size_t bytes) {
  std::string text = "RM_Communicate call (param=0x40017 0 0 INCNO=\"";
  text.resize(bytes - 1, '9');
  return text + '\0';
}

TEST(Losses, NumberThatFillsItsLine_IsRead) {
  const outcome::Run run = runsOf(linesOf(7, replaced(incident({0, 0}), 3, cutCall(2047)))).at(0);
  EXPECT_STREQ(wordOf(run.verdict), "delivered");
}

TEST(Losses, RunAlone_IsWhatIsCertain) {
  const struct {
    const char* what;
    Texts messages;
    const char* verdict;
    const char* reason;
    int torn;
  } rows[] = {
      {"two answers met",
       {kStartedLine, kStartComm, loopLine(1, 1), incidentCall(1, 1),
        doneLine(-1) + dataCall("/a") + doneLine(0), kOk, kElapsedLine, exitLine(0)},
       "partly",
       "1 of 2 exchanges failed: notification 1: -1",
       1},
      {"an answer met a message of no part in the outcome",
       replaced(incident({0, -1}), 6, kChild + doneLine(-1)), "partly",
       "1 of 2 exchanges failed: /file1: -1", 1},
      {"a torn line before communication", inserted(incident({0, 0}), 1, kTornText), "unknown",
       "1 line missing or torn", 1},
      {"a torn line, and no communication",
       {kStartedLine, kTornText, kElapsedLine, exitLine(5)},
       "unknown",
       "1 line missing or torn",
       1},
      {"the end alone",
       {kElapsedLine, exitLine(5)},
       "unknown",
       "the beginning is not in the log",
       0},
      {"a refusal after answers",
       {kStartedLine, kStartComm, loopLine(1, 1), incidentCall(1, 1), doneLine(-1), dataCall("/a"),
        doneLine(-1), "EventType param error.", kElapsedLine, exitLine(68)},
       "refused",
       "2 of 2 exchanges failed: notification 1: -1",
       1},
      {"an answer too many", inserted(incident({-1, -1}), 5, doneLine(-1)), "unknown",
       "3 lines missing or torn", 3},
      {"a refusal after the second file's line",
       {kStartedLine, kStartComm, loopLine(2, 2), "EventType param error.", kElapsedLine,
        exitLine(68)},
       "unknown",
       "2 lines missing or torn",
       2},
      {"a refusal after a transfer",
       {kStartedLine, kStartComm, dataCall("/a"), "EventType param error.", kElapsedLine,
        exitLine(68)},
       "unknown",
       "2 lines missing or torn",
       2},
      {"a refusal after the last line of a transmission",
       {kStartedLine, kStartComm, loopLine(1, 1), incidentCall(1, 1), kOk,
        "EventType param error."},
       "unknown",
       "the end is not in the log",
       2},
      {"a call whose end is cut", replaced(event({0, 0}), 3, std::string(kEventCall).substr(0, 60)),
       "delivered", "all 2 exchanges accepted", 3},
      {"a number that fills its line, and more", replaced(incident({0, 0}), 3, cutCall(2048)),
       "delivered", "all 2 exchanges accepted", 3},
      {"a number that leaves room in its line", replaced(incident({0, 0}), 3, cutCall(2046)),
       "delivered", "all 2 exchanges accepted", 3},
      {"the call of another file", replaced(incident({0, 0, 0, 0}), 3, incidentCall(2, 2)),
       "unknown", "2 lines missing or torn", 2},
  };
  for (const auto& row : rows) {
    SCOPED_TRACE(row.what);
    const std::vector<outcome::Run> runs = runsOf(linesOf(7, row.messages));
    ASSERT_EQ(runs.size(), 1u);
    EXPECT_STREQ(wordOf(runs[0].verdict), row.verdict);
    EXPECT_EQ(runs[0].reason, row.reason);
    EXPECT_EQ(runs[0].torn, row.torn);
  }
}

TEST(Losses, TextBetweenTwoHeadsOfARun_MayHaveToldOfAMissingFile) {
  const Texts run = incident({0, 0});
  const outcome::Run found = runsOf(linesUpTo(7, run, 1) + headOf(7) + linesFrom(7, run, 1)).at(0);
  EXPECT_STREQ(wordOf(found.verdict), "unknown");
  EXPECT_EQ(found.reason, "1 line missing or torn");
}

TEST(Losses, CallsThatMet_AreBothRead) {
  Texts messages = incident({0, 0});
  messages[2] += messages[3];
  messages.erase(messages.begin() + 3);
  const outcome::Run run = runsOf(linesOf(7, messages)).at(0);
  EXPECT_STREQ(wordOf(run.verdict), "delivered");
  EXPECT_EQ(run.identity, "42");
  EXPECT_EQ(run.exchanges.size(), 2u);
}

TEST(Losses, LastLinesThatMet_EndTheRun) {
  const Texts run = incident({0, 0});
  EXPECT_EQ(
      verdictsOf(runsOf(linesUpTo(7, run, 8) + linesOf(7, {run[8] + run[9]}) + linesOf(7, run))),
      (Texts{"7 delivered", "7 delivered"}));
}

TEST(Losses, BesideAnotherRun_LeaveBothOpen) {
  const Texts run = incident({0, 0});
  const struct {
    const char* what;
    std::string between;  // two runs of which one is after its call, and one after its start
    std::size_t next = 4;
  } rows[] = {
      {"two heads", headOf(5)},
      {"texts that met", headOf(5) + doneLine(0) + doneLine(0) + '\n'},
      {"a text without a head", doneLine(0) + '\n'},
      {"a line feed too many", "\n"},
      {"an answer of nobody", headOf(6) + doneLine(0) + '\n'},
      {"texts that fit nobody", headOf(5) + headOf(6) + exitLine(0) + kOk + "\n\n"},
      {"two answers for one", headOf(5) + headOf(6) + doneLine(0) + doneLine(0) + "\n\n"},
      {"texts that met and fit", headOf(5) + doneLine(0) + dataCall("/a") + '\n', 6},
      {"one text for two", headOf(5) + headOf(6) + kChild + headOf(5) + headOf(6) + kChild},
  };
  for (const auto& row : rows) {
    SCOPED_TRACE(row.what);
    const std::vector<outcome::Run> runs =
        runsOf(linesUpTo(5, run, 4) + linesUpTo(6, run, 2) + row.between +
               linesFrom(5, run, row.next) + linesFrom(6, run, 2));
    ASSERT_EQ(verdictsOf(runs), (Texts{"5 unknown", "6 unknown"}));
    for (const outcome::Run& one : runs) {
      EXPECT_EQ(one.reason, "its lines are torn: which of them are its own cannot be told");
    }
  }
}

TEST(Losses, TextOfNobodyAmongThoseOfTwoRuns_LeavesBothOpen) {
  const Texts run = incident({0, 0});
  const auto verdicts = [&run](const std::string& text) {
    return verdictsOf(runsOf(linesUpTo(5, run, 4) + linesUpTo(6, run, 2) + headOf(5) + headOf(6) +
                             text + run[4] + run[2] + "\n\n" + linesFrom(5, run, 5) +
                             linesFrom(6, run, 3)));
  };
  EXPECT_EQ(verdicts(""), (Texts{"5 delivered", "6 delivered"}));
  EXPECT_EQ(verdicts(exitLine(0) + '\n'), (Texts{"5 unknown", "6 unknown"}));
}

TEST(Losses, TextOfAProcessWhoseHeadIsBeforeTheLog_IsNotOfTheOneRunThatIsKnown) {
  const Texts run = incident({-1, -1});
  const struct {
    const char* what;
    std::string log;
  } rows[] = {
      {"between lines", linesUpTo(5, run, 4) + doneLine(0) + '\n' + linesFrom(5, run, 4)},
      {"after a head", linesUpTo(5, run, 4) + headOf(5) + doneLine(0) + doneLine(-1) + "\n\n" +
                           linesFrom(5, run, 5)},
      {"where the run gets no answer",
       linesUpTo(5, run, 7) + doneLine(0) + '\n' + linesFrom(5, run, 7)},
  };
  for (const auto& row : rows) {
    EXPECT_EQ(verdictsOf(runsOf(row.log)), Texts{"5 unknown"}) << row.what;
  }
}

TEST(Losses, HeadLostBeforeCommunication_MayHaveCostAMissingFileItsLine) {
  const Texts run = incident({0, 0});
  for (const std::string& lost : {kStartComm + std::string("\n") + linesFrom(5, run, 2),
                                  headOf(5).substr(0, 13) + run[1] + '\n' + linesFrom(5, run, 1),
                                  '\n' + headOf(5) + run[1] + '\n' + linesFrom(5, run, 2)}) {
    const std::string log = linesUpTo(5, run, 1) + (lost.front() == '\n' ? headOf(5) : "") + lost;
    const std::vector<outcome::Run> runs = runsOf(log);
    ASSERT_EQ(verdictsOf(runs), Texts{"5 unknown"}) << log;
    EXPECT_EQ(runs[0].torn, 1) << log;
  }
}

TEST(Losses, HeadLostLater_CostsNothingElse) {
  const Texts run = incident({0, 0});
  const std::vector<outcome::Run> runs =
      runsOf(linesUpTo(5, run, 4) + run[4] + '\n' + linesFrom(5, run, 5));
  ASSERT_EQ(verdictsOf(runs), Texts{"5 delivered"});
  EXPECT_EQ(runs[0].torn, 1);
  EXPECT_EQ(verdictsOf(runsOf(linesUpTo(5, run, 9) + run[9] + '\n' + linesOf(5, run))),
            (Texts{"5 delivered", "5 delivered"}));
}

TEST(Losses, HeadOfAMessageOfNoPartInTheOutcome_IsNotMissed) {
  const Texts run = incident({0, 0});
  const std::vector<outcome::Run> runs =
      runsOf(linesUpTo(5, run, 1) + linesUpTo(6, run, 4) + kChild + '\n' + linesFrom(5, run, 1) +
             linesFrom(6, run, 4));
  ASSERT_EQ(verdictsOf(runs), (Texts{"5 delivered", "6 delivered"}));
  EXPECT_EQ(runs[0].torn + runs[1].torn, 0);
}

TEST(Losses, LogEndsAmongTornLines_TheyAreCounted) {
  const Texts run = incident({0, 0});
  const auto runs =
      runsOf(linesUpTo(5, run, 3) + linesUpTo(6, run, 3) + headOf(5) + headOf(6) + run[3] + '\n');
  ASSERT_EQ(verdictsOf(runs), (Texts{"5 unknown", "6 unknown"}));
  for (const outcome::Run& one : runs) {
    EXPECT_EQ(one.torn, 1);
    EXPECT_EQ(one.exchanges.size(), 1U);
    EXPECT_EQ(one.identity, std::nullopt);
  }
  // Heads alone are no lines yet.
  for (const outcome::Run& one :
       runsOf(linesUpTo(5, run, 3) + linesUpTo(6, run, 3) + headOf(5) + headOf(6))) {
    EXPECT_EQ(one.torn, 0);
    EXPECT_EQ(one.exchanges.size(), 0U);
  }
}

TEST(Torn, AnswersOfTwoRuns_AreOfNeither) {
  const Texts run = incident({0, 0});
  const auto runs =
      runsOf(linesUpTo(5, run, 4) + linesUpTo(6, run, 4) + headOf(5) + headOf(6) + doneLine(0) +
             doneLine(-1) + "\n\n" + linesFrom(5, run, 5) + linesFrom(6, run, 5));
  ASSERT_EQ(verdictsOf(runs), (Texts{"5 unknown", "6 unknown"}));
  for (const outcome::Run& one : runs) {
    EXPECT_EQ(one.exchanges.at(0).code, std::nullopt);
    EXPECT_EQ(one.exchanges.at(0).error, std::nullopt);
    EXPECT_EQ(one.exchanges.at(1).code, 0);
  }
}

TEST(Torn, BeginningAfterADisputedRun_IsARun) {
  const Texts run = incident({0, 0});
  const auto runs =
      runsOf(linesUpTo(5, run, 5) + linesOf(5, run) + headOf(5) + headOf(6) + kStartedLine +
             kStartedLine + "\n\n" + linesFrom(5, run, 1) + linesFrom(6, run, 1));
  EXPECT_EQ(verdictsOf(runs), (Texts{"5 unknown", "5 unknown", "5 delivered", "6 delivered"}));
}

TEST(Torn, LossShownBeforeTheLineOfAnExitIsWhole_IsTheRunsAsWell) {
  const Texts run = incident({0, 0});
  const std::string log =
      linesUpTo(8, run, 4) + linesUpTo(9, run, 4) + linesUpTo(7, run, 9) + headOf(7) + run[9];
  const std::string rest = linesFrom(8, run, 4) + linesFrom(9, run, 4);
  EXPECT_EQ(verdictsOf(runsOf(log + '\n' + rest)),
            (Texts{"7 delivered", "8 delivered", "9 delivered"}));
  EXPECT_EQ(verdictsOf(runsOf(log + headOf(8) + '\n' + rest)),
            (Texts{"7 unknown", "8 unknown", "9 unknown"}));
  EXPECT_EQ(verdictsOf(runsOf(log + headOf(8) + headOf(9) + '\n' + kOk + '\n' + rest)),
            (Texts{"7 unknown", "8 unknown", "9 unknown"}));
}

TEST(Torn, RunThatBeginsAmongMixedLinesWithoutItsBeginning_MayHaveAnothersText) {
  const Texts run = incident({0, 0});
  const Texts other = inserted(run, 1, kMissingLine);
  const std::string started = headOf(7) + kStartedLine;
  EXPECT_EQ(verdictsOf(runsOf(started + '\n' + linesFrom(8, other, 1) + linesFrom(7, run, 1))),
            (Texts{"8 partly", "7 delivered"}));
  EXPECT_EQ(verdictsOf(runsOf(started + headOf(8) + other[1] + "\n\n" + linesFrom(8, other, 2) +
                              linesFrom(7, run, 1))),
            (Texts{"8 unknown", "7 unknown"}));
  EXPECT_EQ(verdictsOf(runsOf(started + headOf(8) + '\n' + other[1] + '\n' +
                              linesFrom(8, other, 2) + linesFrom(7, run, 1))),
            (Texts{"8 unknown", "7 unknown"}));
  EXPECT_EQ(verdictsOf(runsOf(started + '\n' + headOf(8) + headOf(7) + other[1] + run[1] + "\n\n" +
                              linesFrom(8, other, 2) + linesFrom(7, run, 2))),
            (Texts{"8 unknown", "7 unknown"}));
}

TEST(Torn, TextsOfTwoKinds_AreTheirsOnceTheRunsGoOn) {
  const Texts run = incident({0, 0});
  const Texts other = inserted(run, 1, kMissingLine);
  const std::string log = linesUpTo(7, run, 1) + linesUpTo(8, run, 1) + headOf(7) + headOf(8) +
                          other[1] + run[1] + "\n\n";
  EXPECT_EQ(verdictsOf(runsOf(log + linesFrom(7, run, 2) + linesFrom(8, other, 2))),
            (Texts{"7 delivered", "8 partly"}));
  // Nobody can have written the missing file where both go on as if they had the other text.
  EXPECT_EQ(verdictsOf(runsOf(log + headOf(7) + headOf(8) + run[2] + run[2] + "\n\n" +
                              linesFrom(7, run, 3) + linesFrom(8, run, 3))),
            (Texts{"7 unknown", "8 unknown"}));
}

TEST(Torn, RunsWhoseLastTextsMeet_AreGivenAtTheirLineFeeds) {
  const Texts run = incident({0, 0});
  Texts given;
  outcome::Reader reader([&](const outcome::Run& one) { given.push_back(wordOf(one.verdict)); });
  reader.feed(linesUpTo(7, run, 9) + linesUpTo(8, run, 9) + headOf(7) + headOf(8) + run[9] +
              run[9] + '\n');
  EXPECT_EQ(given, Texts());
  reader.feed("\n");
  EXPECT_EQ(given, (Texts{"delivered", "delivered"}));
}

TEST(Torn, TextsThatWaitInTooGreatNumber_AreNobodys) {
  // Each text may be of any of the processes.
  constexpr int kProcesses = 1024;
  std::string begun;
  std::string heads;
  for (int pid = 1; pid <= kProcesses; ++pid) {
    begun += linesOf(pid, {kStartedLine});
    heads += headOf(pid);
  }
  const std::pair<int, const char*> rows[] = {
      {32, "the end is not in the log"},
      {33, "its lines are torn: which of them are its own cannot be told"}};
  for (const auto& [number, reason] : rows) {
    std::string texts;
    for (int text = 0; text < number; ++text) texts += std::string(kStartComm) + '\n';
    const auto runs = runsOf(begun + heads + texts);
    ASSERT_EQ(runs.size(), static_cast<std::size_t>(kProcesses));
    for (const outcome::Run& one : runs) EXPECT_EQ(one.reason, reason) << number;
  }
}

TEST(Pieces, LineFeedWithinALine_IsNone) {
  const Texts run = incident({0, 0});
  const Texts refused = {kStartedLine, kCancel, kElapsedLine, exitLine(1)};
  EXPECT_EQ(verdictsOf(runsOf(linesUpTo(5, run, 4) + linesOf(6, refused) + linesFrom(5, run, 4))),
            (Texts{"6 not-sent", "5 delivered"}));
}

TEST(Pieces, NumberThatLooksLikeItsEnd_IsRead) {
  for (const std::string number : {"4\",HOSTNAME=\"a\",PART=\"b", "4\",HOSTNAME=\"a",
                                   "4\",HOSTNAME=\"a\",PART=\"1\",TOTAL=\"x"}) {
    const outcome::Run run =
        runsOf(linesOf(7, replaced(incident({0, 0}), 3, incidentCall(1, 1, number)))).at(0);
    EXPECT_STREQ(wordOf(run.verdict), "delivered") << number;
    ASSERT_TRUE(run.identity && run.host);
    EXPECT_EQ(*run.identity + "\",HOSTNAME=\"" + *run.host, number + "\",HOSTNAME=\"db01");
  }
}

TEST(Pieces, DateThatIsNoHead_IsText) {
  for (const std::string date :
       {"2026/11/21 23:30:33 7 x", "2026/11/21 23:30:33    -7 x", "2026/11/21 23:30:33      7 x",
        "2026/11/21 23:30:33 x", "2026/11/21 23:30:33     7x", "2026/11/21T23:30:33     7 x",
        "2026/11/2a 23:30:33     7 x", "a026/11/21 23:30:33     7 x"}) {
    const std::string path = "/log of " + date;
    const outcome::Run run =
        runsOf(linesOf(7, replaced(incident({0, 0}), 5, dataCall(path)))).at(0);
    EXPECT_STREQ(wordOf(run.verdict), "delivered") << date;
    EXPECT_EQ(run.exchanges.at(1).path, path);
  }
}

}  // namespace
