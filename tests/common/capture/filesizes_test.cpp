#include "common/capture/filesizes.h"

#include <gtest/gtest.h>
#include <sys/stat.h>
#include <sys/wait.h>
#include <unistd.h>

#include <algorithm>
#include <cstdint>
#include <cstdio>
#include <filesystem>
#include <string>
#include <tuple>
#include <utility>
#include <vector>

#include "support/actionlog.h"
#include "support/childrun.h"
#include "support/fakeprogram.h"
#include "support/logtexts.h"
#include "support/scratch.h"

namespace {

namespace fs = std::filesystem;
using Texts = std::vector<std::string>;

TEST(GetDirSize, FirstNumberOfTheFirstLine_IsTheSizeWhateverTheStatus) {
  const std::pair<std::string, int> kRows[] = {{"1234\t/d\n2\n", 1234},
                                               {"", 0},
                                               {"\n12\n", 0},
                                               {"  12 34\n", 12},
                                               {std::string(1021, ' ') + "12\n", 12},
                                               {std::string(1022, ' ') + "12\n", 1}};
  const FakeProgram du("du");
  for (const auto& [output, size] : kRows) {
    du.answer(output, "exit 1");
    EXPECT_EQ(getDirSize("/d"), size) << "'" << output << "'";
  }
}

TEST(GetFreeSize, SecondColumnOfTheSecondLine_IsTheSizeWhateverTheStatus) {
  const std::string heading = "Filesystem 1K-blocks\n";
  const std::pair<std::string, int> kRows[] = {
      {heading + "/dev/vda 12345 678\n", 12345},
      {heading + "/dev/vda\t12345\t678\n", 12345},
      {heading + "/dev/vda       12345", 12345},
      {heading + "/dev/vda 12345\n/dev/vdb 6\n", 12345},
      {heading + " 5 6\n", 5},
      {heading + "12345\n", 0},
      {heading + "\n", 0},
      {heading, -1},
      {"", -1},
      // what does not fit
      {std::string(1022, 'h') + "\n/dev/vda 12345\n", 12345},
      {std::string(1023, 'h') + "\n/dev/vda 12345\n", 0},
      {heading + std::string(1020, 'd') + " 12\n", 12},
      {heading + std::string(1021, 'd') + " 12\n", 1}};
  const FakeProgram df("df");
  const Texts before = namesIn("/proc/self/fd");
  const CapturedLog log(CapturedLog::Level::kTrace);
  for (const auto& [output, size] : kRows) {
    df.answer(output, "exit 1");
    EXPECT_EQ(getFreeSize("/d"), size) << output;
  }
  EXPECT_EQ(log.bytes(), "");
  EXPECT_EQ(namesIn("/proc/self/fd"), before);
  EXPECT_EQ(::wait(nullptr), -1) << "a child was not waited for";
}

TEST(FileSizes, Path_GoesToTheShellAsItIsInACommandOfAtMost1022Bytes) {
  using Measure = int (*)(const char*);
  const std::tuple<const char*, Measure, const char*, std::size_t> kRows[] = {
      {"du", getDirSize, "-sk", 1015}, {"df", getFreeSize, "-b", 1016}};
  for (const auto& [name, measure, option, most] : kRows) {
    const FakeProgram program(name);
    measure("a b 'c d' $((1+1))");
    EXPECT_EQ(program.takeArguments(), Texts({"5", option, "a", "b", "c d", "2"}));
    for (const std::size_t length : {most - 1, most, most + 1, most + 4000}) {
      measure(std::string(length, 'p').c_str());
      EXPECT_EQ(program.takeArguments(),
                Texts({"2", option, std::string(std::min(length, most), 'p')}))
          << length;
    }
  }
}

TEST(FileSizes, RunAndErrorOutput_AreLoggedAndTheCallersOfDuAlone) {
  const FakeProgram du("du");
  const FakeProgram df("df");
  du.answer("", "echo du >&2");
  df.answer("", "echo df >&2");
  const CapturedLog log;
  const ChildResult child = runInChild([] { return getDirSize("/d") + getFreeSize("/d"); });
  EXPECT_EQ(child.err, "du\n");
  EXPECT_EQ(withoutPids(log.texts()),
            Texts({"VUQ90004L : pid=<pid>,wstat=00000000", "VUQ90004L : com=du -sk /d"}));
}

/// What `getDirFileSize` gives, as "RESULT TOTAL", in a child whose current directory is
/// `cwd`, and whose user may be nobody.
std::string dirFileSize(const std::string& cwd, const std::string& dir, int archivesOnly,
                        bool isNobody = false) {
  const ChildResult child = runInChild([&] {
    if (::chdir(cwd.c_str()) != 0 || (isNobody && !becomeNobody())) return 77;
    int total = 4711;
    const int result = getDirFileSize(dir, total, archivesOnly);
    std::printf("%d %d", result, total);
    return 0;
  });
  EXPECT_EQ(child.exitCode(), 0);
  EXPECT_EQ(child.err, "");
  return child.out;
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

TEST(GetDirFileSize, NameThatIsNotThere_EndsItWithWhatIsAddedSoFar) {
  const ScratchDir dir;
  EXPECT_EQ(dirFileSize(dir.path(), "./", 0), "0 0");
  EXPECT_EQ(dirFileSize(dir.path(), "./missing/", 0), "0 0");
  dir.write("a", "12345");
  fs::create_symlink("missing", dir / "b");
  dir.write("c", "123");
  EXPECT_EQ(dirFileSize(dir.path(), "./", 0), "-1 5");
  EXPECT_EQ(dirFileSize("/", dir.path() + "/", 0), "-1 0");  // the names are taken as they are
  EXPECT_EQ(dirFileSize("/", "", 0), "-1 0");
}

TEST(GetDirFileSize, Commands_HaveNoLineLimitAndDropTheirErrorOutput) {
  const FakeProgram ls("ls");
  ls.answer("", "echo error >&2");
  const std::string all = "ls -1 /d/ 2>/dev/null";
  const std::string archives = "ls -1 /d/urgent.*.tar *.txt express.*.tar 2>/dev/null";
  for (const int archivesOnly : {0, 1, 2, -1}) {
    const std::string command = archivesOnly == 0 ? all : archives;
    const CapturedLog log(CapturedLog::Level::kTrace);
    EXPECT_EQ(dirFileSize("/", "/d/", archivesOnly), "0 0");
    EXPECT_EQ(withoutPids(log.texts()),
              inOrder({{"[T](common:1345):execGetLines():count=-1," + command,
                        "VUQ90004L : com=" + command, "VUQ90004L : pid=<pid>,wstat=00000000"},
                       tracedExit(0)}));
  }
}

TEST(GetDirFileSize, DotAndDotDot_AreNotLookedAt) {
  if (!canBecomeNobody()) GTEST_SKIP() << "needs root to become another user";
  const FakeProgram ls("ls");
  ls.answer(".\n..\n");
  const ScratchDir dir;
  // In a directory that cannot be searched not even these two can be examined.
  EXPECT_EQ(dirFileSize(dir.path(), "./", 0, /*isNobody=*/true), "0 0");
}

TEST(GetDirFileSize, FilesAbove2GiB_WrapAt32Bits) {
  const ScratchDir dir;
  fs::resize_file(dir.write("a", ""), 4294967296u + 5u);
  EXPECT_EQ(dirFileSize(dir.path(), "./", 0), "0 5");
  fs::resize_file(dir / "a", 2147483648u);
  EXPECT_EQ(dirFileSize(dir.path(), "./", 0), "0 -2147483648");
}

TEST(GetTotalFileSize, Files_AreAddedUpIn64Bits) {
  const ScratchDir dir;
  const std::string small = dir.write("small", "1234567");
  fs::resize_file(dir.write("large", ""), 5000000000u);
  fs::create_symlink("small", dir / "link");
  const CapturedLog log(CapturedLog::Level::kTrace);
  EXPECT_EQ(getTotalFileSize({}, 1), 0);
  ASSERT_EQ(::mkfifo((dir / "pipe").c_str(), 0600), 0);
  EXPECT_EQ(getTotalFileSize({dir.write("empty", ""), dir / "pipe", "/dev/null"}, 1), 0);
  EXPECT_EQ(getTotalFileSize({small, small, dir / "link"}, 0), 21);
  EXPECT_EQ(getTotalFileSize({dir / "large", small, dir / "large"}, 0), 10000000007);
  EXPECT_EQ(log.bytes(), "");
}

TEST(GetTotalFileSize, Directories_AreFollowedWhenRecursiveIs1ButNeverIntoThemselves) {
  const ScratchDir dir;
  fs::create_directories(dir / "d/e/f");
  dir.write("d/a", "1");
  dir.write("d/e/b", "12");
  dir.write("d/e/f/c d'", "1234");
  const std::string file = dir.write("file", "12345678");
  const CapturedLog log(CapturedLog::Level::kTrace);
  for (const int recursive : {0, 2, -1}) {
    EXPECT_EQ(getTotalFileSize({dir / "d", file}, recursive), 8) << recursive;
  }
  EXPECT_EQ(getTotalFileSize({dir / "d", file}, 1), 15);
  EXPECT_EQ(getTotalFileSize({dir / "d/", dir / "d/e"}, 1), 13);
  fs::create_directory_symlink("d", dir / "link");
  EXPECT_EQ(getTotalFileSize({dir.path()}, 1), 22);
  fs::create_directory_symlink("..", dir / "d/e/up");
  fs::create_directory_symlink(".", dir / "d/e/here");
  EXPECT_EQ(getTotalFileSize({dir / "d"}, 1), 7);
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

TEST(GetTotalFileSize, FileThatCannotBeMeasured_AddsNothingAndIsTraced) {
  const ScratchDir dir;
  dir.write("file", "1234567");
  fs::create_symlink("missing", dir / "link");
  const CapturedLog log(CapturedLog::Level::kTrace);
  EXPECT_EQ(getTotalFileSize({dir / "file", dir / "missing", dir.path()}, 1), 14);
  EXPECT_EQ(log.texts(),
            Texts({"get file size error(" + dir / "missing" + ",No such file or directory)",
                   "[T](common:192):getFileSize():reurned -1 , " + dir / "missing",
                   "get file size error(" + dir / "link" + ",No such file or directory)",
                   "[T](common:192):getFileSize():reurned -1 , " + dir / "link"}));
}

}  // namespace
