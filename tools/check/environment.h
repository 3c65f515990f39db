#ifndef TANEXICS_CHECK_ENVIRONMENT_H
#define TANEXICS_CHECK_ENVIRONMENT_H

#include "tools/check/faults.h"

namespace check {

/// Looks at what a run needs of the machine, with the caller's environment variables and rights:
/// the communication library, the folder of the action log and its space, and, for an incident, the
/// collection commands and the place of the temporary directory. All that is told is a warning:
/// none of it makes the command reject its input.
void checkEnvironment(bool isIncident, Faults& faults);

}  // namespace check

#endif
