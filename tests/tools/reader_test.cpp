// Runs whose lines stand one after the other, whole and with losses.

#include "tools/outcome/reader.h"

#include <gtest/gtest.h>

#include "tools/logbytes.h"

namespace {

constexpr char kHttp[] = "(HTTP) RL:-52,ZW-Agent:404,Mailsvr:\"\"";

Texts without(Texts messages, std::size_t at) {
  messages.erase(messages.begin() + static_cast<std::ptrdiff_t>(at));
  return messages;
}

TEST(Verdicts, OneRun_IsWhatItsLinesSay) {
  const std::string refusedStart =
      "(CSendInfo::SendInfo) CRMSenderBase::RM_StartComm() error(code=7)";
  const struct {
    const char* what;
    Texts messages;
    const char* verdict;
    const char* reason;
  } rows[] = {
      {"all accepted", incident({0, 0, 0, 0}), "delivered", "all 4 exchanges accepted"},
      {"an event", event({0, 0}), "delivered", "all 2 exchanges accepted"},
      {"one failed", incident({0, 0, 0, -55}), "partly", "1 of 4 exchanges failed: /file2: -55"},
      {"all failed", event({-1, -2}), "refused", "2 of 2 exchanges failed: notification 1: -1"},
      {"a file was missing", inserted(incident({0, 0}), 1, kMissingLine), "partly",
       "1 listed file could not be measured: /b"},
      {"missing and refused", inserted(incident({-1, -1}), 1, kMissingLine), "refused",
       "2 of 2 exchanges failed: notification 1: -1"},
      {"not operating", unsent(kCancel, 1), "not-sent",
       "(CSendInfo::SendInfo) Cancel sending investigation information, because connection status "
       "is not operating. (status=131072)"},
      {"start refused", unsent(refusedStart, 1), "not-sent", refusedStart.c_str()},
      {"no super-user", unsent("not Super-User", 65), "not-sent", "not Super-User"},
      {"rejected", unsent("a b not found.(CSendEventSingleSystem::parseCommandLine)", 68),
       "not-sent", "a b not found.(CSendEventSingleSystem::parseCommandLine)"},
      {"definition rejected", unsent("x format error.(CSendEventBase::parseMsgCommon)", 68),
       "not-sent", "x format error.(CSendEventBase::parseMsgCommon)"},
      {"no reason",
       {kStartedLine, kElapsedLine, exitLine(33)},
       "not-sent",
       "communication was never started"},
      {"no reason, and a success",
       {kStartedLine, kElapsedLine, exitLine(0)},
       "not-sent",
       "communication was never started"},
      {"no reason, and a missing file",
       {kStartedLine, kMissingLine, kElapsedLine, exitLine(5)},
       "not-sent",
       "communication was never started"},
      {"no reason, and no status",
       {kStartedLine, kElapsedLine},
       "unknown",
       "the end is not in the log"},
      {"no type",
       {kStartedLine, kStartComm, "EventType param error.", kElapsedLine, exitLine(68)},
       "not-sent",
       "EventType param error."},
      {"thrown, then accepted", incident({0, 0}, kError, 5), "unknown",
       "the library threw an integer, and the log does not say by which call"},
      {"thrown, all failed", incident({-1, -1}, kError, 5), "refused",
       "2 of 2 exchanges failed: notification 1: -1"},
      {"thrown, one accepted for certain", incident({-1, 0}, kError, 5), "partly",
       "1 of 2 exchanges failed: notification 1: -1"},
      {"thrown, the 0 may be that of the call before", incident({0, -1}, kError, 5), "unknown",
       "the library threw an integer, and the log does not say by which call"},
      {"thrown, each 0 may be that of a call before", incident({0, 0, 0, -1}, kError, 5), "unknown",
       "the library threw an integer, and the log does not say by which call"},
      {"no temporary directory", inserted(incident({0, 0}, kOk, 78), 8, kNoTempDirLine),
       "delivered", "all 2 exchanges accepted; the collection commands were not run"},
      {"no end", firstOf(incident({0, 0}), 7), "unknown", "the end is not in the log"},
      {"no last line", firstOf(incident({0, 0}), 8), "delivered", "all 2 exchanges accepted"},
      {"no end, both kinds of answers", firstOf(incident({-1, 0, 0, 0}), 7), "partly",
       "1 of 4 exchanges failed: notification 1: -1"},
      {"no end, the 0 may be that of a call that threw", firstOf(incident({0, -1, 0, 0}), 7),
       "unknown", "the end is not in the log"},
      {"no end, failed so far", firstOf(incident({-1, -1, 0, 0}), 7), "unknown",
       "the end is not in the log"},
      {"no end, all failed", firstOf(incident({-1, -1}), 7), "refused",
       "2 of 2 exchanges failed: notification 1: -1"},
      {"started alone", {kStartedLine}, "unknown", "the end is not in the log"},
      {"no beginning", without(incident({0, 0}), 0), "unknown", "the beginning is not in the log"},
      {"no beginning, failed", without(incident({-1, -1}), 0), "refused",
       "2 of 2 exchanges failed: notification 1: -1"},
      {"the last line alone", {exitLine(0)}, "unknown", "the beginning is not in the log"},
      {"an answer is missing", without(incident({0, 0}), 4), "unknown", "1 line missing or torn"},
      {"an answer is missing, both kinds", without(incident({0, -1, 0, 0}), 9), "partly",
       "1 of 4 exchanges failed: /file1: -1"},
      {"a call is missing", without(incident({0, 0}), 3), "delivered", "all 2 exchanges accepted"},
      {"a file's line is missing", without(incident({0, 0}), 2), "delivered",
       "all 2 exchanges accepted"},
      {"thrown, the 0 may be that of the call before, whose answer is missing",
       without(incident({-1, -1, 0, -1}, kError, 5), 6), "unknown", "1 line missing or torn"},
      {"the whole transfer is missing", without(without(incident({0, 0}), 6), 5), "unknown",
       "1 line missing or torn"},
      {"a torn answer",
       {kStartedLine, kStartComm, loopLine(1, 1), incidentCall(1, 1),
        "RM_Communicate done (code='0", dataCall("/a"), doneLine(0), kOk, kElapsedLine,
        exitLine(0)},
       "unknown",
       "2 lines missing or torn"},
      {"an answer of 0 with an error",
       {kStartedLine, kStartComm, loopLine(1, 1), incidentCall(1, 1), doneLine(0, kHttp),
        dataCall("/a"), doneLine(0), kOk, kElapsedLine, exitLine(0)},
       "unknown",
       "an answer of 0 comes with an agent's error"},
      {"an answer of 0 with an error beside both kinds",
       {kStartedLine, kStartComm, loopLine(1, 2), incidentCall(1, 2), doneLine(0, kHttp),
        dataCall("/a"), doneLine(0), loopLine(2, 2), incidentCall(2, 2), doneLine(-1),
        dataCall("/b"), doneLine(-1), kOk, kElapsedLine, exitLine(0)},
       "partly",
       "3 of 4 exchanges failed: notification 1: 0 (HTTP) RL:-52,ZW-Agent:404,Mailsvr:\"\""},
  };
  for (const auto& row : rows) {
    SCOPED_TRACE(row.what);
    const std::vector<outcome::Run> runs = runsOf(linesOf(7, row.messages));
    ASSERT_EQ(runs.size(), 1u);
    EXPECT_STREQ(wordOf(runs[0].verdict), row.verdict);
    EXPECT_EQ(runs[0].reason, row.reason);
  }
}

TEST(Verdicts, RunInAnyPieces_IsTheSame) {
  const std::string log =
      "\xef\xbb\xbf" + linesOf(7, incident({0, 0, 0, -55})) + linesOf(8, unsent(kCancel, 1));
  for (const std::size_t bytes : {1u, 2u, 7u, 64u, 100000u}) {
    EXPECT_EQ(verdictsOf(runsOf(log, bytes)), (Texts{"7 partly", "8 not-sent"})) << bytes;
  }
}

TEST(Verdicts, MailedLog_IsReadAllTheSame) {
  std::string log;
  for (const char byte : linesOf(7, incident({0, 0})) + linesOf(8, unsent(kCancel, 1))) {
    log += byte == '\n' ? "\r\n" : std::string(1, byte);
  }
  EXPECT_EQ(verdictsOf(runsOf(log)), (Texts{"7 delivered", "8 not-sent"}));
  EXPECT_EQ(verdictsOf(runsOf(log.substr(0, log.size() - 5))),
            (Texts{"7 delivered", "8 not-sent"}));
}

TEST(Reader, RunThatHasEnded_IsGivenAtTheEndOfItsLine) {
  // With a line that has a line feed of its own, a byte order mark, and a head without its text.
  const Texts cancelled = unsent(kCancel, 1);
  const Texts refused = event({-1, -1});
  const auto last = static_cast<std::ptrdiff_t>(refused.size()) - 2;
  for (const std::string& log : {linesOf(7, cancelled), "\xef\xbb\xbf" + linesOf(7, cancelled),
                                 linesOf(7, {refused.begin(), refused.begin() + last}) + headOf(7) +
                                     '\n' + linesOf(7, {refused.begin() + last, refused.end()})}) {
    std::size_t given = 0;
    outcome::Reader reader([&](const outcome::Run& run) {
      ++given;
      EXPECT_NE(run.verdict, outcome::Verdict::kUnknown) << run.reason;
    });
    reader.feed(log);
    EXPECT_EQ(given, 1U) << log;
    reader.finish();
    EXPECT_EQ(given, 1U) << log;
  }
}

TEST(Reader, AnswerWhoseCallIsLost_IsAnExchangeOfItsOwn) {
  const std::vector<outcome::Run> runs = runsOf(linesOf(7, without(incident({0, -1}), 5)));
  ASSERT_EQ(runs.size(), 1U);
  ASSERT_EQ(runs[0].exchanges.size(), 2U);
  EXPECT_EQ(runs[0].exchanges[0].code, 0);
  EXPECT_EQ(runs[0].exchanges[1].code, -1);
  EXPECT_EQ(runs[0].exchanges[1].request, std::nullopt);
  EXPECT_STREQ(wordOf(runs[0].verdict), "partly");
}

TEST(Reader, LogThatEndsWithinAHead_HasALineLess) {
  const std::string whole = linesOf(7, incident({0, 0}));
  const std::string head = headOf(8);
  for (std::size_t length = 1; length < head.size(); ++length) {
    const std::string log = whole + head.substr(0, length);
    const std::vector<outcome::Run> runs = runsOf(std::string(log.begin(), log.end()));
    ASSERT_EQ(runs.size(), 1U) << length;
    EXPECT_STREQ(wordOf(runs[0].verdict), "delivered") << length;
  }
}

TEST(Reader, LineWithACutHead_MayBeThatOfAMissingFile) {
  const Texts run = incident({0, 0});
  const Texts rest(run.begin() + 1, run.end());
  const auto verdict = [&](const std::string& line) {
    return verdictsOf(runsOf(linesOf(7, {run[0]}) + line + linesOf(7, rest)));
  };
  EXPECT_EQ(verdict(std::string("2026/11/22 10") + kMissingLine + '\n'), (Texts{"7 unknown"}));
  EXPECT_EQ(verdict(""), (Texts{"7 delivered"}));
}

TEST(Reader, RejectionAfterAnotherText_IsAMessageOfItsOwn) {
  const std::string rejected = "list not found.(CSendEventSingleSystem::parseCommandLine)";
  const Texts run = unsent(rejected, 68);
  const std::string rest = linesOf(8, {run[2], run[3]});
  const Texts other = incident({0, 0});
  const std::string log = headOf(7) + headOf(8) + kStartedLine + '\n' + headOf(8) + kStartedLine +
                          rejected + '\n' + '\n';
  const Texts others(other.begin() + 1, other.end());
  EXPECT_EQ(verdictsOf(runsOf(log + rest + linesOf(7, others))),
            (Texts{"8 not-sent", "7 delivered"}));
  const std::string three = headOf(7) + headOf(8) + kStartedLine + '\n' + headOf(8) + headOf(9) +
                            kStartedLine + rejected + kStartedLine + "\n\n\n";
  EXPECT_EQ(verdictsOf(runsOf(three + rest + linesOf(7, others) + linesOf(9, others))),
            (Texts{"8 not-sent", "7 delivered", "9 delivered"}));
}

TEST(Verdicts, RunsAreGiven_InTheOrderInWhichTheyEnd) {
  const Texts first = incident({0, 0});
  const Texts second = event({-1, -1});
  const std::string log = linesOf(5, firstOf(first, 4)) + linesOf(6, second) +
                          linesOf(9, {kStartedLine}) + linesOf(4, {kStartedLine}) +
                          linesOf(5, Texts(first.begin() + 4, first.end()));
  EXPECT_EQ(verdictsOf(runsOf(log)), (Texts{"6 refused", "5 delivered", "9 unknown", "4 unknown"}));
}

TEST(Verdicts, SecondBeginningOfAProcessId_LeavesBothUnknown) {
  const Texts run = incident({0, 0});
  const std::string two = linesOf(5, firstOf(run, 5)) + linesOf(5, run);
  EXPECT_EQ(verdictsOf(runsOf(two)), (Texts{"5 unknown", "5 unknown"}));
  // The rest of the first one is no third run, and the next one is as good as any.
  const Texts later(run.begin() + 5, run.end());
  const std::string three = two + linesOf(5, later) + linesOf(5, run);
  EXPECT_EQ(verdictsOf(runsOf(three)), (Texts{"5 unknown", "5 unknown", "5 delivered"}));
  // Nor is what follows that one a rest any more.
  EXPECT_EQ(verdictsOf(runsOf(three + linesOf(5, later))),
            (Texts{"5 unknown", "5 unknown", "5 delivered", "5 unknown"}));
  EXPECT_EQ(runsOf(two)[0].reason, "another run began under its process id before it had ended");
}

TEST(Verdicts, NumberWithLineFeeds_ForgesNothing) {
  const std::string forged = "4\n" + headOf(7) + doneLine(0) + '\n' + headOf(7) + kOk + '\n';
  Texts messages = {kStartedLine, kStartComm,     loopLine(1, 1), incidentCall(1, 1, forged),
                    doneLine(-1), dataCall("/a"), doneLine(-1),   kOk,
                    kElapsedLine, exitLine(0)};
  for (const std::size_t bytes : {1u, 100000u}) {
    const std::vector<outcome::Run> runs = runsOf(linesOf(7, messages), bytes);
    EXPECT_EQ(verdictsOf(runs), Texts{"7 refused"});
    EXPECT_EQ(runs.at(0).identity, forged);
  }
}

TEST(Facts, Incident_HasThemAll) {
  Texts messages = incident({0, -55});
  messages[6] = doneLine(-55, kHttp);
  messages = inserted(messages, 1, kMissingLine);
  const outcome::Run run = runsOf(linesOf(7882, messages)).at(0);
  EXPECT_EQ(run.pid, 7882);
  EXPECT_EQ(run.start, "2026/11/21 23:30:33");
  EXPECT_EQ(run.end, "2026/11/21 23:30:33");
  EXPECT_EQ(run.elapsed, 0.012);
  EXPECT_EQ(run.exitCode, 0);
  EXPECT_EQ(run.mode, outcome::Mode::kIncident);
  EXPECT_EQ(run.identity, "42");
  EXPECT_EQ(run.host, "db01");
  EXPECT_EQ(run.expected, 2);
  EXPECT_EQ(run.missing, Texts{"/b"});
  EXPECT_EQ(run.torn, 0);
  ASSERT_EQ(run.exchanges.size(), 2u);
  EXPECT_FALSE(run.exchanges[0].isData);
  EXPECT_EQ(run.exchanges[0].request, 0x40017u);
  EXPECT_EQ(run.exchanges[0].part, 1);
  EXPECT_EQ(run.exchanges[0].files, 0);
  EXPECT_EQ(run.exchanges[0].path, std::nullopt);
  EXPECT_EQ(run.exchanges[0].code, 0);
  EXPECT_EQ(run.exchanges[0].error, "");
  EXPECT_TRUE(run.exchanges[1].isData);
  EXPECT_EQ(run.exchanges[1].request, 0x4010bu);
  EXPECT_EQ(run.exchanges[1].path, "/file1");
  EXPECT_EQ(run.exchanges[1].files, 1);
  EXPECT_EQ(run.exchanges[1].code, -55);
  EXPECT_EQ(run.exchanges[1].error, kHttp);
}

TEST(Facts, Event_HasItsLabelWithItsQuotesAsTheyStand) {
  const outcome::Run run = runsOf(linesOf(7, event({0, 0}))).at(0);
  EXPECT_EQ(run.mode, outcome::Mode::kErrorEvent);
  EXPECT_EQ(run.identity, "Disk \"a\", full");
  EXPECT_EQ(run.host, "db01");
  EXPECT_EQ(run.expected, 2);
  EXPECT_EQ(run.exchanges.at(1).files, 3);
}

TEST(Facts, QuotesOfOtherEvents_StandOnce_AndThoseOfAnIncidentsNumberAsGiven) {
  Texts messages = event({0, 0});
  messages[3] =
      "RM_Communicate call (param=0x40205 0 0 \"t\",,\"a\"\"b\",\"db01\",\"x\" NULL  NULL)";
  EXPECT_EQ(runsOf(linesOf(7, messages)).at(0).identity, "a\"b");
  Texts others = incident({0, 0});
  others[3] = incidentCall(1, 1, "a\"\"b");
  EXPECT_EQ(runsOf(linesOf(7, others)).at(0).identity, "a\"\"b");
}

TEST(Facts, EventWithoutALabel_HasAnEmptyOne) {
  Texts messages = event({0, 0});
  messages[3] = "RM_Communicate call (param=0x40204 0 0 \"t\",,\"\",\"db01\",\"x\" NULL  NULL)";
  EXPECT_EQ(runsOf(linesOf(7, messages)).at(0).identity, "");
}

TEST(Facts, HostNameAskedFor_IsOfAnIncident) {
  const outcome::Run run =
      runsOf(linesOf(7, inserted(unsent(kCancel, 1), 1, "VUQ90004L : com=uname -n 2>/dev/null")))
          .at(0);
  EXPECT_EQ(run.mode, outcome::Mode::kIncident);
  EXPECT_EQ(run.expected, std::nullopt);
}

TEST(Reader, Lines_AreThoseOfEachRunAsTheyStand) {
  std::vector<Texts> lines;
  outcome::Reader reader([&lines](const outcome::Run& run) { lines.push_back(run.lines); }, true);
  const std::string torn = doneLine(0) + "what nobody writes";
  const std::string hour = "2026/11/21 22:";
  reader.feed(headOf(5, hour + "01:00") + kStartedLine + '\n' + headOf(5, hour + "02:00") + torn +
              '\n' + headOf(5, hour + "03:00") + kStartedLine + '\n' + headOf(5, hour + "04:00") +
              kElapsedLine + '\n');
  reader.finish();
  EXPECT_EQ(
      lines,
      (std::vector<Texts>{
          {headOf(5, hour + "01:00") + kStartedLine, headOf(5, hour + "02:00") + torn},
          {headOf(5, hour + "03:00") + kStartedLine, headOf(5, hour + "04:00") + kElapsedLine}}));
}

/// The first line that is none of an action log, which is fed in these pieces.
std::string foreignLineOf(const Texts& pieces) {
  outcome::Reader reader([](const outcome::Run&) {});
  for (const std::string& piece : pieces) reader.feed(piece);
  reader.finish();
  return reader.firstForeignLine();
}

TEST(Reader, NoActionLog_HasNoRunAndAFirstLineThatIsForeign) {
  std::vector<outcome::Run> runs;
  outcome::Reader reader([&runs](outcome::Run run) { runs.push_back(std::move(run)); });
  reader.feed("\n\nroot:x:0:0\nbin:x:1:1\n");
  reader.finish();
  EXPECT_TRUE(runs.empty());
  EXPECT_EQ(reader.firstForeignLine(), "root:x:0:0");
}

TEST(Reader, ByteOrderMarkAtTheBeginning_IsNone) {
  EXPECT_EQ(foreignLineOf({"\xef\xbb", "\xbfroot:x:0:0\n"}), "root:x:0:0");
}

TEST(Reader, ByteOrderMarkAfterTheBeginning_IsText) {
  EXPECT_EQ(foreignLineOf({"\n\n\n", "\xef\xbb\xbfroot:x:0:0\n"}), "\xef\xbb\xbfroot:x:0:0");
}

TEST(Reader, ByteOrderMarkAlone_IsAnEmptyLog) { EXPECT_EQ(foreignLineOf({"\xef\xbb\xbf"}), ""); }

TEST(Reader, BytesWithoutALineFeed_AreNotKept) {
  const std::string much(1 << 20, 'x');
  EXPECT_LE(foreignLineOf({much, much, much, much}).size(), 2 * much.size());
}

TEST(Reader, LineThatIsCutAfterMuchElse_IsWaitedFor) {
  std::string log;
  while (log.size() < 3 << 18) log += linesOf(7, incident({0, 0}));
  const std::string last = linesOf(8, incident({0, 0}));
  std::vector<outcome::Run> runs;
  outcome::Reader reader([&runs](outcome::Run run) { runs.push_back(std::move(run)); });
  reader.feed(log + last.substr(0, 40));
  reader.feed(last.substr(40));
  reader.finish();
  EXPECT_STREQ(wordOf(runs.back().verdict), "delivered");
  EXPECT_EQ(runs.back().torn, 0);
}

TEST(Reader, LogThatEndsWithAHead_HasItsRun) {
  const std::vector<outcome::Run> runs = runsOf(linesOf(7, {kStartedLine}) + headOf(7));
  EXPECT_EQ(verdictsOf(runs), Texts{"7 unknown"});
}

TEST(Reader, LineFeedOfAMessagesOwn_TearsNothing) {
  const std::string log = linesOf(7, unsent(kCancel, 1));
  EXPECT_EQ(runsOf(log).at(0).torn, 0);
  EXPECT_EQ(foreignLineOf({log}), "");
}

TEST(Reader, RunsOfTheSameProcessId_HaveEachItsTimeAndItsPlace) {
  const std::string log = headOf(7, "2026/11/21 08:00:00") + kStartedLine + '\n' +
                          headOf(8, "2026/11/21 09:00:00") + kStartedLine + '\n' +
                          headOf(7, "2026/11/21 10:00:00") + kStartedLine + '\n';
  const std::vector<outcome::Run> runs = runsOf(log);
  EXPECT_EQ(verdictsOf(runs), (Texts{"7 unknown", "8 unknown", "7 unknown"}));
  EXPECT_EQ(runs[0].start, "2026/11/21 08:00:00");
  EXPECT_EQ(runs[2].start, "2026/11/21 10:00:00");
  const std::vector<outcome::Run> whole =
      runsOf(headOf(7, "2026/11/21 08:00:00") + kStartedLine + '\n' + linesOf(7, event({0, 0})));
  EXPECT_EQ(whole.at(1).start, "2026/11/21 23:30:33");
}

}  // namespace
