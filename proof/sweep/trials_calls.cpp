#include <sys/syscall.h>

#include <algorithm>
#include <csignal>
#include <iterator>

#include "sweep/calls.h"
#include "sweep/ending.h"
#include "sweep/judge.h"
#include "sweep/loglines.h"
#include "sweep/trial.h"

namespace {

/// A call may be made a little earlier or later when another process is slow; never three times.
constexpr int kAttempts = 3;

Verdict tryFault(const Reference& reference, const Fault& fault) {
  Verdict verdict;
  for (int attempt = 0; attempt < kAttempts && !verdict.isHit; ++attempt) {
    prepareStage(*reference.scenario);
    Disturbance disturbance;
    disturbance.fault = &fault;
    disturbance.isBlunt = reference.isBlunt;
    verdict.run = runTraced(launchOf(*reference.scenario), disturbance);
    verdict.isHit = verdict.run.trace.isHit();
    verdict.broken = judge(*reference.scenario, reference.outcome, verdict.run);
  }
  return verdict;
}

/// What the log holds must be what the calls have written; the last write may have been cut off.
void judgeKilled(const Reference& reference, const Outcome& run, std::vector<std::string>& broken) {
  Trace shorter = run.trace;
  const std::string before = initialLog(*reference.scenario);
  const auto last = std::find_if(shorter.calls.rbegin(), shorter.calls.rend(),
                                 [](const Call& call) { return call.process == 0; });
  if (last != shorter.calls.rend()) shorter.calls.erase(std::next(last).base());
  const bool isWritten = run.log == contentsAfter(run.trace, before).log ||
                         run.log == contentsAfter(shorter, before).log;
  if (!isWritten)
    broken.emplace_back("4: the log holds something else than what was written to it");
  if (run.inputs != reference.outcome.inputs) {
    broken.emplace_back("6: something changed outside log, backup and temporary area");
  }
}

/// An undisturbed run on what the killed one has left.
void judgeNextRun(const Reference& reference, const Outcome& killed,
                  std::vector<std::string>& broken) {
  clearRecord();
  const Outcome next = runTraced(launchOf(*reference.scenario), {});
  if (next.trace.waitStatus != reference.outcome.trace.waitStatus) {
    broken.emplace_back("1: the next run ends otherwise");
  }
  if (messagesOf(intendedLines(next.trace)) != messagesOf(intendedLines(reference.outcome.trace))) {
    broken.emplace_back("7: the next run's lines differ");
  }
  if (countExchanges(next.record) != reference.scenario->exchanges) {
    broken.emplace_back("3: the next run's exchanges differ");
  }
  for (const std::string& item : next.temporary) {
    const auto& left = killed.temporary;
    if (std::find(left.begin(), left.end(), item) == left.end()) {
      broken.push_back("6: the next run leaves " + item);
    }
  }
}

Outcome runWithSignal(const Reference& reference, const Fault& fault) {
  prepareStage(*reference.scenario);
  Disturbance disturbance;
  disturbance.fault = &fault;
  disturbance.isBlunt = reference.isBlunt;
  return runTraced(launchOf(*reference.scenario), disturbance);
}

/// A signal that ends the command.
Verdict tryKilling(const Reference& reference, const Fault& fault) {
  Verdict verdict;
  verdict.run = runWithSignal(reference, fault);
  const Outcome& run = verdict.run;
  verdict.isHit = run.trace.isSignalSent && signalOf(run.trace.waitStatus) == fault.signal;
  judgeKilled(reference, run, verdict.broken);
  judgeNextRun(reference, run, verdict.broken);
  return verdict;
}

/// A signal that the command's own writes may raise: it changes nothing.
Verdict tryRaised(const Reference& reference, const Fault& fault) {
  Verdict verdict;
  verdict.run = runWithSignal(reference, fault);
  verdict.isHit = verdict.run.trace.isSignalSent;
  verdict.broken = judge(*reference.scenario, reference.outcome, verdict.run);
  return verdict;
}

Trial makeTrial(const Reference& reference, const Fault& fault) {
  Trial trial;
  trial.row = reference.scenario->name;
  trial.name = trial.row + " " + toText(fault);
  trial.run = [&reference, fault] { return tryFault(reference, fault); };
  return trial;
}

}  // namespace

bool canBeTried(const Call& call, int error) {
  return error == kShortCount ? call.size >= 2 : call.result != -error;
}

std::vector<Trial> callTrials(const Reference& reference) {
  std::vector<Trial> trials;
  for (const Call& call : reference.outcome.trace.calls) {
    for (const int error : findCall(call.kind)->errors) {
      if (!canBeTried(call, error)) continue;
      for (const Reach reach : {Reach::kOnce, Reach::kKind, Reach::kAll}) {
        // For what others wrote, once and from there on will do.
        if (reach == Reach::kKind && call.process != 0) continue;
        Fault fault;
        fault.process = call.process;
        fault.call = call.number;
        fault.error = error;
        fault.reach = reach;
        trials.push_back(makeTrial(reference, fault));
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
      Fault fault;
      fault.call = call.number;
      fault.signal = signal;
      Trial trial;
      trial.row = "signals";
      trial.name = reference.scenario->name + " " + toText(fault);
      const auto trySignal = signal == SIGPIPE || signal == SIGXFSZ ? tryRaised : tryKilling;
      trial.run = [&reference, fault, trySignal] { return trySignal(reference, fault); };
      trials.push_back(trial);
    }
  }
  return trials;
}
