#ifndef TANEXICS_PROOF_SWEEP_TRACER_H
#define TANEXICS_PROOF_SWEEP_TRACER_H

#include <sys/types.h>

#include <chrono>
#include <map>
#include <set>
#include <string>

#include "sweep/calls.h"
#include "sweep/trace.h"
#include "sweep/tracee.h"

/// Follows one run of the command from start to end, with all that it forks. One object a run.
class Tracer {
 public:
  Tracer(const Launch& launch, const Disturbance& disturbance);
  ~Tracer();
  Tracer(const Tracer&) = delete;
  Tracer& operator=(const Tracer&) = delete;

  Trace run();

 private:
  /// What is known of a process between two stops.
  struct State {
    int process = 0;
    bool isFresh = false;      // its first stop is the tracer's own doing
    bool awaitsExit = false;   // the injected call has not returned yet
    std::size_t call = 0;      // the last one counted
    unsigned long wanted = 0;  // of a brk: the end that was asked for
  };

  void begin();
  bool waitForStop();
  void onEnd(pid_t pid, int status);
  void onStop(pid_t pid, int status);
  void onFork(pid_t pid);
  void onExec(pid_t pid);
  void onCall(pid_t pid);
  void onReturn(pid_t pid);
  void adopt(pid_t pid, int parent);

  int numberOf(pid_t pid) const;
  bool isMark(Process& process, const CallRegisters& registers);
  static std::string targetOf(pid_t pid, const CallKind& kind, const CallRegisters& registers);
  Call describe(pid_t pid, const Process& process, const CallKind& kind,
                const CallRegisters& registers) const;
  bool isRestart(const State& state, const CallKind& kind) const;
  void noteShell(pid_t pid, Process& process, const CallRegisters& registers) const;
  bool isDue(const Call& call, const CallKind& kind);
  void inject(State& state, Call& call, const CallKind& kind, CallRegisters& registers);
  void killAll();

  const Launch& m_launch;
  const Disturbance& m_disturbance;
  Trace m_trace;
  std::map<pid_t, State> m_living;
  std::set<pid_t> m_early;  // stopped before their parent's fork was reported
  pid_t m_command = 0;
  bool m_isArmed = false;
  long m_armedKind = 0;
  int m_hits = 0;
  std::chrono::steady_clock::time_point m_deadline;
};

#endif
