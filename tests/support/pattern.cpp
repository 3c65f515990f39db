#include "support/pattern.h"

#include <map>
#include <regex>

namespace {

/// Each pattern is made once: the lines of a log are many, and patterns are few.
const std::regex& regexOf(const std::string& pattern) {
  static std::map<std::string, std::regex> made;
  return made.try_emplace(pattern, pattern).first->second;
}

}  // namespace

bool matchesPattern(const std::string& text, const std::string& pattern) {
  return std::regex_match(text, regexOf(pattern));
}

std::vector<std::vector<std::string>> findPattern(const std::string& text,
                                                  const std::string& pattern) {
  const std::regex& regex = regexOf(pattern);
  std::vector<std::vector<std::string>> matches;
  for (std::sregex_iterator at(text.begin(), text.end(), regex), end; at != end; ++at) {
    matches.emplace_back(at->begin(), at->end());
  }
  return matches;
}

std::string replacePattern(const std::string& text, const std::string& pattern,
                           const std::string& by) {
  return std::regex_replace(text, regexOf(pattern), by);
}
