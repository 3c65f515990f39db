#include "tools/log/writefile.h"

#include <fcntl.h>
#include <gtest/gtest.h>
#include <sys/syscall.h>
#include <unistd.h>

#include <cerrno>
#include <string>

#include "support/scratch.h"

namespace {

constexpr char kOlder[] = "the older page";

std::string gPage;
bool gFails = false;
std::string gPageBefore;  // what the page held when fsync(2) was called
off_t gBytes = -1;        // so many bytes were in the file by then

}  // namespace

extern "C" int fsync(int file) {
  gPageBefore = readFile(gPage);
  gBytes = ::lseek(file, 0, SEEK_END);
  if (!gFails) return static_cast<int>(::syscall(SYS_fsync, file));
  errno = EIO;
  return -1;
}

namespace {

TEST(WriteWhole, Page_IsOnTheDiskBeforeItHasItsName) {
  const ScratchDir dir;
  gPage = dir.write("page.html", kOlder);
  EXPECT_EQ(writeWhole(gPage, "new page"), "");
  EXPECT_EQ(gPageBefore, kOlder);
  EXPECT_EQ(gBytes, 8);
  EXPECT_EQ(readFile(gPage), "new page");
}

TEST(WriteWhole, DiskThatFails_IsTheReasonAndTheOlderPageStays) {
  const ScratchDir dir;
  gPage = dir.write("page.html", kOlder);
  gFails = true;
  EXPECT_EQ(writeWhole(gPage, "new page"), "Input/output error");
  gFails = false;
  EXPECT_EQ(readFile(gPage), kOlder);
  EXPECT_EQ(namesIn(dir.path()), Texts{"page.html"});
}

}  // namespace
