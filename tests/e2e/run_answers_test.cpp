// What the closed library answers, as it shows at both levels of the log: a connection that is not
// operating or refused ends a run with 1, failing exchanges are logged and nothing else comes of
// them. The canned situations of the rehearsal try many more answers.

#include "e2e/support/cases.h"

namespace {

/// What the library answers, and what a run logs and calls that does not get to its exchanges.
struct Refusal {
  std::string name;
  std::string script;
  std::string message;
  std::string calls;
};

std::vector<Refusal> refusals() {
  const std::string cancelled =
      "(CSendInfo::SendInfo) Cancel sending investigation information, because connection status "
      "is not operating. (status=";
  return {
      {"Stopped", "status 0x20000\n", cancelled + "131072) \n\n", asked(0x20000)},
      {"FailedQueryThatLeavesOperating", "status 0x20 7\n", cancelled + "32) \n\n",
       getId() + getId() + getStatus(0x20, 7) + getStatus(0x20, 7)},
      {"RefusedStart", "start -12\n",
       "(CSendInfo::SendInfo) CRMSenderBase::RM_StartComm() error(code=-12)\n",
       asked() + startComm(-12)},
  };
}

std::vector<Case> refusedEvents() {
  std::vector<Case> rows;
  for (const Refusal& row : refusals()) {
    const LogText log = parameterLines() + Sending().measures() + row.message;
    rows.push_back({row.name, eventCall().answered(row.script), {framed(log, 1), row.calls, 1}});
  }
  return rows;
}

std::vector<Case> refusedIncidents() {
  std::vector<Case> rows;
  for (const Refusal& row : refusals()) {
    const LogText log = hostNameLines() + Sending().measures() + row.message + collectionLines();
    rows.push_back({row.name, incidentCall().answered(row.script), {framed(log, 1), row.calls, 1}});
  }
  return rows;
}

class RefusedIncident : public CaseTest {};

TEST_P(RefusedIncident, StillRunsBothCollectionCommands) {
  play();
  ASSERT_EQ(machine.collected().size(), 2U);
  EXPECT_EQ(machine.collected()[0].substr(0, 10), "tanexcc 1 ");
  EXPECT_EQ(machine.collected()[1].substr(0, 10), "tanexcs 1 ");
  EXPECT_TRUE(machine.names("/tmp").empty());
}

INSTANTIATE_TEST_SUITE_P(Case, RefusedIncident, testing::ValuesIn(atBothLevels(refusedIncidents())),
                         testing::PrintToStringParamName());
TANEXICS_PLAY(RefusedEvent, atBothLevels(refusedEvents()));

/// The same answers to an incident and to an event, both of which go on to their end.
struct Answers {
  std::string name;
  std::string script;
  std::string queries;
  Answer notification;
  Answer data;
};

std::vector<Answers> answers() {
  const Answer smtp = {-74, 1, -10, R"((SMTP) RL:-74,ZW-Agent:-10,Mailsvr:"")"};
  const Answer http = {-52, 2, 404, R"((HTTP) RL:-52,ZW-Agent:404,Mailsvr:"")"};
  return {
      {"MaintenanceAtTheSecondQuery", "status 0x20000\nstatus 0x10000\n",
       getId() + getId() + getStatus(0x20000) + getStatus(0x10000), Answer(), Answer()},
      {"HttpErrorOfEveryExchange", "communicate * -52 2 404\n", asked(), http, http},
      {"SmtpErrorOfTheDataAlone", "communicate 0x4010b -74 1 -10\ncommunicate 0x4010d -74 1 -10\n",
       asked(), Answer(), smtp},
      {"ResultWithoutExtendedError", "communicate * 9\n", asked(), Answer{9}, Answer{9}},
  };
}

std::vector<Case> answeredRuns() {
  std::vector<Case> rows;
  for (const Answers& row : answers()) {
    Sending sending;
    sending.queries = row.queries;
    sending.notification = row.notification;
    sending.data = row.data;
    rows.push_back({row.name + "OfAnEvent", eventCall().answered(row.script), sending.event()});
    rows.push_back({row.name, incidentCall().answered(row.script), sending.incident()});
  }
  return rows;
}

TANEXICS_PLAY(AnsweredRun, atBothLevels(answeredRuns()));

}  // namespace
