#ifndef TANEXICS_TESTS_TOOLS_HELPTEXT_H
#define TANEXICS_TESTS_TOOLS_HELPTEXT_H

#include <sstream>
#include <string>

#include "support/scratch.h"

/// Those of our `sentences` that a help text has not got, in this order. Its headings, columns and
/// ends of lines are those of the library that reads the options, and differ from release to
/// release.
inline Texts missingFrom(const std::string& help, const Texts& sentences) {
  std::istringstream stream(help);
  std::string text;
  for (std::string word; stream >> word;) text += word + ' ';
  Texts missing;
  std::size_t at = 0;
  for (const std::string& sentence : sentences) {
    const std::size_t found = text.find(sentence + ' ', at);
    if (found == std::string::npos) {
      missing.push_back(sentence);
    } else {
      at = found + sentence.size();
    }
  }
  return missing;
}

#endif
