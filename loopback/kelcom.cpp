#include "rmglib/kelcom.h"

#include <unistd.h>

#include <array>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <exception>
#include <nlohmann/json.hpp>
#include <optional>
#include <string>

#include "loopback/bytes.h"
#include "loopback/outbox.h"
#include "loopback/script.h"

namespace {

// Ordered, so that a record reads in the order of the call's arguments.
using Json = nlohmann::ordered_json;

/// What every call returns when the script or the outbox cannot be used.
constexpr int kUnusable = -1;

/// One line on standard error, in a single write. Nobody is left to tell when that fails.
void complain(const std::string& message) {
  const std::string line = "libkelcom loopback: " + message + "\n";
  [[maybe_unused]] const ssize_t count = ::write(STDERR_FILENO, line.data(), line.size());
}

/// The state of the stand-in for the life of one process.
class Loopback {
 public:
  /// Reads script and outbox from the environment. What cannot be used is told once, here.
  Loopback();

  bool isUsable() const { return m_usable; }
  bool isRecording() const { return m_outbox.has_value(); }
  Script& script() { return m_script; }
  Outbox& outbox() { return *m_outbox; }

  void append(const Json& record);

 private:
  static std::optional<Outbox> openOutbox();
  static Script loadScript();

  /// Assigns what `make` returns, or complains and makes every call fail.
  template <class Part, class Make>
  void settle(Part& part, const Make& make);

  bool m_usable = true;
  Script m_script;
  std::optional<Outbox> m_outbox;
};

Loopback::Loopback() {
  settle(m_outbox, openOutbox);
  settle(m_script, loadScript);
}

template <class Part, class Make>
void Loopback::settle(Part& part, const Make& make) {
  try {
    part = make();
  } catch (const std::exception& error) {
    complain(error.what());
    m_usable = false;
  }
}

std::optional<Outbox> Loopback::openOutbox() {
  const char* directory = std::getenv("KELCOM_LOOPBACK_OUTBOX");
  if (directory == nullptr) return std::nullopt;
  return Outbox(directory);
}

Script Loopback::loadScript() {
  const char* path = std::getenv("KELCOM_LOOPBACK_SCRIPT");
  return path == nullptr ? Script() : readScript(path);
}

void Loopback::append(const Json& record) {
  const std::string failure = m_outbox->append(record.dump() + "\n");
  if (!failure.empty()) complain("the record is incomplete: " + failure);
}

// Made when the library is loaded: before the command changes its environment, its working
// directory or its descriptors.
Loopback loopback;

/// How a call ends whose script or outbox cannot be used.
constexpr Ending kUnusableEnding = {kUnusable, false};

/// Lets the call take its time. One that never ends is recorded before.
void takeTime(const char* kind, Json& record) {
  const int seconds = loopback.script().nextDelay(kind);
  if (seconds == Script::kForever) {
    record["hangs"] = true;
    if (loopback.isRecording()) loopback.append(record);
    for (;;) ::pause();
  }
  for (unsigned rest = static_cast<unsigned>(seconds); rest > 0;) rest = ::sleep(rest);
}

/// Makes one call: `call` fills in the record and returns how it ends. No exception leaves.
template <class Call>
Ending endingOf(const char* name, const char* kind, const Call& call) noexcept {
  try {
    Json record;
    record["call"] = name;
    const Ending ending = call(record);
    if (loopback.isUsable()) takeTime(kind, record);
    record[ending.isThrown ? "thrown" : "result"] = ending.number;
    if (loopback.isRecording()) loopback.append(record);
    return ending;
  } catch (const std::exception& error) {
    complain(std::string(name) + ": " + error.what());
    return kUnusableEnding;
  }
}

/// Runs one call to its end. Nothing but the integer that the script has is ever thrown, since the
/// callers of a C function expect nothing else.
///
/// `kind`  what the script calls it.
template <class Call>
int answer(const char* name, const char* kind, const Call& call) {
  const Ending ending = endingOf(name, kind, call);
  if (ending.isThrown) throw ending.number;
  return ending.number;
}

Json jsonText(const char* text) { return text == nullptr ? Json() : Json(escapeBytes(text)); }

/// Stores `value` where the caller wants it. Returns what the record shows: null when there is no
/// place for it.
Json store(int* place, int value) {
  if (place == nullptr) return Json();
  *place = value;
  return value;
}

Json storeError(void* place, const ExchangeReply& reply) {
  if (place == nullptr || reply.ending.isThrown) return Json();
  const std::array<int, 3> words = {reply.errorType, reply.agentCode, 0};
  // Copied by bytes: nothing is known of the caller's alignment.
  std::memcpy(place, words.data(), sizeof words);
  return words;
}

Json sendItem(const char* path) {
  Json item;
  item["path"] = jsonText(path);
  if (path == nullptr) {
    item["error"] = "null path name";
    return item;
  }
  const StoredItem stored = loopback.outbox().store(path);
  if (stored.error.empty()) {
    item["copy"] = escapeBytes(stored.copy);
  } else {
    item["error"] = escapeBytes(stored.error);
  }
  return item;
}

/// The record of the files of one exchange; null without any list, or for a negative count.
Json sendItems(int count, const void* data) {
  if (count < 0 || data == nullptr) return Json();
  const char* const* paths = static_cast<const char* const*>(data);
  Json items = Json::array();
  for (int at = 0; at < count; ++at) items.push_back(sendItem(paths[at]));
  return items;
}

void recordData(Json& record, int count, const void* data) {
  if (!loopback.isRecording()) return;
  if (count == 0) {
    record["text"] = jsonText(static_cast<const char*>(data));
  } else {
    record["items"] = sendItems(count, data);
  }
}

/// Writes over a text, to its end.
void overwrite(char* text) {
  if (text != nullptr) std::memset(text, '#', std::strlen(text));
}

/// Writes over all that an exchange was handed.
void overwriteData(int count, void* data) {
  if (data == nullptr) return;
  if (count == 0) overwrite(static_cast<char*>(data));
  char** paths = static_cast<char**>(data);
  for (int at = 0; at < count; ++at) {
    overwrite(paths[at]);
    paths[at] = nullptr;
  }
}

std::string codeText(unsigned code) {
  char text[16];
  std::snprintf(text, sizeof text, "0x%x", code);
  return text;
}

}  // namespace

int KEL_StartComm(int mode, int* value) {
  return answer("KEL_StartComm", "start", [=](Json& record) {
    record["mode"] = mode;
    record["value"] = value == nullptr ? Json() : Json(*value);
    return loopback.isUsable() ? loopback.script().nextStart() : kUnusableEnding;
  });
}

int KEL_StopComm(void) {
  return answer("KEL_StopComm", "stop", [](Json&) {
    return loopback.isUsable() ? loopback.script().nextStop() : kUnusableEnding;
  });
}

int KEL_Communicate(unsigned int code, int reserved, int count, void* data, void* error) {
  return answer("KEL_Communicate", "communicate", [=](Json& record) {
    record["code"] = codeText(code);
    record["reserved"] = reserved;
    record["count"] = count;
    recordData(record, count, data);
    if (!loopback.isUsable()) {
      record["error"] = nullptr;
      return kUnusableEnding;
    }
    if (loopback.script().overwrites()) overwriteData(count, data);
    const ExchangeReply reply = loopback.script().nextExchange(code);
    record["error"] = storeError(error, reply);
    return reply.ending;
  });
}

int KEL_GetID(int* id) {
  return answer("KEL_GetID", "id", [=](Json& record) {
    const IdReply reply =
        loopback.isUsable() ? loopback.script().nextId() : IdReply{0, kUnusableEnding};
    const bool hasAnswer = loopback.isUsable() && !reply.ending.isThrown;
    record["id"] = hasAnswer ? store(id, reply.id) : Json();
    return reply.ending;
  });
}

int KEL_GetStatus(int reserved, int* status) {
  return answer("KEL_GetStatus", "status", [=](Json& record) {
    record["reserved"] = reserved;
    const StatusReply reply =
        loopback.isUsable() ? loopback.script().nextStatus() : StatusReply{0, kUnusableEnding};
    const bool hasAnswer = loopback.isUsable() && !reply.ending.isThrown;
    record["status"] = hasAnswer ? store(status, reply.word) : Json();
    return reply.ending;
  });
}
