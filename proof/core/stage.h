#ifndef TANEXICS_PROOF_CORE_STAGE_H
#define TANEXICS_PROOF_CORE_STAGE_H

#include <map>
#include <string>
#include <vector>

#include "core/scenario.h"
#include "core/testimony.h"
#include "core/trace.h"

/// What a run has left behind.
struct Outcome {
  Trace trace;
  std::string log;
  std::string backup;
  std::string output;
  std::string errors;
  std::string record;                         // the exchanges, one JSON object a line
  std::map<std::string, std::string> items;   // copies of the files sent, by name in the outbox
  Texts temporary;                            // what lies in /tmp
  std::map<std::string, std::string> inputs;  // the case folder and /opt, by path
};

/// Moves the calling process to a stage of its own: fresh memory file systems at /srv, /opt and
/// /tmp, everything else read-only, and on it the programs: by the place on the stage, the file
/// that is copied there. Nothing that happens there is seen outside, and all of it vanishes with
/// the process. Throws std::runtime_error where the kernel refuses.
void enterStage(const std::map<std::string, std::string>& programs);

/// Puts a fresh memory file system over a folder.
void mountMemory(const char* where);

/// Puts the stage in order for a run of `scenario`: its input, its log, its orders, and nothing of
/// a run before.
void prepareStage(const Scenario& scenario, Orders orders = {});

/// The memory that is shared with the programs on the stage.
Testimony* testimony();

/// How the command is started on the stage, on the stand-in and behind the fence, with some of the
/// variables of its environment changed.
Launch launchOf(const Scenario& scenario, const std::map<std::string, std::string>& changes = {});

/// Forgets the exchanges of the run before, and nothing else of it.
void clearRecord();

/// Collects what the run has left.
Outcome collectOutcome(Trace trace);

/// What the log holds before the run.
std::string initialLog(const Scenario& scenario);

/// The run told for people: its processes, its calls with what happened to them, and what it left.
std::string storyOf(const Outcome& run);

/// Throws std::runtime_error with the reason of the last system call unless `isDone`.
void check(bool isDone, const std::string& what);

#endif
