#ifndef TANEXICS_COMMON_BASE_CHILDSHELL_H
#define TANEXICS_COMMON_BASE_CHILDSHELL_H

#include "common/base/descriptor.h"

// The two ends of starting a command line, shared by everything that forks for one.

/// The two ends of a pipe(7), none until `makePipe` makes them. The read end is closed first.
struct Pipe {
  Descriptor writeEnd;  ///< where a child writes; its output ends when the parent's own is closed
  Descriptor readEnd;   ///< where the output of the child is read
};

/// Makes a pipe whose ends no other command inherits. Returns false, with errno set and `pipe` as
/// it was, when there is none to be had.
bool makePipe(Pipe& pipe);

/// For the child, after fork(2) and before `execShell`: makes the pipe's write end descriptor 1 and
/// closes both ends; where that fails there is no descriptor 1. Makes system calls only, and works
/// whatever numbers the ends have, also with standard descriptors that were closed when the process
/// started.
void makeStandardOutput(Pipe& pipe);

/// For the child: makes `file`, a descriptor or below 0 for none, descriptor 2; where that fails
/// there is none. System calls only.
void makeStandardError(int file);

/// For the child: makes /dev/null descriptor 2; where it cannot be opened there is none.
void discardStandardError();

/// For the child: becomes "/bin/sh" "-c" `command`, with the descriptors as they are and the
/// signals as the caller of the process handed them down (see callersignals.h). Where the shell
/// cannot be started the child ends at once with `failureStatus`, running nothing of its parent.
[[noreturn]] void execShell(const char* command, int failureStatus);

#endif
