#ifndef TANEXICS_CHECK_PIECES_H
#define TANEXICS_CHECK_PIECES_H

#include <cstddef>
#include <functional>
#include <string>
#include <string_view>

#include "tools/check/faults.h"

namespace check {

/// What the command reads of an input file at once, and where it stands.
struct Piece {
  char* text;              ///< as the command's readers get it; they may edit it
  std::string_view bytes;  ///< the same in the file, with its line end and what a zero byte hides
  std::size_t line;        ///< the line of the file, from 1
  std::size_t offset;      ///< how many bytes of this line stand before it
};

/// Gives the pieces of a file one after the other, as the command reads them, until there is none
/// or `take` returns false.
///
/// `content`  all bytes of the file, which stay as they are.
void forEachPiece(std::string& content, const std::function<bool(const Piece&)>& take);

/// Tells of what the command reads otherwise than it stands there: a line of more than one piece,
/// and zero bytes. To be asked about each piece in turn.
class PieceRemarks {
 public:
  explicit PieceRemarks(FaultsOf& faults) : m_faults(faults) {}

  /// `piece`  not edited yet.
  void add(const Piece& piece);

 private:
  FaultsOf& m_faults;
  std::size_t m_longLine = 0;  // the last line that was told of as such; 0: none
  std::size_t m_zeroLine = 0;
};

}  // namespace check

#endif
