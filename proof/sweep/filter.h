#ifndef TANEXICS_PROOF_SWEEP_FILTER_H
#define TANEXICS_PROOF_SWEEP_FILTER_H

/// The prctl(2) option by which the fence around the closed library tells where its calls begin
/// (argument 1) and end (0). No kernel knows it.
constexpr int kFenceMark = 0x50524f56;

/// Makes the calling process, and all that it starts, stop for its tracer at the few system calls
/// that mark where counting begins and ends, and at all that are not left out on purpose. Returns
/// false where the kernel refuses.
bool installCallFilter();

#endif
