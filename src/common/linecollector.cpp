#include "common/linecollector.h"

#include "common/text.h"

void collectLines(FILE* stream, std::list<std::string>& lines, int maxLines,
                  std::size_t pieceBytes) {
  char piece[1024] = {};
  int room = maxLines;
  while (std::fgets(piece, static_cast<int>(pieceBytes), stream) != nullptr) {
    if (maxLines >= 0 && room-- <= 0) {
      room = 0;
      continue;
    }
    eraseLastCRLF(piece);
    lines.emplace_back(piece);
  }
}
