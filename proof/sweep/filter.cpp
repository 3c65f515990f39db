#include "sweep/filter.h"

#include <linux/filter.h>
#include <linux/seccomp.h>
#include <sys/prctl.h>
#include <sys/syscall.h>

#include <cstddef>
#include <cstdint>
#include <vector>

#include "sweep/calls.h"

namespace {

sock_filter statement(unsigned code, std::uint32_t value) {
  return {static_cast<std::uint16_t>(code), 0, 0, value};
}

/// Answers with `action` to the call whose number is in the accumulator when it is `number`.
void answer(std::vector<sock_filter>& program, long number, std::uint32_t action) {
  const auto code = static_cast<std::uint16_t>(BPF_JMP | BPF_JEQ | BPF_K);
  program.push_back({code, 0, 1, static_cast<std::uint32_t>(number)});
  program.push_back(statement(BPF_RET | BPF_K, action));
}

/// Of the mappings only those of memory are asked for: a file is mapped by the loader alone, a
/// dozen times for each program, and each stop costs as much as the call.
void answerMapping(std::vector<sock_filter>& program) {
  constexpr std::uint32_t kNoFile = 0xffffffff;
  const auto equals = static_cast<std::uint16_t>(BPF_JMP | BPF_JEQ | BPF_K);
  program.push_back({equals, 0, 4, SYS_mmap});
  program.push_back(statement(BPF_LD | BPF_W | BPF_ABS, offsetof(seccomp_data, args[4])));
  program.push_back({equals, 0, 1, kNoFile});
  program.push_back(statement(BPF_RET | BPF_K, SECCOMP_RET_TRACE));
  program.push_back(statement(BPF_RET | BPF_K, SECCOMP_RET_ALLOW));
}

}  // namespace

bool installCallFilter() {
  std::vector<sock_filter> program = {
      statement(BPF_LD | BPF_W | BPF_ABS, offsetof(seccomp_data, nr))};
  for (const long mark : {SYS_umask, SYS_munmap, SYS_prctl}) {
    answer(program, mark, SECCOMP_RET_TRACE);
  }
  answerMapping(program);
  for (const long number : leftOutCalls()) answer(program, number, SECCOMP_RET_ALLOW);
  program.push_back(statement(BPF_RET | BPF_K, SECCOMP_RET_TRACE));
  const sock_fprog filter = {static_cast<std::uint16_t>(program.size()), program.data()};
  return ::prctl(PR_SET_NO_NEW_PRIVS, 1, 0, 0, 0) == 0 &&
         ::prctl(PR_SET_SECCOMP, SECCOMP_MODE_FILTER, &filter) == 0;
}
