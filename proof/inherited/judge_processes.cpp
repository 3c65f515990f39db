#include "inherited/judge.h"

#include <fcntl.h>
#include <sys/stat.h>

#include <algorithm>
#include <csignal>
#include <cstring>

namespace {

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
  if (subject.situation.caller.stream(stream) == Stream::kClosed) {
    return state.isOpen && state.access == O_RDWR && S_ISCHR(state.mode);
  }
  const StreamState& first = subject.run.find(Role::kLoaded)->streams[stream];
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
  const bool isDiscarded = child.isShell ? std::strncmp(child.found.detail, "uname", 5) == 0
                                         : !subject.expected.isCommandCut;
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
      subject, found, *subject.run.find(Role::kLoaded), isShell,
      (isShell ? "shell of " : "collection command on ") + normalised(found.detail) + ": "};
  judgeSignals(child);
  judgeDescriptors(child);
  judgeAttributes(child);
}

/// The same bits as undisturbed, whatever the caller's mask.
void judgeTempMode(const Subject& subject) {
  const Observation* usual = subject.undisturbed.run.find(Role::kCollector);
  const Observation* found = subject.run.find(Role::kCollector);
  if (usual == nullptr || found == nullptr || found->tempMode == 0) return;
  subject.expect(found->tempMode == usual->tempMode,
                 "temporary directory: its permission bits are " + std::to_string(found->tempMode));
}

}  // namespace

void judgeProcesses(const Subject& subject) {
  for (const Observation& observation : subject.run.observations) {
    if (observation.role == Role::kCalled) judgeCommand(subject, observation);
    if (observation.role == Role::kShell || observation.role == Role::kCollector) {
      judgeChild(subject, observation);
    }
  }
  Texts expected = subject.expected.children;
  for (std::string& child : expected) child = child.substr(0, child.find(' ') + kDetailBytes);
  subject.findings.expectSame(childrenOf(subject.run), expected, "child");
  judgeTempMode(subject);
}
