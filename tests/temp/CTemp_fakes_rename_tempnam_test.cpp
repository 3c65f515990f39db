// What becomes of attempts whose renaming fails, and of the name that tempnam(3) gives.

#include <gtest/gtest.h>

#include <cerrno>
#include <cstring>
#include <filesystem>
#include <string>

#include "support/failingrename.h"
#include "support/temparea.h"

static std::string generatedName;  // empty: no name can be had

extern "C" char* tempnam(const char*, const char*) noexcept {
  errno = ENOMEM;
  return generatedName.empty() ? nullptr : ::strdup(generatedName.c_str());
}

namespace {

namespace fs = std::filesystem;

TEST_F(TempArea, AttemptThatSucceeds_IsTheLastOfTen) {
  for (const int failing : {2, 9, 10}) {
    const std::size_t before = namesIn(dir.path()).size();
    renamesToFail = failing;
    // Every attempt takes the parent as it was, also where it is the result itself.
    std::string path = dir.path();
    const int isMade = failing < 10 ? 1 : 0;
    EXPECT_EQ(temp->getTempFile(path, "pre", path.c_str(), nullptr), isMade);
    EXPECT_TRUE(isNamed(path, dir / "pre")) << path;
    EXPECT_EQ(renamesToFail, 0);
    EXPECT_EQ(namesIn(dir.path()).size(), before + static_cast<std::size_t>(failing + isMade));
    EXPECT_EQ(temp->delTempFile(nullptr), isMade);
    EXPECT_EQ(namesIn(dir.path()).size(), before + static_cast<std::size_t>(failing));
  }
}

TEST_F(TempArea, DescriptorNobodyAskedFor_IsClosedBeforeTheNextLineIsLogged) {
  const auto open = static_cast<std::ptrdiff_t>(namesIn("/proc/self/fd").size());
  makeFile();
  EXPECT_EQ(descriptorsAtRename, open);
}

TEST_F(TempArea, NoName_FailsTenTimesWithVUQ90102L) {
  generatedName = "";
  std::string path = "left over";
  EXPECT_EQ(temp->getTempDir(path, "pre", "/tmp"), 0);
  EXPECT_EQ(path, "");
  Texts expected;
  for (int attempt = 0; attempt < 10; ++attempt) {
    expected.emplace_back("[T](CTemp:73):getTemp_sub():prefix=/tmp,templ=pre");
    expected.emplace_back("VUQ90102L : failed to tempnam():Cannot allocate memory");
  }
  EXPECT_EQ(log.texts(), expected);
  EXPECT_EQ(temp->delTempFile(nullptr), 0);
}

TEST_F(TempArea, LinkToADirectoryThatIsThere_CountsAsMadeAndOnlyTheLinkIsRemoved) {
  generatedName = dir / "taken";
  fs::create_directory(dir / "elsewhere");
  fs::create_directory_symlink(dir / "elsewhere", dir / "taken_");
  EXPECT_EQ(makeDirectory(), dir / "taken_");
  EXPECT_EQ(temp->delTempFile(nullptr), 1);
  EXPECT_EQ(namesIn(dir.path()), Texts({"elsewhere"}));
}

}  // namespace
