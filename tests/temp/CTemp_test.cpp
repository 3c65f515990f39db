#include "temp/CTemp.h"

#include <gtest/gtest.h>
#include <sys/mount.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cstdio>
#include <cstdlib>
#include <filesystem>
#include <string>
#include <type_traits>
#include <vector>

#include "common/base/format.h"
#include "common/base/shell.h"
#include "support/actionlog.h"
#include "support/childrun.h"
#include "support/descriptors.h"
#include "support/environmentguard.h"
#include "support/logtexts.h"
#include "support/privateroot.h"
#include "support/scratch.h"
#include "support/temparea.h"

namespace {

namespace fs = std::filesystem;
using Texts = std::vector<std::string>;
constexpr const char* kNull = nullptr;

/// The lines at trace level of one item's removal.
Texts removalOf(const std::string& item) {
  return inOrder({{"[T](CTemp:188):delTempFile:" + item,
                   "[T](common:469):getCanonicalPath():" + item + "," + item,
                   "[T](common:520):/bin/rm -fr " + item + " >/dev/null 2>&1"},
                  tracedExit(0)});
}

// --- what is handed out --------------------------------------------------------------------------

TEST_F(TempArea, Destructor_IsVirtual) { EXPECT_TRUE(std::has_virtual_destructor_v<CTemp>); }

TEST_F(TempArea, NullParent_ItemsAreUnderTmp) {
  const CapturedLog log;
  CTemp temp;
  std::string path;
  EXPECT_EQ(temp.getTempDir(path, "swconf", nullptr), 1);
  EXPECT_TRUE(isNamed(path, "/tmp/swcon")) << path;
  EXPECT_TRUE(fs::is_directory(path));
  EXPECT_EQ(temp.getTempFile(path, "execGetLines", nullptr, nullptr), 1);
  EXPECT_TRUE(isNamed(path, "/tmp/execGetLines")) << path;
  EXPECT_TRUE(fs::is_regular_file(path));
}

TEST_F(TempArea, MissingParent_IsMadeWithItsParents) {
  const CapturedLog log;
  CTemp temp;
  std::string path;
  EXPECT_EQ(temp.getTempFile(path, "pre", (dir / "a/b").c_str(), nullptr), 1);
  EXPECT_TRUE(isNamed(path, dir / "a/b/pre")) << path;
  EXPECT_EQ(temp.getTempDir(path, "pre", (dir / "c/d").c_str()), 1);
  EXPECT_TRUE(isNamed(path, dir / "c/d/pre")) << path;
}

TEST_F(TempArea, ParentThatIsTheResultItself_HoldsTheItem) {
  const CapturedLog log;
  CTemp temp;
  const std::string parent = dir / "a directory whose name needs memory of its own";
  std::string path = parent;
  EXPECT_EQ(temp.getTempFile(path, "pre", path.c_str(), nullptr), 1);
  EXPECT_TRUE(isNamed(path, parent + "/pre")) << path;
  path = parent;
  EXPECT_EQ(temp.getTempDir(path, "pre", path.c_str()), 1);
  EXPECT_TRUE(isNamed(path, parent + "/pre")) << path;
  path = parent;
  EXPECT_EQ(temp.getTemp_sub(path, "pre", path.c_str(), nullptr, 1), 1);
  EXPECT_TRUE(isNamed(path, parent + "/pre")) << path;
}

TEST_F(TempArea, PrefixThatIsTheResultItself_BeginsTheName) {
  const CapturedLog log;
  CTemp temp;
  std::string path = "pre";
  EXPECT_EQ(temp.getTempFile(path, path.c_str(), dir.path().c_str(), nullptr), 1);
  EXPECT_TRUE(isNamed(path, dir / "pre")) << path;
  path = "pre";
  EXPECT_EQ(temp.getTempDir(path, path.c_str(), dir.path().c_str()), 1);
  EXPECT_TRUE(isNamed(path, dir / "pre")) << path;
}

TEST_F(TempArea, ParentMadeForAnItem_StaysBehindIt) {
  {
    const CapturedLog log;
    CTemp temp;
    std::string path;
    EXPECT_EQ(temp.getTempDir(path, "pre", (dir / "parent").c_str()), 1);
  }
  EXPECT_EQ(namesIn(dir.path()), Texts({"parent"}));
  EXPECT_EQ(namesIn(dir / "parent"), Texts());
}

TEST_F(TempArea, NullDescriptor_FileIsClosedAndEmpty) {
  const CapturedLog log;
  const int before = upcomingDescriptor(1);
  CTemp temp;
  std::string path;
  EXPECT_EQ(temp.getTempFile(path, "pre", dir.path().c_str(), nullptr), 1);
  EXPECT_EQ(upcomingDescriptor(1), before);
  EXPECT_EQ(readFile(path), "");
  EXPECT_EQ(fs::status(path).permissions(), fs::perms(0600));
}

TEST_F(TempArea, DescriptorWanted_StaysOpenForTheCaller) {
  const CapturedLog log;
  std::string path;
  int fd = -1;
  {
    CTemp temp;
    EXPECT_EQ(temp.getTempFile(path, "pre", dir.path().c_str(), &fd), 1);
    EXPECT_EQ(::write(fd, "text", 4), 4);
    EXPECT_EQ(readFile(path), "text");
  }
  char bytes[8] = {};
  EXPECT_EQ(::pread(fd, bytes, sizeof bytes, 0), 4);  // also when the file is gone
  EXPECT_FALSE(fs::exists(path));
  ::close(fd);
}

TEST_F(TempArea, DescriptorWanted_CommandsOfTheCallerMayUseIt) {
  const CapturedLog log;
  CTemp temp;
  std::string path;
  int fd = -1;
  ASSERT_EQ(temp.getTempFile(path, "pre", dir.path().c_str(), &fd), 1);
  EXPECT_EQ(s_system(C(format("echo text >&%d", fd))), 0);
  ::close(fd);
  EXPECT_EQ(readFile(path), "text\n");
}

TEST_F(TempArea, DescriptorZero_IsOneAsGoodAsAny) {
  const ChildResult child = runInChild([&] {
    ::close(STDIN_FILENO);
    std::string path;
    int fd = -1;
    CTemp temp;
    if (temp.getTempFile(path, "pre", dir.path().c_str(), &fd) != 1) return 1;
    return fd == STDIN_FILENO && fs::exists(path) ? 0 : 2;
  });
  EXPECT_EQ(child.exitCode(), 0);
}

TEST_F(TempArea, EveryName_EndsInAnUnderscoreBehindSixGeneratedCharacters) {
  const struct {
    const char* prefix;
    const char* fileStart;
    const char* directoryStart;
  } kRows[] = {{"pre", "pre", "pre"},       {"", "", ""},
               {"swcon", "swcon", "swcon"}, {"swconf", "swconf", "swcon"},
               {"a b'c", "a b'c", "a b'c"}, {"execGetLines", "execGetLines", "execG"}};
  const CapturedLog log;
  CTemp temp;
  for (const auto& row : kRows) {
    std::string path;
    EXPECT_EQ(temp.getTempFile(path, row.prefix, dir.path().c_str(), nullptr), 1);
    EXPECT_TRUE(isNamed(path, dir / row.fileStart)) << path;
    EXPECT_TRUE(fs::is_regular_file(path)) << path;
    // Without a prefix the C library puts a name of its own there.
    EXPECT_EQ(temp.getTempDir(path, row.prefix, dir.path().c_str()), 1);
    const std::string start = *row.prefix == '\0' ? "file" : row.directoryStart;
    EXPECT_TRUE(isNamed(path, dir / start)) << path;
    EXPECT_TRUE(fs::is_directory(path)) << path;
  }
}

TEST_F(TempArea, ManyItems_HaveDifferentNames) {
  const CapturedLog log;
  CTemp temp;
  std::vector<std::string> paths(20);
  for (std::string& path : paths) temp.getTempFile(path, "pre", dir.path().c_str(), nullptr);
  EXPECT_EQ(namesIn(dir.path()).size(), 20u);
}

TEST_F(TempArea, DirectoryKind_LeavesTheDescriptorAlone) {
  const CapturedLog log;
  CTemp temp;
  std::string path;
  int fd = 77;
  EXPECT_EQ(temp.getTemp_sub(path, "pre", dir.path().c_str(), &fd, 2), 1);
  EXPECT_EQ(fd, 77);
  EXPECT_TRUE(fs::is_directory(path));
}

TEST_F(TempArea, DirectoryPermissions_AreWhatTheMaskLeaves) {
  const CapturedLog log;
  const mode_t old = ::umask(027);
  CTemp temp;
  std::string path;
  temp.getTempDir(path, "pre", dir.path().c_str());
  ::umask(old);
  EXPECT_EQ(fs::status(path).permissions(), fs::perms(0750));
}

// --- TMPDIR --------------------------------------------------------------------------------------

TEST_F(TempArea, UsableTmpdir_WinsForDirectoriesOnly) {
  const CapturedLog log;
  fs::create_directory(dir / "elsewhere");
  const EnvironmentGuard variable("TMPDIR", (dir / "elsewhere").c_str());
  CTemp temp;
  std::string path;
  EXPECT_EQ(temp.getTempDir(path, "swconf", nullptr), 1);
  EXPECT_TRUE(isNamed(path, dir / "elsewhere/swcon")) << path;
  EXPECT_EQ(temp.getTempFile(path, "pre", dir.path().c_str(), nullptr), 1);
  EXPECT_TRUE(isNamed(path, dir / "pre")) << path;
}

TEST_F(TempArea, TmpdirThatNobodyCanWriteTo_WinsAndFails) {
  const CapturedLog log;
  const EnvironmentGuard variable("TMPDIR", "/proc");
  CTemp temp;
  std::string path;
  EXPECT_EQ(temp.getTempDir(path, "swconf", dir.path().c_str()), 0);
  EXPECT_TRUE(fs::is_empty(dir.path()));
}

TEST_F(TempArea, RelativeTmpdir_GivesARelativePath) {
  const CapturedLog log;
  const EnvironmentGuard variable("TMPDIR", ".");
  const fs::path before = fs::current_path();
  fs::current_path(dir.path());
  {
    CTemp temp;
    std::string path;
    EXPECT_EQ(temp.getTempDir(path, "swconf", nullptr), 1);
    EXPECT_TRUE(isNamed(path, "./swcon")) << path;
  }
  EXPECT_TRUE(fs::is_empty(dir.path()));
  fs::current_path(before);
}

TEST_F(TempArea, UnusableTmpdir_IsPassedOver) {
  const CapturedLog log;
  for (const std::string& value : {dir / "missing", dir.write("file", ""), std::string()}) {
    const EnvironmentGuard variable("TMPDIR", value.c_str());
    CTemp temp;
    std::string path;
    EXPECT_EQ(temp.getTempDir(path, "swconf", dir.path().c_str()), 1);
    EXPECT_TRUE(isNamed(path, dir / "swcon")) << path << " with TMPDIR " << value;
  }
}

TEST_F(TempArea, FirstLevelTmpdir_DirectoryIsMadeAndItsRemovalRefused) {
  if (::getuid() != 0) GTEST_SKIP() << "needs root for a root directory of its own";
  std::string path;
  const Texts lines = linesFromPrivateRoot([&] {
    ::mkdir("/first", 0755);
    ::setenv("TMPDIR", "/first", 1);
    {
      CTemp temp;
      std::printf("%d\n", temp.getTempDir(path, "swconf", nullptr));
      std::puts(path.c_str());
    }
    std::printf("%d\n", static_cast<int>(fs::is_directory(path)));
  });
  ASSERT_GT(lines.size(), 2u);
  path = lines[1];
  EXPECT_TRUE(isNamed(path, "/first/swcon")) << path;
  EXPECT_EQ(withoutPids(lines),
            inOrder({{"1", path, "1"},
                     {"[T](CTemp:73):getTemp_sub():prefix=/tmp,templ=swconf",
                      "VUQ90004L : pid=<pid>,wstat=00000000",
                      "VUQ90004L : com=mkdir -p " + path + " 2>/dev/null"},
                     tracedExit(0),
                     {"[T](CTemp:156):getTemp_sub():exit=1,type= DIR,FD=-1," + path,
                      "[T](CTemp:188):delTempFile:" + path,
                      "[T](common:469):getCanonicalPath():" + path + "," + path,
                      "VUQ90008L : " + path + " too shallow to delete"}}));
}

// --- whole logs ----------------------------------------------------------------------------------

TEST_F(TempArea, DirectoryAtTraceLevel_LeavesTheseLines) {
  const CapturedLog log(CapturedLog::Level::kTrace);
  std::string path;
  {
    CTemp temp;
    EXPECT_EQ(temp.getTempDir(path, "swconf", dir.path().c_str()), 1);
  }
  EXPECT_EQ(withoutPids(log.texts()),
            inOrder({{"[T](CTemp:73):getTemp_sub():prefix=" + dir.path() + ",templ=swconf",
                      "VUQ90004L : pid=<pid>,wstat=00000000",
                      "VUQ90004L : com=mkdir -p " + path + " 2>/dev/null"},
                     tracedExit(0),
                     {"[T](CTemp:156):getTemp_sub():exit=1,type= DIR,FD=-1," + path},
                     removalOf(path)}));
}

TEST_F(TempArea, FileAtTraceLevel_LeavesTheseLinesWithTheNumberOfAClosedDescriptor) {
  for (const bool isWanted : {false, true}) {
    const CapturedLog log(CapturedLog::Level::kTrace);
    const std::string number = std::to_string(upcomingDescriptor(1));
    std::string path;
    int fd = -1;
    {
      CTemp temp;
      EXPECT_EQ(temp.getTempFile(path, "pre", dir.path().c_str(), isWanted ? &fd : nullptr), 1);
    }
    EXPECT_EQ(log.texts(),
              inOrder({{"[T](CTemp:73):getTemp_sub():prefix=" + dir.path() + ",templ=pre",
                        "[T](CTemp:156):getTemp_sub():exit=1,type=FILE,FD=" + number + "," + path},
                       removalOf(path)}));
    EXPECT_EQ(::close(fd), isWanted ? 0 : -1);
  }
}

TEST_F(TempArea, MissingParentAtTraceLevel_IsMadeAfterTheFirstLine) {
  const CapturedLog log(CapturedLog::Level::kTrace);
  const std::string parent = dir / "a/b";
  const std::string number = std::to_string(upcomingDescriptor(1));
  std::string path;
  {
    CTemp temp;
    EXPECT_EQ(temp.getTempFile(path, "pre", parent.c_str(), nullptr), 1);
  }
  EXPECT_EQ(withoutPids(log.texts()),
            inOrder({{"[T](CTemp:73):getTemp_sub():prefix=" + parent + ",templ=pre",
                      "VUQ90004L : pid=<pid>,wstat=00000000",
                      "VUQ90004L : com=mkdir -p " + parent + " 2>/dev/null"},
                     tracedExit(0),
                     {"[T](CTemp:156):getTemp_sub():exit=1,type=FILE,FD=" + number + "," + path},
                     removalOf(path)}));
}

TEST_F(TempArea, AtInformationLevel_OnlyTheCommandIsLogged) {
  const CapturedLog log;
  std::string path;
  std::string file;
  {
    CTemp temp;
    temp.getTempFile(file, "pre", dir.path().c_str(), nullptr);
    temp.getTempDir(path, "pre", dir.path().c_str());
  }
  EXPECT_EQ(withoutPids(log.texts()), Texts({"VUQ90004L : pid=<pid>,wstat=00000000",
                                             "VUQ90004L : com=mkdir -p " + path + " 2>/dev/null"}));
}

// --- removal -------------------------------------------------------------------------------------

TEST_F(TempArea, KeptByTheVariable_DestructionRemovesAndLogsNothing) {
  CapturedLog log(CapturedLog::Level::kTrace);
  std::string path;
  std::string file;
  {
    CTemp temp;
    temp.getTempDir(path, "pre", dir.path().c_str());
    temp.getTempFile(file, "pre", dir.path().c_str(), nullptr);
    log.take();
    const EnvironmentGuard one("TANEX_NOT_DEL_TEMP", "1");
    EXPECT_EQ(temp.delTempFile(nullptr), 0);
    EXPECT_EQ(temp.delTempFile(file.c_str()), 0);
    EXPECT_EQ(log.bytes(), "");
    const EnvironmentGuard zero("TANEX_NOT_DEL_TEMP", "0");
    EXPECT_EQ(temp.delTempFile(nullptr), 0);
    {
      CTemp second;
      second.getTempFile(file, "second", dir.path().c_str(), nullptr);
      log.take();
    }
    EXPECT_EQ(log.bytes(), "");
    EXPECT_TRUE(fs::exists(file));
    EXPECT_EQ(namesIn(dir.path()).size(), 3u);
  }
  EXPECT_EQ(namesIn(dir.path()).size(), 1u);  // the list was kept along with the items
}

TEST_F(TempArea, VariableSetToTheEmptyText_EverythingIsRemoved) {
  const CapturedLog log;
  const EnvironmentGuard empty("TANEX_NOT_DEL_TEMP", "");
  {
    CTemp temp;
    std::string path;
    temp.getTempDir(path, "pre", dir.path().c_str());
    temp.getTempFile(path, "pre", dir.path().c_str(), nullptr);
    EXPECT_EQ(namesIn(dir.path()).size(), 2u);
  }
  EXPECT_EQ(namesIn(dir.path()), Texts());
}

TEST_F(TempArea, Destruction_RemovesInTheOrderOfCreationWithAllThatDirectoriesHold) {
  CapturedLog log(CapturedLog::Level::kTrace);
  std::string first;
  std::string second;
  std::string third;
  {
    CTemp temp;
    temp.getTempFile(first, "z", dir.path().c_str(), nullptr);
    temp.getTempDir(second, "m", dir.path().c_str());
    temp.getTempFile(third, "a", dir.path().c_str(), nullptr);
    fs::create_directories(second + "/below/deeper");
    log.take();
  }
  EXPECT_EQ(log.texts(), inOrder({removalOf(first), removalOf(second), removalOf(third)}));
  EXPECT_EQ(namesIn(dir.path()), Texts());
}

TEST_F(TempArea, UnknownPath_RemovesNothingAndGivesZero) {
  CapturedLog log(CapturedLog::Level::kTrace);
  const std::string stranger = dir.write("stranger", "kept");
  CTemp temp;
  std::string path;
  temp.getTempFile(path, "pre", dir.path().c_str(), nullptr);
  log.take();
  EXPECT_EQ(temp.delTempFile(stranger.c_str()), 0);
  EXPECT_EQ(temp.delTempFile(""), 0);
  EXPECT_EQ(temp.delTempFile((path + "/").c_str()), 0);
  EXPECT_EQ(log.bytes(), "");
  EXPECT_EQ(namesIn(dir.path()).size(), 2u);
}

TEST_F(TempArea, KnownPath_RemovesThatItemOnly) {
  const CapturedLog log;
  CTemp temp;
  std::string first;
  std::string second;
  temp.getTempFile(first, "pre", dir.path().c_str(), nullptr);
  temp.getTempFile(second, "pre", dir.path().c_str(), nullptr);
  EXPECT_EQ(temp.delTempFile(second.c_str()), 1);
  EXPECT_FALSE(fs::exists(second));
  EXPECT_TRUE(fs::exists(first));
  EXPECT_EQ(temp.delTempFile(second.c_str()), 0);
}

TEST_F(TempArea, NullPath_RemovesEveryItemOnce) {
  const CapturedLog log;
  CTemp temp;
  std::string path;
  EXPECT_EQ(temp.delTempFile(kNull), 0);
  for (int i = 0; i < 3; ++i) temp.getTempFile(path, "pre", dir.path().c_str(), nullptr);
  EXPECT_EQ(temp.delTempFile(kNull), 3);
  EXPECT_EQ(namesIn(dir.path()), Texts());
  EXPECT_EQ(temp.delTempFile(kNull), 0);
}

TEST_F(TempArea, FailingRemovalCommand_CountsAndTheItemsAreForgotten) {
  if (::getuid() != 0) GTEST_SKIP() << "needs root for a file system of its own";
  const ChildResult child = runInChild([this] {
    if (!enterPrivateMounts() || !mountTmpfs(dir.path())) return 77;
    const CapturedLog log;
    CTemp temp;
    std::string path;
    temp.getTempFile(path, "pre", dir.path().c_str(), nullptr);
    temp.getTempFile(path, "pre", dir.path().c_str(), nullptr);
    const unsigned long readOnly = MS_REMOUNT | MS_RDONLY;
    if (::mount(nullptr, dir.path().c_str(), nullptr, readOnly, nullptr) != 0) return 78;
    std::printf("%d\n", temp.delTempFile(nullptr));
    std::printf("%d\n", temp.delTempFile(nullptr));
    std::printf("%zu left\n", namesIn(dir.path()).size());
    return 0;
  });
  EXPECT_EQ(child.exitCode(), 0) << child.err;
  EXPECT_EQ(child.out, "2\n0\n2 left\n");
}

TEST_F(TempArea, ItemThatCannotBeRemoved_CountsAndIsForgotten) {
  if (::getuid() != 0) GTEST_SKIP() << "needs root for a root directory of its own";
  const Texts lines = linesFromPrivateRoot([] {
    CTemp temp;
    std::string path;
    temp.getTempFile(path, "pre", "/", nullptr);  // too shallow to be removed
    std::printf("%d\n", temp.delTempFile(nullptr));
    std::printf("%d\n", temp.delTempFile(nullptr));
    std::printf("%d\n", static_cast<int>(fs::exists(path)));
  });
  ASSERT_GE(lines.size(), 3u);
  EXPECT_EQ(Texts(lines.begin(), lines.begin() + 3), Texts({"1", "0", "1"}));
}

}  // namespace
