#ifndef TANEXICS_PROOF_INHERITED_RUN_H
#define TANEXICS_PROOF_INHERITED_RUN_H

#include <ctime>
#include <string>
#include <vector>

#include "inherited/situation.h"
#include "sweep/stage.h"

/// The files under proof, as they lie in the build folder.
struct InheritedEquipment {
  std::string command;
  std::string seeded;
  std::string library;  // the closed library of this proof
  std::string witness;  // shell and collection commands
};

/// What one run has left behind.
struct Run {
  Outcome outcome;  // the record is that of the closed library of this proof
  std::vector<Observation> observations;
  std::time_t begin = 0;
  std::time_t end = 0;
  mode_t logMode = 0;
  std::vector<std::string> left;  // what lies where temporary directories may be, and was not there
  bool isZoneChanged = false;     // the closed library has done as it was ordered
};

/// Moves the process to a stage of its own, with the closed library and the witness in their
/// places, and the log where the command looks for it without being told.
void enterInheritedStage(const InheritedEquipment& equipment);

/// Runs the command in this situation. Where `isBlunt`, an ordinary caller takes the place of the
/// situation's.
Run runIn(const Situation& situation, bool isBlunt);

/// The first observation of `role`; null when there is none.
const Observation* find(const Run& run, Role role);

#endif
