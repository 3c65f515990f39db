#include "sweep/judge.h"

#include <fnmatch.h>
#include <sys/syscall.h>

#include <algorithm>
#include <iterator>

#include "core/calls.h"
#include "core/loglines.h"

namespace {

/// How a line may differ from the undisturbed run's.
enum Difference : unsigned { kAppears = 1U, kLacks = 2U, kEither = 3U };

/// A line that may differ when an area was touched, as a pattern of fnmatch(3). Each has its reason
/// beside it.
struct Exception {
  unsigned areas;
  Difference difference;
  const char* line;
};

/// The shells whose wait status is decoded.
constexpr unsigned kDecoded = kHostName | kTempDir | kRemoval;

constexpr Exception kExceptions[] = {
    // A rejected input says why: it cannot be read. Of its contents nothing new may be said.
    {kList, kAppears, "* not found.(CSendEventSingleSystem::parseCommandLine)"},
    {kList, kAppears, "* open error.(CSendEventSingleSystem::parseCommandLine)"},
    {kList, kAppears, "* read error.(CSendEventSingleSystem::parseCommandLine)"},
    {kDefinition, kAppears, "* not found.(CSendEventBase::parseMsgCommon)"},
    {kDefinition, kAppears, "* open error.(CSendEventBase::parseMsgCommon)"},
    {kDefinition, kAppears, "* read error.(CSendEventBase::parseMsgCommon)"},
    {kList | kDefinition, kAppears, "### main : * exit. code = 68"},
    // A file that cannot be measured is sent all the same.
    {kSentFile, kEither, "get file size error(*)"},
    {kSentFile, kEither, "\\[T\\](SendEventBase:486):current_total=*"},
    {kSentFile, kEither, "\\[T\\](SendEventBase:491):final_total=*"},
    // A log extract that cannot be read leaves the excerpt empty.
    {kExcerpt, kAppears, "syslogfile open error.FILE=*"},
    {kExcerpt, kAppears, "syslogfile read error.FILE=*"},
    {kExcerpt, kEither, "RM_Communicate call (param=0x4020?*"},
    // A host name that cannot be had is sent as an empty one.
    {kHostName, kAppears, "VUQ90003L : failed to pipe():*"},
    {kHostName, kAppears, "VUQ90005L : failed to exec(*):uname -n*"},
    {kHostName, kAppears, "RM_Communicate call (param=0x40017 *HOSTNAME=\"\"*"},
    {kHostName, kAppears, "VUQ90004L : waitpid(pid=*) : *"},
    {kHostName, kLacks, "VUQ90004L : com=uname*"},  // without a pipe there is no command to name
    {kHostName, kLacks, "RM_Communicate call (param=0x40017 *"},
    // A shell that fails is logged with its wait status, where a line tells of it.
    {kHostName | kTempDir, kEither, "VUQ90004L : pid=*,wstat=*"},
    {kDecoded, kEither, "\\[T\\](common:53[5678]):*"},
    // Ten attempts are made at the directory. What was not made is not removed.
    {kTempDir, kEither, "VUQ90004L : com=mkdir -p *"},
    {kTempDir, kAppears, "VUQ9010[123]L : *"},
    {kTempDir, kEither, "\\[T\\](CTemp:73):*"},
    {kTempDir, kEither, "\\[T\\](CTemp:156):*"},
    {kTempDir, kLacks, "\\[T\\](CTemp:188):*"},
    {kTempDir, kLacks, "\\[T\\](common:469):getCanonicalPath():*"},
    {kTempDir, kLacks, "\\[T\\](common:520):/bin/rm *"},
    {kTempDir, kAppears, "make tempname error (CSendEventSingleSystem::SendEvent)"},
    {kTempDir, kAppears, "### main : * exit. code = 78"},
    {kTempDir, kLacks, "### main : * exit. code = *"},
};

bool isExcepted(const Case& subject, Difference difference, const std::string& line) {
  return std::any_of(std::begin(kExceptions), std::end(kExceptions), [&](const Exception& one) {
    return (one.difference & difference) != 0 && subject.touched(one.areas) &&
           ::fnmatch(one.line, line.c_str(), 0) == 0;
  });
}

/// The longest common part of two lists of lines; what is outside goes to `lacking`, `appearing`.
void compare(const Texts& expected, const Texts& lines, Texts& lacking, Texts& appearing) {
  std::vector<std::vector<std::size_t>> common(expected.size() + 1,
                                               std::vector<std::size_t>(lines.size() + 1, 0));
  for (std::size_t left = expected.size(); left-- > 0;) {
    for (std::size_t right = lines.size(); right-- > 0;) {
      common[left][right] = expected[left] == lines[right]
                                ? common[left + 1][right + 1] + 1
                                : std::max(common[left + 1][right], common[left][right + 1]);
    }
  }
  std::size_t left = 0;
  std::size_t right = 0;
  while (left < expected.size() || right < lines.size()) {
    if (left < expected.size() && right < lines.size() && expected[left] == lines[right]) {
      ++left;
      ++right;
    } else if (right == lines.size() ||
               (left < expected.size() && common[left + 1][right] >= common[left][right + 1])) {
      lacking.push_back(expected[left++]);
    } else {
      appearing.push_back(lines[right++]);
    }
  }
}

/// Every line goes out as head, message and line feed.
void judgeShape(const Case& subject, const std::vector<IntendedLine>& lines) {
  for (const IntendedLine& line : lines) {
    if (!line.isOpened) {
      subject.expect(line.pieces.empty(), "4: something is written to a log that was not opened");
      continue;
    }
    const bool isCutOff = &line == &lines.back() && isTerminated(subject.run);
    subject.expect(isCutOff || (line.pieces.size() == 3 && line.pieces[2] == "\n" &&
                                isHead(line.pieces[0], subject.run.trace.processes[0].pid)),
                   "4: a line is not head, message and line feed: " + messageOf(line));
  }
}

/// The undisturbed run's lines, those that could not be opened left out of both.
void judgeLines(const Case& subject, const std::vector<IntendedLine>& lines) {
  const Texts expected = messagesOf(subject.reference.trace);
  const bool isLogAlone = (subject.areas & ~(kLog | kOutput | kErrors | kTimeZone | kStart)) == 0;
  Texts messages = messagesOf(subject.run.trace);
  if (isLogAlone) {
    for (std::size_t at = 0; at < std::min(lines.size(), expected.size()); ++at) {
      if (!lines[at].isOpened) messages[at] = expected[at];
    }
    subject.findings.expectSame(messages, expected, "4: line");
    return;
  }
  Texts lacking;
  Texts appearing;
  compare(expected, messages, lacking, appearing);
  const bool isCut =
      isEndOfPipes(subject.run.trace) || isTerminated(subject.run) || isRejected(subject);
  std::size_t unopened = 0;  // each of these lacks one line, and appears as an empty one
  for (const IntendedLine& line : lines) unopened += line.isOpened ? 0 : 1;
  for (const std::string& line : lacking) {
    if (isCut || isExcepted(subject, kLacks, line)) continue;
    if (unopened > 0) {
      --unopened;
      continue;
    }
    subject.expect(false, "4: a line is missing: " + line);
  }
  for (const std::string& line : appearing) {
    subject.expect(line.empty() || isExcepted(subject, kAppears, line),
                   "4: a line appears: " + line);
  }
}

/// A log that is too large is emptied, whatever has become of its copy.
void judgeRotation(const Case& subject) {
  const Trace& trace = subject.run.trace;
  int begun = 0;
  int emptied = 0;
  for (std::size_t at = 0; at < trace.calls.size(); ++at) {
    const Call& call = trace.calls[at];
    if (call.process != 0) continue;
    const bool isPipe = call.kind == SYS_pipe2;
    begun += isPipe && areaOfCall(trace, at, subject.reference.trace) == kRotation ? 1 : 0;
    emptied += call.kind == SYS_truncate ? 1 : 0;
  }
  const bool isCut = isEndOfPipes(trace) || isTerminated(subject.run);
  subject.expect(begun == emptied || isCut, "4: a log was copied and not emptied");
}

/// A directory is given up after ten attempts, each of which has its line.
void judgeAttempts(const Case& subject, const std::vector<IntendedLine>& lines) {
  constexpr int kAttempts = 10;
  const bool isGivenUp = exitStatusOf(subject.run.trace.waitStatus) == kNoTempDir;
  if (!isGivenUp || subject.touched(kLog)) return;
  const auto count = std::count_if(lines.begin(), lines.end(), [](const IntendedLine& line) {
    return ::fnmatch("VUQ9010[123]L : *", messageOf(line).c_str(), 0) == 0;
  });
  subject.expect(count == kAttempts, "4: " + std::to_string(count) + " attempts at a directory");
}

bool isInputUnread(const Case& subject) {
  const Trace& trace = subject.run.trace;
  for (std::size_t at = 0; at < trace.calls.size(); ++at) {
    const Call& call = trace.calls[at];
    if (!call.isHit || call.kind != SYS_read || call.error == kShortCount) continue;
    if ((areaOfCall(trace, at, subject.reference.trace) & (kList | kDefinition)) != 0) return true;
  }
  return false;
}

/// An input whose reading fails is rejected for that alone: nothing is said of what it lacks.
void judgeUnreadInput(const Case& subject, const std::vector<IntendedLine>& lines) {
  if (!isInputUnread(subject)) return;
  for (const IntendedLine& line : lines) {
    for (const char* fault : {"No send file.(*", "* parameter error.(*"}) {
      subject.expect(::fnmatch(fault, messageOf(line).c_str(), 0) != 0,
                     "4: an input that was not read is said to be wrong: " + messageOf(line));
    }
  }
}

}  // namespace

void judgeLog(const Case& subject) {
  const std::vector<IntendedLine> lines = intendedLines(subject.run.trace);
  judgeShape(subject, lines);
  judgeLines(subject, lines);
  judgeRotation(subject);
  judgeAttempts(subject, lines);
  judgeUnreadInput(subject, lines);
  const LogContents contents = contentsAfter(subject.run.trace, initialLog(subject.scenario));
  subject.expect(subject.run.log == contents.log,
                 "4: the log holds something else than what was written to it");
  // A copy that fails leaves what it leaves; the log is emptied all the same.
  if (subject.touched(kRotation) || isEndOfPipes(subject.run.trace)) return;
  subject.expect(subject.run.backup == contents.backup, "6: the backup is not what the log was");
}
