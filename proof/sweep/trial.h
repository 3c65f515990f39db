#ifndef TANEXICS_PROOF_SWEEP_TRIAL_H
#define TANEXICS_PROOF_SWEEP_TRIAL_H

#include <functional>
#include <map>
#include <string>
#include <vector>

#include "sweep/stage.h"

/// What one trial has shown.
struct Verdict {
  bool isHit = false;  // the fault was seen to happen; a trial without it proves nothing
  std::vector<std::string> broken;  // the promises that were broken
  Outcome run;                      // the run itself, or the last one of several
};

/// One fault in one scenario, ready to be tried.
struct Trial {
  std::string row;   // the line of the table that it counts in
  std::string name;  // "incident 0.17:ENOSPC:once": enough to try it again
  std::function<Verdict()> run;
};

/// One scenario with its undisturbed run.
struct Reference {
  const Scenario* scenario = nullptr;
  Outcome outcome;
  bool isBlunt = false;  // for the proof of the sweep itself: no fault is injected, all must be red
};

/// Whether an error would make a difference to a call of the undisturbed run: one that fails so
/// anyway, or transfers too little to be cut short, proves nothing.
bool canBeTried(const Call& call, int error);

// The families of trials.

/// Every system call fails in turn, with every error, once and from there on.
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

/// Behind the last call of each process of a scenario there is none: its trials are complete.
std::vector<Trial> endTrials(const Reference& reference);

/// The machinery itself: a fault that is not injected must be missed, a seeded bug must be found.
std::vector<Trial> selfTrials(const Reference& event, const Reference& incident);

#endif
