#include "common/base/descriptor.h"

#include <fcntl.h>
#include <gtest/gtest.h>

#include <cerrno>
#include <utility>

namespace {

int openNull() { return ::open("/dev/null", O_RDONLY | O_CLOEXEC); }

bool isOpen(int number) { return ::fcntl(number, F_GETFD) >= 0; }

TEST(Descriptor, EndOfLife_ClosesAndKeepsTheReasonOfAnEarlierFailure) {
  const int number = openNull();
  {
    const Descriptor file(number);
    EXPECT_EQ(file.get(), number);
    EXPECT_TRUE(file.isOpen());
    ASSERT_TRUE(isOpen(number));
    errno = EXDEV;
  }
  EXPECT_EQ(errno, EXDEV);
  EXPECT_FALSE(isOpen(number));
}

TEST(Descriptor, NegativeNumber_ClosesNothingAndLeavesErrno) {
  errno = EXDEV;
  { const Descriptor none; }
  EXPECT_EQ(errno, EXDEV) << "close(2) was called";
  EXPECT_FALSE(Descriptor().isOpen());
  Descriptor lowest(0);
  EXPECT_TRUE(lowest.isOpen());
  EXPECT_EQ(lowest.release(), 0);
  EXPECT_FALSE(lowest.isOpen());
}

TEST(Descriptor, Closed_IsNotClosedAgain) {
  const int number = openNull();
  Descriptor file(number);
  file.close();
  EXPECT_FALSE(file.isOpen());
  EXPECT_FALSE(isOpen(number));
  ASSERT_EQ(::dup2(STDIN_FILENO, number), number);  // another's by now
  file.close();
  EXPECT_TRUE(isOpen(number));
  ::close(number);
}

TEST(Descriptor, Moved_HandsTheNumberOver) {
  const int number = openNull();
  const int replaced = openNull();
  {
    Descriptor first(number);
    Descriptor second(std::move(first));
    EXPECT_EQ(second.get(), number);
    EXPECT_FALSE(first.isOpen());  // NOLINT(bugprone-use-after-move) promised
    Descriptor third(replaced);
    third = std::move(second);
    EXPECT_EQ(third.get(), number);
    EXPECT_TRUE(isOpen(number));
  }
  EXPECT_FALSE(isOpen(number));
  EXPECT_FALSE(isOpen(replaced));
}

}  // namespace
