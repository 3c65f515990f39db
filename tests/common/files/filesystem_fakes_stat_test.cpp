#include "common/files/filesystem.h"

#include <fcntl.h>
#include <gtest/gtest.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cerrno>
#include <climits>
#include <filesystem>
#include <functional>
#include <string>
#include <vector>

#include "support/actionlog.h"
#include "support/childrun.h"
#include "support/scratch.h"

// --- takes the place of the C library's call in this program -------------------------------------

/// A path that cannot be examined.
static std::string hidden;

extern "C" int stat(const char* path, struct stat* status) noexcept {
  if (!hidden.empty() && path == hidden) {
    errno = ENOENT;
    return -1;
  }
  return ::fstatat(AT_FDCWD, path, status, 0);
}

namespace {

namespace fs = std::filesystem;
using Texts = std::vector<std::string>;
constexpr const char* kNull = nullptr;

/// A directory that every user may enter, with a file "f" of root's.
class OpenDir {
 public:
  OpenDir() : m_file(m_dir.write("f", "x")) { ::chmod(m_dir.path().c_str(), 0755); }
  const std::string& file() const { return m_file; }
  const std::string& allowing(mode_t mode) const {
    EXPECT_EQ(::chmod(m_file.c_str(), mode), 0);
    return m_file;
  }
  std::string operator/(const std::string& name) const { return m_dir / name; }

 private:
  ScratchDir m_dir;
  std::string m_file;
};

/// The result of `question`, asked by nobody.
int askedByNobody(const std::function<int()>& question) {
  return runInChild([&] { return becomeNobody() ? question() : 77; }).exitCode();
}

// --- isAccessible --------------------------------------------------------------------------------

TEST(IsAccessible, Null_IsLoggedWithTheModeAndNot) {
  const CapturedLog log;
  for (const int mode : {0, 4, 7, INT_MAX, -1}) EXPECT_EQ(isAccessible(nullptr, mode), 0);
  EXPECT_EQ(log.texts(), Texts({"[I](common:1000):filename is NULL , mode=00000000",
                                "[I](common:1000):filename is NULL , mode=00000004",
                                "[I](common:1000):filename is NULL , mode=00000007",
                                "[I](common:1000):filename is NULL , mode=7fffffff",
                                "[I](common:1000):filename is NULL , mode=ffffffff"}));
}

TEST(IsAccessible, MissingPathOrBadMode_IsNotAndNotLogged) {
  const OpenDir dir;
  fs::create_symlink("missing", dir / "dangling");
  fs::create_symlink("loop", dir / "loop");
  const CapturedLog log(CapturedLog::Level::kTrace);
  EXPECT_EQ(isAccessible((dir / "missing").c_str(), F_OK), 0);
  EXPECT_EQ(isAccessible((dir / "dangling").c_str(), F_OK), 0);
  EXPECT_EQ(isAccessible((dir / "loop").c_str(), F_OK), 0);
  EXPECT_EQ(isAccessible("", F_OK), 0);
  EXPECT_EQ(isAccessible(dir.file().c_str(), 8), 0);
  EXPECT_EQ(log.bytes(), "");
}

TEST(IsAccessible, EveryPermission_IsAskedForWithItsBit) {
  if (!canBecomeNobody()) GTEST_SKIP() << "needs root to become another user";
  const OpenDir dir;
  for (int granted = 0; granted < 8; ++granted) {
    const std::string path = dir.allowing(static_cast<mode_t>(granted));
    for (int asked = 0; asked < 8; ++asked) {
      EXPECT_EQ(askedByNobody([&] { return isAccessible(path.c_str(), asked); }),
                (asked & ~granted) == 0 ? 1 : 0)
          << "granted " << granted << ", asked " << asked;
    }
  }
}

// --- isExecutable --------------------------------------------------------------------------------

TEST(IsExecutable, SuperUser_NeedsOneOfTheThreeExecuteBits) {
  if (::getuid() != 0) GTEST_SKIP() << "needs root";
  const OpenDir dir;
  const struct {
    mode_t mode;
    int result;
  } kRows[] = {{0, 0},    {0100, 1}, {0010, 1}, {0001, 1},
               {0111, 1}, {0666, 0}, {0755, 1}, {07000, 0}};
  for (const auto& row : kRows) {
    const std::string path = dir.allowing(row.mode);
    EXPECT_EQ(isExecutable(path), row.result) << std::oct << row.mode;
    EXPECT_EQ(isExecutable(path.c_str()), row.result) << std::oct << row.mode;
  }
}

TEST(IsExecutable, DirectoryWithoutExecuteBit_IsNotForTheSuperUserEither) {
  if (::getuid() != 0) GTEST_SKIP() << "needs root, whom the kernel lets search any directory";
  const ScratchDir dir;
  EXPECT_EQ(isExecutable(dir.path()), 1);
  ASSERT_EQ(::chmod(dir.path().c_str(), 0600), 0);
  EXPECT_EQ(isAccessible(dir.path().c_str(), X_OK), 1);
  EXPECT_EQ(isExecutable(dir.path()), 0);
  const ScratchDir other;
  fs::create_directory_symlink(dir.path(), other / "link");  // has every bit itself
  EXPECT_EQ(isExecutable(other / "link"), 0);
}

TEST(IsExecutable, OtherUser_NeedsPermissionOnly) {
  if (!canBecomeNobody()) GTEST_SKIP() << "needs root to become another user";
  const OpenDir dir;
  const struct {
    mode_t mode;
    int result;
  } kRows[] = {{0, 0}, {0110, 0}, {0776, 0}, {0001, 1}, {0755, 1}};
  for (const auto& row : kRows) {
    const std::string path = dir.allowing(row.mode);
    EXPECT_EQ(askedByNobody([&] { return isExecutable(path); }), row.result)
        << std::oct << row.mode;
  }
}

TEST(IsExecutable, MissingAndDangling_AreNot) {
  const ScratchDir dir;
  fs::create_symlink("missing", dir / "dangling");
  const CapturedLog log(CapturedLog::Level::kTrace);
  EXPECT_EQ(isExecutable(dir / "missing"), 0);
  EXPECT_EQ(isExecutable(dir / "dangling"), 0);
  EXPECT_EQ(log.bytes(), "");
}

TEST(IsExecutable, FileThatVanishesBeforeItsBitsAreLookedAt_IsNot) {
  if (!canBecomeNobody()) GTEST_SKIP() << "needs root, and another user";
  const OpenDir dir;
  const std::string path = dir.allowing(0755);
  const CapturedLog log(CapturedLog::Level::kTrace);
  EXPECT_EQ(isExecutable(path), 1);
  hidden = path;
  EXPECT_EQ(isAccessible(path.c_str(), X_OK), 1);
  EXPECT_EQ(isExecutable(path), 0);
  // Nobody is not asked for more than access(2) grants.
  EXPECT_EQ(askedByNobody([&] { return isExecutable(path); }), 1);
  hidden.clear();
  EXPECT_EQ(log.bytes(), "");
}

TEST(IsExecutable, LinkToAProgram_Is) {
  const OpenDir dir;
  dir.allowing(0755);
  fs::create_symlink("f", dir / "link");
  EXPECT_EQ(isExecutable(dir / "link"), 1);
}

TEST(IsExecutable, Null_IsLoggedWithMode1) {
  const CapturedLog log;
  EXPECT_EQ(isExecutable(kNull), 0);
  EXPECT_EQ(log.texts(), Texts({"[I](common:1000):filename is NULL , mode=00000001"}));
}

// --- isReadable ----------------------------------------------------------------------------------

TEST(IsReadable, OtherUser_NeedsTheReadBit) {
  if (!canBecomeNobody()) GTEST_SKIP() << "needs root to become another user";
  const OpenDir dir;
  for (const mode_t mode : {0u, 0004u, 0003u, 0773u, 0644u}) {
    const std::string path = dir.allowing(mode);
    const int expected = (mode & 0004) != 0 ? 1 : 0;
    EXPECT_EQ(askedByNobody([&] { return isReadable(path); }), expected) << std::oct << mode;
    EXPECT_EQ(askedByNobody([&] { return isReadable(path.c_str()); }), expected)
        << std::oct << mode;
  }
}

TEST(IsReadable, MissingFile_IsNot) {
  const ScratchDir dir;
  EXPECT_EQ(isReadable(dir / "missing"), 0);
  EXPECT_EQ(isReadable("/dev/null"), 1);
}

TEST(IsReadable, Null_IsLoggedWithMode4) {
  const CapturedLog log;
  EXPECT_EQ(isReadable(kNull), 0);
  EXPECT_EQ(log.texts(), Texts({"[I](common:1000):filename is NULL , mode=00000004"}));
}

// --- isAdmin -------------------------------------------------------------------------------------

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
