#include "support/pattern.h"

#include <regex>

bool matchesPattern(const std::string& text, const std::string& pattern) {
  return std::regex_match(text, std::regex(pattern));
}

std::vector<std::vector<std::string>> findPattern(const std::string& text,
                                                  const std::string& pattern) {
  const std::regex regex(pattern);
  std::vector<std::vector<std::string>> matches;
  for (std::sregex_iterator at(text.begin(), text.end(), regex), end; at != end; ++at) {
    matches.emplace_back(at->begin(), at->end());
  }
  return matches;
}

std::string replacePattern(const std::string& text, const std::string& pattern,
                           const std::string& by) {
  return std::regex_replace(text, std::regex(pattern), by);
}
