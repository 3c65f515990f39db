// A closed library that throws: integers become statuses, and whatever else it throws ends the
// process, but not before communication was stopped.

#include <csignal>

#include "e2e/support/cases.h"

namespace {

/// How the test library behaves, and all that comes of it. `calls` are the names of its calls.
struct Throw {
  std::string name;
  std::string thrower;
  std::string values;
  std::string log;
  int status;
  std::vector<std::string> calls;
};

const std::vector<std::string> kIds = {"GetID", "GetID"};
const std::vector<std::string> kStatuses = {"GetStatus", "GetStatus"};

std::string callsText(const std::vector<std::string>& calls) {
  std::string text;
  for (const std::string& call : calls) text += "KEL_" + call + "\n";
  return text;
}

std::string rest() { return startedLine() + eventPart("0x40204", eventText(), 3, "/case/a.txt"); }

std::string traced() { return parameterLines() + measuredStandard(); }

std::string caught(int code) {
  return "(CSendInfo::CommSendInfo) caught error code=" + std::to_string(code) + "\n";
}

constexpr char kError[] = "commonSendEvent Error.\n";
constexpr char kOk[] = "commonSendEvent OK\n";

/// Events, all at trace level.
std::vector<Throw> integers() {
  const std::vector<std::string> all = {"GetID",       "GetID",     "GetStatus",
                                        "GetStatus",   "StartComm", "Communicate",
                                        "Communicate", "StopComm",  "StopComm"};
  const std::vector<std::string> afterOneId(all.begin() + 1, all.end());
  return {
      {"IdentifierNonzero",
       "GetID",
       "33",
       framed(parameterLines() + caught(33), 33),
       33,
       {"GetID"}},
      {"IdentifierNonzeroAtTheSecondTime", "GetID", "- 33",
       framed(parameterLines() + caught(33), 33), 33, kIds},
      {"IdentifierNegative",
       "GetID",
       "-1",
       framed(parameterLines() + caught(-1), -1),
       255,
       {"GetID"}},
      {"IdentifierOf256LooksLikeSuccess",
       "GetID",
       "256",
       framed(parameterLines() + caught(256), 256),
       0,
       {"GetID"}},
      {"IdentifierZeroGoesOn", "GetID", "0",
       framed(parameterLines() + caught(0) + measuredStandard() + rest() + kOk, 0), 0, afterOneId},
      {"IdentifierZeroAtTheSecondTimeGoesOn", "GetID", "- 0",
       framed(parameterLines() + caught(0) + measuredStandard() + rest() + kOk, 0), 0, all},
      {"StatusNonzero",
       "GetStatus",
       "33",
       framed(traced(), 33),
       33,
       {"GetID", "GetID", "GetStatus"}},
      {"StatusNonzeroAtTheSecondTime",
       "GetStatus",
       "- 33",
       framed(traced(), 33),
       33,
       {"GetID", "GetID", "GetStatus", "GetStatus"}},
      {"StatusZero", "GetStatus", "0", framed(traced(), 0), 0, {"GetID", "GetID", "GetStatus"}},
      {"StatusOf256LooksLikeSuccess",
       "GetStatus",
       "256",
       framed(traced(), 256),
       0,
       {"GetID", "GetID", "GetStatus"}},
      {"NotificationNonzero", "Communicate", "33", framed(traced() + rest() + kError, 33), 33, all},
      {"DataNonzero", "Communicate", "- 33", framed(traced() + rest() + kError, 33), 33, all},
      {"LastOfTwoWins", "Communicate", "33 34", framed(traced() + rest() + kError, 34), 34, all},
      {"ZeroAfterAnotherWinsToo", "Communicate", "33 0", framed(traced() + rest() + kOk, 0), 0,
       all},
      {"NotificationZeroIsNoError", "Communicate", "0", framed(traced() + rest() + kOk, 0), 0, all},
      {"ExchangeOf256LooksLikeSuccess", "Communicate", "256",
       framed(traced() + rest() + kError, 256), 0, all},
      {"StopNonzero", "StopComm", "33", framed(traced() + rest() + kError, 33), 33, all},
      {"StopZero", "StopComm", "0", framed(traced() + rest() + kOk, 0), 0, all},
  };
}

std::vector<Throw> objects() {
  const std::string start = "### main : tanexics started.\n";
  const std::string exchanging =
      start + traced() + startedLine() + "commonSendEvent Main Loop (1/3)\n" +
      "RM_Communicate call (param=0x40204 0 0 " + eventText() + " NULL  NULL)\n";
  return {
      {"Identifier", "GetID", "object", start + parameterLines(), SIGABRT, {"GetID"}},
      {"IdentifierAtTheSecondTime", "GetID", "- object", start + parameterLines(), SIGABRT, kIds},
      {"Status", "GetStatus", "object", start + traced(), SIGABRT, {"GetID", "GetID", "GetStatus"}},
      {"Start",
       "StartComm",
       "object",
       start + traced(),
       SIGABRT,
       {"GetID", "GetID", "GetStatus", "GetStatus", "StartComm"}},
      {"StartWithAnInteger",
       "StartComm",
       "33",
       start + traced(),
       SIGABRT,
       {"GetID", "GetID", "GetStatus", "GetStatus", "StartComm"}},
      {"Notification",
       "Communicate",
       "object",
       exchanging,
       SIGABRT,
       {"GetID", "GetID", "GetStatus", "GetStatus", "StartComm", "Communicate", "StopComm"}},
      {"Data",
       "Communicate",
       "- object",
       exchanging + done() + "RM_Communicate call (param=0x4010d ? 3 /case/a.txt NULL  NULL)\n",
       SIGABRT,
       {"GetID", "GetID", "GetStatus", "GetStatus", "StartComm", "Communicate", "Communicate",
        "StopComm"}},
      {"Stop",
       "StopComm",
       "object",
       start + traced() + rest(),
       SIGABRT,
       {"GetID", "GetID", "GetStatus", "GetStatus", "StartComm", "Communicate", "Communicate",
        "StopComm", "StopComm"}},
  };
}

void PrintTo(const Throw& row, std::ostream* stream) { *stream << row.name; }

Call onThrowingLibrary(const std::vector<std::string>& arguments, const std::string& thrower,
                       const std::string& values, bool trace = true) {
  return {arguments,
          "",
          trace,
          {{"LD_LIBRARY_PATH", "/testkelcom"},
           {"TEST_KELCOM_CALLS", "/case/calls"},
           {"TEST_KELCOM_THROW", "KEL_" + thrower},
           {"TEST_KELCOM_VALUES", values}}};
}

class Throwing : public CommandTest, public testing::WithParamInterface<Throw> {
 protected:
  Machine machine;

  RunResult runEvent() const {
    return machine.run(onThrowingLibrary({"/case/list", "-r", "/case/event.def"},
                                         GetParam().thrower, GetParam().values));
  }

  void expectCalls() const { EXPECT_EQ(machine.read("/case/calls"), callsText(GetParam().calls)); }
};

class ThrowingInteger : public Throwing {};

TEST_P(ThrowingInteger, BecomesTheStatus) {
  expectRun(runEvent(), {GetParam().log, "", GetParam().status});
  expectCalls();
}

INSTANTIATE_TEST_SUITE_P(Case, ThrowingInteger, testing::ValuesIn(integers()),
                         [](const auto& row) { return row.param.name; });

class ThrowingObject : public Throwing {};

TEST_P(ThrowingObject, EndsTheProcessWithoutAnExitLine) {
  const RunResult result = runEvent();
  EXPECT_EQ(result.log, GetParam().log);
  EXPECT_EQ(result.child.signal(), SIGABRT);
  EXPECT_EQ(result.child.out, "");
  EXPECT_EQ(result.child.err.rfind("terminate called after throwing an instance of '", 0), 0U)
      << result.child.err;
  expectCalls();
}

INSTANTIATE_TEST_SUITE_P(Case, ThrowingObject, testing::ValuesIn(objects()),
                         [](const auto& row) { return row.param.name; });

class ThrowingIncident : public CommandTest {
 protected:
  Machine machine;
};

TEST_F(ThrowingIncident, LoopGoesOnWithTheNextFileAndTheLastIntegerWins) {
  const RunResult result =
      machine.run(onThrowingLibrary({"/case/list", "-i", "1"}, "Communicate", "7 - 8 - - 9"));
  expectRun(result, {framed(hostNameLines(true) + measuredStandard() + startedLine() +
                                standardParts() + kError,
                            9),
                     "", 9});
  EXPECT_FALSE(machine.exists("/case/collected"));
  EXPECT_EQ(machine.read("/case/calls"),
            callsText({"GetID", "GetID", "GetStatus", "GetStatus", "StartComm", "Communicate",
                       "Communicate", "Communicate", "Communicate", "Communicate", "Communicate",
                       "StopComm", "StopComm"}));
}

TEST_F(ThrowingIncident, NoCollectionCommandRunsAfterStatus68) {
  const RunResult result =
      machine.run(onThrowingLibrary({"/case/list", "-i", "1"}, "StopComm", "68", false));
  expectRun(result,
            {framed(hostNameLines() + startedLine() + standardParts() + kError, 68), "", 68});
  EXPECT_FALSE(machine.exists("/case/collected"));
  EXPECT_TRUE(machine.names("/tmp").empty());
}

TEST_F(ThrowingIncident, CollectionCommandsRunAfterStatus1) {
  const RunResult result =
      machine.run(onThrowingLibrary({"/case/list", "-i", "1"}, "Communicate", "1", false));
  expectRun(
      result,
      {framed(hostNameLines() + startedLine() + standardParts() + kError + collectionLines(), 1),
       "", 1});
  EXPECT_EQ(linesOf(machine.read("/case/collected")).size(), 2U);
}

TEST_F(ThrowingIncident, IdentifierErrorIsInvisibleAtInformationLevelButForTheStatus) {
  expectRun(machine.run(onThrowingLibrary({"/case/list", "-i", "1"}, "GetID", "33", false)),
            {framed("", 33), "", 33});
}

}  // namespace
