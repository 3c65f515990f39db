#include "common/files/removal.h"

#include <gtest/gtest.h>
#include <sys/stat.h>
#include <unistd.h>

#include <csignal>
#include <cstdio>
#include <filesystem>
#include <functional>
#include <string>
#include <vector>

#include "support/actionlog.h"
#include "support/childrun.h"
#include "support/logtexts.h"
#include "support/privateroot.h"
#include "support/scratch.h"

namespace {

namespace fs = std::filesystem;
using Texts = std::vector<std::string>;

// --- a second, slow and obvious implementation of the rule, as the judge -------------------------

/// The names of an absolute path, dots resolved; a first empty one stands for the root.
Texts resolvedByJudge(const std::string& absolute) {
  Texts names = {""};
  std::string name;
  for (const char byte : absolute.substr(1) + "/") {
    if (byte != '/') {
      name += byte;
      continue;
    }
    if (name == "..") {
      if (!names.empty()) names.pop_back();
    } else if (!name.empty() && name != ".") {
      names.push_back(name);
    }
    name.clear();
  }
  return names;
}

std::string canonicalByJudge(const std::string& absolute) {
  std::string text;
  const Texts names = resolvedByJudge(absolute);
  for (std::size_t i = 0; i < names.size(); ++i) text += (i == 0 ? "" : "/") + names[i];
  return text;
}

int allowedByJudge(const std::string& absolute) {
  const Texts names = resolvedByJudge(absolute);
  if (names.size() <= 1) return 0;
  const std::size_t below = names.size() - 1;
  return names[1] == "tmp" ? below > 1 : below >= 3;
}

/// Every path of up to five segments out of those that matter.
Texts manyPaths() {
  const Texts segments = {"", ".", "..", "tmp", "a", "tmpx"};
  Texts paths = {""};
  Texts longest = {""};
  for (int depth = 0; depth < 5; ++depth) {
    Texts next;
    for (const std::string& path : longest) {
      for (const std::string& segment : segments) next.push_back(path + "/" + segment);
    }
    paths.insert(paths.end(), next.begin(), next.end());
    longest = next;
  }
  paths.erase(paths.begin());
  return paths;
}

TEST(GuardedRemoval, EveryAbsolutePath_IsJudgedAsByTheObviousRule) {
  const CapturedLog log;
  for (const std::string& path : manyPaths()) {
    ASSERT_EQ(getCanonicalPath(path), canonicalByJudge(path)) << path;
    ASSERT_EQ(isAllowDelete(path), allowedByJudge(path)) << path;
  }
}

TEST(GuardedRemoval, Path_IsAllowedBelowTmpAndFromTheThirdLevel) {
  const struct {
    const char* path;
    const char* canonical;
    int allowed;
  } kRows[] = {{"/", "", 0},
               {"/.", "", 0},
               {"/..", "", 0},
               {"/../a", "a", 0},
               {"/tmp", "/tmp", 0},
               {"/tmp/a/..", "/tmp", 0},
               {"/tmp/a", "/tmp/a", 1},
               {"/tmp//a/./b/", "/tmp/a/b", 1},
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
  for (const auto& row : kRows) {
    const std::string path = row.path;
    EXPECT_EQ(getCanonicalPath(path), row.canonical) << path;
    EXPECT_EQ(isAllowDelete(path), row.allowed) << path;
    // Both trace the two texts, and a refusal is logged with the path as given.
    Texts expected(2, "[T](common:469):getCanonicalPath():" + path + "," + row.canonical);
    if (row.allowed == 0) expected.push_back("VUQ90008L : " + path + " too shallow to delete");
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

// --- removeFiles ---------------------------------------------------------------------------------

/// The lines of a path that may be removed and of the command that removes it.
Texts removalOf(const std::string& path, const std::string& command) {
  return inOrder({{"[T](common:469):getCanonicalPath():" + path + "," + path,
                   "[T](common:520):/bin/rm " + command + " >/dev/null 2>&1"},
                  tracedExit(0)});
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

TEST(RemoveFiles, DirectoryWithABlank_GoesWithAllThatItHolds) {
  const ScratchDir dir;
  fs::create_directories(dir / "a b/c");
  const CapturedLog log(CapturedLog::Level::kTrace);
  EXPECT_EQ(removeFiles((dir / "a b").c_str(), 1), 0);
  EXPECT_EQ(namesIn(dir.path()), Texts());
  EXPECT_EQ(log.texts(), removalOf(dir / "a b", "-fr " + dir / "a\\ b"));
}

TEST(RemoveFiles, AnyOtherRecursiveValue_GivesTheShortOption) {
  const ScratchDir dir;
  CapturedLog log(CapturedLog::Level::kTrace);
  for (const int recursive : {0, 2, -1}) {
    const std::string path = dir.write("file", "x");
    EXPECT_EQ(removeFiles(path.c_str(), recursive), 0);
    EXPECT_EQ(namesIn(dir.path()), Texts());
    EXPECT_EQ(log.take(), removalOf(path, "-f " + path));
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

TEST(RemoveFiles, MissingPath_IsNoFailure) {
  const ScratchDir dir;
  EXPECT_EQ(removeFiles((dir / "missing").c_str(), 0), 0);
  EXPECT_EQ(removeFiles((dir / "missing").c_str(), 1), 0);
}

TEST(RemoveFiles, Wildcards_AreExpandedByTheShell) {
  const ScratchDir dir;
  for (const char* name : {"a1", "a2", "b1", "b2", "c"}) dir.write(name, "x");
  EXPECT_EQ(removeFiles((dir / "a*").c_str(), 0), 0);
  EXPECT_EQ(namesIn(dir.path()), Texts({"b1", "b2", "c"}));
  EXPECT_EQ(removeFiles((dir / "[b]?").c_str(), 0), 0);
  EXPECT_EQ(namesIn(dir.path()), Texts({"c"}));
}

TEST(RemoveFiles, LinkInThePath_IsFollowedAfterTheJudgement) {
  const ScratchDir dir;
  const ScratchDir other;
  other.write("a", "x");
  fs::create_directory_symlink(other.path(), dir / "link");
  EXPECT_EQ(removeFiles((dir / "link/a").c_str(), 0), 0);
  EXPECT_EQ(namesIn(other.path()), Texts());
  EXPECT_EQ(namesIn(dir.path()), Texts({"link"}));
}

TEST(RemoveFiles, Semicolon_EndsThePathForTheShell) {
  // Not escaped on purpose: only paths that the program has built itself come here.
  const ScratchDir dir;
  dir.write("a", "x");
  dir.write("a;false", "x");
  EXPECT_EQ(removeFiles((dir / "a;false").c_str(), 1), 1);
  EXPECT_EQ(namesIn(dir.path()), Texts({"a;false"}));
}

TEST(RemoveFiles, CommandThatCannotBeWaitedFor_IsMinusOne) {
  const ScratchDir dir;
  const ChildResult child = runInChild([&] {
    const CapturedLog log;
    std::signal(SIGCHLD, SIG_IGN);  // the kernel keeps no status then
    return removeFiles((dir / "missing").c_str(), 1) == -1 ? 0 : 1;
  });
  EXPECT_EQ(child.exitCode(), 0);
}

}  // namespace
