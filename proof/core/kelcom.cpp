// The closed library where the stand-in will not do: answers that all is well, unless it is ordered
// to misbehave, and writes down each call, what it is about to do, and what the command finds
// itself with when the library is loaded and whenever it is called. Small, and without the C++
// runtime, so that it needs no memory and, but for a file to send, no descriptor.

#include "rmglib/kelcom.h"

#include <dlfcn.h>
#include <fcntl.h>
#include <unistd.h>

#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <ctime>

#include "core/testimony.h"

/// Does what leaves no result; in the library that may misbehave alone.
__attribute__((weak)) void misbehave(const char* deed, int value);

namespace {

constexpr int kOperating = 0x20;
constexpr int kId = 4711;

Testimony* testimony = nullptr;

/// Appends to the record; what has no room is lost, and with it the trial.
void put(const char* text) {
  if (testimony == nullptr) return;
  const std::size_t length = std::strlen(text);
  const int end = testimony->recordEnd.fetch_add(static_cast<int>(length));
  if (end < 0 || static_cast<std::size_t>(end) + length >= kRecordBytes) return;
  std::memcpy(testimony->record + end, text, length);
}

void putNumber(const char* name, long long value) {
  char text[64];
  std::snprintf(text, sizeof text, ",\"%s\":%lld", name, value);
  put(text);
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
  if (std::strcmp(call, testimony->orders.zoneCall) != 0) return;
  testimony->orders.zoneCall[0] = '\0';
  ::setenv("TZ", testimony->orders.zone, 1);
  ::tzset();
}

/// One call, from its beginning in the record to its end.
class Line {
 public:
  explicit Line(const char* call) {
    if (testimony == nullptr) return;
    Observation* observation = observe(testimony, Role::kCalled);
    if (observation != nullptr) setDetail(*observation, call);
    changeZone(call);
    put("{\"call\":\"");
    put(call);
    put("\"");
    if (std::strcmp(call, testimony->orders.guiltyCall) != 0) return;
    static int time = 0;
    ++time;
    const int guiltyTime = testimony->orders.guiltyTime;
    m_isGuilty = guiltyTime == 0 || guiltyTime == time;
  }

  /// What is ordered for this deed, `usual` where it is not to be done.
  int valueOf(const char* deed, int usual) const {
    return isGuiltyOf(deed) ? testimony->orders.value : usual;
  }

  /// Closes the line and does what is to be done. Returns the result of the call.
  int end() const {
    // Without its memory the library can vouch for nothing; it says so, and the trial shows it.
    constexpr int kUnusable = -1;
    if (testimony == nullptr) return kUnusable;
    // A call that does not return has no result.
    const bool isReturning = !m_isGuilty || misbehave == nullptr || isGuiltyOf("return") ||
                             isGuiltyOf("status") || isGuiltyOf("garbage");
    const int result = isReturning ? valueOf("return", 0) : -1;
    putNumber("result", result);
    if (m_isGuilty) {
      put(",\"deed\":\"");
      put(testimony->orders.deed);
      put("\"");
      putNumber("value", testimony->orders.value);
    }
    put("}\n");
    if (!isReturning) misbehave(testimony->orders.deed, testimony->orders.value);
    return result;
  }

 private:
  bool isGuiltyOf(const char* deed) const {
    return m_isGuilty && std::strcmp(testimony->orders.deed, deed) == 0;
  }

  bool m_isGuilty = false;
};

__attribute__((constructor)) void testify(int, char** words, char** environment) {
  testimony = openTestimony();
  Observation* observation = observe(testimony, Role::kLoaded);
  if (observation == nullptr) return;
  observeWords(*observation, words, environment);
  Dl_info self = {};
  if (::dladdr(reinterpret_cast<void*>(&KEL_GetID), &self) != 0) {
    setDetail(*observation, self.dli_fname);
  }
}

}  // namespace

int KEL_StartComm(int mode, int* value) {
  const Line line("KEL_StartComm");
  putNumber("mode", mode);
  putNumber("value", value == nullptr ? -1 : *value);
  return line.end();
}

int KEL_StopComm(void) { return Line("KEL_StopComm").end(); }

int KEL_Communicate(unsigned int code, int reserved, int count, void* data, void* error) {
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
  const int word = line.valueOf("garbage", 0);
  const int words[3] = {word, word, word};
  std::memcpy(error, words, sizeof words);
  return line.end();
}

int KEL_GetID(int* id) {
  const Line line("KEL_GetID");
  *id = line.valueOf("return", kId);
  return line.end();
}

int KEL_GetStatus(int reserved, int* status) {
  const Line line("KEL_GetStatus");
  putNumber("reserved", reserved);
  *status = line.valueOf("status", kOperating);
  return line.end();
}
