// What tanexics-log prints of what a log has: texts, JSON and metrics.

#include <algorithm>
#include <nlohmann/json.hpp>

#include "fuzz/judges.h"
#include "tools/log/json.h"
#include "tools/log/metrics.h"
#include "tools/outcome/readable.h"

namespace {

using outcome::Encoding;
using outcome::Run;
using outcome::Verdict;

// --- readable texts
// -------------------------------------------------------------------------------

/// The judge: the length of the character at the front, by the table of the Unicode standard; 0
/// where there is none, or one that controls something.
std::size_t shownLength(const std::string& text, std::size_t at) {
  const auto byte = [&](std::size_t ahead) -> unsigned {
    return at + ahead < text.size() ? static_cast<unsigned char>(text[at + ahead]) : 0;
  };
  const auto isIn = [](unsigned value, unsigned least, unsigned most) {
    return value >= least && value <= most;
  };
  const auto isTail = [&](std::size_t ahead) { return isIn(byte(ahead), 0x80, 0xbf); };
  const unsigned first = byte(0);
  if (isIn(first, 0x20, 0x7e)) return 1;
  if (first == 0xc2) return isIn(byte(1), 0xa0, 0xbf) ? 2 : 0;
  if (isIn(first, 0xc3, 0xdf)) return isTail(1) ? 2 : 0;
  if (isIn(first, 0xe0, 0xef)) {
    const unsigned least = first == 0xe0 ? 0xa0 : 0x80;
    const unsigned most = first == 0xed ? 0x9f : 0xbf;
    return isIn(byte(1), least, most) && isTail(2) ? 3 : 0;
  }
  if (isIn(first, 0xf0, 0xf4)) {
    const unsigned least = first == 0xf0 ? 0x90 : 0x80;
    const unsigned most = first == 0xf4 ? 0x8f : 0xbf;
    return isIn(byte(1), least, most) && isTail(2) && isTail(3) ? 4 : 0;
  }
  return 0;
}

/// Whether a text can be shown: valid UTF-8 without control characters, a backslash only before
/// another one or before x and two digits.
bool isShown(const std::string& text) {
  for (std::size_t at = 0; at < text.size();) {
    const std::size_t length = shownLength(text, at);
    if (length == 0) return false;
    if (text[at] == '\\') {
      if (text.compare(at, 2, "\\\\") == 0) {
        ++at;
      } else if (text.compare(at, 2, "\\x") != 0 || at + 4 > text.size() ||
                 text.find_first_not_of("0123456789abcdef", at + 2) < at + 4) {
        return false;
      }
    }
    at += length;
  }
  return true;
}

constexpr Encoding kEncodings[] = {Encoding::kEither, Encoding::kUtf8, Encoding::kEucJp};

// The input is the text.
const Target kReadable("readable", [](Input input) {
  const std::string bytes = input.rest();
  const std::vector<char> exact = exactCopy(bytes);
  for (const Encoding encoding : kEncodings) {
    const std::string text = readable({exact.data(), exact.size()}, encoding);
    demand(isShown(text), "a readable text can be shown");
  }
  const bool isPlain = bytes.find('\\') == std::string::npos && isShown(bytes);
  const std::string utf8 = readable(bytes, Encoding::kUtf8);
  demandEqual(utf8 == bytes, isPlain, "what can be shown stands as it is, and nothing else");
  // Nothing is lost: the bytes come back.
  std::string back;
  for (std::size_t at = 0; at < utf8.size(); ++at) {
    if (utf8[at] != '\\') {
      back += utf8[at];
    } else if (utf8[at + 1] == '\\') {
      back += utf8[++at];
    } else {
      back += static_cast<char>(std::stoi(utf8.substr(at + 2, 2), nullptr, 16));
      at += 3;
    }
  }
  demandEqual(back, bytes, "the bytes can be had back");
});

// --- runs
// -----------------------------------------------------------------------------------------

std::optional<std::string> textOrNothing(Input& input) {
  if (input.choice(2) == 0) return std::nullopt;
  return input.word();
}

/// Times have this shape, whatever they say, or are not known.
constexpr const char* kTimes[] = {"2026/11/21 23:30:33", "", "0000/00/00 00:00:00",
                                  "9999/99/99 99:99:99"};

/// Any run that a log can have.
Run runOf(Input& input) {
  Run run;
  run.pid = input.number();
  run.start = kTimes[input.choice(4)];
  run.end = kTimes[input.choice(4)];
  run.verdict = static_cast<Verdict>(input.choice(5));
  run.mode = static_cast<outcome::Mode>(input.choice(5));
  run.hasStart = input.choice(2) != 0;
  run.torn = static_cast<int>(input.byte());
  if (input.choice(2) != 0) run.elapsed = input.number() / 1000.0;
  if (input.choice(2) != 0) run.exitCode = input.number();
  if (input.choice(2) != 0) run.expected = input.number();
  run.identity = textOrNothing(input);
  run.host = textOrNothing(input);
  run.reason = input.word();
  for (unsigned left = input.choice(4); left > 0; --left) run.missing.push_back(input.word());
  for (unsigned left = input.choice(4); left > 0; --left) {
    outcome::Exchange one;
    one.isData = input.choice(2) != 0;
    if (input.choice(2) != 0) one.request = static_cast<unsigned>(input.number());
    if (input.choice(2) != 0) one.part = input.number();
    if (input.choice(2) != 0) one.code = input.number();
    one.files = input.number();
    one.path = textOrNothing(input);
    one.error = textOrNothing(input);
    run.exchanges.push_back(one);
  }
  return run;
}

void demandText(const nlohmann::json& value, const char* promise) {
  if (!value.is_null()) demand(value.is_string() && isShown(value), promise);
}

// The input: a run, and the log's path.
const Target kRunJson("runjson", [](Input input) {
  const Run run = runOf(input);
  const std::string log = input.rest();
  for (const Encoding encoding : kEncodings) {
    const std::string line = jsonOf(run, log, encoding);
    demand(line.find('\n') == std::string::npos, "an object is one line");
    const nlohmann::json object = nlohmann::json::parse(line, nullptr, false);
    demand(object.is_object(), "what is printed is an object");
    Texts keys;
    for (const auto& [key, value] : object.items()) keys.push_back(key);
    demandEqual(keys,
                Texts{"elapsed", "end", "exchanges", "exit", "expected", "host", "identity", "log",
                      "missing", "mode", "pid", "reason", "start", "torn", "verdict"},
                "every field is there");
    for (const char* key : {"host", "identity", "log", "mode", "reason", "verdict"}) {
      demandText(object[key], "a text can be shown");
    }
    demandEqual(object["pid"].get<int>(), run.pid, "the process id");
    demandEqual(object["torn"].get<int>(), run.torn, "the torn lines");
    demandEqual(object["exit"].is_null(), !run.exitCode, "the exit status, if there is one");
    demandEqual(object["expected"].is_null(), !run.expected,
                "the number of exchanges, if it is known");
    demandEqual(object["identity"].is_null(), !run.identity,
                "an empty text is none that is missing");
    demandEqual(object["verdict"].get<std::string>(), wordOf(run.verdict), "the verdict");
    demandEqual(object["missing"].size(), run.missing.size(), "every missing file");
    demandEqual(object["exchanges"].size(), run.exchanges.size(), "every exchange");
    for (const auto& one : object["exchanges"]) {
      demandEqual(one.size(), 7u, "every field of an exchange is there");
      for (const char* key : {"kind", "request", "path", "error"})
        demandText(one[key], "a text can be shown");
      for (const char* key : {"part", "files", "code"}) {
        demand(one[key].is_null() || one[key].is_number_integer(), "a number is one");
      }
    }
  }
});

// --- metrics
// --------------------------------------------------------------------------------------

/// Takes a name off the front: a letter, and then letters, digits and underscores.
std::string takeName(std::string& rest) {
  std::size_t length = 0;
  while (length < rest.size() &&
         (rest[length] == '_' || (rest[length] >= 'a' && rest[length] <= 'z') ||
          (length > 0 && rest[length] >= '0' && rest[length] <= '9'))) {
    ++length;
  }
  const std::string name = rest.substr(0, length);
  rest.erase(0, length);
  return name;
}

bool take(std::string& rest, const std::string& part) {
  if (rest.compare(0, part.size(), part) != 0) return false;
  rest.erase(0, part.size());
  return true;
}

/// Takes {NAME="VALUE",...} off the front, in which a quote, a backslash and a line feed are
/// escaped.
bool takeLabels(std::string& rest) {
  if (!take(rest, "{")) return false;
  do {
    if (takeName(rest).empty() || !take(rest, "=\"")) return false;
    while (!rest.empty() && rest[0] != '"') {
      const std::size_t length = rest[0] == '\\' ? 2 : 1;
      if (length == 2 &&
          (rest.size() < 2 || std::string("\\\"n").find(rest[1]) == std::string::npos))
        return false;
      rest.erase(0, length);
    }
    if (!take(rest, "\"")) return false;
  } while (take(rest, ","));
  return take(rest, "}");
}

// The input: runs, each with the path of its log.
const Target kMetrics("metrics", [](Input input) {
  Metrics metrics(kEncodings[input.choice(4) % 3]);
  std::size_t count = 0;
  for (; !input.isEmpty() && count < 8; ++count) {
    const std::string log = input.word();
    metrics.add(log, runOf(input));
  }
  const std::string text = metrics.text();
  Texts lines = slowSplit(text, "\n");
  demandEqual(lines.back(), std::string(), "the last line ends too");
  lines.pop_back();
  demandEqual(lines.back(), std::string("# EOF"), "the end is told");
  lines.pop_back();
  std::string family;
  Texts series;
  std::size_t runs = 0;
  for (std::size_t at = 0; at < lines.size(); ++at) {
    std::string rest = lines[at];
    if (take(rest, "# HELP ")) {
      family = takeName(rest);
      demand(!family.empty() && rest.size() > 1 && rest[0] == ' ',
             "a family has a name and a text");
      demandEqual(at + 1 < lines.size() ? lines[at + 1] : "", "# TYPE " + family + " gauge",
                  "and a type");
      ++at;
      continue;
    }
    demand(!family.empty() && takeName(rest) == family, "a sample is of the family above it");
    demand(takeLabels(rest) && take(rest, " "), "its labels are well formed");
    demand(!rest.empty() && rest.find_first_not_of("0123456789") == std::string::npos,
           "it is a number");
    series.push_back(lines[at].substr(0, lines[at].size() - rest.size()));
    if (family == "tanexics_log_runs") runs += std::stoul(rest);
  }
  demandEqual(runs, count, "each run is counted");
  std::sort(series.begin(), series.end());
  demand(std::adjacent_find(series.begin(), series.end()) == series.end(), "no series comes twice");
});

}  // namespace
