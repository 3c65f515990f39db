// What becomes of the name that tempnam(3) gives, whose place this program takes.

#include "temp/CTemp.h"

#include <gtest/gtest.h>

#include <cerrno>
#include <cstdlib>
#include <cstring>
#include <filesystem>
#include <fstream>
#include <string>
#include <vector>

#include "support/actionlog.h"
#include "support/temparea.h"

namespace {
std::string generatedName;  // empty: no name can be had
}  // namespace

extern "C" char* tempnam(const char*, const char*) noexcept {
  errno = ENOMEM;
  return generatedName.empty() ? nullptr : ::strdup(generatedName.c_str());
}

namespace {

namespace fs = std::filesystem;

TEST_F(TempArea, NoName_FailsTenTimesWithVUQ90102L) {
  const CapturedLog log;
  generatedName = "";
  CTemp temp;
  std::string path = "left over";
  EXPECT_EQ(temp.getTempDir(path, "pre", "/tmp"), 0);
  EXPECT_EQ(path, "");
  EXPECT_EQ(log.texts(),
            std::vector<std::string>(10, "VUQ90102L : failed to tempnam():Cannot allocate memory"));
  EXPECT_EQ(temp.delTempFile(nullptr), 0);
}

TEST_F(TempArea, DirectoryThatIsThere_CountsAsMadeAndIsRemovedWithItsContent) {
  const CapturedLog log;
  generatedName = dir / "taken";
  fs::create_directory(dir / "taken_");
  std::ofstream(dir / "taken_/file") << "content";
  CTemp temp;
  std::string path;
  EXPECT_EQ(temp.getTempDir(path, "pre", nullptr), 1);
  EXPECT_EQ(path, dir / "taken_");
  EXPECT_TRUE(fs::exists(dir / "taken_/file"));
  EXPECT_EQ(temp.delTempFile(nullptr), 1);
  EXPECT_FALSE(fs::exists(dir / "taken_"));
}

TEST_F(TempArea, LinkToADirectoryThatIsThere_CountsAsMadeAndOnlyTheLinkIsRemoved) {
  const CapturedLog log;
  generatedName = dir / "taken";
  fs::create_directory(dir / "elsewhere");
  fs::create_directory_symlink(dir / "elsewhere", dir / "taken_");
  CTemp temp;
  std::string path;
  EXPECT_EQ(temp.getTempDir(path, "pre", nullptr), 1);
  EXPECT_EQ(temp.delTempFile(nullptr), 1);
  EXPECT_FALSE(fs::exists(fs::symlink_status(dir / "taken_")));
  EXPECT_TRUE(fs::is_directory(dir / "elsewhere"));
}

}  // namespace
