#include "common/capture/execgetlinestimeout.h"

#include <sys/types.h>
#include <sys/wait.h>
#include <unistd.h>

#include <csignal>
#include <cstdio>

#include "common/base/childshell.h"
#include "common/base/piecereader.h"
#include "common/base/unwind.h"
#include "common/capture/loggedchild.h"
#include "common/process/waitstatus.h"
#include "log/loglines.h"

namespace {

constexpr int kLongestSeconds = 7200;
constexpr int kGraceSeconds = 60;  // between SIGTERM and SIGKILL
constexpr std::size_t kReadBytes = 1023;

/// Looks once a second, at most `polls` times, whether the child has ended. A failing wait does not
/// end the loop: it was logged, and the time limit holds all the same.
bool hasEndedWithin(int polls, int callerLine, pid_t pid, int& status) {
  for (int poll = 0; poll < polls; ++poll) {
    if (waitpid("common.cpp", callerLine, pid, &status, WNOHANG) > 0) return true;
    ::sleep(1);
  }
  return false;
}

/// Watches over a child as long as its time limit is waited for: when an exception ends that (a log
/// that is rotated needs memory), the limit cannot be kept any more, and the child is ended.
class Watch {
 public:
  explicit Watch(pid_t pid) : m_pid(pid) {}
  ~Watch() {
    // One that has ended, or cannot be waited for, may be somebody else by now.
    if (m_isOver || waitUndisturbed(m_pid, nullptr, WNOHANG) != 0) return;
    ::killpg(m_pid, SIGKILL);
    ::kill(m_pid, SIGKILL);  // it may not have its group yet
    waitUndisturbed(m_pid, nullptr, 0);
  }
  Watch(const Watch&) = delete;
  Watch& operator=(const Watch&) = delete;

  void end() { m_isOver = true; }

 private:
  pid_t m_pid;
  bool m_isOver = false;
};

void waitOrEnd(pid_t pid, int seconds, int& status) {
  if (hasEndedWithin(seconds, 3024, pid, status)) return;
  ::killpg(pid, SIGTERM);
  infoNumbered("VUQ90004L", "Command  TIMEOUT (send SIGTERM)");
  if (hasEndedWithin(kGraceSeconds, 3039, pid, status)) return;
  ::killpg(pid, SIGKILL);
  infoNumbered("VUQ90004L", "Command  TIMEOUT (send SIGKILL)");
  waitpid("common.cpp", 3052, pid, &status, 0);
}

/// For the child: becomes the command. System calls only.
[[noreturn]] void becomeGroup(Pipe& pipe, const char* command) {
  makeStandardOutput(pipe);
  discardStandardError();
  ::setsid();  // a group of its own, so that the signals reach everything that it starts
  execShell(command, kShellFailure);
}

int runForAtMost(std::list<std::string>& lines, const char* command, int seconds) {
  Pipe pipe;
  if (!makeLoggedPipe(pipe)) return -1;
  const pid_t pid = forkLogged(command);
  if (pid == 0) becomeGroup(pipe, command);
  if (pid < 0) return -1;

  if (seconds <= 0 || seconds > kLongestSeconds) seconds = kLongestSeconds;
  const Stream output = openOutput(pipe);
  if (output == nullptr) return -1;
  std::setvbuf(output.get(), nullptr, _IOLBF, BUFSIZ);

  int status = -1;
  Watch watch(pid);
  waitOrEnd(pid, seconds, status);
  watch.end();
  PieceReader reader(output.get(), kReadBytes);
  collectLines(reader, lines, /*maxLines=*/-1);
  return loggedExitStatus(pid, status);
}

}  // namespace

int execGetLinesTimeout(std::list<std::string>& lines, const char* command, int seconds) {
  if (command == nullptr) {
    invalidParamAt("common", 2951);
    return -1;
  }
  traceAt("common", 2955, "execGetLinesTimeout() command:[%s]", command);
  std::list<std::string> formerLines;  // emptied, not destroyed: `command` may be one of its items
  lines.swap(formerLines);
  return releasingOwners([&] { return runForAtMost(lines, command, seconds); });
}
