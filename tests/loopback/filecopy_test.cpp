#include "loopback/filecopy.h"

#include <fcntl.h>
#include <gtest/gtest.h>
#include <sys/stat.h>
#include <unistd.h>

#include <string>

#include "loopback/descriptor.h"
#include "support/scratch.h"

namespace {

constexpr off_t kGiB = off_t{1} << 30;

class FileCopy : public ::testing::Test {
 protected:
  std::string copy(const std::string& from) {
    const Descriptor source = openHigh(from.c_str(), O_RDONLY);
    const Descriptor target = openHigh(targetPath.c_str(), O_WRONLY | O_CREAT | O_TRUNC, 0600);
    return copyContents(source.get(), target.get());
  }

  struct stat targetStatus() const {
    struct stat status = {};
    EXPECT_EQ(0, ::stat(targetPath.c_str(), &status));
    return status;
  }

  ScratchDir scratch;
  const std::string targetPath = scratch / "target";
};

TEST_F(FileCopy, EmptyFile) {
  EXPECT_EQ("", copy(scratch.write("source", "")));
  EXPECT_EQ("", readFile(targetPath));
}

TEST_F(FileCopy, ContentsAroundThePieceSize) {
  for (const std::size_t size : {1U, 65535U, 65536U, 65537U, 200001U}) {
    std::string content(size, '\0');
    for (std::size_t at = 0; at < size; ++at) content[at] = static_cast<char>(at * 7 + at / 251);
    EXPECT_EQ("", copy(scratch.write("source", content)));
    EXPECT_TRUE(content == readFile(targetPath)) << size;
  }
}

TEST_F(FileCopy, HolesStayHoles) {
  const std::string path = scratch.write("source", "head");
  const Descriptor source = openHigh(path.c_str(), O_RDWR);
  ASSERT_EQ(0, ::ftruncate(source.get(), 10 * kGiB));
  ASSERT_EQ(6, ::pwrite(source.get(), "middle", 6, 5 * kGiB));

  EXPECT_EQ("", copy(path));

  EXPECT_EQ(10 * kGiB, targetStatus().st_size);
  EXPECT_LT(targetStatus().st_blocks * 512, 1024 * 1024);
  const Descriptor target = openHigh(targetPath.c_str(), O_RDONLY);
  char piece[8] = {};
  ASSERT_EQ(6, ::pread(target.get(), piece, 6, 0));
  EXPECT_EQ(std::string("head\0\0", 6), std::string(piece, 6));
  ASSERT_EQ(8, ::pread(target.get(), piece, 8, 5 * kGiB - 1));
  EXPECT_EQ(std::string("\0middle\0", 8), std::string(piece, 8));
}

TEST_F(FileCopy, FilesThatTheKernelMakesUp) {
  EXPECT_EQ("", copy("/proc/version"));
  EXPECT_NE("", readFile("/proc/version"));
  EXPECT_EQ(readFile("/proc/version"), readFile(targetPath));
  // One with a size that is not its length.
  EXPECT_EQ("", copy("/sys/devices/system/cpu/online"));
  EXPECT_EQ(readFile("/sys/devices/system/cpu/online"), readFile(targetPath));
}

TEST_F(FileCopy, FailureOfReading) {
  const Descriptor source = openHigh(scratch.write("source", "x").c_str(), O_WRONLY);
  const Descriptor target = openHigh(targetPath.c_str(), O_WRONLY | O_CREAT, 0600);
  EXPECT_EQ("read: Bad file descriptor", copyContents(source.get(), target.get()));
}

TEST_F(FileCopy, FailureOfWriting) {
  const Descriptor source = openHigh(scratch.write("source", "x").c_str(), O_RDONLY);
  const Descriptor full = openHigh("/dev/full", O_WRONLY);
  EXPECT_EQ("write: No space left on device", copyContents(source.get(), full.get()));
}

TEST_F(FileCopy, FailureOfLooking) { EXPECT_EQ("stat: Bad file descriptor", copyContents(-1, -1)); }

}  // namespace
