#include "loopback/filecopy.h"

#include <fcntl.h>
#include <gtest/gtest.h>
#include <sys/stat.h>
#include <unistd.h>

#include <string>

#include "loopback/openhigh.h"
#include "support/scratch.h"

namespace {

constexpr off_t kGiB = off_t{1} << 30;

class CopyContents : public ::testing::Test {
 protected:
  std::string copy(const std::string& from) {
    const Descriptor source = openHigh(from.c_str(), O_RDONLY);
    const Descriptor target = openHigh(targetPath.c_str(), O_WRONLY | O_CREAT | O_TRUNC, 0600);
    return copyContents(source.get(), target.get());
  }

  ScratchDir scratch;
  const std::string targetPath = scratch / "target";
};

TEST_F(CopyContents, File_IsCopiedWhateverItsSize) {
  for (const std::size_t size : {0U, 1U, 65535U, 65536U, 65537U, 200001U}) {
    std::string content(size, '\0');
    for (std::size_t at = 0; at < size; ++at) content[at] = static_cast<char>(at * 7 + at / 251);
    EXPECT_EQ(copy(scratch.write("source", content)), "");
    EXPECT_TRUE(readFile(targetPath) == content) << size;
  }
}

TEST_F(CopyContents, Holes_StayHoles) {
  const std::string path = scratch.write("source", "head");
  const Descriptor source = openHigh(path.c_str(), O_RDWR);
  ASSERT_EQ(::ftruncate(source.get(), 10 * kGiB), 0);
  ASSERT_EQ(::pwrite(source.get(), "middle", 6, 5 * kGiB), 6);

  EXPECT_EQ(copy(path), "");

  struct stat status = {};
  ASSERT_EQ(::stat(targetPath.c_str(), &status), 0);
  EXPECT_EQ(status.st_size, 10 * kGiB);
  EXPECT_LT(status.st_blocks * 512, 1024 * 1024);
  const Descriptor target = openHigh(targetPath.c_str(), O_RDONLY);
  char piece[8] = {};
  ASSERT_EQ(::pread(target.get(), piece, 6, 0), 6);
  EXPECT_EQ(std::string(piece, 6), std::string("head\0\0", 6));
  ASSERT_EQ(::pread(target.get(), piece, 8, 5 * kGiB - 1), 8);
  EXPECT_EQ(std::string(piece, 8), std::string("\0middle\0", 8));
}

TEST_F(CopyContents, FilesThatTheKernelMakesUp_AreReadToTheirEnd) {
  // The size of the one is 0, that of the other is not its length.
  for (const char* path : {"/proc/version", "/sys/devices/system/cpu/online"}) {
    EXPECT_EQ(copy(path), "");
    EXPECT_NE(readFile(targetPath), "");
    EXPECT_EQ(readFile(targetPath), readFile(path));
  }
}

TEST_F(CopyContents, Failure_IsNamedWithItsOperation) {
  const std::string path = scratch.write("source", "x");
  const Descriptor source = openHigh(path.c_str(), O_RDONLY);
  const Descriptor unreadable = openHigh(path.c_str(), O_WRONLY);
  const Descriptor full = openHigh("/dev/full", O_WRONLY);
  EXPECT_EQ(copyContents(-1, -1), "stat: Bad file descriptor");
  EXPECT_EQ(copyContents(unreadable.get(), full.get()), "read: Bad file descriptor");
  EXPECT_EQ(copyContents(source.get(), full.get()), "write: No space left on device");
}

}  // namespace
