#include "core/calls.h"

#include <linux/filter.h>
#include <linux/seccomp.h>
#include <sys/prctl.h>
#include <sys/syscall.h>

#include <algorithm>
#include <cerrno>
#include <cstddef>
#include <cstdint>
#include <cstring>

namespace {

/// Every system call whose failure is tried.
std::vector<CallKind> makeCallKinds() {
  const std::vector<int> opening = {ENOSPC, EIO, EACCES, EMFILE, ENFILE, ENOMEM, EINTR, ENOENT};
  const std::vector<int> writing = {ENOSPC, EIO, EINTR, EPIPE, EAGAIN, kShortCount};
  const std::vector<int> examining = {EACCES, EIO, ENOMEM, ELOOP};
  const std::vector<int> naming = {ENOSPC, EACCES, EIO};
  const std::vector<int> transferring = {ENOSPC, EIO};
  const std::vector<int> duplicating = {EMFILE, EBUSY, EINTR};
  const std::vector<int> forking = {EAGAIN, ENOMEM};
  const std::vector<int> memory = {ENOMEM};
  return {
      {SYS_openat, "openat", Target::kPath, 1, -1, opening},
      {SYS_open, "open", Target::kPath, 0, -1, opening},
      {SYS_read, "read", Target::kDescriptor, 0, 2, {EIO, EINTR, kShortCount}},
      {SYS_write, "write", Target::kDescriptor, 0, 2, writing},
      {SYS_close, "close", Target::kDescriptor, 0, -1, {EIO, EINTR}},
      {SYS_newfstatat, "newfstatat", Target::kPath, 1, -1, examining},
      {SYS_stat, "stat", Target::kPath, 0, -1, examining},
      {SYS_lstat, "lstat", Target::kPath, 0, -1, examining},
      {SYS_statx, "statx", Target::kPath, 1, -1, examining},
      {SYS_fstat, "fstat", Target::kDescriptor, 0, -1, {EIO, ENOMEM}},
      {SYS_access, "access", Target::kPath, 0, -1, {EACCES, EIO}},
      {SYS_faccessat, "faccessat", Target::kPath, 1, -1, {EACCES, EIO}},
      {SYS_faccessat2, "faccessat2", Target::kPath, 1, -1, {EACCES, EIO}},
      {SYS_pipe, "pipe", Target::kNothing, 0, -1, {EMFILE, ENFILE}},
      {SYS_pipe2, "pipe2", Target::kNothing, 0, -1, {EMFILE, ENFILE}},
      {SYS_clone, "clone", Target::kNothing, 0, -1, forking},
      {SYS_clone3, "clone3", Target::kNothing, 0, -1, forking},
      {SYS_fork, "fork", Target::kNothing, 0, -1, forking},
      {SYS_vfork, "vfork", Target::kNothing, 0, -1, forking},
      {SYS_wait4, "wait4", Target::kNothing, 0, -1, {ECHILD, EINTR, EAGAIN}},
      {SYS_execve, "execve", Target::kPath, 0, -1, {ENOENT, EACCES, ENOMEM}},
      {SYS_dup, "dup", Target::kDescriptor, 0, -1, {EMFILE}},
      {SYS_dup2, "dup2", Target::kDescriptor, 0, -1, duplicating},
      {SYS_dup3, "dup3", Target::kDescriptor, 0, -1, duplicating},
      {SYS_fcntl, "fcntl", Target::kDescriptor, 0, -1, {EMFILE, EINVAL}},
      {SYS_lseek, "lseek", Target::kDescriptor, 0, -1, {EINVAL}},
      {SYS_poll, "poll", Target::kNothing, 0, -1, {EINTR, ENOMEM}},
      {SYS_getcwd, "getcwd", Target::kNothing, 0, -1, {ENOENT, ENOMEM}},
      {SYS_mkdir, "mkdir", Target::kPath, 0, -1, naming},
      {SYS_mkdirat, "mkdirat", Target::kPath, 1, -1, naming},
      {SYS_rename, "rename", Target::kPath, 0, -1, naming},
      {SYS_renameat2, "renameat2", Target::kPath, 1, -1, naming},
      {SYS_unlink, "unlink", Target::kPath, 0, -1, {EACCES, EIO, EBUSY}},
      {SYS_unlinkat, "unlinkat", Target::kPath, 1, -1, {EACCES, EIO, EBUSY}},
      {SYS_rmdir, "rmdir", Target::kPath, 0, -1, {EACCES, EIO, EBUSY}},
      {SYS_truncate, "truncate", Target::kPath, 0, -1, {EIO, EACCES, EINTR}},
      {SYS_ftruncate, "ftruncate", Target::kDescriptor, 0, -1, {EIO, EINTR}},
      {SYS_getdents64, "getdents64", Target::kDescriptor, 0, -1, {EIO, ENOMEM}},
      {SYS_ioctl, "ioctl", Target::kDescriptor, 0, -1, {EIO, ENOTTY}},
      {SYS_copy_file_range, "copy_file_range", Target::kDescriptor, 2, -1, transferring},
      {SYS_fchmodat, "fchmodat", Target::kPath, 1, -1, {EACCES, EIO}},
      {SYS_chdir, "chdir", Target::kPath, 0, -1, {EACCES, EIO}},
      {SYS_statfs, "statfs", Target::kPath, 0, -1, {EIO, ENOMEM}},
      {SYS_fstatfs, "fstatfs", Target::kDescriptor, 0, -1, {EIO, ENOMEM}},
      {SYS_fadvise64, "fadvise64", Target::kDescriptor, 0, -1, {EINVAL}},
      {SYS_mremap, "mremap", Target::kNothing, 0, -1, memory},
      {SYS_mmap, "mmap", Target::kNothing, 0, -1, memory},
      {SYS_brk, "brk", Target::kNothing, 0, -1, memory},
  };
}

/// The system calls that are left out on purpose: those that cannot fail for a program in order,
/// those of the loader alone, and getrandom: how often a generated name asks for it is a matter of
/// chance. A call that is neither here nor above, nor a mark of the tracer, is reported, so that
/// none goes untried unnoticed.
constexpr std::uint32_t kLeftOut[] = {
    SYS_rt_sigaction, SYS_rt_sigprocmask, SYS_rt_sigreturn,    SYS_getpid,
    SYS_getppid,      SYS_gettid,         SYS_getuid,          SYS_geteuid,
    SYS_getgid,       SYS_getegid,        SYS_uname,           SYS_futex,
    SYS_exit_group,   SYS_clock_gettime,  SYS_restart_syscall, SYS_mprotect,
    SYS_pread64,      SYS_arch_prctl,     SYS_set_tid_address, SYS_set_robust_list,
    SYS_rseq,         SYS_prlimit64,      SYS_getrandom};

}  // namespace

const CallKind* findCall(long number) {
  static const std::vector<CallKind> kinds = makeCallKinds();
  for (const CallKind& kind : kinds) {
    if (kind.number == number) return &kind;
  }
  return nullptr;
}

bool makesProcess(long number) {
  return number == SYS_clone || number == SYS_clone3 || number == SYS_fork || number == SYS_vfork;
}

bool canFailWith(const CallKind& kind, int error) {
  return std::find(kind.errors.begin(), kind.errors.end(), error) != kind.errors.end();
}

std::string errorName(int error) {
  if (error == kShortCount) return "SHORT";
  const char* name = ::strerrorname_np(error);
  return name == nullptr ? std::to_string(error) : name;
}

bool installCallFilter() {
  constexpr int kLoad = BPF_LD | BPF_W | BPF_ABS;
  constexpr int kJumpUnless = BPF_JMP | BPF_JEQ | BPF_K;
  constexpr int kReturn = BPF_RET | BPF_K;
  constexpr std::uint32_t kNoFile = 0xffffffff;
  // Of the mappings only those of memory are asked for: a file is mapped by the loader alone, a
  // dozen times for each program, and each stop costs as much as the call.
  std::vector<sock_filter> program = {BPF_STMT(kLoad, offsetof(seccomp_data, nr)),
                                      BPF_JUMP(kJumpUnless, SYS_mmap, 0, 4),
                                      BPF_STMT(kLoad, offsetof(seccomp_data, args[4])),
                                      BPF_JUMP(kJumpUnless, kNoFile, 0, 1),
                                      BPF_STMT(kReturn, SECCOMP_RET_TRACE),
                                      BPF_STMT(kReturn, SECCOMP_RET_ALLOW)};
  for (const std::uint32_t number : kLeftOut) {
    program.push_back(BPF_JUMP(kJumpUnless, number, 0, 1));
    program.push_back(BPF_STMT(kReturn, SECCOMP_RET_ALLOW));
  }
  program.push_back(BPF_STMT(kReturn, SECCOMP_RET_TRACE));
  const sock_fprog filter = {static_cast<std::uint16_t>(program.size()), program.data()};
  return ::prctl(PR_SET_NO_NEW_PRIVS, 1, 0, 0, 0) == 0 &&
         ::prctl(PR_SET_SECCOMP, SECCOMP_MODE_FILTER, &filter) == 0;
}
