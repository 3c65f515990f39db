#ifndef TANEXICS_COMMON_PROCESS_WAITSTATUS_H
#define TANEXICS_COMMON_PROCESS_WAITSTATUS_H

/// waitpid(2) that is not disturbed: an interrupted call (EINTR, EAGAIN) is made again at once.
/// Nothing is logged.
int waitUndisturbed(int pid, int* status, int options);

/// The same, with a line of log for a failure.
///
/// `file`     the caller's source name. Null ends the process by abort(3), after
///            "*** assertion failed,P=PID\n*** common.cpp:1491(file != __null)\n" on standard
///            error.
/// `line`     the caller's position, for the reader of the calling code only.
/// `status`   out: the raw wait status; as it was when nothing was reaped. May be null.
///
/// Returns the process id reaped, 0 when no child has changed (with WNOHANG), or -1; then
/// "VUQ90004L : waitpid(pid=PID) : REASON" is logged.
int waitpid(const char* file, int line, int pid, int* status, int options);

/// The exit status, 0 to 255, that a raw wait status stands for; -1 when the child did not exit by
/// itself. The parts of the status are traced at (common:535) to (common:538).
int exitStatus(int status);

#endif
