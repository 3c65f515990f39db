#include "loopback/rehearse/meaning.h"

#include <sys/wait.h>

#include <cstring>

#include "sendevent/exitstatus.h"

namespace {

/// What the loader ends with when it cannot start the command; the library may throw it as well.
constexpr int kCommandNotStarted = 127;

std::string exitMeaning(int status) {
  for (const ExitStatus& row : kExitStatuses) {
    if (row.number == status) return row.meaning;
  }
  const std::string other = kOtherExitStatus;
  if (status == kCommandNotStarted) return other + "; or the loader could not start the command";
  return other + " (its low eight bits)";
}

}  // namespace

std::string requestMeaning(unsigned code) {
  switch (code) {
    case 0x40016:
      return "notification of an event of type 1";
    case 0x40017:
      return "notification of an incident";
    case 0x40204:
      return "notification of an event with send type err";
    case 0x40205:
      return "notification of an event with another send type";
    case 0x4010a:
      return "data of an event of type 1";
    case 0x4010b:
      return "data of an incident";
    case 0x4010d:
      return "data of an event";
    default:
      return "unknown request code";
  }
}

std::string statusMeaning(int word) {
  switch (word) {
    case 0x20:
      return "operating";
    case 0x10000:
      return "maintenance";
    case 0x20000:
      return "stopped";
    case 0x30000:
      return "stopped for maintenance";
    default:
      return "unknown status word";
  }
}

std::string agentMeaning(int type) {
  if (type == 1) return "SMTP";
  if (type == 2) return "HTTP";
  return "type " + std::to_string(type);
}

std::string endMeaning(int waitStatus) {
  if (WIFSIGNALED(waitStatus)) {
    const int number = WTERMSIG(waitStatus);
    return "none: ended by signal " + std::to_string(number) + " (" + ::strsignal(number) + ")";
  }
  const int status = WEXITSTATUS(waitStatus);
  return std::to_string(status) + ": " + exitMeaning(status);
}

int passedOn(int waitStatus) {
  return WIFSIGNALED(waitStatus) ? 128 + WTERMSIG(waitStatus) : WEXITSTATUS(waitStatus);
}
