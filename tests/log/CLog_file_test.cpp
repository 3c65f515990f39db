#include "log/CLog.h"

#include <gtest/gtest.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cstddef>
#include <cstdio>
#include <cstdlib>
#include <filesystem>
#include <string>
#include <vector>

#include "support/actionlog.h"
#include "support/childrun.h"
#include "support/environmentguard.h"
#include "support/fakeprogram.h"
#include "support/ownlog.h"
#include "support/privateroot.h"
#include "support/scratch.h"

namespace {

namespace fs = std::filesystem;
using Texts = std::vector<std::string>;

constexpr std::size_t kRotationBytes = 512000;

// --- the file ------------------------------------------------------------------------------------

mode_t modeOfNewFileUnder(mode_t mask) {
  const ScratchDir dir;
  OwnLog own(dir, "action.log");
  const mode_t old = ::umask(mask);
  own.log.ilog("a line");
  ::umask(old);
  struct stat status = {};
  EXPECT_EQ(::stat(own.path.c_str(), &status), 0);
  return status.st_mode & 07777;
}

TEST(ActionLog, NewFileUnderMask022_GetsOctal01204) { EXPECT_EQ(modeOfNewFileUnder(022), 01204u); }

TEST(ActionLog, NewFileUnderMask007_LosesTheReadersBit) {
  EXPECT_EQ(modeOfNewFileUnder(007), 01200u);
}

TEST(ActionLog, ExistingFile_KeepsItsModeAndContents) {
  const CapturedLog log;
  fs::permissions(log.path(), fs::perms(0640));
  gLog.ilog("one");
  gLog.ilog("two");
  EXPECT_EQ(fs::status(log.path()).permissions(), fs::perms(0640));
  EXPECT_EQ(log.texts(), Texts({"one", "two"}));
}

std::string standardErrorWithLog(const std::string& path) {
  const ChildResult child = runInChild([&] {
    const EnvironmentGuard variable("TANEX_LOG", path.c_str());
    CLog log;
    log.init("prog", nullptr);
    log.ilog("one");
    log.tlog("not even tried");
    log.ilog("two");
    return 0;
  });
  EXPECT_EQ(child.exitCode(), 0);
  EXPECT_EQ(child.out, "");
  return child.err;
}

TEST(ActionLog, EmptyLogVariable_EachLineGivesOneStandardErrorLine) {
  EXPECT_EQ(standardErrorWithLog(""),
            "*** failed to open():No such file or directory\n"
            "*** failed to open():No such file or directory\n");
}

TEST(ActionLog, DirectoryMissing_EachLineGivesOneStandardErrorLine) {
  const ScratchDir dir;
  const std::string path = dir / "missing/action.log";
  const std::string line = "*** failed to open(" + path + "):No such file or directory\n";
  EXPECT_EQ(standardErrorWithLog(path), line + line);
  EXPECT_EQ(namesIn(dir.path()), Texts());
}

TEST(ActionLog, PathIsADirectory_EachLineGivesOneStandardErrorLine) {
  const ScratchDir dir;
  const std::string line = "*** failed to open(" + dir.path() + "):Is a directory\n";
  EXPECT_EQ(standardErrorWithLog(dir.path()), line + line);
}

TEST(ActionLog, FileNotWritable_EachLineGivesOneStandardErrorLine) {
  if (!canBecomeNobody()) GTEST_SKIP() << "needs root to become another user";
  const ScratchDir dir;
  const std::string path = dir.write("action.log", "kept\n");
  fs::permissions(dir.path(), fs::perms(0755));
  const ChildResult child = runInChild([&] {
    const EnvironmentGuard variable("TANEX_LOG", path.c_str());
    if (!becomeNobody()) return 77;
    CLog log;
    log.init("prog", nullptr);
    log.ilog("one");
    return 0;
  });
  EXPECT_EQ(child.exitCode(), 0);
  EXPECT_EQ(child.err, "*** failed to open(" + path + "):Permission denied\n");
  EXPECT_EQ(readLog(path), "kept\n");
}

TEST(ActionLog, DiskFull_LinesAreLostWithoutAWord) {
  if (::getuid() != 0) GTEST_SKIP() << "needs root for a small file system";
  const ScratchDir dir;
  const ChildResult child = runInChild([&] {
    if (!enterPrivateMounts() || !mountTmpfs(dir.path(), "8192")) return 77;
    dir.write("filler", std::string(8192, 'x'));
    OwnLog own(dir, "action.log");
    own.log.ilog("one");
    own.log.ilog("two");
    std::printf("%zu bytes\n", static_cast<std::size_t>(fs::file_size(own.path)));
    return 0;
  });
  EXPECT_EQ(child.exitCode(), 0);
  EXPECT_EQ(child.out, "0 bytes\n");
  EXPECT_EQ(child.err, "");
}

// --- rotation ------------------------------------------------------------------------------------

TEST(ActionLogRotation, FileOf512000Bytes_IsNotRotated) {
  const ScratchDir dir;
  const std::string old(kRotationBytes, 'x');
  dir.write("action.log", old);
  OwnLog own(dir, "action.log");
  own.log.ilog("new");
  EXPECT_EQ(namesIn(dir.path()), Texts({"action.log"}));
  const std::string bytes = readLog(own.path);
  ASSERT_GT(bytes.size(), kRotationBytes);
  EXPECT_TRUE(bytes.compare(0, kRotationBytes, old) == 0);
  EXPECT_EQ(logTexts(bytes.substr(kRotationBytes)), Texts({"new"}));
}

TEST(ActionLogRotation, FileOf512001Bytes_IsBackedUpAndTheNewLineIsTheFirst) {
  const ScratchDir dir;
  const std::string old(kRotationBytes + 1, 'x');
  dir.write("action.log", old);
  OwnLog own(dir, "action.log");
  own.log.ilog("new");
  own.log.ilog("newer");
  EXPECT_EQ(namesIn(dir.path()), Texts({"action.bak", "action.log"}));
  EXPECT_TRUE(readLog(dir / "action.bak") == old);
  EXPECT_EQ(logTexts(readLog(own.path)), Texts({"new", "newer"}));
}

TEST(ActionLogRotation, PathWithTwoDots_BackupReplacesTheLastExtensionOnly) {
  const ScratchDir dir;
  dir.write("b.c.log", std::string(kRotationBytes + 1, 'x'));
  OwnLog own(dir, "b.c.log");
  own.log.ilog("new");
  EXPECT_EQ(namesIn(dir.path()), Texts({"b.c.bak", "b.c.log"}));
}

TEST(ActionLogRotation, PathWithoutExtension_BackupGetsOne) {
  const ScratchDir dir;
  dir.write("action", std::string(kRotationBytes + 1, 'x'));
  OwnLog own(dir, "action");
  own.log.ilog("new");
  EXPECT_EQ(namesIn(dir.path()), Texts({"action", "action.bak"}));
}

TEST(ActionLogRotation, PathWithoutDirectory_BacksUpIntoTheRoot) {
  if (::getuid() != 0) GTEST_SKIP() << "needs root for a root directory of its own";
  const ScratchDir dir;
  const ChildResult child = runInChild([&] {
    if (!enterPrivateRoot(dir.path()) || ::mkdir("/place", 0755) != 0 || ::chdir("/place") != 0) {
      return 77;
    }
    if (std::FILE* file = std::fopen("action.log", "w")) {
      std::fputs(std::string(kRotationBytes + 1, 'x').c_str(), file);
      std::fclose(file);
    }
    const EnvironmentGuard variable("TANEX_LOG", "action.log");
    CLog log;
    log.init("prog", nullptr);
    log.ilog("new");
    std::printf("%zu bytes, %s, %s\n", static_cast<std::size_t>(fs::file_size("/action.bak")),
                logTexts(readLog("/place/action.log")).front().c_str(),
                namesIn("/place").back().c_str());
    return 0;
  });
  EXPECT_EQ(child.exitCode(), 0) << child.err;
  EXPECT_EQ(child.out, "512001 bytes, new, action.log\n");
}

TEST(ActionLogRotation, OlderBackup_IsOverwritten) {
  const ScratchDir dir;
  const std::string old(kRotationBytes + 1, 'x');
  dir.write("action.bak", "an older generation");
  dir.write("action.log", old);
  OwnLog own(dir, "action.log");
  own.log.ilog("new");
  EXPECT_EQ(namesIn(dir.path()), Texts({"action.bak", "action.log"}));
  EXPECT_TRUE(readLog(dir / "action.bak") == old);
}

TEST(ActionLogRotation, NoRoomForTheBackup_FileIsEmptiedAllTheSame) {
  if (::getuid() != 0) GTEST_SKIP() << "needs root for a small file system";
  const ScratchDir dir;
  const ChildResult child = runInChild([&] {
    if (!enterPrivateMounts() || !mountTmpfs(dir.path(), "600k")) return 77;
    dir.write("action.log", std::string(kRotationBytes + 1, 'x'));
    OwnLog own(dir, "action.log");
    own.log.ilog("new");
    std::puts(logTexts(readLog(own.path)).front().c_str());
    return 0;
  });
  EXPECT_EQ(child.exitCode(), 0);
  EXPECT_EQ(child.out, "new\n");
  EXPECT_EQ(child.err, "");
}

TEST(ActionLogRotation, BackupNotWritable_FileIsEmptiedAllTheSame) {
  if (!canBecomeNobody()) GTEST_SKIP() << "needs root to become another user";
  const ScratchDir dir;
  dir.write("action.log", std::string(kRotationBytes + 1, 'x'));
  fs::permissions(dir / "action.log", fs::perms(0666));
  fs::permissions(dir.path(), fs::perms(0755));
  const ChildResult child = runInChild([&] {
    if (!becomeNobody()) return 77;
    OwnLog own(dir, "action.log");
    own.log.ilog("new");
    return 0;
  });
  EXPECT_EQ(child.exitCode(), 0);
  EXPECT_EQ(child.out + child.err, "");
  EXPECT_EQ(namesIn(dir.path()), Texts({"action.log"}));
  EXPECT_EQ(logTexts(readLog(dir / "action.log")), Texts({"new"}));
}

TEST(ActionLogRotation, FileNotWritable_StaysAsItIs) {
  if (!canBecomeNobody()) GTEST_SKIP() << "needs root to become another user";
  const ScratchDir dir;
  const std::string bytes(kRotationBytes + 1, 'x');
  const std::string path = dir.write("action.log", bytes);
  fs::permissions(path, fs::perms(0644));
  fs::permissions(dir.path(), fs::perms(0755));
  const ChildResult child = runInChild([&] {
    if (!becomeNobody()) return 77;
    OwnLog own(dir, "action.log");
    own.log.ilog("lost");
    return 0;
  });
  EXPECT_EQ(child.exitCode(), 0);
  EXPECT_EQ(child.err, "*** failed to open(" + path + "):Permission denied\n");
  EXPECT_EQ(readLog(path), bytes);
}

TEST(ActionLogRotation, PathWithABlank_CannotBeBackedUpAndIsEmptied) {
  // The backup command takes the path as it is, so the shell sees several words.
  const ScratchDir dir;
  dir.write("a b.log", std::string(kRotationBytes + 1, 'x'));
  OwnLog own(dir, "a b.log");
  own.log.ilog("new");
  EXPECT_EQ(namesIn(dir.path()), Texts({"a b.log"}));
  EXPECT_EQ(logTexts(readLog(own.path)), Texts({"new"}));
}

TEST(ActionLogRotation, BackupCommand_IsGivenBothPathsAndItsOutputIsDropped) {
  const ScratchDir dir;
  dir.write("b.c.log", std::string(kRotationBytes + 1, 'x'));
  const FakeProgram copy("cp");
  copy.answer("100% printed\n", "echo error >&2; exit 1");
  const ChildResult child = runInChild([&] {
    OwnLog own(dir, "b.c.log");
    own.log.ilog("new");
    return 0;
  });
  EXPECT_EQ(child.exitCode(), 0);
  EXPECT_EQ(child.out + child.err, "");
  EXPECT_EQ(copy.takeArguments(), Texts({"3", "-f", dir / "b.c.log", dir / "b.c.bak"}));
  EXPECT_EQ(logTexts(readLog(dir / "b.c.log")), Texts({"new"}));
}

TEST(ActionLogRotation, SizeAbove32Bits_IsNotTakenForASmallOne) {
  const ScratchDir dir;
  const std::string path = dir.write("action.log", "");
  fs::resize_file(path, (1ULL << 32) + 1);  // a hole, which takes no room
  const FakeProgram copy("cp");
  OwnLog own(dir, "action.log");
  own.log.ilog("new");
  EXPECT_EQ(copy.takeArguments().size(), 4u);
  ASSERT_LT(fs::file_size(path), 100u);  // to be read now, which the hole is not
  EXPECT_EQ(logTexts(readLog(path)), Texts({"new"}));
}

TEST(ActionLogRotation, BackupCopy_PrintsAndLogsNothing) {
  const ScratchDir dir;
  dir.write("action.log", std::string(kRotationBytes + 1, 'x'));
  const ChildResult child = runInChild([&] {
    OwnLog own(dir, "action.log");
    ::setenv("TANEX_LOG", own.path.c_str(), 1);
    ::setenv("TANEX_LOG_LEVEL", "LOG_LEVEL_TRACE", 1);
    gLog.init("prog", nullptr);
    gLog.tlog("new");
    return 0;
  });
  EXPECT_EQ(child.out + child.err, "");
  EXPECT_EQ(logTexts(readLog(dir / "action.log")), Texts({"new"}));
}

}  // namespace
