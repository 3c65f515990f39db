#ifndef TANEXICS_PROOF_CORE_TRACE_H
#define TANEXICS_PROOF_CORE_TRACE_H

#include <sys/types.h>

#include <chrono>
#include <functional>
#include <set>
#include <string>
#include <vector>

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
  bool isBlunt = false;  // for the proof of the tracer itself: it is due, and nothing is injected
};

/// The text form, "0.17:ENOSPC:once" or "0.17:SIGKILL".
std::string toText(const Fault& fault);

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

  Process& process(int number) { return processes.at(static_cast<std::size_t>(number)); }
  const Process& process(int number) const {
    return processes.at(static_cast<std::size_t>(number));
  }
  bool isHit() const;
};

/// How the command is started.
struct Launch {
  std::string program;
  std::vector<std::string> words;
  std::vector<std::string> environment;
  bool asOrdinaryUser = false;
  std::function<bool()> handDown;  // the last thing before the command starts; false for a failure
  std::chrono::milliseconds limit = std::chrono::seconds(20);
};

/// Runs the command under the eyes of the tracer, undisturbed where there is no fault. Throws
/// std::runtime_error when it cannot be run.
Trace trace(const Launch& launch, const Fault* fault);

/// Runs the command without a tracer. `isTimedOut` and `waitStatus` are all that is known then.
Trace runPlainly(const Launch& launch);

/// Starts the command in a child that waits for its tracer, stopped, before it does anything.
/// `isTraced` false starts it at once, without tracer and filter.
pid_t startCommand(const Launch& launch, bool isTraced);

// --- what the status word of wait(2) says --------------------------------------------------------

// Exit statuses of the command that a fault can bring about; docs/tanexics.8 has the whole table.
constexpr int kRejected = 68;   // the input was rejected
constexpr int kNoTempDir = 78;  // the temporary directory could not be made

/// The exit status, -1 for a process that a signal ended.
int exitStatusOf(int waitStatus);

/// The signal that ended the process, 0 when none did.
int signalOf(int waitStatus);

/// "status 68" or "signal 6".
std::string endText(int waitStatus);

#endif
