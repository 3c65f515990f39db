#include <cstdlib>

#include "fuzz/target.h"
#include "log/CLog.h"

extern "C" int LLVMFuzzerInitialize(int* /*argc*/, char*** /*argv*/) {
  ::setenv("TANEX_LOG", "/dev/null", 1);
  ::unsetenv("TANEX_LOG_LEVEL");
  return gLog.init("fuzz", nullptr);
}
