#ifndef TANEXICS_LOOPBACK_SCRIPT_H
#define TANEXICS_LOOPBACK_SCRIPT_H

#include <cstddef>
#include <functional>
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

/// How a call ends: it returns this number, or leaves by throwing it.
struct Ending {
  int number = 0;
  bool isThrown = false;
};

/// The answer to a query of the identifier.
struct IdReply {
  int id = 4711;
  Ending ending;
};

/// The answer to a status query.
struct StatusReply {
  int word = kKelOperating;
  Ending ending;
};

/// The answer to an exchange.
struct ExchangeReply {
  Ending ending;
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
/// and instead of the numbers after its kind, or after CODE, `throw N`: the call leaves by throwing
/// that integer. Two kinds of line are no answers:
///
///   delay KIND SECONDS|forever    before successive calls of that kind are answered
///   overwrite                     every exchange writes over what it was handed
///
/// Words stand apart by blanks or tabs. `#` starts a comment anywhere in a line; blank lines count
/// for nothing; a line ends with LF or CR LF, the last one also without. Numbers are decimal, or
/// hexadecimal after 0x, and have the range of a 32-bit word, signed or unsigned: -1 and
/// 0xffffffff are the same word. Only CODE is never negative, and SECONDS are one of 0 to 86400.
class Script {
 public:
  /// No line at all: identifier 4711, status 0x20, every result 0.
  Script() = default;

  /// Throws ScriptError for the first bad line.
  explicit Script(std::string_view text);

  IdReply nextId() { return m_ids.next({}); }
  StatusReply nextStatus() { return m_statuses.next({}); }
  Ending nextStart() { return m_starts.next({}); }
  Ending nextStop() { return m_stops.next({}); }

  /// The lines for `code` where there are any, otherwise those for every code.
  ExchangeReply nextExchange(unsigned code);

  /// What a delay without end has in place of its seconds.
  static constexpr int kForever = -1;

  /// How many seconds the next call takes; `kForever` when it never ends.
  ///
  /// `kind`  the word that its lines begin with, such as "status".
  int nextDelay(std::string_view kind);

  /// Whether exchanges write over what they are handed.
  bool overwrites() const { return m_overwrites; }

 private:
  using Words = std::vector<std::string_view>;

  void addLine(const Words& words);
  void addExchange(const Words& words);
  void addDelay(const Words& words);

  Successive<IdReply> m_ids;
  Successive<StatusReply> m_statuses;
  Successive<Ending> m_starts;
  Successive<Ending> m_stops;
  std::map<unsigned, Successive<ExchangeReply>> m_exchanges;
  Successive<ExchangeReply> m_otherExchanges;
  std::map<std::string, Successive<int>, std::less<>> m_delays;
  bool m_overwrites = false;
};

/// The script in the file `path`, which is not null. Throws std::runtime_error with the path, the
/// number of a bad line, and the reason.
Script readScript(const char* path);

#endif
