// A closed library that throws: integers become statuses, and whatever else it throws ends the
// process, but not before communication was stopped.

#include <csignal>

#include "e2e/support/cases.h"

namespace {

/// How the test library behaves, and all that comes of an event at trace level: an exit status or
/// a signal, and the names of the library's calls.
struct Throw {
  std::string name;
  std::string thrower;
  std::string values;
  std::string log;
  int status;
  std::string calls;
};

const std::string kOneId = "GetID ";
const std::string kIds = "GetID GetID ";
const std::string kOneStatus = kIds + "GetStatus ";
const std::string kStatuses = kIds + "GetStatus GetStatus ";
const std::string kStart = kStatuses + "StartComm ";
const std::string kAll = kStart + "Communicate Communicate StopComm StopComm ";

constexpr char kError[] = "commonSendEvent Error.\n";
constexpr char kOk[] = "commonSendEvent OK\n";

/// What is logged up to the start of communication, and from there to the end of the exchanges.
std::string measuredLog() { return (parameterLines() + Sending().measures()).trace; }
std::string sentLog() {
  return measuredLog() + startedLine() + eventPart("0x40204", eventText(), 3, "/case/a.txt");
}

/// What is logged when an identifier was thrown in place of returned.
std::string caught(int code) {
  return parameterLines().trace +
         "(CSendInfo::CommSendInfo) caught error code=" + std::to_string(code) + "\n";
}

std::vector<Throw> integers() {
  const std::string goesOn = caught(0) + sentLog().substr(parameterLines().trace.size()) + kOk;
  return {
      {"IdentifierNonzero", "GetID", "33", framed(caught(33), 33), 33, kOneId},
      {"IdentifierNonzeroAtTheSecondTime", "GetID", "- 33", framed(caught(33), 33), 33, kIds},
      {"IdentifierNegative", "GetID", "-1", framed(caught(-1), -1), 255, kOneId},
      {"IdentifierOf256LooksLikeSuccess", "GetID", "256", framed(caught(256), 256), 0, kOneId},
      {"IdentifierZeroGoesOn", "GetID", "0", framed(goesOn, 0), 0, kAll.substr(kOneId.size())},
      {"IdentifierZeroAtTheSecondTimeGoesOn", "GetID", "- 0", framed(goesOn, 0), 0, kAll},
      {"StatusNonzeroAtTheSecondTime", "GetStatus", "- 33", framed(measuredLog(), 33), 33,
       kStatuses},
      {"StatusOf256LooksLikeSuccess", "GetStatus", "256", framed(measuredLog(), 256), 0,
       kOneStatus},
      {"NotificationNonzero", "Communicate", "33", framed(sentLog() + kError, 33), 33, kAll},
      {"DataNonzero", "Communicate", "- 33", framed(sentLog() + kError, 33), 33, kAll},
      {"LastOfTwoWins", "Communicate", "33 34", framed(sentLog() + kError, 34), 34, kAll},
      {"ZeroAfterAnotherWinsToo", "Communicate", "33 0", framed(sentLog() + kOk, 0), 0, kAll},
      {"NotificationZeroIsNoError", "Communicate", "0", framed(sentLog() + kOk, 0), 0, kAll},
      {"ExchangeOf256LooksLikeSuccess", "Communicate", "256", framed(sentLog() + kError, 256), 0,
       kAll},
      {"StopNonzero", "StopComm", "33", framed(sentLog() + kError, 33), 33, kAll},
      {"StopZero", "StopComm", "0", framed(sentLog() + kOk, 0), 0, kAll},
  };
}

std::vector<Throw> objects() {
  const std::string start = "### main : tanexics started.\n";
  const std::string all = start + sentLog();
  const std::string notified = all.substr(0, all.find("RM_Communicate done"));
  const std::string sent = all.substr(0, all.rfind("RM_Communicate done"));
  const std::string opened = start + parameterLines().trace;
  const std::string queried = start + measuredLog();
  return {
      {"Identifier", "GetID", "object", opened, SIGABRT, kOneId},
      {"IdentifierAtTheSecondTime", "GetID", "- object", opened, SIGABRT, kIds},
      {"Status", "GetStatus", "object", queried, SIGABRT, kOneStatus},
      {"Start", "StartComm", "object", queried, SIGABRT, kStart},
      {"StartWithAnInteger", "StartComm", "33", queried, SIGABRT, kStart},
      {"Notification", "Communicate", "object", notified, SIGABRT,
       kStart + "Communicate StopComm "},
      {"Data", "Communicate", "- object", sent, SIGABRT,
       kStart + "Communicate Communicate StopComm "},
      {"Stop", "StopComm", "object", all, SIGABRT, kAll},
  };
}

void PrintTo(const Throw& row, std::ostream* stream) { *stream << row.name; }

Call throwing(const Call& call, const std::string& thrower, const std::string& values) {
  return call.with({{"LD_LIBRARY_PATH", "/testkelcom"},
                    {"TEST_KELCOM_CALLS", "/case/calls"},
                    {"TEST_KELCOM_THROW", "KEL_" + thrower},
                    {"TEST_KELCOM_VALUES", values}});
}

class ThrowingLibrary : public MachineTest {
 protected:
  /// The names of the calls, a blank after each.
  std::string calls() const {
    std::string names;
    for (const std::string& call : linesOf(machine.read("/case/calls"))) {
      EXPECT_EQ(call.substr(0, 4), "KEL_");
      names += call.substr(4) + " ";
    }
    return names;
  }
};

class Throwing : public ThrowingLibrary, public testing::WithParamInterface<Throw> {
 protected:
  RunResult runEvent() const {
    return machine.run(throwing(eventCall().traced(), GetParam().thrower, GetParam().values));
  }
};

class ThrowingInteger : public Throwing {};

TEST_P(ThrowingInteger, BecomesTheStatus) {
  expectRun(runEvent(), {GetParam().log, "", GetParam().status});
  EXPECT_EQ(calls(), GetParam().calls);
}

INSTANTIATE_TEST_SUITE_P(Case, ThrowingInteger, testing::ValuesIn(integers()),
                         testing::PrintToStringParamName());

class ThrowingObject : public Throwing {};

TEST_P(ThrowingObject, EndsTheProcessWithoutAnExitLine) {
  const RunResult result = runEvent();
  EXPECT_EQ(result.log, GetParam().log);
  EXPECT_EQ(result.child.signal(), GetParam().status);
  EXPECT_EQ(result.child.out, "");
  EXPECT_EQ(result.child.err.rfind("terminate called after throwing an instance of '", 0), 0U)
      << result.child.err;
  EXPECT_EQ(calls(), GetParam().calls);
}

INSTANTIATE_TEST_SUITE_P(Case, ThrowingObject, testing::ValuesIn(objects()),
                         testing::PrintToStringParamName());

/// An incident that ends with an error, on the library that keeps no record.
Expected failedIncident(const LogText& tail, int status) {
  Sending sending;
  sending.ending = kError;
  sending.tail = tail;
  sending.status = status;
  return {sending.incident().log, "", status};
}

using ThrowingIncident = ThrowingLibrary;

TEST_F(ThrowingIncident, SomeExchanges_LoopGoesOnAndTheLastIntegerWins) {
  expectRun(machine.run(throwing(incidentCall().traced(), "Communicate", "7 - 8 - - 9")),
            failedIncident("", 9));
  EXPECT_FALSE(machine.exists("/case/collected"));
  EXPECT_EQ(calls(), kStart +
                         "Communicate Communicate Communicate Communicate Communicate "
                         "Communicate StopComm StopComm ");
}

TEST_F(ThrowingIncident, Status68_NoCollectionCommandRuns) {
  expectRun(machine.run(throwing(incidentCall(), "StopComm", "68")), failedIncident("", 68));
  EXPECT_FALSE(machine.exists("/case/collected"));
  EXPECT_TRUE(machine.names("/tmp").empty());
}

TEST_F(ThrowingIncident, Status1_CollectionCommandsRun) {
  expectRun(machine.run(throwing(incidentCall(), "Communicate", "1")),
            failedIncident(collectionLines(), 1));
  EXPECT_EQ(machine.collected().size(), 2U);
}

TEST_F(ThrowingIncident, Identifier_ShowsAtInformationLevelInTheStatusAlone) {
  expectRun(machine.run(throwing(incidentCall(), "GetID", "33")),
            {framed(std::string(), 33), "", 33});
}

}  // namespace
