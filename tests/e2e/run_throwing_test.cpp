// A closed library that throws: integers become statuses, and whatever else it throws ends the
// process, but not before communication was stopped.

#include <csignal>

#include "e2e/support/cases.h"

namespace {

/// What the test library throws, and all that comes of an event at trace level: an exit status or a
/// signal, and the names of the library's calls.
struct Throw {
  std::string thrower;
  std::string values;
  LogText log;
  int end;
  std::string calls;
};

const std::string kIds = "GetID GetID ";
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

class Throwing : public MachineTest {
 protected:
  RunResult run(const std::string& thrower, const std::string& values) const {
    machine.clear();
    return machine.run(eventCall().traced().with({{"LD_LIBRARY_PATH", "/testkelcom"},
                                                  {"TEST_KELCOM_CALLS", "/case/calls"},
                                                  {"TEST_KELCOM_THROW", "KEL_" + thrower},
                                                  {"TEST_KELCOM_VALUES", values}}));
  }

  /// The names of the calls without "KEL_", a blank after each.
  std::string calls() const {
    std::string names;
    for (const std::string& call : linesOf(machine.read("/case/calls"))) {
      names += call.substr(4) + " ";
    }
    return names;
  }
};

TEST_F(Throwing, Integer_BecomesTheStatus) {
  const std::string goesOn = caught(0) + sentLog().substr(parameterLines().trace.size()) + kOk;
  const Throw rows[] = {
      {"GetID", "- 33", framed(caught(33), 33), 33, kIds},
      {"GetID", "-1", framed(caught(-1), -1), 255, "GetID "},
      {"GetID", "0", framed(goesOn, 0), 0, kAll.substr(std::string("GetID ").size())},
      {"GetStatus", "- 33", framed(measuredLog(), 33), 33, kStatuses},
      {"Communicate", "33 34", framed(sentLog() + kError, 34), 34, kAll},
      {"Communicate", "33 0", framed(sentLog() + kOk, 0), 0, kAll},
      // Odd: it looks like success.
      {"StopComm", "256", framed(sentLog() + kError, 256), 0, kAll},
  };
  for (const auto& [thrower, values, log, status, names] : rows) {
    SCOPED_TRACE(testing::Message() << thrower << ' ' << values);
    expectRun(run(thrower, values), {log, "", status});
    EXPECT_EQ(calls(), names);
  }
}

TEST_F(Throwing, Object_EndsTheProcessWithoutAnExitLine) {
  const std::string start = "### main : tanexics started.\n";
  const std::string all = start + sentLog();
  const std::string sent = all.substr(0, all.rfind("RM_Communicate done"));
  const std::string queried = start + measuredLog();
  const Throw rows[] = {
      {"GetID", "- object", start + parameterLines().trace, SIGABRT, kIds},
      {"GetStatus", "object", queried, SIGABRT, kIds + "GetStatus "},
      {"StartComm", "object", queried, SIGABRT, kStart},
      {"StartComm", "33", queried, SIGABRT, kStart},
      {"Communicate", "- object", sent, SIGABRT, kStart + "Communicate Communicate StopComm "},
      {"StopComm", "object", all, SIGABRT, kAll},
  };
  for (const auto& [thrower, values, log, signal, names] : rows) {
    SCOPED_TRACE(testing::Message() << thrower << ' ' << values);
    const RunResult result = run(thrower, values);
    EXPECT_EQ(result.log, log.trace);
    EXPECT_EQ(result.child.signal(), signal);
    EXPECT_EQ(result.child.out, "");
    EXPECT_EQ(result.child.err.rfind(terminated(), 0), 0U) << result.child.err;
    EXPECT_EQ(calls(), names);
  }
}

}  // namespace
