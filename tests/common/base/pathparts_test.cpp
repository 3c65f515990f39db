#include "common/base/pathparts.h"

#include <gtest/gtest.h>

#include <string>
#include <vector>

#include "support/actionlog.h"

namespace {

constexpr const char* kNull = nullptr;

std::string quoted(const char* text) {
  return text == nullptr ? "null" : "'" + std::string(text) + "'";
}

struct Row {
  const char* path;
  const char* result;
};

TEST(EraseLastSlash, OneTrailingSlash_IsRemoved) {
  const Row kRows[] = {{"", ""},       {"/", ""},
                       {"//", "/"},    {"a", "a"},
                       {"a/", "a"},    {"a//", "a/"},
                       {"/a", "/a"},   {"/a/", "/a"},
                       {"a/ ", "a/ "}, {"\xe6\xbc\xa2/", "\xe6\xbc\xa2"}};
  for (const Row& row : kRows) {
    EXPECT_EQ(eraseLastSlash(row.path), row.result) << quoted(row.path);
    std::string inPlace = row.path;
    EXPECT_EQ(eraseLastSlash(inPlace.data()), 0) << quoted(row.path);
    EXPECT_STREQ(inPlace.c_str(), row.result) << quoted(row.path);
  }
}

TEST(EraseLastSlash, EmptyText_LeavesWhatStandsInFrontOfIt) {
  char text[] = "/";
  EXPECT_EQ(eraseLastSlash(text + 1), 0);
  EXPECT_STREQ(text, "/");
}

TEST(EraseLastSlash, Null_IsMinusOneInPlaceAndEmptyAsACopy) {
  const CapturedLog log(CapturedLog::Level::kTrace);
  EXPECT_EQ(eraseLastSlash(static_cast<char*>(nullptr)), -1);
  EXPECT_EQ(eraseLastSlash(kNull), "");
  EXPECT_EQ(log.bytes(), "");
}

TEST(ParentPath, BareNameAndEmptyText_GiveTheRoot) {
  EXPECT_EQ(parentPath("a"), "/");
  EXPECT_EQ(parentPath(""), "/");
}

TEST(ParentPath, Null_GivesTheEmptyText) {
  const CapturedLog log(CapturedLog::Level::kTrace);
  EXPECT_EQ(parentPath(kNull), "");
  EXPECT_EQ(log.bytes(), "");
}

TEST(ParentPath, Paths_LoseTheirLastName) {
  const Row kRows[] = {{"/a/b", "/a"},
                       {"/a/b/", "/a"},
                       {"a/b", "a"},
                       {"/a", "/"},
                       {"/a/", "/"},
                       {"/", "/"},
                       {"//", "/"},
                       {"a/", "/"},
                       {"a//", "a"},
                       {"//a", "/"},
                       {"/a//b", "/a/"},
                       {"/a/b//", "/a/b"},
                       {"./x", "."},
                       {"/a/b c/d ", "/a/b c"},
                       {"/\xe6/\xbc", "/\xe6"}};
  for (const Row& row : kRows) {
    EXPECT_EQ(parentPath(row.path), row.result) << quoted(row.path);
    EXPECT_EQ(parentPath(std::string(row.path)), row.result) << quoted(row.path);
  }
}

struct PartsRow {
  const char* path;
  const char* first;
  const char* second;
};

TEST(BaseName, TrailingSlash_GivesAnEmptyNameAndTheWholeDirectory) {
  std::string dir;
  EXPECT_EQ(__xpg_basename("/usr/", dir), "");
  EXPECT_EQ(dir, "/usr");
}

TEST(BaseName, FirstLevelName_GivesTheRootAsItsDirectory) {
  std::string dir;
  EXPECT_EQ(__xpg_basename("/x", dir), "x");
  EXPECT_EQ(dir, "/");
}

TEST(BaseName, Paths_AreCutAtTheirLastSlash) {
  const PartsRow kRows[] = {{"", "", ""},          {"a", "a", ""},
                            {"/", "", "/"},        {"//", "", "/"},
                            {"/a/b", "b", "/a"},   {"a/b", "b", "a"},
                            {"/a//b", "b", "/a/"}, {"a/", "", "a"},
                            {"/a/b ", "b ", "/a"}, {"/\xe6/\xbc", "\xbc", "/\xe6"},
                            {nullptr, "", ""}};
  for (const PartsRow& row : kRows) {
    std::string dir = "left over";
    EXPECT_EQ(__xpg_basename(row.path, dir), row.first) << quoted(row.path);
    EXPECT_EQ(dir, row.second) << quoted(row.path);
    EXPECT_EQ(__xpg_basename(row.path), row.first) << quoted(row.path);
    if (row.path == nullptr) continue;
    dir = "left over";
    EXPECT_EQ(__xpg_basename(std::string(row.path), dir), row.first) << quoted(row.path);
    EXPECT_EQ(dir, row.second) << quoted(row.path);
    EXPECT_EQ(__xpg_basename(std::string(row.path)), row.first) << quoted(row.path);
  }
}

TEST(BaseName, LongestPath_IsNotCut) {
  const std::string name(4000, 'x');
  const std::string path = "/" + std::string(93, 'd') + "/" + name;
  ASSERT_EQ(path.size(), 4095u);
  std::string dir;
  EXPECT_EQ(__xpg_basename(path, dir), name);
  EXPECT_EQ(dir, "/" + std::string(93, 'd'));
}

TEST(BaseName, PathsAroundTheBuffer_AreCutAtIt) {
  for (const std::size_t length : {4094u, 4095u, 4096u, 4097u}) {
    std::string path = "/d/";
    while (path.size() < length) path += static_cast<char>('a' + path.size() % 26);
    const std::string name = path.substr(3, 4092);  // "/d/" and the terminator fill it up
    std::string dir;
    EXPECT_EQ(__xpg_basename(path, dir), name) << length;
    EXPECT_EQ(dir, "/d") << length;
    EXPECT_EQ(__xpg_basename(path.c_str()), name) << length;
    EXPECT_EQ(retrieveName(path.c_str()), name) << length;
    // A last slash after the cut is not seen.
    path.back() = '/';
    EXPECT_EQ(__xpg_basename(path, dir), length <= 4095 ? "" : name) << length;
  }
}

TEST(BaseName, PathTooLongForTheSystem_IsHarmless) {
  std::string dir;
  EXPECT_EQ(__xpg_basename("/d/" + std::string(10000, 'x'), dir), std::string(4092, 'x'));
  EXPECT_EQ(dir, "/d");
}

TEST(BaseName, DirectoryIsThePathItself_IsCopiedFirst) {
  std::string path = "/a/b";
  EXPECT_EQ(__xpg_basename(path, path), "b");
  EXPECT_EQ(path, "/a");
}

TEST(BaseNameAndExtension, Null_AreEmptyWithoutALine) {
  const CapturedLog log(CapturedLog::Level::kTrace);
  std::string other;
  EXPECT_EQ(__xpg_basename(kNull, other) + __xpg_basename(kNull), "");
  EXPECT_EQ(retrieveExt(kNull, other) + retrieveExt(kNull), "");
  EXPECT_EQ(retrieveName(kNull, other) + retrieveName(kNull), "");
  EXPECT_EQ(other, "");
  EXPECT_EQ(log.bytes(), "");
}

TEST(RetrieveName, NameWithTwoDots_LosesTheLastExtensionOnly) {
  std::string ext;
  EXPECT_EQ(retrieveName("/d/a.b.c", ext), "a.b");
  EXPECT_EQ(ext, "c");
}

TEST(RetrieveName, NameWithoutADot_HasAnEmptyExtension) {
  std::string ext = "left over";
  EXPECT_EQ(retrieveName("/d/abc", ext), "abc");
  EXPECT_EQ(ext, "");
  EXPECT_EQ(retrieveName("/d/abc"), "abc");
}

TEST(RetrieveExt, BaseNames_AreCutAtTheirLastDot) {
  const PartsRow kRows[] = {{"", "", ""},
                            {"a", "", "a"},
                            {".profile", "profile", ""},
                            {"a.tar.gz", "gz", "a.tar"},
                            {"/d.d/a", "", "a"},
                            {"/d.d/", "", ""},
                            {"a.", "", "a"},
                            {".", "", ""},
                            {"..", "", "."},
                            {"/x/common.cpp", "cpp", "common"},
                            {"a.b ", "b ", "a"},
                            {nullptr, "", ""}};
  for (const PartsRow& row : kRows) {
    std::string other = "left over";
    EXPECT_EQ(retrieveExt(row.path, other), row.first) << quoted(row.path);
    EXPECT_EQ(other, row.second) << quoted(row.path);
    EXPECT_EQ(retrieveExt(row.path), row.first) << quoted(row.path);
    other = "left over";
    EXPECT_EQ(retrieveName(row.path, other), row.second) << quoted(row.path);
    EXPECT_EQ(other, row.first) << quoted(row.path);
    EXPECT_EQ(retrieveName(row.path), row.second) << quoted(row.path);
  }
}

}  // namespace
