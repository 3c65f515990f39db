#include "sweep/trials.h"

#include <sys/syscall.h>

#include <cerrno>
#include <set>

#include "core/calls.h"
#include "sweep/judge.h"

namespace {

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
      Fault fault = {call.process, call.number, error};
      fault.isBlunt = true;
      const Outcome run = runTraced(reference, launchOf(*reference.scenario), &fault);
      verdict.findings.expect(!run.trace.isHit(),
                              "0: a fault that was not injected counts: " + toText(fault));
    }
  }
  return verdict;
}

/// A fault after the last call must not be hit, and the run must be like the undisturbed one:
/// there is no further call to try.
Verdict tryAfterEnd(const Reference& reference) {
  const Scenario& scenario = *reference.scenario;
  const std::vector<Process>& processes = reference.outcome.trace.processes;
  Verdict verdict;
  verdict.isHit = true;
  for (std::size_t number = 0; number < processes.size(); ++number) {
    const Fault fault = {static_cast<int>(number), processes[number].calls + 1, EIO};
    const Outcome run = runTraced(reference, launchOf(scenario), &fault);
    verdict.findings.expect(!run.trace.isHit(), "0: there is a call at " + toText(fault));
    verdict.findings.take(judgeReference(scenario, reference.outcome, run));
  }
  return verdict;
}

// --- the judge -----------------------------------------------------------------------------------

/// One bug of seeds.cpp.
struct Seed {
  const char* bug;
  const char* promise;  // the one that it breaks
  long kind;            // the calls that are made to fail to bring it out
  int error;            // what they fail with; 0 for an undisturbed run
};

constexpr Seed kSeeds[] = {
    {"crash", "1:", SYS_wait4, ECHILD}, {"failed-shell", "1:", SYS_execve, ENOENT},
    {"other-status", "2:", 0, 0},       {"partial-list", "3:", SYS_read, EIO},
    {"single-stop", "3:", 0, 0},        {"torn-line", "4:", SYS_write, EIO},
    {"dirty-output", "5:", 0, 0},       {"kept-directory", "6:", SYS_execve, ENOENT},
    {"open-descriptor", "6:", 0, 0},    {"changed-input", "6:", 0, 0},
    {"unwaited-child", "6:", 0, 0},     {"repeated-removal", "7:", 0, 0}};

/// All that is broken in the runs of the command with `bug` under the faults of `seed`.
Findings findingsUnder(const Reference& reference, const Seed& seed, const std::string& bug) {
  const Scenario& scenario = *reference.scenario;
  Launch launch = launchOf(scenario, {{"SEEDED_BUG", bug}});
  launch.program = kSeededFile;
  Findings findings;
  if (seed.error == 0) {
    const Outcome run = runTraced(reference, launch, nullptr);
    findings.take(judgeReference(scenario, reference.outcome, run));
    findings.take(judge(scenario, reference.outcome, run));
    return findings;
  }
  for (const Call& call : reference.outcome.trace.calls) {
    if ((call.process != 0 && seed.kind != SYS_execve) || call.kind != seed.kind) continue;
    const Fault fault = {call.process, call.number, seed.error};
    findings.take(judge(scenario, reference.outcome, runTraced(reference, launch, &fault)));
  }
  return findings;
}

}  // namespace

Trial endTrial(const Reference& reference) {
  return {kSelfTestRow, kSelfTestRow + (" after the end of " + reference.scenario->name),
          [&reference] { return tryAfterEnd(reference); }};
}

std::vector<Trial> selfTrials(const Reference& event, const Reference& incident) {
  std::vector<Trial> trials = {
      {kSelfTestRow, "self-test blunt", [&event] { return tryBluntly(event); }}};
  for (const Seed& seed : kSeeds) {
    trials.push_back(seedTrial(
        std::string("self-test bug ") + seed.bug, seed.bug, seed.promise,
        [&incident, seed](const std::string& bug) { return findingsUnder(incident, seed, bug); }));
  }
  return trials;
}
