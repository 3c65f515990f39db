#ifndef TANEXICS_PROOF_FUZZ_DEMAND_H
#define TANEXICS_PROOF_FUZZ_DEMAND_H

#include <cctype>
#include <cstdio>
#include <cstdlib>
#include <map>
#include <string>
#include <type_traits>

// What a fuzz target demands of the code. A demand that is not met ends the process by abort(3),
// which the fuzzer and the test runner both take for a finding, after one line on standard error.

/// Demands that `holds`; `promise` says in a few words what is broken otherwise.
inline void demand(bool holds, const char* promise) {
  if (holds) return;
  std::fprintf(stderr, "broken promise: %s\n", promise);
  std::abort();
}

inline std::string shown(const std::string& text) {
  std::string visible = "\"";
  for (const char byte : text) {
    const auto value = static_cast<unsigned char>(byte);
    char escaped[5] = {byte};
    if (value < ' ' || value > '~' || byte == '"' || byte == '\\') {
      std::snprintf(escaped, sizeof escaped, "\\x%02x", static_cast<unsigned>(value));
    }
    visible += escaped;
  }
  return visible + '"';
}

template <class Number, class = std::enable_if_t<std::is_arithmetic_v<Number>>>
std::string shown(Number number) {
  return std::to_string(number);
}

template <class Key, class Value>
std::string shown(const std::pair<Key, Value>& pair) {
  return shown(pair.first) + ": " + shown(pair.second);
}

template <class Container, class = typename Container::value_type,
          class = std::enable_if_t<!std::is_same_v<Container, std::string>>>
std::string shown(const Container& items) {
  std::string visible = "[";
  for (const auto& item : items) visible += shown(item) + ' ';
  return visible + ']';
}

/// Demands that `actual` is `expected`: numbers, texts, or containers of these; both are shown
/// otherwise.
template <class Value>
void demandEqual(const Value& actual, const std::common_type_t<Value>& expected,
                 const char* promise) {
  if (actual == expected) return;
  std::fprintf(stderr, "actual:   %s\nexpected: %s\n", shown(actual).c_str(),
               shown(expected).c_str());
  demand(false, promise);
}

#endif
