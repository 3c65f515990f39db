#ifndef TANEXICS_LOOPBACK_SCRIPT_H
#define TANEXICS_LOOPBACK_SCRIPT_H

#include <cstddef>
#include <map>
#include <stdexcept>
#include <string>
#include <string_view>
#include <vector>

#include "rmglib/kelcom.h"

/// A line that is no script line. `line` is its 1-based number.
class ScriptError : public std::runtime_error {
 public:
  ScriptError(int line, const std::string& message) : std::runtime_error(message), m_line(line) {}
  int line() const { return m_line; }

 private:
  int m_line;
};

/// The answer to a status query.
struct StatusReply {
  int word = kKelOperating;
  int result = 0;
};

/// The answer to an exchange.
struct ExchangeReply {
  int result = 0;
  int errorType = kKelNoAgentError;
  int agentCode = 0;
};

/// Answers to successive calls of one kind: each is given once, in order, and the last repeats.
template <class Reply>
class Successive {
 public:
  void add(const Reply& reply) { m_replies.push_back(reply); }

  /// The next answer; `fallback` when there is none at all.
  Reply next(const Reply& fallback) {
    if (m_replies.empty()) return fallback;
    const Reply reply = m_replies[m_next];
    if (m_next + 1 < m_replies.size()) ++m_next;
    return reply;
  }

 private:
  std::vector<Reply> m_replies;
  std::size_t m_next = 0;
};

/// What the stand-in answers. One line of the text is one answer:
///
///   id N
///   status WORD [RESULT]
///   start RESULT
///   stop RESULT
///   communicate CODE|* RESULT [TYPE AGENTCODE]
///
/// Words stand apart by blanks or tabs. `#` starts a comment anywhere in a line; blank lines count
/// for nothing; a line ends with LF or CR LF, the last one also without. Numbers are decimal, or
/// hexadecimal after 0x, and have the range of a 32-bit word, signed or unsigned: -1 and
/// 0xffffffff are the same word. Only CODE is never negative.
class Script {
 public:
  /// No line at all: identifier 4711, status 0x20, every result 0.
  Script() = default;

  /// Throws ScriptError for the first bad line.
  explicit Script(std::string_view text);

  int nextId() { return m_ids.next(kDefaultId); }
  StatusReply nextStatus() { return m_statuses.next({}); }
  int nextStart() { return m_starts.next(0); }
  int nextStop() { return m_stops.next(0); }

  /// The lines for `code` where there are any, otherwise those for every code.
  ExchangeReply nextExchange(unsigned code);

 private:
  static constexpr int kDefaultId = 4711;
  using Words = std::vector<std::string_view>;

  void addLine(const Words& words);
  void addExchange(const Words& words);

  Successive<int> m_ids;
  Successive<StatusReply> m_statuses;
  Successive<int> m_starts;
  Successive<int> m_stops;
  std::map<unsigned, Successive<ExchangeReply>> m_exchanges;
  Successive<ExchangeReply> m_otherExchanges;
};

/// The script in the file `path`, which is not null. Throws std::runtime_error with the path, the
/// number of a bad line, and the reason.
Script readScript(const char* path);

#endif
