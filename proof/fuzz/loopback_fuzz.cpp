// The stand-in library: the bytes of its record, and its script.

#include <algorithm>
#include <map>
#include <optional>

#include "fuzz/judges.h"
#include "loopback/bytes.h"
#include "loopback/script.h"

namespace {

// --- bytes in texts of the record ----------------------------------------------------------------

/// The UTF-8 form of a character, by the definition.
std::string encoded(unsigned character) {
  const auto tail = [character](int shift) {
    return static_cast<char>(0x80U | (character >> shift & 0x3fU));
  };
  if (character < 0x80) return {static_cast<char>(character)};
  if (character < 0x800) return {static_cast<char>(0xc0U | character >> 6), tail(0)};
  if (character < 0x10000) return {static_cast<char>(0xe0U | character >> 12), tail(6), tail(0)};
  return {static_cast<char>(0xf0U | character >> 18), tail(12), tail(6), tail(0)};
}

/// The judge: the character that `bytes` begins with. Takes the bits together, whatever they are,
/// and sees whether the character's own form is what was there.
std::optional<unsigned> characterAt(const std::string& bytes) {
  const auto value = [&bytes](std::size_t at) -> unsigned {
    return at < bytes.size() ? static_cast<unsigned char>(bytes[at]) : 0;
  };
  const unsigned lead = value(0);
  const std::size_t length = lead < 0x80 ? 1 : lead < 0xe0 ? 2 : lead < 0xf0 ? 3 : 4;
  unsigned character = length == 1 ? lead : lead & (0xffU >> (length + 1));
  for (std::size_t i = 1; i < length; ++i) character = character << 6 | (value(i) & 0x3fU);
  const bool isSurrogate = character >= 0xd800 && character <= 0xdfff;
  if (bytes.empty() || isSurrogate || character > 0x10ffff) return std::nullopt;
  if (bytes.compare(0, length, encoded(character)) != 0) return std::nullopt;
  return character;
}

/// The judge of both escapes: for the record, or for a terminal.
std::string escaped(std::string bytes, bool forTerminal) {
  std::string text;
  while (!bytes.empty()) {
    const std::optional<unsigned> found = characterAt(bytes);
    const bool isControl = found && (*found < 0x20 || (*found >= 0x7f && *found < 0xa0));
    const bool stands = found && !(forTerminal && isControl);
    const std::string taken = stands ? encoded(*found) : bytes.substr(0, 1);
    if (taken == "\\" && !forTerminal) text += '\\';
    text += stands ? taken : hexEscape(taken[0]);
    bytes.erase(0, taken.size());
  }
  return text;
}

/// The judge of `unescapeBytes`.
std::optional<std::string> unescaped(const std::string& text) {
  std::string bytes;
  for (std::size_t i = 0; i < text.size(); ++i) {
    if (text[i] != '\\') {
      bytes += text[i];
    } else if (text.compare(i, 2, "\\\\") == 0) {
      bytes += text[++i];
    } else {
      const std::string digits = text.substr(std::min(i + 2, text.size()), 2);
      const bool isHex = digits.find_first_not_of("0123456789abcdef") == std::string::npos;
      if (text.compare(i, 2, "\\x") != 0 || digits.size() < 2 || !isHex) return std::nullopt;
      bytes += static_cast<char>(std::stoi(digits, nullptr, 16));
      i += 3;
    }
  }
  return bytes;
}

// The input is the bytes.
const Target kLoopbackBytes("loopbackbytes", [](Input input) {
  constexpr std::size_t kBytesAtMost = 1000;  // the judges are slow
  const std::string bytes = input.rest().substr(0, kBytesAtMost);
  const std::optional<unsigned> character = characterAt(bytes);
  demandEqual(utf8Length(bytes), character ? encoded(*character).size() : std::size_t{0},
              "the length of the first character");

  const std::string record = escapeBytes(bytes);
  demandEqual(record, escaped(bytes, false), "the escaped bytes");
  for (std::string left = record; !left.empty();) {
    const std::size_t length = utf8Length(left);
    demand(length > 0, "escaped bytes are valid UTF-8");
    left.erase(0, length);
  }
  demand(unescapeBytes(record) == bytes, "escaped bytes come back");
  demand(unescapeBytes(bytes) == unescaped(bytes), "only what was escaped is taken back");
  demandEqual(visibleBytes(bytes), escaped(bytes, true), "the bytes on a terminal");
});

// --- the script ----------------------------------------------------------------------------------

using Numbers = std::vector<int>;

/// What stands before a number that is thrown, in an answer of these two.
constexpr int kThrown = -86400;

/// A reply as the judge has it.
Numbers numbersOf(const Ending& ending, Numbers numbers) {
  return ending.isThrown ? Numbers{kThrown, ending.number} : numbers;
}

/// The words of a line, which has lost its line feed.
Texts wordsOf(std::string line) {
  if (!line.empty() && line.back() == '\r') line.pop_back();
  std::replace(line.begin(), line.end(), '\t', ' ');
  Texts words = slowSplit(line.substr(0, line.find('#')), " ");
  words.erase(std::remove(words.begin(), words.end(), ""), words.end());
  return words;
}

/// The number of a word: digits, decimal or after 0x hexadecimal, perhaps after a minus.
std::optional<int> numberOf(std::string word) {
  const bool isNegative = word.substr(0, 1) == "-";
  if (isNegative) word.erase(0, 1);
  const bool isHexadecimal = word.substr(0, 2) == "0x" || word.substr(0, 2) == "0X";
  if (isHexadecimal) word.erase(0, 2);
  const char* const digits = isHexadecimal ? "0123456789abcdefABCDEF" : "0123456789";
  if (word.empty() || word.find_first_not_of(digits) != std::string::npos) return std::nullopt;
  // The largest value of all where the word is too large.
  const unsigned long long value = std::strtoull(word.c_str(), nullptr, isHexadecimal ? 16 : 10);
  if (value > (isNegative ? 0x80000000U : 0xffffffffU)) return std::nullopt;
  return static_cast<std::int32_t>(static_cast<std::uint32_t>(isNegative ? -value : value));
}

/// The judge: the answers of a script by what they answer ("id", "status", "start", "stop",
/// "communicate *", "communicate CODE" with the code in decimal), and its first bad line. An
/// integer that is thrown is an answer of that number alone. Delays stand by "delay KIND", and for
/// what is written over by "overwrite".
struct Answers {
  std::map<std::string, std::vector<Numbers>> byQuestion;
  int badLine = 0;

  explicit Answers(const std::string& text) {
    int number = 1;
    for (const std::string& line : slowSplit(text, "\n")) {
      if (badLine == 0 && !add(wordsOf(line))) badLine = number;
      ++number;
    }
  }

  /// The answer to the question that is asked for the `nth` time, from 0.
  Numbers answer(const std::string& question, std::size_t nth, const Numbers& fallback) const {
    const auto found = byQuestion.find(question);
    if (found == byQuestion.end()) return fallback;
    return found->second[std::min(nth, found->second.size() - 1)];
  }

 private:
  /// False for a bad line.
  bool add(Texts words) {
    // How many numbers an answer has, and how many of them a line may give.
    static const std::map<std::string, std::pair<std::size_t, std::vector<std::size_t>>> kShapes = {
        {"id", {1, {1}}},        {"start", {1, {1}}},          {"stop", {1, {1}}},
        {"status", {2, {1, 2}}}, {"communicate", {3, {1, 3}}}, {"overwrite", {0, {0}}},
        {"delay", {1, {1}}}};
    if (words.empty()) return true;
    std::string question = words[0];
    const auto shape = kShapes.find(question);
    if (shape == kShapes.end()) return false;
    words.erase(words.begin());
    if (question == "communicate" && !words.empty()) {
      const std::optional<int> code = numberOf(words[0]);
      if (words[0] != "*" && (!code || words[0][0] == '-')) return false;
      question += words[0] == "*" ? " *" : " " + std::to_string(static_cast<std::uint32_t>(*code));
      words.erase(words.begin());
    }
    if (question == "delay" && !words.empty()) {
      if (kShapes.count(words[0]) == 0 || words[0] == "overwrite" || words[0] == "delay")
        return false;
      question += " " + words[0];
      words.erase(words.begin());
      if (words == Texts{"forever"}) {
        byQuestion[question].push_back({-1});
        return true;
      }
    }
    const bool isDelay = question.compare(0, 5, "delay") == 0;
    if (!words.empty() && words[0] == "throw" && !isDelay && question != "overwrite") {
      const std::optional<int> thrown = words.size() == 2 ? numberOf(words[1]) : std::nullopt;
      if (thrown) byQuestion[question].push_back({kThrown, *thrown});
      return thrown.has_value();
    }
    const auto& [size, counts] = shape->second;
    if (std::count(counts.begin(), counts.end(), words.size()) == 0) return false;
    Numbers numbers;
    for (const std::string& word : words) {
      const std::optional<int> number = numberOf(word);
      if (!number) return false;
      if (isDelay && (*number < 0 || *number > 86400)) return false;
      numbers.push_back(*number);
    }
    numbers.resize(size);
    byQuestion[question].push_back(numbers);
    return true;
  }
};

/// Asks every question several times.
void ask(Script& script, const Answers& answers) {
  // The codes that the script knows, and one that it does not know.
  std::map<unsigned, std::string> codes;
  for (const auto& [question, numbers] : answers.byQuestion) {
    if (question.compare(0, 12, "communicate ") != 0 || question == "communicate *") continue;
    codes[static_cast<unsigned>(std::stoul(question.substr(12)))] = question;
  }
  unsigned unknown = 0x40017;
  while (codes.count(unknown) != 0) ++unknown;
  codes[unknown] = "communicate *";

  demandEqual(script.overwrites(), answers.byQuestion.count("overwrite") > 0, "overwriting");
  for (std::size_t nth = 0; nth < 4; ++nth) {
    for (const char* kind : {"id", "status", "start", "stop", "communicate"}) {
      demandEqual(Numbers{script.nextDelay(kind)},
                  answers.answer(std::string("delay ") + kind, nth, {0}), "the delay");
    }
    const IdReply id = script.nextId();
    demandEqual(numbersOf(id.ending, {id.id}), answers.answer("id", nth, {4711}), "the identifier");
    const Ending start = script.nextStart();
    demandEqual(numbersOf(start, {start.number}), answers.answer("start", nth, {0}), "the start");
    const Ending stop = script.nextStop();
    demandEqual(numbersOf(stop, {stop.number}), answers.answer("stop", nth, {0}), "the stop");
    const StatusReply status = script.nextStatus();
    demandEqual(numbersOf(status.ending, {status.word, status.ending.number}),
                answers.answer("status", nth, {0x20, 0}), "the status");
    for (const auto& [code, question] : codes) {
      const ExchangeReply reply = script.nextExchange(code);
      demandEqual(numbersOf(reply.ending, {reply.ending.number, reply.errorType, reply.agentCode}),
                  answers.answer(question, nth, {0, 0, 0}), "the answer to an exchange");
    }
  }
}

// The input is the script.
const Target kLoopbackScript("loopbackscript", [](Input input) {
  const std::string text = input.rest();
  const Answers answers(text);
  try {
    Script script(text);
    demandEqual(answers.badLine, 0, "a script with a bad line is refused");
    ask(script, answers);
  } catch (const ScriptError& error) {
    demandEqual(error.line(), answers.badLine, "the first bad line is named");
    const std::string message = error.what();
    const bool isPrintable = std::all_of(message.begin(), message.end(), [](char byte) {
      const auto value = static_cast<unsigned char>(byte);
      return value >= ' ' && value != 0x7f;
    });
    demand(!message.empty() && isPrintable, "the message can go to a terminal");
  }
});

}  // namespace
