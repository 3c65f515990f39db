#include "tools/log/writefile.h"

#include <gtest/gtest.h>
#include <sys/mount.h>
#include <sys/resource.h>
#include <sys/stat.h>
#include <unistd.h>

#include <csignal>
#include <string>

#include "support/childrun.h"
#include "support/scratch.h"

namespace {

constexpr char kOlder[] = "the older page";

struct Written : testing::Test {
  mode_t modeOf(const std::string& file) const {
    struct stat status = {};
    EXPECT_EQ(::lstat(file.c_str(), &status), 0);
    return status.st_mode & 07777;
  }

  /// What a child gets that writes 1 MiB to the page after `prepare`: the reason, the names in the
  /// folder, and what the page holds.
  Texts fromChild(const std::function<bool()>& prepare) const {
    const ChildResult child = runInChild([&] {
      if (!prepare()) return 77;
      const std::string reason = writeWhole(page, std::string(1 << 20, 'x'));
      std::printf("%s\n", reason.c_str());
      for (const std::string& name : namesIn(dir.path())) std::printf("%s\n", name.c_str());
      std::printf("%s\n", readFile(page).c_str());
      std::fflush(stdout);
      return 0;
    });
    EXPECT_EQ(child.exitCode(), 0) << child.err;
    return linesOf(child.out);
  }

  bool writeOlder() const {
    dir.write("page.html", kOlder);
    return true;
  }

  ScratchDir dir;
  std::string page = dir / "page.html";
};

using WriteWhole = Written;

TEST_F(WriteWhole, NewFile_HoldsAllAndHasTheModeOfTheUmask) {
  const mode_t before = ::umask(027);
  const std::string bytes = std::string("a\0b\n", 4) + std::string(1 << 20, 'x');
  EXPECT_EQ(writeWhole(page, bytes), "");
  EXPECT_EQ(::umask(before), 027U);
  EXPECT_EQ(readFile(page), bytes);
  EXPECT_EQ(modeOf(page), 0640U);
  EXPECT_EQ(namesIn(dir.path()), Texts{"page.html"});
}

TEST_F(WriteWhole, NameWithoutFolder_IsOfTheCurrentOne) {
  const ChildResult child = runInChild([&] {
    if (::chdir(dir.path().c_str()) != 0) return 77;
    return writeWhole("page.html", "new").empty() ? 0 : 1;
  });
  EXPECT_EQ(child.exitCode(), 0);
  EXPECT_EQ(readFile(page), "new");
  EXPECT_EQ(namesIn(dir.path()), Texts{"page.html"});
}

TEST_F(WriteWhole, NameAsLongAsANameCanBe_IsWritten) {
  const std::string longest = dir / std::string(255, 'n');
  EXPECT_EQ(writeWhole(longest, ""), "");
  EXPECT_EQ(readFile(longest), "");
}

TEST_F(WriteWhole, OlderFile_IsReplacedWithItsPermissionsAndItsReadersKeepIt) {
  writeOlder();
  ASSERT_EQ(::chmod(page.c_str(), 0604), 0);
  FILE* reader = std::fopen(page.c_str(), "r");
  EXPECT_EQ(writeWhole(page, "new"), "");
  char seen[64] = {};
  EXPECT_EQ(std::fread(seen, 1, sizeof seen - 1, reader), sizeof kOlder - 1);
  std::fclose(reader);
  EXPECT_EQ(std::string(seen), kOlder);
  EXPECT_EQ(readFile(page), "new");
  EXPECT_EQ(modeOf(page), 0604U);
}

TEST_F(WriteWhole, OlderFileOfAnotherOwner_StaysHis) {
  if (!canBecomeNobody()) GTEST_SKIP() << "there is no other user here";
  constexpr uid_t kNobody = 65534;
  writeOlder();
  ASSERT_EQ(::chown(page.c_str(), kNobody, kNobody), 0);
  EXPECT_EQ(writeWhole(page, "new"), "");
  struct stat status = {};
  ASSERT_EQ(::stat(page.c_str(), &status), 0);
  EXPECT_EQ(status.st_uid, kNobody);
  EXPECT_EQ(status.st_gid, kNobody);
}

TEST_F(WriteWhole, OlderFileThatCannotBeGivenAway_BecomesTheCallers) {
  if (!canBecomeNobody()) GTEST_SKIP() << "there is no other user here";
  writeOlder();
  ASSERT_EQ(::chmod(dir.path().c_str(), 0777), 0);
  const ChildResult child =
      runInChild([&] { return becomeNobody() && writeWhole(page, "new").empty() ? 0 : 1; });
  EXPECT_EQ(child.exitCode(), 0);
  EXPECT_EQ(readFile(page), "new");
}

TEST_F(WriteWhole, WhatIsNoRegularFile_IsLeftAlone) {
  const std::string target = dir.write("target", kOlder);
  const std::string link = dir / "link";
  const std::string fifo = dir / "fifo";
  ASSERT_EQ(::symlink(target.c_str(), link.c_str()), 0);
  ASSERT_EQ(::mkfifo(fifo.c_str(), 0600), 0);
  const Texts names = namesIn(dir.path());
  EXPECT_EQ(writeWhole(link, "new"), "it is not a regular file");
  EXPECT_EQ(writeWhole(fifo, "new"), "it is not a regular file");
  EXPECT_EQ(writeWhole(dir.path(), "new"), "Is a directory");
  EXPECT_EQ(writeWhole(dir.path() + "/", "new"), "Is a directory");
  EXPECT_EQ(readFile(link), kOlder);
  EXPECT_EQ(namesIn(dir.path()), names);
}

TEST_F(WriteWhole, FolderThatIsNotThere_IsTheReason) {
  EXPECT_EQ(writeWhole(dir / "no/page.html", "new"), "No such file or directory");
  EXPECT_EQ(writeWhole("", "new"), "No such file or directory");
  EXPECT_EQ(namesIn(dir.path()), Texts{});
}

TEST_F(WriteWhole, FolderThatCannotBeWritten_IsTheReasonAndTheOlderPageStays) {
  if (!canBecomeNobody()) GTEST_SKIP() << "there is no other user here";
  ASSERT_EQ(::chmod(dir.path().c_str(), 0755), 0);
  EXPECT_EQ(fromChild([&] { return writeOlder() && becomeNobody(); }),
            (Texts{"Permission denied", "page.html", kOlder}));
}

TEST_F(WriteWhole, FullDisk_IsTheReasonAndTheOlderPageStays) {
  EXPECT_EQ(fromChild([&] {
              return enterPrivateMounts() && mountTmpfs(dir.path(), "64k") && writeOlder();
            }),
            (Texts{"No space left on device", "page.html", kOlder}));
}

TEST_F(WriteWhole, LimitOnFileSizes_IsTheReasonAndTheOlderPageStays) {
  EXPECT_EQ(fromChild([&] {
              std::signal(SIGXFSZ, SIG_IGN);
              rlimit limit = {};
              ::getrlimit(RLIMIT_FSIZE, &limit);
              limit.rlim_cur = 100'000;  // a count of coverage is written by the limit that is left
              return writeOlder() && ::setrlimit(RLIMIT_FSIZE, &limit) == 0;
            }),
            (Texts{"File too large", "page.html", kOlder}));
}

TEST_F(WriteWhole, NameThatCannotBeTaken_IsTheReasonAndTheOlderPageStays) {
  // A file that something is mounted on cannot be replaced.
  EXPECT_EQ(fromChild([&] {
              return enterPrivateMounts() && writeOlder() &&
                     ::mount(page.c_str(), page.c_str(), nullptr, MS_BIND, nullptr) == 0;
            }),
            (Texts{"Device or resource busy", "page.html", kOlder}));
}

}  // namespace
