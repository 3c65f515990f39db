#include "common/files/filelist.h"

#include <dirent.h>
#include <dlfcn.h>
#include <gtest/gtest.h>
#include <sys/stat.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <cstdio>
#include <filesystem>
#include <list>
#include <string>
#include <vector>

#include "support/actionlog.h"
#include "support/childrun.h"
#include "support/scratch.h"

// --- takes the place of the C library's call in this program -------------------------------------

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

namespace {

namespace fs = std::filesystem;
using Texts = std::vector<std::string>;

/// What both forms give, which must agree, sorted.
Texts listed(const std::string& dir, int fullPath, int withDirs, int onlyDirs) {
  std::list<std::string> list = {"left over"};
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
  std::list<std::string> list = {"left over"};
  Texts vector = {"left over"};
  EXPECT_EQ(getFileList(list, dir.c_str(), 1, 1, 0), -1) << dir;
  EXPECT_EQ(getFileList(vector, dir.c_str(), 1, 1, 0), -1) << dir;
  EXPECT_EQ(list, std::list<std::string>({"left over"})) << dir;
  EXPECT_EQ(vector, Texts({"left over"})) << dir;
  EXPECT_EQ(log.bytes(), "") << dir;
}

/// A directory with one entry of every kind.
class Zoo : public ScratchDir {
 public:
  Zoo() {
    write("file", "x");
    fs::create_directory(*this / "dir");
    write("dir/inside", "x");
    fs::create_symlink("file", *this / "to-file");
    fs::create_directory_symlink("dir", *this / "to-dir");
    fs::create_directory_symlink(".", *this / "to-itself");
    fs::create_symlink("missing", *this / "dangling");
    fs::create_symlink("loop", *this / "loop");
    EXPECT_EQ(::mkfifo((*this / "pipe").c_str(), 0600), 0);
    fs::create_symlink("/dev/null", *this / "device");
    write(".hidden", "x");
  }
};

TEST(GetFileList, File_IsRefusedAndLeavesTheResultUntouched) {
  const ScratchDir dir;
  expectRefused(dir.write("file", "x"));
}

TEST(GetFileList, DirectoryOfTheResultItself_IsListed) {
  const ScratchDir dir;
  dir.write("file", "");
  // Longer than what a text keeps without memory of its own.
  std::list<std::string> list = {dir.path() + "/././././././././."};
  EXPECT_EQ(getFileList(list, list.front().c_str(), 0, 0, 0), 1);
  EXPECT_EQ(list.front(), "file");
}

TEST(GetFileList, PathsThatAreNoDirectory_AreRefused) {
  const Zoo dir;
  for (const char* name : {"missing", "dangling", "loop", "pipe", "device", "to-file", "file/"}) {
    expectRefused(dir / name);
  }
  expectRefused("");
}

TEST(GetFileList, FullPathsOfADirectoryWithATrailingSlash_HaveOneSlash) {
  const ScratchDir dir;
  dir.write("x", "");
  EXPECT_EQ(listed(dir.path() + "/", 1, 0, 0), Texts({dir / "x"}));
  EXPECT_EQ(listed(dir.path(), 1, 0, 0), Texts({dir / "x"}));
}

TEST(GetFileList, OnlyOneTrailingSlash_IsRemoved) {
  const ScratchDir dir;
  dir.write("x", "");
  EXPECT_EQ(listed(dir.path() + "//", 1, 0, 0), Texts({dir.path() + "//x"}));
}

TEST(GetFileList, WithoutDirs_ListsWhatIsNoDirectory) {
  const Zoo dir;
  const Texts files = {".hidden", "dangling", "device", "file", "loop", "pipe", "to-file"};
  EXPECT_EQ(listed(dir.path(), 0, 0, 0), files);
  // Only 1 means directories only.
  for (const int onlyDirs : {2, -1}) EXPECT_EQ(listed(dir.path(), 0, 0, onlyDirs), files);
}

TEST(GetFileList, WithDirs_ListsEverything) {
  const Zoo dir;
  const Texts all = namesIn(dir.path());
  EXPECT_EQ(all.size(), 10u);
  for (const int withDirs : {1, 2, -1}) EXPECT_EQ(listed(dir.path(), 0, withDirs, 0), all);
}

TEST(GetFileList, OnlyDirs_ListsDirectoriesWhateverWithDirsIs) {
  const Zoo dir;
  for (const int withDirs : {0, 1}) {
    EXPECT_EQ(listed(dir.path(), 0, withDirs, 1), Texts({"dir", "to-dir", "to-itself"}));
  }
}

TEST(GetFileList, FullPath_PutsTheDirectoryBeforeEveryName) {
  const Zoo dir;
  const Texts paths = {dir / "dir", dir / "to-dir", dir / "to-itself"};
  for (const int fullPath : {1, 2, -1}) EXPECT_EQ(listed(dir.path(), fullPath, 1, 1), paths);
}

TEST(GetFileList, EmptyDirectory_GivesNoEntries) {
  const ScratchDir dir;
  EXPECT_EQ(listed(dir.path(), 1, 1, 0), Texts());
}

TEST(GetFileList, RelativeDirectory_GivesRelativePaths) {
  const ScratchDir dir;
  dir.write("x", "");
  const ChildResult child = runInChild([&] {
    if (::chdir(dir.path().c_str()) != 0) return 77;
    std::puts(listed(".", 1, 0, 0).at(0).c_str());
    return 0;
  });
  EXPECT_EQ(child.out, "./x\n");
}

TEST(GetFileList, Root_GivesPathsWithOneSlash) {
  Texts expected;
  for (const std::string& name : namesIn("/")) expected.push_back("/" + name);
  std::list<std::string> list;
  EXPECT_EQ(getFileList(list, "/", 1, 1, 0), static_cast<int>(expected.size()));
  list.sort();
  EXPECT_EQ(Texts(list.begin(), list.end()), expected);
}

TEST(GetFileList, LinkToADirectory_IsListedThrough) {
  const Zoo dir;
  EXPECT_EQ(listed(dir / "to-dir", 1, 0, 0), Texts({dir / "to-dir/inside"}));
}

TEST(GetFileList, StrangeNames_ComeAsTheyAre) {
  const ScratchDir dir;
  Texts names = {" ",  " a b ", "a'b\"c", "line\nend", "\r\n", "\xe6\xbc\xa2", "\x80\xff",
                 "*?", "...",   "..a",    ".a",        "-r",   "%s%n",         "$HOME`x`\\"};
  names.push_back(std::string(255, 'n'));
  for (const std::string& name : names) dir.write(name, "");
  std::sort(names.begin(), names.end());
  EXPECT_EQ(listed(dir.path(), 0, 0, 0), names);
  Texts paths;
  for (const std::string& name : names) paths.push_back(dir / name);
  EXPECT_EQ(listed(dir.path(), 1, 0, 0), paths);
}

TEST(GetFileList, StrangeDirectoryName_IsListed) {
  const ScratchDir dir;
  const std::string strange = dir / " a'b\"\n\xe6\xff%s";
  fs::create_directory(strange);
  dir.write(" a'b\"\n\xe6\xff%s/x", "");
  EXPECT_EQ(listed(strange, 1, 0, 0), Texts({strange + "/x"}));
}

TEST(GetFileList, TenThousandEntries_AreAllListed) {
  const ScratchDir dir;
  Texts names;
  for (int i = 0; i < 10000; ++i) names.push_back("n" + std::to_string(10000 + i));
  for (const std::string& name : names) dir.write(name, "");
  EXPECT_EQ(listed(dir.path(), 0, 0, 0), names);
}

TEST(GetFileList, Order_IsTheDirectorysOwn) {
  const ScratchDir dir;
  for (const char* name : {"c", "a", "b", "e", "d"}) dir.write(name, "");
  Texts expected;
  for (const auto& entry : fs::directory_iterator(dir.path())) {
    expected.push_back(entry.path().filename());
  }
  Texts names;
  EXPECT_EQ(getFileList(names, dir.path().c_str(), 0, 0, 0), 5);
  EXPECT_EQ(names, expected);
}

/// `path` made `length` bytes long without naming anything else.
std::string lengthened(std::string path, std::size_t length) {
  while (path.size() + 2 <= length) path += "/.";
  if (path.size() < length) path += '/';
  return path;
}

TEST(GetFileList, DirectoryPath_MayBeAsLongAsTheKernelTakesIt) {
  const ScratchDir dir;
  dir.write("x", "");
  for (const std::size_t length : {4093u, 4094u, 4095u}) {
    const std::string path = lengthened(dir.path(), length);
    ASSERT_EQ(path.size(), length);
    EXPECT_EQ(listed(path, 0, 0, 0), Texts({"x"})) << length;
    const bool endsWithSlash = path.back() == '/';
    EXPECT_EQ(listed(path, 1, 0, 0), Texts({path + (endsWithSlash ? "x" : "/x")})) << length;
  }
  for (const std::size_t length : {4096u, 4097u}) expectRefused(lengthened(dir.path(), length));
}

TEST(GetFileList, NullDirectory_IsLoggedAndMinusOne) {
  CapturedLog log;
  std::list<std::string> list = {"left over"};
  EXPECT_EQ(getFileList(list, nullptr, 1, 1, 0), -1);
  EXPECT_EQ(list, std::list<std::string>({"left over"}));
  EXPECT_EQ(log.take(), Texts({"[I](common:2519):invalid param"}));
  Texts vector = {"left over"};
  EXPECT_EQ(getFileList(vector, nullptr, 1, 1, 0), -1);
  EXPECT_EQ(vector, Texts({"left over"}));
  EXPECT_EQ(log.take(), Texts({"[I](common:2599):invalid param"}));
}

TEST(GetFileList, DirectoryThatCannotBeOpened_IsMinusOneWithTheResultEmptied) {
  if (!canBecomeNobody()) GTEST_SKIP() << "needs root to become another user";
  const ScratchDir dir;
  dir.write("x", "");
  const CapturedLog log(CapturedLog::Level::kTrace);
  const ChildResult child = runInChild([&] {
    if (!becomeNobody()) return 77;
    std::list<std::string> list = {"left over"};
    Texts vector = {"left over"};
    std::printf("%d ", getFileList(list, dir.path().c_str(), 1, 1, 0));
    std::printf("%zu ", list.size());
    std::printf("%d ", getFileList(vector, dir.path().c_str(), 1, 1, 0));
    std::printf("%zu", vector.size());
    return 0;
  });
  EXPECT_EQ(child.exitCode(), 0);
  EXPECT_EQ(child.out, "-1 0 -1 0");
  EXPECT_EQ(child.err + log.bytes(), "");  // nobody can only complain that the log is closed
}

TEST(GetFileList, DirectoryThatCannotBeSearched_ListsItsNamesAsFiles) {
  if (!canBecomeNobody()) GTEST_SKIP() << "needs root to become another user";
  const ScratchDir dir;
  fs::create_directory(dir / "below");
  ASSERT_EQ(::chmod(dir.path().c_str(), 0744), 0);
  const ChildResult child = runInChild([&] {
    if (!becomeNobody()) return 77;
    std::printf("%zu %zu", listed(dir.path(), 0, 0, 0).size(), listed(dir.path(), 0, 0, 1).size());
    return 0;
  });
  EXPECT_EQ(child.out, "1 0");
}

TEST(GetFileList, DirectoryThatCannotBeReadToItsEnd_GivesTheEntriesUpToThere) {
  const ScratchDir dir;
  for (const char* name : {"a", "b", "c"}) dir.write(name, "");
  const CapturedLog log(CapturedLog::Level::kTrace);
  for (int readable = 0; readable <= 5; ++readable) {  // "." and ".." are read as well
    std::list<std::string> list = {"left over"};
    Texts vector = {"left over"};
    readableEntries = readable;
    const int inList = getFileList(list, dir.path().c_str(), 0, 1, 0);
    readableEntries = readable;
    const int inVector = getFileList(vector, dir.path().c_str(), 0, 1, 0);
    readableEntries = -1;
    EXPECT_EQ(inList, static_cast<int>(list.size())) << readable;
    EXPECT_EQ(inVector, inList) << readable;
    EXPECT_EQ(Texts(list.begin(), list.end()), vector) << readable;
    EXPECT_LE(inList, readable);
    EXPECT_GE(inList, readable - 2);
  }
  EXPECT_EQ(log.bytes(), "");
}

TEST(GetFileList, Directory_IsClosedAgain) {
  const ScratchDir dir;
  dir.write("x", "");
  const Texts before = namesIn("/proc/self/fd");
  listed(dir.path(), 1, 1, 0);
  EXPECT_EQ(namesIn("/proc/self/fd"), before);
}

}  // namespace
