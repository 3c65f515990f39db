// `cmake --install`: the programs and their manual pages; the folder of the action log is made
// where it is missing, and left alone where it is not.

#include <gtest/gtest.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cstdlib>
#include <filesystem>

#include "support/childrun.h"
#include "support/scratch.h"

namespace {

constexpr char kMakers[] = "/var/opt/QZKBsoftmsg";
constexpr char kFolder[] = "/var/opt/QZKBsoftmsg/log";

/// Becomes `cmake --install` below `destdir`, "" for the machine itself, with a strict mask.
int becomeInstall(const std::string& destdir, const std::string& prefix) {
  ::setenv("DESTDIR", destdir.c_str(), 1);
  ::umask(077);
  ::execl(CMAKE_PROGRAM, "cmake", "--install", BUILD_FOLDER, "--prefix", prefix.c_str(), nullptr);
  return 127;
}

mode_t modeOf(const std::string& path) {
  struct stat status = {};
  return ::lstat(path.c_str(), &status) == 0 ? status.st_mode : 0;
}

class InstallLogFolder : public testing::Test {
 protected:
  ScratchDir destdir;
  const std::string folder = destdir.path() + kFolder;

  void install() const {
    const ChildResult child =
        runInChild([&] { return becomeInstall(destdir.path(), "/usr/local"); });
    EXPECT_EQ(child.exitCode(), 0) << child.err;
  }
};

TEST_F(InstallLogFolder, Missing_IsMadeForEverybodyToEnterWithAllAboveIt) {
  install();
  EXPECT_EQ(modeOf(folder), S_IFDIR | 0755U);
  EXPECT_EQ(modeOf(destdir.path() + kMakers), S_IFDIR | 0755U);
  EXPECT_EQ(modeOf(destdir / "var/opt"), S_IFDIR | 0755U);
}

TEST_F(InstallLogFolder, Existing_IsNotTouched) {
  std::filesystem::create_directories(folder);
  ASSERT_EQ(::chmod(folder.c_str(), 0700), 0);
  struct stat before = {};
  struct stat after = {};
  ASSERT_EQ(::stat(folder.c_str(), &before), 0);
  install();
  ASSERT_EQ(::stat(folder.c_str(), &after), 0);
  EXPECT_EQ(after.st_mode, before.st_mode);
  // The time of the last change of any attribute: nobody has set one to what it was either.
  EXPECT_EQ(after.st_ctim.tv_sec, before.st_ctim.tv_sec);
  EXPECT_EQ(after.st_ctim.tv_nsec, before.st_ctim.tv_nsec);
}

TEST_F(InstallLogFolder, LinkThatLeadsNowhere_IsNotTouched) {
  std::filesystem::create_directories(destdir.path() + kMakers);
  std::filesystem::create_symlink("/nowhere/log", folder);
  install();
  EXPECT_EQ(std::filesystem::read_symlink(folder), "/nowhere/log");
}

TEST_F(InstallLogFolder, Programs_StandWithTheirManualPages) {
  install();
  for (const std::string name : {"sbin/tanexics", "bin/tanexics-check", "bin/tanexics-log"}) {
    EXPECT_EQ(modeOf(destdir.path() + "/usr/local/" + name), S_IFREG | 0755U) << name;
  }
  for (const std::string name :
       {"man8/tanexics.8", "man5/tanexics-action-log.5", "man5/tanexics-input.5",
        "man1/tanexics-check.1", "man1/tanexics-log.1", "ja/man8/tanexics.8",
        "ja/man1/tanexics-check.1", "ja/man1/tanexics-log.1", "ja/man5/tanexics-action-log.5",
        "ja/man5/tanexics-input.5"}) {
    EXPECT_EQ(modeOf(destdir.path() + "/usr/local/share/man/" + name), S_IFREG | 0644U) << name;
  }
  const std::string catalogue = "/usr/local/share/locale/ja/LC_MESSAGES/tanexics.mo";
  EXPECT_EQ(modeOf(destdir.path() + catalogue), S_IFREG | 0644U);
}

TEST_F(InstallLogFolder, WithoutDestdir_IsMadeOnTheMachineItself) {
  const ChildResult child = runInChild([&] {
    if (!enterPrivateMounts() || !mountTmpfs("/var/opt")) return 126;
    const ChildResult made = runInChild([&] { return becomeInstall("", destdir.path()); });
    if (made.exitCode() != 0) return 125;
    return modeOf(kFolder) == (S_IFDIR | 0755U) ? 0 : 1;
  });
  EXPECT_EQ(child.exitCode(), 0) << child.err;
}

}  // namespace
