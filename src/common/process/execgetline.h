#ifndef TANEXICS_COMMON_PROCESS_EXECGETLINE_H
#define TANEXICS_COMMON_PROCESS_EXECGETLINE_H

/// Runs `command` through "/bin/sh" and keeps the first line that it prints. All output is read, so
/// that the child never blocks on a full pipe; its standard error is the caller's.
///
/// `line`  out: the first line, line end removed, cut at 1,023 bytes and at a zero byte; "" when
///         nothing was printed. A buffer of at least 1,024 bytes, which may hold the command, or
///         null to keep nothing.
///
/// Returns the exit status, 0 to 255, or -1 when `command` is null, no child or stream could be
/// made, or the command ended by a signal or could not be waited for. A run is logged as
/// "VUQ90004L" with the process id and the raw status, then with the command; without a child or a
/// stream nothing is logged, and `line` stays as it was. What happens without a pipe or a shell
/// says `s_popen`.
int execGetLine(const char* command, char* line);

#endif
