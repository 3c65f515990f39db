#include "rmglib/CVuqRmgLib.h"

#include <gtest/gtest.h>
#include <unistd.h>

#include <cstddef>
#include <string>
#include <vector>

#include "support/overones.h"
#include "support/scratch.h"

namespace {

/// Points the probe at `path` for the life of the object.
class LibraryPath {
 public:
  explicit LibraryPath(const char* path) : m_old(REPRESENTLIB) { REPRESENTLIB = path; }
  ~LibraryPath() { REPRESENTLIB = m_old; }
  LibraryPath(const LibraryPath&) = delete;
  LibraryPath& operator=(const LibraryPath&) = delete;

 private:
  const char* m_old;
};

TEST(IsKelExist, DefaultPathIsTheMakers) {
  EXPECT_STREQ(REPRESENTLIB, "/opt/QZKBkel/lib/libkelcom.so");
}

TEST(IsKelExist, File) {
  const ScratchDir dir;
  const std::string file = dir.write("lib.so", "");
  const LibraryPath path(file.c_str());
  EXPECT_TRUE(isKelExist());
}

TEST(IsKelExist, LinkCountsAsItsTarget) {
  const ScratchDir dir;
  const std::string file = dir.write("lib.so", "");
  const std::string toFile = dir / "to-file";
  const std::string toDir = dir / "to-dir";
  const std::string toNothing = dir / "to-nothing";
  ASSERT_EQ(::symlink(file.c_str(), toFile.c_str()), 0);
  ASSERT_EQ(::symlink("/tmp", toDir.c_str()), 0);
  ASSERT_EQ(::symlink("/nowhere/at/all", toNothing.c_str()), 0);
  EXPECT_TRUE((LibraryPath(toFile.c_str()), isKelExist()));
  EXPECT_FALSE((LibraryPath(toDir.c_str()), isKelExist()));
  EXPECT_FALSE((LibraryPath(toNothing.c_str()), isKelExist()));
}

TEST(IsKelExist, DirectoryAtTheLibraryPath) {
  const ScratchDir dir;
  const LibraryPath path(dir.path().c_str());
  EXPECT_FALSE(isKelExist());
}

TEST(IsKelExist, MissingPath) {
  const ScratchDir dir;
  const std::string missing = dir / "missing";
  const LibraryPath path(missing.c_str());
  EXPECT_FALSE(isKelExist());
}

TEST(IsKelExist, NullPath) {
  const LibraryPath path(nullptr);
  EXPECT_FALSE(isKelExist());
}

TEST(IsDovraInstalled, AsksTheProbeAnew) {
  const ScratchDir dir;
  const std::string file = dir.write("lib.so", "");
  CVuqRmgLib client;
  const LibraryPath path(file.c_str());
  EXPECT_TRUE(client.isDovraInstalled());
  ::unlink(file.c_str());
  EXPECT_FALSE(client.isDovraInstalled());
}

TEST(IsDovraInstalled, AnswerIsTheFifthOfFiveFlags) {
  const ScratchDir dir;
  const std::string file = dir.write("lib.so", "");
  const LibraryPath path(file.c_str());
  OverOnes<ICVuqRmgLib> made;
  constexpr std::size_t kFlags = sizeof(void*);  // after the table of operations
  constexpr std::size_t kHandles = 2 * sizeof(void*);
  const std::string noHandles(sizeof(std::vector<void*>), '\0');
  EXPECT_EQ(std::string(5, '\0'), made.bytes(kFlags, 5));
  EXPECT_EQ(noHandles, made.bytes(kHandles, noHandles.size()));
  EXPECT_TRUE(made.object().isDovraInstalled());
  EXPECT_EQ(std::string("\0\0\0\0\1", 5), made.bytes(kFlags, 5));
  ::unlink(file.c_str());
  EXPECT_FALSE(made.object().isDovraInstalled());
  EXPECT_EQ(std::string(5, '\0'), made.bytes(kFlags, 5));
  EXPECT_EQ(noHandles, made.bytes(kHandles, noHandles.size())) << "nothing is ever loaded";
}

}  // namespace
