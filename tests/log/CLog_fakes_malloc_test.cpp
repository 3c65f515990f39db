#include "log/CLog.h"

#include <gtest/gtest.h>

#include <cstddef>
#include <string>

#include "log/loglines.h"
#include "support/actionlog.h"
#include "support/sanitizer.h"

// Every allocation of this program is counted.
static std::size_t allocations = 0;

#ifdef TANEXICS_ADDRESS_SANITIZER
// As sanitizer/allocator_interface.h, which not every compiler brings along.
extern "C" int __sanitizer_install_malloc_and_free_hooks(void (*allocated)(const volatile void*,
                                                                           std::size_t),
                                                         void (*freed)(const volatile void*));
namespace {
const int hooked = __sanitizer_install_malloc_and_free_hooks(
    [](const volatile void*, std::size_t) { ++allocations; }, [](const volatile void*) {});
}
#else
extern "C" {
void* __libc_malloc(std::size_t size);
void* __libc_calloc(std::size_t count, std::size_t size);
void* __libc_realloc(void* memory, std::size_t size);
void* malloc(std::size_t size) noexcept {
  ++allocations;
  return __libc_malloc(size);
}
void* calloc(std::size_t count, std::size_t size) noexcept {
  ++allocations;
  return __libc_calloc(count, size);
}
void* realloc(void* memory, std::size_t size) noexcept {
  ++allocations;
  return __libc_realloc(memory, size);
}
}
#endif

namespace {

TEST(ActionLog, Line_AllocatesNothing) {
  const CapturedLog log(CapturedLog::Level::kTrace);
  gLog.ilog("the first line reads the time zone");
  allocations = 0;
  const std::string longText(3000, 'x');
  EXPECT_EQ(allocations, 1u) << "allocations are not counted";
  gLog.ilog("%s %d", "information", 1);
  gLog.tlog("%s %d", "trace", 2);
  gLog.ilog("%s", longText.c_str());
  traceAt("common", 1, "%s", "trace");
  infoAt("common", 2, "%s", longText.c_str());
  invalidParamAt("common", 3);
  infoNumbered("VUQ90004L", "com=%s", "text");
  EXPECT_EQ(allocations, 1u);
  EXPECT_EQ(log.texts().size(), 8u);
}

}  // namespace
