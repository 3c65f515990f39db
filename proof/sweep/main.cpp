// Proves what the command promises on a bad day: makes each of its system calls, and of those of
// the programs that it runs, fail in turn; its allocations; the closed library; and ends it by a
// signal at every call. docs/proof.md explains what is tried and what must hold.

#include <sys/syscall.h>

#include <cerrno>
#include <deque>
#include <set>
#include <stdexcept>

#include "core/calls.h"
#include "sweep/judge.h"
#include "sweep/trials.h"

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
    {"unwaited-child", "6:", 0, 0},     {"repeated-removal", "7:", 0, 0},
    {"false-answer", "8:", 0, 0}};

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
    VerdictCounts uncounted;
    findings.take(judgeVerdict(scenario, run, /*isExact=*/true, uncounted));
    return findings;
  }
  for (const Call& call : reference.outcome.trace.calls) {
    if ((call.process != 0 && seed.kind != SYS_execve) || call.kind != seed.kind) continue;
    const Fault fault = {call.process, call.number, seed.error};
    findings.take(judge(scenario, reference.outcome, runTraced(reference, launch, &fault)));
  }
  return findings;
}

// --- the sweep -----------------------------------------------------------------------------------

class FaultSweep : public Sweep {
 public:
  void prepare(const Plan& plan, Tally* tally) override {
    m_isBlunt = plan.isBlunt;
    enterStage({{kCommandFile, plan.command},
                {std::string(kLoopbackFolder) + "/libkelcom.so", LOOPBACK_LIBRARY},
                {std::string(kHostileFolder) + "/libkelcom.so", HOSTILE_LIBRARY},
                {kPreloadFile, PRELOAD_LIBRARY},
                {kSeededFile, SEEDED_COMMAND}});
    for (const Scenario& scenario : scenarios()) {
      m_references.push_back({&scenario, {}, m_isBlunt});
      Reference& reference = m_references.back();
      reference.outcome = runTraced(reference, launchOf(scenario), nullptr);
      const Outcome second = runTraced(reference, launchOf(scenario), nullptr);
      if (tally == nullptr) continue;
      const auto calls = static_cast<int>(reference.outcome.trace.calls.size());
      tally->rows[scenario.name]["calls"] = calls;
      tally->note(scenario.name, scenario.name + " undisturbed",
                  judgeReference(scenario, reference.outcome, second));
      tally->note(scenario.name, scenario.name + " undisturbed",
                  judgeVerdict(scenario, second, /*isExact=*/true, tally->verdicts));
    }
  }

  std::vector<Trial> trials() override {
    std::vector<Trial> all;
    const auto add = [&all](const std::vector<Trial>& more) {
      all.insert(all.end(), more.begin(), more.end());
    };
    for (const Reference& reference : m_references) add(callTrials(reference));
    for (const char* name : {"event-err", "log-rotation", "incident"}) {
      add(signalTrials(referenceOf(name)));
    }
    // The other families have their own ways to a fault.
    if (m_isBlunt) return all;
    for (const Reference& reference : m_references) add(allocationTrials(reference));
    add(libraryTrials(referenceOf("event-err")));
    add(throwTrials(referenceOf("incident")));
    return all;
  }

  std::vector<Trial> selfTrials() override {
    const Reference& incident = referenceOf("incident");
    std::vector<Trial> all = {{kSelfTestRow, "self-test blunt",
                               [&event = referenceOf("event-err")] { return tryBluntly(event); }}};
    for (const Seed& seed : kSeeds) {
      const auto findingsOf = [&incident, seed](const std::string& bug) {
        return findingsUnder(incident, seed, bug);
      };
      all.push_back(
          seedTrial(std::string("self-test bug ") + seed.bug, seed.bug, seed.promise, findingsOf));
    }
    for (const Reference& reference : m_references) {
      all.push_back({kSelfTestRow, kSelfTestRow + (" after the end of " + reference.scenario->name),
                     [&reference] { return tryAfterEnd(reference); }});
    }
    return all;
  }

 private:
  const Reference& referenceOf(const std::string& name) const {
    for (const Reference& reference : m_references) {
      if (reference.scenario->name == name) return reference;
    }
    throw std::invalid_argument("no scenario is called " + name);
  }

  std::deque<Reference> m_references;
  bool m_isBlunt = false;
};

}  // namespace

int main(int argc, char** argv) {
  FaultSweep sweep;
  return runSweep(argc, argv,
                  {"Makes every call of the command fail in turn.",
                   "scenario",
                   {"calls", "tried", "hit", "broken"}},
                  sweep);
}
