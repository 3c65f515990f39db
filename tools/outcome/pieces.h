#ifndef TANEXICS_OUTCOME_PIECES_H
#define TANEXICS_OUTCOME_PIECES_H

#include <string_view>

namespace outcome {

/// What every line of the action log begins with: "YYYY/MM/DD HH:MM:SS PID ".
struct Head {
  std::string_view time;  ///< without the blank after it
  int pid = 0;
  std::size_t length = 0;  ///< of all, the blank after the process id included; 0: this is no head
};

/// The head that `bytes` begin with, if they do.
Head readHead(std::string_view bytes);

/// Where the first head or line feed of `bytes` stands, or their size.
std::size_t findPiece(std::string_view bytes);

}  // namespace outcome

#endif
