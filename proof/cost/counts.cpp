#include "counts.h"

#include <fstream>
#include <iterator>
#include <regex>
#include <stdexcept>

namespace {

constexpr char kLoadedMark[] = "getppid";

Words prefixed(Words prefix, const Words& words) {
  prefix.insert(prefix.end(), words.begin(), words.end());
  return prefix;
}

/// The name of the call in a line of a trace, "PID NAME(...": empty for one that tells how an
/// interrupted call went on.
std::string callIn(const std::string& line) {
  const std::size_t start = line.find_first_not_of("0123456789 ");
  const std::size_t end = line.find_first_not_of("abcdefghijklmnopqrstuvwxyz0123456789_", start);
  if (start == std::string::npos || end == std::string::npos || line[end] != '(') return "";
  return line.substr(start, end - start);
}

}  // namespace

Calls countCalls(const Words& words, const std::string& trace) {
  runOnce(prefixed({"strace", "-f", "-qq", "-e", "signal=none", "-o", trace}, words));
  std::ifstream file(trace);
  Calls calls;
  bool isLoaded = false;
  for (std::string line; std::getline(file, line);) {
    const std::string name = callIn(line);
    if (isLoaded && !name.empty()) ++calls[name];
    isLoaded = isLoaded || name == kLoadedMark;
  }
  if (!isLoaded) throw std::runtime_error(words[0] + " was not seen to load the silent library");
  return calls;
}

int sumOf(const Calls& calls) {
  int sum = 0;
  for (const auto& [name, count] : calls) sum += count;
  return sum;
}

double countInstructions(const Words& words, const std::string& report) {
  runOnce(prefixed({"valgrind", "--tool=callgrind", "--callgrind-out-file=/dev/null"}, words),
          report);
  std::ifstream file(report);
  const std::string text{std::istreambuf_iterator<char>(file), {}};
  const std::regex expression(R"(Collected : (\d+))");
  double number = -1;
  for (std::sregex_iterator match(text.begin(), text.end(), expression), end; match != end;
       ++match) {
    number = std::stod((*match)[1]);
  }
  if (number < 0) throw std::runtime_error("no count in " + report);
  return number;
}
