#include "common/files/filelist.h"

#include <gtest/gtest.h>
#include <sys/stat.h>

#include <algorithm>
#include <cstdio>
#include <filesystem>
#include <list>
#include <string>
#include <tuple>
#include <vector>

#include "support/actionlog.h"
#include "support/childrun.h"
#include "support/scratch.h"

namespace {

namespace fs = std::filesystem;
using Texts = std::vector<std::string>;
using List = std::list<std::string>;

/// What both forms give, which must agree, sorted.
Texts listed(const std::string& dir, int fullPath, int withDirs, int onlyDirs) {
  List list = {"left over"};
  Texts vector = {"left over"};
  const int inList = getFileList(list, dir.c_str(), fullPath, withDirs, onlyDirs);
  const int inVector = getFileList(vector, dir.c_str(), fullPath, withDirs, onlyDirs);
  EXPECT_EQ(Texts(list.begin(), list.end()), vector);
  EXPECT_EQ(inList, static_cast<int>(list.size()));
  EXPECT_EQ(inVector, static_cast<int>(vector.size()));
  std::sort(vector.begin(), vector.end());
  return vector;
}

/// Both forms give -1 for `dir`, log nothing, and leave what they were given.
void expectRefused(const std::string& dir) {
  const CapturedLog log(CapturedLog::Level::kTrace);
  List list = {"left over"};
  Texts vector = {"left over"};
  EXPECT_EQ(getFileList(list, dir.c_str(), 1, 1, 0), -1) << dir;
  EXPECT_EQ(getFileList(vector, dir.c_str(), 1, 1, 0), -1) << dir;
  EXPECT_EQ(list, List({"left over"})) << dir;
  EXPECT_EQ(vector, Texts({"left over"})) << dir;
  EXPECT_EQ(log.bytes(), "") << dir;
}

class GetFileList : public testing::Test {
 protected:
  /// One entry of every kind.
  void makeZoo() const {
    dir.write("file", "x");
    fs::create_directory(dir / "dir");
    dir.write("dir/inside", "x");
    fs::create_symlink("file", dir / "to-file");
    fs::create_directory_symlink("dir", dir / "to-dir");
    fs::create_directory_symlink(".", dir / "to-itself");
    fs::create_symlink("missing", dir / "dangling");
    fs::create_symlink("loop", dir / "loop");
    EXPECT_EQ(::mkfifo((dir / "pipe").c_str(), 0600), 0);
    fs::create_symlink("/dev/null", dir / "device");
    dir.write(".hidden", "x");
  }

  ScratchDir dir;
};

TEST_F(GetFileList, PathsThatAreNoDirectory_AreRefused) {
  makeZoo();
  for (const char* name :
       {"file", "missing", "dangling", "loop", "pipe", "device", "to-file", "file/"}) {
    expectRefused(dir / name);
  }
  expectRefused("");
}

TEST_F(GetFileList, Entries_AreChosenByTheirKind) {
  makeZoo();
  const Texts files = {".hidden", "dangling", "device", "file", "loop", "pipe", "to-file"};
  const Texts dirs = {"dir", "to-dir", "to-itself"};
  const Texts all = namesIn(dir.path());
  ASSERT_EQ(all.size(), files.size() + dirs.size());
  const std::tuple<int, int, Texts> kRows[] = {
      {0, 0, files}, {0, 2, files}, {0, -1, files},  // only 1 means directories only
      {1, 0, all},   {2, 0, all},   {-1, 0, all},   {0, 1, dirs}, {1, 1, dirs}};
  for (const auto& [withDirs, onlyDirs, names] : kRows) {
    EXPECT_EQ(listed(dir.path(), 0, withDirs, onlyDirs), names) << withDirs << ", " << onlyDirs;
  }
  const Texts paths = {dir / "dir", dir / "to-dir", dir / "to-itself"};
  for (const int fullPath : {1, 2, -1}) EXPECT_EQ(listed(dir.path(), fullPath, 1, 1), paths);
  EXPECT_EQ(listed(dir / "to-dir", 1, 0, 0), Texts({dir / "to-dir/inside"}));
}

TEST_F(GetFileList, Order_IsTheDirectorysOwn) {
  makeZoo();
  Texts expected;
  for (const auto& entry : fs::directory_iterator(dir.path())) {
    expected.push_back(entry.path().filename());
  }
  Texts names;
  EXPECT_EQ(getFileList(names, dir.path().c_str(), 0, 1, 0), 10);
  EXPECT_EQ(names, expected);
}

TEST_F(GetFileList, OneTrailingSlash_IsRemovedFromThePaths) {
  dir.write("x", "");
  EXPECT_EQ(listed(dir.path(), 1, 0, 0), Texts({dir / "x"}));
  EXPECT_EQ(listed(dir.path() + "/", 1, 0, 0), Texts({dir / "x"}));
  EXPECT_EQ(listed(dir.path() + "//", 1, 0, 0), Texts({dir.path() + "//x"}));
}

TEST_F(GetFileList, DirectoryOfTheResultItself_IsListed) {
  dir.write("x", "");
  // Longer than what a text keeps without memory of its own.
  List list = {dir.path() + "/././././././././."};
  EXPECT_EQ(getFileList(list, list.front().c_str(), 0, 0, 0), 1);
  EXPECT_EQ(list.front(), "x");
}

TEST_F(GetFileList, DirectoryPath_MayBeAsLongAsTheKernelTakesIt) {
  dir.write("x", "");
  std::string path = dir.path();
  while (path.size() < 4093) path += "/.";
  path.resize(4095, '/');
  EXPECT_EQ(listed(path, 0, 0, 0), Texts({"x"}));
  EXPECT_EQ(listed(path, 1, 0, 0), Texts({path + "x"}));
  expectRefused(path + "/");
}

TEST_F(GetFileList, Directory_IsClosedAgain) {
  dir.write("x", "");
  const Texts before = namesIn("/proc/self/fd");
  listed(dir.path(), 1, 1, 0);
  EXPECT_EQ(namesIn("/proc/self/fd"), before);
}

TEST_F(GetFileList, Root_GivesPathsWithOneSlash) {
  Texts expected;
  for (const std::string& name : namesIn("/")) expected.push_back("/" + name);
  EXPECT_EQ(listed("/", 1, 1, 0), expected);
}

TEST_F(GetFileList, TenThousandAndStrangeNames_ComeAsTheyAre) {
  const std::string strange = " a'b\"\n\xe6\xff%s";
  fs::create_directory(dir / strange);
  EXPECT_EQ(listed(dir / strange, 1, 1, 0), Texts());
  Texts names = {" a b ", "line\nend", "\x80\xff", "...", "..a", ".a", "%s%n", "$HOME`x`\\"};
  names.push_back(std::string(255, 'n'));
  for (int i = 0; i < 10000; ++i) names.push_back(std::to_string(10000 + i));
  std::sort(names.begin(), names.end());
  Texts paths;
  for (const std::string& name : names) paths.push_back(dir.write(strange + "/" + name, ""));
  EXPECT_EQ(listed(dir / strange, 0, 0, 0), names);
  EXPECT_EQ(listed(dir / strange, 1, 0, 0), paths);
}

TEST_F(GetFileList, DirectoryThatCannotBeOpenedOrSearched_IsMinusOneOrListsItsNamesAsFiles) {
  dir.write("x", "");
  if (!canBecomeNobody()) GTEST_SKIP() << "needs root to become another user";
  fs::create_directory(dir / "closed");
  fs::create_directories(dir / "names/below");
  ASSERT_EQ(::chmod(dir.path().c_str(), 0755), 0);
  ASSERT_EQ(::chmod((dir / "closed").c_str(), 0700), 0);
  ASSERT_EQ(::chmod((dir / "names").c_str(), 0744), 0);
  const CapturedLog log(CapturedLog::Level::kTrace);
  const ChildResult child = runInChild([&] {
    if (!becomeNobody()) return 77;
    List list = {"left over"};
    Texts vector = {"left over"};
    std::printf("%d ", getFileList(list, (dir / "closed").c_str(), 1, 1, 0));
    std::printf("%d ", getFileList(vector, (dir / "closed").c_str(), 1, 1, 0));
    std::printf("%zu %zu, ", list.size(), vector.size());
    std::printf("%zu ", listed(dir / "names", 0, 0, 0).size());
    std::printf("%zu", listed(dir / "names", 0, 0, 1).size());
    return 0;
  });
  EXPECT_EQ(child.out, "-1 -1 0 0, 1 0");
  EXPECT_EQ(child.err + log.bytes(), "");  // nobody can only complain that the log is closed
}

}  // namespace
