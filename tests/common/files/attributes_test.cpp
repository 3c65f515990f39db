#include "common/files/attributes.h"

#include <gtest/gtest.h>
#include <sys/stat.h>
#include <unistd.h>
#include <utime.h>

#include <cstdio>
#include <filesystem>
#include <string>
#include <vector>

#include "support/actionlog.h"
#include "support/childrun.h"
#include "support/logtexts.h"
#include "support/scratch.h"
#include "support/timezoneguard.h"

namespace {

namespace fs = std::filesystem;
using Texts = std::vector<std::string>;

/// What `dupDir` copies, as a text: owner, group, permissions, access and modification time.
std::string attributesOf(const std::string& path) {
  struct stat status = {};
  EXPECT_EQ(::stat(path.c_str(), &status), 0) << path;
  char text[200];
  std::snprintf(text, sizeof text, "%u:%u %04o %lld %lld", status.st_uid, status.st_gid,
                status.st_mode & 07777, static_cast<long long>(status.st_atime),
                static_cast<long long>(status.st_mtime));
  return text;
}

void setTimes(const std::string& path, time_t accessed, time_t modified) {
  const utimbuf times = {accessed, modified};
  ASSERT_EQ(::utime(path.c_str(), &times), 0) << path;
}

// --- dupDir --------------------------------------------------------------------------------------

TEST(DupDir, ExistingRegularFile_IsRefusedAndNothingChanges) {
  const ScratchDir dir;
  fs::create_directory(dir / "src");
  const std::string file = dir.write("file", "kept");
  setTimes(file, 1000000000, 1000000001);
  const std::string before = attributesOf(file);
  const CapturedLog log;
  EXPECT_EQ(dupDir((dir / "src").c_str(), file.c_str()), 0);
  EXPECT_EQ(log.texts(),
            Texts({"VUQ90001L : destination:" + file + " is already exist and it's file"}));
  EXPECT_EQ(attributesOf(file), before);
  EXPECT_EQ(readFile(file), "kept");
}

TEST(DupDir, EitherNull_IsLoggedAndZero) {
  const ScratchDir dir;
  CapturedLog log;
  EXPECT_EQ(dupDir(nullptr, dir.path().c_str()), 0);
  EXPECT_EQ(log.take(), Texts({"[I](common:362):invalid param"}));
  EXPECT_EQ(dupDir(dir.path().c_str(), nullptr), 0);
  EXPECT_EQ(log.take(), Texts({"[I](common:362):invalid param"}));
  EXPECT_EQ(dupDir(nullptr, nullptr), 0);
  EXPECT_EQ(log.take(), Texts({"[I](common:362):invalid param"}));
}

TEST(DupDir, MissingSource_IsLoggedWithTheReasonAndMakesNothing) {
  const ScratchDir dir;
  const CapturedLog log;
  EXPECT_EQ(dupDir((dir / "missing").c_str(), (dir / "dst").c_str()), 0);
  EXPECT_EQ(log.texts(), Texts({"[I](common:371):failed to stat():" + dir / "missing" +
                                ",No such file or directory"}));
  EXPECT_EQ(namesIn(dir.path()), Texts());
}

TEST(DupDir, MissingSourceAndAFileAsDestination_AreOneFailureOfTheSource) {
  const ScratchDir dir;
  const std::string file = dir.write("file", "kept");
  const CapturedLog log;
  EXPECT_EQ(dupDir((dir / "missing").c_str(), file.c_str()), 0);
  EXPECT_EQ(log.texts(), Texts({"[I](common:371):failed to stat():" + dir / "missing" +
                                ",No such file or directory"}));
}

TEST(DupDir, SourceInALoop_IsLoggedWithTheReason) {
  const ScratchDir dir;
  fs::create_symlink("loop", dir / "loop");
  const CapturedLog log;
  EXPECT_EQ(dupDir((dir / "loop").c_str(), (dir / "dst").c_str()), 0);
  EXPECT_EQ(log.texts(), Texts({"[I](common:371):failed to stat():" + dir / "loop" +
                                ",Too many levels of symbolic links"}));
}

TEST(DupDir, DestinationThatCannotBeMade_IsLogged) {
  const ScratchDir dir;
  const std::string dst = dir.write("file", "") + "/dst";
  const CapturedLog log;
  EXPECT_EQ(dupDir(dir.path().c_str(), dst.c_str()), 0);
  EXPECT_EQ(withoutPids(log.texts()), Texts({"VUQ90004L : pid=<pid>,wstat=00000100",
                                             "VUQ90004L : com=mkdir -p " + dst + " 2>/dev/null",
                                             "VUQ90002L : failed to makeDir():" + dst}));
}

TEST(DupDir, MissingDestination_IsMadeWithItsParents) {
  const ScratchDir dir;
  fs::create_directory(dir / "src");
  ASSERT_EQ(::chmod((dir / "src").c_str(), 0751), 0);
  setTimes(dir / "src", 1000000000, 1100000001);
  const CapturedLog log;
  EXPECT_EQ(dupDir((dir / "src").c_str(), (dir / "a b/c").c_str()), 1);
  EXPECT_EQ(withoutPids(log.texts()),
            Texts({"VUQ90004L : pid=<pid>,wstat=00000000",
                   "VUQ90004L : com=mkdir -p " + dir / "a\\ b/c" + " 2>/dev/null"}));
  EXPECT_EQ(attributesOf(dir / "a b/c"), attributesOf(dir / "src"));
  EXPECT_NE(attributesOf(dir / "a b"), attributesOf(dir / "src"));
}

TEST(DupDir, ExistingDestination_GetsEveryAttributeAndKeepsItsEntries) {
  if (!canBecomeNobody()) GTEST_SKIP() << "needs root to give directories away";
  const ScratchDir dir;
  fs::create_directory(dir / "src");
  fs::create_directory(dir / "dst");
  dir.write("dst/kept", "");
  ASSERT_EQ(::chown((dir / "src").c_str(), 4711, 4712), 0);
  for (const mode_t mode : {0755u, 0u, 07777u, 02070u, 01707u, 04700u}) {
    ASSERT_EQ(::chmod((dir / "src").c_str(), mode), 0);
    setTimes(dir / "src", 1000000000 + static_cast<time_t>(mode), 1100000001);
    const CapturedLog log(CapturedLog::Level::kTrace);
    EXPECT_EQ(dupDir((dir / "src").c_str(), (dir / "dst").c_str()), 1);
    char expected[100];
    std::snprintf(expected, sizeof expected, "4711:4712 %04o %u 1100000001", mode,
                  1000000000 + mode);
    EXPECT_EQ(attributesOf(dir / "dst"), expected);
    EXPECT_EQ(log.bytes(), "");
  }
  EXPECT_EQ(namesIn(dir / "dst"), Texts({"kept"}));
}

TEST(DupDir, SourceThatIsAFileOrALink_GivesWhatItLeadsTo) {
  const ScratchDir dir;
  const std::string file = dir.write("file", "");
  ASSERT_EQ(::chmod(file.c_str(), 0640), 0);
  setTimes(file, 1000000000, 1100000001);
  fs::create_symlink("file", dir / "link");
  fs::create_directory(dir / "dst");
  EXPECT_EQ(dupDir((dir / "link").c_str(), (dir / "dst").c_str()), 1);
  EXPECT_EQ(attributesOf(dir / "dst"), attributesOf(file));
}

TEST(DupDir, OwnerThatCannotBeGiven_IsNoFailure) {
  if (!canBecomeNobody()) GTEST_SKIP() << "needs root to become another user";
  const ScratchDir dir;
  ASSERT_EQ(::chmod(dir.path().c_str(), 0777), 0);
  fs::create_directory(dir / "src");
  ASSERT_EQ(::chmod((dir / "src").c_str(), 0715), 0);
  setTimes(dir / "src", 1000000000, 1100000001);
  const ChildResult child = runInChild([&] {
    if (!becomeNobody()) return 77;
    return dupDir((dir / "src").c_str(), (dir / "dst").c_str());
  });
  EXPECT_EQ(child.exitCode(), 1);
  EXPECT_EQ(attributesOf(dir / "dst"), "65534:65534 0715 1000000000 1100000001");
}

TEST(DupDir, NoAttributeThatCanBeGiven_IsNoFailureEither) {
  if (!canBecomeNobody()) GTEST_SKIP() << "needs root to become another user";
  const ScratchDir dir;
  ASSERT_EQ(::chmod(dir.path().c_str(), 0755), 0);
  for (const char* name : {"src", "dst"}) fs::create_directory(dir / name);
  ASSERT_EQ(::chmod((dir / "src").c_str(), 0715), 0);
  setTimes(dir / "src", 1000000000, 1100000001);
  const std::string before = attributesOf(dir / "dst");  // root's, whatever nobody tries
  const CapturedLog log(CapturedLog::Level::kTrace);
  const ChildResult child = runInChild([&] {
    if (!becomeNobody()) return 77;
    return dupDir((dir / "src").c_str(), (dir / "dst").c_str());
  });
  EXPECT_EQ(child.exitCode(), 1);
  EXPECT_EQ(attributesOf(dir / "dst"), before);
  EXPECT_EQ(child.err + log.bytes(), "");  // nobody can only complain that the log is closed
}

// --- getFileDate ---------------------------------------------------------------------------------

TEST(GetFileDate, ModificationTime_IsGivenInLocalTime) {
  const ScratchDir dir;
  const std::string path = dir.write("file", "");
  const struct {
    const char* zone;
    time_t time;
    const char* date;
  } kRows[] = {{"UTC0", 0, "1970/01/01 00:00:00"},
               {"UTC0", -1, "1969/12/31 23:59:59"},
               {"UTC0", 1798761599, "2026/12/31 23:59:59"},
               {"JST-9", 1798761599, "2027/01/01 08:59:59"},
               {"IST-5:30", 1798761599, "2027/01/01 05:29:59"},
               {"EST5EDT,M3.2.0,M11.1.0", 1798765200, "2026/12/31 20:00:00"},
               {"EST5EDT,M3.2.0,M11.1.0", 1783000000, "2026/07/02 09:46:40"},
               {"UTC0", 5000000000, "2128/06/11 08:53:20"}};
  for (const auto& row : kRows) {
    const TimeZoneGuard zone(row.zone);
    setTimes(path, 1, row.time);
    std::string date = "left over";
    EXPECT_EQ(getFileDate(path, date), 0);
    EXPECT_EQ(date, row.date) << row.zone << ", " << row.time;
  }
}

TEST(GetFileDate, LinkAndDirectory_HaveTheDateOfWhatTheyLeadTo) {
  const TimeZoneGuard zone("UTC0");
  const ScratchDir dir;
  fs::create_directory(dir / "d");
  fs::create_directory_symlink("d", dir / "link");
  setTimes(dir / "d", 1, 86400);
  const CapturedLog log(CapturedLog::Level::kTrace);
  std::string date;
  EXPECT_EQ(getFileDate(dir / "link", date), 0);
  EXPECT_EQ(date, "1970/01/02 00:00:00");
  EXPECT_EQ(log.bytes(), "");
}

TEST(GetFileDate, PathThatIsTheResultItself_IsExaminedAndLogged) {
  const TimeZoneGuard zone("UTC0");
  const ScratchDir dir;
  std::string text = dir.write("file", "");
  setTimes(text, 1, 86400);
  EXPECT_EQ(getFileDate(text, text), 0);
  EXPECT_EQ(text, "1970/01/02 00:00:00");
  const CapturedLog log;
  text = dir / "missing";
  EXPECT_EQ(getFileDate(text, text), -1);
  EXPECT_EQ(text, "");
  EXPECT_EQ(log.texts(), Texts({"get file date error(" + dir / "missing" + ")"}));
}

TEST(GetFileDate, Failure_IsLoggedWithThePathAndEmptiesTheResult) {
  const ScratchDir dir;
  fs::create_symlink("missing", dir / "dangling");
  CapturedLog log;
  for (const std::string& path :
       {dir / "missing", dir / "dangling", dir / "100%s", std::string()}) {
    std::string date = "left over";
    EXPECT_EQ(getFileDate(path, date), -1);
    EXPECT_EQ(date, "");
    EXPECT_EQ(log.take(), Texts({"get file date error(" + path + ")"}));
  }
}

}  // namespace
