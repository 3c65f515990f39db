#ifndef TANEXICS_PROOF_OUTCOME_MIX_H
#define TANEXICS_PROOF_OUTCOME_MIX_H

#include <cstdint>
#include <string>
#include <vector>

#include "tools/weavejudge.h"

/// A run that was made up: what it writes, and what became of its exchanges.
struct MadeRun {
  Texts messages;
  std::string truth;       // the word for its verdict
  bool isMissing = false;  // one of the lines says that a listed file could not be measured
};

/// The log of several runs at once.
struct Mix {
  std::vector<MadeRun> runs;  // their process ids count from 100
  Log log;
  bool hasLosses = false;
};

/// The mix of this number: the same for the same seed. Every second one has 3 runs, the others 2;
/// of these each second one lacks 1 to 3 pieces.
Mix mixOf(std::uint32_t seed, std::uint64_t number);

/// What reading a mix has shown.
struct Reading {
  int told = 0;
  int unknown = 0;
  int decidable = 0;  // of the unknown ones: those of which the judge knows better
  int unjudged = 0;   // too many possibilities for the judge
  Texts wrong;
};

/// Reads the log of a mix, and compares the verdicts with the truth, and where nothing is lost with
/// all that the judge finds possible.
Reading readMix(const Mix& mix);

#endif
