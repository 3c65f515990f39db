#ifndef TANEXICS_REHEARSE_RUN_H
#define TANEXICS_REHEARSE_RUN_H

#include "tools/rehearse/arguments.h"
#include "tools/rehearse/folder.h"

/// Throws std::runtime_error, with the reason in words, unless the command and the stand-in library
/// are there to be run, and the script, where there is one, is a script. Without the stand-in the
/// loader would go on to the real library, and the rehearsal would reach the real centre.
void requireRunnable(const Arguments& arguments);

/// Runs the command on the stand-in library and waits for it. Standard input, output and error are
/// the rehearsal's own, but that standard output is left to the report where that is JSON: the
/// command prints on standard error then. Its environment is the rehearsal's, save that
/// LD_LIBRARY_PATH begins with the library's folder, outbox, script and action log are those of
/// this rehearsal, and that trace lines are switched on when they are asked for. An interrupt from
/// the terminal ends the command alone, so that the report still tells about it. On a terminal a
/// line tells of a run that takes its time.
///
/// Returns the raw wait status (see wait(2)). Throws std::runtime_error (and what it is derived
/// from, std::exception) when the command cannot be started; `requireRunnable` has been called.
int runCommand(const Arguments& arguments, const RehearsalFolder& folder);

#endif
