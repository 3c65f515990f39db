#ifndef TANEXICS_COMMON_CAPTURE_FILESIZES_H
#define TANEXICS_COMMON_CAPTURE_FILESIZES_H

#include <cstdint>
#include <list>
#include <string>

/// The size of a directory tree in kilobytes, as du(1) counts it; 0 when it prints no number.
/// `path` goes to the shell as it is, in a command that is cut at 1,022 bytes. Null gives -1. The
/// run is logged as `execGetLine` says; du's error output is the caller's.
int getDirSize(const char* path);

/// Adds up the sizes of what "ls -1" prints for a directory.
///
/// `dir`           goes to the shell as it is, and is expected to end in "/". Each line of output
///                 is taken as a path, so that bare names are looked for in the current directory.
/// `total`         out: the sum in bytes, wrapped at 32 bits; up to the failure when there is one.
/// `archivesOnly`  non-zero: the patterns urgent.*.tar, *.txt and express.*.tar are listed, of
///                 which only the first is joined to `dir`.
///
/// Returns 0, also when ls(1) fails; -1 when `dir` is empty, or a line names nothing that can be
/// examined. The run is logged as `execGetLines` says.
///
/// A path that is printed in more than 1,022 bytes, as a pattern joined to a long `dir` may be,
/// arrives in several entries (see `execGetLines`; of 1,023 bytes the second one is empty). Each is
/// taken as a path of its own, so that the result is -1 unless all of them happen to exist.
int getDirFileSize(const std::string& dir, int& total, int archivesOnly);

/// The sizes in bytes of all files among `paths` added up.
///
/// `recursive`  1: directories are followed, also through links, but never into themselves; any
///              other value: they count nothing.
///
/// A file that cannot be measured adds nothing; it is logged by `getFileSize`, and traced at
/// (common:192). A directory that cannot be read adds nothing, without a line.
std::int64_t getTotalFileSize(const std::list<std::string>& paths, int recursive);

/// The second column of the second line that "df -b" prints for `path`, which goes to the shell as
/// it is, in a command that is cut at 1,022 bytes. -1 when no child or stream could be made, when
/// df does not print two lines, and for null. Nothing is logged.
int getFreeSize(const char* path);

#endif
