// What the library makes of calls that fail at a moment which no file and no process can be brought
// to choose.

#include "common/common.h"

#include <dirent.h>
#include <dlfcn.h>
#include <fcntl.h>
#include <gtest/gtest.h>
#include <sys/stat.h>
#include <sys/wait.h>
#include <unistd.h>

#include <cerrno>
#include <list>
#include <string>
#include <vector>

#include "support/actionlog.h"
#include "support/childrun.h"
#include "support/scratch.h"

// --- takes the place of the C library's calls in this program ------------------------------------

/// How many entries of a directory can be read before an error; negative: all.
static int readableEntries = -1;

extern "C" dirent* readdir(DIR* stream) {
  using ReadDir = dirent* (*)(DIR*);
  static const auto real = reinterpret_cast<ReadDir>(::dlsym(RTLD_NEXT, "readdir64"));
  if (readableEntries == 0) {
    errno = EIO;
    return nullptr;
  }
  if (readableEntries > 0) --readableEntries;
  return real(stream);
}

/// A path that can be examined so many times more, and is gone then.
static std::string vanishing;
static int looksLeft = 0;

extern "C" int stat(const char* path, struct stat* status) noexcept {
  if (!vanishing.empty() && path == vanishing && --looksLeft < 0) {
    errno = ENOENT;
    return -1;
  }
  return ::fstatat(AT_FDCWD, path, status, 0);
}

/// The errors with which the next calls fail, the last one first.
static std::vector<int> refusals;

extern "C" pid_t waitpid(pid_t pid, int* status, int options) {
  if (refusals.empty()) return ::wait4(pid, status, options, nullptr);
  errno = refusals.back();
  refusals.pop_back();
  return -1;
}

namespace {

TEST(GetFileList, DirectoryThatCannotBeReadToItsEnd_GivesTheEntriesUpToThere) {
  const ScratchDir dir;
  for (const char* name : {"a", "b", "c"}) dir.write(name, "");
  const CapturedLog log(CapturedLog::Level::kTrace);
  for (int readable = 0; readable <= 5; ++readable) {  // "." and ".." are read as well
    std::list<std::string> list = {"left over"};
    std::vector<std::string> vector = {"left over"};
    readableEntries = readable;
    const int inList = getFileList(list, dir.path().c_str(), 0, 1, 0);
    readableEntries = readable;
    EXPECT_EQ(getFileList(vector, dir.path().c_str(), 0, 1, 0), inList) << readable;
    readableEntries = -1;
    EXPECT_EQ(std::vector<std::string>(list.begin(), list.end()), vector) << readable;
    EXPECT_EQ(inList, static_cast<int>(list.size())) << readable;
    EXPECT_LE(inList, readable);
    EXPECT_GE(inList, readable - 2);
  }
  EXPECT_EQ(log.bytes(), "");
}

TEST(IsExecutable, FileThatVanishesBeforeItsBitsAreLookedAt_IsNot) {
  if (!canBecomeNobody()) GTEST_SKIP() << "needs root, and another user";
  const ScratchDir dir;
  const std::string path = dir.write("f", "x");
  ASSERT_EQ(::chmod(dir.path().c_str(), 0755), 0);
  ASSERT_EQ(::chmod(path.c_str(), 0755), 0);
  const CapturedLog log(CapturedLog::Level::kTrace);
  EXPECT_EQ(isExecutable(path), 1);
  vanishing = path;
  EXPECT_EQ(isExecutable(path), 0);
  // Nobody is not asked for more than access(2) grants.
  const ChildResult child = runInChild([&] { return becomeNobody() ? isExecutable(path) : 77; });
  EXPECT_EQ(child.exitCode(), 1);
  vanishing.clear();
  EXPECT_EQ(log.bytes(), "");
}

TEST(GetTotalFileSize, DirectoryThatVanishesWhileItIsMeasured_CountsNothing) {
  const ScratchDir dir;
  dir.write("file", "1234567");
  const CapturedLog log(CapturedLog::Level::kTrace);
  vanishing = dir.path();
  looksLeft = 1;
  EXPECT_EQ(getTotalFileSize({dir.path()}, 1), 0);
  EXPECT_LT(looksLeft, 0) << "it was not looked at a second time";
  vanishing.clear();
  EXPECT_EQ(getTotalFileSize({dir.path()}, 1), 7);
  EXPECT_EQ(log.bytes(), "");
}

TEST(Waitpid, InterruptedOrRefusedForNow_IsMadeAgain) {
  const CapturedLog log;
  const pid_t pid = ::fork();
  if (pid == 0) ::_exit(3);
  refusals = {EINTR, EAGAIN, EINTR};
  int status = -1;
  EXPECT_EQ(waitpid("caller.cpp", 1445, pid, &status, 0), pid);
  EXPECT_EQ(status, 0x0300);
  EXPECT_EQ(refusals.size(), 0u);
  EXPECT_EQ(log.bytes(), "");
}

}  // namespace
