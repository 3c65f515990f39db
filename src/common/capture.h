#ifndef TANEXICS_COMMON_CAPTURE_H
#define TANEXICS_COMMON_CAPTURE_H

#include <list>
#include <string>

/// Runs `command` through "/bin/sh" and collects what it prints.
///
/// `lines`          out: one entry a line, line end removed; emptied first. A line above 1,023
///                  bytes arrives as several entries; of a line with a zero byte only what stands
///                  before it.
/// `maxLines`       how many entries to keep; negative keeps all. The rest is read and dropped, so
///                  that the child never blocks on a full pipe.
/// `errorLines`     out: the same for standard error, by way of a temporary file; null discards it.
///                  Stays empty when no such file can be made.
/// `maxErrorLines`  how many entries to keep of it; negative keeps all.
/// `command`        may be one of the entries that either list holds before.
///
/// Returns the exit status, 0 to 255; -1 when `command` is null ("invalid param" at (common:1341)),
/// when no pipe, child or stream could be made, or when the command ended by a signal. Every run
/// and every failure is logged, under the message numbers VUQ90003L to VUQ90007L. Want of memory
/// passes on as std::bad_alloc, after the child has been waited for.
int execGetLines(std::list<std::string>& lines, const char* command, int maxLines,
                 std::list<std::string>* errorLines, int maxErrorLines);

#endif
