#include "common/files/filesystem.h"

#include <gtest/gtest.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cstdio>
#include <filesystem>
#include <functional>
#include <string>
#include <vector>

#include "support/actionlog.h"
#include "support/childrun.h"
#include "support/logtexts.h"
#include "support/privateroot.h"
#include "support/scratch.h"

namespace {

namespace fs = std::filesystem;
using Texts = std::vector<std::string>;

// --- isFile and isDir ----------------------------------------------------------------------------

TEST(IsFileAndIsDir, EveryKind_IsOneOfThemOrNeither) {
  const ScratchDir dir;
  dir.write("file", "x");
  fs::create_directory(dir / "directory");
  fs::create_symlink("file", dir / "to-file");
  fs::create_directory_symlink("directory", dir / "to-directory");
  fs::create_symlink("missing", dir / "dangling");
  fs::create_symlink("/dev/null", dir / "to-device");
  ASSERT_EQ(::mkfifo((dir / "pipe").c_str(), 0600), 0);
  ASSERT_EQ(::mknod((dir / "socket").c_str(), S_IFSOCK | 0600, 0), 0);
  const struct {
    std::string path;
    int file;
    int directory;
  } kRows[] = {{"", 0, 0},
               {dir / "file", 1, 0},
               {dir / "directory", 0, 1},
               {dir / "directory/", 0, 1},
               {dir / "to-file", 1, 0},
               {dir / "to-directory", 0, 1},
               {dir / "dangling", 0, 0},
               {dir / "to-device", 1, 0},
               {dir / "pipe", 1, 0},
               {dir / "socket", 1, 0},
               {dir / "missing", 0, 0},
               {dir / "file/below", 0, 0},
               {dir / "file ", 0, 0}};
  const CapturedLog log(CapturedLog::Level::kTrace);
  for (const auto& row : kRows) {
    EXPECT_EQ(isFile(row.path), row.file) << row.path;
    EXPECT_EQ(isDir(row.path), row.directory) << row.path;
    EXPECT_EQ(isFile(row.path.c_str()), row.file) << row.path;
    EXPECT_EQ(isDir(row.path.c_str()), row.directory) << row.path;
  }
  EXPECT_EQ(log.bytes(), "");
}

// --- getFileSize ---------------------------------------------------------------------------------

TEST(GetFileSize, Failures_AreLoggedWithTheirReason) {
  const ScratchDir dir;
  const std::string below = dir.write("file", "x") + "/below";
  const std::string tooLong = dir / std::string(256, 'x');
  const CapturedLog log(CapturedLog::Level::kTrace);
  for (const std::string& path : {std::string(), below, tooLong}) {
    EXPECT_EQ(getFileSize(path.c_str()), -1);
  }
  EXPECT_EQ(log.texts(), Texts({"get file size error(,No such file or directory)",
                                "get file size error(" + below + ",Not a directory)",
                                "get file size error(" + tooLong + ",File name too long)"}));
}

TEST(GetFileSize, Files_HaveTheirBytes) {
  const ScratchDir dir;
  const CapturedLog log(CapturedLog::Level::kTrace);
  EXPECT_EQ(getFileSize(dir.write("empty", "").c_str()), 0);
  dir.write("seven", "1234567");
  fs::create_symlink("seven", dir / "link");
  EXPECT_EQ(getFileSize((dir / "link").c_str()), 7);
  EXPECT_EQ(getFileSize("/dev/null"), 0);
  EXPECT_EQ(log.bytes(), "");
}

TEST(GetFileSize, FileAbove4GiB_IsMeasuredIn64Bits) {
  const ScratchDir dir;
  for (const std::int64_t size : {2147483648LL, 4294967295LL, 4294967296LL, 5000000000LL}) {
    const std::string path = dir.write("sparse", "");
    fs::resize_file(path, static_cast<std::uintmax_t>(size));
    EXPECT_EQ(getFileSize(path.c_str()), size);
  }
}

// --- makeDir -------------------------------------------------------------------------------------

class MakeDir : public testing::Test {
 protected:
  /// The run of `command`, which is all that is logged at information level.
  void expectRun(const std::string& command, const char* status) {
    EXPECT_EQ(withoutPids(log.take()), Texts({std::string("VUQ90004L : pid=<pid>,wstat=") + status,
                                              "VUQ90004L : com=" + command + " 2>/dev/null"}));
  }

  ScratchDir dir;
  CapturedLog log;
};

TEST_F(MakeDir, WithParents_RunsTheCommandWithItsOptionAndTheEscapedPath) {
  EXPECT_EQ(makeDir(dir / "a b/c", 1), 0);
  expectRun("mkdir -p " + dir / "a\\ b/c", "00000000");
  EXPECT_EQ(isDir(dir / "a b/c"), 1);
  EXPECT_EQ(makeDir((dir / "d/e").c_str(), 2), 0);
  EXPECT_EQ(isDir(dir / "d/e"), 1);
  EXPECT_EQ(makeDir(dir.path(), 1), 0);  // an existing one is no failure
}

TEST_F(MakeDir, WithoutParents_RunsTheCommandWithTwoBlanks) {
  EXPECT_EQ(makeDir(dir / "new", 0), 0);
  expectRun("mkdir  " + dir / "new", "00000000");
  EXPECT_EQ(isDir(dir / "new"), 1);
  for (const char* path : {"a/b", "new"}) {
    EXPECT_EQ(makeDir(dir / path, 0), -1);
    expectRun("mkdir  " + dir / path, "00000100");
  }
  EXPECT_EQ(namesIn(dir.path()), Texts({"new"}));
}

TEST_F(MakeDir, AtTraceLevel_TheStatusIsLoggedAsWell) {
  const CapturedLog trace(CapturedLog::Level::kTrace);
  EXPECT_EQ(makeDir(dir / "new", 1), 0);
  EXPECT_EQ(withoutPids(trace.texts()),
            inOrder({{"VUQ90004L : pid=<pid>,wstat=00000000",
                      "VUQ90004L : com=mkdir -p " + dir / "new" + " 2>/dev/null"},
                     tracedExit(0)}));
}

TEST_F(MakeDir, ExistingFile_IsAFailureAndStays) {
  const std::string path = dir.write("file", "kept");
  EXPECT_EQ(makeDir(path, 1), -1);
  EXPECT_EQ(makeDir(path, 0), -1);
  EXPECT_EQ(readFile(path), "kept");
}

TEST_F(MakeDir, Failure_PrintsNothing) {
  const ChildResult child = runInChild([&] { return makeDir(dir / "a/b", 0) == -1 ? 0 : 1; });
  EXPECT_EQ(child.exitCode(), 0);
  EXPECT_EQ(child.out + child.err, "");
}

TEST_F(MakeDir, Permissions_AreWhatTheMaskLeaves) {
  for (const mode_t mask : {022u, 077u, 0u}) {
    const std::string path = dir / std::to_string(mask);
    const mode_t old = ::umask(mask);
    EXPECT_EQ(makeDir(path, 1), 0);
    ::umask(old);
    EXPECT_EQ(static_cast<unsigned>(fs::status(path).permissions()), 0777u & ~mask);
  }
}

TEST_F(MakeDir, SpecialCharacters_ArePartOfTheNameButWildcardsStayActive) {
  const std::string name = "a'b\"c$d`e(f)g&h|i<j>k#l^m{n}o\\p\tq";
  EXPECT_EQ(makeDir(dir / name, 0), 0);
  EXPECT_EQ(namesIn(dir.path()), Texts({name}));
  log.take();
  EXPECT_EQ(makeDir(dir / "a*", 1), 0);
  expectRun("mkdir -p " + dir / "a*", "00000000");
  EXPECT_EQ(makeDir(dir / "[a]?*", 0), -1);
  expectRun("mkdir  " + dir / "[a]?*", "00000100");
  EXPECT_EQ(namesIn(dir.path()), Texts({name}));
}

// --- getCwd --------------------------------------------------------------------------------------

TEST(GetCwd, CurrentDirectory_IsAbsolute) {
  const ScratchDir dir;
  const ChildResult child = runInChild([&] {
    if (::chdir(dir.path().c_str()) != 0) return 1;
    std::fputs(getCwd().c_str(), stdout);
    return 0;
  });
  EXPECT_EQ(child.out, dir.path());
}

TEST(GetCwd, RemovedDirectory_IsADot) {
  const ScratchDir dir;
  const std::string gone = dir / "gone";
  const ChildResult child = runInChild([&] {
    if (::mkdir(gone.c_str(), 0700) != 0 || ::chdir(gone.c_str()) != 0) return 1;
    if (::rmdir(gone.c_str()) != 0) return 2;
    std::fputs(getCwd().c_str(), stdout);
    return 0;
  });
  EXPECT_EQ(child.exitCode(), 0);
  EXPECT_EQ(child.out, ".");
}

bool enterNew(const std::string& name) {
  return ::mkdir(name.c_str(), 0700) == 0 && ::chdir(name.c_str()) == 0;
}

TEST(GetCwd, PathFrom4096Bytes_IsADot) {
  if (::getuid() != 0) GTEST_SKIP() << "needs root for a file system that vanishes";
  for (const std::size_t length : {4094u, 4095u, 4096u, 4097u, 5000u}) {
    std::string path;
    const Texts lines = linesFromPrivateRoot([&] {
      while (path.size() < length) {
        // No name is left that would have to be empty.
        const std::size_t rest = length - path.size() - 1;
        const std::string name(rest > 202 ? 200 : rest, 'd');
        if (!enterNew(name)) return;
        path += "/" + name;
      }
      const std::string cwd = getCwd();
      std::puts(cwd == path ? "the path" : cwd.c_str());
    });
    EXPECT_EQ(lines, Texts({length < 4096 ? "the path" : "."})) << length;
  }
}

// --- permissions ---------------------------------------------------------------------------------

/// A directory that every user may enter, with a file of root's.
class Permissions : public testing::Test {
 protected:
  Permissions() { EXPECT_EQ(::chmod(dir.path().c_str(), 0755), 0); }

  void allow(mode_t mode) const { EXPECT_EQ(::chmod(file.c_str(), mode), 0); }

  /// The result of `question`, asked by nobody.
  static int askedByNobody(const std::function<int()>& question) {
    return runInChild([&] { return becomeNobody() ? question() : 77; }).exitCode();
  }

  ScratchDir dir;
  std::string file = dir.write("f", "x");
};

TEST_F(Permissions, MissingPathOrBadMode_IsRefusedWithoutALine) {
  fs::create_symlink("missing", dir / "dangling");
  fs::create_symlink("loop", dir / "loop");
  const CapturedLog log(CapturedLog::Level::kTrace);
  for (const std::string& path : {dir / "missing", dir / "dangling", dir / "loop", std::string()}) {
    EXPECT_EQ(isAccessible(path.c_str(), F_OK), 0) << path;
    EXPECT_EQ(isExecutable(path), 0) << path;
    EXPECT_EQ(isReadable(path), 0) << path;
  }
  EXPECT_EQ(isAccessible(file.c_str(), 8), 0);
  EXPECT_EQ(log.bytes(), "");
}

TEST_F(Permissions, OfAnotherUser_AreThoseOfHisBits) {
  if (!canBecomeNobody()) GTEST_SKIP() << "needs root to become another user";
  for (const int granted : {0, 1, 2, 3, 4, 5, 6, 7, 0110, 0440, 0770}) {
    allow(static_cast<mode_t>(granted));
    SCOPED_TRACE(granted);
    for (int asked = 0; asked < 8; ++asked) {
      EXPECT_EQ(askedByNobody([&] { return isAccessible(file.c_str(), asked); }),
                (asked & ~granted) == 0 ? 1 : 0)
          << asked;
    }
    EXPECT_EQ(askedByNobody([&] { return isExecutable(file); }), granted & 1);
    EXPECT_EQ(askedByNobody([&] { return isReadable(file); }), granted >> 2 & 1);
    EXPECT_EQ(askedByNobody([&] { return isReadable(file.c_str()); }), granted >> 2 & 1);
  }
}

TEST_F(Permissions, OfTheSuperUser_NeedOneOfTheThreeExecuteBits) {
  if (::getuid() != 0) GTEST_SKIP() << "needs root";
  fs::create_symlink("f", dir / "link");  // has every bit itself
  const struct {
    mode_t mode;
    int result;
  } kRows[] = {{0, 0},    {0100, 1}, {0010, 1}, {0001, 1},
               {0111, 1}, {0666, 0}, {0755, 1}, {07000, 0}};
  for (const auto& row : kRows) {
    allow(row.mode);
    EXPECT_EQ(isExecutable(dir / "link"), row.result) << std::oct << row.mode;
    EXPECT_EQ(isExecutable(file.c_str()), row.result) << std::oct << row.mode;
  }
}

TEST_F(Permissions, DirectoryWithoutExecuteBit_IsNotForTheSuperUserEither) {
  if (::getuid() != 0) GTEST_SKIP() << "needs root, whom the kernel lets search any directory";
  EXPECT_EQ(isExecutable(dir.path()), 1);
  ASSERT_EQ(::chmod(dir.path().c_str(), 0600), 0);
  EXPECT_EQ(isAccessible(dir.path().c_str(), X_OK), 1);
  EXPECT_EQ(isExecutable(dir.path()), 0);
}

TEST(IsAdmin, RealUser_Decides) {
  if (!canBecomeNobody()) GTEST_SKIP() << "needs root to become another user";
  const struct {
    uid_t real;
    uid_t effective;
    int result;
  } kRows[] = {{0, 0, 1}, {0, 65534, 1}, {65534, 0, 0}, {65534, 65534, 0}, {1, 0, 0}};
  for (const auto& row : kRows) {
    const ChildResult child =
        runInChild([&] { return ::setresuid(row.real, row.effective, 0) == 0 ? isAdmin() : 77; });
    EXPECT_EQ(child.exitCode(), row.result) << row.real << ", " << row.effective;
  }
}

}  // namespace
