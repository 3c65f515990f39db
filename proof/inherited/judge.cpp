#include "inherited/judge.h"

#include <fcntl.h>
#include <sys/stat.h>

#include <algorithm>
#include <csignal>
#include <cstdlib>
#include <cstring>
#include <ctime>
#include <set>

namespace {

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

/// TZ as the command has it: the first of several counts.
const char* zoneOf(const Situation& situation) {
  for (const std::string& entry : situation.caller.environment) {
    if (beginsWith(entry, "TZ=")) return entry.c_str() + 3;
  }
  return nullptr;
}

/// The heads that a line may have which was written during the run, up to the process id.
std::set<std::string> timesIn(const char* zone, const Run& run) {
  if (zone != nullptr) ::setenv("TZ", zone, 1);
  ::tzset();
  std::set<std::string> times;
  for (std::time_t second = run.begin; second <= run.end; ++second) {
    std::tm local = {};
    ::localtime_r(&second, &local);
    char text[64];
    std::strftime(text, sizeof text, "%Y/%m/%d %H:%M:%S ", &local);
    times.insert(text);
  }
  ::unsetenv("TZ");
  return times;
}

std::string hexText(std::uint64_t set) {
  char text[32];
  std::snprintf(text, sizeof text, "%llx", static_cast<unsigned long long>(set));
  return text;
}

/// One run before its judge: what must be as expected.
class Judge {
 public:
  Judge(const Situation& situation, const Run& usual, const Expected& expected, const Run& run)
      : m_situation(situation), m_usual(usual), m_expected(expected), m_run(run) {}

  /// By all that is expected.
  Findings judgeAll() {
    judgeEnd();
    judgeLog();
    judgeRecord();
    judgeStreams();
    judgeRemains();
    judgeProcesses();
    return m_findings;
  }

  Findings judgeWantOfMemory() {
    if (!isNotStarted()) {
      judgeShortOfMemory(*m_situation.scenario, m_usual.outcome, m_run.outcome, m_findings);
    }
    return m_findings;
  }

  /// What was done until then was done as always.
  Findings judgeWantOfStack() {
    expect(signalOf(m_waitStatus) == SIGSEGV, "want: " + endText(m_waitStatus));
    if (isNotStarted()) return m_findings;
    Texts messages = messagesOf(linesOf(m_run.outcome.log));
    messages.resize(std::max<std::size_t>(messages.size(), 1) - 1);  // the last may be half a line
    m_findings.expectSame(messages, normalised(m_expected.messages), "want: line",
                          /*isBeginning=*/true);
    m_findings.take(judgeOrder(m_run.outcome.record, *m_situation.scenario, Ending::kCut));
    expect(m_run.outcome.inputs == m_usual.outcome.inputs, "want: an input file was changed");
    return m_findings;
  }

 private:
  void expect(bool isKept, const std::string& what) { m_findings.expect(isKept, what); }

  // --- log ---------------------------------------------------------------------------------------

  /// The number of the first line that is logged after the closed library has changed the zone.
  std::size_t firstOfNewZone() const {
    const Texts& messages = m_expected.messages;
    if (m_situation.zoneCall.empty()) return messages.size();
    const bool isStart = m_situation.zoneCall == "KEL_StartComm";
    const std::string first = isStart ? "(CSendInfo::SendInfo) call startCom" : "### main : ";
    // The line that follows the call; of an identifier's the one after the start line.
    const auto found =
        std::find_if(messages.begin(), messages.end(),
                     [&first](const std::string& text) { return beginsWith(text, first); });
    return static_cast<std::size_t>(found - messages.begin()) + (isStart ? 0 : 1);
  }

  void judgeHeads(const std::vector<LogLine>& lines) {
    if (m_loaded == nullptr) return;
    std::set<std::string> times = timesIn(zoneOf(m_situation), m_run);
    for (const std::string& zone : m_expected.zones) times.merge(timesIn(zone.c_str(), m_run));
    const std::size_t change = firstOfNewZone();
    for (std::size_t at = 0; at < lines.size(); ++at) {
      if (at == change) times = timesIn(m_situation.zone.c_str(), m_run);
      const std::string& head = lines[at].head;
      expect(isHead(head, m_loaded->pid) && times.count(head.substr(0, kTimeBytes)) != 0,
             "log: line " + std::to_string(at + 1) + " has the head " + head);
    }
  }

  /// A log that has reached its limit: whole lines, and of the next one what there was room for.
  void judgeCutLog(std::vector<LogLine>& lines) {
    const std::string& log = m_run.outcome.log;
    const std::size_t end = log.rfind('\n') + 1;  // 0 where there is none
    lines = linesOf(log.substr(0, end));
    Texts messages = messagesOf(lines);
    const std::vector<LogLine> rest = linesOf(log.substr(end));
    const bool isInHead = rest.empty() || rest.front().head.empty();
    if (!isInHead) messages.push_back(normalised(rest.front().message));
    Texts expected = normalised(m_expected.messages);
    // The last one may lack its end, which with some is a line feed of its own.
    const std::size_t last = messages.size() - 1;
    if (!messages.empty() && last < expected.size() && beginsWith(expected[last], messages[last])) {
      expected[last] = messages[last];
    }
    m_findings.expectSame(messages, expected, "log: line", /*isBeginning=*/true);
  }

  /// Heads, messages, permission bits and backup.
  void judgeLog() {
    const std::string& log = m_run.outcome.log;
    if (m_expected.messages.empty()) {
      expect(log == initialLog(*m_situation.scenario), "log: it was written to");
      return;
    }
    std::vector<LogLine> lines = linesOf(log);
    expect(log.size() <= m_expected.mostLogBytes, "log: it has grown beyond the limit");
    if (log.size() == m_expected.mostLogBytes) {
      judgeCutLog(lines);
    } else {
      m_findings.expectSame(messagesOf(lines), normalised(m_expected.messages), "log: line");
    }
    judgeHeads(lines);
    expect(m_run.logMode == m_usual.logMode,
           "log: its permission bits are " + std::to_string(m_run.logMode));
    expect(m_run.outcome.backup == m_expected.backup, "log: its backup is not what it was");
  }

  // --- the command at each call, and its children ------------------------------------------------

  void judgeCommand(const Observation& called) {
    const Caller& caller = m_situation.caller;
    const std::uint64_t ignored =
        (caller.ignored & ~bitOf(SIGCHLD)) | bitOf(SIGPIPE) | bitOf(SIGXFSZ);
    Findings own;
    own.expect(called.ignored == ignored, "ignores " + hexText(called.ignored));
    own.expect(called.caught == 0, "catches " + hexText(called.caught));
    own.expect(called.blocked == (caller.blocked | caller.pending),
               "blocks " + hexText(called.blocked));
    own.expect(called.mask == 022, "another file-creation mask");
    for (const StreamState& stream : called.streams) {
      own.expect(stream.isOpen, "a standard descriptor is closed");
    }
    own.expect(called.openAbove == 0, "descriptors are open");
    m_findings.take(own, std::string("command in ") + called.detail + ": ");
  }

  /// Whether a child's standard descriptor is the one that its caller handed down: where that was
  /// closed, /dev/null.
  bool isHandedOn(int stream, const StreamState& state) const {
    if (m_situation.caller.stream(stream) == Stream::kClosed) {
      return state.isOpen && state.access == O_RDWR && S_ISCHR(state.mode);
    }
    const StreamState& first = m_loaded->streams[stream];
    return state.isOpen && state.access == first.access && state.device == first.device &&
           state.file == first.file;
  }

  /// As the caller handed them down; a collection command has them from its shell.
  void judgeSignals(const Observation& found, Findings& own) const {
    const Caller& caller = m_situation.caller;
    const bool isShell = found.role == Role::kShell;
    const std::uint64_t ignored = caller.ignored & ~(isShell ? 0 : m_expected.ignoredHidden);
    const std::uint64_t blocked =
        (caller.blocked | caller.pending) & ~(isShell ? 0 : m_expected.blockedHidden);
    own.expect(found.ignored == ignored, "ignores " + hexText(found.ignored));
    own.expect(found.caught == 0, "catches " + hexText(found.caught));
    own.expect(found.blocked == blocked, "blocks " + hexText(found.blocked));
  }

  void judgeDescriptors(const Observation& found, Findings& own) const {
    const StreamState* streams = found.streams;
    own.expect(isHandedOn(0, streams[0]), "another standard input");
    own.expect(S_ISFIFO(streams[1].mode) && !streams[1].isBroken, "standard output is no pipe");
    // That of uname and, by their command lines, of the collection commands is /dev/null.
    const bool isDiscarded =
        found.role == Role::kShell ? beginsWith(found.detail, "uname") : !m_expected.isCommandCut;
    own.expect(isDiscarded ? S_ISCHR(streams[2].mode) : isHandedOn(2, streams[2]),
               "another standard error");
    own.expect(found.openAbove == 0, "descriptors are open");
  }

  void judgeAttributes(const Observation& found, Findings& own) const {
    own.expect(std::equal(found.limits, found.limits + kLimits, m_loaded->limits), "other limits");
    own.expect(found.mask == 022, "another file-creation mask");
    own.expect(found.nice == m_loaded->nice, "another niceness");
    own.expect(found.folderError == m_loaded->folderError &&
                   std::strcmp(found.folder, m_loaded->folder) == 0,
               "another working directory");
    own.expect(found.hasTerminal == m_loaded->hasTerminal, "another terminal");
    // The closed library may change it, and a shell does.
    const bool isKept = found.role == Role::kShell && m_situation.zoneCall.empty();
    own.expect(!isKept || found.environment == m_loaded->environment, "another environment");
  }

  void judgeProcesses() {
    for (const Observation& found : m_run.observations) {
      const bool isShell = found.role == Role::kShell;
      if (found.role == Role::kCalled) judgeCommand(found);
      if (!isShell && found.role != Role::kCollector) continue;
      Findings own;
      judgeSignals(found, own);
      judgeDescriptors(found, own);
      judgeAttributes(found, own);
      m_findings.take(own, (isShell ? "shell of " : "collection command on ") +
                               normalised(found.detail) + ": ");
    }
    Texts children = m_expected.children;
    for (std::string& child : children) child = child.substr(0, child.find(' ') + kDetailBytes);
    m_findings.expectSame(childrenOf(m_run), children, "child");
    // The same bits as undisturbed, whatever the caller's mask.
    const Observation* usual = m_usual.find(Role::kCollector);
    const Observation* found = m_run.find(Role::kCollector);
    if (usual == nullptr || found == nullptr || found->tempMode == 0) return;
    expect(found->tempMode == usual->tempMode,
           "temporary directory: its permission bits are " + std::to_string(found->tempMode));
  }

  // --- everything else ---------------------------------------------------------------------------

  void judgeEnd() {
    expect(!m_run.outcome.trace.isTimedOut, "end: it runs on");
    expect(exitStatusOf(m_waitStatus) == m_expected.status, "end: " + endText(m_waitStatus));
  }

  void judgeRecord() {
    const std::string record = normalised(m_run.outcome.record);
    expect(record == normalised(m_expected.record), "exchanges: " + record);
    m_findings.take(judgeOrder(m_run.outcome.record, *m_situation.scenario, Ending::kWhole),
                    "exchanges: ");
  }

  void judgeStreams() {
    const Outcome& outcome = m_run.outcome;
    expect(outcome.output == m_expected.output,
           "standard output: " + std::to_string(outcome.output.size()) + " bytes instead of " +
               std::to_string(m_expected.output.size()));
    // What the loader says of a library is its own affair.
    expect(!m_expected.isLoaded || outcome.errors == m_expected.errors,
           "standard error: " + outcome.errors);
  }

  void judgeRemains() {
    m_findings.expectSame(normalised(m_run.left), normalised(m_expected.left), "remains: item");
    expect(m_run.outcome.inputs == m_usual.outcome.inputs,
           "remains: something changed outside log, backup and temporary area");
  }

  /// Whether nothing has happened. Notes what has happened all the same.
  bool isNotStarted() {
    const Outcome& outcome = m_run.outcome;
    if (outcome.log.find("### main : ") != std::string::npos) return false;
    expect(outcome.log == initialLog(*m_situation.scenario), "want: half a line");
    expect(outcome.record.empty() && m_run.left.empty(), "want: half a run");
    expect(exitStatusOf(m_waitStatus) != 0, "want: status 0 for nothing");
    return true;
  }

  const Situation& m_situation;
  const Run& m_usual;  // the undisturbed one
  const Expected& m_expected;
  const Run& m_run;
  const int m_waitStatus = m_run.outcome.trace.waitStatus;
  const Observation* const m_loaded = m_run.find(Role::kLoaded);  // the command; null without one
  Findings m_findings;
};

}  // namespace

Verdict judgeInherited(const Situation& situation, const Undisturbed& undisturbed, Run run) {
  Verdict verdict;
  Expected expected = undisturbed.expected;
  for (const Exception& exception : kExceptions) {
    const Expected before = expected;
    exception.apply(situation, expected);
    if (!(before == expected)) verdict.claimed.emplace_back(exception.name);
  }
  const auto judge = [&] { return Judge(situation, undisturbed.run, expected, run); };
  verdict.findings = judge().judgeAll();
  if (!verdict.findings.broken.empty() && expected.mayLackMemory) {
    verdict.findings = judge().judgeWantOfMemory();
    verdict.claimed.emplace_back(kWantOfMemory);
  } else if (!verdict.findings.broken.empty() && expected.mayLackStack) {
    verdict.findings = judge().judgeWantOfStack();
    verdict.claimed.emplace_back(kWantOfStack);
  }
  const Findings missing = unseenIn(situation, run);
  verdict.isHit = missing.broken.empty();
  verdict.findings.take(missing, "not seen to take effect: ");
  // What is as always must be told as always.
  verdict.findings.take(
      judgeVerdict(*situation.scenario, run.outcome, verdict.claimed.empty(), verdict.verdicts));
  verdict.run = std::move(run.outcome);
  return verdict;
}
