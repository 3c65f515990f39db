#include "common/base/ownedpipe.h"

#include <fcntl.h>
#include <gtest/gtest.h>
#include <unistd.h>

#include <cstdio>

#include "support/descriptors.h"
#include "support/failingfdopen.h"

namespace {

bool isOpen(int fd) { return ::fcntl(fd, F_GETFD) >= 0; }

TEST(OwnedPipe, EndOfLife_ClosesBothEnds) {
  int readEnd = -1;
  int writeEnd = -1;
  {
    OwnedPipe pipe;
    ASSERT_TRUE(makePipe(pipe));
    readEnd = pipe.readEnd;
    writeEnd = pipe.writeEnd;
  }
  EXPECT_FALSE(isOpen(readEnd));
  EXPECT_FALSE(isOpen(writeEnd));
}

TEST(OwnedPipe, PipeThatWasNeverMade_ClosesNothing) {
  const int next = upcomingDescriptor(1);
  { const OwnedPipe pipe; }
  EXPECT_EQ(upcomingDescriptor(1), next);
}

TEST(OwnedPipe, WriteEnd_IsClosedOnce) {
  OwnedPipe pipe;
  ASSERT_TRUE(makePipe(pipe));
  const int writeEnd = pipe.writeEnd;
  pipe.closeWriteEnd();
  EXPECT_FALSE(isOpen(writeEnd));
  ASSERT_EQ(::dup2(STDIN_FILENO, writeEnd), writeEnd);  // another's by now
  pipe.closeWriteEnd();
  EXPECT_TRUE(isOpen(writeEnd));
  ::close(writeEnd);
}

TEST(OwnedPipe, Output_BelongsToItsStream) {
  FILE* stream = nullptr;
  {
    OwnedPipe pipe;
    ASSERT_TRUE(makePipe(pipe));
    ASSERT_EQ(::write(pipe.writeEnd, "line\n", 5), 5);
    stream = pipe.openOutput();
  }
  char line[8];
  ASSERT_NE(std::fgets(line, sizeof line, stream), nullptr);
  EXPECT_STREQ(line, "line\n");
  EXPECT_EQ(std::fgets(line, sizeof line, stream), nullptr) << "the write end is closed";
  std::fclose(stream);
}

TEST(OwnedPipe, NoStream_KeepsTheReadEnd) {
  int readEnd = -1;
  {
    OwnedPipe pipe;
    ASSERT_TRUE(makePipe(pipe));
    readEnd = pipe.readEnd;
    isFdopenFailing = true;
    EXPECT_EQ(pipe.openOutput(), nullptr);
    isFdopenFailing = false;
    EXPECT_TRUE(isOpen(readEnd));
  }
  EXPECT_FALSE(isOpen(readEnd));
}

}  // namespace
