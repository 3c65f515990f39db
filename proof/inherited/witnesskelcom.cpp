// The closed library of this proof: answers that all is well, and writes down each call, and what
// the command finds itself with when it is loaded and whenever it calls. Small, and without the C++
// runtime, so that it needs no memory and, but for a file to send, no descriptor.

#include <dlfcn.h>
#include <fcntl.h>
#include <unistd.h>

#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <ctime>

#include "inherited/testimony.h"
#include "rmglib/kelcom.h"

namespace {

constexpr int kOperating = 0x20;
constexpr int kId = 4711;

Testimony* testimony = nullptr;

/// Appends to the record; what has no room is lost, and with it the trial.
void put(const char* text, std::size_t length) {
  const int end = testimony->recordEnd.fetch_add(static_cast<int>(length));
  if (end < 0 || static_cast<std::size_t>(end) + length >= kRecordBytes) return;
  std::memcpy(testimony->record + end, text, length);
}

void put(const char* text) { put(text, std::strlen(text)); }

void putNumber(const char* name, long long value) {
  char text[64];
  const int length = std::snprintf(text, sizeof text, ",\"%s\":%lld", name, value);
  put(text, static_cast<std::size_t>(length));
}

void putEscaped(const char* text) {
  for (; *text != '\0'; ++text) {
    const auto byte = static_cast<unsigned char>(*text);
    const bool isPlain = byte >= ' ' && byte < 0x7f && byte != '"' && byte != '\\';
    char escaped[8] = {*text, '\0'};
    if (!isPlain) std::snprintf(escaped, sizeof escaped, "\\u%04x", byte);
    put(escaped);
  }
}

/// A file that is sent: its name, size, and what hashOf makes of its bytes.
void putItem(const char* path) {
  const int file = ::open(path, O_RDONLY | O_CLOEXEC);
  long long size = file < 0 ? -1 : 0;
  std::uint64_t hash = kHashOfNothing;
  char bytes[513];
  for (ssize_t count = 1; file >= 0 && count > 0; size += count) {
    count = ::read(file, bytes, sizeof bytes - 1);
    if (count < 0) break;
    bytes[count] = '\0';
    hash = hashOf(bytes, hash);
  }
  if (file >= 0) ::close(file);
  put("{\"path\":\"");
  putEscaped(path);
  put("\"");
  putNumber("size", size);
  char text[32];
  std::snprintf(text, sizeof text, ",\"hash\":\"%llx\"}", static_cast<unsigned long long>(hash));
  put(text);
}

void changeZone(const char* call) {
  if (std::strcmp(call, testimony->zoneCall) != 0) return;
  testimony->zoneCall[0] = '\0';
  ::setenv("TZ", testimony->zone, 1);
  ::tzset();
}

/// One line of the record, written from beginning to end of its life.
class Line {
 public:
  explicit Line(const char* call) {
    Observation* observation = addObservation(testimony, Role::kCalled);
    if (observation != nullptr) {
      observe(*observation);
      setDetail(*observation, call);
    }
    changeZone(call);
    put("{\"call\":\"");
    put(call);
    put("\"");
  }
  ~Line() {
    putNumber("result", 0);
    put("}\n");
  }
  Line(const Line&) = delete;
  Line& operator=(const Line&) = delete;
};

__attribute__((constructor)) void testify(int, char** words, char** environment) {
  testimony = openTestimony();
  if (testimony == nullptr) return;
  Observation* observation = addObservation(testimony, Role::kLoaded);
  if (observation == nullptr) return;
  observe(*observation);
  observeWords(*observation, words, environment);
  Dl_info self = {};
  if (::dladdr(reinterpret_cast<void*>(&KEL_GetID), &self) != 0) {
    setDetail(*observation, self.dli_fname);
  }
}

}  // namespace

// Without its memory the library can vouch for nothing; it says so, and the trial shows it.
constexpr int kUnusable = -1;

int KEL_StartComm(int mode, int* value) {
  if (testimony == nullptr) return kUnusable;
  const Line line("KEL_StartComm");
  putNumber("mode", mode);
  putNumber("value", value == nullptr ? -1 : *value);
  return 0;
}

int KEL_StopComm(void) {
  if (testimony == nullptr) return kUnusable;
  const Line line("KEL_StopComm");
  return 0;
}

int KEL_Communicate(unsigned int code, int reserved, int count, void* data, void* error) {
  if (testimony == nullptr) return kUnusable;
  const Line line("KEL_Communicate");
  putNumber("code", code);
  putNumber("reserved", reserved);
  putNumber("count", count);
  if (count == 0) {
    put(",\"text\":\"");
    putEscaped(static_cast<const char*>(data));
    put("\"");
  } else {
    put(",\"items\":[");
    const char* const* paths = static_cast<const char* const*>(data);
    for (int at = 0; at < count; ++at) {
      if (at > 0) put(",");
      putItem(paths[at]);
    }
    put("]");
  }
  std::memset(error, 0, 3 * sizeof(int));
  return 0;
}

int KEL_GetID(int* id) {
  if (testimony == nullptr) return kUnusable;
  const Line line("KEL_GetID");
  *id = kId;
  return 0;
}

int KEL_GetStatus(int reserved, int* status) {
  if (testimony == nullptr) return kUnusable;
  const Line line("KEL_GetStatus");
  putNumber("reserved", reserved);
  *status = kOperating;
  return 0;
}
