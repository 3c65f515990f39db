#ifndef TANEXICS_PROOF_SWEEP_FAULT_H
#define TANEXICS_PROOF_SWEEP_FAULT_H

#include <string>

/// How far a fault reaches beyond the call that it begins with.
enum class Reach {
  kOnce,  // that call alone
  kKind,  // every later call of the same kind too, in every process
  kAll    // every later call that can fail with the same error
};

/// One fault: what happens, and at which call.
///
/// A call is known by its process and its place there: process 0 is the command, whose calls count
/// from the first after umask(2); process N is the Nth that was forked, whose calls count from the
/// fork, those of the loader left out. So a number means the same call in every run, although
/// parent and child run side by side.
struct Fault {
  int process = 0;
  int call = 0;
  int error = 0;   // kShortCount for half a transfer; 0 when a signal is sent instead
  int signal = 0;  // to the command, when the call is reached; 0 for none
  Reach reach = Reach::kOnce;
};

/// The text form, "0.17:ENOSPC:once" or "0.17:SIGKILL".
std::string toText(const Fault& fault);

#endif
