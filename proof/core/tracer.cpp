#include <sys/ptrace.h>
#include <sys/syscall.h>
#include <sys/time.h>
#include <sys/uio.h>
#include <sys/user.h>
#include <sys/wait.h>
#include <unistd.h>

#include <cerrno>
#include <chrono>
#include <climits>
#include <csignal>
#include <cstring>
#include <filesystem>
#include <fstream>
#include <map>
#include <set>
#include <stdexcept>
#include <string>

#include "core/calls.h"
#include "core/testimony.h"
#include "core/trace.h"

namespace fs = std::filesystem;

namespace {

// --- what is read from a stopped process, and changed in it: x86-64 only -------------------------

/// The registers of a process that stands at a system call.
class CallRegisters {
 public:
  explicit CallRegisters(pid_t pid) : m_pid(pid) {
    ::ptrace(PTRACE_GETREGS, pid, nullptr, &m_registers);
  }

  long number() const { return static_cast<long>(m_registers.orig_rax); }
  unsigned long argument(int place) const { return m_registers.*kArguments[place]; }
  long result() const { return static_cast<long>(m_registers.rax); }

  /// At the entry: the call is not made, and returns `result`.
  void skip(long result) {
    m_registers.orig_rax = static_cast<unsigned long long>(-1);
    changeResult(result);
  }
  /// At the entry: the call is made with another argument.
  void changeArgument(int place, unsigned long value) {
    m_registers.*kArguments[place] = value;
    store();
  }
  /// At the exit: the call returns `result`.
  void changeResult(long result) {
    m_registers.rax = static_cast<unsigned long long>(result);
    store();
  }

 private:
  using Register = unsigned long long user_regs_struct::*;
  static constexpr Register kArguments[] = {&user_regs_struct::rdi, &user_regs_struct::rsi,
                                            &user_regs_struct::rdx, &user_regs_struct::r10,
                                            &user_regs_struct::r8,  &user_regs_struct::r9};

  void store() { ::ptrace(PTRACE_SETREGS, m_pid, nullptr, &m_registers); }

  pid_t m_pid;
  user_regs_struct m_registers = {};
};

/// `size` bytes at `address`, or as many as can be read.
std::string readBytes(pid_t pid, unsigned long address, std::size_t size) {
  std::string bytes(size, '\0');
  const iovec here = {bytes.data(), size};
  // NOLINTNEXTLINE(performance-no-int-to-ptr): an address in another process
  const iovec there = {reinterpret_cast<void*>(address), size};
  const ssize_t count = ::process_vm_readv(pid, &here, 1, &there, 1, 0);
  bytes.resize(count < 0 ? 0 : static_cast<std::size_t>(count));
  return bytes;
}

/// The zero-terminated text at `address`; what cannot be read is left out.
std::string readText(pid_t pid, unsigned long address) {
  constexpr std::size_t kPageBytes = 4096;
  std::string text;
  while (text.size() < PATH_MAX) {
    // Never across the end of a page: the next one may not be there.
    const std::size_t room = kPageBytes - (address + text.size()) % kPageBytes;
    const std::string piece = readBytes(pid, address + text.size(), room < 256 ? room : 256);
    const std::size_t end = piece.find('\0');
    text += piece.substr(0, end);
    if (end != std::string::npos || piece.empty()) break;
  }
  return text;
}

/// The word at `address`, 0 when it cannot be read.
unsigned long readWord(pid_t pid, unsigned long address) {
  const std::string bytes = readBytes(pid, address, sizeof(unsigned long));
  unsigned long word = 0;
  if (bytes.size() == sizeof word) std::memcpy(&word, bytes.data(), sizeof word);
  return word;
}

fs::path procPath(pid_t pid, const char* name) {
  return "/proc/" + std::to_string(pid) + "/" + name;
}

/// What the descriptor stands for, "/etc/localtime" or "pipe:[17]"; empty when it is not open.
std::string descriptorTarget(pid_t pid, int descriptor) {
  std::error_code error;
  return fs::read_symlink(procPath(pid, "fd") / std::to_string(descriptor), error);
}

/// The open descriptors above standard error, as "3 -> /etc/passwd", blank-separated.
std::string extraDescriptors(pid_t pid) {
  std::string extra;
  std::error_code error;
  for (const auto& entry : fs::directory_iterator(procPath(pid, "fd"), error)) {
    const std::string name = entry.path().filename();
    if (std::stoi(name) <= STDERR_FILENO) continue;
    extra += (extra.empty() ? "" : " ") + name + " -> " + descriptorTarget(pid, std::stoi(name));
  }
  return extra;
}

/// Whether the process runs at all: not ended, not waiting to be waited for.
bool isRunning(pid_t pid) {
  std::ifstream file(procPath(pid, "stat"));
  std::string text;
  std::getline(file, text);
  const std::size_t name = text.rfind(") ");  // the state follows it
  const char state = name == std::string::npos ? 'Z' : text[name + 2];
  return state != 'Z' && state != 'X';
}

// --- the tracer ----------------------------------------------------------------------------------

constexpr int kCallStop = SIGTRAP | 0x80;
constexpr long kOptions = PTRACE_O_EXITKILL | PTRACE_O_TRACESYSGOOD | PTRACE_O_TRACESECCOMP |
                          PTRACE_O_TRACEFORK | PTRACE_O_TRACEVFORK | PTRACE_O_TRACECLONE |
                          PTRACE_O_TRACEEXEC;

/// A call that is to be repeated is refused this often at most: a storm of signals ends, too.
constexpr int kMostRepeats = 50;

constexpr auto kGraceOfChildren = std::chrono::seconds(2);

bool isRepeatable(int error) { return error == EINTR || error == EAGAIN || error == kShortCount; }

void resume(pid_t pid, int signal = 0, bool toReturn = false) {
  ::ptrace(toReturn ? PTRACE_SYSCALL : PTRACE_CONT, pid, nullptr, static_cast<long>(signal));
}

/// Asking for the break cannot fail; descriptors from 100 on are the stand-in's, which closes them
/// when the process ends.
bool isLeftOut(const CallKind& kind, const CallRegisters& registers) {
  constexpr unsigned long kLowestOfLibrary = 100;
  if (kind.number == SYS_brk) return registers.argument(0) == 0;
  if (kind.target != Target::kDescriptor) return false;
  const unsigned long descriptor = registers.argument(kind.targetArgument);
  return descriptor >= kLowestOfLibrary && descriptor < 0x7fffffff;
}

/// Whether the call's success is told by an event of its own, after which nobody waits for its
/// end.
bool endsInEvent(const CallKind& kind) {
  return makesProcess(kind.number) || kind.number == SYS_execve;
}

/// Interrupts waitpid(2) ten times a second, so that a run which hangs is noticed.
void startTicks() {
  struct sigaction action = {};
  action.sa_handler = [](int) {};
  ::sigaction(SIGALRM, &action, nullptr);
  const itimerval tick = {{0, 100000}, {0, 100000}};
  ::setitimer(ITIMER_REAL, &tick, nullptr);
}

/// Follows one run of the command from start to end, with all that it forks. One object a run.
class Tracer {
 public:
  Tracer(const Launch& launch, const Fault* fault) : m_launch(launch), m_fault(fault) {}

  ~Tracer() { killAll(); }
  Tracer(const Tracer&) = delete;
  Tracer& operator=(const Tracer&) = delete;

  Trace run() {
    begin();
    while (!m_living.empty() && waitForStop()) continue;
    killAll();
    if (!m_trace.isStarted) throw std::runtime_error("main was never reached");
    return std::move(m_trace);
  }

 private:
  /// What is known of a process between two stops.
  struct State {
    int process = 0;
    bool isFresh = false;      // its first stop is the tracer's own doing
    bool awaitsExit = false;   // the injected call has not returned yet
    std::size_t call = 0;      // the last one counted
    unsigned long wanted = 0;  // of a brk: the end that was asked for
  };

  void killAll() {
    for (const auto& [pid, state] : m_living) ::kill(pid, SIGKILL);
    for (const auto& [pid, state] : m_living) {
      int status = 0;
      while (::waitpid(pid, &status, __WALL) == pid && !WIFEXITED(status) && !WIFSIGNALED(status)) {
        continue;
      }
    }
    m_living.clear();
  }

  void begin() {
    startTicks();
    m_command = startCommand(m_launch, /*isTraced=*/true);
    m_deadline = std::chrono::steady_clock::now() + m_launch.limit;
    int status = 0;
    while (::waitpid(m_command, &status, __WALL) < 0 && errno == EINTR) continue;
    if (!WIFSTOPPED(status)) throw std::runtime_error("ptrace(2) cannot be had for the command");
    ::ptrace(PTRACE_SETOPTIONS, m_command, nullptr, kOptions);
    adopt(m_command, -1);
    m_living[m_command].isFresh = false;
    resume(m_command);
  }

  void adopt(pid_t pid, int parent) {
    Process process;
    process.pid = pid;
    process.parent = parent;
    if (parent >= 0) {
      process.shell = m_trace.process(parent).shell;
      process.isCounting = true;
    }
    State state;
    state.process = static_cast<int>(m_trace.processes.size());
    state.isFresh = true;
    m_trace.processes.push_back(process);
    m_living[pid] = state;
  }

  /// Waits for the next thing to happen. Returns false when the time is over.
  bool waitForStop() {
    int status = 0;
    const pid_t pid = ::waitpid(-1, &status, __WALL);
    if (pid < 0) {
      if (errno != EINTR) return false;
      if (std::chrono::steady_clock::now() < m_deadline) return true;
      if (m_living.count(m_command) != 0) m_trace.isTimedOut = true;
      return false;
    }
    if (WIFEXITED(status) || WIFSIGNALED(status)) {
      onEnd(pid, status);
    } else if (m_living.count(pid) == 0) {
      m_early.insert(pid);
    } else {
      onStop(pid, status);
    }
    return true;
  }

  void onEnd(pid_t pid, int status) {
    const auto ended = m_living.find(pid);
    if (ended == m_living.end()) return;
    m_trace.process(ended->second.process).waitStatus = status;
    m_living.erase(ended);
    if (pid != m_command) return;
    m_trace.waitStatus = status;
    for (const auto& [other, state] : m_living) {
      if (isRunning(other)) m_trace.leftRunning.push_back(state.process);
    }
    m_deadline = std::chrono::steady_clock::now() + kGraceOfChildren;
  }

  void onStop(pid_t pid, int status) {
    State& state = m_living[pid];
    const int signal = WSTOPSIG(status);
    switch (status >> 16) {
      case PTRACE_EVENT_FORK:
      case PTRACE_EVENT_VFORK:
      case PTRACE_EVENT_CLONE:
        onFork(pid);
        return;
      case PTRACE_EVENT_EXEC:
        onExec(pid);
        return;
      case PTRACE_EVENT_SECCOMP:
        onCall(pid);
        return;
      default:
        break;
    }
    if (signal == kCallStop) {
      onReturn(pid);
    } else if (signal == SIGSTOP && state.isFresh) {
      state.isFresh = false;
      resume(pid);
    } else {
      resume(pid, signal, state.awaitsExit);
    }
  }

  void onFork(pid_t pid) {
    unsigned long message = 0;
    ::ptrace(PTRACE_GETEVENTMSG, pid, nullptr, &message);
    const auto child = static_cast<pid_t>(message);
    const State& state = m_living[pid];
    adopt(child, state.process);
    if (!m_trace.calls.empty()) {
      m_trace.calls[m_living[pid].call].child = m_living[child].process;
    }
    if (m_early.erase(child) != 0) {
      m_living[child].isFresh = false;
      resume(child);
    }
    resume(pid);
  }

  void onExec(pid_t pid) {
    Process& process = m_trace.process(m_living[pid].process);
    process.isCounting = false;  // the loader's calls come first
    if (pid != m_command) {
      const std::string extra = extraDescriptors(pid);
      if (!extra.empty()) process.leaked = extra;
    }
    resume(pid);
  }

  /// Whether the call only tells where counting begins or ends.
  bool isMark(Process& process, const CallRegisters& registers) {
    const bool isCommand = process.pid == m_command;
    switch (registers.number()) {
      case SYS_umask:
        if (isCommand && !m_trace.isStarted) {
          m_trace.isStarted = true;
          process.isCounting = true;
        }
        return true;
      case SYS_munmap:
        // The last that the loader does is to give up its cache.
        if (!isCommand) process.isCounting = true;
        return true;
      case SYS_prctl:
        if (registers.argument(0) == kFenceMark) process.isInLibrary = registers.argument(1) != 0;
        return true;
      default:
        return false;
    }
  }

  /// The number of the process that has this id now; 0, which nobody waits for, when there is none.
  int numberOf(pid_t pid) const {
    for (std::size_t number = m_trace.processes.size(); number-- > 0;) {
      if (m_trace.processes[number].pid == pid) return static_cast<int>(number);
    }
    return 0;
  }

  /// The command line of a shell is known as soon as it is asked for, also when it never starts.
  void noteShell(pid_t pid, Process& process, const CallRegisters& registers) const {
    process.program = readText(pid, registers.argument(0));
    const unsigned long words = registers.argument(1);
    const auto word = [pid, words](unsigned long at) {
      return readText(pid, readWord(pid, words + at * sizeof(unsigned long)));
    };
    if (process.program == "/bin/sh" && word(1) == "-c") process.shell = word(2);
  }

  /// Whether the call is a fork that the kernel begins anew, because a signal came in between: that
  /// of a child which ended meanwhile, say. The process itself has called once.
  bool isRestart(const State& state, const CallKind& kind) const {
    if (!makesProcess(kind.number) || state.call >= m_trace.calls.size()) return false;
    const Call& last = m_trace.calls[state.call];
    return last.process == state.process && last.kind == kind.number && last.error == 0 &&
           last.child == 0;
  }

  static std::string targetOf(pid_t pid, const CallKind& kind, const CallRegisters& registers) {
    std::string target;
    if (kind.target == Target::kPath) {
      target = readText(pid, registers.argument(kind.targetArgument));
    }
    // With an empty path the call is about its descriptor.
    if (kind.target == Target::kDescriptor || (target.empty() && kind.targetArgument == 1)) {
      target = descriptorTarget(pid, static_cast<int>(registers.argument(0)));
    }
    return target;
  }

  Call describe(pid_t pid, const Process& process, const CallKind& kind,
                const CallRegisters& registers) const {
    Call call;
    call.process = m_living.at(pid).process;
    call.number = process.calls;
    call.kind = kind.number;
    // What the others work on is asked in an undisturbed run alone: it is much work for every call.
    if (pid == m_command || m_fault == nullptr) {
      call.target = targetOf(pid, kind, registers);
    }
    if (kind.number == SYS_wait4) call.child = numberOf(static_cast<pid_t>(registers.argument(0)));
    if (kind.sizeArgument >= 0) {
      call.size = static_cast<long>(registers.argument(kind.sizeArgument));
    }
    if (kind.number == SYS_write && pid == m_command) {
      call.bytes = readBytes(pid, registers.argument(1), registers.argument(2));
    }
    return call;
  }

  void onCall(pid_t pid) {
    State& state = m_living[pid];
    Process& process = m_trace.process(state.process);
    CallRegisters registers(pid);
    const CallKind* kind = findCall(registers.number());
    const bool isMade = !isMark(process, registers) && process.isCounting && !process.isInLibrary;
    if (isMade && kind == nullptr) m_trace.undecided.insert(registers.number());
    if (!isMade || kind == nullptr || isLeftOut(*kind, registers) || isRestart(state, *kind)) {
      resume(pid);
      return;
    }
    if (kind->number == SYS_execve) noteShell(pid, process, registers);
    ++process.calls;
    state.call = m_trace.calls.size();
    m_trace.calls.push_back(describe(pid, process, *kind, registers));
    Call& call = m_trace.calls.back();
    if (isDue(call, *kind)) {
      inject(state, call, *kind, registers);
    } else {
      if (kind->number == SYS_wait4 && call.child != 0) {
        m_trace.process(call.child).isReaped = true;
      }
      // An undisturbed run also learns what each call gives: half of nothing cannot be tried, and a
      // call that fails anyway proves nothing.
      state.awaitsExit = m_fault == nullptr && !endsInEvent(*kind);
    }
    resume(pid, 0, state.awaitsExit);
  }

  bool isDue(const Call& call, const CallKind& kind) {
    const Fault* fault = m_fault;
    if (fault == nullptr) return false;
    if (call.process == fault->process && call.number == fault->call) {
      if (fault->signal == 0 && !canFailWith(kind, fault->error)) return false;
      m_isArmed = true;
      m_armedKind = kind.number;
      if (fault->signal == 0) return true;
      m_trace.isSignalSent = !m_fault->isBlunt && ::kill(m_command, fault->signal) == 0;
      return false;
    }
    if (!m_isArmed || fault->signal != 0 || fault->reach == Reach::kOnce) return false;
    if (isRepeatable(fault->error) && m_hits >= kMostRepeats) return false;
    if (fault->error == kShortCount && call.size < 2) return false;
    return fault->reach == Reach::kKind ? kind.number == m_armedKind
                                        : canFailWith(kind, fault->error);
  }

  void inject(State& state, Call& call, const CallKind& kind, CallRegisters& registers) {
    call.error = m_fault->error;
    state.awaitsExit = true;
    ++m_hits;
    if (m_fault->isBlunt) return;
    if (call.error == kShortCount) {
      // A read may find less than was asked for anyway: only a single byte is short for certain.
      const long size = kind.number == SYS_read ? 1 : call.size / 2;
      registers.changeArgument(kind.sizeArgument, static_cast<unsigned long>(size));
    } else if (kind.number == SYS_brk) {
      // A refused brk returns the break as it is, which is what asking for it returns.
      state.wanted = registers.argument(0);
      registers.changeArgument(0, 0);
    } else if (kind.number != SYS_close) {
      registers.skip(-call.error);
    }
  }

  void onReturn(pid_t pid) {
    State& state = m_living[pid];
    if (!state.awaitsExit) {
      resume(pid);
      return;
    }
    state.awaitsExit = false;
    Call& call = m_trace.calls[state.call];
    CallRegisters registers(pid);
    if (call.error == 0) {
      call.result = registers.result();
      if (call.kind == SYS_read) call.size = call.result;
    } else if (call.error == kShortCount) {
      const long most = call.kind == SYS_read ? 1 : call.size / 2;
      call.isHit = registers.result() > 0 && registers.result() <= most;
    } else if (call.kind == SYS_brk) {
      call.isHit = static_cast<unsigned long>(registers.result()) < state.wanted;
    } else {
      // A close has been made by now: one that fails closes all the same.
      if (call.kind == SYS_close && !m_fault->isBlunt) registers.changeResult(-call.error);
      call.isHit = CallRegisters(pid).result() == -call.error;
    }
    resume(pid);
  }

  const Launch& m_launch;
  const Fault* m_fault;  // null for an undisturbed run
  Trace m_trace;
  std::map<pid_t, State> m_living;
  std::set<pid_t> m_early;  // stopped before their parent's fork was reported
  pid_t m_command = 0;
  bool m_isArmed = false;
  long m_armedKind = 0;
  int m_hits = 0;
  std::chrono::steady_clock::time_point m_deadline;
};

}  // namespace

Trace trace(const Launch& launch, const Fault* fault) { return Tracer(launch, fault).run(); }
