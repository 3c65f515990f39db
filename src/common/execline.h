#ifndef TANEXICS_COMMON_EXECLINE_H
#define TANEXICS_COMMON_EXECLINE_H

/// Runs `command` through "/bin/sh" and keeps the first line that it prints. All output is read, so
/// that the child never blocks on a full pipe; its standard error is the caller's.
///
/// `line`  out: the first line of at most 1,023 bytes, line end removed, "" when nothing was
///         printed; a buffer of at least 1,024 bytes, or null to keep nothing. It may hold the
///         command.
///
/// Returns the exit status, 0 to 255, or -1 when `command` is null, could not be started, or ended
/// by a signal. A run is logged as "VUQ90004L" with the process id and the raw status, then with
/// the command; a command that could not be started leaves no line, and `line` as it was.
int execGetLine(const char* command, char* line);

#endif
