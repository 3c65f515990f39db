#ifndef TANEXICS_PROOF_SWEEP_STAGE_H
#define TANEXICS_PROOF_SWEEP_STAGE_H

#include <map>
#include <string>
#include <vector>

#include "sweep/scenario.h"
#include "sweep/trace.h"

/// The command with bugs, on the stage.
extern const char* const kSeededFile;

/// The files under proof, as they lie in the build folder.
struct Equipment {
  std::string command;
  std::string loopback;    // the stand-in of the closed library
  std::string hostile;     // the closed library that misbehaves
  std::string fence;       // marks the library's calls
  std::string allocation;  // makes allocations fail
  std::string seeded;      // the command with bugs
};

/// What a run has left behind.
struct Outcome {
  Trace trace;
  std::string log;
  std::string backup;
  std::string output;
  std::string errors;
  std::string record;                         // the exchanges, one JSON object a line
  std::map<std::string, std::string> items;   // copies of the files sent, by name in the outbox
  std::vector<std::string> temporary;         // what lies in /tmp
  std::map<std::string, std::string> inputs;  // the case folder and /opt, by path
};

/// Moves the calling process to a stage of its own: fresh memory file systems at /srv, /opt and
/// /tmp, everything else read-only. Nothing that happens there is seen outside, and all of it
/// vanishes with the process. Throws std::runtime_error where the kernel refuses.
void enterStage(const Equipment& equipment);

/// The same with other programs: by the place on the stage, the file that is copied there.
void enterStage(const std::map<std::string, std::string>& programs);

/// Puts a fresh memory file system over a folder.
void mountMemory(const char* where);

/// Puts the stage in order for a run of `scenario`: its input, its log, and nothing of a run
/// before.
void prepareStage(const Scenario& scenario);

/// How the command is started on the stage, on the stand-in and behind the fence.
Launch launchOf(const Scenario& scenario);

/// The same on the library that misbehaves, without the fence: `call` does `deed`, see
/// hostilekelcom.cpp.
Launch hostileLaunchOf(const Scenario& scenario, const std::string& call, const std::string& deed);

/// The same on the stand-in with failing allocations: `which` is "17" for the 17th alone, "17-" for
/// all from there on, "0" for none. The number of allocations goes to kAllocationCount.
Launch allocationLaunchOf(const Scenario& scenario, const std::string& which);

/// The same with a command that has one bug, see seeds.cpp.
Launch seededLaunchOf(const Scenario& scenario, const std::string& seed);

/// Runs under the tracer and collects what is left.
Outcome runTraced(const Launch& launch, const Disturbance& disturbance);

/// Forgets the exchanges of the run before, and nothing else of it.
void clearRecord();

/// Collects what the run has left.
Outcome collectOutcome(Trace trace);

/// What the log holds before the run.
std::string initialLog(const Scenario& scenario);

#endif
