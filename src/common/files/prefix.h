#ifndef TANEXICS_COMMON_FILES_PREFIX_H
#define TANEXICS_COMMON_FILES_PREFIX_H

#include <list>
#include <string>

/// The common leading directory of `paths`, which stay as they are; what is no directory stands for
/// its parent. The parts of the paths are compared side by side, and a part that is equal counts
/// also after one that differs: the directories "/a/x/c" and "/b/x/c" give "/x/c". Where relative
/// paths have no part in common, the comparison starts anew with the next one. "" for no paths.
/// Every path is traced at (common:82), the result at (common:133).
std::string acquireSamePrefix(std::list<std::string>& paths);

#endif
