#ifndef TANEXICS_CHECK_LIST_H
#define TANEXICS_CHECK_LIST_H

#include <cstddef>
#include <deque>
#include <string>
#include <vector>

#include "tools/check/faults.h"
#include "tools/check/input.h"

namespace check {

/// The entries of a list that are looked at, at most.
constexpr std::size_t kMostEntries = std::size_t{1} << 20;

/// The list of files to send, as far as it could be read.
struct List {
  Extent extent = Extent::kUnknown;
  std::deque<std::string> paths;   ///< one for each entry
  std::vector<std::size_t> lines;  ///< and the line in which it stands
};

/// Checks the list `path` and the files that it names.
List checkList(const std::string& path, Faults& faults);

}  // namespace check

#endif
