#include "core/trace.h"

#include <fcntl.h>
#include <linux/close_range.h>
#include <sched.h>
#include <sys/prctl.h>
#include <sys/ptrace.h>
#include <sys/wait.h>
#include <unistd.h>

#include <algorithm>
#include <array>
#include <cerrno>
#include <chrono>
#include <csignal>
#include <cstring>
#include <stdexcept>
#include <thread>

#include "core/calls.h"
#include "core/scenario.h"
#include "tools/rehearse/pointersto.h"

namespace {

constexpr int kCannotStart = 125;

bool tell(const char* path, const std::string& text) {
  const int file = ::open(path, O_WRONLY | O_CLOEXEC);
  return file >= 0 && ::write(file, text.data(), text.size()) == static_cast<ssize_t>(text.size());
}

/// A user id that is not 0 even where this program is root of a user namespace alone: the child
/// moves into a namespace of its own, in which the same user has another number.
bool becomeOrdinaryUser() {
  return ::unshare(CLONE_NEWUSER) == 0 && tell("/proc/self/uid_map", "1000 0 1") &&
         tell("/proc/self/setgroups", "deny") && tell("/proc/self/gid_map", "1000 0 1") &&
         ::getuid() == 1000;
}

bool redirect(const char* path, int flags, int descriptor) {
  const int file = ::open(path, flags | O_CLOEXEC, 0600);
  return file >= 0 && ::dup2(file, descriptor) == descriptor;
}

[[noreturn]] void becomeCommand(const Launch& launch, bool isTraced) {
  std::vector<std::string> words = launch.words;
  std::vector<std::string> environment = launch.environment;
  const std::vector<char*> argv = pointersTo(words);
  const std::vector<char*> envp = pointersTo(environment);
  constexpr int kWriting = O_WRONLY | O_CREAT | O_TRUNC | O_APPEND;
  ::signal(SIGPIPE, SIG_DFL);
  ::prctl(PR_SET_PDEATHSIG, SIGKILL);
  const bool isReady = (!isTraced || ::ptrace(PTRACE_TRACEME, 0, nullptr, nullptr) == 0) &&
                       // What this program's own caller left open is not the command's doing.
                       ::close_range(3, ~0U, CLOSE_RANGE_CLOEXEC) == 0 &&
                       (!launch.asOrdinaryUser || becomeOrdinaryUser()) &&
                       ::chdir(kCaseFolder) == 0 && redirect("/dev/null", O_RDONLY, STDIN_FILENO) &&
                       redirect(kOutputFile, kWriting, STDOUT_FILENO) &&
                       redirect(kErrorFile, kWriting, STDERR_FILENO) &&
                       (!launch.handDown || launch.handDown());
  if (isReady && (!isTraced || (::raise(SIGSTOP) == 0 && installCallFilter()))) {
    ::execve(launch.program.c_str(), argv.data(), envp.data());
  }
  ::_exit(kCannotStart);
}

constexpr auto kPause = std::chrono::microseconds(500);
constexpr auto kGraceOfOrphans = std::chrono::seconds(2);

using Clock = std::chrono::steady_clock;

/// What the command left running comes to its end: a child that it could not wait for may be about
/// to remove something.
void awaitOrphans() {
  const auto end = Clock::now() + kGraceOfOrphans;
  for (pid_t ended = 1; ended >= 0 && Clock::now() < end;) {
    ended = ::waitpid(-1, nullptr, WNOHANG);
    if (ended == 0) std::this_thread::sleep_for(kPause);
  }
}

}  // namespace

pid_t startCommand(const Launch& launch, bool isTraced) {
  const pid_t pid = ::fork();
  if (pid == 0) becomeCommand(launch, isTraced);
  if (pid < 0) throw std::runtime_error(std::string("fork: ") + std::strerror(errno));
  return pid;
}

Trace runPlainly(const Launch& launch) {
  ::prctl(PR_SET_CHILD_SUBREAPER, 1, 0, 0, 0);
  Trace result;
  const pid_t pid = startCommand(launch, /*isTraced=*/false);
  const auto end = Clock::now() + launch.limit;
  while (::waitpid(pid, &result.waitStatus, WNOHANG) == 0) {
    if (Clock::now() > end) {
      result.isTimedOut = true;
      ::kill(pid, SIGKILL);
      ::waitpid(pid, &result.waitStatus, 0);
      break;
    }
    std::this_thread::sleep_for(kPause);
  }
  awaitOrphans();
  if (exitStatusOf(result.waitStatus) == kCannotStart) {
    throw std::runtime_error("the command cannot be run: " + launch.words.front());
  }
  return result;
}

std::string toText(const Fault& fault) {
  constexpr std::array<const char*, 3> kReachNames = {"once", "kind", "all"};
  const std::string place = std::to_string(fault.process) + "." + std::to_string(fault.call) + ":";
  if (fault.signal != 0) return place + "SIG" + ::sigabbrev_np(fault.signal);
  return place + errorName(fault.error) + ":" + kReachNames[static_cast<std::size_t>(fault.reach)];
}

bool Trace::isHit() const {
  return isSignalSent ||
         std::any_of(calls.begin(), calls.end(), [](const Call& call) { return call.isHit; });
}

int exitStatusOf(int waitStatus) { return WIFEXITED(waitStatus) ? WEXITSTATUS(waitStatus) : -1; }

int signalOf(int waitStatus) { return WIFSIGNALED(waitStatus) ? WTERMSIG(waitStatus) : 0; }

std::string endText(int waitStatus) {
  const int signal = signalOf(waitStatus);
  return signal == 0 ? "status " + std::to_string(exitStatusOf(waitStatus))
                     : "signal " + std::to_string(signal);
}
