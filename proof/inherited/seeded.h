#ifndef TANEXICS_PROOF_INHERITED_SEEDED_H
#define TANEXICS_PROOF_INHERITED_SEEDED_H

#include <string>
#include <vector>

#include "inherited/situation.h"

/// One bug of seeds.cpp, and a situation in which it shows.
struct Seed {
  Situation situation;
  std::string judge;  // how the findings begin of which there must be one
};

const std::vector<Seed>& allSeeds();

/// Has the seeded command run, with this bug; "none" for none.
void setBug(Situation& situation, const std::string& bug);

/// "seeded bugs sigchld-kept": enough to try it again.
std::string nameOf(const Seed& seed);

#endif
