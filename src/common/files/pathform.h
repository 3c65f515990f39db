#ifndef TANEXICS_COMMON_FILES_PATHFORM_H
#define TANEXICS_COMMON_FILES_PATHFORM_H

#include <string>

/// 1 when the first byte of `path` is "/", else 0. Null: 0, and "invalid param" is logged at
/// (common:870).
int isFullPath(const char* path);
int isFullPath(const std::string& path);

/// `path` with every run of slashes made one, and without a trailing slash unless it is "/" itself.
/// Dot segments stay, and the file system is not asked. Null: "", and "invalid param" is logged at
/// (common:754).
std::string justifyPath(const char* path);
std::string justifyPath(const std::string& path);

#endif
