#include "loopback/outbox.h"

#include <gtest/gtest.h>
#include <sys/resource.h>
#include <sys/stat.h>
#include <unistd.h>

#include <csignal>
#include <filesystem>
#include <string>
#include <vector>

#include "loopback/filecopy.h"
#include "loopback/openhigh.h"
#include "support/childrun.h"
#include "support/scratch.h"

namespace {

using Names = std::vector<std::string>;

class OutboxTest : public ::testing::Test {
 protected:
  std::string copyOf(const std::string& path) {
    return folder + "/" + outbox.store(path.c_str()).copy;
  }

  ScratchDir scratch;
  const std::string folder = scratch / "a/b/out";
  Outbox outbox{folder};
};

TEST_F(OutboxTest, Lines_AreAppended) {
  EXPECT_EQ(outbox.append("one\n"), "");
  Outbox second(folder);
  EXPECT_EQ(second.append("two\n"), "");
  EXPECT_EQ(outbox.append("three\n"), "");
  EXPECT_EQ(readFile(folder + "/exchanges.jsonl"), "one\ntwo\nthree\n");
}

TEST_F(OutboxTest, Files_AreForTheirOwnerWhateverTheMask) {
  const std::string file = scratch.write("f", "x");
  for (const mode_t mask : {0U, 022U, 0777U}) {
    const std::string box = scratch / "masked" + std::to_string(mask);
    const mode_t before = ::umask(mask);
    Outbox masked(box + "/");
    masked.store(file.c_str());
    ::umask(before);
    for (const char* name : {"", "/items", "/exchanges.jsonl", "/items/0001-f"}) {
      struct stat status = {};
      ASSERT_EQ(::stat((box + name).c_str(), &status), 0);
      EXPECT_EQ(status.st_mode & 0777U, S_ISDIR(status.st_mode) ? 0700U : 0600U) << mask << name;
    }
  }
}

TEST_F(OutboxTest, OnlyRegularFiles_AreCopiedUnderNumbersWithoutGaps) {
  const std::string one = scratch.write("one", "1");
  const std::string three = scratch.write("three", "3");
  const std::string longName = scratch.write(std::string(255, 'n'), "long");
  std::filesystem::create_symlink(one, scratch / "link");
  std::filesystem::create_symlink("nowhere", scratch / "dangling");
  std::filesystem::create_symlink("loop", scratch / "loop");
  ASSERT_EQ(::mkfifo((scratch / "fifo").c_str(), 0600), 0);
  ASSERT_EQ(::mknod((scratch / "socket").c_str(), S_IFSOCK | 0600, 0), 0);
  const struct {
    std::string path;
    std::string copy;
    std::string error;
  } rows[] = {
      {one, "items/0001-one", ""},
      {"/nonexistent/two", "", "No such file or directory"},
      {three, "items/0002-three", ""},
      {three, "items/0003-three", ""},
      {longName, "items/0004-" + std::string(250, 'n'), ""},
      {"", "", "No such file or directory"},
      {scratch / "dangling", "", "No such file or directory"},
      {scratch / "loop", "", "Too many levels of symbolic links"},
      {"/dev/null/x", "", "Not a directory"},
      {"/" + std::string(5000, 'x'), "", "File name too long"},
      {scratch.path(), "", "not a regular file"},
      {scratch.path() + "/", "", "not a regular file"},
      {scratch / "fifo", "", "not a regular file"},
      // It is never opened: that would fail with a reason of its own.
      {scratch / "socket", "", "not a regular file"},
      {"/dev/null", "", "not a regular file"},
      {scratch / "link", "items/0005-link", ""},
  };
  Names copies;
  for (const auto& [path, copy, error] : rows) {
    const StoredItem item = outbox.store(path.c_str());
    EXPECT_EQ(item.copy, copy) << path;
    EXPECT_EQ(item.error, error) << path;
    struct stat status = {};
    EXPECT_EQ(isMissingFile(item.error), ::stat(path.c_str(), &status) != 0) << path;
    if (copy.empty()) continue;
    EXPECT_EQ(readFile(folder + "/" + copy), readFile(path));
    copies.push_back(std::filesystem::path(copy).filename());
  }
  EXPECT_EQ(namesIn(folder + "/items"), copies);
}

TEST_F(OutboxTest, FileThatMayNotBeRead_IsNotMissing) {
  if (!canBecomeNobody()) GTEST_SKIP() << "needs another user";
  const std::string file = scratch.write("secret", "x");
  std::filesystem::permissions(scratch.path(), std::filesystem::perms(0755));
  ASSERT_EQ(::chmod(file.c_str(), 0), 0);
  const ChildResult child = runInChild([&] {
    if (!becomeNobody()) return 2;
    const StoredItem item = outbox.store(file.c_str());
    const bool isTold = item.error == "cannot be opened: Permission denied";
    return isTold && !isMissingFile(item.error) ? 0 : 1;
  });
  EXPECT_EQ(child.exitCode(), 0);
}

TEST_F(OutboxTest, Numbers_GoOnFromWhatIsThere) {
  for (const char* name : {"9998-old", "not-a-number", "99999x-y", "99999"}) {
    scratch.write(std::string("a/b/out/items/") + name, "");
  }
  Outbox next(folder);
  const std::string file = scratch.write("f", "x");
  EXPECT_EQ(next.store(file.c_str()).copy, "items/9999-f");
  EXPECT_EQ(next.store(file.c_str()).copy, "items/10000-f");
}

TEST_F(OutboxTest, CopyOfAnotherProcess_IsNeverOverwritten) {
  Outbox other(folder);
  const std::string file = scratch.write("f", "other");
  EXPECT_EQ(other.store(file.c_str()).copy, "items/0001-f");
  scratch.write("f", "own");
  EXPECT_EQ(outbox.store(file.c_str()).copy, "items/0002-f");
  EXPECT_EQ(readFile(folder + "/items/0001-f"), "other");
}

/// Lets no file grow beyond `bytes`, as a full disk would. Returns whether that worked.
bool limitFileSize(rlim_t bytes) {
  const rlimit limit = {bytes, bytes};
  ::signal(SIGXFSZ, SIG_IGN);
  return ::setrlimit(RLIMIT_FSIZE, &limit) == 0;
}

TEST_F(OutboxTest, FailedCopy_IsRemovedAgain) {
  const std::string file = scratch.write("big", std::string(100000, 'x'));
  const ChildResult child = runInChild([&] {
    if (!limitFileSize(50000)) return 2;
    const std::string error = outbox.store(file.c_str()).error;
    if (error != "the copy failed: write: File too large" || isMissingFile(error)) return 1;
    return outbox.store(scratch.write("small", "x").c_str()).copy == "items/0001-small" ? 0 : 3;
  });
  EXPECT_EQ(child.status, 0);
  EXPECT_EQ(namesIn(folder + "/items"), Names({"0001-small"}));
}

TEST_F(OutboxTest, LineThatDoesNotFit_IsReported) {
  const ChildResult child = runInChild([&] {
    if (!limitFileSize(4)) return 2;
    if (outbox.append("123456\n") != "write: only 4 of 7 bytes") return 3;
    return outbox.append("x\n") == "write: File too large" ? 0 : 1;
  });
  EXPECT_EQ(child.status, 0);
}

// --- the copies ----------------------------------------------------------------------------------

TEST_F(OutboxTest, File_IsCopiedWhateverItsSize) {
  for (const std::size_t size : {0U, 1U, 65535U, 65536U, 65537U, 200001U}) {
    std::string content(size, '\0');
    for (std::size_t at = 0; at < size; ++at) content[at] = static_cast<char>(at * 7 + at / 251);
    EXPECT_TRUE(readFile(copyOf(scratch.write("source", content))) == content) << size;
  }
}

TEST_F(OutboxTest, Holes_StayHoles) {
  constexpr off_t kGiB = off_t{1} << 30;
  const std::string path = scratch.write("source", "head");
  const Descriptor source = openHigh(path.c_str(), O_RDWR);
  ASSERT_EQ(::ftruncate(source.get(), 10 * kGiB), 0);
  ASSERT_EQ(::pwrite(source.get(), "middle", 6, 5 * kGiB), 6);

  const Descriptor copy = openHigh(copyOf(path).c_str(), O_RDONLY);

  struct stat status = {};
  ASSERT_EQ(::fstat(copy.get(), &status), 0);
  EXPECT_EQ(status.st_size, 10 * kGiB);
  EXPECT_LT(status.st_blocks * 512, 1024 * 1024);
  char piece[8] = {};
  ASSERT_EQ(::pread(copy.get(), piece, 6, 0), 6);
  EXPECT_EQ(std::string(piece, 6), std::string("head\0\0", 6));
  ASSERT_EQ(::pread(copy.get(), piece, 8, 5 * kGiB - 1), 8);
  EXPECT_EQ(std::string(piece, 8), std::string("\0middle\0", 8));
}

TEST_F(OutboxTest, FilesThatTheKernelMakesUp_AreReadToTheirEnd) {
  // The size of the one is 0, that of the other is not its length.
  for (const char* path : {"/proc/version", "/sys/devices/system/cpu/online"}) {
    if (::access(path, R_OK) != 0) GTEST_SKIP() << path << " is not there: /sys is not mounted";
    const std::string copied = readFile(copyOf(path));
    EXPECT_NE(copied, "");
    EXPECT_EQ(copied, readFile(path));
  }
}

TEST(CopyContents, Failure_IsNamedWithItsOperation) {
  const Descriptor unreadable = openHigh("/dev/null", O_WRONLY);
  EXPECT_EQ(copyContents(-1, -1), "stat: Bad file descriptor");
  EXPECT_EQ(copyContents(unreadable.get(), -1), "read: Bad file descriptor");
}

}  // namespace
