// What the state of the connection makes of a run, as an incident and as an event.

#include "e2e/support/cases.h"

namespace {

/// How a connection behaves: what it answers, what is logged where communication would have
/// started, and the record of the calls.
struct Behaviour {
  std::string name;
  std::string script;
  std::string message;
  std::string exchanges;
};

std::string cancelled(const std::string& status) {
  return "(CSendInfo::SendInfo) Cancel sending investigation information, because connection "
         "status is not operating. (status=" +
         status + ") \n\n";
}

std::string refused(const std::string& code) {
  return "(CSendInfo::SendInfo) CRMSenderBase::RM_StartComm() error(code=" + code + ")\n";
}

std::string queried(const std::string& first, const std::string& second) {
  return getId() + getId() + first + second;
}

std::vector<Behaviour> refusals() {
  return {
      {"Stopped", "status 0x20000\n", cancelled("131072"), asked(0x20000)},
      {"MaintenanceStop", "status 0x30000\n", cancelled("196608"), asked(0x30000)},
      {"UnknownWord", "status 0x10020\n", cancelled("65568"), asked(0x10020)},
      {"ZeroWord", "status 0\n", cancelled("0"), asked(0)},
      {"NegativeWord", "status -1\n", cancelled("-1"), asked(-1)},
      {"FailedQueryThatLeavesOperating", "status 0x20 7\n", cancelled("32"),
       queried(getStatus(0x20, 7), getStatus(0x20, 7))},
      {"FailedQueryThatLeavesMaintenance", "status 0x10000 -3\n", cancelled("65536"),
       queried(getStatus(0x10000, -3), getStatus(0x10000, -3))},
      {"OperatingOnlyAtTheSecondQuery", "status 0x20000\nstatus 0x20\n", cancelled("32"),
       queried(getStatus(0x20000), getStatus(0x20))},
      {"RefusedStart", "start 5\n", refused("5"), asked() + startComm(5)},
      {"RefusedStartWithANegativeCode", "start -12\n", refused("-12"), asked() + startComm(-12)},
      {"RefusedStartInMaintenance", "status 0x10000\nstart 1\n", refused("1"),
       asked(0x10000) + startComm(1)},
  };
}

/// The event ends with 1 and nothing is sent.
std::vector<Case> refusedEvents() {
  std::vector<Case> rows;
  for (const Behaviour& row : refusals()) {
    const LogText log = parameterLines() + Sending().measures() + row.message;
    rows.push_back(
        {row.name, eventCall().answered(row.script), {framed(log, 1), row.exchanges, 1}});
  }
  return rows;
}

/// The incident ends with 1 too, but its collection commands have run.
std::vector<Case> refusedIncidents() {
  std::vector<Case> rows;
  for (const Behaviour& row : refusals()) {
    const LogText log = hostNameLines() + Sending().measures() + row.message + collectionLines();
    rows.push_back(
        {row.name, incidentCall().answered(row.script), {framed(log, 1), row.exchanges, 1}});
  }
  return rows;
}

std::vector<Case> acceptedEvents() {
  const std::vector<Behaviour> behaviours = {
      {"Maintenance", "status 0x10000\n", "", asked(0x10000)},
      {"MaintenanceAtTheSecondQuery", "status 0x20000\nstatus 0x10000\n", "",
       queried(getStatus(0x20000), getStatus(0x10000))},
      {"MaintenanceAfterAFailedQuery", "status 0x20 1\nstatus 0x10000\n", "",
       queried(getStatus(0x20, 1), getStatus(0x10000))},
      {"OperatingAtTheFirstQueryOnly", "status 0x20\nstatus 0x20000\n", "",
       queried(getStatus(0x20), getStatus(0x20000))},
      {"OperatingThenAFailedQuery", "status 0x20\nstatus 0 1\n", "",
       queried(getStatus(0x20), getStatus(0, 1))},
  };
  std::vector<Case> rows;
  for (const Behaviour& row : behaviours) {
    Sending sending;
    sending.queries = row.exchanges;
    rows.push_back({row.name, eventCall().answered(row.script), sending.event()});
  }
  return rows;
}

TANEXICS_PLAY(RefusedEvent, atBothLevels(refusedEvents()));
TANEXICS_PLAY(RefusedIncident, atBothLevels(refusedIncidents()));
TANEXICS_PLAY(AcceptedEvent, atBothLevels(acceptedEvents()));

using RefusedRun = MachineTest;

TEST_F(RefusedRun, IncidentStillRunsBothCollectionCommands) {
  for (const std::string script : {"status 0x20000\n", "start 5\n"}) {
    machine.clear();
    machine.run(incidentCall().answered(script));
    const std::vector<std::string> collected = machine.collected();
    ASSERT_EQ(collected.size(), 2U);
    EXPECT_EQ(collected[0].substr(0, 10), "tanexcc 1 ");
    EXPECT_EQ(collected[1].substr(0, 10), "tanexcs 1 ");
    EXPECT_TRUE(machine.names("/tmp").empty());
  }
}

}  // namespace
