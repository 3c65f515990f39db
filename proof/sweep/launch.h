#ifndef TANEXICS_PROOF_SWEEP_LAUNCH_H
#define TANEXICS_PROOF_SWEEP_LAUNCH_H

#include <sys/types.h>

#include "sweep/trace.h"

/// Starts the command in a child that waits for its tracer, stopped, before it does anything.
/// `isTraced` false starts it at once, without tracer and filter.
pid_t startCommand(const Launch& launch, bool isTraced);

/// Runs the command without a tracer, for at most its time limit. `isTimedOut` and `waitStatus` of
/// the result are all that is known of such a run.
Trace runPlainly(const Launch& launch);

#endif
