#ifndef TANEXICS_COMMON_PROCESS_LINECOLLECTOR_H
#define TANEXICS_COMMON_PROCESS_LINECOLLECTOR_H

#include <cstddef>
#include <cstdio>
#include <list>
#include <string>

/// Reads `stream` to its end and appends its lines, line ends removed, to `lines`.
///
/// `maxLines`    how many entries to append; negative appends all. The rest is read and dropped.
/// `pieceBytes`  2 to 1,024: an entry is read from one byte less at the most, line end included, as
///               fgets(3) does, so that after a line that just fills one comes an empty entry. Of
///               an entry with a zero byte only what stands before it is kept.
void collectLines(FILE* stream, std::list<std::string>& lines, int maxLines,
                  std::size_t pieceBytes);

#endif
