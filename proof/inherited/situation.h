#ifndef TANEXICS_PROOF_INHERITED_SITUATION_H
#define TANEXICS_PROOF_INHERITED_SITUATION_H

#include <string>
#include <vector>

#include "inherited/caller.h"
#include "sweep/scenario.h"

/// What becomes of the temporary directory.
enum class TempFate {
  kMade,     // it is made and removed
  kNoName,   // there is no name for one
  kNotMade,  // mkdir fails, with `mkdirStatus`
  kKept,     // it is made, and too shallow to be removed
};

/// Where the temporary directory is to be. The folders named here are below kTempFolder and made
/// beforehand.
struct TempPlace {
  std::string parent = "/tmp";     // as the command's lines name it
  std::string canonical = "/tmp";  // the same without detours
  TempFate fate = TempFate::kMade;
  int mkdirStatus = 0;                  // wait status
  std::vector<std::string> leftBehind;  // where it is not made: what mkdir makes instead
  std::vector<std::string> folders;     // to be made for it
  std::vector<std::string> files;
  std::vector<std::pair<std::string, std::string>> links;  // name and target
};
extern const char* const kTempFolder;

/// One thing handed down, in one scenario.
struct Situation {
  std::string family;
  std::string name;  // enough to try it again
  const Scenario* scenario = nullptr;
  Caller caller;
  TempPlace temp;
  bool isLibraryElsewhere = false;  // LD_LIBRARY_PATH leads to another copy of the closed library
  bool hasNoCommands = false;       // nothing is found through PATH
  std::string zoneCall;             // the call in which the closed library changes the time zone
  std::string zone;                 // to this one
  std::string bug;                  // of the seeded command; empty for the command itself
};

/// An ordinary caller of `scenario`.
Situation undisturbed(const Scenario& scenario);

/// The scenarios of this proof: some of those of the other one, by absolute names, so that the
/// working directory makes no difference, and some in which the first collection command prints
/// more than a buffer or a pipe takes.
const std::vector<Scenario>& inheritedScenarios();

/// Everything that is tried, without what this system cannot do.
std::vector<Situation> allSituations();

/// What cannot be handed down here, each with the reason; for the report.
std::vector<std::string> leftOut();

#endif
