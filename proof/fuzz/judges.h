#ifndef TANEXICS_PROOF_FUZZ_JUDGES_H
#define TANEXICS_PROOF_FUZZ_JUDGES_H

#include <algorithm>

#include "fuzz/target.h"

// The judges of what several files of targets meet, written as plainly as can be.

/// The judge of `split`: looks at one place after the other, and then makes the number of fields
/// right.
inline Texts slowSplit(const std::string& text, const std::string& delim, int maxFields = 0) {
  const std::size_t limit = maxFields > 1 ? static_cast<std::size_t>(maxFields) : 0;
  Texts fields = {""};
  for (std::size_t i = 0; i < text.size();) {
    if (fields.size() != limit && text.compare(i, delim.size(), delim) == 0) {
      fields.emplace_back();
      i += delim.size();
    } else {
      fields.back() += text[i++];
    }
  }
  if (limit > 0) fields.resize(limit);
  return fields;
}

/// The lines of an input file, without one line feed at the end and then one carriage return. It
/// is read in pieces: each ends after a line feed, after `longest` bytes, or with the file; of a
/// piece with a zero byte only what stands before it is seen.
inline Texts linesIn(const std::string& bytes, std::size_t longest) {
  Texts lines;
  bool begins = true;
  for (const char byte : bytes) {
    if (begins) lines.emplace_back();
    lines.back() += byte;
    begins = byte == '\n' || lines.back().size() == longest;
  }
  for (std::string& line : lines) {
    line.resize(std::min(line.find('\0'), line.size()));
    for (const char end : {'\n', '\r'}) {
      if (!line.empty() && line.back() == end) line.pop_back();
    }
  }
  return lines;
}

/// The number of the line that each of them stands in, from 1.
inline std::vector<std::size_t> numbersOfLinesIn(const std::string& bytes, std::size_t longest) {
  std::vector<std::size_t> numbers;
  std::size_t number = 1;
  std::size_t length = 0;
  for (const char byte : bytes) {
    if (length == 0) numbers.push_back(number);
    ++length;
    if (byte == '\n') ++number;
    if (byte == '\n' || length == longest) length = 0;
  }
  return numbers;
}

#endif
