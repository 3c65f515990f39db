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

#include "common/base/format.h"
#include "common/base/shell.h"
#include "support/childrun.h"
#include "support/descriptors.h"
#include "support/logtexts.h"
#include "support/pattern.h"
#include "support/privateroot.h"
#include "support/temparea.h"

namespace {

namespace fs = std::filesystem;

static_assert(std::has_virtual_destructor_v<CTemp>);

// --- the lines at trace level --------------------------------------------------------------------

std::string beginning(const std::string& parent, const std::string& prefix) {
  return "[T](CTemp:73):getTemp_sub():prefix=" + parent + ",templ=" + prefix;
}

/// Of mkdir(1), which ended with this status.
Texts makingOf(const std::string& path, int status = 0) {
  return inOrder({{"VUQ90004L : pid=<pid>,wstat=00000" + std::to_string(status) + "00",
                   "VUQ90004L : com=mkdir -p " + path + " 2>/dev/null"},
                  tracedExit(status)});
}

std::string fileMade(const std::string& path, int fd) {
  return "[T](CTemp:156):getTemp_sub():exit=1,type=FILE,FD=" + std::to_string(fd) + "," + path;
}

std::string directoryMade(const std::string& path) {
  return "[T](CTemp:156):getTemp_sub():exit=1,type= DIR,FD=-1," + path;
}

Texts removalOf(const std::string& item) {
  return inOrder({{"[T](CTemp:188):delTempFile:" + item,
                   "[T](common:469):getCanonicalPath():" + item + "," + item,
                   "[T](common:520):/bin/rm -fr " + item + " >/dev/null 2>&1"},
                  tracedExit(0)});
}

// --- what is handed out --------------------------------------------------------------------------

TEST_F(TempArea, NullParent_ItemsAreUnderTmp) {
  std::string path;
  EXPECT_EQ(temp->getTempDir(path, "swconf", nullptr), 1);
  EXPECT_TRUE(isNamed(path, "/tmp/swcon")) << path;
  EXPECT_TRUE(fs::is_directory(path));
  EXPECT_EQ(temp->getTempFile(path, "execGetLines", nullptr, nullptr), 1);
  EXPECT_TRUE(isNamed(path, "/tmp/execGetLines")) << path;
  EXPECT_TRUE(fs::is_regular_file(path));
}

TEST_F(TempArea, MissingParent_IsMadeWithItsParentsAndStaysAfterTheItem) {
  const std::string parent = dir / "a/b";
  const int number = upcomingDescriptor(1);
  std::string file;
  EXPECT_EQ(temp->getTempFile(file, "pre", parent.c_str(), nullptr), 1);
  EXPECT_TRUE(isNamed(file, parent + "/pre")) << file;
  std::string directory;
  EXPECT_EQ(temp->getTempDir(directory, "pre", (dir / "c").c_str()), 1);
  EXPECT_TRUE(isNamed(directory, dir / "c/pre")) << directory;
  temp.reset();
  EXPECT_EQ(withoutPids(log.texts()), inOrder({{beginning(parent, "pre")},
                                               makingOf(parent),
                                               {fileMade(file, number)},
                                               {beginning(dir / "c", "pre")},
                                               makingOf(dir / "c"),
                                               makingOf(directory),
                                               {directoryMade(directory)},
                                               removalOf(file),
                                               removalOf(directory)}));
  EXPECT_EQ(namesIn(dir.path()), Texts({"a", "c"}));
  EXPECT_EQ(namesIn(parent), Texts());
}

TEST_F(TempArea, ParentOrPrefixThatIsTheResultItself_IsTakenAsItWas) {
  const std::string parent = dir / "a directory whose name needs memory of its own";
  for (const bool isFile : {true, false}) {
    const auto make = [&](std::string& path, const char* prefix, const char* parentDir) {
      return isFile ? temp->getTempFile(path, prefix, parentDir, nullptr)
                    : temp->getTempDir(path, prefix, parentDir);
    };
    std::string path = parent;
    EXPECT_EQ(make(path, "pre", path.c_str()), 1);
    EXPECT_TRUE(isNamed(path, parent + "/pre")) << path;
    path = "pre";
    EXPECT_EQ(make(path, path.c_str(), parent.c_str()), 1);
    EXPECT_TRUE(isNamed(path, parent + "/pre")) << path;
  }
  std::string path = parent;
  EXPECT_EQ(temp->getTemp_sub(path, "pre", path.c_str(), nullptr, 1), 1);
  EXPECT_TRUE(isNamed(path, parent + "/pre")) << path;
}

TEST_F(TempArea, NullDescriptor_FileIsClosedAndEmptyAndItsNumberTraced) {
  const int number = upcomingDescriptor(1);
  const std::string path = makeFile();
  EXPECT_EQ(upcomingDescriptor(1), number);
  EXPECT_EQ(readFile(path), "");
  EXPECT_EQ(fs::status(path).permissions(), fs::perms(0600));
  EXPECT_EQ(log.texts(), Texts({beginning(dir.path(), "pre"), fileMade(path, number)}));
}

TEST_F(TempArea, DescriptorWanted_StaysOpenForTheCallerAndItsCommands) {
  std::string path;
  int fd = -1;
  ASSERT_EQ(temp->getTempFile(path, "pre", dir.path().c_str(), &fd), 1);
  EXPECT_EQ(log.take(), Texts({beginning(dir.path(), "pre"), fileMade(path, fd)}));
  EXPECT_EQ(s_system(C(format("echo text >&%d", fd))), 0);
  EXPECT_EQ(readFile(path), "text\n");
  temp.reset();
  char bytes[8] = {};
  EXPECT_EQ(::pread(fd, bytes, sizeof bytes, 0), 5);  // also when the file is gone
  EXPECT_FALSE(fs::exists(path));
  ::close(fd);
}

TEST_F(TempArea, DescriptorZero_IsOneAsGoodAsAny) {
  const ChildResult child = runInChild([&] {
    ::close(STDIN_FILENO);
    std::string path;
    int fd = -1;
    CTemp own;
    if (own.getTempFile(path, "pre", dir.path().c_str(), &fd) != 1) return 1;
    return fd == STDIN_FILENO && fs::exists(path) ? 0 : 2;
  });
  EXPECT_EQ(child.exitCode(), 0);
}

TEST_F(TempArea, EveryName_EndsInSixGeneratedCharactersAndAnUnderscore) {
  const struct {
    const char* prefix;
    const char* directoryStart;
  } kRows[] = {{"", "file"},
               {"swcon", "swcon"},
               {"swconf", "swcon"},
               {"a b'c", "a b'c"},
               {"execGetLines", "execG"}};
  for (const auto& row : kRows) {
    const std::string file = makeFile(row.prefix);
    EXPECT_TRUE(isNamed(file, dir / row.prefix)) << file;
    EXPECT_TRUE(fs::is_regular_file(file)) << file;
    const std::string directory = makeDirectory(row.prefix);
    EXPECT_TRUE(isNamed(directory, dir / row.directoryStart)) << directory;
    EXPECT_TRUE(fs::is_directory(directory)) << directory;
  }
}

TEST_F(TempArea, DirectoryKind_LeavesTheDescriptorAlone) {
  std::string path;
  int fd = 77;
  const mode_t old = ::umask(027);
  EXPECT_EQ(temp->getTemp_sub(path, "pre", dir.path().c_str(), &fd, 2), 1);
  ::umask(old);
  EXPECT_EQ(fd, 77);
  EXPECT_EQ(fs::status(path).permissions(), fs::perms(0750));  // what the mask leaves
  EXPECT_EQ(withoutPids(log.texts()),
            inOrder({{beginning(dir.path(), "pre")}, makingOf(path), {directoryMade(path)}}));
}

// --- failures ------------------------------------------------------------------------------------

TEST_F(TempArea, WhatCannotBeMade_IsTriedTenTimesWithTheSameLines) {
  const std::string parent = dir.path();
  const std::string file = dir.write("f", "kept");
  const std::string isFile = "VUQ90100L : prefix:" + file + " already exist and it's file";
  const Texts noParent = inOrder({{beginning(file + "/x", "pre")},
                                  makingOf(file + "/x", 1),
                                  {"VUQ90101L : failed to makeDir:" + file + "/x"}});
  const std::string noName = "VUQ90102L : failed to tempnam():Not a directory";
  const Texts noDirectory = inOrder({{beginning("/proc", "pre")},
                                     makingOf("/proc/pre<name>_", 1),
                                     {"VUQ90103L : failed to create dir:/proc/pre<name>_"}});
  const std::string noFile =
      "[I](CTemp:132):failed to mkstemp():No such file or directory:templ=" + parent +
      "/no/preXXXXXX";
  const struct {
    const char* prefix;
    std::string parent;
    int kind;
    Texts lines;  // of an attempt
  } kRows[] = {
      {nullptr, parent, 1, {"[I](CTemp:66):invalid param"}},
      {nullptr, parent, 0, {"[I](CTemp:66):invalid param"}},
      {"pre", file, 1, {beginning(file, "pre"), isFile}},
      {"pre", file, 0, {beginning(file, "pre"), isFile}},
      {"pre", file + "/x", 1, noParent},
      {"pre", file + "/x", 0, noParent},
      {"f/x", parent, 1, {beginning(parent, "f/x"), noName}},
      {"pre", "/proc", 1, noDirectory},
      {"no/pre", parent, 0, {beginning(parent, "no/pre"), noFile}},
  };
  for (const auto& row : kRows) {
    for (const std::size_t attempts : {1u, 10u}) {
      std::string path = "left over";
      int fd = 77;
      if (attempts == 1) {
        EXPECT_EQ(temp->getTemp_sub(path, row.prefix, row.parent.c_str(), &fd, row.kind), 0);
      } else if (row.kind == 1) {
        EXPECT_EQ(temp->getTempDir(path, row.prefix, row.parent.c_str()), 0);
      } else {
        EXPECT_EQ(temp->getTempFile(path, row.prefix, row.parent.c_str(), &fd), 0);
      }
      EXPECT_EQ(path.empty(), row.parent != "/proc") << path;
      EXPECT_EQ(fd, 77);
      Texts expected;
      for (std::size_t i = 0; i < attempts; ++i) expected = inOrder({expected, row.lines});
      Texts texts = withoutPids(log.take());
      for (std::string& text : texts) {
        text = replacePattern(text, "/pre[A-Za-z0-9]{6}_", "/pre<name>_");
      }
      EXPECT_EQ(texts, expected);
    }
  }
  EXPECT_EQ(temp->delTempFile(nullptr), 0);
  EXPECT_EQ(readFile(file), "kept");
}

TEST_F(TempArea, TemplateTooLongForTheBuffer_Fails) {
  const CapturedLog info;
  std::string path;
  const std::string prefix(5000, 'x');
  EXPECT_EQ(temp->getTemp_sub(path, prefix.c_str(), "/tmp", nullptr, 0), 0);
  const std::string whole =
      "[I](CTemp:132):failed to mkstemp():Invalid argument:templ=/tmp/" + prefix;
  EXPECT_EQ(info.texts(), Texts({whole.substr(0, 2046) + '\0'}));
}

TEST_F(TempArea, FileThatCannotTakeItsFinalName_StaysUnderItsGeneratedOneWithItsDescriptorOpen) {
  const std::string prefix(249, 'x');  // the generated name is as long as a name can be
  std::string path = "left over";
  int fd = -1;
  EXPECT_EQ(temp->getTemp_sub(path, prefix.c_str(), dir.path().c_str(), &fd, 0), 0);
  temp.reset();
  const std::string made = dir / namesIn(dir.path()).at(0);
  EXPECT_TRUE(isNamed(made + "_", dir / prefix)) << made;
  EXPECT_EQ(log.texts(),
            Texts({beginning(dir.path(), prefix), "VUQ90104L : failed to rename():" + made +
                                                      " to " + made + "_:File name too long"}));
  EXPECT_EQ(::write(fd, "text", 4), 4);
  EXPECT_EQ(readFile(made), "text");
  ::close(fd);
}

// --- TMPDIR --------------------------------------------------------------------------------------

TEST_F(TempArea, Tmpdir_WinsForDirectoriesWhereItIsOne) {
  const std::string usable = dir / "elsewhere";
  fs::create_directory(usable);
  for (const std::string& value : {usable, dir / "missing", dir.write("file", ""), std::string()}) {
    const EnvironmentGuard variable("TMPDIR", value.c_str());
    const std::string directory = makeDirectory();
    EXPECT_TRUE(isNamed(directory, (value == usable ? usable : dir.path()) + "/pre")) << directory;
    const std::string file = makeFile();
    EXPECT_TRUE(isNamed(file, dir / "pre")) << file;
  }
}

TEST_F(TempArea, RelativeTmpdir_GivesARelativePath) {
  const EnvironmentGuard variable("TMPDIR", ".");
  const fs::path before = fs::current_path();
  fs::current_path(dir.path());
  const std::string path = makeDirectory();
  EXPECT_TRUE(isNamed(path, "./pre")) << path;
  temp.reset();
  EXPECT_EQ(namesIn(dir.path()), Texts());
  fs::current_path(before);
}

TEST_F(TempArea, FirstLevelTmpdir_DirectoryIsMadeAndItsRemovalRefused) {
  if (::getuid() != 0) GTEST_SKIP() << "needs root for a root directory of its own";
  const Texts lines = linesFromPrivateRoot([] {
    ::mkdir("/first", 0755);
    ::setenv("TMPDIR", "/first", 1);
    CTemp own;
    std::string path;
    std::printf("%d\n", own.getTempDir(path, "swconf", nullptr));
    std::printf("%d\n", own.delTempFile(nullptr));
    std::printf("%d\n", own.delTempFile(nullptr));  // it is forgotten all the same
    std::puts(fs::is_directory(path) ? path.c_str() : "gone");
  });
  ASSERT_GT(lines.size(), 4u);
  const std::string path = lines[3];
  EXPECT_TRUE(isNamed(path, "/first/swcon")) << path;
  EXPECT_EQ(withoutPids(lines), inOrder({{"1", "1", "0", path, beginning("/tmp", "swconf")},
                                         makingOf(path),
                                         {directoryMade(path), "[T](CTemp:188):delTempFile:" + path,
                                          "[T](common:469):getCanonicalPath():" + path + "," + path,
                                          "VUQ90008L : " + path + " too shallow to delete"}}));
}

// --- removal -------------------------------------------------------------------------------------

TEST_F(TempArea, KeptByTheVariable_NothingIsRemovedForgottenOrLogged) {
  const std::string directory = makeDirectory();
  const std::string file = makeFile();
  log.take();
  for (const char* value : {"1", "0"}) {
    const EnvironmentGuard variable("TANEX_NOT_DEL_TEMP", value);
    EXPECT_EQ(temp->delTempFile(nullptr), 0);
    EXPECT_EQ(temp->delTempFile(file.c_str()), 0);
    EXPECT_EQ(log.bytes(), "");
  }
  const EnvironmentGuard empty("TANEX_NOT_DEL_TEMP", "");  // keeps nothing
  EXPECT_EQ(temp->delTempFile(nullptr), 2);
  EXPECT_EQ(namesIn(dir.path()), Texts());
  const std::string kept = makeFile();
  const EnvironmentGuard variable("TANEX_NOT_DEL_TEMP", "1");
  temp.reset();
  EXPECT_TRUE(fs::exists(kept));
}

TEST_F(TempArea, Destruction_RemovesInTheOrderOfCreationWithAllThatDirectoriesHold) {
  const std::string first = makeFile("z");
  const std::string second = makeDirectory("m");
  const std::string third = makeFile("a");
  fs::create_directories(second + "/below/deeper");
  log.take();
  temp.reset();
  EXPECT_EQ(log.texts(), inOrder({removalOf(first), removalOf(second), removalOf(third)}));
  EXPECT_EQ(namesIn(dir.path()), Texts());
}

TEST_F(TempArea, Path_RemovesTheItemThatIsNamedSoOnly) {
  const std::string stranger = dir.write("stranger", "kept");
  const std::string first = makeFile();
  const std::string second = makeFile();
  log.take();
  for (const std::string& path : {stranger, std::string(), first + "/"}) {
    EXPECT_EQ(temp->delTempFile(path.c_str()), 0) << path;
  }
  EXPECT_EQ(log.bytes(), "");
  EXPECT_EQ(namesIn(dir.path()).size(), 3u);
  EXPECT_EQ(temp->delTempFile(second.c_str()), 1);
  EXPECT_EQ(temp->delTempFile(second.c_str()), 0);
  EXPECT_EQ(log.texts(), removalOf(second));
  EXPECT_TRUE(fs::exists(first));
}

TEST_F(TempArea, FailingRemovalCommand_CountsAndTheItemsAreForgotten) {
  if (::getuid() != 0) GTEST_SKIP() << "needs root for a file system of its own";
  const ChildResult child = runInChild([this] {
    if (!enterPrivateMounts() || !mountTmpfs(dir.path())) return 77;
    makeFile();
    makeFile();
    const unsigned long readOnly = MS_REMOUNT | MS_RDONLY;
    if (::mount(nullptr, dir.path().c_str(), nullptr, readOnly, nullptr) != 0) return 78;
    std::printf("%d\n", temp->delTempFile(nullptr));
    std::printf("%d\n", temp->delTempFile(nullptr));
    std::printf("%zu left\n", namesIn(dir.path()).size());
    return 0;
  });
  EXPECT_EQ(child.exitCode(), 0) << child.err;
  EXPECT_EQ(child.out, "2\n0\n2 left\n");
}

}  // namespace
