#ifndef TANEXICS_PROOF_CORE_TRACEE_H
#define TANEXICS_PROOF_CORE_TRACEE_H

#include <sys/types.h>
#include <sys/user.h>

#include <cstddef>
#include <string>

// What a tracer reads from a stopped process, and changes in it. x86-64 only.

/// The registers of a process that stands at a system call.
class CallRegisters {
 public:
  explicit CallRegisters(pid_t pid);

  long number() const { return static_cast<long>(m_registers.orig_rax); }
  unsigned long argument(int place) const;
  long result() const { return static_cast<long>(m_registers.rax); }

  /// At the entry: the call is not made, and returns `result`.
  void skip(long result);
  /// At the entry: the call is made with another argument.
  void changeArgument(int place, unsigned long value);
  /// At the exit: the call returns `result`.
  void changeResult(long result);

 private:
  void store() const;

  pid_t m_pid;
  user_regs_struct m_registers = {};
};

/// The zero-terminated text at `address`; what cannot be read is left out.
std::string readText(pid_t pid, unsigned long address);

/// `size` bytes at `address`, or as many as can be read.
std::string readBytes(pid_t pid, unsigned long address, std::size_t size);

/// The word at `address`, 0 when it cannot be read.
unsigned long readWord(pid_t pid, unsigned long address);

/// What the descriptor stands for, "/etc/localtime" or "pipe:[17]"; empty when it is not open.
std::string descriptorTarget(pid_t pid, int descriptor);

/// The open descriptors above standard error, as "3 -> /etc/passwd", blank-separated.
std::string extraDescriptors(pid_t pid);

/// Whether the process runs at all: not ended, not waiting to be waited for.
bool isRunning(pid_t pid);

#endif
