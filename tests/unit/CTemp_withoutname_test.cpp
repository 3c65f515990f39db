#include <dlfcn.h>
#include <gtest/gtest.h>

#include <cerrno>
#include <string>
#include <vector>

#include "support/actionlog.h"
#include "support/sanitizer.h"
#include "temp/CTemp.h"

#ifndef TANEXICS_ADDRESS_SANITIZER

// Takes the place of the C library's call in this program, which is one of its own: the address
// sanitizer, for one, cannot do without the call.
extern "C" void* dlsym(void*, const char*) noexcept {
  errno = ENOSYS;
  return nullptr;
}

namespace {

TEST(CTempDirectory, NameThatCannotBeAskedFor_FailsTenTimesWithVUQ90102L) {
  const CapturedLog log;
  CTemp temp;
  std::string path = "left over";
  EXPECT_EQ(temp.getTempDir(path, "pre", "/tmp"), 0);
  EXPECT_EQ(path, "");
  EXPECT_EQ(log.texts(), std::vector<std::string>(
                             10, "VUQ90102L : failed to tempnam():Function not implemented"));
  EXPECT_EQ(temp.delTempFile(nullptr), 0);
}

}  // namespace

#endif
