#include "sweep/trials.h"

#include <array>
#include <csignal>
#include <limits>

#include "sweep/judge.h"

// The families whose runs go without a tracer.

namespace {

constexpr int kLeast = std::numeric_limits<int>::min();
constexpr int kMost = std::numeric_limits<int>::max();
constexpr std::array<const char*, 5> kCalls = {"KEL_GetID", "KEL_GetStatus", "KEL_StartComm",
                                               "KEL_Communicate", "KEL_StopComm"};
constexpr std::array<const char*, 3> kSecondTimes = {"KEL_GetID:2", "KEL_Communicate:2",
                                                     "KEL_StopComm:2"};

Outcome runPlain(const Scenario& scenario, const Launch& launch, const Orders& orders) {
  prepareStage(scenario, orders);
  return collectOutcome(runPlainly(launch));
}

// --- allocations ---------------------------------------------------------------------------------

/// The `first` allocation fails, and where `failsOn` all that follow it.
Outcome runShortOfMemory(const Scenario& scenario, int first, bool failsOn) {
  Orders orders = {};
  orders.firstFailing = first;
  orders.failsOn = failsOn;
  // The trace tells how far a removal had come.
  return runPlain(scenario, launchOf(scenario, {{"TANEX_LOG_LEVEL", "LOG_LEVEL_TRACE"}}), orders);
}

Verdict tryAllocation(const Reference& reference, int first, bool failsOn) {
  Verdict verdict;
  verdict.run = runShortOfMemory(*reference.scenario, first, failsOn);
  verdict.isHit = testimony()->allocationsFailed > 0;
  judgeToldVerdict(reference, verdict);
  judgeShortOfMemory(*reference.scenario, reference.outcome, verdict.run, verdict.findings);
  return verdict;
}

// --- the closed library --------------------------------------------------------------------------

/// What the closed library does: "throw" 33 at "KEL_GetID", or at "KEL_GetID:2" for its second time
/// alone.
struct Deed {
  std::string call;
  std::string name;
  int value = 0;

  std::string function() const { return call.substr(0, call.find(':')); }
};

Orders ordersFor(const Deed& deed) {
  Orders orders = {};
  const std::string function = deed.function();
  function.copy(orders.guiltyCall, sizeof orders.guiltyCall - 1);
  if (function != deed.call) orders.guiltyTime = std::stoi(deed.call.substr(function.size() + 1));
  deed.name.copy(orders.deed, sizeof orders.deed - 1);
  orders.value = deed.value;
  return orders;
}

/// What a run must end with when the library does this; -1 for std::terminate.
int expectedEnd(const Deed& deed) {
  constexpr int kTerminated = -1;
  const bool isStart = deed.function() == "KEL_StartComm";
  if (deed.name == "object") return kTerminated;
  if (deed.name == "throw") return isStart ? kTerminated : deed.value & 0xff;
  if (deed.name == "status") return deed.value == 0x20 || deed.value == 0x10000 ? 0 : 1;
  if (deed.name != "return") return 0;
  return (isStart || deed.function() == "KEL_GetStatus") && deed.value != 0 ? 1 : 0;
}

Verdict tryDeed(const Reference& reference, const Deed& deed) {
  const Scenario& scenario = *reference.scenario;
  Launch launch = launchOf(scenario, {{"LD_LIBRARY_PATH", kHostileFolder}, {"LD_PRELOAD", ""}});
  if (deed.name == "hang") launch.limit = std::chrono::milliseconds(700);
  Verdict verdict;
  verdict.run = runPlain(scenario, launch, ordersFor(deed));
  const Outcome& run = verdict.run;
  const int status = run.trace.waitStatus;
  // The library writes down what it does before it does it.
  verdict.isHit =
      run.record.find("\"deed\":\"" + deed.name + "\",\"value\":" + std::to_string(deed.value) +
                      "}") != std::string::npos;
  judgeToldVerdict(reference, verdict);
  judgePlainly(reference.outcome, run, verdict.findings);
  if (deed.name == "hang") {
    verdict.findings.expect(run.trace.isTimedOut, "1: a library that hangs was left");
    return verdict;
  }
  if (deed.name == "crash") {
    verdict.findings.expect(signalOf(status) == SIGSEGV, "1: a library that crashed was survived");
    return verdict;
  }
  const int end = expectedEnd(deed);
  verdict.findings.expect(end < 0 ? isTerminated(run) : exitStatusOf(status) == end,
                          "1: " + endText(status));
  judgePlainEnd(scenario, reference.outcome, run, verdict.findings);
  return verdict;
}

/// Trials of what the library does, as they are put together.
struct Deeds {
  const Reference& reference;
  std::vector<Trial> trials;

  void add(const std::string& call, const std::string& name, int value = 0) {
    const Deed deed = {call, name, value};
    std::string row = name == "throw" || name == "object" ? "library throws" : "library answers";
    if (name == "hang" || name == "crash") row = "library hangs, crashes";
    trials.push_back(
        {row, reference.scenario->name + " " + call + " " + name + " " + std::to_string(value),
         [&reference = reference, deed] { return tryDeed(reference, deed); }});
  }
};

}  // namespace

std::vector<Trial> allocationTrials(const Reference& reference) {
  const Scenario& scenario = *reference.scenario;
  runShortOfMemory(scenario, /*first=*/0, /*failsOn=*/false);
  const int count = testimony()->allocationsMade;
  std::vector<Trial> trials;
  for (int number = 1; number <= count; ++number) {
    for (const bool failsOn : {false, true}) {
      trials.push_back(
          {"allocations",
           scenario.name + " allocation " + std::to_string(number) + (failsOn ? "-" : ""),
           [=, &reference] { return tryAllocation(reference, number, failsOn); }});
    }
  }
  return trials;
}

std::vector<Trial> throwTrials(const Reference& reference) {
  Deeds deeds = {reference, {}};
  for (const char* call : kCalls) {
    for (const int value : {0, 33, 256, -1, kLeast, kMost}) deeds.add(call, "throw", value);
    deeds.add(call, "object");
  }
  for (const char* call : kSecondTimes) deeds.add(call, "object");
  for (const char* call : {"KEL_GetID:2", "KEL_Communicate:2"}) deeds.add(call, "throw", 33);
  return deeds.trials;
}

std::vector<Trial> libraryTrials(const Reference& reference) {
  constexpr int kLeastResult = -62;
  constexpr int kMostResult = 255;
  Deeds deeds = {reference, throwTrials(reference)};
  for (const char* call : kCalls) {
    for (int value = kLeastResult; value <= kMostResult; ++value) deeds.add(call, "return", value);
    for (const int value : {kLeast, kMost, 256, 0x10000}) deeds.add(call, "return", value);
    deeds.add(call, "hang");
    deeds.add(call, "crash");
  }
  for (const char* call : kSecondTimes) deeds.add(call, "crash");
  for (int bit = 0; bit < 32; ++bit) {
    deeds.add("KEL_GetStatus", "status", static_cast<int>(1U << bit));
    deeds.add("KEL_GetStatus", "status", static_cast<int>(~(1U << bit)));
    deeds.add("KEL_Communicate", "garbage", static_cast<int>(1U << bit));
  }
  for (const int word : {0x20000, 0x30000, 0x10020, kLeast, kMost, -1, 0}) {
    deeds.add("KEL_GetStatus", "status", word);
    deeds.add("KEL_Communicate", "garbage", word);
  }
  return deeds.trials;
}
