// Exchanges that fail: their results are logged, with the extended error where there is one, and
// nothing else comes of them.

#include "e2e/support/cases.h"

namespace {

/// What the centre answers to the notification and to the data.
struct Failure {
  std::string name;
  std::string script;
  Answer notification;
  Answer data;
};

const Answer kSmtp = {-74, 1, -10, R"((SMTP) RL:-74,ZW-Agent:-10,Mailsvr:"")"};
const Answer kHttp = {-52, 2, 404, R"((HTTP) RL:-52,ZW-Agent:404,Mailsvr:"")"};

std::vector<Failure> failures() {
  const Answer bare = {9, 0, 0, ""};
  const Answer odd = {-1, 3, 77, R"(() RL:-1,ZW-Agent:77,Mailsvr:"")"};
  const Answer success = {0, 2, 5, R"((HTTP) RL:0,ZW-Agent:5,Mailsvr:"")"};
  return {
      {"SmtpErrorOfEveryExchange", "communicate * -74 1 -10\n", kSmtp, kSmtp},
      {"HttpErrorOfEveryExchange", "communicate * -52 2 404\n", kHttp, kHttp},
      {"NotificationAlone",
       "communicate 0x40017 -52 2 404\ncommunicate 0x40204 -52 2 404\n",
       kHttp,
       {}},
      {"DataAlone", "communicate 0x4010b -74 1 -10\ncommunicate 0x4010d -74 1 -10\n", {}, kSmtp},
      {"ResultWithoutExtendedError", "communicate * 9\n", bare, bare},
      {"ExtendedErrorOfAnUnknownType", "communicate * -1 3 77\n", odd, odd},
      {"ExtendedErrorOfASuccess", "communicate * 0 2 5\n", success, success},
  };
}

Sending sendingOf(const Failure& row) {
  Sending sending;
  sending.notification = row.notification;
  sending.data = row.data;
  return sending;
}

std::vector<Case> incidents() {
  std::vector<Case> rows;
  for (const Failure& row : failures()) {
    rows.push_back({row.name, incidentCall().answered(row.script), sendingOf(row).incident()});
  }
  return rows;
}

std::vector<Case> events() {
  std::vector<Case> rows;
  for (const Failure& row : failures()) {
    rows.push_back({row.name, eventCall().answered(row.script), sendingOf(row).event()});
  }
  return rows;
}

TANEXICS_PLAY(FailingIncident, atBothLevels(incidents()));
TANEXICS_PLAY(FailingEvent, atBothLevels(events()));

using ExchangeRun = MachineTest;

TEST_F(ExchangeRun, SuccessAfterAFailureShowsNoMessageOfIt) {
  machine.write("/case/list", "/case/a.txt\n/case/c.txt\n");
  const Call call = incidentCall().answered(
      "communicate 0x40017 -52 2 404\n"
      "communicate 0x40017 0\n"
      "communicate 0x4010b -74 1 -10\n"
      "communicate 0x4010b 0\n");
  std::string ends;
  for (const std::string& line : linesOf(machine.run(call).log)) {
    if (line.rfind("RM_Communicate done", 0) == 0) ends += line + "\n";
  }
  EXPECT_EQ(ends, done(-52, kHttp.message) + done(-74, kSmtp.message) + done() + done());
}

TEST_F(ExchangeRun, ResultOfTheStopIsNotLookedAt) {
  Expected expected = Sending().event();
  expected.exchanges = asked() + startComm() + notify("0x40204", eventText()) +
                       sendItems("0x4010d", standardItems()) + stopComm(9) + stopComm(9);
  expectRun(machine.run(eventCall().answered("stop 9\n")), expected);
}

}  // namespace
