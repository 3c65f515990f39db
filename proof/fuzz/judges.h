#ifndef TANEXICS_PROOF_FUZZ_JUDGES_H
#define TANEXICS_PROOF_FUZZ_JUDGES_H

#include "fuzz/target.h"

// The judges of what several targets meet, written as plainly as can be.

// --- how the input files are read ----------------------------------------------------------------

/// The pieces in which a file is read: each ends after a line feed, after `longest` bytes, or with
/// the file; of a piece with a zero byte only what stands before it is seen.
inline Texts piecesOf(const std::string& bytes, std::size_t longest) {
  Texts pieces;
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
inline Texts entriesOf(const std::string& bytes) {
  Texts entries;
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

// --- the fields of a notification ----------------------------------------------------------------

/// The usable length of an event notification.
constexpr std::size_t kFieldLimit = 896;

/// The judge: `text` with one more field. A field takes at most the room that is left, its quotes
/// included; a byte, or a doubled quote, that does not fit ends it.
inline std::string withField(const std::string& text, int size, const std::string& value,
                             bool comma) {
  if (size < static_cast<int>(kFieldLimit) || text.size() + 4 >= kFieldLimit) return text;
  const std::size_t room = kFieldLimit - text.size();
  std::string field = "\"";
  for (const char byte : value) {
    const std::string unit(byte == '"' ? 2 : 1, byte);
    if (field.size() + unit.size() + 1 > room) break;
    field += unit;
  }
  field += '"';
  const std::size_t longest = static_cast<std::size_t>(size) - 1;
  std::string longer = value.empty() ? text : (text + field).substr(0, longest);
  if (comma && longer.size() < longest) longer += ',';
  return longer;
}

// --- how texts are split -------------------------------------------------------------------------

/// The judge of `split`: looks at one place after the other, and then makes the number of fields
/// right.
inline std::vector<std::string> slowSplit(const std::string& text, const std::string& delim,
                                          int maxFields) {
  const bool isLimited = maxFields > 1;
  const std::size_t limit = isLimited ? static_cast<std::size_t>(maxFields) : 0;
  std::vector<std::string> fields = {""};
  for (std::size_t i = 0; i < text.size();) {
    const bool isFull = isLimited && fields.size() == limit;
    if (!isFull && text.compare(i, delim.size(), delim) == 0) {
      fields.emplace_back();
      i += delim.size();
    } else {
      fields.back() += text[i++];
    }
  }
  if (isLimited) fields.resize(limit);
  return fields;
}

#endif
