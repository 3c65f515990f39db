// The closed library as it can misbehave: every call succeeds and does nothing, unless the
// environment says otherwise.
//
//   TEST_KELCOM_CALLS   a file to which the name of each call is appended, one a line
//   TEST_KELCOM_LINE    a file that is opened for writing when communication starts, under the
//                       lowest free number as any library would, and stays open
//   TEST_KELCOM_THROW   the call that throws, "KEL_GetID" say
//   TEST_KELCOM_VALUES  what it throws at the first, the second, ... time, separated by blanks: a
//                       number for that integer, "object" for an exception object, "-" for nothing;
//                       nothing is thrown after the last

#include <fcntl.h>
#include <unistd.h>

#include <cstdlib>
#include <cstring>
#include <sstream>
#include <stdexcept>
#include <string>

#include "rmglib/kelcom.h"

namespace {

constexpr int kOperating = 0x20;
constexpr int kId = 4711;

void writeDown(const std::string& call) {
  const char* path = std::getenv("TEST_KELCOM_CALLS");
  if (path == nullptr) return;
  const std::string line = call + "\n";
  const int file = ::open(path, O_WRONLY | O_CREAT | O_APPEND | O_CLOEXEC, 0600);
  if (file < 0 || ::write(file, line.data(), line.size()) < 0) std::abort();
  ::close(file);
}

/// What is to be thrown the next time, "-" for nothing.
std::string nextValue() {
  static std::istringstream values(std::getenv("TEST_KELCOM_VALUES"));
  std::string value;
  return values >> value ? value : "-";
}

int answer(const char* call) {
  writeDown(call);
  const char* thrower = std::getenv("TEST_KELCOM_THROW");
  if (thrower == nullptr || std::strcmp(thrower, call) != 0) return 0;
  const std::string value = nextValue();
  if (value == "object") throw std::runtime_error("thrown by the closed library");
  if (value != "-") throw std::stoi(value);
  return 0;
}

}  // namespace

int KEL_StartComm(int, int*) {
  const char* line = std::getenv("TEST_KELCOM_LINE");
  if (line != nullptr && ::open(line, O_WRONLY | O_CREAT, 0600) < 0) std::abort();
  return answer("KEL_StartComm");
}

int KEL_StopComm() { return answer("KEL_StopComm"); }

int KEL_Communicate(unsigned int, int, int, void*, void*) { return answer("KEL_Communicate"); }

int KEL_GetID(int* id) {
  *id = kId;
  return answer("KEL_GetID");
}

int KEL_GetStatus(int, int* status) {
  *status = kOperating;
  return answer("KEL_GetStatus");
}
