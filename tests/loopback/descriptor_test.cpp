#include "loopback/descriptor.h"

#include <gtest/gtest.h>
#include <unistd.h>

#include <cerrno>
#include <utility>

#include "support/scratch.h"

namespace {

bool isOpen(int number) { return ::fcntl(number, F_GETFD) >= 0; }

TEST(Descriptor, ClosesAtTheEndAndKeepsTheReasonOfAnEarlierFailure) {
  int number = -1;
  {
    const Descriptor null = openHigh("/dev/null", O_RDONLY);
    number = null.get();
    EXPECT_TRUE(isOpen(number));
    errno = EXDEV;
  }
  EXPECT_EQ(EXDEV, errno);
  EXPECT_FALSE(isOpen(number));
}

TEST(Descriptor, MovingHandsTheDescriptorOver) {
  Descriptor first = openHigh("/dev/null", O_RDONLY);
  const int number = first.get();
  Descriptor second(std::move(first));
  EXPECT_EQ(number, second.get());
  EXPECT_FALSE(
      first.isOpen());  // NOLINT(bugprone-use-after-move,clang-analyzer-cplusplus.Move) promised
  Descriptor third;
  third = std::move(second);
  EXPECT_EQ(number, third.get());
  EXPECT_FALSE(
      second.isOpen());  // NOLINT(bugprone-use-after-move,clang-analyzer-cplusplus.Move) promised
  EXPECT_TRUE(isOpen(number));
}

TEST(OpenHigh, NumberIsHighAndClosedOnExec) {
  const Descriptor null = openHigh("/dev/null", O_RDONLY);
  EXPECT_GE(null.get(), kLowestDescriptor);
  EXPECT_EQ(FD_CLOEXEC, ::fcntl(null.get(), F_GETFD));
}

TEST(OpenHigh, LeavesNoOtherDescriptorOpen) {
  const int lowest = ::dup(STDIN_FILENO);
  ::close(lowest);
  const Descriptor null = openHigh("/dev/null", O_RDONLY);
  EXPECT_FALSE(isOpen(lowest));
}

TEST(OpenHigh, MissingFile) {
  const Descriptor none = openHigh("/nonexistent/file", O_RDONLY);
  EXPECT_EQ(ENOENT, errno);
  EXPECT_FALSE(none.isOpen());
}

TEST(OpenHigh, RelativeToAFolder) {
  const ScratchDir scratch;
  scratch.write("name", "x");
  const Descriptor folder = openHigh(scratch.path().c_str(), O_PATH | O_DIRECTORY);
  EXPECT_TRUE(openHigh("name", O_RDONLY, 0, folder.get()).isOpen());
}

}  // namespace
