#ifndef TANEXICS_LOOPBACK_FILECOPY_H
#define TANEXICS_LOOPBACK_FILECOPY_H

#include <string>

/// Copies the bytes of one file into another that is still empty, in pieces of bounded size.
/// Holes stay holes: a sparse file of many gigabytes takes the room of its data alone. A file that
/// grows meanwhile is copied up to the size that it had at the start; one that shrinks, one that
/// was empty, and one of those whose size is not its length (under /proc and /sys), up to its end.
///
/// `source`  an open regular file, readable. Its position may change.
/// `target`  an open file, writable.
///
/// Returns an empty text for success, otherwise what failed and the system's reason; `target` then
/// holds a part.
std::string copyContents(int source, int target);

#endif
