#ifndef TANEXICS_TESTS_SUPPORT_TESTEVENT_H
#define TANEXICS_TESTS_SUPPORT_TESTEVENT_H

#include <cstring>
#include <map>
#include <memory>
#include <string>
#include <vector>

#include "sendevent/CSendEventSingleSystem.h"
#include "sendevent/SendEventBase.h"

/// An event with its fields open, so that a test starts from any state.
template <class Event>
struct OpenEvent : Event {
  using Event::m_eventType;
  using Event::m_params;
  using Event::m_sendFileList;
  using Event::sendThrough;

  OpenEvent() = default;

  /// An event of `type` that is to send `files`.
  OpenEvent(int type, const std::vector<std::string>& files) {
    m_eventType = type;
    m_sendFileList = files;
  }
};

using TestEvent = OpenEvent<CSendEventBase>;
using TestSingleSystem = OpenEvent<CSendEventSingleSystem>;

using Params = std::map<std::string, std::string>;

/// The parameters of a complete event definition.
inline Params eventParams() {
  return {{"Time", "2026/11/20 12:00:00"},
          {"Label", "disk"},
          {"HostName", "db01"},
          {"OSType", "Linux"},
          {"OSName", "Debian"},
          {"OSVersion", "12"},
          {"PkgName", "kernel"},
          {"MsgType", "E"},
          {"MsgID", "M0815"},
          {"SendType", "err"},
          {"EventID", "e1"},
          {"PartitionName", "p0"}};
}

/// A definition file's bytes: a line for each parameter.
inline std::string definitionOf(const Params& params, const std::string& lineEnd = "\n") {
  std::string bytes;
  for (const auto& [key, value] : params) bytes.append(key).append("=").append(value) += lineEnd;
  return bytes;
}

/// A command line as `main` gets it. Each argument ends where its memory ends, so that a sanitizer
/// sees every byte that is read after it.
class Arguments {
 public:
  explicit Arguments(const std::vector<std::string>& words) {
    for (const std::string& word : words) {
      m_words.emplace_back(new char[word.size() + 1]);
      std::memcpy(m_words.back().get(), word.c_str(), word.size() + 1);
      m_argv.push_back(m_words.back().get());
    }
    m_argv.push_back(nullptr);
  }

  int argc() const { return static_cast<int>(m_words.size()); }
  char** argv() { return m_argv.data(); }

 private:
  std::vector<std::unique_ptr<char[]>> m_words;
  std::vector<char*> m_argv;
};

#endif
