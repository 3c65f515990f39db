#include "core/tracee.h"

#include <dirent.h>
#include <sys/ptrace.h>
#include <sys/uio.h>
#include <unistd.h>

#include <array>
#include <climits>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <memory>

namespace {

constexpr std::size_t kPageBytes = 4096;

std::string procPath(pid_t pid, const std::string& rest) {
  return "/proc/" + std::to_string(pid) + "/" + rest;
}

unsigned long long* argumentPlace(user_regs_struct& registers, int place) {
  const std::array<unsigned long long*, 6> places = {&registers.rdi, &registers.rsi, &registers.rdx,
                                                     &registers.r10, &registers.r8,  &registers.r9};
  return places.at(static_cast<std::size_t>(place));
}

}  // namespace

CallRegisters::CallRegisters(pid_t pid) : m_pid(pid) {
  ::ptrace(PTRACE_GETREGS, pid, nullptr, &m_registers);
}

unsigned long CallRegisters::argument(int place) const {
  user_regs_struct registers = m_registers;
  return *argumentPlace(registers, place);
}

void CallRegisters::skip(long result) {
  m_registers.orig_rax = static_cast<unsigned long long>(-1);
  changeResult(result);
}

void CallRegisters::changeArgument(int place, unsigned long value) {
  *argumentPlace(m_registers, place) = value;
  store();
}

void CallRegisters::changeResult(long result) {
  m_registers.rax = static_cast<unsigned long long>(result);
  store();
}

void CallRegisters::store() const {
  user_regs_struct registers = m_registers;
  ::ptrace(PTRACE_SETREGS, m_pid, nullptr, &registers);
}

std::string readBytes(pid_t pid, unsigned long address, std::size_t size) {
  std::string bytes(size, '\0');
  const iovec here = {bytes.data(), size};
  // NOLINTNEXTLINE(performance-no-int-to-ptr): an address in another process
  const iovec there = {reinterpret_cast<void*>(address), size};
  const ssize_t count = ::process_vm_readv(pid, &here, 1, &there, 1, 0);
  bytes.resize(count < 0 ? 0 : static_cast<std::size_t>(count));
  return bytes;
}

std::string readText(pid_t pid, unsigned long address) {
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

unsigned long readWord(pid_t pid, unsigned long address) {
  const std::string bytes = readBytes(pid, address, sizeof(unsigned long));
  unsigned long word = 0;
  if (bytes.size() == sizeof word) std::memcpy(&word, bytes.data(), sizeof word);
  return word;
}

std::string descriptorTarget(pid_t pid, int descriptor) {
  std::array<char, PATH_MAX> target;
  const std::string link = procPath(pid, "fd/" + std::to_string(descriptor));
  const ssize_t length = ::readlink(link.c_str(), target.data(), target.size());
  return length < 0 ? "" : std::string(target.data(), static_cast<std::size_t>(length));
}

std::string extraDescriptors(pid_t pid) {
  const std::unique_ptr<DIR, int (*)(DIR*)> folder(::opendir(procPath(pid, "fd").c_str()),
                                                   ::closedir);
  std::string extra;
  if (!folder) return extra;
  while (const dirent* entry = ::readdir(folder.get())) {
    const int descriptor = entry->d_name[0] == '.' ? 0 : std::atoi(entry->d_name);  // NOLINT
    if (descriptor <= STDERR_FILENO) continue;
    extra += (extra.empty() ? "" : " ") + std::to_string(descriptor) + " -> " +
             descriptorTarget(pid, descriptor);
  }
  return extra;
}

bool isRunning(pid_t pid) {
  const std::unique_ptr<FILE, int (*)(FILE*)> file(std::fopen(procPath(pid, "stat").c_str(), "re"),
                                                   std::fclose);
  if (!file) return false;
  char state = 'Z';
  // NOLINTNEXTLINE(cert-err34-c): the one conversion that matters is a character
  if (std::fscanf(file.get(), "%*d (%*[^)]) %c", &state) != 1) return false;
  return state != 'Z' && state != 'X';
}
