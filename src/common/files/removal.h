#ifndef TANEXICS_COMMON_FILES_REMOVAL_H
#define TANEXICS_COMMON_FILES_REMOVAL_H

#include <string>

// The only way in which anything is ever deleted: a path that lies near the root of the file system
// is refused, whatever a caller asks for. Its text is judged, before the shell expands a pattern
// and the system follows a link within it: callers pass paths that they built themselves.

/// `path` as an absolute path without ".", "..", repeated or trailing slashes. Only the text
/// counts: symbolic links are not resolved, and nothing need exist. A relative path is taken from
/// the current directory, and stays relative where that is unknown. The root itself, and a path
/// with more ".." than levels, lose their leading slash and may become "". Traces both texts at
/// (common:469).
std::string getCanonicalPath(std::string path);

/// 1 when `path` may be deleted: its canonical form lies below /tmp, or at least three levels below
/// the root; of one without a leading slash the first name is left out. Otherwise 0, and "VUQ90008L
/// : PATH too shallow to delete" is logged with the path as given.
int isAllowDelete(std::string path);

/// Removes what `path`, in which the shell's wildcards * ? [ ] are active and a semicolon or a line
/// feed ends the command, names.
///
/// `recursive`  1: directories go with all that they hold; any other value: files only.
///
/// Returns the exit status of rm(1), whose own messages are not shown: 0 when everything is gone,
/// also when nothing was there, and when the shell could not be started (see `s_popen`); -1 when rm
/// ended by a signal, or no child could be made or waited for. A path that may not be deleted is
/// left alone and gives 0: removal is best effort for every caller, and the refusal has its own
/// line in the log. Null: -1, and "invalid param" is logged at (common:511). The command is traced
/// at (common:520).
int removeFiles(const char* path, int recursive);

#endif
