#include "common/capture/filesizes.h"

#include <fcntl.h>
#include <gtest/gtest.h>
#include <sys/stat.h>
#include <sys/wait.h>
#include <unistd.h>

#include <cerrno>
#include <cstdio>
#include <filesystem>
#include <list>
#include <string>
#include <vector>

#include "support/actionlog.h"
#include "support/childrun.h"
#include "support/descriptors.h"
#include "support/fakeprogram.h"
#include "support/logtexts.h"
#include "support/scratch.h"

// --- takes the place of the C library's call in this program -------------------------------------

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

namespace {

namespace fs = std::filesystem;
using Texts = std::vector<std::string>;

// --- getDirSize ----------------------------------------------------------------------------------

TEST(GetDirSize, Null_IsMinusOneWithoutALine) {
  const CapturedLog log(CapturedLog::Level::kTrace);
  EXPECT_EQ(getDirSize(nullptr), -1);
  EXPECT_EQ(log.bytes(), "");
}

TEST(GetDirSize, Directory_IsMeasuredInKilobytesOfDisk) {
  const ScratchDir dir;
  dir.write("file", std::string(100000, 'x'));
  ::sync();
  struct stat own = {};
  struct stat file = {};
  ASSERT_EQ(::stat(dir.path().c_str(), &own), 0);
  ASSERT_EQ(::stat((dir / "file").c_str(), &file), 0);
  EXPECT_EQ(getDirSize(dir.path().c_str()), (own.st_blocks + file.st_blocks) / 2);
}

TEST(GetDirSize, FirstNumberOfTheFirstLine_IsTheSize) {
  const FakeProgram du("du");
  const struct {
    const char* output;
    int size;
  } kRows[] = {{"1234\t/d\n", 1234},
               {"1\n2\n", 1},
               {"0\t/d\n", 0},
               {"", 0},
               {"\n12\n", 0},
               {"x12\n", 0},
               {"  12 34\n", 12},
               {"-5\n", -5},
               {"2147483647\n", 2147483647}};
  for (const auto& row : kRows) {
    du.answer(row.output);
    EXPECT_EQ(getDirSize("/d"), row.size) << "'" << row.output << "'";
  }
}

TEST(GetDirSize, ExitStatus_DoesNotMatter) {
  const FakeProgram du("du");
  du.answer("77\t/d\n", "exit 1");
  EXPECT_EQ(getDirSize("/d"), 77);
}

TEST(GetDirSize, Path_GoesToTheShellAsItIs) {
  const FakeProgram du("du");
  getDirSize("a b 'c d' $((1+1))");
  EXPECT_EQ(du.takeArguments(), Texts({"5", "-sk", "a", "b", "c d", "2"}));
}

TEST(GetDirSize, Run_IsLoggedAsACommand) {
  const FakeProgram du("du");
  const CapturedLog log(CapturedLog::Level::kTrace);
  getDirSize("/d");
  EXPECT_EQ(withoutPids(log.texts()),
            inOrder({{"VUQ90004L : pid=<pid>,wstat=00000000", "VUQ90004L : com=du -sk /d"},
                     tracedExit(0)}));
}

TEST(GetDirSize, ErrorOutput_IsTheCallers) {
  const FakeProgram du("du");
  du.answer("", "echo error >&2");
  const ChildResult child = runInChild([] { return getDirSize("/d"); });
  EXPECT_EQ(child.err, "error\n");
}

TEST(GetDirSize, CommandAbove1022Bytes_IsCut) {
  const FakeProgram du("du");
  for (const std::size_t length : {1014u, 1015u, 1016u, 5000u}) {  // after "du -sk "
    getDirSize(std::string(length, 'p').c_str());
    EXPECT_EQ(du.takeArguments(),
              Texts({"2", "-sk", std::string(length < 1015 ? length : 1015, 'p')}))
        << length;
  }
}

TEST(GetDirSize, LongLine_IsReadUpTo1023Bytes) {
  const FakeProgram du("du");
  du.answer(std::string(1021, ' ') + "12\n");
  EXPECT_EQ(getDirSize("/d"), 12);
  du.answer(std::string(1022, ' ') + "12\n");
  EXPECT_EQ(getDirSize("/d"), 1);
  du.answer(std::string(1023, ' ') + "12\n");
  EXPECT_EQ(getDirSize("/d"), 0);
}

TEST(GetDirSize, CommandThatCannotBeStarted_IsZero) {
  if (!canBecomeNobody()) GTEST_SKIP() << "needs root to become another user";
  const ChildResult child = runInChild([] {
    if (!becomeNobody() || !forbidFork()) return 77;
    return getDirSize("/") == 0 ? 0 : 1;
  });
  EXPECT_EQ(child.exitCode(), 0);
}

// --- getDirFileSize ------------------------------------------------------------------------------

/// What `getDirFileSize` gives, as "RESULT TOTAL", in a child whose current directory is `cwd`.
std::string dirFileSize(const std::string& cwd, const std::string& dir, int archivesOnly) {
  const ChildResult child = runInChild([&] {
    if (::chdir(cwd.c_str()) != 0) return 77;
    int total = 4711;
    const int result = getDirFileSize(dir, total, archivesOnly);
    std::printf("%d %d", result, total);
    return 0;
  });
  EXPECT_EQ(child.exitCode(), 0);
  EXPECT_EQ(child.err, "");
  return child.out;
}

TEST(GetDirFileSize, EmptyDirectoryName_IsMinusOneWithoutARun) {
  const CapturedLog log(CapturedLog::Level::kTrace);
  int total = 4711;
  EXPECT_EQ(getDirFileSize("", total, 0), -1);
  EXPECT_EQ(total, 0);
  EXPECT_EQ(log.bytes(), "");
}

TEST(GetDirFileSize, NamesOfTheCurrentDirectory_AreAddedUp) {
  const ScratchDir dir;
  dir.write("a", "12345");
  dir.write("b c", "123");
  dir.write("\xe6\xbc\xa2'\"", "1");
  fs::create_symlink("a", dir / "link");
  fs::create_directory(dir / "d");
  dir.write("d/below", "1234567890");
  dir.write(".hidden", "1234567890");
  EXPECT_EQ(dirFileSize(dir.path(), dir.path() + "/", 0), "0 14");
  EXPECT_EQ(dirFileSize(dir.path(), "./", 0), "0 14");
}

TEST(GetDirFileSize, NamesThatAreNotInTheCurrentDirectory_EndItWithMinusOne) {
  const ScratchDir dir;
  dir.write("a", "12345");
  EXPECT_EQ(dirFileSize("/", dir.path() + "/", 0), "-1 0");
}

TEST(GetDirFileSize, DanglingLink_EndsItWithWhatIsAddedSoFar) {
  const ScratchDir dir;
  dir.write("a", "12345");
  fs::create_symlink("missing", dir / "b");
  dir.write("c", "123");
  EXPECT_EQ(dirFileSize(dir.path(), "./", 0), "-1 5");
}

TEST(GetDirFileSize, NothingListed_IsZero) {
  const ScratchDir dir;
  EXPECT_EQ(dirFileSize(dir.path(), "./", 0), "0 0");
  EXPECT_EQ(dirFileSize(dir.path(), "./missing/", 0), "0 0");
}

TEST(GetDirFileSize, ArchivesOnly_JoinsTheFirstPatternToTheDirectory) {
  const ScratchDir dir;
  fs::create_directory(dir / "cwd");
  fs::create_directory(dir / "d");
  dir.write("d/urgent.1.tar", "1");
  dir.write("d/urgent.2.tar", "12");
  dir.write("d/x.txt", "1234");
  dir.write("d/express.1.tar", "12345678");
  EXPECT_EQ(dirFileSize(dir / "cwd", dir / "d/", 1), "0 3");
  dir.write("cwd/y.txt", std::string(100, 'x'));
  dir.write("cwd/express.1.tar", std::string(1000, 'x'));
  dir.write("cwd/urgent.3.tar", std::string(10000, 'x'));
  dir.write("cwd/other", std::string(100000, 'x'));
  for (const int archivesOnly : {1, 2, -1}) {
    EXPECT_EQ(dirFileSize(dir / "cwd", dir / "d/", archivesOnly), "0 1103") << archivesOnly;
  }
}

/// Makes directories below `root` until their path and a slash have so many bytes; gives it.
std::string makeDeep(const std::string& root, std::size_t bytes) {
  std::string path = root + "/";
  while (path.size() < bytes) {
    const std::size_t rest = bytes - path.size() - 1;
    path += std::string(rest > 201 ? 200 : rest, 'd') + "/";  // no name of no byte is left
  }
  fs::create_directories(path);
  return path;
}

TEST(GetDirFileSize, NameAbove1022Bytes_ArrivesInPiecesAndEndsItWithMinusOne) {
  const std::string name = "urgent.1.tar";
  const struct {
    std::size_t bytes;
    const char* outcome;
  } kRows[] = {{1022, "0 5"}, {1023, "-1 5"}, {1024, "-1 0"}, {3000, "-1 0"}};
  for (const auto& row : kRows) {
    const ScratchDir dir;
    const std::string deep = makeDeep(dir.path(), row.bytes - name.size());
    ASSERT_EQ((deep + name).size(), row.bytes);
    fs::resize_file(dir.write((deep + name).substr(dir.path().size() + 1), ""), 5);
    EXPECT_EQ(dirFileSize(dir.path(), deep, 1), row.outcome) << row.bytes;
  }
}

TEST(GetDirFileSize, NameWhosePiecesAreThere_AddsUpThePieces) {
  const ScratchDir dir;
  dir.write("urgent.1.tar", "123");
  const std::string deep = makeDeep(dir.path(), 1023);  // the first piece, and no file
  fs::resize_file(dir.write((deep + "urgent.1.tar").substr(dir.path().size() + 1), ""), 5);
  EXPECT_EQ(dirFileSize(dir.path(), deep, 1), "0 3");
}

TEST(GetDirFileSize, Commands_AreWhatTheirLogSays) {
  const FakeProgram ls("ls");
  ls.answer("", "exit 3");
  int total = 0;
  CapturedLog log;
  EXPECT_EQ(getDirFileSize("/d/", total, 0), 0);
  EXPECT_EQ(withoutPids(log.take()), Texts({"VUQ90004L : com=ls -1 /d/ 2>/dev/null",
                                            "VUQ90004L : pid=<pid>,wstat=00000300"}));
  EXPECT_EQ(ls.takeArguments(), Texts({"2", "-1", "/d/"}));
  EXPECT_EQ(getDirFileSize("/d/", total, 1), 0);
  EXPECT_EQ(withoutPids(log.take()),
            Texts({"VUQ90004L : com=ls -1 /d/urgent.*.tar *.txt express.*.tar 2>/dev/null",
                   "VUQ90004L : pid=<pid>,wstat=00000300"}));
}

TEST(GetDirFileSize, RunAtTraceLevel_HasNoLineLimit) {
  const FakeProgram ls("ls");
  const CapturedLog log(CapturedLog::Level::kTrace);
  int total = 0;
  EXPECT_EQ(getDirFileSize("/d/", total, 0), 0);
  EXPECT_EQ(
      withoutPids(log.texts()),
      inOrder({{"[T](common:1345):execGetLines():count=-1,ls -1 /d/ 2>/dev/null",
                "VUQ90004L : com=ls -1 /d/ 2>/dev/null", "VUQ90004L : pid=<pid>,wstat=00000000"},
               tracedExit(0)}));
}

TEST(GetDirFileSize, ErrorOutput_IsDropped) {
  const FakeProgram ls("ls");
  ls.answer("", "echo error >&2");
  const ScratchDir dir;
  EXPECT_EQ(dirFileSize(dir.path(), "./", 0), "0 0");
  EXPECT_EQ(dirFileSize(dir.path(), "./", 1), "0 0");
}

TEST(GetDirFileSize, DotAndDotDot_AreNotLookedAt) {
  if (!canBecomeNobody()) GTEST_SKIP() << "needs root to become another user";
  const FakeProgram ls("ls");
  ls.answer(".\n..\n");
  const ScratchDir dir;
  const ChildResult child = runInChild([&] {
    // In a directory that cannot be searched not even these two can be examined.
    if (::chdir(dir.path().c_str()) != 0 || !becomeNobody()) return 77;
    int total = 4711;
    const int result = getDirFileSize("./", total, 0);
    std::printf("%d %d", result, total);
    return 0;
  });
  EXPECT_EQ(child.out, "0 0");
}

TEST(GetDirFileSize, FilesAbove2GiB_WrapAt32Bits) {
  const ScratchDir dir;
  fs::resize_file(dir.write("a", ""), 4294967296u + 5u);
  EXPECT_EQ(dirFileSize(dir.path(), "./", 0), "0 5");
  fs::resize_file(dir / "a", 2147483648u);
  EXPECT_EQ(dirFileSize(dir.path(), "./", 0), "0 -2147483648");
}

// --- getTotalFileSize ----------------------------------------------------------------------------

TEST(GetTotalFileSize, Files_AreAddedUpIn64Bits) {
  const ScratchDir dir;
  const std::string small = dir.write("small", "1234567");
  fs::resize_file(dir.write("large", ""), 5000000000u);
  fs::create_symlink("small", dir / "link");
  const CapturedLog log(CapturedLog::Level::kTrace);
  EXPECT_EQ(getTotalFileSize({}, 1), 0);
  EXPECT_EQ(getTotalFileSize({small}, 0), 7);
  EXPECT_EQ(getTotalFileSize({small, small, dir / "link"}, 0), 21);
  EXPECT_EQ(getTotalFileSize({dir / "large", small, dir / "large"}, 0), 10000000007);
  EXPECT_EQ(log.bytes(), "");
}

TEST(GetTotalFileSize, SumAbove64Bits_Wraps) {
  if (::getuid() != 0) GTEST_SKIP() << "needs root for a file system without a limit";
  const ScratchDir dir;
  const ChildResult child = runInChild([&dir] {
    if (!enterPrivateMounts() || !mountTmpfs(dir.path())) return 77;
    const std::string largest = dir.write("largest", "");
    if (::truncate(largest.c_str(), INT64_MAX) != 0) return 78;
    return getTotalFileSize({largest, largest}, 0) == -2 ? 0 : 1;
  });
  EXPECT_EQ(child.exitCode(), 0);
}

TEST(GetTotalFileSize, MissingFile_AddsNothingAndIsTraced) {
  const ScratchDir dir;
  const std::string file = dir.write("file", "1234567");
  const CapturedLog log(CapturedLog::Level::kTrace);
  EXPECT_EQ(getTotalFileSize({file, dir / "missing", file}, 1), 14);
  EXPECT_EQ(log.texts(),
            Texts({"get file size error(" + dir / "missing" + ",No such file or directory)",
                   "[T](common:192):getFileSize():reurned -1 , " + dir / "missing"}));
}

TEST(GetTotalFileSize, EmptyFile_AddsNothingWithoutALine) {
  const ScratchDir dir;
  const std::string file = dir.write("file", "");
  const CapturedLog log(CapturedLog::Level::kTrace);
  EXPECT_EQ(getTotalFileSize({file}, 0), 0);
  EXPECT_EQ(log.texts(), Texts());
}

TEST(GetTotalFileSize, Directory_CountsOnlyWhenRecursiveIs1) {
  const ScratchDir dir;
  fs::create_directories(dir / "d/e/f");
  dir.write("d/a", "1");
  dir.write("d/e/b", "12");
  dir.write("d/e/f/c d'", "1234");
  const std::string file = dir.write("file", "12345678");
  for (const int recursive : {0, 2, -1}) {
    EXPECT_EQ(getTotalFileSize({dir / "d", file}, recursive), 8) << recursive;
  }
  EXPECT_EQ(getTotalFileSize({dir / "d", file}, 1), 15);
  EXPECT_EQ(getTotalFileSize({dir / "d/", dir / "d/e"}, 1), 13);
}

TEST(GetTotalFileSize, DanglingLinkInADirectory_IsTracedWithItsFullPath) {
  const ScratchDir dir;
  fs::create_symlink("missing", dir / "link");
  const CapturedLog log(CapturedLog::Level::kTrace);
  EXPECT_EQ(getTotalFileSize({dir.path()}, 1), 0);
  EXPECT_EQ(log.texts(),
            Texts({"get file size error(" + dir / "link" + ",No such file or directory)",
                   "[T](common:192):getFileSize():reurned -1 , " + dir / "link"}));
}

TEST(GetTotalFileSize, DirectoryThatCannotBeRead_CountsNothingWithoutALine) {
  if (!canBecomeNobody()) GTEST_SKIP() << "needs root to become another user";
  const ScratchDir dir;
  ASSERT_EQ(::chmod(dir.path().c_str(), 0755), 0);
  fs::create_directory(dir / "closed");
  dir.write("closed/file", "1234567");
  dir.write("file", "12");
  ASSERT_EQ(::chmod((dir / "closed").c_str(), 0700), 0);
  const CapturedLog log(CapturedLog::Level::kTrace);
  const ChildResult child = runInChild([&] {
    if (!becomeNobody()) return 77;
    return static_cast<int>(getTotalFileSize({dir.path()}, 1));
  });
  EXPECT_EQ(child.exitCode(), 2);
  EXPECT_EQ(child.err + log.bytes(), "");  // nobody can only complain that the log is closed
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

TEST(GetTotalFileSize, LinksToDirectories_AreFollowedButNeverIntoThemselves) {
  const ScratchDir dir;
  fs::create_directories(dir / "d/e");
  dir.write("d/a", "1");
  dir.write("d/e/b", "12");
  fs::create_directory_symlink("d", dir / "link");
  EXPECT_EQ(getTotalFileSize({dir.path()}, 1), 6);
  fs::create_directory_symlink("..", dir / "d/e/up");
  fs::create_directory_symlink(".", dir / "d/e/here");
  const CapturedLog log(CapturedLog::Level::kTrace);
  EXPECT_EQ(getTotalFileSize({dir / "d"}, 1), 3);
  EXPECT_EQ(log.bytes(), "");
}

TEST(GetTotalFileSize, DirectoryWithALinkToItself_CountsOnceAndNot41Times) {
  const ScratchDir dir;
  dir.write("file", "1234567");
  fs::create_directory_symlink(".", dir / "here");
  const CapturedLog log(CapturedLog::Level::kTrace);
  EXPECT_EQ(getTotalFileSize({dir.path()}, 1), 7);
  EXPECT_EQ(log.bytes(), "");
}

TEST(GetTotalFileSize, PipesAndDevices_CountAsFiles) {
  const ScratchDir dir;
  ASSERT_EQ(::mkfifo((dir / "pipe").c_str(), 0600), 0);
  EXPECT_EQ(getTotalFileSize({dir / "pipe", "/dev/null"}, 1), 0);
}

// --- getFreeSize ---------------------------------------------------------------------------------

TEST(GetFreeSize, SecondColumnOfTheSecondLine_IsTheSize) {
  const FakeProgram df("df");
  const std::string heading = "Filesystem 1K-blocks\n";
  const struct {
    std::string output;
    int size;
  } kRows[] = {{heading + "/dev/vda 12345 678\n", 12345},
               {heading + "/dev/vda\t12345\t678\n", 12345},
               {heading + "/dev/vda       12345\n", 12345},
               {heading + "/dev/vda 12345", 12345},
               {heading + "/dev/vda 12345\n/dev/vdb 6\n", 12345},
               {heading + " 5 6\n", 5},
               {heading + "12345\n", 0},
               {heading + "/dev/vda -\n", 0},
               {heading + "\n", 0},
               {heading, -1},
               {"", -1}};
  const CapturedLog log(CapturedLog::Level::kTrace);
  for (const auto& row : kRows) {
    df.answer(row.output);
    EXPECT_EQ(getFreeSize("/d"), row.size) << row.output;
  }
  EXPECT_EQ(log.bytes(), "");
}

TEST(GetFreeSize, ExitStatus_DoesNotMatter) {
  const FakeProgram df("df");
  df.answer("heading\n/dev/vda 77\n", "exit 1");
  EXPECT_EQ(getFreeSize("/d"), 77);
}

TEST(GetFreeSize, Path_GoesToTheShellAsItIs) {
  const FakeProgram df("df");
  getFreeSize("a b 'c d'");
  EXPECT_EQ(df.takeArguments(), Texts({"4", "-b", "a", "b", "c d"}));
}

TEST(GetFreeSize, ErrorOutput_IsDropped) {
  const FakeProgram df("df");
  df.answer("", "echo error >&2");
  const ChildResult child = runInChild([] { return getFreeSize("/d") == -1 ? 0 : 1; });
  EXPECT_EQ(child.exitCode(), 0);
  EXPECT_EQ(child.err, "");
}

TEST(GetFreeSize, CommandAbove1022Bytes_IsCut) {
  const FakeProgram df("df");
  // Behind "df -b "; at these lengths nothing is left of what redirects the error output.
  for (const std::size_t length : {1015u, 1016u, 1017u, 5000u}) {
    getFreeSize(std::string(length, 'p').c_str());
    EXPECT_EQ(df.takeArguments(),
              Texts({"2", "-b", std::string(length < 1016 ? length : 1016, 'p')}))
        << length;
  }
}

TEST(GetFreeSize, HeadingThatDoesNotFit_PushesTheDataOut) {
  const FakeProgram df("df");
  for (const std::size_t length : {1021u, 1022u, 1023u}) {
    df.answer(std::string(length, 'h') + "\n/dev/vda 12345\n");
    EXPECT_EQ(getFreeSize("/d"), length < 1023 ? 12345 : 0) << length;
  }
}

TEST(GetFreeSize, LongDataLine_IsReadUpTo1023Bytes) {
  const FakeProgram df("df");
  for (const std::size_t length : {1020u, 1021u, 1022u, 1023u}) {
    df.answer("heading\n" + std::string(length, 'd') + " 12\n");
    const int expected = length == 1020 ? 12 : length == 1021 ? 1 : 0;
    EXPECT_EQ(getFreeSize("/d"), expected) << length;
  }
}

TEST(GetFreeSize, Null_IsMinusOneWithoutALine) {
  const CapturedLog log(CapturedLog::Level::kTrace);
  EXPECT_EQ(getFreeSize(nullptr), -1);
  EXPECT_EQ(log.bytes(), "");
}

TEST(GetFreeSize, CommandThatCannotBeStarted_IsMinusOne) {
  if (!canBecomeNobody()) GTEST_SKIP() << "needs root to become another user";
  const ChildResult child = runInChild([] {
    if (!becomeNobody() || !forbidFork()) return 77;
    return getFreeSize("/") == -1 ? 0 : 1;
  });
  EXPECT_EQ(child.exitCode(), 0);
}

TEST(GetFreeSize, Pipe_IsClosedAndTheChildReaped) {
  const FakeProgram df("df");
  const ChildResult child = runInChild([&df] {
    const auto before = namesIn("/proc/self/fd");
    for (const char* output : {"heading\n/dev/vda 77\n", "heading\n", ""}) {
      df.answer(output);
      getFreeSize("/d");
      if (namesIn("/proc/self/fd") != before) return 1;
      if (::wait(nullptr) != -1) return 2;
    }
    return 0;
  });
  EXPECT_EQ(child.exitCode(), 0);
}

}  // namespace
