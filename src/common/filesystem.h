#ifndef TANEXICS_COMMON_FILESYSTEM_H
#define TANEXICS_COMMON_FILESYSTEM_H

#include <cstdint>
#include <string>

/// 1 when `path` exists, links followed, and is not a directory: devices, pipes and sockets count
/// as files. Otherwise 0. Null: 0, and "invalid param" is logged at (common:1271).
int isFile(const char* path);
int isFile(const std::string& path);

/// 1 when `path` exists, links followed, and is a directory; otherwise, and for null, 0.
int isDir(const char* path);
int isDir(const std::string& path);

/// The size in bytes of what `path` names, links followed. -1 when it cannot be examined, which is
/// logged as "get file size error(PATH,REASON)"; null is the path "(null)" with a bad address.
std::int64_t getFileSize(const char* path);

/// Makes a directory with the permissions that the file-creation mask leaves.
///
/// `parents`  non-zero: missing parents are made too, and an existing directory is no failure.
///
/// Returns 0, or -1 for every failure, null included. The run of mkdir(1) is logged as
/// `execGetLine` says.
int makeDir(const char* path, int parents);
int makeDir(const std::string& path, int parents);

/// The current directory as an absolute path, "." when it is unknown or 4,096 bytes and longer.
std::string getCwd();

#endif
