// Linked with everything that it needs in itself, as a user of the library may be: no call may have
// to be looked up while it runs. Only under the sanitizers is it a program like the others.

#include "temp/CTemp.h"

#include <gtest/gtest.h>

#include <filesystem>
#include <string>

#include "support/actionlog.h"
#include "support/temparea.h"

namespace {

TEST_F(TempArea, InAStaticProgram_ADirectoryIsMade) {
  const CapturedLog log;
  CTemp temp;
  std::string path;
  ASSERT_EQ(temp.getTempDir(path, "swconf", dir.path().c_str()), 1);
  EXPECT_TRUE(isNamed(path, dir / "swcon")) << path;
  EXPECT_TRUE(std::filesystem::is_directory(path));
}

}  // namespace
