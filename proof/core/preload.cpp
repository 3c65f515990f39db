// Loaded into the command through LD_PRELOAD.
//
// It is a fence between the command and the closed library, and tells the tracer where each call of
// the library begins and ends: what the library does is not the command's doing, so no fault is put
// there, and the record of the exchanges does not depend on the calls under fault.
//
// It makes allocations fail, as it is ordered to: malloc and its relatives, and with them operator
// new, which asks malloc. Counted from the first call of main, umask(2), and not within the closed
// library.

#include <dlfcn.h>
#include <sys/prctl.h>
#include <sys/stat.h>
#include <sys/syscall.h>
#include <unistd.h>

#include <cerrno>
#include <cstdlib>

#include "core/testimony.h"
#include "rmglib/kelcom.h"

extern "C" {
// The C library's own names of what is replaced here.
void* __libc_malloc(std::size_t size);
void* __libc_calloc(std::size_t count, std::size_t size);
void* __libc_realloc(void* memory, std::size_t size);
}

namespace {

bool isInsideLibrary = false;
bool isMainReached = false;
Testimony* testimony = nullptr;

/// Marks a call of the library from beginning to end.
class Fence {
 public:
  Fence() { mark(true); }
  ~Fence() { mark(false); }
  Fence(const Fence&) = delete;
  Fence& operator=(const Fence&) = delete;

 private:
  static void mark(bool isInside) {
    isInsideLibrary = isInside;
    ::prctl(kFenceMark, isInside ? 1 : 0, 0, 0, 0);
  }
};

/// Calls the function of this name that the closed library has.
template <class... Arguments>
int callBehind(int (* /*kind*/)(Arguments...), const char* name, Arguments... arguments) {
  const Fence fence;
  void* found = ::dlsym(RTLD_NEXT, name);
  if (found == nullptr) std::abort();
  return reinterpret_cast<int (*)(Arguments...)>(found)(arguments...);
}

/// The programs that the command runs need neither the fence nor the stand-in, and start faster
/// when the loader does not look for them.
__attribute__((constructor)) void prepare() {
  ::unsetenv("LD_PRELOAD");
  ::unsetenv("LD_LIBRARY_PATH");
  testimony = openTestimony();
  if (testimony == nullptr) std::abort();
}

/// Counts one allocation. Returns whether it is to fail.
bool isRefused() {
  if (!isMainReached || isInsideLibrary) return false;
  const int number = ++testimony->allocationsMade;
  const Orders& orders = testimony->orders;
  const bool isDue = orders.failsOn ? number >= orders.firstFailing : number == orders.firstFailing;
  if (orders.firstFailing == 0 || !isDue) return false;
  ++testimony->allocationsFailed;
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

int KEL_StartComm(int mode, int* value) {
  return callBehind(&KEL_StartComm, "KEL_StartComm", mode, value);
}

int KEL_StopComm(void) { return callBehind(&KEL_StopComm, "KEL_StopComm"); }

int KEL_Communicate(unsigned int code, int reserved, int count, void* data, void* error) {
  return callBehind(&KEL_Communicate, "KEL_Communicate", code, reserved, count, data, error);
}

int KEL_GetID(int* id) { return callBehind(&KEL_GetID, "KEL_GetID", id); }

int KEL_GetStatus(int reserved, int* status) {
  return callBehind(&KEL_GetStatus, "KEL_GetStatus", reserved, status);
}
