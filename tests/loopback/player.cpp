// Plays the calls that its words name on whatever libkelcom the loader gives it, so that the
// rehearsal has a command to run that does exactly what a test says:
//
//   id  status  start  stop          the call of that name
//   notify CODE TEXT                 an exchange with a text
//   data CODE COUNT PATH...          an exchange with COUNT files
//
// A word that it does not know, or that is missing, ends it with status 99.

#include <cstdlib>
#include <string>

#include "rmglib/kelcom.h"

namespace {

/// The words that are still to be played; a null pointer ends them.
char** words;

char* next() {
  if (*words == nullptr) std::exit(99);
  return *words++;
}

unsigned nextNumber() { return static_cast<unsigned>(std::strtoul(next(), nullptr, 0)); }

void notify() {
  int error[3] = {};
  const unsigned code = nextNumber();
  KEL_Communicate(code, 0, 0, next(), error);
}

void sendData() {
  int error[3] = {};
  const unsigned code = nextNumber();
  const unsigned count = nextNumber();
  char** const paths = words;
  for (unsigned at = 0; at < count; ++at) next();
  KEL_Communicate(code, 0, static_cast<int>(count), paths, error);
}

void play(const std::string& word) {
  int value = 0;
  if (word == "id") {
    KEL_GetID(&value);
  } else if (word == "status") {
    KEL_GetStatus(0, &value);
  } else if (word == "start") {
    KEL_StartComm(0, &value);
  } else if (word == "stop") {
    KEL_StopComm();
  } else if (word == "notify") {
    notify();
  } else if (word == "data") {
    sendData();
  } else {
    std::exit(99);
  }
}

}  // namespace

int main(int /*argc*/, char** argv) {
  words = argv + 1;
  while (*words != nullptr) play(next());
  return 0;
}
