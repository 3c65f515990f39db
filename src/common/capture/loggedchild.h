#ifndef TANEXICS_COMMON_CAPTURE_LOGGEDCHILD_H
#define TANEXICS_COMMON_CAPTURE_LOGGEDCHILD_H

#include <sys/types.h>

#include <cstdio>
#include <list>
#include <memory>
#include <string>

#include "common/base/childshell.h"
#include "common/base/piecereader.h"

// What collecting the output of a command takes, step by step: a child on a pipe, whose start and
// end are logged, and its lines. Between the steps each caller has something of its own to do.

/// A stream that is closed at the end of its life; null for none.
using Stream = std::unique_ptr<FILE, int (*)(FILE*)>;

/// What a child ends with whose shell cannot be started.
constexpr int kShellFailure = 1;

/// `makePipe`. Where there is none to be had "VUQ90003L : failed to pipe():REASON" is logged.
bool makeLoggedPipe(Pipe& pipe);

/// fork(2) for a child that will become `command`, which is logged before as
/// "VUQ90004L : com=COMMAND". Where no child can be made, the result is below 0 and
/// "VUQ90005L : failed to exec(REASON):COMMAND" is logged.
pid_t forkLogged(const char* command);

/// For the parent: closes the write end, and gives a stream on the read end, which belongs to the
/// stream from now on. Null where none can be made; the pipe then keeps that end.
Stream openOutput(Pipe& pipe);

/// Reads to the end and appends the pieces, line ends removed, to `lines`: `maxLines` of them, all
/// when that is negative. The rest is read and dropped.
void collectLines(PieceReader& reader, std::list<std::string>& lines, int maxLines);

/// Logs what a child ended with as "VUQ90004L : pid=PID,wstat=STATUS", and decodes it as
/// `exitStatus` does.
int loggedExitStatus(pid_t pid, int status);

#endif
