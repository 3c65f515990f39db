#ifndef TANEXICS_PROOF_INHERITED_JUDGE_H
#define TANEXICS_PROOF_INHERITED_JUDGE_H

#include <ctime>
#include <string>
#include <vector>

#include "core/harness.h"
#include "inherited/situation.h"

/// What one run has left behind.
struct Run {
  Outcome outcome;
  std::vector<Observation> observations;
  std::time_t begin = 0;
  std::time_t end = 0;
  mode_t logMode = 0;
  Texts left;                  // what lies where temporary directories may be, and was not there
  bool isZoneChanged = false;  // the closed library has done as it was ordered

  /// The first observation of `role`; null when there is none.
  const Observation* find(Role role) const;
};

/// Moves the process to a stage of its own, with the closed library and the witness in their
/// places, and the log where the command looks for it without being told.
void enterInheritedStage(const std::string& command);

/// Runs the command in this situation. Where `isBlunt`, an ordinary caller takes the place of the
/// situation's.
Run runIn(const Situation& situation, bool isBlunt);

/// What of the caller's `observation` does not show; nothing when all of it has taken effect. The
/// argument list and the environment are looked at where `isLoaded`, by the command itself.
Findings unseen(const Caller& caller, const Observation& observation, bool isLoaded);

/// All that a run must leave behind. Times and process ids are made equal, generated names fixed.
struct Expected {
  bool isLoaded = true;  // false: the command cannot be started, and nothing at all happens
  int status = 0;
  Texts messages;                                  // of the log, without their heads
  std::uint64_t mostLogBytes = ~std::uint64_t{0};  // the log ends there, within a line or after one
  std::string backup;
  std::string record;
  std::string output;
  std::string errors;
  Texts children;  // shells and collection commands, with what they are given
  // Signals that the caller ignores or blocks, and a collection command does not.
  std::uint64_t ignoredHidden = 0;
  std::uint64_t blockedHidden = 0;
  bool isCommandCut = false;   // the collection commands have the caller's standard error
  Texts left;                  // items that stay
  Texts zones;                 // further zones in which a line's time may be
  bool mayLackMemory = false;  // see judgeShortOfMemory
  bool mayLackStack = false;

  bool operator==(const Expected& other) const;
};

/// A reason for which a run may be other than the undisturbed one, and in what exactly.
struct Exception {
  const char* name;
  const char* reason;
  void (*apply)(const Situation& situation, Expected& expected);
};
extern const std::vector<Exception> kExceptions;

// The exceptions that allow several outcomes; a run that is like the undisturbed one claims none.
constexpr const char* kWantOfMemory = "want of memory";
constexpr const char* kWantOfStack = "want of stack";

/// What the undisturbed run has left, as an expectation.
Expected expectationFrom(const Scenario& scenario, const Run& run);

/// The children of a run, as an expectation has them.
Texts childrenOf(const Run& run);

/// The undisturbed run of a scenario, with what is expected of it.
struct Undisturbed {
  Run run;
  Expected expected;
};

/// Judges the run of a situation by the undisturbed one of its scenario: what it leaves must be the
/// same, but for the exceptions that the situation can claim.
Verdict judgeInherited(const Situation& situation, const Undisturbed& undisturbed, Run run);

#endif
