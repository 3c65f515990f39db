#ifndef TANEXICS_COMMON_FILES_ATTRIBUTES_H
#define TANEXICS_COMMON_FILES_ATTRIBUTES_H

#include <string>

/// Gives the directory `dst`, which is made with its parents where it does not exist, the times (in
/// whole seconds), the owner, the group and the permissions of `src`. What the caller may not give
/// stays as it is, without a line.
///
/// Returns 1; 0 when either is null ("invalid param" at (common:362)), `src` cannot be examined
/// ("failed to stat():SRC,REASON" at (common:371)), `dst` is a file (VUQ90001L), or cannot be made
/// (VUQ90002L; the run of mkdir(1) is logged as `makeDir` says).
int dupDir(const char* src, const char* dst);

/// When `path` was last modified.
///
/// `out`  out: local time as "2026/11/15 12:00:07"; "" at a failure. May be `path` itself.
///
/// Returns 0, or -1 after "get file date error(PATH)" is logged.
int getFileDate(const std::string& path, std::string& out);

#endif
