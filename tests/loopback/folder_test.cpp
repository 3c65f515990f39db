#include "loopback/rehearse/folder.h"

#include <gtest/gtest.h>
#include <sys/stat.h>
#include <unistd.h>

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

/// The permission bits of a file.
mode_t modeOf(const std::string& path) {
  struct stat status = {};
  EXPECT_EQ(::stat(path.c_str(), &status), 0) << path;
  return status.st_mode & 07777U;
}

TEST(RehearsalFolder, Temporary_IsPrivateAndRemovedWithAllItHolds) {
  std::string path;
  {
    const RehearsalFolder folder("");
    path = folder.path();
    EXPECT_FALSE(folder.isKept());
    EXPECT_EQ(folder.record(), path + "/exchanges.jsonl");
    EXPECT_EQ(folder.actionLog(), path + "/action.log");
    EXPECT_EQ(folder.actionLogBackup(), path + "/action.bak");
    EXPECT_EQ(modeOf(path), 0700U);
    EXPECT_EQ(modeOf(folder.actionLog()), 0600U);
    EXPECT_EQ(readFile(folder.actionLog()), "");
    std::filesystem::create_directories(path + "/items/more");
  }
  EXPECT_FALSE(std::filesystem::exists(path));
}

TEST(RehearsalFolder, Temporary_StandsWhereTemporaryFilesDo) {
  const ScratchDir scratch;
  const ChildResult child = runInChild({{"TMPDIR", scratch.path()}}, [&] {
    const RehearsalFolder folder("");
    return folder.path().find(scratch.path() + "/tanexics-rehearse-") == 0 ? 0 : 1;
  });
  EXPECT_EQ(child.status, 0);
  EXPECT_EQ(namesIn(scratch.path()), Names());
}

TEST(RehearsalFolder, TemporaryThatCannotBeMade_IsAnError) {
  const ChildResult child = runInChild({{"TMPDIR", "/nonexistent"}},
                                       [] { return constructionError("") == "none" ? 1 : 0; });
  EXPECT_EQ(child.status, 0);
}

TEST(RehearsalFolder, Kept_IsAbsoluteAndMadeWithItsParentsAndStays) {
  const ScratchDir scratch;
  scratch.write("notes", "");
  const ChildResult child = runInChild([&] {
    if (::chdir(scratch.path().c_str()) != 0) return 1;
    const RehearsalFolder folder("a/../b/c");
    return folder.isKept() && folder.path() == (scratch / "b/c") ? 0 : 2;
  });
  EXPECT_EQ(child.status, 0);
  EXPECT_EQ(namesIn(scratch / "b/c"), Names({"action.log"}));
  // One that is there may hold other things.
  EXPECT_EQ(constructionError(scratch.path()), "none");
  EXPECT_EQ(namesIn(scratch.path()), Names({"action.log", "b", "notes"}));
}

TEST(RehearsalFolder, EarlierRehearsal_IsRefusedAndLeftAlone) {
  for (const char* name : {"exchanges.jsonl", "items", "action.log", "action.bak"}) {
    const ScratchDir scratch;
    std::filesystem::create_symlink("nowhere", scratch / name);
    EXPECT_EQ(constructionError(scratch.path()),
              "the outbox " + scratch.path() + " already holds '" + name +
                  "' of an earlier rehearsal: name another one, or remove it");
    EXPECT_EQ(namesIn(scratch.path()), Names({name}));
  }
}

TEST(RehearsalFolder, KeptThatCannotBeMade_IsAnError) {
  const ScratchDir scratch;
  const std::string file = scratch.write("file", "");
  EXPECT_NE(constructionError(file), "none");
  EXPECT_NE(constructionError(file + "/below"), "none");
}

}  // namespace
