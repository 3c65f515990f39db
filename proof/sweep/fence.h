#ifndef TANEXICS_PROOF_SWEEP_FENCE_H
#define TANEXICS_PROOF_SWEEP_FENCE_H

/// Whether a call of the closed library is under way. The fence sets it; what counts the command's
/// doings leaves those of the library out.
extern bool isInsideLibrary;

#endif
