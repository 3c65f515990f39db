#include "sweep/trials.h"

#include <algorithm>
#include <csignal>
#include <iterator>

#include "core/calls.h"
#include "sweep/judge.h"

namespace {

Outcome runUnder(const Reference& reference, Fault fault) {
  fault.isBlunt = reference.isBlunt;
  return runTraced(reference, launchOf(*reference.scenario), &fault);
}

Verdict tryFault(const Reference& reference, const Fault& fault) {
  /// A call may be made a little earlier or later when another process is slow; never three times.
  constexpr int kAttempts = 3;
  Verdict verdict;
  for (int attempt = 0; attempt < kAttempts && !verdict.isHit; ++attempt) {
    verdict.run = runUnder(reference, fault);
    verdict.isHit = verdict.run.trace.isHit();
    verdict.findings = judge(*reference.scenario, reference.outcome, verdict.run);
  }
  judgeToldVerdict(reference, verdict);
  return verdict;
}

/// What the log holds must be what the calls have written; the last write may have been cut off.
void judgeKilled(const Reference& reference, const Outcome& run, Findings& findings) {
  Trace shorter = run.trace;
  const std::string before = initialLog(*reference.scenario);
  const auto last = std::find_if(shorter.calls.rbegin(), shorter.calls.rend(),
                                 [](const Call& call) { return call.process == 0; });
  if (last != shorter.calls.rend()) shorter.calls.erase(std::next(last).base());
  findings.expect(run.log == contentsAfter(run.trace, before).log ||
                      run.log == contentsAfter(shorter, before).log,
                  "4: the log holds something else than what was written to it");
  findings.expect(run.inputs == reference.outcome.inputs,
                  "6: something changed outside log, backup and temporary area");
}

/// An undisturbed run on what the killed one has left.
void judgeNextRun(const Reference& reference, const Outcome& killed, Findings& findings) {
  clearRecord();
  const Outcome next = collectOutcome(trace(launchOf(*reference.scenario), nullptr));
  findings.expect(next.trace.waitStatus == reference.outcome.trace.waitStatus,
                  "1: the next run ends otherwise");
  findings.expect(messagesOf(next.trace) == messagesOf(reference.outcome.trace),
                  "7: the next run's lines differ");
  findings.expect(countExchanges(next.record) == reference.scenario->exchanges,
                  "3: the next run's exchanges differ");
  for (const std::string& item : next.temporary) {
    const auto& left = killed.temporary;
    findings.expect(std::find(left.begin(), left.end(), item) != left.end(),
                    "6: the next run leaves " + item);
  }
}

Verdict trySignal(const Reference& reference, const Fault& fault) {
  Verdict verdict;
  verdict.run = runUnder(reference, fault);
  verdict.isHit = verdict.run.trace.isSignalSent;
  judgeToldVerdict(reference, verdict);
  // The command's own writes may raise these: they change nothing.
  if (fault.signal == SIGPIPE || fault.signal == SIGXFSZ) {
    verdict.findings.take(judge(*reference.scenario, reference.outcome, verdict.run));
    return verdict;
  }
  verdict.isHit = verdict.isHit && signalOf(verdict.run.trace.waitStatus) == fault.signal;
  judgeKilled(reference, verdict.run, verdict.findings);
  judgeNextRun(reference, verdict.run, verdict.findings);
  return verdict;
}

}  // namespace

void judgeToldVerdict(const Reference& reference, Verdict& verdict) {
  verdict.findings.take(
      judgeVerdict(*reference.scenario, verdict.run, /*isExact=*/false, verdict.verdicts));
}

bool canBeTried(const Call& call, int error) {
  return error == kShortCount ? call.size >= 2 : call.result != -error;
}

Outcome runTraced(const Reference& reference, const Launch& launch, const Fault* fault) {
  prepareStage(*reference.scenario);
  return collectOutcome(trace(launch, fault));
}

std::vector<Trial> callTrials(const Reference& reference) {
  std::vector<Trial> trials;
  const std::string& row = reference.scenario->name;
  for (const Call& call : reference.outcome.trace.calls) {
    for (const int error : findCall(call.kind)->errors) {
      if (!canBeTried(call, error)) continue;
      for (const Reach reach : {Reach::kOnce, Reach::kKind, Reach::kAll}) {
        // For what others wrote, once and from there on will do.
        if (reach == Reach::kKind && call.process != 0) continue;
        const Fault fault = {call.process, call.number, error, /*signal=*/0, reach};
        trials.push_back({row, row + " " + toText(fault),
                          [&reference, fault] { return tryFault(reference, fault); }});
      }
    }
  }
  return trials;
}

std::vector<Trial> signalTrials(const Reference& reference) {
  std::vector<Trial> trials;
  for (const Call& call : reference.outcome.trace.calls) {
    if (call.process != 0) continue;
    for (const int signal : {SIGKILL, SIGTERM, SIGPIPE, SIGXFSZ}) {
      const Fault fault = {/*process=*/0, call.number, /*error=*/0, signal};
      trials.push_back({"signals", reference.scenario->name + " " + toText(fault),
                        [&reference, fault] { return trySignal(reference, fault); }});
    }
  }
  return trials;
}
