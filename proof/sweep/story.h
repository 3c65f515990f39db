#ifndef TANEXICS_PROOF_SWEEP_STORY_H
#define TANEXICS_PROOF_SWEEP_STORY_H

#include <string>

#include "sweep/stage.h"

/// One run told for people: its processes, its calls with what happened to them, and what it left.
std::string storyOf(const Outcome& run);

#endif
