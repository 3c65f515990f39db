// What the state of the connection makes of a run, as an incident and as an event.

#include "e2e/support/cases.h"

namespace {

std::string cancelled(const std::string& status) {
  return "(CSendInfo::SendInfo) Cancel sending investigation information, because connection "
         "status is not operating. (status=" +
         status + ") \n\n";
}

std::string refused(int code) {
  return "(CSendInfo::SendInfo) CRMSenderBase::RM_StartComm() error(code=" + std::to_string(code) +
         ")\n";
}

/// How a connection behaves: what it answers, what is logged where communication would have
/// started, and the record of the calls.
struct Behaviour {
  std::string name;
  std::string script;
  std::string message;
  std::string exchanges;
};

const std::vector<Behaviour>& refusals() {
  static const std::string kIds = getId() + getId();
  static const std::vector<Behaviour> all = {
      {"Stopped", "status 0x20000\n", cancelled("131072"), asked(0x20000)},
      {"MaintenanceStop", "status 0x30000\n", cancelled("196608"), asked(0x30000)},
      {"UnknownWord", "status 0x10020\n", cancelled("65568"), asked(0x10020)},
      {"ZeroWord", "status 0\n", cancelled("0"), asked(0)},
      {"NegativeWord", "status -1\n", cancelled("-1"), asked(-1)},
      {"FailedQueryThatLeavesOperating", "status 0x20 7\n", cancelled("32"),
       kIds + getStatus(0x20, 7) + getStatus(0x20, 7)},
      {"FailedQueryThatLeavesMaintenance", "status 0x10000 -3\n", cancelled("65536"),
       kIds + getStatus(0x10000, -3) + getStatus(0x10000, -3)},
      {"OperatingOnlyAtTheSecondQuery", "status 0x20000\nstatus 0x20\n", cancelled("32"),
       kIds + getStatus(0x20000) + getStatus(0x20)},
      {"RefusedStart", "start 5\n", refused(5), asked() + startComm(5)},
      {"RefusedStartWithANegativeCode", "start -12\n", refused(-12), asked() + startComm(-12)},
      {"RefusedStartInMaintenance", "status 0x10000\nstart 1\n", refused(1),
       asked(0x10000) + startComm(1)},
  };
  return all;
}

/// The event ends with 1 and nothing is sent.
std::vector<Case> refusedEvents() {
  std::vector<Case> rows;
  for (const Behaviour& row : refusals()) {
    const Case event = {row.name,
                        {{"/case/list", "-r", "/case/event.def"}, row.script},
                        {framed(row.message, 1), row.exchanges, 1}};
    rows.push_back(event);
    rows.push_back(traced(event, framed(parameterLines() + measuredStandard() + row.message, 1)));
  }
  return rows;
}

/// The incident ends with 1 too, but its collection commands have run.
std::vector<Case> refusedIncidents() {
  std::vector<Case> rows;
  for (const Behaviour& row : refusals()) {
    const Case incident = {
        row.name,
        {{"/case/list", "-i", "1"}, row.script},
        {framed(hostNameLines() + row.message + collectionLines(), 1), row.exchanges, 1}};
    rows.push_back(incident);
    rows.push_back(traced(
        incident,
        framed(hostNameLines(true) + measuredStandard() + row.message + collectionLines(true), 1)));
  }
  return rows;
}

std::vector<Case> accepted() {
  const std::vector<Behaviour> behaviours = {
      {"Maintenance", "status 0x10000\n", "", asked(0x10000)},
      {"MaintenanceAtTheSecondQuery", "status 0x20000\nstatus 0x10000\n", "",
       getId() + getId() + getStatus(0x20000) + getStatus(0x10000)},
      {"MaintenanceAfterAFailedQuery", "status 0x20 1\nstatus 0x10000\n", "",
       getId() + getId() + getStatus(0x20, 1) + getStatus(0x10000)},
      {"OperatingAtTheFirstQueryOnly", "status 0x20\nstatus 0x20000\n", "",
       getId() + getId() + getStatus(0x20) + getStatus(0x20000)},
      {"OperatingThenAFailedQuery", "status 0x20\nstatus 0 1\n", "",
       getId() + getId() + getStatus(0x20) + getStatus(0, 1)},
  };
  std::vector<Case> rows;
  for (const Behaviour& row : behaviours) {
    const std::string rest = startedLine() + eventPart("0x40204", eventText(), 3, "/case/a.txt") +
                             "commonSendEvent OK\n";
    const Case event = {
        row.name,
        {{"/case/list", "-r", "/case/event.def"}, row.script},
        {framed(rest, 0), row.exchanges + startComm() + notify("0x40204", eventText()) +
                              sendItems("0x4010d", standardItems()) + stopped()}};
    rows.push_back(event);
    rows.push_back(traced(event, framed(parameterLines() + measuredStandard() + rest, 0)));
  }
  return rows;
}

}  // namespace

TANEXICS_PLAY(RefusedEvent, refusedEvents);
TANEXICS_PLAY(RefusedIncident, refusedIncidents);
TANEXICS_PLAY(AcceptedEvent, accepted);

class RefusedRun : public CommandTest {};

TEST_F(RefusedRun, IncidentStillRunsBothCollectionCommands) {
  for (const std::string script : {"status 0x20000\n", "start 5\n"}) {
    const Machine machine;
    machine.run({{"/case/list", "-i", "1"}, script});
    const std::vector<std::string> collected = linesOf(machine.read("/case/collected"));
    ASSERT_EQ(collected.size(), 2U);
    EXPECT_EQ(collected[0].substr(0, 10), "tanexcc 1 ");
    EXPECT_EQ(collected[1].substr(0, 10), "tanexcs 1 ");
    EXPECT_TRUE(machine.names("/tmp").empty());
  }
}
