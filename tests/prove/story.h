#ifndef TANEXICS_TESTS_PROVE_STORY_H
#define TANEXICS_TESTS_PROVE_STORY_H

#include <string>

#include "prove/stage.h"

/// One run told for people: its processes, its calls with what happened to them, and what it left.
std::string storyOf(const Outcome& run);

#endif
