#include <fcntl.h>
#include <sys/resource.h>
#include <sys/utsname.h>

#include <algorithm>
#include <csignal>
#include <cstdio>
#include <tuple>

#include "inherited/judge.h"

namespace {

const char* const kFixedName = "/swconXXXXXX_";
const char* const kPlainName = "/tmp/swconXXXXXX_";
const char* const kElapsed = "ELAPSED:range='executing tanexics', time='0.0'";

const char* const kUnopened =
    "*** failed to open(/var/opt/QZKBsoftmsg/log/msg_action.log):Too many open files\n";

void replaceAll(std::string& text, const std::string& from, const std::string& to) {
  for (std::size_t at = text.find(from); at != std::string::npos;
       at = text.find(from, at + to.size())) {
    text.replace(at, from.size(), to);
  }
}

auto beginningWith(const std::string& head) {
  return [head](const std::string& line) { return beginsWith(line, head); };
}

Texts::iterator findLine(Texts& lines, const std::string& head) {
  return std::find_if(lines.begin(), lines.end(), beginningWith(head));
}

void eraseLines(Texts& lines, const std::string& head) {
  lines.erase(std::remove_if(lines.begin(), lines.end(), beginningWith(head)), lines.end());
}

bool isTraced(const Situation& situation) {
  return situation.scenario->environment.count("TANEX_LOG_LEVEL") != 0;
}

std::uint64_t limitOf(const Situation& situation, int resource) {
  const auto limit = situation.caller.limits.find(resource);
  return limit == situation.caller.limits.end() ? RLIM_INFINITY : limit->second;
}

bool isAnyClosed(const Situation& situation) {
  const auto& streams = situation.caller.streams;
  return std::find(streams.begin(), streams.end(), Stream::kClosed) != streams.end();
}

bool makesTempDir(const Expected& expected) {
  const Texts& children = expected.children;
  return std::any_of(children.begin(), children.end(), beginningWith("sh: mkdir "));
}

bool isRotated(const Situation& situation) { return situation.scenario->logBytes > 0; }

// --- parts of several exceptions -----------------------------------------------------------------

void emptyHostName(Expected& expected) {
  utsname host = {};
  ::uname(&host);
  const std::string name = host.nodename;
  for (std::string& message : expected.messages) {
    replaceAll(message, "HOSTNAME=\"" + name + "\"", "HOSTNAME=\"\"");
  }
  replaceAll(expected.record, "HOSTNAME=\\u0022" + name + "\\u0022", "HOSTNAME=\\u0022\\u0022");
}

std::string waitLine(int status) {
  char text[64];
  std::snprintf(text, sizeof text, "VUQ90004L : pid=1,wstat=%08x", static_cast<unsigned>(status));
  return text;
}

/// The trace of a wait status that tells of an exit.
Texts exitTrace(int status) {
  const std::string code = std::to_string(status >> 8);
  return {"[T](common:535):   WIFEXITED:1 WEXITSTATUS:" + code,
          "[T](common:536): WIFSIGNALED:0    WTERMSIG:0",
          "[T](common:537):  WIFSTOPPED:0    WSTOPSIG:" + code,
          "[T](common:538):WIFCONTINUED:0   WCOREDUMP:0"};
}

/// Backslashes as the command puts them before what the shell would take for its own.
std::string escaped(const std::string& path) {
  static const std::string special = "\"'\t ()|<>&#^`{}$\\";
  std::string text;
  for (const char byte : path) {
    if (special.find(byte) != std::string::npos) text += '\\';
    text += byte;
  }
  return text;
}

/// Leaves out all that comes with the temporary directory and after it.
void endBeforeTempDir(Expected& expected) {
  auto first = findLine(expected.messages, "[T](CTemp:73)");
  if (first == expected.messages.end()) {
    // Without the trace the first line is the wait status, ahead of its command.
    first = findLine(expected.messages, "VUQ90004L : com=mkdir") - 1;
  }
  expected.messages.erase(first, expected.messages.end());
  expected.children.erase(findLine(expected.children, "sh: mkdir"), expected.children.end());
  expected.output.clear();
}

/// Ten attempts at a temporary directory, and status 78.
void giveUpTempDir(const Situation& situation, TempFate fate, int mkdirStatus, Expected& expected) {
  constexpr int kAttempts = 10;
  const std::string& parent = situation.temp.parent;
  const bool isTrace = isTraced(situation);
  Texts attempt;
  if (isTrace) attempt.emplace_back("[T](CTemp:73):getTemp_sub():prefix=/tmp,templ=swconf");
  const std::string command = "mkdir -p " + escaped(parent) + kFixedName + " 2>/dev/null";
  if (fate == TempFate::kNoName) {
    attempt.emplace_back("VUQ90102L : failed to tempnam():Invalid argument");
  } else {
    attempt.push_back(waitLine(mkdirStatus));
    attempt.push_back("VUQ90004L : com=" + command);
    const Texts trace = isTrace ? exitTrace(mkdirStatus) : Texts();
    attempt.insert(attempt.end(), trace.begin(), trace.end());
    attempt.push_back("VUQ90103L : failed to create dir:" + parent + kFixedName);
  }
  endBeforeTempDir(expected);
  for (int number = 0; number < kAttempts; ++number) {
    expected.messages.insert(expected.messages.end(), attempt.begin(), attempt.end());
    if (fate != TempFate::kNoName) expected.children.push_back("sh: " + command);
  }
  expected.status = kNoTempDir;
  expected.messages.emplace_back("make tempname error (CSendEventSingleSystem::SendEvent)");
  expected.messages.emplace_back(kElapsed);
  expected.messages.push_back("### main : " + std::string(kCommandFile) + " exit. code = 78");
}

/// uname and mkdir fail with this wait status.
void failCommands(const Situation& situation, Expected& expected, int status) {
  emptyHostName(expected);
  *findLine(expected.messages, "VUQ90004L : pid=") = waitLine(status);
  giveUpTempDir(situation, TempFate::kNotMade, status, expected);
}

// --- the exceptions ------------------------------------------------------------------------------

bool isComplaining(const Situation& situation) {
  const Folder folder = situation.caller.folder;
  return folder == Folder::kDeleted || folder == Folder::kDetached;
}

bool isLoaderStarved(const Situation& situation) {
  return limitOf(situation, RLIMIT_NOFILE) <= kStreams && !isAnyClosed(situation);
}

}  // namespace

const std::vector<Exception> kExceptions = {
    {"not started", "the loader has no descriptor for a library",
     [](const Situation& situation, Expected& expected) {
       if (!isLoaderStarved(situation)) return;
       expected = Expected();
       expected.isLoaded = false;
       constexpr int kNotStarted = 127;
       expected.status = kNotStarted;
     }},
    {"nothing opened", "no descriptor for log and list: status 68, each line on standard error",
     [](const Situation& situation, Expected& expected) {
       if (limitOf(situation, RLIMIT_NOFILE) > kStreams || isLoaderStarved(situation)) return;
       // The size of the log asks for its backup first, and that for a pipe.
       const bool isEnd = isRotated(situation);
       expected = Expected();
       expected.status = isEnd ? 1 : kRejected;
       if (isEnd) return;
       constexpr int kLines = 4;  // the frame, and why the run was rejected
       for (int line = 0; line < kLines; ++line) expected.errors += kUnopened;
     }},
    {"no pipe", "no two descriptors for a pipe: the run ends there with status 1",
     [](const Situation& situation, Expected& expected) {
       if (limitOf(situation, RLIMIT_NOFILE) != kStreams + 1) return;
       if (isRotated(situation)) {
         expected = Expected();
         expected.status = 1;
         return;
       }
       if (!makesTempDir(expected)) return;
       emptyHostName(expected);
       const auto host = findLine(expected.messages, "VUQ90004L : com=uname");
       *host = "VUQ90003L : failed to pipe():Too many open files";
       expected.messages.erase(host + 1);
       endBeforeTempDir(expected);
       expected.children.clear();
       expected.status = 1;
     }},
    // The shell moves what it redirects to descriptors from 10 on.
    {"no redirection", "below 12 descriptors the shell cannot redirect, and runs no such command",
     [](const Situation& situation, Expected& expected) {
       constexpr std::uint64_t kForPipe = kStreams + 2;
       constexpr std::uint64_t kForOne = 11;  // "2>/dev/null"
       constexpr std::uint64_t kForTwo = 12;  // ">/dev/null 2>&1"
       const std::uint64_t limit = limitOf(situation, RLIMIT_NOFILE);
       if (limit < kForPipe || limit >= kForTwo) return;
       const bool isOne = limit >= kForOne;
       if (isRotated(situation)) {
         expected.backup.clear();
         expected.errors = isOne ? "" : "/bin/sh: 1: 1: Invalid argument\n";
       }
       if (!makesTempDir(expected)) return;
       if (isOne) {
         expected.left = {std::string("/tmp") + kFixedName,
                          std::string("/tmp") + kFixedName + "/data"};
         return;
       }
       failCommands(situation, expected, /*status=*/2 << 8);
       if (limit > kForPipe) return;
       // This line is logged while the pipe is open.
       eraseLines(expected.messages, "VUQ90004L : com=uname");
       expected.errors.insert(0, kUnopened);
     }},
    {"no zone file", "no descriptor for the file of the time zone: times are in UTC",
     [](const Situation& situation, Expected& expected) {
       if (limitOf(situation, RLIMIT_NOFILE) == kStreams + 1) expected.zones.emplace_back("UTC0");
     }},
    {"files cut", "no file grows beyond the limit; what does not fit is lost",
     [](const Situation& situation, Expected& expected) {
       const std::uint64_t limit = limitOf(situation, RLIMIT_FSIZE);
       if (limit == RLIM_INFINITY) return;
       constexpr std::size_t kHeadAndEnd = 28;  // with a few bytes of reserve for long process ids
       std::size_t logBytes = 0;
       for (const std::string& message : expected.messages) {
         logBytes += message.size() + kHeadAndEnd;
       }
       if (limit < logBytes) expected.mostLogBytes = limit;
       if (limit < expected.backup.size()) expected.backup.resize(limit);
       if (limit < expected.output.size()) expected.output.resize(limit);
     }},
    {"no commands", "PATH leads to no uname, cp and mkdir: they have failed",
     [](const Situation& situation, Expected& expected) {
       if (!situation.hasNoCommands) return;
       expected.backup.clear();
       if (makesTempDir(expected)) failCommands(situation, expected, /*status=*/127 << 8);
     }},
    {"no directory", "TMPDIR is a place where none can be made: ten attempts, status 78",
     [](const Situation& situation, Expected& expected) {
       const TempFate fate = situation.temp.fate;
       const bool isRefused = fate == TempFate::kNoName || fate == TempFate::kNotMade;
       if (!isRefused || !makesTempDir(expected)) return;
       giveUpTempDir(situation, fate, situation.temp.mkdirStatus, expected);
       expected.left = situation.temp.leftBehind;
     }},
    {"directory elsewhere", "TMPDIR wins over /tmp",
     [](const Situation& situation, Expected& expected) {
       const TempPlace& temp = situation.temp;
       if (temp.parent == "/tmp" || !makesTempDir(expected)) return;
       const std::string path = temp.parent + kFixedName;
       for (std::string& message : expected.messages) {
         if (beginsWith(message, "[T](common:469)")) {
           message =
               "[T](common:469):getCanonicalPath():" + path + "," + temp.canonical + kFixedName;
         }
         const bool isCommand =
             beginsWith(message, "VUQ90004L : com=mkdir") || beginsWith(message, "[T](common:520)");
         if (!isCommand && message.find("CTemp") == std::string::npos) continue;
         replaceAll(message, kPlainName, isCommand ? escaped(path) : path);
       }
       for (std::string& child : expected.children) {
         // The collection commands alone are given it as it is.
         const bool isPlain = beginsWith(child, "collect: ") || beginsWith(child, "sh: /opt");
         replaceAll(child, kPlainName, isPlain ? path : escaped(path));
       }
     }},
    {"directory kept", "TMPDIR is too shallow a place for the guard of removals",
     [](const Situation& situation, Expected& expected) {
       if (situation.temp.fate != TempFate::kKept || !makesTempDir(expected)) return;
       const std::string line =
           "VUQ90008L : " + situation.temp.parent + kFixedName + " too shallow to delete";
       auto removal = findLine(expected.messages, "[T](common:520)");
       if (removal == expected.messages.end()) {
         expected.messages.insert(expected.messages.end() - 2, line);
       } else {
         constexpr int kTraceOfStatus = 4;
         *removal = line;
         expected.messages.erase(removal + 1, removal + 1 + kTraceOfStatus);
       }
       eraseLines(expected.children, "sh: /bin/rm");
       const std::string item = situation.temp.canonical + kFixedName;
       expected.left = {item, item + "/data"};
     }},
    {"words split", "a collection command is given the directory unquoted",
     [](const Situation& situation, Expected& expected) {
       const std::string path = situation.temp.parent + kFixedName;
       const std::string word = path.substr(0, path.find_first_of(" ;"));
       if (word == path) return;
       for (std::string& child : expected.children) {
         if (beginsWith(child, "collect: ")) child = "collect: " + word;
       }
     }},
    {"command cut", "a collection command's line has room for 1,022 bytes",
     [](const Situation& situation, Expected& expected) {
       constexpr std::size_t kRoom = 1022;
       const std::string path = situation.temp.parent + kFixedName;
       const std::string line = "/opt/dovra/tanex/bin/tanexcc " + path + " 2>";
       expected.isCommandCut = line.size() > kRoom && makesTempDir(expected);
     }},
    {"program's name", "the frame of the log names the program as its caller does",
     [](const Situation& situation, Expected& expected) {
       for (std::string& message : expected.messages) {
         if (beginsWith(message, "### main : ")) {
           replaceAll(message, kCommandFile, situation.caller.program);
         }
       }
     }},
    {"line cut", "a line of the log has room for 2,046 bytes, and a zero byte then",
     [](const Situation&, Expected& expected) {
       constexpr std::size_t kMost = 2046;
       for (std::string& message : expected.messages) {
         if (message.size() > kMost) message = message.substr(0, kMost) + '\0';
       }
     }},
    {"signals of a shell",
     "before it becomes a command the shell takes SIGCHLD and empties the mask",
     [](const Situation& situation, Expected& expected) {
       if (!makesTempDir(expected)) return;
       expected.ignoredHidden = situation.caller.ignored & bitOf(SIGCHLD);
       expected.blockedHidden = situation.caller.blocked | situation.caller.pending;
     }},
    // A shell that cannot name its working directory says so, and where nobody reads that any more
    // a shell that has SIGPIPE from its caller ends there.
    {"shell ended", "its complaint about the working directory has no reader, and SIGPIPE ends it",
     [](const Situation& situation, Expected& expected) {
       const bool isEnd = isComplaining(situation) &&
                          situation.caller.stream(2) == Stream::kBrokenPipe &&
                          (situation.caller.ignored & bitOf(SIGPIPE)) == 0;
       if (!isEnd) return;
       if (isRotated(situation)) expected.backup.clear();
       if (!makesTempDir(expected)) return;
       giveUpTempDir(situation, TempFate::kNotMade, SIGPIPE, expected);
     }},
    {"shell complaining",
     "a shell that cannot name its working directory says so on standard error",
     [](const Situation& situation, Expected& expected) {
       if (!isComplaining(situation)) return;
       for (const std::string& child : expected.children) {
         // That of uname has a standard error of its own.
         if (!beginsWith(child, "sh: ") || beginsWith(child, "sh: uname")) continue;
         expected.errors += "sh: 0: getcwd() failed: No such file or directory\n";
       }
     }},
    {"output dropped", "what standard output or standard error does not take is lost",
     [](const Situation& situation, Expected& expected) {
       if (situation.caller.stream(1) != Stream::kOrdinary) expected.output.clear();
       if (situation.caller.stream(2) != Stream::kOrdinary) expected.errors.clear();
     }},
    {kWantOfMemory, "not started, or ended by std::terminate, or without its children",
     [](const Situation& situation, Expected& expected) {
       constexpr std::uint64_t kEnough = 4UL << 20;
       expected.mayLackMemory = limitOf(situation, RLIMIT_AS) < kEnough;
     }},
    {kWantOfStack, "below 32 KB the process cannot be started, or ends by SIGSEGV where it stands",
     [](const Situation& situation, Expected& expected) {
       constexpr std::uint64_t kEnough = 32UL << 10;
       expected.mayLackStack = limitOf(situation, RLIMIT_STACK) < kEnough;
     }},
};

bool Expected::operator==(const Expected& other) const {
  const auto all = [](const Expected& one) {
    return std::tie(one.isLoaded, one.status, one.messages, one.mostLogBytes, one.backup,
                    one.record, one.output, one.errors, one.children, one.ignoredHidden,
                    one.blockedHidden, one.isCommandCut, one.left, one.zones);
  };
  return all(*this) == all(other);
}

Texts childrenOf(const Run& run) {
  Texts children;
  for (const Observation& observation : run.observations) {
    if (observation.role != Role::kShell && observation.role != Role::kCollector) continue;
    const char* kind = observation.role == Role::kShell ? "sh: " : "collect: ";
    children.push_back(kind + withFixedNames(observation.detail));
  }
  return children;
}

Expected expectationFrom(const Scenario& scenario, const Run& run) {
  Expected expected;
  const Outcome& outcome = run.outcome;
  expected.status = scenario.status;
  for (const LogLine& line : linesOf(outcome.log)) {
    expected.messages.push_back(withFixedNames(line.message));
  }
  expected.backup = outcome.backup;
  expected.record = outcome.record;
  expected.output = outcome.output;
  expected.errors = outcome.errors;
  expected.children = childrenOf(run);
  return expected;
}
