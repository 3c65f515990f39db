#ifndef TANEXICS_COMMON_FILES_FILESYSTEM_H
#define TANEXICS_COMMON_FILES_FILESYSTEM_H

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
/// `path`     one that the caller has built itself: the shell expands wildcards in it, and ends it
///            at a semicolon or a line feed (see `shellEsc`).
/// `parents`  non-zero: missing parents are made too, and an existing directory is no failure.
///
/// Returns 0 when mkdir(1) did, otherwise -1, as for null. The run is logged as `execGetLine` says;
/// what happens without a pipe or a shell says `s_popen`.
int makeDir(const char* path, int parents);
int makeDir(const std::string& path, int parents);

/// The current directory as an absolute path, "." when it is unknown or 4,096 bytes and longer.
std::string getCwd();

/// 1 when access(2) grants `mode` (1 execute, 2 write, 4 read, or a sum; 0 asks for existence) on
/// `path`, otherwise 0. Null: 0, and "filename is NULL , mode=MODE" is logged at (common:1000),
/// with the mode in eight hexadecimal digits.
int isAccessible(const char* path, int mode);

/// 1 when `path` can be executed, or searched if it is a directory, otherwise 0. For the
/// super-user, whom the kernel lets search any directory, at least one execute bit must be set as
/// well. Null as `isAccessible`.
int isExecutable(const char* path);
int isExecutable(const std::string& path);

/// 1 when `path` can be read, otherwise 0. Null as `isAccessible`.
int isReadable(const char* path);
int isReadable(const std::string& path);

/// 1 when the real user is the super-user, otherwise 0.
int isAdmin();

#endif
