#ifndef TANEXICS_PROOF_INHERITED_JUDGE_H
#define TANEXICS_PROOF_INHERITED_JUDGE_H

#include <string>
#include <vector>

#include "inherited/exceptions.h"
#include "inherited/run.h"

/// What a run has shown.
struct Judgement {
  std::vector<std::string> unseen;   // what was handed down and not found; empty when all was
  std::vector<std::string> claimed;  // the names of the exceptions
  std::vector<std::string> broken;
};

/// The undisturbed run of a scenario, with what is expected of it.
struct Undisturbed {
  const Scenario* scenario = nullptr;
  Run run;
  Expected expected;
};

/// Judges the run of a situation by the undisturbed one of its scenario.
Judgement judgeInherited(const Situation& situation, const Undisturbed& undisturbed,
                         const Run& run);

#endif
