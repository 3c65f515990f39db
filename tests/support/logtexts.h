#ifndef TANEXICS_TESTS_SUPPORT_LOGTEXTS_H
#define TANEXICS_TESTS_SUPPORT_LOGTEXTS_H

#include <initializer_list>
#include <string>
#include <vector>

#include "support/pattern.h"

// Texts of the action log that a test compares as a whole, put together from what repeats in them.

/// The lines at trace level of a command that exited with `code`.
inline std::vector<std::string> tracedExit(int code) {
  const std::string value = std::to_string(code);
  return {"[T](common:535):   WIFEXITED:1 WEXITSTATUS:" + value,
          "[T](common:536): WIFSIGNALED:0    WTERMSIG:0",
          "[T](common:537):  WIFSTOPPED:0    WSTOPSIG:" + value,
          "[T](common:538):WIFCONTINUED:0   WCOREDUMP:0"};
}

/// The texts with the process ids of children, which no test can foresee, as "pid=<pid>".
inline std::vector<std::string> withoutPids(const std::vector<std::string>& texts) {
  std::vector<std::string> replaced;
  for (const std::string& text : texts) {
    replaced.push_back(replacePattern(text, "pid=[0-9]+", "pid=<pid>"));
  }
  return replaced;
}

/// Several lists of texts as one.
inline std::vector<std::string> inOrder(std::initializer_list<std::vector<std::string>> lists) {
  std::vector<std::string> all;
  for (const std::vector<std::string>& list : lists)
    all.insert(all.end(), list.begin(), list.end());
  return all;
}

#endif
