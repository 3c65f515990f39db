#ifndef TANEXICS_CHECK_INPUT_H
#define TANEXICS_CHECK_INPUT_H

#include <sys/types.h>

#include <cstddef>
#include <string>

#include "tools/check/faults.h"

namespace check {

/// What is read of an input file at most, in bytes.
constexpr std::size_t kMostBytes = std::size_t{64} << 20;

/// How much of an input file is known.
enum class Extent {
  kWhole,     ///< all of it
  kPart,      ///< its beginning, up to the end of a line, as it is too large
  kRejected,  ///< the command cannot read it, or not to its end, and rejects it
  kUnknown,   ///< what the command would read cannot be found out here
};

/// The content of a list or of a definition file.
struct Input {
  Extent extent = Extent::kUnknown;
  std::string bytes;  ///< as far as it could be read
};

/// Reads the file `path`, as much of it as is looked at, and tells what there is to tell of it as a
/// whole. Only a regular file is opened: a FIFO would wait for its writer, and a device may never
/// end. /dev/null counts as a file that is empty.
Input readInput(const std::string& path, FaultsOf& faults);

/// What a file is that is neither regular nor a directory, such as "a FIFO" or "a device"; null for
/// those two. A message, to be translated.
const char* specialKind(mode_t mode);

}  // namespace check

#endif
