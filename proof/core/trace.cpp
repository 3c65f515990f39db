#include "core/trace.h"

#include <sys/wait.h>

#include <algorithm>
#include <array>
#include <cstring>

#include "core/calls.h"

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
