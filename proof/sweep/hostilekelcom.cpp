// The closed library at its worst. Linked as a maker would link it, with the C++ runtime shared.
//
//   HOSTILE_RECORD  a file to which each call is appended before anything else happens, in the form
//                   of the stand-in's record, with what it is about to do as its "deed"
//   HOSTILE_CALL    the call that misbehaves, "KEL_GetID" say, or "KEL_GetID:2" for its second time
//                   alone
//   HOSTILE_DEED    what it does: "return N", "status N" (of KEL_GetStatus: the word it stores),
//                   "garbage N" (of KEL_Communicate: every word it hands back), "throw N" (an
//                   integer), "object" (an exception object is thrown), "hang", "crash"

#include <fcntl.h>
#include <unistd.h>

#include <csignal>
#include <cstdlib>
#include <cstring>
#include <map>
#include <stdexcept>
#include <string>

#include "rmglib/kelcom.h"

namespace {

constexpr int kOperating = 0x20;
constexpr int kId = 4711;

struct Deed {
  std::string text;  // as it was ordered
  std::string name;
  int value = 0;
};

std::string environmentOf(const char* name) {
  const char* value = std::getenv(name);
  return value == nullptr ? "" : value;
}

void writeDown(const std::string& call, const std::string& rest, const Deed& deed) {
  const std::string done = deed.name.empty() ? "" : ",\"deed\":\"" + deed.text + "\"";
  const std::string line = "{\"call\":\"" + call + "\"" + rest + done + "}\n";
  const int file = ::open(environmentOf("HOSTILE_RECORD").c_str(),
                          O_WRONLY | O_CREAT | O_APPEND | O_CLOEXEC, 0600);
  if (file < 0 || ::write(file, line.data(), line.size()) < 0) std::abort();
  ::close(file);
}

/// What is to be done now; without a name where the call is to behave.
Deed deedOf(const std::string& call) {
  static std::map<std::string, int> times;
  const int time = ++times[call];
  const std::string guilty = environmentOf("HOSTILE_CALL");
  if (guilty != call && guilty != call + ":" + std::to_string(time)) return {};
  Deed deed;
  deed.text = environmentOf("HOSTILE_DEED");
  const std::size_t blank = deed.text.find(' ');
  deed.name = deed.text.substr(0, blank);
  if (blank != std::string::npos) deed.value = std::stoi(deed.text.substr(blank + 1));
  return deed;
}

/// Does what leaves no result. Returns the result otherwise.
int perform(const Deed& deed) {
  if (deed.name == "throw") throw deed.value;
  if (deed.name == "object") throw std::runtime_error("thrown by the closed library");
  if (deed.name == "crash") std::raise(SIGSEGV);
  while (deed.name == "hang") ::pause();
  return deed.name == "return" ? deed.value : 0;
}

}  // namespace

int KEL_StartComm(int, int*) {
  const Deed deed = deedOf("KEL_StartComm");
  // A start that does not return has not started anything.
  const int unreturned = deed.name.empty() ? 0 : -1;
  const int result = deed.name == "return" ? deed.value : unreturned;
  writeDown("KEL_StartComm", ",\"result\":" + std::to_string(result), deed);
  return perform(deed);
}

int KEL_StopComm() {
  const Deed deed = deedOf("KEL_StopComm");
  writeDown("KEL_StopComm", "", deed);
  return perform(deed);
}

int KEL_Communicate(unsigned int, int, int count, void* data, void* error) {
  std::string text;
  if (count == 0) {
    // Quotes and backslashes are all that the texts of the scenarios have to escape.
    for (const char* byte = static_cast<const char*>(data); *byte != '\0'; ++byte) {
      if (*byte == '"' || *byte == '\\') text += '\\';
      text += *byte;
    }
    text = ",\"text\":\"" + text + "\"";
  }
  const Deed deed = deedOf("KEL_Communicate");
  writeDown("KEL_Communicate", ",\"count\":" + std::to_string(count) + text, deed);
  if (deed.name == "garbage") {
    const int words[3] = {deed.value, deed.value, deed.value};
    std::memcpy(error, words, sizeof words);
  }
  return perform(deed);
}

int KEL_GetID(int* id) {
  const Deed deed = deedOf("KEL_GetID");
  writeDown("KEL_GetID", "", deed);
  *id = deed.name == "return" ? deed.value : kId;
  return perform(deed);
}

int KEL_GetStatus(int, int* status) {
  const Deed deed = deedOf("KEL_GetStatus");
  writeDown("KEL_GetStatus", "", deed);
  *status = deed.name == "status" ? deed.value : kOperating;
  return perform(deed);
}
