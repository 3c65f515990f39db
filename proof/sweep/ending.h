#ifndef TANEXICS_PROOF_SWEEP_ENDING_H
#define TANEXICS_PROOF_SWEEP_ENDING_H

#include <string>

// What the status word of wait(2) says.

// Exit statuses of the command that a fault can bring about; docs/tanexics.8 has the whole table.
constexpr int kRejected = 68;   // the input was rejected
constexpr int kNoTempDir = 78;  // the temporary directory could not be made

/// The exit status, -1 for a process that a signal ended.
int exitStatusOf(int waitStatus);

/// The signal that ended the process, 0 when none did.
int signalOf(int waitStatus);

/// "status 68" or "signal 6".
std::string endText(int waitStatus);

#endif
