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
    if (entry.compare(0, 3, "TZ=") == 0) return entry.c_str() + 3;
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
  const std::string first =
      isStart ? "(CSendInfo::SendInfo) call startCom" : "### main : " + std::string(kCommandFile);
  // The line that follows the call; of an identifier's the one behind the start line.
  const auto found = std::find_if(messages.begin(), messages.end(), [&](const std::string& text) {
    return text.compare(0, first.size(), first) == 0;
  });
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

/// What a file holds that must not grow beyond the limit: all, or as much as there is room for.
bool isAsFarAs(const std::string& text, std::uint64_t most) {
  if (most == static_cast<std::uint64_t>(-1)) return text.empty();
  return most == 0 || text.size() <= most;
}

void judgeMessages(const Subject& subject, const std::vector<PlainLine>& lines) {
  const Texts& messages = subject.expected.messages;
  const std::uint64_t most = subject.expected.mostBytes;
  // A log that reached its limit ends within a line, or behind one.
  const bool isCut =
      most != 0 && (subject.run.outcome.log.size() == most || subject.run.outcome.log.empty());
  subject.expect(isCut || lines.size() == messages.size(), "log: " + std::to_string(lines.size()) +
                                                               " lines instead of " +
                                                               std::to_string(messages.size()));
  for (std::size_t at = 0; at < lines.size() && at < messages.size(); ++at) {
    const std::string expected = normalised(messages[at]);
    const std::string message = normalised(lines[at].message);
    if (isCut && at + 1 == lines.size()) continue;
    subject.expect(message == expected, "log: line " + std::to_string(at + 1) + " is: " + message);
  }
  // Lines that are missing at the end, or differ in number, show best as a whole.
  for (std::size_t at = lines.size(); !isCut && at < messages.size(); ++at) {
    subject.expect(false, "log: line " + std::to_string(at + 1) + " is missing: " + messages[at]);
  }
}

void judgeLogFile(const Subject& subject) {
  const Outcome& outcome = subject.run.outcome;
  const std::uint64_t most = subject.expected.mostBytes;
  subject.expect(isAsFarAs(outcome.log, most), "log: it has grown beyond the limit");
  subject.expect(outcome.log.empty() || subject.run.logMode == subject.undisturbed.run.logMode,
                 "log: its permission bits are " + std::to_string(subject.run.logMode));
  const std::string& backup = subject.expected.backup;
  subject.expect(most == 0 ? outcome.backup == backup
                           : isAsFarAs(outcome.backup, most) &&
                                 backup.compare(0, outcome.backup.size(), outcome.backup) == 0,
                 "log: its backup is not what it was");
}

void judgeLog(const Subject& subject) {
  const std::string initial = initialLog(*subject.situation.scenario);
  if (subject.expected.messages.empty()) {
    subject.expect(subject.run.outcome.log == initial, "log: it was written to");
    return;
  }
  std::vector<PlainLine> lines = plainLines(subject.run.outcome.log);
  const bool isLastTorn = subject.expected.mostBytes != 0 && !lines.empty();
  judgeMessages(subject, lines);
  if (isLastTorn) lines.pop_back();
  judgeHeads(subject, lines);
  judgeLogFile(subject);
}

// --- everything else -----------------------------------------------------------------------------

void judgeEnd(const Subject& subject) {
  const int status = subject.run.outcome.trace.waitStatus;
  subject.expect(!subject.run.outcome.trace.isTimedOut, "end: it runs on");
  subject.expect(exitStatusOf(status) == subject.expected.status, "end: " + endText(status));
}

/// Two calls of the record, one that is broken off among them, with what they have in common.
void judgeRecord(const Subject& subject) {
  const std::string record = normalised(subject.run.outcome.record);
  subject.expect(record == normalised(subject.expected.record), "exchanges: " + record);
  // Where the process ends at once it cannot stop communication any more; the undisturbed record
  // tells whether it had to.
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

void judgeChild(const Subject& subject, const Observation& child) {
  const Caller& caller = subject.situation.caller;
  const Observation& loaded = *find(subject.run, Role::kLoaded);
  const bool isShell = child.role == Role::kShell;
  const std::string who = std::string(isShell ? "shell of " : "collection command on ") +
                          normalised(child.detail) + ": ";
  const std::uint64_t ignored =
      isShell ? caller.ignored : caller.ignored & ~subject.expected.ignoredHidden;
  const std::uint64_t blocked =
      (caller.blocked | caller.pending) & ~(isShell ? 0 : subject.expected.blockedHidden);
  subject.expect(child.ignored == ignored, who + "ignores " + hexText(child.ignored));
  subject.expect(child.caught == 0, who + "catches " + hexText(child.caught));
  subject.expect(child.blocked == blocked, who + "blocks " + hexText(child.blocked));
  subject.expect(std::equal(child.limits, child.limits + kLimits, loaded.limits),
                 who + "has other limits");
  subject.expect(child.mask == 022, who + "another file-creation mask");
  subject.expect(child.nice == loaded.nice, who + "another niceness");
  subject.expect(
      child.folderError == loaded.folderError && std::strcmp(child.folder, loaded.folder) == 0,
      who + "another working directory");
  subject.expect(!loaded.leadsSession || child.hasTerminal == loaded.hasTerminal,
                 who + "another terminal");
  subject.expect(child.openAbove == 0, who + "descriptors are open");
  subject.expect(isHandedOn(subject, 0, child.streams[0]), who + "another standard input");
  subject.expect(S_ISFIFO(child.streams[1].mode) && !child.streams[1].isBroken,
                 who + "standard output is no pipe");
  const bool hasOwnErrors =
      isShell ? std::strncmp(child.detail, "uname", 5) == 0 : !subject.expected.isCommandCut;
  subject.expect(
      hasOwnErrors ? S_ISCHR(child.streams[2].mode) : isHandedOn(subject, 2, child.streams[2]),
      who + "another standard error");
  const std::uint64_t expectedEnvironment =
      subject.situation.zoneCall.empty() && isShell ? loaded.environment : child.environment;
  subject.expect(child.environment == expectedEnvironment, who + "another environment");
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
