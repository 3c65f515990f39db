#ifndef TANEXICS_COMMON_REMOVAL_H
#define TANEXICS_COMMON_REMOVAL_H

#include <string>

// The only way in which anything is ever deleted: nothing near the root of the file system goes,
// whatever a caller asks for.

/// `path` as an absolute path without ".", "..", repeated or trailing slashes. Only the text
/// counts: symbolic links are not resolved, and nothing need exist. A relative path is taken from
/// the current directory ("." where that is unknown). The root itself, and a path with more ".."
/// than levels, lose their leading slash and may become "". Traces both texts at (common:469).
std::string getCanonicalPath(std::string path);

/// 1 when `path` may be deleted: its canonical form lies below /tmp, or at least three levels below
/// the root. Otherwise 0, and "VUQ90008L : PATH too shallow to delete" is logged with the path as
/// given.
int isAllowDelete(std::string path);

/// Removes what `path`, in which the shell's wildcards * ? [ ] are active, names.
///
/// `recursive`  1: directories go with all that they hold; any other value: files only.
///
/// Returns the exit status of rm(1), whose own messages are not shown: 0 when everything is gone,
/// also when nothing was there; -1 when it ended by a signal. A path that may not be deleted is
/// left alone and gives 0: removal is best effort for every caller, and the refusal has its own
/// line in the log. Null: -1, and "invalid param" is logged at (common:511). The command is traced
/// at (common:520).
int removeFiles(const char* path, int recursive);

#endif
