#include "loopback/rehearse/folder.h"

#include <gtest/gtest.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cstdlib>
#include <exception>
#include <filesystem>
#include <string>
#include <vector>

#include "support/childrun.h"
#include "support/scratch.h"

namespace {

using Names = std::vector<std::string>;

std::string constructionError(const std::string& kept) {
  try {
    const RehearsalFolder folder(kept);
    return "none";
  } catch (const std::exception& error) {
    return error.what();
  }
}

TEST(Folder, TemporaryOneIsPrivateAndRemovedWithAllItHolds) {
  std::string path;
  {
    const RehearsalFolder folder("");
    path = folder.path();
    EXPECT_FALSE(folder.isKept());
    EXPECT_EQ(path + "/exchanges.jsonl", folder.record());
    EXPECT_EQ(path + "/action.log", folder.actionLog());
    EXPECT_EQ(path + "/action.bak", folder.actionLogBackup());
    struct stat status = {};
    ASSERT_EQ(0, ::stat(path.c_str(), &status));
    EXPECT_EQ(0700U, status.st_mode & 07777U);
    ASSERT_EQ(0, ::stat(folder.actionLog().c_str(), &status));
    EXPECT_EQ(0600U, status.st_mode & 07777U);
    EXPECT_EQ(0, status.st_size);
    std::filesystem::create_directories(path + "/items/more");
  }
  EXPECT_FALSE(std::filesystem::exists(path));
}

TEST(Folder, TemporaryOneStandsWhereTemporaryFilesDo) {
  const ScratchDir scratch;
  const ChildResult child = runInChild({{"TMPDIR", scratch.path()}}, [&] {
    const RehearsalFolder folder("");
    return folder.path().find(scratch.path() + "/tanexics-rehearse-") == 0 ? 0 : 1;
  });
  EXPECT_EQ(0, child.status);
  EXPECT_EQ(Names(), namesIn(scratch.path()));
}

TEST(Folder, KeptOneIsMadeWithItsParentsAndStays) {
  const ScratchDir scratch;
  {
    const RehearsalFolder folder(scratch / "a/../b/c");
    EXPECT_EQ(scratch / "b/c", folder.path());
    EXPECT_TRUE(folder.isKept());
  }
  EXPECT_EQ(Names({"action.log"}), namesIn(scratch / "b/c"));
}

TEST(Folder, KeptOneIsAbsolute) {
  const ScratchDir scratch;
  const ChildResult child = runInChild({}, [&] {
    if (::chdir(scratch.path().c_str()) != 0) return 1;
    return RehearsalFolder("rel").path() == std::filesystem::current_path() / "rel" ? 0 : 2;
  });
  EXPECT_EQ(0, child.status);
}

TEST(Folder, KeptOneMayHoldOtherThings) {
  const ScratchDir scratch;
  scratch.write("notes", "");
  EXPECT_EQ("none", constructionError(scratch.path()));
}

TEST(Folder, EarlierRehearsalIsRefused) {
  for (const char* name : {"exchanges.jsonl", "items", "action.log", "action.bak"}) {
    const ScratchDir scratch;
    ASSERT_EQ(0, ::symlink("nowhere", (scratch / name).c_str()));
    EXPECT_EQ("the outbox " + scratch.path() + " already holds '" + name +
                  "' of an earlier rehearsal: name another one, or remove it",
              constructionError(scratch.path()));
    EXPECT_EQ(Names({name}), namesIn(scratch.path()));
  }
}

TEST(Folder, KeptOneThatCannotBeMade) {
  const ScratchDir scratch;
  const std::string file = scratch.write("file", "");
  EXPECT_NE("none", constructionError(file));
  EXPECT_NE("none", constructionError(file + "/below"));
}

TEST(Folder, TemporaryOneThatCannotBeMade) {
  const ChildResult child = runInChild({{"TMPDIR", "/nonexistent"}},
                                       [] { return constructionError("") == "none" ? 1 : 0; });
  EXPECT_EQ(0, child.status);
}

}  // namespace
