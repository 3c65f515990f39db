// Exchanges that fail: their results are logged, with the extended error where there is one, and
// nothing else comes of them.

#include "e2e/support/cases.h"

namespace {

/// What the centre answers to the notification and to the data, and what is logged of it.
struct Failure {
  std::string name;
  std::string script;
  Answer notification;
  std::string notificationDone;
  Answer data;
  std::string dataDone;
};

const std::string kSmtp = R"((SMTP) RL:-74,ZW-Agent:-10,Mailsvr:"")";
const std::string kHttp = R"((HTTP) RL:-52,ZW-Agent:404,Mailsvr:"")";

const std::vector<Failure>& failures() {
  static const std::vector<Failure> all = {
      {"SmtpErrorOfEveryExchange",
       "communicate * -74 1 -10\n",
       {-74, 1, -10},
       done(-74, kSmtp),
       {-74, 1, -10},
       done(-74, kSmtp)},
      {"HttpErrorOfEveryExchange",
       "communicate * -52 2 404\n",
       {-52, 2, 404},
       done(-52, kHttp),
       {-52, 2, 404},
       done(-52, kHttp)},
      {"NotificationAlone",
       "communicate 0x40017 -52 2 404\ncommunicate 0x40204 -52 2 404\n",
       {-52, 2, 404},
       done(-52, kHttp),
       {},
       done()},
      {"DataAlone",
       "communicate 0x4010b -74 1 -10\ncommunicate 0x4010d -74 1 -10\n",
       {},
       done(),
       {-74, 1, -10},
       done(-74, kSmtp)},
      {"ResultWithoutExtendedError", "communicate * 9\n", {9, 0, 0}, done(9), {9, 0, 0}, done(9)},
      {"ExtendedErrorOfAnUnknownType",
       "communicate * -1 3 77\n",
       {-1, 3, 77},
       done(-1, R"(() RL:-1,ZW-Agent:77,Mailsvr:"")"),
       {-1, 3, 77},
       done(-1, R"(() RL:-1,ZW-Agent:77,Mailsvr:"")")},
      {"ExtendedErrorOfASuccess",
       "communicate * 0 2 5\n",
       {0, 2, 5},
       done(0, R"((HTTP) RL:0,ZW-Agent:5,Mailsvr:"")"),
       {0, 2, 5},
       done(0, R"((HTTP) RL:0,ZW-Agent:5,Mailsvr:"")")},
  };
  return all;
}

std::string incidentLog(const Failure& row, bool trace) {
  std::string body = hostNameLines(trace) + (trace ? measuredStandard() : "") + startedLine();
  for (int part = 1; part <= 3; ++part) {
    const std::string number = std::to_string(part);
    body += "commonSendEvent Main Loop (" + number + "/3)\n";
    body += "RM_Communicate call (param=0x40017 0 0 " + incidentText("1", part, 3) +
            " NULL  NULL)\n" + row.notificationDone;
    body += "RM_Communicate call (param=0x4010b ? 1 " +
            standardItems()[static_cast<std::size_t>(part - 1)].path + " NULL  NULL)\n" +
            row.dataDone;
  }
  return framed(body + "commonSendEvent OK\n" + collectionLines(trace), 0);
}

std::string incidentExchanges(const Failure& row) {
  std::string calls = asked() + startComm();
  for (int part = 1; part <= 3; ++part) {
    calls += notify("0x40017", incidentText("1", part, 3), row.notification);
    calls += sendItems("0x4010b", {standardItems()[static_cast<std::size_t>(part - 1)]}, row.data);
  }
  return calls + stopped();
}

std::vector<Case> incidents() {
  std::vector<Case> rows;
  for (const Failure& row : failures()) {
    const Case incident = {row.name,
                           {{"/case/list", "-i", "1"}, row.script},
                           {incidentLog(row, false), incidentExchanges(row)}};
    rows.push_back(incident);
    rows.push_back(traced(incident, incidentLog(row, true)));
  }
  return rows;
}

std::string eventLog(const Failure& row) {
  return startedLine() + "commonSendEvent Main Loop (1/3)\n" +
         "RM_Communicate call (param=0x40204 0 0 " + eventText() + " NULL  NULL)\n" +
         row.notificationDone + "RM_Communicate call (param=0x4010d ? 3 /case/a.txt NULL  NULL)\n" +
         row.dataDone + "commonSendEvent OK\n";
}

std::vector<Case> events() {
  std::vector<Case> rows;
  for (const Failure& row : failures()) {
    const Case event = {row.name,
                        {{"/case/list", "-r", "/case/event.def"}, row.script},
                        {framed(eventLog(row), 0),
                         asked() + startComm() + notify("0x40204", eventText(), row.notification) +
                             sendItems("0x4010d", standardItems(), row.data) + stopped()}};
    rows.push_back(event);
    rows.push_back(traced(event, framed(parameterLines() + measuredStandard() + eventLog(row), 0)));
  }
  return rows;
}

}  // namespace

TANEXICS_PLAY(FailingIncident, incidents);
TANEXICS_PLAY(FailingEvent, events);

class ExchangeRun : public CommandTest {};

TEST_F(ExchangeRun, SuccessAfterAFailureShowsNoMessageOfIt) {
  const Machine machine;
  machine.write("/case/list", "/case/a.txt\n/case/c.txt\n");
  const RunResult result = machine.run({{"/case/list", "-i", "1"},
                                        "communicate 0x40017 -52 2 404\n"
                                        "communicate 0x40017 0\n"
                                        "communicate 0x4010b -74 1 -10\n"
                                        "communicate 0x4010b 0\n"});
  std::string ends;
  for (const std::string& line : linesOf(result.log)) {
    if (line.rfind("RM_Communicate done", 0) == 0) ends += line + "\n";
  }
  EXPECT_EQ(ends, done(-52, kHttp) + done(-74, kSmtp) + done() + done());
}

TEST_F(ExchangeRun, ResultOfTheStopIsNotLookedAt) {
  const Machine machine;
  expectRun(machine.run({{"/case/list", "-r", "/case/event.def"}, "stop 9\n"}),
            {framed(standardEvent(), 0), asked() + startComm() + notify("0x40204", eventText()) +
                                             sendItems("0x4010d", standardItems()) + stopComm(9) +
                                             stopComm(9)});
}
