#include "inherited/judge.h"

#include <algorithm>
#include <csignal>
#include <set>

#include "inherited/stagefiles.h"
#include "inherited/subject.h"
#include "sweep/ending.h"
#include "sweep/judge.h"
#include "sweep/loglines.h"

namespace {

using Texts = std::vector<std::string>;

// --- what was handed down ------------------------------------------------------------------------

std::string libraryOf(const Situation& situation) {
  return std::string(situation.isLibraryElsewhere ? kOwnLibraryFolder : kMakersFolder) +
         "/libkelcom.so";
}

Texts unseenIn(const Situation& situation, const Run& run) {
  const Observation* loaded = find(run, Role::kLoaded);
  const Observation* caller = find(run, Role::kCaller);
  if (loaded == nullptr) {
    return caller == nullptr ? Texts{"no observation"}
                             : unseen(situation.caller, *caller, /*isLoaded=*/false);
  }
  Texts missing = unseen(situation.caller, *loaded, /*isLoaded=*/true);
  if (loaded->detail != libraryOf(situation))
    missing.push_back("the library of " + std::string(loaded->detail));
  if (!situation.zoneCall.empty() && !run.isZoneChanged) missing.emplace_back("the change of zone");
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
  for (const std::string& broken :
       judgeOrder(subject.run.outcome.record, *subject.situation.scenario, Ending::kWhole)) {
    subject.broken.push_back("exchanges: " + broken);
  }
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
  std::set<std::string> left;
  for (const std::string& item : subject.run.left) left.insert(normalised(item));
  std::set<std::string> expected;
  for (const std::string& item : subject.expected.left) expected.insert(normalised(item));
  for (const std::string& item : left) {
    subject.expect(expected.count(item) != 0, "remains: left behind: " + item);
  }
  for (const std::string& item : expected) {
    subject.expect(left.count(item) != 0, "remains: removed: " + item);
  }
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
  const Reference reference = {subject.situation.scenario, subject.undisturbed.run.outcome};
  judgeShortOfMemory(reference, subject.run.outcome, subject.broken);
}

/// What was done until then was done as always.
void judgeWantOfStack(const Subject& subject) {
  const Outcome& outcome = subject.run.outcome;
  const bool isEnded = signalOf(outcome.trace.waitStatus) == SIGSEGV;
  subject.expect(isEnded, "want: " + endText(outcome.trace.waitStatus));
  if (isNotStarted(subject)) return;
  const std::vector<PlainLine> lines = plainLines(outcome.log);
  const Texts& messages = subject.expected.messages;
  for (std::size_t at = 0; at + 1 < lines.size(); ++at) {
    const std::string message = normalised(lines[at].message);
    subject.expect(at < messages.size() && message == normalised(messages[at]),
                   "want: line " + std::to_string(at + 1) + " is: " + message);
  }
  for (const std::string& broken :
       judgeOrder(outcome.record, *subject.situation.scenario, Ending::kCut)) {
    subject.broken.push_back(broken);
  }
  subject.expect(outcome.inputs == subject.undisturbed.run.outcome.inputs,
                 "want: an input file was changed");
}

}  // namespace

Judgement judgeInherited(const Situation& situation, const Undisturbed& undisturbed,
                         const Run& run) {
  Judgement judgement;
  judgement.unseen = unseenIn(situation, run);
  const Expected expected = expectationFor(situation, undisturbed.expected, judgement.claimed);
  const Subject subject = {situation, undisturbed, expected, run, judgement.broken};
  judgeEnd(subject);
  judgeLog(subject);
  judgeRecord(subject);
  judgeStreams(subject);
  judgeRemains(subject);
  judgeProcesses(subject);
  if (judgement.broken.empty() || !(expected.mayLackMemory || expected.mayLackStack)) {
    return judgement;
  }
  judgement.broken.clear();
  judgement.claimed.emplace_back(expected.mayLackMemory ? kWantOfMemory : kWantOfStack);
  expected.mayLackMemory ? judgeWantOfMemory(subject) : judgeWantOfStack(subject);
  return judgement;
}
