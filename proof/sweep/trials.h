#ifndef TANEXICS_PROOF_SWEEP_TRIALS_H
#define TANEXICS_PROOF_SWEEP_TRIALS_H

#include <string>
#include <vector>

#include "core/harness.h"

constexpr const char* kHostileFolder = "/srv/bin/hostile";  // the closed library that misbehaves

/// One scenario with its undisturbed run.
struct Reference {
  const Scenario* scenario = nullptr;
  Outcome outcome;
  bool isBlunt = false;  // for the proof of the sweep itself: no fault is injected, all must be red
};

/// A run of the reference's scenario: under the tracer, undisturbed where there is no fault.
Outcome runTraced(const Reference& reference, const Launch& launch, const Fault* fault);

/// Notes what the log says of the trial's run, and whether that contradicts the record.
void judgeToldVerdict(const Reference& reference, Verdict& verdict);

/// Each call of a scenario fails in turn.
std::vector<Trial> callTrials(const Reference& reference);

/// A signal reaches the command at each of its calls: one that ends it, whereupon an undisturbed
/// run follows on what is left, or one that must not change anything.
std::vector<Trial> signalTrials(const Reference& reference);

/// Every allocation fails in turn, once and from there on.
std::vector<Trial> allocationTrials(const Reference& reference);

/// The closed library returns, throws, hangs and crashes as it likes.
std::vector<Trial> libraryTrials(const Reference& reference);

/// Those of them in which it throws.
std::vector<Trial> throwTrials(const Reference& reference);

/// Whether an error would make a difference to a call of the undisturbed run: one that fails so
/// anyway, or transfers too little to be cut short, proves nothing.
bool canBeTried(const Call& call, int error);

#endif
