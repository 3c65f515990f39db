#ifndef TANEXICS_PROOF_LOAD_LOGPIECES_H
#define TANEXICS_PROOF_LOAD_LOGPIECES_H

#include <cctype>
#include <cstdio>
#include <map>
#include <string>
#include <vector>

/// The length of the head "2026/11/15 12:00:07  4711 " that stands at `at`; 0 for none.
inline std::size_t headLength(const std::string& bytes, std::size_t at, int& pid) {
  static const std::string shape = "dddd/dd/dd dd:dd:dd ";
  if (bytes.size() - at < shape.size()) return 0;
  for (std::size_t i = 0; i < shape.size(); ++i) {
    const auto byte = static_cast<unsigned char>(bytes[at + i]);
    if (shape[i] == 'd' ? std::isdigit(byte) == 0 : byte != shape[i]) return 0;
  }
  int length = 0;
  if (std::sscanf(bytes.c_str() + at + shape.size(), "%d%n", &pid, &length) != 1) return 0;
  const std::size_t end = at + shape.size() + static_cast<std::size_t>(length);
  return end < bytes.size() && bytes[end] == ' ' ? end + 1 - at : 0;
}

/// The writes of which an action log consists, in order: a head, a text and a line feed for each
/// line. Processes that share a log interleave at these seams.
struct LogPieces {
  std::map<int, int> heads;  // by the process
  std::vector<std::string> texts;
  int lineFeeds = 0;
  std::size_t torn = 0;  // bytes from the first one on that begins no whole piece; 0 for none

  /// Takes a log's bytes apart. `textLength` gives the length of the text that stands at a place, 0
  /// where none does.
  template <class TextLength>
  LogPieces(const std::string& bytes, const TextLength& textLength) {
    for (std::size_t at = 0, length = 0; at < bytes.size(); at += length) {
      int pid = 0;
      if (bytes[at] == '\n') {
        length = 1;
        ++lineFeeds;
      } else if ((length = headLength(bytes, at, pid)) > 0) {
        ++heads[pid];
      } else if ((length = textLength(bytes, at)) > 0) {
        texts.push_back(bytes.substr(at, length));
      } else {
        torn = bytes.size() - at;
        break;
      }
    }
  }
};

#endif
