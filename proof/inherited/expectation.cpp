#include <algorithm>
#include <cctype>
#include <sstream>
#include <tuple>

#include "inherited/exceptions.h"

namespace {

constexpr std::size_t kGenerated = 6;
const char* const kNameHead = "/swcon";

bool isHeadShape(const std::string& line) {
  constexpr std::size_t kShape = 20;
  static const char shape[] = "0000/00/00 00:00:00 ";
  if (line.size() < kShape) return false;
  return std::equal(line.begin(), line.begin() + kShape, shape, [](char byte, char expected) {
    return expected == '0' ? std::isdigit(static_cast<unsigned char>(byte)) != 0 : byte == expected;
  });
}

}  // namespace

bool Expected::operator==(const Expected& other) const {
  const auto all = [](const Expected& one) {
    return std::tie(one.isLoaded, one.status, one.messages, one.mostLogBytes, one.backup,
                    one.record, one.output, one.errors, one.children, one.ignoredHidden,
                    one.blockedHidden, one.left, one.zones);
  };
  return all(*this) == all(other);
}

std::string withFixedNames(const std::string& text) {
  std::string result = text;
  const std::string head = kNameHead;
  for (std::size_t at = result.find(head); at != std::string::npos; at = result.find(head, at)) {
    at += head.size();
    std::size_t end = at;
    while (end < result.size() && end - at < kGenerated &&
           std::isalnum(static_cast<unsigned char>(result[end])) != 0) {
      result[end++] = 'X';
    }
  }
  return result;
}

std::vector<PlainLine> plainLines(const std::string& log) {
  constexpr std::size_t kTime = 20;
  std::vector<PlainLine> lines;
  std::istringstream stream(log);
  for (std::string text; std::getline(stream, text);) {
    if (!isHeadShape(text)) {
      // A message with a line feed of its own goes on.
      if (lines.empty()) lines.emplace_back();
      lines.back().message += "\n" + text;
      continue;
    }
    const std::size_t number = text.find_first_not_of(' ', kTime);
    const std::size_t end = std::min(text.find(' ', number), text.size() - 1) + 1;
    lines.push_back({text.substr(0, end), text.substr(end)});
  }
  return lines;
}

std::vector<std::string> childrenOf(const Run& run) {
  std::vector<std::string> children;
  for (const Observation& observation : run.observations) {
    if (observation.role != Role::kShell && observation.role != Role::kCollector) continue;
    const char* kind = observation.role == Role::kShell ? "sh: " : "collect: ";
    children.push_back(kind + withFixedNames(observation.detail));
  }
  return children;
}

Expected expectationFrom(const Scenario& scenario, const Run& undisturbedRun) {
  Expected expected;
  const Outcome& outcome = undisturbedRun.outcome;
  expected.status = scenario.status;
  for (const PlainLine& line : plainLines(outcome.log)) {
    expected.messages.push_back(withFixedNames(line.message));
  }
  expected.backup = outcome.backup;
  expected.record = outcome.record;
  expected.output = outcome.output;
  expected.errors = outcome.errors;
  expected.children = childrenOf(undisturbedRun);
  return expected;
}

Expected expectationFor(const Situation& situation, const Expected& undisturbedRun,
                        std::vector<std::string>& claimed) {
  Expected expected = undisturbedRun;
  for (const Exception& exception : exceptions()) {
    const Expected before = expected;
    exception.apply(situation, expected);
    if (!(before == expected)) claimed.emplace_back(exception.name);
  }
  return expected;
}
