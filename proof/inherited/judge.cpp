#include "inherited/judge.h"

#include <algorithm>
#include <csignal>

namespace {

// --- what was handed down ------------------------------------------------------------------------

Findings unseenIn(const Situation& situation, const Run& run) {
  const Observation* loaded = run.find(Role::kLoaded);
  Findings missing;
  if (loaded == nullptr) {
    const Observation* caller = run.find(Role::kCaller);
    missing.expect(caller != nullptr, "no observation");
    if (caller != nullptr) missing = unseen(situation.caller, *caller, /*isLoaded=*/false);
    return missing;
  }
  missing = unseen(situation.caller, *loaded, /*isLoaded=*/true);
  const char* folder = situation.isLibraryElsewhere ? kOwnLibraryFolder : kMakersFolder;
  missing.expect(loaded->detail == std::string(folder) + "/libkelcom.so",
                 "the library of " + std::string(loaded->detail));
  missing.expect(situation.zoneCall.empty() || run.isZoneChanged, "the change of zone");
  return missing;
}

// --- everything else -----------------------------------------------------------------------------

void judgeEnd(const Subject& subject) {
  const int status = subject.run.outcome.trace.waitStatus;
  subject.expect(!subject.run.outcome.trace.isTimedOut, "end: it runs on");
  subject.expect(exitStatusOf(status) == subject.expected.status, "end: " + endText(status));
}

void judgeRecord(const Subject& subject) {
  const std::string record = normalised(subject.run.outcome.record);
  subject.expect(record == normalised(subject.expected.record), "exchanges: " + record);
  subject.findings.take(
      judgeOrder(subject.run.outcome.record, *subject.situation.scenario, Ending::kWhole),
      "exchanges: ");
}

void judgeStreams(const Subject& subject) {
  const Outcome& outcome = subject.run.outcome;
  subject.expect(outcome.output == subject.expected.output,
                 "standard output: " + std::to_string(outcome.output.size()) +
                     " bytes instead of " + std::to_string(subject.expected.output.size()));
  // What the loader says of a library is its own affair.
  if (!subject.expected.isLoaded) return;
  subject.expect(outcome.errors == subject.expected.errors, "standard error: " + outcome.errors);
}

void judgeRemains(const Subject& subject) {
  subject.findings.expectSame(normalised(subject.run.left), normalised(subject.expected.left),
                              "remains: item");
  subject.expect(subject.run.outcome.inputs == subject.undisturbed.run.outcome.inputs,
                 "remains: something changed outside log, backup and temporary area");
}

/// Whether nothing has happened. Notes what has happened all the same.
bool isNotStarted(const Subject& subject) {
  const Outcome& outcome = subject.run.outcome;
  if (outcome.log.find("### main : ") != std::string::npos) return false;
  subject.expect(outcome.log == initialLog(*subject.situation.scenario), "want: half a line");
  subject.expect(outcome.record.empty() && subject.run.left.empty(), "want: half a run");
  subject.expect(exitStatusOf(outcome.trace.waitStatus) != 0, "want: status 0 for nothing");
  return true;
}

void judgeWantOfMemory(const Subject& subject) {
  if (isNotStarted(subject)) return;
  judgeShortOfMemory(*subject.situation.scenario, subject.undisturbed.run.outcome,
                     subject.run.outcome, subject.findings);
}

/// What was done until then was done as always.
void judgeWantOfStack(const Subject& subject) {
  const Outcome& outcome = subject.run.outcome;
  const bool isEnded = signalOf(outcome.trace.waitStatus) == SIGSEGV;
  subject.expect(isEnded, "want: " + endText(outcome.trace.waitStatus));
  if (isNotStarted(subject)) return;
  Texts messages = messagesOf(linesOf(outcome.log));
  messages.resize(std::max<std::size_t>(messages.size(), 1) - 1);  // the last may be half a line
  subject.findings.expectSame(messages, normalised(subject.expected.messages), "want: line",
                              /*isBeginning=*/true);
  subject.findings.take(judgeOrder(outcome.record, *subject.situation.scenario, Ending::kCut));
  subject.expect(outcome.inputs == subject.undisturbed.run.outcome.inputs,
                 "want: an input file was changed");
}

}  // namespace

Verdict judgeInherited(const Situation& situation, const Undisturbed& undisturbed, Run run) {
  Verdict verdict;
  Expected expected = undisturbed.expected;
  for (const Exception& exception : kExceptions) {
    const Expected before = expected;
    exception.apply(situation, expected);
    if (!(before == expected)) verdict.claimed.emplace_back(exception.name);
  }
  const Subject subject = {situation, undisturbed, expected, run, verdict.findings};
  judgeEnd(subject);
  judgeLog(subject);
  judgeRecord(subject);
  judgeStreams(subject);
  judgeRemains(subject);
  judgeProcesses(subject);
  const bool isWanting = expected.mayLackMemory || expected.mayLackStack;
  if (!verdict.findings.broken.empty() && isWanting) {
    verdict.findings.broken.clear();
    verdict.claimed.emplace_back(expected.mayLackMemory ? kWantOfMemory : kWantOfStack);
    expected.mayLackMemory ? judgeWantOfMemory(subject) : judgeWantOfStack(subject);
  }
  const Findings missing = unseenIn(situation, run);
  verdict.isHit = missing.broken.empty();
  verdict.findings.take(missing, "not seen to take effect: ");
  verdict.run = std::move(run.outcome);
  return verdict;
}
