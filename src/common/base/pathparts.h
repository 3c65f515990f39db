#ifndef TANEXICS_COMMON_BASE_PATHPARTS_H
#define TANEXICS_COMMON_BASE_PATHPARTS_H

#include <string>

// The parts of a path name, taken from its text alone: the file system is never asked, and nothing
// is logged, so that the action log itself can use these.

/// Removes one trailing "/" in place: "a//" becomes "a/", "/" becomes "". Returns 0, or -1 for
/// null.
int eraseLastSlash(char* path);

/// A copy of `path` with one trailing "/" removed; "" for null.
std::string eraseLastSlash(const char* path);

/// The directory part of `path`, one trailing "/" not counted: "/a/b" and "/a/b/" give "/a", "a/b"
/// gives "a", "/a" gives "/". A name without any "/", and the empty text, give "/" as well, on
/// purpose: a log path without a directory backs up into the root. Null gives "".
std::string parentPath(const char* path);
std::string parentPath(const std::string& path);

/// What follows the last "/" of `path`: empty for a trailing slash, the whole text without any.
///
/// `dir`  out: what precedes that "/"; "/" when it is the first byte, "" when there is none.
///
/// Null gives "" for both. A path of 4,096 bytes or more is cut to its first 4,095 (PATH_MAX less
/// the terminator, see path_resolution(7)): no such path can be opened anyway. Not the function of
/// the same name of the C library, which edits its argument.
std::string __xpg_basename(const char* path, std::string& dir);
std::string __xpg_basename(const std::string& path, std::string& dir);
std::string __xpg_basename(const char* path);
std::string __xpg_basename(const std::string& path);

/// The extension of the base name of `path`, that is what follows its last "."; "" without one.
///
/// `name`  out: the base name before that "."; the whole base name when there is none.
///
/// ".profile" has the extension "profile" and an empty name. Null gives "" for both.
std::string retrieveExt(const char* path, std::string& name);
std::string retrieveExt(const char* path);

/// The other way round: returns the base name without its extension and hands that out as `ext`.
std::string retrieveName(const char* path, std::string& ext);
std::string retrieveName(const char* path);

#endif
