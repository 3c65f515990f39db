#ifndef TANEXICS_CHECK_DEFINITION_H
#define TANEXICS_CHECK_DEFINITION_H

#include <cstddef>
#include <map>
#include <string>

#include "tools/check/faults.h"
#include "tools/check/input.h"

namespace check {

/// The definition file of an event, as far as it could be read.
struct Definition {
  Extent extent = Extent::kUnknown;
  std::map<std::string, std::size_t> lines;  ///< where each key stands last
};

/// Checks the definition file `path`, all of it, whatever is wrong on the way.
Definition checkDefinition(const std::string& path, Faults& faults);

}  // namespace check

#endif
