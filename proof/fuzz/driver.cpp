// The two functions by which libFuzzer, and replay.cpp in its place, drive a target.

#include "fuzz/target.h"
#include "log/CLog.h"

/// Called once before the first input.
extern "C" int LLVMFuzzerInitialize(int* /*argc*/, char*** /*argv*/) {
  ::setenv("TANEX_LOG", "/dev/null", 1);
  ::unsetenv("TANEX_LOG_LEVEL");
  return gLog.init("fuzz", nullptr);
}

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  tryInput(Input({reinterpret_cast<const char*>(data), size}));
  return 0;
}
