#ifndef TANEXICS_PROOF_COST_COUNTS_H
#define TANEXICS_PROOF_COST_COUNTS_H

#include <map>
#include <string>

#include "runs.h"

// What does not depend on the machine's mood.

/// How often each system call was made, by its name.
using Calls = std::map<std::string, int>;

/// Counts the system calls of a program and its children with strace(1), from where everything is
/// loaded on, which silent-kelcom.c marks. `trace` names a file to be written. Throws
/// std::runtime_error when the program does not load that library.
Calls countCalls(const Words& words, const std::string& trace);

/// How many calls they are together.
int sumOf(const Calls& calls);

/// The instructions of the program itself, without its children's, by valgrind(1). `report` names a
/// file to be written.
double countInstructions(const Words& words, const std::string& report);

#endif
