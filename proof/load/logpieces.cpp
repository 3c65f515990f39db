#include "load/logpieces.h"

#include <cctype>
#include <cstdio>

namespace {

/// The length of the head "2026/11/15 12:00:07  4711 " that stands at `at`; 0 for none.
std::size_t headLength(const std::string& bytes, std::size_t at, int& pid) {
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

}  // namespace

LogPieces piecesOf(const std::string& bytes,
                   const std::function<std::size_t(const std::string&, std::size_t)>& textLength) {
  LogPieces pieces;
  for (std::size_t at = 0; at < bytes.size();) {
    int pid = 0;
    std::size_t length = 0;
    if (bytes[at] == '\n') {
      length = 1;
      ++pieces.lineFeeds;
    } else if ((length = headLength(bytes, at, pid)) > 0) {
      pieces.headPids.push_back(pid);
    } else if ((length = textLength(bytes, at)) > 0) {
      pieces.texts.push_back(bytes.substr(at, length));
    } else {
      pieces.torn = bytes.size() - at;
      break;
    }
    at += length;
  }
  return pieces;
}
