#ifndef TANEXICS_COMMON_FILES_ACCESS_H
#define TANEXICS_COMMON_FILES_ACCESS_H

#include <string>

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
