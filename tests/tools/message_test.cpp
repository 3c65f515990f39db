// Which texts are messages of the command, and which only look like them.

#include "tools/outcome/message.h"

#include <gtest/gtest.h>

#include "tools/logbytes.h"

using outcome::Kind;

namespace {

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
      doneLine(-1, "SMTP"),
      exitLine(0) + "x",
      "### main : x",
      "(CSendInfo::SendInfo) CRMSenderBase::RM_StartComm() error(code=7)x",
      "(CSendInfo::SendInfo) CRMSenderBase::RM_StartComm() error(code=x)",
      "### main : tanexics exit. code = x",
      "### main : tanexics exit. code = ",
      "### main : ### main : tanexics exit. code = 0",
      "### main : ### main : tanexics started.",
      "RM_Communicate call (param=4010b ? 1 /a NULL  NULL)",
      "RM_Communicate call (param=0x4010b ? 1 /a",
      "RM_Communicate call (param=0x40999 ? 1 /a NULL  NULL)",
  };
  for (const std::string& text : texts) {
    EXPECT_EQ(outcome::readMessage(text).kind, Kind::kUnread) << text;
    EXPECT_EQ(outcome::readMessage(text).whole, text);
  }
}

}  // namespace
