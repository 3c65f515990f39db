#include <sys/syscall.h>

#include <algorithm>
#include <array>
#include <cerrno>
#include <set>

#include "sweep/calls.h"
#include "sweep/judge.h"
#include "sweep/sweep.h"
#include "sweep/trial.h"

namespace {

Outcome runWith(const Scenario& scenario, const Launch& launch, const Fault* fault,
                bool isBlunt = false) {
  prepareStage(scenario);
  Disturbance disturbance;
  disturbance.fault = fault;
  disturbance.isBlunt = isBlunt;
  return runTraced(launch, disturbance);
}

// --- the tracer ----------------------------------------------------------------------------------

/// A fault that is due and not injected must not count as a hit: each call, with each kind of error
/// that there is to it.
Verdict tryBluntly(const Reference& reference) {
  Verdict verdict;
  verdict.isHit = true;
  for (const Call& call : reference.outcome.trace.calls) {
    const std::vector<int>& errors = findCall(call.kind)->errors;
    for (const int error : std::set<int>{errors.front(), errors.back()}) {
      if (!canBeTried(call, error)) continue;
      Fault fault;
      fault.process = call.process;
      fault.call = call.number;
      fault.error = error;
      const Scenario& scenario = *reference.scenario;
      if (runWith(scenario, launchOf(scenario), &fault, /*isBlunt=*/true).trace.isHit()) {
        verdict.broken.push_back("0: a fault that was not injected counts: " + toText(fault));
      }
    }
  }
  return verdict;
}

/// A fault after the last call must not be hit, and the run must be like the undisturbed one:
/// there is no further call to try.
Verdict tryBehindEnd(const Reference& reference) {
  const Scenario& scenario = *reference.scenario;
  const std::vector<Process>& processes = reference.outcome.trace.processes;
  Verdict verdict;
  verdict.isHit = true;
  for (std::size_t number = 0; number < processes.size(); ++number) {
    Fault fault;
    fault.process = static_cast<int>(number);
    fault.call = processes[number].calls + 1;
    fault.error = EIO;
    const Outcome run = runWith(scenario, launchOf(scenario), &fault);
    if (run.trace.isHit()) verdict.broken.push_back("0: there is a call at " + toText(fault));
    for (const std::string& broken : judgeReference(scenario, reference.outcome, run)) {
      verdict.broken.push_back(broken);
    }
  }
  return verdict;
}

// --- the judge -----------------------------------------------------------------------------------

/// One bug of seeds.cpp.
struct Seed {
  const char* bug;
  int promise;  // the one that it breaks
  long kind;    // the calls that are made to fail to bring it out
  int error;    // what they fail with; 0 for an undisturbed run
};

constexpr std::array<Seed, 12> kSeeds = {{{"crash", 1, SYS_wait4, ECHILD},
                                          {"failed-shell", 1, SYS_execve, ENOENT},
                                          {"other-status", 2, 0, 0},
                                          {"partial-list", 3, SYS_read, EIO},
                                          {"single-stop", 3, 0, 0},
                                          {"torn-line", 4, SYS_write, EIO},
                                          {"dirty-output", 5, 0, 0},
                                          {"kept-directory", 6, SYS_execve, ENOENT},
                                          {"open-descriptor", 6, 0, 0},
                                          {"changed-input", 6, 0, 0},
                                          {"unwaited-child", 6, 0, 0},
                                          {"repeated-removal", 7, 0, 0}}};

/// All that is broken in the runs of the command with `bug`, "" for none, under the faults of
/// `seed`.
std::vector<std::string> brokenUnder(const Reference& reference, const Seed& seed,
                                     const std::string& bug) {
  const Scenario& scenario = *reference.scenario;
  const Launch launch = seededLaunchOf(scenario, bug);
  if (seed.error == 0) {
    const Outcome run = runWith(scenario, launch, nullptr);
    std::vector<std::string> broken = judgeReference(scenario, reference.outcome, run);
    for (const std::string& more : judge(scenario, reference.outcome, run)) broken.push_back(more);
    return broken;
  }
  std::vector<std::string> broken;
  for (const Call& call : reference.outcome.trace.calls) {
    if (call.process != 0 && seed.kind != SYS_execve) continue;
    if (call.kind != seed.kind) continue;
    Fault fault;
    fault.process = call.process;
    fault.call = call.number;
    fault.error = seed.error;
    const Outcome run = runWith(scenario, launch, &fault);
    for (const std::string& more : judge(scenario, reference.outcome, run)) broken.push_back(more);
  }
  return broken;
}

/// The bug must break its promise, and nothing must be broken without it.
Verdict trySeed(const Reference& reference, const Seed& seed) {
  Verdict verdict;
  verdict.isHit = true;
  const std::string promise = std::to_string(seed.promise) + ":";
  const std::vector<std::string> found = brokenUnder(reference, seed, seed.bug);
  const bool isFound = std::any_of(found.begin(), found.end(), [&promise](const auto& broken) {
    return broken.compare(0, promise.size(), promise) == 0;
  });
  if (!isFound) {
    verdict.broken.push_back("0: the seeded bug does not break promise " +
                             std::to_string(seed.promise) + ": " + seed.bug);
    verdict.broken.insert(verdict.broken.end(), found.begin(), found.end());
  }
  for (const std::string& broken : brokenUnder(reference, seed, "")) {
    verdict.broken.push_back("0: broken without a bug: " + broken);
  }
  return verdict;
}

Trial makeTrial(const std::string& name, std::function<Verdict()> run) {
  return {kSelfTestRow, kSelfTestRow + (" " + name), std::move(run)};
}

}  // namespace

std::vector<Trial> endTrials(const Reference& reference) {
  return {makeTrial("behind the end of " + reference.scenario->name,
                    [&reference] { return tryBehindEnd(reference); })};
}

std::vector<Trial> selfTrials(const Reference& event, const Reference& incident) {
  std::vector<Trial> trials;
  trials.push_back(makeTrial("blunt", [&event] { return tryBluntly(event); }));
  for (const Seed& seed : kSeeds) {
    trials.push_back(makeTrial(std::string("bug ") + seed.bug,
                               [&incident, &seed] { return trySeed(incident, seed); }));
  }
  return trials;
}
