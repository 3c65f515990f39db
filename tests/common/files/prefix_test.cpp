#include "common/files/prefix.h"

#include <gtest/gtest.h>
#include <unistd.h>

#include <cstdio>
#include <filesystem>
#include <list>
#include <string>
#include <tuple>
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

TEST(AcquireSamePrefix, Paths_AreComparedFieldByField) {
  if (::getuid() != 0) GTEST_SKIP() << "needs root for a root directory of its own";
  const std::tuple<Paths, Paths, const char*> kRows[] = {
      {{"/a/b"}, {"/a/b"}, "/a/b"},    // a directory stands for itself
      {{"/a/b"}, {"/a/b/c"}, "/a/b"},  // and a file for its directory
      {{}, {"/x"}, "/"},
      {{"/a/b/d/e"}, {"/a/b/c.txt", "/a/b/d/e"}, "/a/b"},
      {{"/a/x/c", "/b/x/c"}, {"/a/x/c", "/b/x/c"}, "/x/c"},  // also after a difference
      {{"/a/b"}, {"//a///b//"}, "/a/b"},
      {{"/a/b"}, {"/a/b/x", "/a/b/y"}, "/a/b"},
      {{"/a/b"}, {"/a/b", "/a"}, "/a"},
      {{"/a/b"}, {"/a", "/a/b"}, "/a"},
      {{"/a/a/b", "/a"}, {"/a/a/b", "/a"}, "/a"},  // the shorter one does not start anew
      {{"/a", "/b"}, {"/a", "/b"}, "/"},           // one empty field is left
      {{"/ab", "/a"}, {"/ab", "/a"}, "/"},         // fields, not bytes
      {{"/a/b", "/a/c"}, {"/a/b/x", "/a/c/x"}, "/a"},
      {{"/a b/\xe6\xbc"}, {"/a b/\xe6\xbc/x", "/a b/\xe6\xbc/y"}, "/a b/\xe6\xbc"},
      {{"a"}, {"a"}, "a"},                      // one field that is not empty
      {{"a", "b"}, {"a", "b"}, ""},             // no field is left
      {{"a", "b", "c"}, {"a", "b", "c"}, "c"},  // the comparison starts again
      {{}, {"x"}, "/"},                         // a bare name lies in the root
      {{}, {""}, "/"},
  };
  for (const auto& [dirs, paths, prefix] : kRows) {
    EXPECT_EQ(prefixAmong(dirs, paths), prefix) << testing::PrintToString(paths);
  }
}

TEST(AcquireSamePrefix, EveryPathAndTheResult_AreTraced) {
  const ScratchDir dir;
  fs::create_directory_symlink("/", dir / "link");  // stands for itself
  Paths paths = {dir / "link//", dir / "link/missing"};
  Paths none;
  CapturedLog log(CapturedLog::Level::kTrace);
  EXPECT_EQ(acquireSamePrefix(paths), dir / "link");
  EXPECT_EQ(acquireSamePrefix(none), "");
  EXPECT_EQ(
      log.take(),
      Texts({"[T](common:82):src:" + dir / "link//", "[T](common:82):src:" + dir / "link/missing",
             "[T](common:133):same prefix:" + dir / "link", "[T](common:133):same prefix:"}));
}

}  // namespace
