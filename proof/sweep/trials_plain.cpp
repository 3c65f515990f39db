#include <array>
#include <csignal>
#include <cstring>
#include <fstream>
#include <sstream>

#include "sweep/ending.h"
#include "sweep/judge.h"
#include "sweep/judge_plain.h"
#include "sweep/launch.h"
#include "sweep/loglines.h"
#include "sweep/trial.h"

// The families whose runs go without a tracer.

namespace {

constexpr auto kHangLimit = std::chrono::milliseconds(700);
constexpr int kLeastResult = -62;
constexpr int kMostResult = 255;
constexpr int kLeast = -2147483647 - 1;
constexpr int kMost = 2147483647;
constexpr std::array<const char*, 5> kCalls = {"KEL_GetID", "KEL_GetStatus", "KEL_StartComm",
                                               "KEL_Communicate", "KEL_StopComm"};

constexpr std::array<const char*, 3> kSecondTimes = {"KEL_GetID:2", "KEL_Communicate:2",
                                                     "KEL_StopComm:2"};

struct AllocationCounts {
  int made = 0;
  int failed = 0;
};

AllocationCounts readCounts() {
  std::ifstream file(kAllocationCount, std::ios::binary);
  AllocationCounts counts;
  file.read(reinterpret_cast<char*>(&counts), sizeof counts);
  return counts;
}

Outcome runOn(const Scenario& scenario, const Launch& launch) {
  prepareStage(scenario);
  return collectOutcome(runPlainly(launch));
}

// --- allocations ---------------------------------------------------------------------------------

Verdict tryAllocation(const Reference& reference, const std::string& which) {
  Verdict verdict;
  verdict.run = runOn(*reference.scenario, allocationLaunchOf(*reference.scenario, which));
  const Outcome& run = verdict.run;
  verdict.isHit = readCounts().failed > 0;
  judgeShortOfMemory(reference, run, verdict.broken);
  return verdict;
}

// --- the closed library --------------------------------------------------------------------------

bool isReachable(int word) { return word == 0x20 || word == 0x10000; }

/// What a run must end with when the library does this; -1 for std::terminate.
int expectedEnd(const std::string& call, const std::string& deed, int value) {
  constexpr int kTerminated = -1;
  const bool isStart = call == "KEL_StartComm";
  if (deed == "object") return kTerminated;
  if (deed == "throw") return isStart ? kTerminated : value & 0xff;
  if (deed == "status") return isReachable(value) ? 0 : 1;
  if (deed == "return" && (isStart || call == "KEL_GetStatus")) return value == 0 ? 0 : 1;
  return 0;
}

/// `call` may name one of its times, "KEL_GetID:2".
Verdict tryDeed(const Reference& reference, const std::string& call, const std::string& deed,
                int value) {
  const std::string text = deed == "object" || deed == "hang" || deed == "crash"
                               ? deed
                               : deed + " " + std::to_string(value);
  Launch launch = hostileLaunchOf(*reference.scenario, call, text);
  if (deed == "hang") launch.limit = kHangLimit;
  Verdict verdict;
  verdict.run = runOn(*reference.scenario, launch);
  const Outcome& run = verdict.run;
  const std::string name = call.substr(0, call.find(':'));
  // The library writes down what it does before it does it.
  verdict.isHit = run.record.find("\"deed\":\"" + text + "\"") != std::string::npos;
  judgePlainLog(run, verdict.broken);
  judgePlainInputs(reference, run, verdict.broken);
  if (deed == "hang") {
    demand(run.trace.isTimedOut, "1: a library that hangs was left", verdict.broken);
    return verdict;
  }
  if (deed == "crash") {
    demand(signalOf(run.trace.waitStatus) == SIGSEGV, "1: a library that crashed was survived",
           verdict.broken);
    return verdict;
  }
  const int end = expectedEnd(name, deed, value);
  demand(end < 0 ? signalOf(run.trace.waitStatus) == SIGABRT
                 : exitStatusOf(run.trace.waitStatus) == end,
         "1: wait status " + std::to_string(run.trace.waitStatus), verdict.broken);
  const Ending ending =
      signalOf(run.trace.waitStatus) == SIGABRT ? Ending::kTerminated : Ending::kWhole;
  for (const std::string& broken : judgeOrder(run.record, *reference.scenario, ending)) {
    verdict.broken.push_back(broken);
  }
  judgePlainEnd(run, verdict.broken);
  judgePlainTemporary(reference, run, verdict.broken);
  judgePlainOutput(reference, run, verdict.broken);
  return verdict;
}

void addDeed(std::vector<Trial>& trials, const Reference& reference, const std::string& call,
             const std::string& deed, int value) {
  Trial trial;
  trial.row = deed == "throw" || deed == "object" ? "library throws" : "library answers";
  if (deed == "hang" || deed == "crash") trial.row = "library hangs, crashes";
  trial.name = reference.scenario->name + " " + call + " " + deed + " " + std::to_string(value);
  trial.run = [&reference, call, deed, value] { return tryDeed(reference, call, deed, value); };
  trials.push_back(trial);
}

}  // namespace

std::vector<Trial> allocationTrials(const Reference& reference) {
  const Scenario& scenario = *reference.scenario;
  runOn(scenario, allocationLaunchOf(scenario, "0"));
  const int count = readCounts().made;
  std::vector<Trial> trials;
  for (int number = 1; number <= count; ++number) {
    for (const char* reach : {"", "-"}) {
      const std::string which = std::to_string(number) + reach;
      Trial trial;
      trial.row = "allocations";
      trial.name = scenario.name + " allocation " + which;
      trial.run = [&reference, which] { return tryAllocation(reference, which); };
      trials.push_back(trial);
    }
  }
  return trials;
}

std::vector<Trial> throwTrials(const Reference& reference) {
  std::vector<Trial> trials;
  for (const char* call : kCalls) {
    for (const int value : {0, 33, 256, -1, kLeast, kMost}) {
      addDeed(trials, reference, call, "throw", value);
    }
    addDeed(trials, reference, call, "object", 0);
  }
  for (const char* call : kSecondTimes) addDeed(trials, reference, call, "object", 0);
  addDeed(trials, reference, "KEL_GetID:2", "throw", 33);
  addDeed(trials, reference, "KEL_Communicate:2", "throw", 33);
  return trials;
}

std::vector<Trial> libraryTrials(const Reference& reference) {
  std::vector<Trial> trials = throwTrials(reference);
  for (const char* call : kCalls) {
    for (int value = kLeastResult; value <= kMostResult; ++value) {
      addDeed(trials, reference, call, "return", value);
    }
    for (const int value : {kLeast, kMost, 256, 0x10000}) {
      addDeed(trials, reference, call, "return", value);
    }
    for (const char* deed : {"hang", "crash"}) addDeed(trials, reference, call, deed, 0);
  }
  for (const char* call : kSecondTimes) addDeed(trials, reference, call, "crash", 0);
  for (int bit = 0; bit < 32; ++bit) {
    addDeed(trials, reference, "KEL_GetStatus", "status", static_cast<int>(1U << bit));
    addDeed(trials, reference, "KEL_GetStatus", "status", static_cast<int>(~(1U << bit)));
    addDeed(trials, reference, "KEL_Communicate", "garbage", static_cast<int>(1U << bit));
  }
  for (const int word : {0x20000, 0x30000, 0x10020, kLeast, kMost, -1, 0}) {
    addDeed(trials, reference, "KEL_GetStatus", "status", word);
    addDeed(trials, reference, "KEL_Communicate", "garbage", word);
  }
  return trials;
}
