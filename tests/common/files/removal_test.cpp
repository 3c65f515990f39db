#include "common/files/removal.h"

#include <gtest/gtest.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cstdio>
#include <filesystem>
#include <functional>
#include <string>
#include <tuple>
#include <utility>
#include <vector>

#include "support/actionlog.h"
#include "support/childrun.h"
#include "support/logtexts.h"
#include "support/privateroot.h"
#include "support/scratch.h"

namespace {

namespace fs = std::filesystem;
using Texts = std::vector<std::string>;

TEST(GuardedRemoval, Path_IsAllowedBelowTmpAndFromTheThirdLevel) {
  const std::tuple<std::string, std::string, int> kRows[] = {
      {"/", "", 0},
      {"/.", "", 0},
      {"/..", "", 0},
      {"/../../..", "", 0},
      {"/../a", "a", 0},
      {"/tmp", "/tmp", 0},
      {"/tmp/a/..", "/tmp", 0},
      {"/tmp/a", "/tmp/a", 1},
      {"/tmp//a/./b/", "/tmp/a/b", 1},
      {"/tmp/../a/b", "/a/b", 0},
      {"/../tmp/a", "tmp/a", 0},
      {"/tmpx/a", "/tmpx/a", 0},
      {"/a/tmp/b", "/a/tmp/b", 1},
      {"/a/b", "/a/b", 0},
      {"/a/b/c", "/a/b/c", 1},
      {"/a/b/c/..", "/a/b", 0},
      {"/...", "/...", 0},
      {"/a/.b/..c", "/a/.b/..c", 1},
      {"/a b/\xe6\xbc ", "/a b/\xe6\xbc ", 0},
      // a pattern is judged as it stands, before the shell expands it
      {"/*", "/*", 0},
      {"/var/*", "/var/*", 0},
      {"/tmp/*", "/tmp/*", 1}};
  CapturedLog log(CapturedLog::Level::kTrace);
  for (const auto& [path, canonical, allowed] : kRows) {
    EXPECT_EQ(getCanonicalPath(path), canonical) << path;
    EXPECT_EQ(isAllowDelete(path), allowed) << path;
    // Both trace the two texts, and a refusal is logged with the path as given.
    Texts expected(2, "[T](common:469):getCanonicalPath():" + path + "," + canonical);
    if (allowed == 0) expected.push_back("VUQ90008L : " + path + " too shallow to delete");
    EXPECT_EQ(log.take(), expected);
  }
}

TEST(GetCanonicalPath, SymbolicLinks_AreNotResolved) {
  const ScratchDir dir;
  fs::create_directory_symlink("/usr/lib", dir / "link");
  EXPECT_EQ(getCanonicalPath(dir / "link/.."), dir.path());
}

/// The canonical forms and the judgements of paths, as a child gives them that `enter` has brought
/// into a directory.
Texts judgedIn(const std::function<bool()>& enter, const Texts& paths) {
  const ChildResult child = runInChild([&] {
    if (!enter()) return 1;
    const CapturedLog log;
    for (const std::string& path : paths) {
      const std::string canonical = getCanonicalPath(path);
      std::printf("%s %s %d\n", path.c_str(), canonical.c_str(), isAllowDelete(path));
    }
    return 0;
  });
  EXPECT_EQ(child.exitCode(), 0);
  return linesOf(child.out);
}

TEST(GuardedRemoval, RelativePath_IsTakenFromTheCurrentDirectory) {
  EXPECT_EQ(judgedIn([] { return ::chdir("/tmp") == 0; },
                     {"x", "./x/", "", ".", "..", "../tmp/x", "../x"}),
            Texts({"x /tmp/x 1", "./x/ /tmp/x 1", " /tmp 0", ". /tmp 0", "..  0",
                   "../tmp/x /tmp/x 1", "../x /x 0"}));
  EXPECT_EQ(judgedIn([] { return ::chdir("/") == 0; }, {"x", "tmp", "tmp/x", "a/b", "a/b/c"}),
            Texts({"x /x 0", "tmp /tmp 0", "tmp/x /tmp/x 1", "a/b /a/b 0", "a/b/c /a/b/c 1"}));
}

TEST(GuardedRemoval, RelativePathInARemovedDirectory_IsTakenFromADot) {
  const ScratchDir dir;
  const std::string gone = dir / "gone";
  const auto enter = [&] {
    return ::mkdir(gone.c_str(), 0700) == 0 && ::chdir(gone.c_str()) == 0 &&
           ::rmdir(gone.c_str()) == 0;
  };
  EXPECT_EQ(judgedIn(enter, {"x", "tmp/x", "/tmp/x"}),
            Texts({"x x 0", "tmp/x tmp/x 0", "/tmp/x /tmp/x 1"}));
}

TEST(RemoveFiles, Tmp_IsRefusedAsASuccessAndNoCommandRuns) {
  if (::getuid() != 0) GTEST_SKIP() << "needs root for a /tmp of its own";
  const Texts lines = linesFromPrivateRoot([] {
    ::mkdir("/tmp/kept", 0700);
    std::printf("%d\n", removeFiles("/tmp", 1));
    std::printf("%s\n", namesIn("/tmp").front().c_str());
  });
  EXPECT_EQ(lines, Texts({"0", "kept", "[T](common:469):getCanonicalPath():/tmp,/tmp",
                          "VUQ90008L : /tmp too shallow to delete"}));
}

TEST(RemoveFiles, Path_IsRemovedByOneCommandWithTheOptionThatRecursionAsksFor) {
  const std::pair<int, const char*> kRows[] = {{1, "-fr "}, {0, "-f "}, {2, "-f "}, {-1, "-f "}};
  const ScratchDir dir;
  CapturedLog log(CapturedLog::Level::kTrace);
  for (const auto& [recursive, option] : kRows) {
    const std::string path = dir.write("a b", "x");
    EXPECT_EQ(removeFiles(path.c_str(), recursive), 0);
    EXPECT_EQ(namesIn(dir.path()), Texts());
    const std::string command = option + dir / "a\\ b" + " >/dev/null 2>&1";
    EXPECT_EQ(log.take(), inOrder({{"[T](common:469):getCanonicalPath():" + path + "," + path,
                                    "[T](common:520):/bin/rm " + command},
                                   tracedExit(0)}));
  }
}

TEST(RemoveFiles, DirectoryWithoutRecursion_StaysAndTheStatusIsReturned) {
  const ScratchDir dir;
  fs::create_directory(dir / "kept");
  const ChildResult child = runInChild([&] {
    const CapturedLog log;
    return removeFiles((dir / "kept").c_str(), 2);
  });
  EXPECT_EQ(child.exitCode(), 1);
  EXPECT_EQ(child.out + child.err, "");
  EXPECT_EQ(namesIn(dir.path()), Texts({"kept"}));
}

TEST(RemoveFiles, Wildcards_AreExpandedByTheShell) {
  const ScratchDir dir;
  for (const char* name : {"a1", "a2", "b1", "b2", "c"}) dir.write(name, "x");
  EXPECT_EQ(removeFiles((dir / "a*").c_str(), 0), 0);
  EXPECT_EQ(namesIn(dir.path()), Texts({"b1", "b2", "c"}));
  EXPECT_EQ(removeFiles((dir / "[b]?").c_str(), 0), 0);
  EXPECT_EQ(namesIn(dir.path()), Texts({"c"}));
}

}  // namespace
