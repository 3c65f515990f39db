#include "common/base/stdfds.h"

#include <fcntl.h>
#include <gtest/gtest.h>
#include <sys/stat.h>
#include <unistd.h>

#include "support/childrun.h"
#include "support/descriptors.h"
#include "support/scratch.h"

namespace {

bool isNullDevice(int fd) {
  struct stat status = {};
  struct stat null = {};
  return ::fstat(fd, &status) == 0 && ::stat("/dev/null", &null) == 0 && S_ISCHR(status.st_mode) &&
         status.st_rdev == null.st_rdev;
}

/// Closes the descriptors that the bits of `mask` name, in a child whose input is /dev/null, and
/// gives the bits of those that are /dev/null afterwards, also for the commands that are run.
int occupiedAfterClosing(int mask) {
  const ChildResult child = runInChild([mask] {
    const int upcoming = upcomingDescriptor(1);
    closeStandardDescriptors(mask);
    occupyStandardDescriptors();
    int occupied = 0;
    for (int fd = 0; fd < 3; ++fd) {
      if (isNullDevice(fd) && ::fcntl(fd, F_GETFD) == 0) occupied |= 1 << fd;
    }
    return upcomingDescriptor(1) == upcoming ? occupied : 200;
  });
  return child.exitCode();
}

TEST(OccupyStandardDescriptors, OpensExactlyTheClosedOnes) {
  for (int mask = 0; mask < 8; ++mask) {
    EXPECT_EQ(occupiedAfterClosing(mask), mask | 1) << "closed: " << mask;
  }
}

TEST(OccupyStandardDescriptors, NoNullDevice_LeavesThemClosed) {
  if (::getuid() != 0) GTEST_SKIP() << "needs root to hide the device";
  const ScratchDir empty;
  const ChildResult child = runInChild([&] {
    if (::chroot(empty.path().c_str()) != 0 || ::chdir("/") != 0) return 77;
    closeStandardDescriptors(7);
    occupyStandardDescriptors();
    return ::open("/", O_RDONLY | O_CLOEXEC) == STDIN_FILENO ? 0 : 1;
  });
  EXPECT_EQ(child.exitCode(), 0);
}

}  // namespace
