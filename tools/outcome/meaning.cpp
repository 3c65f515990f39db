#include "tools/outcome/meaning.h"

#include <sys/wait.h>

#include <cstring>

#include "rmglib/catalogue.h"
#include "rmglib/kelcom.h"

namespace outcome {

namespace {

/// What the loader ends with when it cannot start the command; the library may throw it as well.
constexpr int kCommandNotStarted = 127;

/// What one number of the library means.
struct Meaning {
  unsigned number;
  const char* meaning;
};

constexpr Meaning kRequests[] = {
    {kKelNotifyType1, "notification of an event of type 1"},
    {kKelNotifyIncident, "notification of an incident"},
    {kKelNotifyErrorEvent, "notification of an event with send type err"},
    {kKelNotifyOtherEvent, "notification of an event with another send type"},
    {kKelDataType1, "data of an event of type 1"},
    {kKelDataIncident, "data of an incident"},
    {kKelDataEvent, "data of an event"},
};

constexpr Meaning kStatusWords[] = {
    {kKelOperating, "operating"},
    {kKelMaintenance, "maintenance"},
    {kKelStopped, "stopped"},
    {kKelMaintenanceStop, "stopped for maintenance"},
};

/// What `rows` say of `number`; `other` where none of them has it.
template <class Rows, class Number>
std::string meaningOf(Number number, const Rows& rows, const std::string& other) {
  for (const auto& row : rows) {
    if (row.number == number) return row.meaning;
  }
  return other;
}

/// An exit status as the caller sees it.
std::string callersMeaning(int status) {
  const std::string thrown = kOtherExitStatus;
  return exitMeaning(status, status == kCommandNotStarted
                                 ? thrown + "; or the loader could not start the command"
                                 : thrown + " (its low eight bits)");
}

}  // namespace

std::string requestMeaning(unsigned code) {
  return meaningOf(code, kRequests, "unknown request code");
}

std::string statusMeaning(int word) {
  return meaningOf(static_cast<unsigned>(word), kStatusWords, "unknown status word");
}

std::string agentMeaning(int type) {
  if (type == kKelSmtpError) return kSmtpType;
  if (type == kKelHttpError) return kHttpType;
  return "type " + std::to_string(type);
}

std::string exitMeaning(int status, const std::string& other) {
  return meaningOf(status, kExitStatuses, other);
}

std::string endMeaning(int waitStatus) {
  if (WIFSIGNALED(waitStatus)) {
    const int number = WTERMSIG(waitStatus);
    return "none: ended by signal " + std::to_string(number) + " (" + ::strsignal(number) + ")";
  }
  const int status = WEXITSTATUS(waitStatus);
  return std::to_string(status) + ": " + callersMeaning(status);
}

int passedOn(int waitStatus) {
  return WIFSIGNALED(waitStatus) ? 128 + WTERMSIG(waitStatus) : WEXITSTATUS(waitStatus);
}

}  // namespace outcome
