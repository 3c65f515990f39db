#ifndef TANEXICS_COMMON_LINECOLLECTOR_H
#define TANEXICS_COMMON_LINECOLLECTOR_H

#include <cstddef>
#include <cstdio>
#include <list>
#include <string>

/// Reads `stream` to its end and appends its lines, line ends removed, to `lines`.
///
/// `maxLines`    how many entries to append; negative appends all. The rest is read and dropped.
/// `pieceBytes`  2 to 1,024: a line arrives in entries of one byte less at the most, as fgets(3)
///               reads it; of an entry with a zero byte only what stands before it is kept.
void collectLines(FILE* stream, std::list<std::string>& lines, int maxLines,
                  std::size_t pieceBytes);

#endif
