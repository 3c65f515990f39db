#include "common/files/filesystem.h"

#include <gtest/gtest.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cstdio>
#include <filesystem>
#include <functional>
#include <string>
#include <tuple>
#include <utility>
#include <vector>

#include "support/actionlog.h"
#include "support/childrun.h"
#include "support/logtexts.h"
#include "support/privateroot.h"
#include "support/scratch.h"

namespace {

namespace fs = std::filesystem;
using Texts = std::vector<std::string>;

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
  const std::tuple<Texts, int, int> kRows[] = {
      {{dir / "file", dir / "to-file", dir / "to-device", dir / "pipe", dir / "socket"}, 1, 0},
      {{dir / "directory", dir / "directory/", dir / "to-directory"}, 0, 1},
      {{"", dir / "dangling", dir / "missing", dir / "file/below", dir / "file "}, 0, 0}};
  const CapturedLog log(CapturedLog::Level::kTrace);
  for (const auto& [paths, file, directory] : kRows) {
    for (const std::string& path : paths) {
      EXPECT_EQ(isFile(path), file) << path;
      EXPECT_EQ(isDir(path), directory) << path;
      EXPECT_EQ(isFile(path.c_str()), file) << path;
      EXPECT_EQ(isDir(path.c_str()), directory) << path;
    }
  }
  EXPECT_EQ(log.bytes(), "");
}

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
  fs::resize_file(dir.write("large", ""), 5000000000u);
  fs::create_symlink("large", dir / "link");
  EXPECT_EQ(getFileSize((dir / "link").c_str()), 5000000000);
  EXPECT_EQ(getFileSize("/dev/null"), 0);
  EXPECT_EQ(log.bytes(), "");
}

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

TEST(GetCwd, PathFrom4096Bytes_IsADot) {
  if (::getuid() != 0) GTEST_SKIP() << "needs root for a file system that vanishes";
  for (const std::size_t length : {4u, 4095u, 4096u, 5000u}) {
    const Texts lines = linesFromPrivateRoot([&] {
      std::string path;
      while (path.size() < length) {
        // No name is left that would have to be empty.
        const std::size_t rest = length - path.size() - 1;
        const std::string name(rest > 202 ? 200 : rest, 'd');
        if (::mkdir(name.c_str(), 0700) != 0 || ::chdir(name.c_str()) != 0) return;
        path += "/" + name;
      }
      const std::string cwd = getCwd();
      std::puts(cwd == path ? "the path" : cwd.c_str());
    });
    EXPECT_EQ(lines, Texts({length < 4096 ? "the path" : "."})) << length;
  }
}

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
  const std::pair<mode_t, int> kRows[] = {{0, 0},    {0100, 1}, {0010, 1}, {0001, 1},
                                          {0111, 1}, {0666, 0}, {0755, 1}, {07000, 0}};
  for (const auto& [mode, result] : kRows) {
    allow(mode);
    EXPECT_EQ(isExecutable(dir / "link"), result) << std::oct << mode;
    EXPECT_EQ(isExecutable(file.c_str()), result) << std::oct << mode;
  }
  // The kernel lets the super-user search any directory.
  ASSERT_EQ(::chmod(dir.path().c_str(), 0600), 0);
  EXPECT_EQ(isAccessible(dir.path().c_str(), X_OK), 1);
  EXPECT_EQ(isExecutable(dir.path()), 0);
}

TEST(IsAdmin, RealUser_Decides) {
  if (!canBecomeNobody()) GTEST_SKIP() << "needs root to become another user";
  const struct {
    uid_t real, effective;
    int result;
  } kRows[] = {{0, 0, 1}, {0, 65534, 1}, {65534, 0, 0}, {65534, 65534, 0}, {1, 0, 0}};
  for (const auto& row : kRows) {
    const ChildResult child =
        runInChild([&] { return ::setresuid(row.real, row.effective, 0) == 0 ? isAdmin() : 77; });
    EXPECT_EQ(child.exitCode(), row.result) << row.real << ", " << row.effective;
  }
}

}  // namespace
