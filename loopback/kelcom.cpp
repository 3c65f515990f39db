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

/// Runs one call: `call` fills in the record and returns the result. No exception leaves, since the
/// callers of a C function expect none.
template <class Call>
int answer(const char* name, const Call& call) noexcept {
  try {
    Json record;
    record["call"] = name;
    const int result = call(record);
    record["result"] = result;
    if (loopback.isRecording()) loopback.append(record);
    return result;
  } catch (const std::exception& error) {
    complain(std::string(name) + ": " + error.what());
    return kUnusable;
  }
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
  if (place == nullptr) return Json();
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

std::string codeText(unsigned code) {
  char text[16];
  std::snprintf(text, sizeof text, "0x%x", code);
  return text;
}

}  // namespace

int KEL_StartComm(int mode, int* value) {
  return answer("KEL_StartComm", [=](Json& record) {
    record["mode"] = mode;
    record["value"] = value == nullptr ? Json() : Json(*value);
    return loopback.isUsable() ? loopback.script().nextStart() : kUnusable;
  });
}

int KEL_StopComm(void) {
  return answer("KEL_StopComm", [](Json&) {
    return loopback.isUsable() ? loopback.script().nextStop() : kUnusable;
  });
}

int KEL_Communicate(unsigned int code, int reserved, int count, void* data, void* error) {
  return answer("KEL_Communicate", [=](Json& record) {
    record["code"] = codeText(code);
    record["reserved"] = reserved;
    record["count"] = count;
    recordData(record, count, data);
    if (!loopback.isUsable()) {
      record["error"] = nullptr;
      return kUnusable;
    }
    const ExchangeReply reply = loopback.script().nextExchange(code);
    record["error"] = storeError(error, reply);
    return reply.result;
  });
}

int KEL_GetID(int* id) {
  return answer("KEL_GetID", [=](Json& record) {
    record["id"] = loopback.isUsable() ? store(id, loopback.script().nextId()) : Json();
    return loopback.isUsable() ? 0 : kUnusable;
  });
}

int KEL_GetStatus(int reserved, int* status) {
  return answer("KEL_GetStatus", [=](Json& record) {
    record["reserved"] = reserved;
    if (!loopback.isUsable()) {
      record["status"] = nullptr;
      return kUnusable;
    }
    const StatusReply reply = loopback.script().nextStatus();
    record["status"] = store(status, reply.word);
    return reply.result;
  });
}
