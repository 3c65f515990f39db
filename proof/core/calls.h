#ifndef TANEXICS_PROOF_CORE_CALLS_H
#define TANEXICS_PROOF_CORE_CALLS_H

#include <string>
#include <vector>

/// Stands in a list of errors for a transfer that succeeds with half of its bytes.
constexpr int kShortCount = -1;

/// What a system call works on, so that a fault can be told by what it touches.
enum class Target { kNothing, kPath, kDescriptor };

/// One system call that can fail, and how.
struct CallKind {
  long number;
  const char* name;
  Target target;
  int targetArgument;  // its place among the arguments, from 0
  int sizeArgument;    // of the byte count; -1 for none
  std::vector<int> errors;
};

/// The row of a call, null for one that is not tried.
const CallKind* findCall(long number);

/// Whether the call is one of those by which a process forks.
bool makesProcess(long number);

/// Whether the call can fail with `error`.
bool canFailWith(const CallKind& kind, int error);

/// "ENOSPC" and the like; "SHORT" for kShortCount.
std::string errorName(int error);

/// Makes the calling process, and all that it starts, stop for its tracer at the few system calls
/// that mark where counting begins and ends, and at all that are not left out on purpose. Returns
/// false where the kernel refuses.
bool installCallFilter();

#endif
