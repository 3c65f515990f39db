#include "sweep/ending.h"

#include <sys/wait.h>

int exitStatusOf(int waitStatus) { return WIFEXITED(waitStatus) ? WEXITSTATUS(waitStatus) : -1; }

int signalOf(int waitStatus) { return WIFSIGNALED(waitStatus) ? WTERMSIG(waitStatus) : 0; }

std::string endText(int waitStatus) {
  const int signal = signalOf(waitStatus);
  return signal == 0 ? "status " + std::to_string(exitStatusOf(waitStatus))
                     : "signal " + std::to_string(signal);
}
