#ifndef TANEXICS_TESTS_SUPPORT_PROCESS1_H
#define TANEXICS_TESTS_SUPPORT_PROCESS1_H

#include <sched.h>
#include <sys/wait.h>
#include <unistd.h>

#include <functional>

/// Runs `body` as process 1 of a process-id namespace of its own.
inline int asProcess1(const std::function<void()>& body) {
  if (::unshare(CLONE_NEWPID) != 0) return 77;
  const pid_t pid = ::fork();
  if (pid == 0) {
    body();
    ::_exit(0);
  }
  int status = -1;
  return ::waitpid(pid, &status, 0) == pid && status == 0 ? 0 : 1;
}

#endif
