#include "common/files/prefix.h"

#include <gtest/gtest.h>
#include <unistd.h>

#include <cstdio>
#include <filesystem>
#include <list>
#include <string>
#include <vector>

#include "support/actionlog.h"
#include "support/childrun.h"
#include "support/privateroot.h"
#include "support/scratch.h"

namespace {

namespace fs = std::filesystem;
using Texts = std::vector<std::string>;
using Paths = std::list<std::string>;

/// The common prefix, found in a root directory that holds the directories `dirs` and, for these
/// tests, nothing else of interest; relative paths start there too.
std::string prefixAmong(const Paths& dirs, const Paths& paths) {
  const ScratchDir root;
  const ChildResult child = runInChild([&] {
    if (!enterPrivateRoot(root.path())) return 77;
    for (const std::string& dir : dirs) fs::create_directories(dir);
    Paths asked = paths;
    std::fputs(acquireSamePrefix(asked).c_str(), stdout);
    return asked == paths ? 0 : 1;  // they stay as they are
  });
  EXPECT_EQ(child.exitCode(), 0) << child.err;
  return child.out;
}

class AcquireSamePrefix : public testing::Test {
 protected:
  void SetUp() override {
    if (::getuid() != 0) GTEST_SKIP() << "needs root for a root directory of its own";
  }
};

TEST_F(AcquireSamePrefix, SingleFile_GivesItsDirectory) {
  EXPECT_EQ(prefixAmong({"/a/b"}, {"/a/b/c"}), "/a/b");
}

TEST_F(AcquireSamePrefix, SingleFileInTheRoot_GivesASlash) {
  EXPECT_EQ(prefixAmong({}, {"/x"}), "/");
}

TEST_F(AcquireSamePrefix, FileAndDirectory_GiveTheDirectoryAboveBoth) {
  EXPECT_EQ(prefixAmong({"/a/b/d/e"}, {"/a/b/c.txt", "/a/b/d/e"}), "/a/b");
}

TEST_F(AcquireSamePrefix, EqualFieldsBehindADifference_CountToo) {
  EXPECT_EQ(prefixAmong({"/a/x/c", "/b/x/c"}, {"/a/x/c", "/b/x/c"}), "/x/c");
}

TEST_F(AcquireSamePrefix, Paths_AreComparedFieldByField) {
  const struct {
    Paths dirs;
    Paths paths;
    const char* prefix;
  } kRows[] = {
      {{"/a/b"}, {"/a/b"}, "/a/b"},  // a directory stands for itself
      {{"/a/b"}, {"/a/b/"}, "/a/b"},
      {{"/a/b"}, {"//a///b//"}, "/a/b"},
      {{"/a/b"}, {"/a/b/x", "/a/b/y"}, "/a/b"},
      {{"/a/b"}, {"/a/b", "/a"}, "/a"},
      {{"/a/b"}, {"/a", "/a/b"}, "/a"},
      {{"/a/a/b", "/a"}, {"/a/a/b", "/a"}, "/a"},  // the shorter one does not start anew
      {{"/a", "/b"}, {"/a", "/b"}, "/"},           // one empty field is left
      {{"/a", "/b"}, {"/a", "/b", "/a"}, "/"},
      {{"/ab", "/a"}, {"/ab", "/a"}, "/"},  // fields, not bytes
      {{"/a/b", "/a/c"}, {"/a/b/x", "/a/c/x"}, "/a"},
      {{"/a/b/c"}, {"/a/b/c", "/a/b", "/a"}, "/a"},
      {{"/a b/\xe6\xbc"}, {"/a b/\xe6\xbc/x", "/a b/\xe6\xbc/y"}, "/a b/\xe6\xbc"},
      {{"a"}, {"a"}, "a"},                      // one field that is not empty
      {{"a", "b"}, {"a", "b"}, ""},             // no field is left
      {{"a", "b", "c"}, {"a", "b", "c"}, "c"},  // the comparison starts again
      {{"a/x", "b/x"}, {"a/x", "b/x"}, "x"},
      {{}, {"x"}, "/"},  // a bare name lies in the root
      {{}, {""}, "/"},
  };
  for (const auto& row : kRows) {
    EXPECT_EQ(prefixAmong(row.dirs, row.paths), row.prefix) << testing::PrintToString(row.paths);
  }
}

TEST_F(AcquireSamePrefix, LinkToADirectory_StandsForItself) {
  const ScratchDir dir;
  fs::create_directory(dir / "real");
  fs::create_directory_symlink("real", dir / "link");
  Paths paths = {dir / "link"};
  EXPECT_EQ(acquireSamePrefix(paths), dir / "link");
}

TEST(AcquireSamePrefixLog, EveryPathAndTheResult_AreTraced) {
  const ScratchDir dir;
  fs::create_directory(dir / "d");
  const CapturedLog log(CapturedLog::Level::kTrace);
  Paths paths = {dir / "d//", dir / "missing"};
  EXPECT_EQ(acquireSamePrefix(paths), dir.path());
  EXPECT_EQ(log.texts(),
            Texts({"[T](common:82):src:" + dir / "d//", "[T](common:82):src:" + dir / "missing",
                   "[T](common:133):same prefix:" + dir.path()}));
}

TEST(AcquireSamePrefixLog, NoPaths_GiveTheEmptyText) {
  const CapturedLog log(CapturedLog::Level::kTrace);
  Paths paths;
  EXPECT_EQ(acquireSamePrefix(paths), "");
  EXPECT_EQ(log.texts(), Texts({"[T](common:133):same prefix:"}));
}

TEST(AcquireSamePrefixLog, AtInformationLevel_NothingIsLogged) {
  const CapturedLog log;
  Paths paths = {"/tmp"};
  EXPECT_EQ(acquireSamePrefix(paths), "/tmp");
  EXPECT_EQ(log.bytes(), "");
}

}  // namespace
