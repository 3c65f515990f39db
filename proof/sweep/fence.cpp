// Stands between the command and the closed library, through LD_PRELOAD, and tells the tracer where
// each call of the library begins and ends: what the library does is not the command's doing, so no
// fault is put there, and the record of the exchanges does not depend on the calls under fault.

#include "sweep/fence.h"

#include <dlfcn.h>
#include <sys/prctl.h>

#include <cstdlib>

#include "rmglib/kelcom.h"
#include "sweep/filter.h"

bool isInsideLibrary = false;

namespace {

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

template <class Function>
Function* behind(Function* /*kind*/, const char* name) {
  void* found = ::dlsym(RTLD_NEXT, name);
  if (found == nullptr) std::abort();
  return reinterpret_cast<Function*>(found);
}

/// The programs that the command runs need neither the fence nor the stand-in, and start faster
/// when the loader does not look for them.
__attribute__((constructor)) void forgetLoaderVariables() {
  ::unsetenv("LD_PRELOAD");
  ::unsetenv("LD_LIBRARY_PATH");
}

}  // namespace

int KEL_StartComm(int mode, int* value) {
  const Fence fence;
  static const auto next = behind(&KEL_StartComm, "KEL_StartComm");
  return next(mode, value);
}

int KEL_StopComm(void) {
  const Fence fence;
  static const auto next = behind(&KEL_StopComm, "KEL_StopComm");
  return next();
}

int KEL_Communicate(unsigned int code, int reserved, int count, void* data, void* error) {
  const Fence fence;
  static const auto next = behind(&KEL_Communicate, "KEL_Communicate");
  return next(code, reserved, count, data, error);
}

int KEL_GetID(int* id) {
  const Fence fence;
  static const auto next = behind(&KEL_GetID, "KEL_GetID");
  return next(id);
}

int KEL_GetStatus(int reserved, int* status) {
  const Fence fence;
  static const auto next = behind(&KEL_GetStatus, "KEL_GetStatus");
  return next(reserved, status);
}
