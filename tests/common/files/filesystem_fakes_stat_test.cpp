#include "common/files/filesystem.h"

#include <fcntl.h>
#include <gtest/gtest.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cerrno>
#include <string>

#include "support/actionlog.h"
#include "support/childrun.h"
#include "support/scratch.h"

/// A path that cannot be examined.
static std::string hidden;

extern "C" int stat(const char* path, struct stat* status) noexcept {
  if (!hidden.empty() && path == hidden) {
    errno = ENOENT;
    return -1;
  }
  return ::fstatat(AT_FDCWD, path, status, 0);
}

namespace {

TEST(IsExecutable, FileThatVanishesBeforeItsBitsAreLookedAt_IsNot) {
  if (!canBecomeNobody()) GTEST_SKIP() << "needs root, and another user";
  const ScratchDir dir;
  const std::string path = dir.write("f", "x");
  ASSERT_EQ(::chmod(dir.path().c_str(), 0755), 0);
  ASSERT_EQ(::chmod(path.c_str(), 0755), 0);
  const CapturedLog log(CapturedLog::Level::kTrace);
  EXPECT_EQ(isExecutable(path), 1);
  hidden = path;
  EXPECT_EQ(isAccessible(path.c_str(), X_OK), 1);
  EXPECT_EQ(isExecutable(path), 0);
  // Nobody is not asked for more than access(2) grants.
  const ChildResult child = runInChild([&] { return becomeNobody() ? isExecutable(path) : 77; });
  EXPECT_EQ(child.exitCode(), 1);
  hidden.clear();
  EXPECT_EQ(log.bytes(), "");
}

}  // namespace
