#include "common/process/waitstatus.h"

#include <sys/wait.h>

#include <cerrno>
#include <cstring>

#include "common/base/assertion.h"
#include "log/loglines.h"

int waitUndisturbed(int pid, int* status, int options) {
  int reaped = 0;
  do {
    reaped = ::waitpid(pid, status, options);
  } while (reaped < 0 && (errno == EINTR || errno == EAGAIN));
  return reaped;
}

int waitpid(const char* file, int /*line*/, int pid, int* status, int options) {
  if (file == nullptr) assertionFailed(1491, "file != __null");
  const int reaped = waitUndisturbed(pid, status, options);
  if (reaped < 0) infoNumbered("VUQ90004L", "waitpid(pid=%d) : %s", pid, std::strerror(errno));
  return reaped;
}

int exitStatus(int status) {
  traceAt("common", 535, "   WIFEXITED:%d WEXITSTATUS:%d", WIFEXITED(status), WEXITSTATUS(status));
  traceAt("common", 536, " WIFSIGNALED:%d    WTERMSIG:%d", WIFSIGNALED(status), WTERMSIG(status));
  traceAt("common", 537, "  WIFSTOPPED:%d    WSTOPSIG:%d", WIFSTOPPED(status), WSTOPSIG(status));
  traceAt("common", 538, "WIFCONTINUED:%d   WCOREDUMP:%d", WIFCONTINUED(status), WCOREDUMP(status));
  return WIFEXITED(status) ? WEXITSTATUS(status) : -1;
}
