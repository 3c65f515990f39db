// Which texts are messages of the command, and which only look like them.

#include "tools/outcome/message.h"

#include <gtest/gtest.h>

#include <algorithm>

#include "tools/logbytes.h"

using outcome::Kind;

namespace {

constexpr char kStartRefused[] =
    "(CSendInfo::SendInfo) CRMSenderBase::RM_StartComm() error(code=-3)";

/// The line of a run that is kept from sending by this status, without its own line feed.
std::string cancelLine(const std::string& status) {
  const std::string line = kCancel;
  return line.substr(0, line.rfind('=') + 1) + status + ") ";
}

using Readings = std::vector<Texts>;

/// What each reading of bytes as one to `most` messages takes for them.
Readings readingsOf(const std::string& bytes, std::size_t most) {
  Readings readings;
  for (const auto& reading : outcome::readingsOf(bytes, most)) {
    readings.emplace_back();
    for (const outcome::Message& message : reading) readings.back().emplace_back(message.whole);
  }
  return readings;
}

TEST(ReadMessage, TextsOfTheCommand_HaveTheirKinds) {
  const struct {
    std::string text;
    Kind kind;
    int number;
  } rows[] = {
      {kStartedLine, Kind::kStarted, 0},
      {exitLine(0), Kind::kExit, 0},
      {exitLine(-7), Kind::kExit, -7},
      {exitLine(1000), Kind::kExit, 1000},
      {doneLine(0), Kind::kDone, 0},
      {doneLine(-2147483648), Kind::kDone, -2147483648},
      {doneLine(-1, "() RL:-1,ZW-Agent:0,Mailsvr:\"\""), Kind::kDone, -1},
      {doneLine(-1, "(SMTP) RL:-79,ZW-Agent:-26,Mailsvr:\"550 \"no\"\""), Kind::kDone, -1},
      {doneLine(-1, "(HTTP) RL:-62,ZW-Agent:54,Mailsvr:\"x\""), Kind::kDone, -1},
      {incidentCall(1, 1), Kind::kNotification, 0},
      {kEventCall, Kind::kNotification, 0},
      {dataCall("/a"), Kind::kData, 0},
      {loopLine(2, 3), Kind::kLoop, 2},
      {"Rlist not found.(CSendEventSingleSystem::parseCommandLine)", Kind::kRefusal, 0},
      {kOk, Kind::kSent, 0},
      {kError, Kind::kSent, 1},
      {kStartComm, Kind::kStartedComm, 0},
      {cancelLine("7") + '\n', Kind::kRefusal, 7},
      {cancelLine("-7"), Kind::kRefusal, -7},
      {kStartRefused, Kind::kRefusal, -3},
      {"(CSendInfo::SendInfo) x", Kind::kOther, 0},
  };
  for (const auto& row : rows) {
    const outcome::Message message = outcome::readMessage(row.text);
    EXPECT_EQ(message.kind, row.kind) << row.text;
    EXPECT_EQ(message.number, row.number) << row.text;
    EXPECT_EQ(message.whole, row.text);
  }
}

TEST(ReadMessage, Beginning_NamesTheProgramAsTheEndDoes) {
  EXPECT_EQ(outcome::readMessage("### main : /a b started.").text, "/a b");
  EXPECT_EQ(outcome::readMessage("### main : /a b exit. code = 1").text, "/a b");
  EXPECT_EQ(outcome::readMessage("### main : exit. code = 1").text, "");
}

TEST(ReadMessage, TextsThatOnlyLookLikeThem_AreNone) {
  const std::string texts[] = {
      "",
      "RM_Communicate done (code='007', msg='') ",
      "RM_Communicate done (code='00', msg='') ",
      "RM_Communicate done (code='-', msg='') ",
      "RM_Communicate done (code='', msg='') ",
      "RM_Communicate done (code='+1', msg='') ",
      "RM_Communicate done (code='2147483648', msg='') ",
      doneLine(-1, "(FTP) RL:-1,ZW-Agent:2,Mailsvr:\"\""),
      doneLine(-1, "(SMTP) RL:x,ZW-Agent:2,Mailsvr:\"\""),
      doneLine(-1, "(SMTP) RL:-1,ZW-Agent:,Mailsvr:\"\""),
      doneLine(-1, "(SMTP) RL:-1,ZW-Agent:2,Mailsvr:\"x"),
      doneLine(-1, "(SMTP) RL:-1,ZW-Agent:2,Mailsvr:\"RM_Communicate \""),
      doneLine(-1, "(5,ZW-Agent:2,Mailsvr:\"\""),
      doneLine(-1, "SMTP"),
      exitLine(0) + "x",
      "### main : x",
      "(CSendInfo::SendInfo) CRMSenderBase::RM_StartComm() error(code=7)x",
      "(CSendInfo::SendInfo) CRMSenderBase::RM_StartComm() error(code=x)",
      "(CSendInfo::SendInfo) RM_Communicate ",
      cancelLine("7") + 'x',
      cancelLine("7").substr(0, cancelLine("7").size() - 1),
      "### main : tanexics exit. code = x",
      "### main : tanexics exit. code = ",
      "### main : ### main : tanexics exit. code = 0",
      "### main : ### main : tanexics started.",
      "RM_Communicate call (param=4010b ? 1 /a NULL  NULL)",
      "RM_Communicate call (param=0x4010b ? 1 /a",
      "RM_Communicate call (param=0x40999 ? 1 /a NULL  NULL)",
  };
  for (const std::string& text : texts) {
    const outcome::Message message = outcome::readMessage(text);
    EXPECT_EQ(message.kind, Kind::kUnread) << text;
    EXPECT_EQ(message.number, 0) << text;
    EXPECT_EQ(message.text, "") << text;
    EXPECT_EQ(message.whole, text);
  }
}

TEST(ReadMessage, WhatHasNoPart_IsOtherUnlessItHoldsWhatHas) {
  const std::string other = "[T](SendEventBase:486):x";
  EXPECT_EQ(outcome::readMessage(other).kind, Kind::kOther);
  for (const std::string begin :
       {"RM_Communicate ", "commonSendEvent ",
        "### main : ", "ELAPSED:range=", "(CSendInfo::", "get file size error(", "not Super-User",
        "make tempname error (", "parameter ", "No send file.(", "EventType param error."}) {
    EXPECT_EQ(outcome::readMessage(other + begin).kind, Kind::kUnread) << begin;
    EXPECT_EQ(outcome::readMessage(other + begin.substr(0, begin.size() - 1)).kind, Kind::kOther);
  }
}

TEST(ReadMessage, Rejection_IsNoneWhereAMessageWithAPartStandsInIt) {
  const std::string end = "(CSendEventBase::parseMsgCommon)";
  const std::string rejection = "No send file." + end;
  const outcome::Message message = outcome::readMessage(rejection);
  EXPECT_EQ(message.kind, Kind::kRefusal);
  EXPECT_EQ(message.text, message.whole);
  EXPECT_EQ(outcome::readMessage("x### main : " + end).kind, Kind::kUnread);
  EXPECT_EQ(outcome::readMessage("x" + end + "x").kind, Kind::kUnread);
}

TEST(ReadMessage, Connection_IsToldAsItStands) {
  for (const std::string& text :
       Texts{kStartComm, kCancel, cancelLine("-7"), kStartRefused, "(CSendInfo::SendInfo) x"}) {
    EXPECT_EQ(outcome::readMessage(text).text, text);
  }
}

TEST(ReadMessage, Calls_NameWhatTheySend) {
  const std::string call = incidentCall(12, 34);
  const outcome::Message incident = outcome::readMessage(call);
  EXPECT_EQ(incident.request, 0x40017U);
  EXPECT_EQ(incident.text, "42");
  EXPECT_EQ(incident.host, "db01");
  EXPECT_EQ(incident.part, 12);
  EXPECT_EQ(incident.total, 34);
  const outcome::Message event = outcome::readMessage(kEventCall);
  EXPECT_EQ(event.request, 0x40204U);
  EXPECT_EQ(event.text, "Disk \"\"a\"\", full");
  EXPECT_EQ(event.host, "db01");
  EXPECT_EQ(event.part, 0);
  const std::string transfer = dataCall("/a b", "0x4010d", 3);
  const outcome::Message data = outcome::readMessage(transfer);
  EXPECT_EQ(data.request, 0x4010dU);
  EXPECT_EQ(data.text, "/a b");
  EXPECT_EQ(data.total, 3);
}

TEST(ReadMessage, EventsFields_MayHaveNoQuotes) {
  const auto fields = [](const std::string& sent) {
    const std::string text = "RM_Communicate call (param=0x40204 0 0 " + sent + " NULL  NULL)";
    const outcome::Message message = outcome::readMessage(text);
    return std::string(message.text) + '|' + std::string(message.host);
  };
  EXPECT_EQ(fields(",,label,host,x"), "label|host");
  EXPECT_EQ(fields(",,label,host"), "label|host");
  EXPECT_EQ(fields(",,\"\",h"), "|h");
  EXPECT_EQ(fields(",,\",h"), "\",h|");
  EXPECT_EQ(fields(",,\"a\"b,c\"d\",\""), "\"a\"b|c\"d\"");
  EXPECT_EQ(fields(""), "|");
}

TEST(ReadMessage, MissingFile_IsNamedUpToTheLastComma) {
  EXPECT_EQ(outcome::readMessage("get file size error(/a,b,No such file)").text, "/a,b");
  EXPECT_EQ(outcome::readMessage("get file size error(/a,b,No such file)").kind, Kind::kMissing);
  EXPECT_EQ(outcome::readMessage("get file size error(,)").text, "");
  EXPECT_EQ(outcome::readMessage("get file size error(/a)").kind, Kind::kUnread);
  EXPECT_EQ(outcome::readMessage("get file size error(/a,b").kind, Kind::kUnread);
}

TEST(ReadMessage, Elapsed_IsWhatPrintfWritesOfANumber) {
  for (const std::string time : {"0.012000", "-1.000000", "inf", "-nan", ""}) {
    const std::string text = "ELAPSED:range='executing tanexics', time='" + time + "'";
    EXPECT_EQ(outcome::readMessage(text).kind, Kind::kElapsed) << text;
    EXPECT_EQ(outcome::readMessage(text).text, time);
  }
  EXPECT_EQ(outcome::readMessage("ELAPSED:range='executing tanexics', time='1x'").kind,
            Kind::kUnread);
  EXPECT_EQ(outcome::readMessage("ELAPSED:range='executing tanexics', time='1").kind,
            Kind::kUnread);
  EXPECT_EQ(outcome::readMessage("ELAPSED:range='executing tanexics', time='").kind, Kind::kUnread);
}

TEST(ReadMessage, IncidentsNumber_MayHoldAllButTheWholeEnd) {
  const std::string number = "1\",HOSTNAME=\"a\",PART=\"x\",HOSTNAME=\"b\",PART=\"1\",TOTAL=\"y";
  const std::string call = incidentCall(1, 2, number);
  const outcome::Message message = outcome::readMessage(call);
  EXPECT_EQ(message.kind, Kind::kNotification);
  EXPECT_EQ(message.text, number);
  const std::string twice = incidentCall(1, 2) + incidentCall(1, 2);
  EXPECT_EQ(outcome::readMessage(twice).kind, Kind::kUnread);
  EXPECT_EQ(outcome::readMessage(incidentCall(1, 2) + "x").kind, Kind::kUnread);
  const std::string withoutPart = "\",HOSTNAME=\"5\",TOTAL=\"3\" NULL  NULL)";
  EXPECT_EQ(
      outcome::readMessage("RM_Communicate call (param=0x40017 0 0 INCNO=\"4" + withoutPart).kind,
      Kind::kUnread);
}

TEST(ReadMessage, IncidentsNumberOfTwoThousandBytes_LeavesNothingOfTheRest) {
  const std::string begin = "RM_Communicate call (param=0x40017 0 0 INCNO=\"";
  const std::string cut = begin + std::string(2046 - begin.size(), '1') + '\0';
  EXPECT_EQ(outcome::readMessage(cut).kind, Kind::kNotification);
  EXPECT_EQ(outcome::readMessage(cut.substr(0, 2046)).kind, Kind::kUnread);
  EXPECT_EQ(outcome::readMessage(cut.substr(0, 2046) + '1').kind, Kind::kUnread);
  EXPECT_EQ(outcome::readMessage(cut + '\0').kind, Kind::kUnread);
  EXPECT_EQ(outcome::readMessage(std::string(cut).replace(begin.find("INCNO"), 5, "ICNNO")).kind,
            Kind::kUnread);
}

TEST(OwnLength, IsThatOfAnIncidentsCallAlone) {
  const std::string call = incidentCall(1, 1, "4\n2");
  EXPECT_EQ(outcome::ownLength(call + "\nx", false), call.size());
  EXPECT_EQ(outcome::ownLength(std::string(kEventCall) + '\n', false), 0U);
  for (const std::size_t size : {std::size_t{0}, std::size_t{20}, call.size() - 1}) {
    EXPECT_EQ(outcome::ownLength(call.substr(0, size), false), outcome::kMoreNeeded) << size;
    EXPECT_EQ(outcome::ownLength(call.substr(0, size), true), 0U) << size;
  }
}

TEST(OwnLength, ACallWithoutItsEnd_IsLookedForInAsMuchAsOneHas) {
  const std::string call = incidentCall(1, 1, std::string(3000, '1'));
  EXPECT_EQ(outcome::ownLength(call.substr(0, 2046), false), outcome::kMoreNeeded);
  EXPECT_EQ(outcome::ownLength(call.substr(0, 2047), false), 0U);
  EXPECT_EQ(outcome::ownLength(call, false), 0U);
}

TEST(EndsInLineFeed, OfTheTwoMessagesThatHaveOneOfTheirOwn) {
  const std::string cancel = std::string(kCancel, sizeof kCancel - 2);
  EXPECT_TRUE(outcome::endsInLineFeed(cancel));
  EXPECT_TRUE(outcome::endsInLineFeed("x" + cancel));
  EXPECT_FALSE(outcome::endsInLineFeed(cancel + "x"));
  EXPECT_FALSE(outcome::endsInLineFeed(cancel + "x "));
  EXPECT_FALSE(outcome::endsInLineFeed(doneLine(0)));
  EXPECT_TRUE(outcome::endsInLineFeed("[T](SendEventBase:491):x "));
  EXPECT_TRUE(outcome::endsInLineFeed("[T](SendEventBase:486):'1'bytes."));
  EXPECT_FALSE(outcome::endsInLineFeed("[T](SendEventBase:487):'1'bytes."));
  EXPECT_FALSE(outcome::endsInLineFeed("[T](SendEventBase:486):'1'bytes"));
}

TEST(ReadingsOf, AreAllWaysOfSoManyMessages) {
  const std::string start = kStartedLine, ok = kOk;
  EXPECT_EQ(readingsOf(ok, 1), (Readings{Texts{ok}}));
  EXPECT_EQ(readingsOf(ok, 0), (Readings{}));
  EXPECT_EQ(readingsOf(ok + start, 1), (Readings{}));
  EXPECT_EQ(readingsOf(ok + start, 2), (Readings{Texts{ok, start}}));
  EXPECT_EQ(readingsOf(ok + start + ok, 2), (Readings{}));
  EXPECT_EQ(readingsOf(ok + start + ok, 3), (Readings{Texts{ok, start, ok}}));
}

TEST(ReadingsOf, WhatIsNotNamed_IsNoneBeforeARejection) {
  const std::string rejection = "Label(CSendEventBase::parseTanexMsg)";
  // The rejection begins with what the caller gave: anywhere.
  const Readings readings = readingsOf(kOk + std::string("ab") + rejection, 2);
  EXPECT_EQ(readings, (Readings{Texts{kOk, "ab" + rejection}}));
  EXPECT_EQ(readingsOf("Label=1" + rejection, 2), (Readings{Texts{"Label=1" + rejection}}));
}

TEST(ReadingsOf, HoldEachOtherOnceOnly) {
  const std::string one = "Time=1", two = "Time=2", three = "Time=3";
  EXPECT_EQ(readingsOf(one + two + three, 3),
            (Readings{Texts{one + two + three}, Texts{one, two + three}, Texts{one, two, three},
                      Texts{one + two, three}}));
}

TEST(ReadingsOf, RejectionsOfAllKinds_MayFollowEachOther) {
  const Texts rejections = {"a(CSendEventSingleSystem::parseCommandLine)",
                            "b(CSendEventBase::parseMsgCommon)",
                            "c(CSendEventBase::parseTanexMsg)"};
  const Readings readings = readingsOf(kOk + rejections[0] + rejections[1] + rejections[2], 4);
  const Texts each = {kOk, rejections[0], rejections[1], rejections[2]};
  EXPECT_EQ(std::count(readings.begin(), readings.end(), each), 1);
}

TEST(ReadingsOf, ARefusalOfTheCommandsOwn_BeginsAMessage) {
  for (const std::string refusal : {"not Super-User", "EventType param error.",
                                    "No send file.(CSendEventSingleSystem::parseCommandLine)"}) {
    EXPECT_EQ(readingsOf(kStartedLine + refusal, 2), (Readings{Texts{kStartedLine, refusal}}));
  }
}

TEST(ReadingsOf, AreNoMoreThanSixtyFour) {
  std::string bytes;
  for (int count = 0; count < 12; ++count) bytes += "Time=1";
  EXPECT_EQ(outcome::readingsOf(bytes, 12).size(), outcome::kMostReadings);
  EXPECT_EQ(outcome::readingsOf(bytes.substr(0, 6 * 6), 12).size(), 32U);
}

}  // namespace
