#include "loopback/script.h"

#include <fcntl.h>
#include <unistd.h>

#include <algorithm>
#include <array>
#include <cerrno>
#include <charconv>
#include <cstdint>
#include <cstring>
#include <iterator>
#include <optional>

#include "loopback/bytes.h"
#include "loopback/openhigh.h"

namespace {

constexpr std::string_view kBlanks = " \t";

constexpr std::size_t kLongestScript = 1024UL * 1024UL;

/// The whole text of a file. Throws std::runtime_error with the reason.
std::string readText(const char* path) {
  const std::string cannot = std::string(path) + ": cannot be read: ";
  const Descriptor file = openHigh(path, O_RDONLY);
  if (!file.isOpen()) throw std::runtime_error(cannot + std::strerror(errno));
  std::string text;
  std::array<char, 4096> piece;
  for (;;) {
    const ssize_t count = ::read(file.get(), piece.data(), piece.size());
    if (count < 0 && errno == EINTR) continue;
    if (count < 0) throw std::runtime_error(cannot + std::strerror(errno));
    if (count == 0) return text;
    text.append(piece.data(), static_cast<std::size_t>(count));
    if (text.size() > kLongestScript) throw std::runtime_error(cannot + "longer than 1 MiB");
  }
}

/// A bad line whose number the caller knows.
[[noreturn]] void reject(const std::string& message) { throw std::invalid_argument(message); }

/// As a message shows it: bytes of an operator's file go to a terminal.
std::string quoted(std::string_view word) { return "'" + visibleBytes(word) + "'"; }

/// The line up to its comment and its CR.
std::string_view withoutComment(std::string_view line) {
  if (!line.empty() && line.back() == '\r') line.remove_suffix(1);
  return line.substr(0, line.find('#'));
}

std::vector<std::string_view> splitWords(std::string_view line) {
  std::vector<std::string_view> words;
  std::size_t start = line.find_first_not_of(kBlanks);
  while (start != std::string_view::npos) {
    const std::size_t end = line.find_first_of(kBlanks, start);
    words.push_back(line.substr(start, end - start));
    start = line.find_first_not_of(kBlanks, end);
  }
  return words;
}

bool isSigned(std::string_view word) { return word.substr(0, 1) == "-"; }

/// The number of a word without sign.
std::uint32_t parseMagnitude(std::string_view whole, std::string_view digits) {
  const bool hexadecimal = digits.substr(0, 2) == "0x" || digits.substr(0, 2) == "0X";
  if (hexadecimal) digits.remove_prefix(2);
  std::uint32_t number = 0;
  const char* end = digits.data() + digits.size();
  const auto parsed = std::from_chars(digits.data(), end, number, hexadecimal ? 16 : 10);
  if (parsed.ec == std::errc::result_out_of_range) {
    reject(quoted(whole) + " does not fit in 32 bits");
  }
  if (parsed.ec != std::errc() || parsed.ptr != end) reject(quoted(whole) + " is no number");
  return number;
}

/// A word of either sign. What does not fit in a signed word stands for the same 32 bits.
int parseNumber(std::string_view word) {
  if (!isSigned(word)) return static_cast<std::int32_t>(parseMagnitude(word, word));
  constexpr std::uint32_t kLowest = std::uint32_t{1} << 31;
  const std::uint32_t magnitude = parseMagnitude(word, word.substr(1));
  if (magnitude > kLowest) reject(quoted(word) + " does not fit in 32 bits");
  return static_cast<std::int32_t>(std::uint32_t{0} - magnitude);
}

unsigned parseCode(std::string_view word) {
  if (isSigned(word)) reject(quoted(word) + " is negative, which a request code never is");
  return parseMagnitude(word, word);
}

/// Rejects a line that has not the shape `form`. `fits` tells whether it has.
void require(bool fits, const char* form) {
  if (!fits) reject(std::string("expected '") + form + "'");
}

using Words = std::vector<std::string_view>;

/// The integer of "throw N", which ends the line, from the word `at` on; nothing for other words.
std::optional<Ending> parseThrow(const Words& words, std::size_t at, const char* form) {
  if (words.size() <= at || words[at] != "throw") return std::nullopt;
  require(words.size() == at + 2, form);
  return Ending{parseNumber(words[at + 1]), true};
}

int parseOnlyNumber(const Words& words, const char* form) {
  require(words.size() == 2, form);
  return parseNumber(words[1]);
}

IdReply parseId(const Words& words) {
  IdReply reply;
  if (const auto thrown = parseThrow(words, 1, "id throw N")) {
    reply.ending = *thrown;
  } else {
    reply.id = parseOnlyNumber(words, "id N");
  }
  return reply;
}

StatusReply parseStatus(const Words& words) {
  StatusReply reply;
  if (const auto thrown = parseThrow(words, 1, "status throw N")) {
    reply.ending = *thrown;
    return reply;
  }
  require(words.size() == 2 || words.size() == 3, "status WORD [RESULT]");
  reply.word = parseNumber(words[1]);
  if (words.size() == 3) reply.ending.number = parseNumber(words[2]);
  return reply;
}

Ending parseEnding(const Words& words, const char* form, const char* throwForm) {
  const auto thrown = parseThrow(words, 1, throwForm);
  return thrown ? *thrown : Ending{parseOnlyNumber(words, form)};
}

int parseSeconds(std::string_view word) {
  constexpr int kDay = 24 * 60 * 60;
  if (word == "forever") return Script::kForever;
  const int seconds = parseNumber(word);
  if (seconds < 0 || seconds > kDay) reject(quoted(word) + " is not one of 0 to 86400 seconds");
  return seconds;
}

}  // namespace

Script::Script(std::string_view text) {
  for (int number = 1; !text.empty(); ++number) {
    const std::size_t end = text.find('\n');
    const Words words = splitWords(withoutComment(text.substr(0, end)));
    try {
      if (!words.empty()) addLine(words);
    } catch (const std::invalid_argument& error) {
      throw ScriptError(number, error.what());
    }
    text.remove_prefix(end == std::string_view::npos ? text.size() : end + 1);
  }
}

ExchangeReply Script::nextExchange(unsigned code) {
  const auto found = m_exchanges.find(code);
  return found != m_exchanges.end() ? found->second.next({}) : m_otherExchanges.next({});
}

int Script::nextDelay(std::string_view kind) {
  const auto found = m_delays.find(kind);
  return found != m_delays.end() ? found->second.next(0) : 0;
}

void Script::addLine(const Words& words) {
  const std::string_view kind = words.front();
  if (kind == "id") {
    m_ids.add(parseId(words));
  } else if (kind == "status") {
    m_statuses.add(parseStatus(words));
  } else if (kind == "start") {
    m_starts.add(parseEnding(words, "start RESULT", "start throw N"));
  } else if (kind == "stop") {
    m_stops.add(parseEnding(words, "stop RESULT", "stop throw N"));
  } else if (kind == "communicate") {
    addExchange(words);
  } else if (kind == "delay") {
    addDelay(words);
  } else if (kind == "overwrite") {
    require(words.size() == 1, "overwrite");
    m_overwrites = true;
  } else {
    reject(quoted(kind) + " is no kind of line");
  }
}

void Script::addExchange(const Words& words) {
  ExchangeReply reply;
  if (const auto thrown = parseThrow(words, 2, "communicate CODE|* throw N")) {
    reply.ending = *thrown;
  } else {
    require(words.size() == 3 || words.size() == 5, "communicate CODE|* RESULT [TYPE AGENTCODE]");
    reply.ending.number = parseNumber(words[2]);
  }
  if (words.size() == 5) {
    reply.errorType = parseNumber(words[3]);
    reply.agentCode = parseNumber(words[4]);
  }
  (words[1] == "*" ? m_otherExchanges : m_exchanges[parseCode(words[1])]).add(reply);
}

void Script::addDelay(const Words& words) {
  constexpr std::string_view kKinds[] = {"id", "status", "start", "stop", "communicate"};
  require(words.size() == 3, "delay KIND SECONDS|forever");
  if (std::find(std::begin(kKinds), std::end(kKinds), words[1]) == std::end(kKinds)) {
    reject(quoted(words[1]) + " is no kind of call");
  }
  m_delays[std::string(words[1])].add(parseSeconds(words[2]));
}

Script readScript(const char* path) {
  try {
    return Script(readText(path));
  } catch (const ScriptError& error) {
    throw std::runtime_error(std::string(path) + ":" + std::to_string(error.line()) + ": " +
                             error.what());
  }
}
