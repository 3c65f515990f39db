// Makes allocations of the command fail: malloc and its relatives, and with them operator new,
// which asks malloc. Counted from the first call of main, umask(2), and not within the closed
// library. Loaded through LD_PRELOAD, with the fence in the same file.
//
//   FAILING_ALLOCATION        "17" for the 17th alone, "17-" for all from there on, "0" for none
//   FAILING_ALLOCATION_COUNT  a file of two words: how many there were, how many failed

#include <fcntl.h>
#include <sys/mman.h>
#include <sys/stat.h>
#include <sys/syscall.h>
#include <unistd.h>

#include <cerrno>
#include <cstdlib>
#include <cstring>

#include "sweep/fence.h"

extern "C" {
// The C library's own names of what is replaced here.
void* __libc_malloc(std::size_t size);
void* __libc_calloc(std::size_t count, std::size_t size);
void* __libc_realloc(void* memory, std::size_t size);
}

namespace {

/// Shared with the file, so that the counts outlive any end of the process.
struct Counts {
  int made;
  int failed;
};
Counts* counts = nullptr;

int firstFailing = 0;
bool failsOn = false;
bool isMainReached = false;

__attribute__((constructor)) void readOrders() {
  const char* which = std::getenv("FAILING_ALLOCATION");
  const char* path = std::getenv("FAILING_ALLOCATION_COUNT");
  if (which == nullptr || path == nullptr) std::abort();
  firstFailing = static_cast<int>(std::strtol(which, nullptr, 10));
  failsOn = std::strchr(which, '-') != nullptr;
  const int file = ::open(path, O_RDWR | O_CREAT | O_TRUNC | O_CLOEXEC, 0600);
  if (file < 0 || ::ftruncate(file, sizeof(Counts)) != 0) std::abort();
  void* memory = ::mmap(nullptr, sizeof(Counts), PROT_READ | PROT_WRITE, MAP_SHARED, file, 0);
  if (memory == MAP_FAILED) std::abort();
  ::close(file);
  counts = static_cast<Counts*>(memory);
}

/// Counts one allocation. Returns whether it is to fail.
bool isRefused() {
  if (!isMainReached || isInsideLibrary) return false;
  const int number = ++counts->made;
  const bool isDue = failsOn ? number >= firstFailing : number == firstFailing;
  if (firstFailing == 0 || !isDue) return false;
  ++counts->failed;
  errno = ENOMEM;
  return true;
}

}  // namespace

extern "C" {

mode_t umask(mode_t mask) {
  isMainReached = true;
  return static_cast<mode_t>(::syscall(SYS_umask, mask));
}

void* malloc(std::size_t size) { return isRefused() ? nullptr : __libc_malloc(size); }

void* calloc(std::size_t count, std::size_t size) {
  return isRefused() ? nullptr : __libc_calloc(count, size);
}

void* realloc(void* memory, std::size_t size) {
  return isRefused() ? nullptr : __libc_realloc(memory, size);
}
}
