#include "common/files/attributes.h"

#include <gtest/gtest.h>
#include <sys/stat.h>
#include <unistd.h>
#include <utime.h>

#include <filesystem>
#include <string>
#include <utility>
#include <vector>

#include "common/base/format.h"
#include "support/actionlog.h"
#include "support/childrun.h"
#include "support/environmentguard.h"
#include "support/logtexts.h"
#include "support/scratch.h"

namespace {

namespace fs = std::filesystem;
using Texts = std::vector<std::string>;

/// What `dupDir` copies, as a text: owner, group, permissions, access and modification time.
std::string attributesOf(const std::string& path) {
  struct stat status = {};
  EXPECT_EQ(::stat(path.c_str(), &status), 0) << path;
  return format("%u:%u %04o %lld %lld", status.st_uid, status.st_gid, status.st_mode & 07777,
                static_cast<long long>(status.st_atime), static_cast<long long>(status.st_mtime));
}

void setTimes(const std::string& path, time_t accessed, time_t modified) {
  const utimbuf times = {accessed, modified};
  ASSERT_EQ(::utime(path.c_str(), &times), 0) << path;
}

class DupDir : public testing::Test {
 protected:
  DupDir() {
    fs::create_directory(src);
    EXPECT_EQ(::chmod(src.c_str(), 0715), 0);
    setTimes(src, 1000000000, 1100000001);
  }

  static int copy(const std::string& from, const std::string& to) {
    return dupDir(from.c_str(), to.c_str());
  }

  ScratchDir dir;
  const std::string src = dir / "src";
  const std::string dst = dir / "dst";
};

TEST_F(DupDir, ExistingRegularFile_IsRefusedAndNothingChanges) {
  const std::string file = dir.write("file", "kept");
  const std::string before = attributesOf(file);
  const CapturedLog log;
  EXPECT_EQ(copy(src, file), 0);
  EXPECT_EQ(log.texts(),
            Texts({"VUQ90001L : destination:" + file + " is already exist and it's file"}));
  EXPECT_EQ(attributesOf(file), before);
}

TEST_F(DupDir, SourceThatCannotBeExamined_IsLoggedWithTheReasonWhateverTheDestinationIs) {
  fs::create_symlink("loop", dir / "loop");
  const std::string file = dir.write("file", "kept");
  const std::string start = "[I](common:371):failed to stat():";
  const CapturedLog log;
  EXPECT_EQ(copy(dir / "missing", dst), 0);
  EXPECT_EQ(copy(dir / "missing", file), 0);
  EXPECT_EQ(copy(dir / "loop", dst), 0);
  EXPECT_EQ(log.texts(), Texts({start + dir / "missing" + ",No such file or directory",
                                start + dir / "missing" + ",No such file or directory",
                                start + dir / "loop" + ",Too many levels of symbolic links"}));
  EXPECT_FALSE(fs::exists(dst));
}

TEST_F(DupDir, DestinationThatCannotBeMade_IsLogged) {
  const std::string below = dir.write("file", "") + "/dst";
  const CapturedLog log;
  EXPECT_EQ(copy(src, below), 0);
  EXPECT_EQ(withoutPids(log.texts()), Texts({"VUQ90004L : pid=<pid>,wstat=00000100",
                                             "VUQ90004L : com=mkdir -p " + below + " 2>/dev/null",
                                             "VUQ90002L : failed to makeDir():" + below}));
}

TEST_F(DupDir, MissingDestination_IsMadeWithItsParents) {
  const CapturedLog log;
  EXPECT_EQ(copy(src, dir / "a b/c"), 1);
  EXPECT_EQ(withoutPids(log.texts()),
            Texts({"VUQ90004L : pid=<pid>,wstat=00000000",
                   "VUQ90004L : com=mkdir -p " + dir / "a\\ b/c" + " 2>/dev/null"}));
  EXPECT_EQ(attributesOf(dir / "a b/c"), attributesOf(src));
  EXPECT_NE(attributesOf(dir / "a b"), attributesOf(src));
}

TEST_F(DupDir, ExistingDestination_GetsEveryAttributeAndKeepsItsEntries) {
  if (!canBecomeNobody()) GTEST_SKIP() << "needs root to give directories away";
  fs::create_directory(dst);
  dir.write("dst/kept", "");
  ASSERT_EQ(::chown(src.c_str(), 4711, 4712), 0);
  const CapturedLog log(CapturedLog::Level::kTrace);
  for (const mode_t mode : {0755u, 0u, 07777u, 02070u, 01707u, 04700u}) {
    ASSERT_EQ(::chmod(src.c_str(), mode), 0);
    setTimes(src, 1000000000 + static_cast<time_t>(mode), 1100000001);
    EXPECT_EQ(copy(src, dst), 1);
    EXPECT_EQ(attributesOf(dst), attributesOf(src));
  }
  EXPECT_EQ(attributesOf(dst), "4711:4712 4700 1000002496 1100000001");
  EXPECT_EQ(namesIn(dst), Texts({"kept"}));
  EXPECT_EQ(log.bytes(), "");
}

TEST_F(DupDir, SourceThatIsAFileOrALink_GivesWhatItLeadsTo) {
  const std::string file = dir.write("file", "");
  ASSERT_EQ(::chmod(file.c_str(), 0640), 0);
  setTimes(file, 1000000000, 1100000001);
  fs::create_symlink("file", dir / "link");
  fs::create_directory(dst);
  EXPECT_EQ(copy(dir / "link", dst), 1);
  EXPECT_EQ(attributesOf(dst), attributesOf(file));
}

TEST_F(DupDir, OwnerThatCannotBeGiven_IsNoFailure) {
  if (!canBecomeNobody()) GTEST_SKIP() << "needs root to become another user";
  ASSERT_EQ(::chmod(dir.path().c_str(), 0777), 0);
  const ChildResult child = runInChild([&] { return becomeNobody() ? copy(src, dst) : 77; });
  EXPECT_EQ(child.exitCode(), 1);
  EXPECT_EQ(attributesOf(dst), "65534:65534 0715 1000000000 1100000001");
}

TEST(GetFileDate, ModificationTimeOfWhatALinkLeadsTo_IsGivenInLocalTime) {
  const TimeZoneGuard zone("JST-9");
  const ScratchDir dir;
  fs::create_directory(dir / "d");
  fs::create_directory_symlink("d", dir / "link");
  const CapturedLog log(CapturedLog::Level::kTrace);
  const std::pair<time_t, const char*> kRows[] = {
      {0, "1970/01/01 09:00:00"}, {-1, "1970/01/01 08:59:59"}, {5000000000, "2128/06/11 17:53:20"}};
  for (const auto& [time, expected] : kRows) {
    setTimes(dir / "d", 1, time);
    std::string date = dir / "link";  // the path may be the result itself
    EXPECT_EQ(getFileDate(date, date), 0);
    EXPECT_EQ(date, expected);
  }
  EXPECT_EQ(log.bytes(), "");
}

TEST(GetFileDate, Failure_IsLoggedWithThePathAndEmptiesTheResult) {
  const ScratchDir dir;
  fs::create_symlink("missing", dir / "dangling");
  CapturedLog log;
  for (const std::string& path : {dir / "dangling", dir / "100%s", std::string()}) {
    std::string date = path;
    EXPECT_EQ(getFileDate(date, date), -1);
    EXPECT_EQ(date, "");
    EXPECT_EQ(log.take(), Texts({"get file date error(" + path + ")"}));
  }
}

}  // namespace
