#ifndef TANEXICS_PROOF_SWEEP_SCENARIO_H
#define TANEXICS_PROOF_SWEEP_SCENARIO_H

#include <cstddef>
#include <map>
#include <string>
#include <vector>

// The fixed places of the stage on which every run takes place.
extern const char* const kStage;            // everything below, in memory
extern const char* const kCaseFolder;       // the run's input, and its working directory
extern const char* const kActionLog;        // its log
extern const char* const kBackup;           // the log's backup
extern const char* const kOutbox;           // the record of the exchanges
extern const char* const kScriptFile;       // the stand-in's answers
extern const char* const kOutputFile;       // what came on standard output
extern const char* const kErrorFile;        // what came on standard error
extern const char* const kAllocationCount;  // how many allocations there were, and what failed
extern const char* const kCommandFile;      // the command under proof

/// One way to call the command, and what is known beforehand of its undisturbed run.
struct Scenario {
  std::string name;
  std::vector<std::string> arguments;
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

#endif
