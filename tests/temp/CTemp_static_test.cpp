// Linked with everything that it needs in itself, as a user of the library may be: no call may have
// to be looked up while it runs. Only under the sanitizers is it a program like the others.

#include <gtest/gtest.h>

#include <filesystem>
#include <string>

#include "support/temparea.h"

namespace {

TEST_F(TempArea, InAStaticProgram_ADirectoryIsMade) {
  const std::string path = makeDirectory("swconf");
  EXPECT_TRUE(isNamed(path, dir / "swcon")) << path;
  EXPECT_TRUE(std::filesystem::is_directory(path));
}

}  // namespace
