#ifndef TANEXICS_TESTS_PROVE_SWEEP_H
#define TANEXICS_TESTS_PROVE_SWEEP_H

#include <cstdint>
#include <string>
#include <vector>

#include "prove/stage.h"

/// The row of the trials that try the machinery itself.
extern const char* const kSelfTestRow;

/// What is to be tried.
struct Plan {
  Equipment equipment;
  std::uint32_t seed = 1;  // of the sample, and of the order
  std::size_t sample = 0;  // how many trials; 0 for all
  unsigned jobs = 1;       // how many at a time
  std::string scenario;    // only those of this row; empty for all
  std::string only;        // only the trial of this name; empty for all
  bool isBlunt = false;    // for the proof of the sweep itself: no fault is injected
};

/// One line of the table.
struct Row {
  std::string name;
  int calls = 0;  // of the undisturbed run
  int tried = 0;
  int hit = 0;
  int broken = 0;  // trials that broke a promise or were not hit
};

/// One trial that broke something.
struct Finding {
  std::string trial;
  std::vector<std::string> broken;
};

struct Result {
  std::vector<Row> rows;
  std::vector<Finding> findings;
};

/// Tries all that the plan asks for, in processes of its own. Throws std::runtime_error when that
/// cannot be done.
Result sweep(const Plan& plan);

#endif
