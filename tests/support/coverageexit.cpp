// Part of every program of a coverage build, and of no other. The counters of a process are written
// when it exits by exit(3); this writes them as well when it ends by _exit(2) or abort(3), or
// becomes another program, in whatever state a test has brought the process by then.

#include <fcntl.h>
#include <pthread.h>
#include <sys/resource.h>
#include <sys/stat.h>
#include <sys/syscall.h>
#include <sys/wait.h>
#include <unistd.h>

#include <csignal>
#include <cstdio>
#include <cstdlib>

// Declared by no header; libgcov of GCC 11 and later.
extern "C" void __gcov_dump();
extern "C" void __gcov_reset();

namespace {

constexpr int kOutOfTheWay = 900;  // tests look at the low descriptors

/// The root directory that the process was started in: counters lie below it.
int firstRoot = -1;

/// Remembers where the counters lie, and has children count from zero, so that nothing is counted
/// twice.
__attribute__((constructor)) void prepare() {
  const int root = ::open("/", O_PATH | O_DIRECTORY | O_CLOEXEC);
  firstRoot = ::fcntl(root, F_DUPFD_CLOEXEC, kOutOfTheWay);
  ::close(root);
  ::pthread_atfork(nullptr, nullptr, __gcov_reset);
}

/// As far as any user may: a test sets the soft limit only.
void lift(__rlimit_resource resource) {
  rlimit limit = {};
  if (::getrlimit(resource, &limit) != 0) return;
  limit.rlim_cur = limit.rlim_max;
  ::setrlimit(resource, &limit);
}

/// For a process that does nothing else afterwards.
void writeCounters() {
  ::umask(0);  // another user may have to add to the file
  lift(RLIMIT_NOFILE);
  lift(RLIMIT_FSIZE);
  lift(RLIMIT_AS);
  if (::fchdir(firstRoot) == 0) {
    // From there, whatever the root is by now.
    const char* prefix = std::getenv("GCOV_PREFIX");
    // Nothing is allocated here: the memory may have been used up on purpose.
    static char fromHere[4096];
    std::snprintf(fromHere, sizeof fromHere, ".%s", prefix == nullptr ? "" : prefix);
    ::setenv("GCOV_PREFIX", fromHere, 1);
  }
  __gcov_dump();
}

/// The usual end, before the compiler's own part of it and after all that the program destroys.
__attribute__((destructor)) void finish() { writeCounters(); }

/// Before the process becomes another program: in a child, so that nothing changes in the process.
/// By the bare system calls, since some tests replace the library's.
void writeCountersInChild() {
  const pid_t pid = ::_Fork();
  if (pid == 0) {
    writeCounters();
    ::syscall(SYS_exit_group, 0);
  }
  if (pid > 0) ::syscall(SYS_wait4, pid, nullptr, 0, nullptr);
  __gcov_reset();  // in case it stays what it is after all
}

}  // namespace

extern "C" void _exit(int status) {
  writeCounters();
  for (;;) ::syscall(SYS_exit_group, status);
}

extern "C" void abort() noexcept {
  writeCounters();
  ::signal(SIGABRT, SIG_DFL);
  for (;;) ::raise(SIGABRT);
}

extern "C" int execv(const char* path, char* const words[]) noexcept {
  writeCountersInChild();
  return ::execve(path, words, environ);
}

extern "C" int execvp(const char* file, char* const words[]) noexcept {
  writeCountersInChild();
  return ::execvpe(file, words, environ);
}
