#include "sweep/fault.h"

#include <array>
#include <cstring>

#include "sweep/calls.h"

namespace {

constexpr std::array<const char*, 3> kReachNames = {"once", "kind", "all"};

std::string signalName(int signal) { return std::string("SIG") + ::sigabbrev_np(signal); }

}  // namespace

std::string toText(const Fault& fault) {
  const std::string place = std::to_string(fault.process) + "." + std::to_string(fault.call) + ":";
  if (fault.signal != 0) return place + signalName(fault.signal);
  return place + errorName(fault.error) + ":" + kReachNames[static_cast<std::size_t>(fault.reach)];
}
