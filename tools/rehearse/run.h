#ifndef TANEXICS_REHEARSE_RUN_H
#define TANEXICS_REHEARSE_RUN_H

#include "tools/rehearse/arguments.h"
#include "tools/rehearse/folder.h"

/// Throws std::runtime_error unless the command and the stand-in library are there to be run.
/// Without the stand-in the loader would go on to the real library, and the rehearsal would reach
/// the real centre.
void requireRunnable(const Arguments& arguments);

/// Runs the command on the stand-in library and waits for it. Standard input, output and error are
/// the rehearsal's own. Its environment is the rehearsal's, save that LD_LIBRARY_PATH begins with
/// the library's folder, outbox, script and action log are those of this rehearsal, and that trace
/// lines are switched on when they are asked for. An interrupt from the terminal ends the command
/// alone, so that the report still tells about it.
///
/// Returns the raw wait status (see wait(2)). Throws std::runtime_error (and what it is derived
/// from, std::exception) when the command cannot be started; `requireRunnable` has been called.
int runCommand(const Arguments& arguments, const RehearsalFolder& folder);

#endif
