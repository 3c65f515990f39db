#include "common/files/removal.h"

#include <gtest/gtest.h>
#include <sys/stat.h>
#include <unistd.h>

#include <csignal>
#include <cstdio>
#include <filesystem>
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

// --- getCanonicalPath ----------------------------------------------------------------------------

TEST(GetCanonicalPath, Dots_AreResolvedAndSlashesMadeOne) {
  const struct {
    const char* path;
    const char* canonical;
  } kRows[] = {{"/tmp/a", "/tmp/a"},
               {"/tmp//a/./b/", "/tmp/a/b"},
               {"/tmp/a/..", "/tmp"},
               {"/a/../b", "/b"},
               {"/a/b/../../c", "/c"},
               {"/...", "/..."},
               {"/a/.b/..c", "/a/.b/..c"},
               {"/a b/\xe6\xbc ", "/a b/\xe6\xbc "},
               {"/a/*", "/a/*"},
               {"/a/..", ""},
               {"/../a", "a"}};
  for (const auto& row : kRows) EXPECT_EQ(getCanonicalPath(row.path), row.canonical) << row.path;
}

TEST(GetCanonicalPath, Root_IsTheEmptyText) {
  EXPECT_EQ(getCanonicalPath("/"), "");
  EXPECT_EQ(getCanonicalPath("///"), "");
}

TEST(GetCanonicalPath, MoreUpwardThanLevels_IsTheEmptyText) {
  EXPECT_EQ(getCanonicalPath("/.."), "");
  EXPECT_EQ(getCanonicalPath("/a/../../.."), "");
}

TEST(GetCanonicalPath, SymbolicLinks_AreNotResolved) {
  const ScratchDir dir;
  fs::create_directory_symlink("/usr/lib", dir / "link");
  EXPECT_EQ(getCanonicalPath(dir / "link/.."), dir.path());
}

TEST(GetCanonicalPath, BothTexts_AreTraced) {
  const CapturedLog log(CapturedLog::Level::kTrace);
  getCanonicalPath("/tmp//a/./b/");
  getCanonicalPath("/");
  EXPECT_EQ(log.texts(), Texts({"[T](common:469):getCanonicalPath():/tmp//a/./b/,/tmp/a/b",
                                "[T](common:469):getCanonicalPath():/,"}));
}

/// Prints the canonical form and the judgement of relative paths, from the directory `dir`.
Texts judgedFrom(const char* dir, const Texts& paths) {
  const ChildResult child = runInChild([&] {
    if (::chdir(dir) != 0) return 1;
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

TEST(GuardedRemoval, RelativePathInTmp_IsAllowed) {
  EXPECT_EQ(judgedFrom("/tmp", {"x", "./x/", "", ".", "..", "../tmp/x", "../x"}),
            Texts({"x /tmp/x 1", "./x/ /tmp/x 1", " /tmp 0", ". /tmp 0", "..  0",
                   "../tmp/x /tmp/x 1", "../x /x 0"}));
}

TEST(GuardedRemoval, RelativePathInTheRoot_IsRefused) {
  EXPECT_EQ(judgedFrom("/", {"x", "tmp", "tmp/x", "a/b", "a/b/c"}),
            Texts({"x /x 0", "tmp /tmp 0", "tmp/x /tmp/x 1", "a/b /a/b 0", "a/b/c /a/b/c 1"}));
}

TEST(GuardedRemoval, RelativePathInARemovedDirectory_IsTakenFromADot) {
  const ScratchDir dir;
  const std::string gone = dir / "gone";
  const ChildResult child = runInChild([&] {
    const CapturedLog log;
    if (::mkdir(gone.c_str(), 0700) != 0 || ::chdir(gone.c_str()) != 0) return 1;
    if (::rmdir(gone.c_str()) != 0) return 2;
    std::printf("%s %d\n", getCanonicalPath("x").c_str(), isAllowDelete("x"));
    std::printf("%s %d\n", getCanonicalPath("tmp/x").c_str(), isAllowDelete("tmp/x"));
    std::printf("%d\n", isAllowDelete("/tmp/x"));
    return 0;
  });
  EXPECT_EQ(child.exitCode(), 0);
  EXPECT_EQ(child.out, "x 0\ntmp/x 0\n1\n");
}

// --- isAllowDelete -------------------------------------------------------------------------------

TEST(IsAllowDelete, Root_IsRefused) {
  EXPECT_EQ(isAllowDelete("/"), 0);
  EXPECT_EQ(isAllowDelete("//"), 0);
  EXPECT_EQ(isAllowDelete("/."), 0);
}

TEST(IsAllowDelete, Tmp_IsRefused) {
  EXPECT_EQ(isAllowDelete("/tmp"), 0);
  EXPECT_EQ(isAllowDelete("/tmp/"), 0);
}

TEST(IsAllowDelete, ChildOfTmp_IsAllowed) {
  EXPECT_EQ(isAllowDelete("/tmp/a"), 1);
  EXPECT_EQ(isAllowDelete("/tmp/x/y"), 1);
}

TEST(IsAllowDelete, SecondLevel_IsRefused) {
  EXPECT_EQ(isAllowDelete("/a/b"), 0);
  EXPECT_EQ(isAllowDelete("/var/tmp"), 0);
  EXPECT_EQ(isAllowDelete("/var"), 0);
}

TEST(IsAllowDelete, ThirdLevel_IsAllowed) {
  EXPECT_EQ(isAllowDelete("/a/b/c"), 1);
  EXPECT_EQ(isAllowDelete("/var/tmp/x"), 1);
}

TEST(IsAllowDelete, DotSegments_CountAfterTheyAreResolved) {
  EXPECT_EQ(isAllowDelete("/tmp/a/.."), 0);
  EXPECT_EQ(isAllowDelete("/tmp//a/./b/"), 1);
  EXPECT_EQ(isAllowDelete("/a/b/c/.."), 0);
  EXPECT_EQ(isAllowDelete("/a/b/./."), 0);
}

TEST(IsAllowDelete, MoreUpwardThanLevels_IsRefused) {
  EXPECT_EQ(isAllowDelete("/.."), 0);
  EXPECT_EQ(isAllowDelete("/tmp/../.."), 0);
}

TEST(IsAllowDelete, EmptyCanonicalPath_IsRefusedWithThePathAsGiven) {
  const CapturedLog log;
  EXPECT_EQ(isAllowDelete("/tmp/../"), 0);
  EXPECT_EQ(log.texts(), Texts({"VUQ90008L : /tmp/../ too shallow to delete"}));
}

TEST(IsAllowDelete, Refusal_IsLoggedWithThePathAsGiven) {
  const CapturedLog log(CapturedLog::Level::kTrace);
  EXPECT_EQ(isAllowDelete("/tmp//a/../"), 0);
  EXPECT_EQ(log.texts(), Texts({"[T](common:469):getCanonicalPath():/tmp//a/../,/tmp",
                                "VUQ90008L : /tmp//a/../ too shallow to delete"}));
}

TEST(IsAllowDelete, Permission_IsOnlyTraced) {
  CapturedLog log(CapturedLog::Level::kTrace);
  EXPECT_EQ(isAllowDelete("/tmp/a"), 1);
  EXPECT_EQ(log.texts(), Texts({"[T](common:469):getCanonicalPath():/tmp/a,/tmp/a"}));
}

// --- removeFiles ---------------------------------------------------------------------------------

TEST(RemoveFiles, Null_IsLoggedAndMinusOne) {
  const CapturedLog log(CapturedLog::Level::kTrace);
  EXPECT_EQ(removeFiles(nullptr, 1), -1);
  EXPECT_EQ(log.texts(), Texts({"[I](common:511):invalid param"}));
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

TEST(RemoveFiles, PathWithABlank_RunsTheCommandWithTheEscapedPath) {
  if (::getuid() != 0) GTEST_SKIP() << "needs root for a /tmp of its own";
  const Texts lines = linesFromPrivateRoot([] {
    fs::create_directories("/tmp/a b/c");
    std::printf("%d\n", removeFiles("/tmp/a b", 1));
    std::printf("%zu left\n", namesIn("/tmp").size());
  });
  EXPECT_EQ(lines, inOrder({{"0", "0 left", "[T](common:469):getCanonicalPath():/tmp/a b,/tmp/a b",
                             "[T](common:520):/bin/rm -fr /tmp/a\\ b >/dev/null 2>&1"},
                            tracedExit(0)}));
}

TEST(RemoveFiles, AnyOtherRecursiveValue_GivesTheShortOption) {
  for (const int recursive : {0, 2, -1}) {
    const ScratchDir dir;
    const std::string path = dir.write("file", "x");
    const CapturedLog log(CapturedLog::Level::kTrace);
    EXPECT_EQ(removeFiles(path.c_str(), recursive), 0);
    EXPECT_EQ(namesIn(dir.path()), Texts());
    EXPECT_EQ(log.texts(), inOrder({{"[T](common:469):getCanonicalPath():" + path + "," + path,
                                     "[T](common:520):/bin/rm -f " + path + " >/dev/null 2>&1"},
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

TEST(RemoveFiles, PatternDirectlyBelowTmp_IsJudgedAsItStands) {
  // Not carried out here: the whole of /tmp would match.
  EXPECT_EQ(isAllowDelete("/tmp/*"), 1);
  EXPECT_EQ(isAllowDelete("/*"), 0);
  EXPECT_EQ(isAllowDelete("/var/*"), 0);
  EXPECT_EQ(isAllowDelete("/tmp/work/*"), 1);
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
