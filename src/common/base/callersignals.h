#ifndef TANEXICS_COMMON_BASE_CALLERSIGNALS_H
#define TANEXICS_COMMON_BASE_CALLERSIGNALS_H

// A process inherits which signals are ignored (see signal(7)), and a caller's choice must neither
// hide the end of a child from the command nor let a write end it.

/// Sets three signals to what a run needs, whatever the caller of the process has handed down:
/// SIGCHLD to its default, since children that end while it is ignored cannot be waited for;
/// SIGPIPE and SIGXFSZ to be ignored, so that a write to a pipe without a reader or beyond a limit
/// on file size fails, as any other write may, and the run goes on. No handler is installed, and
/// the signal mask stays the caller's. To be called once, at the start of a process. One
/// system call a signal.
void settleSignals();

/// For a child, right before it becomes another program: gives these signals back the dispositions
/// that `settleSignals` found. Where it was not called, nothing happens. System calls only, one for
/// each signal that was changed.
void restoreCallerSignals();

#endif
