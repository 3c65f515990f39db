#include "common/process/linecollector.h"

#include "common/text/text.h"

void collectLines(FILE* stream, std::list<std::string>& lines, int maxLines,
                  std::size_t pieceBytes) {
  char piece[1024] = {};
  int kept = 0;
  while (std::fgets(piece, static_cast<int>(pieceBytes), stream) != nullptr) {
    if (maxLines >= 0 && kept >= maxLines) continue;
    eraseLastCRLF(piece);
    lines.emplace_back(piece);
    if (maxLines >= 0) ++kept;
  }
}
