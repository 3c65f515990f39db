#include "loopback/openhigh.h"

#include <gtest/gtest.h>

#include <cerrno>

#include "support/descriptors.h"
#include "support/scratch.h"

namespace {

TEST(OpenHigh, File_HasAHighNumberClosedOnExecAndNoOther) {
  const int lowest = upcomingDescriptor(1);
  const Descriptor null = openHigh("/dev/null", O_RDONLY);
  EXPECT_GE(null.get(), kLowestDescriptor);
  EXPECT_EQ(::fcntl(null.get(), F_GETFD), FD_CLOEXEC);
  EXPECT_EQ(upcomingDescriptor(1), lowest);
}

TEST(OpenHigh, MissingFile_IsAnOwnerOfNothingWithTheReason) {
  const Descriptor none = openHigh("/nonexistent/file", O_RDONLY);
  EXPECT_EQ(errno, ENOENT);
  EXPECT_FALSE(none.isOpen());
}

TEST(OpenHigh, RelativePath_IsLookedUpInTheFolder) {
  const ScratchDir scratch;
  scratch.write("name", "x");
  const Descriptor folder = openHigh(scratch.path().c_str(), O_PATH | O_DIRECTORY);
  EXPECT_TRUE(openHigh("name", O_RDONLY, 0, folder.get()).isOpen());
}

}  // namespace
