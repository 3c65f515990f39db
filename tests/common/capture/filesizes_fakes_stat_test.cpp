#include "common/capture/filesizes.h"

#include <fcntl.h>
#include <gtest/gtest.h>
#include <sys/stat.h>

#include <cerrno>
#include <string>

#include "support/actionlog.h"
#include "support/scratch.h"

// --- takes the place of the C library's call in this program -------------------------------------

/// A path that can be examined so many times more, and is gone then.
static std::string vanishing;
static int looksLeft = 0;

extern "C" int stat(const char* path, struct stat* status) noexcept {
  if (!vanishing.empty() && path == vanishing && --looksLeft < 0) {
    errno = ENOENT;
    return -1;
  }
  return ::fstatat(AT_FDCWD, path, status, 0);
}

namespace {

TEST(GetTotalFileSize, DirectoryThatVanishesWhileItIsMeasured_CountsNothing) {
  const ScratchDir dir;
  dir.write("file", "1234567");
  const CapturedLog log(CapturedLog::Level::kTrace);
  vanishing = dir.path();
  looksLeft = 1;
  EXPECT_EQ(getTotalFileSize({dir.path()}, 1), 0);
  EXPECT_LT(looksLeft, 0) << "it was not looked at a second time";
  vanishing.clear();
  EXPECT_EQ(getTotalFileSize({dir.path()}, 1), 7);
  EXPECT_EQ(log.bytes(), "");
}

}  // namespace
