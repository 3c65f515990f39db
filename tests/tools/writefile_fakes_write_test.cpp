#include "tools/log/writefile.h"

#include <gtest/gtest.h>
#include <sys/syscall.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>

#include "support/scratch.h"

namespace {

int gInterrupted = 0;                              // so many calls are still to be interrupted
std::size_t gMost = static_cast<std::size_t>(-1);  // a call takes no more bytes than that

}  // namespace

extern "C" ssize_t write(int file, const void* bytes, std::size_t size) {
  if (gInterrupted > 0) {
    --gInterrupted;
    errno = EINTR;
    return -1;
  }
  return ::syscall(SYS_write, file, bytes, std::min(size, gMost));
}

namespace {

TEST(WriteWhole, InterruptedAndShortWrites_AreGoneOnWith) {
  const ScratchDir dir;
  gInterrupted = 2;
  gMost = 3;
  const std::string reason = writeWhole(dir / "page.html", "ten bytes.");
  gMost = static_cast<std::size_t>(-1);
  EXPECT_EQ(reason, "");
  EXPECT_EQ(gInterrupted, 0);
  EXPECT_EQ(readFile(dir / "page.html"), "ten bytes.");
}

}  // namespace
