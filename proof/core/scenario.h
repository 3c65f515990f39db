#ifndef TANEXICS_PROOF_CORE_SCENARIO_H
#define TANEXICS_PROOF_CORE_SCENARIO_H

#include <cstddef>
#include <map>
#include <string>
#include <vector>

#include "core/loglines.h"

// The fixed places of the stage on which every run takes place.
constexpr const char* kStage = "/srv";            // everything below, in memory
constexpr const char* kCaseFolder = "/srv/case";  // the run's input, and its working directory
constexpr const char* kActionLog = "/srv/log/msg_action.log";
constexpr const char* kBackup = "/srv/log/msg_action.bak";
constexpr const char* kOutbox = "/srv/outbox";       // the record of the exchanges
constexpr const char* kScriptFile = "/srv/answers";  // the stand-in's answers
constexpr const char* kOutputFile = "/srv/out/output";
constexpr const char* kErrorFile = "/srv/out/errors";
constexpr const char* kCommandFile = "/srv/bin/tanexics";  // the command under proof
constexpr const char* kSeededFile = "/srv/bin/seeded";     // the command with bugs
constexpr const char* kPreloadFile = "/srv/bin/preload.so";
constexpr const char* kLoopbackFolder = "/srv/bin/loopback";  // the stand-in of the closed library

/// One way to call the command, and what is known beforehand of its undisturbed run.
struct Scenario {
  std::string name;
  Texts arguments;
  std::map<std::string, std::string> environment;
  std::map<std::string, std::string> files;          // of the case folder, by name
  std::string answers;                               // the stand-in's script; empty for its default
  std::string collected = "collected by tanexcc\n";  // what the first collection command prints
  std::size_t logBytes = 0;                          // size of the log that is already there
  bool asOrdinaryUser = false;

  int status = 0;      // the exit status
  int exchanges = 0;   // number of KEL_Communicate calls
  std::string output;  // all of standard output
};

/// Whether the temporary items are to stay.
bool keepsItems(const Scenario& scenario);

/// All of them.
const std::vector<Scenario>& scenarios();

/// The one of this name. Throws std::invalid_argument when there is none.
const Scenario& findScenario(const std::vector<Scenario>& all, const std::string& name);

#endif
