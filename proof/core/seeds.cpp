// Bugs for the proof of the proof. Linked over the command's own objects with --wrap: a call of the
// function between two files goes through here. SEEDED_BUG names the one bug of a run; each must be
// found, by the promise that it breaks: the tables of sweep/main.cpp and inherited/main.cpp.

#include <fcntl.h>
#include <sys/stat.h>
#include <sys/types.h>
#include <unistd.h>

#include <csignal>
#include <cstdlib>
#include <cstring>
#include <ctime>

#include "common/base/callersignals.h"
#include "common/base/childshell.h"
#include "common/base/piecereader.h"
#include "common/base/stdfds.h"
#include "rmglib/CVuqRmgLib.h"

namespace {

bool isSeeded(const char* bug) {
  const char* seeded = std::getenv("SEEDED_BUG");
  return seeded != nullptr && std::strcmp(seeded, bug) == 0;
}

constexpr char kAccepted[] = "RM_Communicate done (code='0', msg='') ";
constexpr char kRefused[] = "RM_Communicate done (code='5', msg='') ";

bool isText(const void* bytes, std::size_t count, const char* text) {
  return count == std::strlen(text) && std::memcmp(bytes, text, count) == 0;
}

bool hasCollectionFailed = false;
bool hasWriteFailed = false;

}  // namespace

// The linker gives every wrapped function these two names, which are reserved for it.
// NOLINTBEGIN(bugprone-reserved-identifier)
extern "C" {

pid_t __real_waitpid(pid_t pid, int* status, int options);
pid_t __wrap_waitpid(pid_t pid, int* status, int options) {
  if (isSeeded("unwaited-child")) {
    *status = 0;
    return pid;
  }
  const pid_t reaped = __real_waitpid(pid, status, options);
  if (reaped < 0 && isSeeded("crash")) std::raise(SIGSEGV);
  return reaped;
}

ssize_t __real_write(int file, const void* bytes, std::size_t count);
ssize_t __wrap_write(int file, const void* bytes, std::size_t count) {
  if (hasWriteFailed && isSeeded("torn-line")) {
    hasWriteFailed = false;
    return static_cast<ssize_t>(count);
  }
  if (isSeeded("false-answer") && isText(bytes, count, kAccepted)) {
    return __real_write(file, kRefused, sizeof kRefused - 1);
  }
  const ssize_t written = __real_write(file, bytes, count);
  hasWriteFailed = written < 0;
  return written;
}

bool __real__ZNK11PieceReader9hasFailedEv(const PieceReader* reader);
bool __wrap__ZNK11PieceReader9hasFailedEv(const PieceReader* reader) {
  return !isSeeded("partial-list") && __real__ZNK11PieceReader9hasFailedEv(reader);
}

int __real__Z8s_systemPKc(const char* command);
int __wrap__Z8s_systemPKc(const char* command) {
  const int status = __real__Z8s_systemPKc(command);
  const bool isCollection = std::strncmp(command, "/opt/", 5) == 0;
  hasCollectionFailed = hasCollectionFailed || (isCollection && status != 0);
  if (isSeeded("dirty-output") && __real_write(STDOUT_FILENO, "done\n", 5) < 0) return -1;
  if (isSeeded("changed-input")) {
    const int list = ::open("list", O_WRONLY | O_APPEND | O_CLOEXEC);
    if (__real_write(list, "\n", 1) < 0) return -1;
    ::close(list);
  }
  return status;
}

int __real__Z11removeFilesPKci(const char* path, int recursive);
int __wrap__Z11removeFilesPKci(const char* path, int recursive) {
  if (isSeeded("kept-directory") && hasCollectionFailed) return 0;
  if (isSeeded("repeated-removal")) __real__Z11removeFilesPKci(path, recursive);
  return __real__Z11removeFilesPKci(path, recursive);
}

[[noreturn]] void __real__Z9execShellPKci(const char* command, int failureStatus);
[[noreturn]] void __wrap__Z9execShellPKci(const char* command, int failureStatus) {
  __real__Z9execShellPKci(command, isSeeded("failed-shell") ? 127 : failureStatus);
}

bool __real__Z8makePipeR4Pipe(Pipe& pipe);
bool __wrap__Z8makePipeR4Pipe(Pipe& pipe) {
  const bool isMade = __real__Z8makePipeR4Pipe(pipe);
  if (isMade && isSeeded("open-descriptor")) ::fcntl(pipe.readEnd.get(), F_DUPFD, 20);
  return isMade;
}

int __real__ZN14CVuqRmgLibImpl11RM_StopCommEv(CVuqRmgLibImpl* client);
int __wrap__ZN14CVuqRmgLibImpl11RM_StopCommEv(CVuqRmgLibImpl* client) {
  return isSeeded("single-stop") ? 0 : __real__ZN14CVuqRmgLibImpl11RM_StopCommEv(client);
}

void __real__Z13settleSignalsv();
void __wrap__Z13settleSignalsv() {
  struct sigaction callers = {};
  ::sigaction(SIGCHLD, nullptr, &callers);
  __real__Z13settleSignalsv();
  if (isSeeded("sigchld-kept")) ::sigaction(SIGCHLD, &callers, nullptr);
  if (isSeeded("sigpipe-default")) std::signal(SIGPIPE, SIG_DFL);
  if (isSeeded("sigxfsz-default")) std::signal(SIGXFSZ, SIG_DFL);
  if (isSeeded("handler-installed")) std::signal(SIGPIPE, [](int) {});
  if (!isSeeded("signal-blocked")) return;
  sigset_t set = {};
  ::sigemptyset(&set);
  ::sigaddset(&set, SIGTERM);
  ::sigprocmask(SIG_BLOCK, &set, nullptr);
}

void __real__Z20restoreCallerSignalsv();
void __wrap__Z20restoreCallerSignalsv() {
  if (!isSeeded("signals-handed-on")) __real__Z20restoreCallerSignalsv();
}

mode_t __real_umask(mode_t mask);
mode_t __wrap_umask(mode_t mask) { return isSeeded("mask-kept") ? 0 : __real_umask(mask); }

void __real__Z25occupyStandardDescriptorsv();
void __wrap__Z25occupyStandardDescriptorsv() {
  if (isSeeded("folder-needed") && ::getcwd(nullptr, 0) == nullptr) ::_exit(1);
  if (!isSeeded("descriptors-closed")) __real__Z25occupyStandardDescriptorsv();
}

std::tm* __real_localtime_r(const std::time_t* time, std::tm* local);
std::tm* __wrap_localtime_r(const std::time_t* time, std::tm* local) {
  static long offset = 0;
  static bool isKept = false;
  std::tm* result = __real_localtime_r(time, local);
  if (isSeeded("zone-ignored")) return ::gmtime_r(time, local);
  if (!isSeeded("zone-kept")) return result;
  if (!isKept) offset = local->tm_gmtoff;
  isKept = true;
  const std::time_t shifted = *time + offset;
  return ::gmtime_r(&shifted, local);
}

__attribute__((destructor)) static void endOtherwise() {
  if (isSeeded("other-status")) ::_exit(3);
}
}
// NOLINTEND(bugprone-reserved-identifier)
