// The loopback's script: the input is the script.

#include <algorithm>
#include <cctype>
#include <cstdint>
#include <map>
#include <optional>

#include "fuzz/judges.h"
#include "fuzz/target.h"
#include "loopback/script.h"

namespace {

using Numbers = std::vector<int>;

/// The words of a line, which has lost its line feed.
Texts wordsOf(std::string line) {
  if (!line.empty() && line.back() == '\r') line.pop_back();
  std::replace(line.begin(), line.end(), '\t', ' ');
  Texts words = slowSplit(line.substr(0, line.find('#')), " ", 0);
  words.erase(std::remove(words.begin(), words.end(), ""), words.end());
  return words;
}

/// The number of a word: digits, decimal or after 0x hexadecimal, perhaps after a minus.
std::optional<int> numberOf(std::string word) {
  const bool isNegative = word.substr(0, 1) == "-";
  if (isNegative) word.erase(0, 1);
  const bool isHexadecimal = word.substr(0, 2) == "0x" || word.substr(0, 2) == "0X";
  if (isHexadecimal) word.erase(0, 2);
  if (word.empty()) return std::nullopt;

  const std::int64_t largest = isNegative ? std::int64_t{1} << 31 : (std::int64_t{1} << 32) - 1;
  std::int64_t value = 0;
  for (const char byte : word) {
    const auto lower = static_cast<char>(std::tolower(static_cast<unsigned char>(byte)));
    const std::size_t digit = std::string("0123456789abcdef").find(lower);
    if (digit >= (isHexadecimal ? 16U : 10U)) return std::nullopt;
    value = value * (isHexadecimal ? 16 : 10) + static_cast<int>(digit);
    if (value > largest) return std::nullopt;
  }
  return static_cast<std::int32_t>(static_cast<std::uint32_t>(isNegative ? -value : value));
}

/// The judge: the answers of a script by what they answer ("id", "status", "start", "stop",
/// "communicate *", "communicate CODE" with the code in decimal), and its first bad line.
struct Answers {
  std::map<std::string, std::vector<Numbers>> byQuestion;
  int badLine = 0;

  explicit Answers(const std::string& text) {
    int number = 1;
    for (const std::string& line : slowSplit(text, "\n", 0)) {
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
  bool add(const Texts& words) {
    if (words.empty()) return true;
    std::string question = words[0];
    std::size_t first = 1;
    std::size_t count = words.size() - 1;
    if (question == "communicate") {
      if (count != 2 && count != 4) return false;
      const std::optional<int> code = numberOf(words[1]);
      if (words[1] != "*" && (!code || words[1][0] == '-')) return false;
      question += words[1] == "*" ? " *" : " " + std::to_string(static_cast<std::uint32_t>(*code));
      first = 2;
      count -= 1;
    } else if (question == "status") {
      if (count != 1 && count != 2) return false;
    } else if (question != "id" && question != "start" && question != "stop") {
      return false;
    } else if (count != 1) {
      return false;
    }
    Numbers numbers;
    for (std::size_t i = first; i < words.size(); ++i) {
      const std::optional<int> number = numberOf(words[i]);
      if (!number) return false;
      numbers.push_back(*number);
    }
    numbers.resize(question.compare(0, 11, "communicate") == 0 ? 3 : question == "status" ? 2 : 1);
    byQuestion[question].push_back(numbers);
    return true;
  }
};

void askExchange(Script& script, const Answers& answers, const std::string& question,
                 unsigned code) {
  for (std::size_t nth = 0; nth < 4; ++nth) {
    const ExchangeReply reply = script.nextExchange(code);
    demandEqual(Numbers{reply.result, reply.errorType, reply.agentCode},
                answers.answer(question, nth, {0, 0, 0}), "the answer to an exchange");
  }
}

/// Asks every question several times.
void ask(Script& script, const Answers& answers) {
  for (std::size_t nth = 0; nth < 4; ++nth) {
    demandEqual(Numbers{script.nextId()}, answers.answer("id", nth, {4711}), "the identifier");
    demandEqual(Numbers{script.nextStart()}, answers.answer("start", nth, {0}), "the start");
    demandEqual(Numbers{script.nextStop()}, answers.answer("stop", nth, {0}), "the stop");
    const StatusReply status = script.nextStatus();
    demandEqual(Numbers{status.word, status.result}, answers.answer("status", nth, {0x20, 0}),
                "the status");
  }
  unsigned unknown = 0x40017;
  for (const auto& [question, numbers] : answers.byQuestion) {
    if (question.compare(0, 12, "communicate ") != 0 || question == "communicate *") continue;
    const auto code = static_cast<unsigned>(std::stoul(question.substr(12)));
    askExchange(script, answers, question, code);
    if (code == unknown) ++unknown;  // the questions stand in no order of their codes
  }
  const bool isKnown = answers.byQuestion.count("communicate " + std::to_string(unknown)) != 0;
  if (!isKnown) askExchange(script, answers, "communicate *", unknown);
}

}  // namespace

void tryInput(Input input) {
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
}
