#ifndef TANEXICS_PROOF_SWEEP_TRACE_H
#define TANEXICS_PROOF_SWEEP_TRACE_H

#include <sys/types.h>

#include <chrono>
#include <functional>
#include <map>
#include <set>
#include <string>
#include <vector>

#include "sweep/fault.h"

/// One system call that was counted.
struct Call {
  int process = 0;
  int number = 0;      // its place in the process, from 1
  long kind = 0;       // the system's number of the call
  std::string target;  // the path, or what the descriptor stands for
  long size = 0;       // bytes asked for, where the call transfers any; of a read: those it gave
  long result = 0;     // of a call left alone, in an undisturbed run
  std::string bytes;   // what the command writes
  int child = 0;       // of a fork: the process that came of it, 0 when none did; of a wait: the
                       // process that is waited for, 0 for any
  int error = 0;       // the error that was injected, 0 for none
  bool isHit = false;  // the injected error was seen to be what the process got
};

/// One process: the command is the first, children follow in the order of their forks.
struct Process {
  pid_t pid = 0;
  int parent = -1;
  std::string shell;    // the command line that its shell was given, its parent's where it has none
  std::string program;  // what it runs
  std::string leaked;   // descriptors above 2 that an execve left open
  bool isCounting = false;
  bool isInLibrary = false;
  int calls = 0;
  int waitStatus = 0;     // how it ended
  bool isReaped = false;  // its parent waited for it, and that was not made to fail
};

/// All that one run did.
struct Trace {
  std::vector<Call> calls;  // in the order in which they were made
  std::vector<Process> processes;
  std::set<long> undecided;      // calls that are neither tried nor left out on purpose
  std::vector<int> leftRunning;  // processes that ran on when the command had ended
  int waitStatus = 0;
  bool isTimedOut = false;
  bool isSignalSent = false;
  bool isStarted = false;  // main was reached

  bool isHit() const;
};

/// How the command is started.
struct Launch {
  std::string program;
  std::vector<std::string> words;
  std::map<std::string, std::string> environment;
  std::vector<std::string> moreEnvironment;  // further entries, as they are
  std::string folder;                        // the working directory
  std::string output;                        // the file for standard output
  std::string errors;                        // the file for standard error
  bool asOrdinaryUser = false;
  std::function<bool()> handDown;  // the last thing before the command starts; false for a failure
  std::chrono::milliseconds limit = std::chrono::seconds(20);
};

/// What the tracer is to do to a run.
struct Disturbance {
  const Fault* fault = nullptr;  // null for an undisturbed run
  /// For the proof of the tracer itself: the fault is reported as due, and nothing is injected.
  bool isBlunt = false;
};

/// Runs the command under the eyes of the tracer. Throws std::runtime_error when it cannot be run.
Trace trace(const Launch& launch, const Disturbance& disturbance);

#endif
