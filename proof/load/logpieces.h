#ifndef TANEXICS_PROOF_LOAD_LOGPIECES_H
#define TANEXICS_PROOF_LOAD_LOGPIECES_H

#include <cstddef>
#include <functional>
#include <string>
#include <vector>

/// The writes of which an action log consists, in order: a head, a text and a line feed for each
/// line. Processes that share a log interleave at these seams.
struct LogPieces {
  std::vector<int> headPids;
  std::vector<std::string> texts;
  int lineFeeds = 0;
  std::size_t torn = 0;  // bytes from the first one on that begins no whole piece; 0 for none
};

/// Takes a log's bytes apart. `textLength` gives the length of the text that stands at a place, 0
/// where none does.
LogPieces piecesOf(const std::string& bytes,
                   const std::function<std::size_t(const std::string&, std::size_t)>& textLength);

#endif
