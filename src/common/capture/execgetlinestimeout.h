#ifndef TANEXICS_COMMON_CAPTURE_EXECGETLINESTIMEOUT_H
#define TANEXICS_COMMON_CAPTURE_EXECGETLINESTIMEOUT_H

#include <list>
#include <string>

/// Runs `command` through "/bin/sh" in a process group of its own, for a limited time, and collects
/// what it prints on standard output; standard error is discarded.
///
/// `lines`    out: one entry a line as `execGetLines` says, but read from at most 1,022 bytes.
/// `command`  may be one of the entries that the list holds before.
/// `seconds`  the time limit; 0 and below, and above 7,200, mean 7,200. Whether the command has
///            ended is looked at once a second, from the start on; it has run too long when it is
///            still there at the last look, one second before the limit.
///
/// Such a command gets SIGTERM at the limit, with all of its process group, and 60 seconds later
/// SIGKILL; both are logged, also where it has ended in that last second. The output is read only
/// after the command has ended: one that prints more than a pipe holds (pipe(7)) blocks, is ended
/// by the time limit, and what it had printed is returned. A process that survives the command with
/// the output still open keeps this function waiting.
///
/// Returns the exit status, 0 to 255; -1 when `command` is null ("invalid param" at (common:2951)),
/// when no pipe, child or stream could be made, or when the command ended by a signal or could not
/// be waited for; 1 when the shell could not be started. Every run and every failure is logged,
/// under the message numbers VUQ90003L to VUQ90005L, but for that of the stream: then the child is
/// left alone. Want of memory passes on as std::bad_alloc, after a command that still
/// runs has been ended by SIGKILL and waited for.
int execGetLinesTimeout(std::list<std::string>& lines, const char* command, int seconds);

#endif
