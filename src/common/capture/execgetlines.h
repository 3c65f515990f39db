#ifndef TANEXICS_COMMON_CAPTURE_EXECGETLINES_H
#define TANEXICS_COMMON_CAPTURE_EXECGETLINES_H

#include <list>
#include <string>

/// Runs `command` through "/bin/sh" and collects what it prints, until it has ended and nobody
/// has its output open any more.
///
/// `lines`          out: one entry a line, line end removed; emptied first, but not for a null
///                  `command`. An entry is read from at most 1,023 bytes, line end included: a line
///                  of 1,500 gives entries of 1,023 and 477, one of 1,023 itself and an empty one.
///                  Of an entry with a zero byte only what stands before it.
/// `maxLines`       how many entries to keep; negative keeps all. The rest is read and dropped, so
///                  that the child never blocks on a full pipe.
/// `errorLines`     out: the same for standard error, by way of a temporary file; null discards it.
///                  Stays empty when no such file can be made; see `CTemp` for what is logged.
/// `maxErrorLines`  how many entries to keep of it; negative keeps all.
/// `command`        may be one of the entries that either list holds before.
///
/// Returns the exit status, 0 to 255; -1 when `command` is null ("invalid param" at (common:1341)),
/// when no pipe, child or stream could be made, or when the command ended by a signal or could not
/// be waited for; 1 when the shell could not be started. Every run and every failure is logged,
/// under the message numbers VUQ90003L to VUQ90007L, but for that of the stream: then the child is
/// left alone. Want of memory passes on as std::bad_alloc, after the child has been waited for.
int execGetLines(std::list<std::string>& lines, const char* command, int maxLines,
                 std::list<std::string>* errorLines, int maxErrorLines);

#endif
