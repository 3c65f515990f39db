// The pieces of a file as the command reads them.

#include <gtest/gtest.h>

#include "support/scratch.h"
#include "tools/check/pieces.h"

namespace {

TEST(ForEachPiece, PiecesAreGivenUntilWhoTakesThemHasEnough) {
  std::string content = "one\n" + std::string(1024, 'x') + "\nlast";
  const auto taken = [&content](std::size_t most) {
    Texts pieces;
    check::forEachPiece(content, [&](const check::Piece& piece) {
      pieces.push_back(std::to_string(piece.line) + '+' + std::to_string(piece.offset) + ' ' +
                       std::to_string(piece.bytes.size()));
      return pieces.size() < most;
    });
    return pieces;
  };
  EXPECT_EQ(taken(9), (Texts{"1+0 4", "2+0 1023", "2+1023 2", "3+0 4"}));
  EXPECT_EQ(taken(2), (Texts{"1+0 4", "2+0 1023"}));
}

}  // namespace
