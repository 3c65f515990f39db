#ifndef TANEXICS_PROOF_INHERITED_EXCEPTIONS_H
#define TANEXICS_PROOF_INHERITED_EXCEPTIONS_H

#include <cstdint>
#include <string>
#include <vector>

#include "inherited/run.h"

/// The name that stands for the six generated characters of a temporary directory.
std::string withFixedNames(const std::string& text);

/// All that a run must leave behind. Times and process ids are made equal, generated names fixed.
struct Expected {
  bool isLoaded = true;  // false: the command cannot be started, and nothing at all happens
  int status = 0;
  std::vector<std::string> messages;               // of the log, without their heads
  std::uint64_t mostLogBytes = ~std::uint64_t{0};  // the log ends there, within a line or after one
  std::string backup;
  std::string record;
  std::string output;
  std::string errors;
  std::vector<std::string> children;  // shells and collection commands, with what they are given
  // Signals that the caller ignores or blocks, and a collection command does not.
  std::uint64_t ignoredHidden = 0;
  std::uint64_t blockedHidden = 0;
  bool isCommandCut = false;       // the collection commands have the caller's standard error
  std::vector<std::string> left;   // items that stay
  std::vector<std::string> zones;  // further zones in which a line's time may be; see below
  bool mayLackMemory = false;      // see judgeShortOfMemory
  bool mayLackStack = false;

  bool operator==(const Expected& other) const;
};

/// A reason for which a run may be other than the undisturbed one, and in what exactly.
struct Exception {
  const char* name;
  const char* reason;
  void (*apply)(const Situation& situation, Expected& expected);
};
const std::vector<Exception>& exceptions();

// The exceptions that allow several outcomes; a run that is like the undisturbed one claims none.
extern const char* const kWantOfMemory;
extern const char* const kWantOfStack;

/// What the undisturbed run has left, as an expectation.
Expected expectationFrom(const Scenario& scenario, const Run& undisturbedRun);

/// The same for a situation: the undisturbed run, but for the exceptions that the situation can
/// claim, whose names go to `claimed`.
Expected expectationFor(const Situation& situation, const Expected& undisturbedRun,
                        std::vector<std::string>& claimed);

/// The children of a run, as an expectation has them.
std::vector<std::string> childrenOf(const Run& run);

/// The messages of a log, and their heads.
struct PlainLine {
  std::string head;
  std::string message;
};
std::vector<PlainLine> plainLines(const std::string& log);

#endif
