#include "loopback/rehearse/meaning.h"

#include <sys/wait.h>

#include <cstring>

namespace {

const char* exitMeaning(int status) {
  switch (status) {
    case 0:
      return "the event was parsed, and nothing failed that the status tells of";
    case 1:
      return "the communication could not be prepared or started";
    case 65:
      return "refused: not the super-user";
    case 66:
      return "the action log could not be initialised";
    case 68:
      return "the command line, the send-file list or the event definition file was rejected";
    case 78:
      return "the temporary directory for the collected information could not be made";
    case 127:
      return "an error code of the communication library, passed on; or the loader could not start "
             "the command";
    default:
      return "an error code of the communication library, passed on (its low 8 bits)";
  }
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
