#include "prove/inherited/judge.h"

#include <fcntl.h>
#include <sys/stat.h>

#include <algorithm>
#include <csignal>
#include <cstdlib>
#include <cstring>
#include <set>

#include "prove/ending.h"
#include "prove/inherited/stagefiles.h"
#include "prove/judge.h"
#include "prove/judge_plain.h"
#include "prove/loglines.h"

namespace {

using Texts = std::vector<std::string>;

/// One run before its judge.
struct Subject {
  const Situation& situation;
  const Undisturbed& undisturbed;
  const Expected& expected;
  const Run& run;
  Texts& broken;

  void expect(bool isKept, const std::string& what) const { demand(isKept, what, broken); }
};

bool beginsWith(const std::string& text, const std::string& head) {
  return text.compare(0, head.size(), head) == 0;
}

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

// --- the log -------------------------------------------------------------------------------------

/// TZ as the command has it: the first of several counts.
const char* zoneOf(const Situation& situation) {
  for (const std::string& entry : situation.caller.environment) {
    if (beginsWith(entry, "TZ=")) return entry.c_str() + 3;
  }
  return nullptr;
}

void setZone(const char* zone) {
  if (zone == nullptr) {
    ::unsetenv("TZ");
  } else {
    ::setenv("TZ", zone, 1);
  }
  ::tzset();
}

/// The heads that a line may have which was written during the run, up to the process id.
std::set<std::string> timesIn(const char* zone, const Run& run) {
  setZone(zone);
  std::set<std::string> times;
  for (std::time_t second = run.begin; second <= run.end; ++second) {
    std::tm local = {};
    ::localtime_r(&second, &local);
    char text[64];
    std::strftime(text, sizeof text, "%Y/%m/%d %H:%M:%S ", &local);
    times.insert(text);
  }
  setZone(nullptr);
  return times;
}

/// The number of the first line that is logged after the closed library has changed the zone.
std::size_t firstOfNewZone(const Subject& subject) {
  if (subject.situation.zoneCall.empty()) return subject.expected.messages.size();
  const Texts& messages = subject.expected.messages;
  const bool isStart = subject.situation.zoneCall == "KEL_StartComm";
  const std::string first = isStart ? "(CSendInfo::SendInfo) call startCom" : "### main : ";
  // The line that follows the call; of an identifier's the one behind the start line.
  const auto found =
      std::find_if(messages.begin(), messages.end(),
                   [&first](const std::string& text) { return beginsWith(text, first); });
  const auto at = static_cast<std::size_t>(found - messages.begin());
  return isStart ? at : at + 1;
}

void judgeHeads(const Subject& subject, const std::vector<PlainLine>& lines) {
  constexpr std::size_t kTime = 20;
  const Observation* loaded = find(subject.run, Role::kLoaded);
  if (loaded == nullptr) return;
  std::set<std::string> times = timesIn(zoneOf(subject.situation), subject.run);
  for (const std::string& zone : subject.expected.zones) {
    times.merge(timesIn(zone.c_str(), subject.run));
  }
  const std::size_t change = firstOfNewZone(subject);
  for (std::size_t at = 0; at < lines.size(); ++at) {
    if (at == change) times = timesIn(subject.situation.zone.c_str(), subject.run);
    const std::string& head = lines[at].head;
    subject.expect(isHead(head, loaded->pid) && times.count(head.substr(0, kTime)) != 0,
                   "log: line " + std::to_string(at + 1) + " has the head " + head);
  }
}

void judgeMessages(const Subject& subject, const std::vector<PlainLine>& lines) {
  const Texts& messages = subject.expected.messages;
  for (std::size_t at = 0; at < std::min(lines.size(), messages.size()); ++at) {
    const std::string message = normalised(lines[at].message);
    subject.expect(message == normalised(messages[at]),
                   "log: line " + std::to_string(at + 1) + " is: " + message);
  }
  subject.expect(lines.size() == messages.size(), "log: " + std::to_string(lines.size()) +
                                                      " lines instead of " +
                                                      std::to_string(messages.size()));
}

/// A log that has reached its limit: whole lines, and of the next one what there was room for.
void judgeCutLog(const Subject& subject, std::vector<PlainLine>& lines) {
  const Texts& messages = subject.expected.messages;
  const std::string& log = subject.run.outcome.log;
  const std::size_t end = log.rfind('\n') + 1;  // 0 where there is none
  lines = plainLines(log.substr(0, end));
  const std::vector<PlainLine> rest = plainLines(log.substr(end));
  const bool isInHead = rest.empty() || rest.front().head.empty();
  std::vector<PlainLine> all = lines;
  if (!isInHead) all.push_back(rest.front());
  subject.expect(all.size() <= messages.size(), "log: more lines than expected");
  for (std::size_t at = 0; at < std::min(all.size(), messages.size()); ++at) {
    const std::string message = normalised(all[at].message);
    const std::string expected = normalised(messages[at]);
    // The last one may lack its end, which with some is a line feed of its own.
    const bool isLast = at + 1 == all.size();
    subject.expect(isLast ? beginsWith(expected, message) : message == expected,
                   "log: line " + std::to_string(at + 1) + " is: " + message);
  }
}

void judgeLogFile(const Subject& subject) {
  const Outcome& outcome = subject.run.outcome;
  subject.expect(subject.run.logMode == subject.undisturbed.run.logMode,
                 "log: its permission bits are " + std::to_string(subject.run.logMode));
  subject.expect(outcome.backup == subject.expected.backup, "log: its backup is not what it was");
}

void judgeLog(const Subject& subject) {
  const std::string& log = subject.run.outcome.log;
  if (subject.expected.messages.empty()) {
    subject.expect(log == initialLog(*subject.situation.scenario), "log: it was written to");
    return;
  }
  std::vector<PlainLine> lines = plainLines(log);
  subject.expect(log.size() <= subject.expected.mostLogBytes, "log: it has grown beyond the limit");
  if (log.size() == subject.expected.mostLogBytes) {
    judgeCutLog(subject, lines);
  } else {
    judgeMessages(subject, lines);
  }
  judgeHeads(subject, lines);
  judgeLogFile(subject);
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

// --- what the command makes of it, and what it hands on ------------------------------------------

std::string hexText(std::uint64_t set) {
  char text[32];
  std::snprintf(text, sizeof text, "%llx", static_cast<unsigned long long>(set));
  return text;
}

void judgeCommand(const Subject& subject, const Observation& called) {
  const Caller& caller = subject.situation.caller;
  const std::uint64_t ignored =
      (caller.ignored & ~bitOf(SIGCHLD)) | bitOf(SIGPIPE) | bitOf(SIGXFSZ);
  const std::string where = std::string("command in ") + called.detail + ": ";
  subject.expect(called.ignored == ignored, where + "ignores " + hexText(called.ignored));
  subject.expect(called.caught == 0, where + "catches " + hexText(called.caught));
  subject.expect(called.blocked == (caller.blocked | caller.pending),
                 where + "blocks " + hexText(called.blocked));
  subject.expect(called.mask == 022, where + "another file-creation mask");
  for (const StreamState& stream : called.streams) {
    subject.expect(stream.isOpen, where + "a standard descriptor is closed");
  }
  subject.expect(called.openAbove == 0, where + "descriptors are open");
}

/// Whether a child's standard descriptor is the one that its caller handed down: where that was
/// closed, /dev/null.
bool isHandedOn(const Subject& subject, int stream, const StreamState& state) {
  const auto at = static_cast<std::size_t>(stream);
  if (subject.situation.caller.streams[at] == Stream::kClosed) {
    return state.isOpen && state.access == O_RDWR && S_ISCHR(state.mode);
  }
  const StreamState& first = find(subject.run, Role::kLoaded)->streams[at];
  return state.isOpen && state.access == first.access && state.device == first.device &&
         state.file == first.file;
}

/// One child before its judge.
struct Child {
  const Subject& subject;
  const Observation& found;
  const Observation& command;  // as it was loaded
  bool isShell;
  std::string who;

  void expect(bool isKept, const std::string& what) const { subject.expect(isKept, who + what); }
};

/// As the caller handed them down; a collection command has them from its shell.
void judgeSignals(const Child& child) {
  const Caller& caller = child.subject.situation.caller;
  const Expected& expected = child.subject.expected;
  const std::uint64_t ignored = caller.ignored & ~(child.isShell ? 0 : expected.ignoredHidden);
  const std::uint64_t blocked =
      (caller.blocked | caller.pending) & ~(child.isShell ? 0 : expected.blockedHidden);
  child.expect(child.found.ignored == ignored, "ignores " + hexText(child.found.ignored));
  child.expect(child.found.caught == 0, "catches " + hexText(child.found.caught));
  child.expect(child.found.blocked == blocked, "blocks " + hexText(child.found.blocked));
}

void judgeDescriptors(const Child& child) {
  const Subject& subject = child.subject;
  const StreamState* streams = child.found.streams;
  child.expect(isHandedOn(subject, 0, streams[0]), "another standard input");
  child.expect(S_ISFIFO(streams[1].mode) && !streams[1].isBroken, "standard output is no pipe");
  // That of uname and, by their command lines, of the collection commands is /dev/null.
  const bool isDiscarded =
      child.isShell ? beginsWith(child.found.detail, "uname") : !subject.expected.isCommandCut;
  child.expect(isDiscarded ? S_ISCHR(streams[2].mode) : isHandedOn(subject, 2, streams[2]),
               "another standard error");
  child.expect(child.found.openAbove == 0, "descriptors are open");
}

void judgeAttributes(const Child& child) {
  const Observation& found = child.found;
  const Observation& command = child.command;
  child.expect(std::equal(found.limits, found.limits + kLimits, command.limits), "other limits");
  child.expect(found.mask == 022, "another file-creation mask");
  child.expect(found.nice == command.nice, "another niceness");
  child.expect(
      found.folderError == command.folderError && std::strcmp(found.folder, command.folder) == 0,
      "another working directory");
  child.expect(found.hasTerminal == command.hasTerminal, "another terminal");
  // The closed library may change it, and a shell does.
  const bool isKept = child.isShell && child.subject.situation.zoneCall.empty();
  child.expect(!isKept || found.environment == command.environment, "another environment");
}

void judgeChild(const Subject& subject, const Observation& found) {
  const bool isShell = found.role == Role::kShell;
  const Child child = {
      subject, found, *find(subject.run, Role::kLoaded), isShell,
      (isShell ? "shell of " : "collection command on ") + normalised(found.detail) + ": "};
  judgeSignals(child);
  judgeDescriptors(child);
  judgeAttributes(child);
}

void judgeProcesses(const Subject& subject) {
  for (const Observation& observation : subject.run.observations) {
    if (observation.role == Role::kCalled) judgeCommand(subject, observation);
    if (observation.role == Role::kShell || observation.role == Role::kCollector) {
      judgeChild(subject, observation);
    }
  }
  Texts children = childrenOf(subject.run);
  Texts expected = subject.expected.children;
  for (std::string& child : expected) child = child.substr(0, child.find(' ') + kDetailBytes);
  subject.expect(children == expected,
                 "children: " + std::to_string(children.size()) + " of them, other than expected");
  for (std::size_t at = 0; at < children.size() && children != expected; ++at) {
    subject.expect(at < expected.size() && children[at] == expected[at],
                   "children: " + children[at]);
  }
}

/// The same bits as undisturbed, whatever the caller's mask.
void judgeTempMode(const Subject& subject) {
  const Observation* usual = find(subject.undisturbed.run, Role::kCollector);
  const Observation* found = find(subject.run, Role::kCollector);
  if (usual == nullptr || found == nullptr || found->tempMode == 0) return;
  subject.expect(found->tempMode == usual->tempMode,
                 "temporary directory: its permission bits are " + std::to_string(found->tempMode));
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
  judgeTempMode(subject);
  if (judgement.broken.empty() || !(expected.mayLackMemory || expected.mayLackStack)) {
    return judgement;
  }
  judgement.broken.clear();
  judgement.claimed.emplace_back(expected.mayLackMemory ? kWantOfMemory : kWantOfStack);
  expected.mayLackMemory ? judgeWantOfMemory(subject) : judgeWantOfStack(subject);
  return judgement;
}
