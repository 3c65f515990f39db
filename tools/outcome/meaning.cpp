#include "tools/outcome/meaning.h"

#include <sys/wait.h>

#include <cstring>

#include "rmglib/catalogue.h"
#include "rmglib/kelcom.h"
#include "tools/common/language.h"

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
    {kKelNotifyType1, marked("notification of an event of type 1")},
    {kKelNotifyIncident, marked("notification of an incident")},
    {kKelNotifyErrorEvent, marked("notification of an event with send type err")},
    {kKelNotifyOtherEvent, marked("notification of an event with another send type")},
    {kKelDataType1, marked("data of an event of type 1")},
    {kKelDataIncident, marked("data of an incident")},
    {kKelDataEvent, marked("data of an event")},
};

constexpr Meaning kStatusWords[] = {
    {kKelOperating, marked("operating")},
    {kKelMaintenance, marked("maintenance")},
    {kKelStopped, marked("stopped")},
    {kKelMaintenanceStop, marked("stopped for maintenance")},
};

/// What `rows` say of `number`; `other` where none of them has it.
template <class Rows, class Number>
std::string meaningOf(Number number, const Rows& rows, const std::string& other) {
  for (const auto& row : rows) {
    if (row.number == number) return translated(row.meaning);
  }
  return other;
}

/// An exit status as the caller sees it.
std::string callersMeaning(int status) {
  const std::string thrown = translated(kOtherExitStatus);
  return exitMeaning(status,
                     status == kCommandNotStarted
                         ? translated("%s; or the loader could not start the command", {thrown})
                         : translated("%s (its low eight bits)", {thrown}));
}

}  // namespace

std::string requestMeaning(unsigned code) {
  return meaningOf(code, kRequests, translated("unknown request code"));
}

std::string statusMeaning(int word) {
  return meaningOf(static_cast<unsigned>(word), kStatusWords, translated("unknown status word"));
}

std::string agentMeaning(int type) {
  if (type == kKelSmtpError) return kSmtpType;
  if (type == kKelHttpError) return kHttpType;
  return translated("type %s", {std::to_string(type)});
}

std::string exitMeaning(int status) { return exitMeaning(status, translated(kOtherExitStatus)); }

std::string exitMeaning(int status, const std::string& other) {
  return meaningOf(status, kExitStatuses, other);
}

std::string endMeaning(int waitStatus) {
  if (WIFSIGNALED(waitStatus)) {
    const int number = WTERMSIG(waitStatus);
    return translated("none: ended by signal %s (%s)",
                      {std::to_string(number), ::strsignal(number)});
  }
  const int status = WEXITSTATUS(waitStatus);
  return std::to_string(status) + ": " + callersMeaning(status);
}

int passedOn(int waitStatus) {
  return WIFSIGNALED(waitStatus) ? 128 + WTERMSIG(waitStatus) : WEXITSTATUS(waitStatus);
}

}  // namespace outcome
