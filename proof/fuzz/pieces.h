#ifndef TANEXICS_PROOF_FUZZ_PIECES_H
#define TANEXICS_PROOF_FUZZ_PIECES_H

#include <cstddef>
#include <string>
#include <vector>

#include "fuzz/input.h"

// How the input files are read, written as plainly as can be: the judge of the readers.

/// The pieces in which a file is read: each ends after a line feed, after `longest` bytes, or with
/// the file; of a piece with a zero byte only what stands before it is seen.
inline std::vector<std::string> piecesOf(const std::string& bytes, std::size_t longest) {
  std::vector<std::string> pieces;
  bool begins = true;
  for (const char byte : bytes) {
    if (begins) pieces.emplace_back();
    pieces.back() += byte;
    begins = byte == '\n' || pieces.back().size() == longest;
  }
  for (std::string& piece : pieces) piece = upToZero(piece);
  return pieces;
}

/// The text without one line feed at its end, and then without one carriage return.
inline std::string withoutLineEnd(std::string text) {
  for (const char end : {'\n', '\r'}) {
    if (!text.empty() && text.back() == end) text.pop_back();
  }
  return text;
}

/// What a list of files to send names.
inline std::vector<std::string> entriesOf(const std::string& bytes) {
  std::vector<std::string> entries;
  for (const std::string& piece : piecesOf(bytes, 1023)) {
    const std::string entry = withoutLineEnd(piece);
    if (!entry.empty()) entries.push_back(entry);
  }
  return entries;
}

/// The line that a notification quotes from an extract.
inline std::string excerptOf(const std::string& bytes) {
  for (const std::string& piece : piecesOf(bytes, 1022)) {
    if (piece.substr(0, 1) != "#") return withoutLineEnd(piece);
  }
  return "";
}

#endif
