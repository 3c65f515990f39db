#include "common/base/pathparts.h"

#include <gtest/gtest.h>

#include <string>

#include "support/actionlog.h"

namespace {

constexpr const char* kNull = nullptr;

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
    EXPECT_EQ(eraseLastSlash(row.path), row.result) << row.path;
    std::string inPlace = row.path;
    EXPECT_EQ(eraseLastSlash(inPlace.data()), 0) << row.path;
    EXPECT_STREQ(inPlace.c_str(), row.result) << row.path;
  }
}

TEST(EraseLastSlash, EmptyText_LeavesWhatStandsInFrontOfIt) {
  char text[] = "/";
  EXPECT_EQ(eraseLastSlash(text + 1), 0);
  EXPECT_STREQ(text, "/");
}

// A name without a directory gives the root, on purpose.
TEST(ParentPath, Paths_LoseTheirLastName) {
  const Row kRows[] = {{"", "/"},
                       {"a", "/"},
                       {"/a/b", "/a"},
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
                       {"./x", "."},
                       {"/a/b//", "/a/b"},
                       {"/a/b c/d ", "/a/b c"},
                       {"/\xe6/\xbc", "/\xe6"}};
  for (const Row& row : kRows) {
    EXPECT_EQ(parentPath(row.path), row.result) << row.path;
    EXPECT_EQ(parentPath(std::string(row.path)), row.result) << row.path;
  }
}

struct PartsRow {
  const char* path;
  const char* first;
  const char* second;
};

TEST(BaseName, Paths_AreCutAtTheirLastSlash) {
  const PartsRow kRows[] = {
      {"", "", ""},        {"a", "a", ""},        {"/", "", "/"},
      {"//", "", "/"},     {"/x", "x", "/"},      {"/usr/", "", "/usr"},
      {"/a/b", "b", "/a"}, {"a/b", "b", "a"},     {"/a//b", "b", "/a/"},
      {"a/", "", "a"},     {"/a/b ", "b ", "/a"}, {"/\xe6/\xbc", "\xbc", "/\xe6"}};
  for (const PartsRow& row : kRows) {
    std::string dir = "left over";
    EXPECT_EQ(__xpg_basename(row.path, dir), row.first) << row.path;
    EXPECT_EQ(dir, row.second) << row.path;
    EXPECT_EQ(__xpg_basename(row.path), row.first) << row.path;
    dir = "left over";
    EXPECT_EQ(__xpg_basename(std::string(row.path), dir), row.first) << row.path;
    EXPECT_EQ(dir, row.second) << row.path;
    EXPECT_EQ(__xpg_basename(std::string(row.path)), row.first) << row.path;
  }
}

TEST(BaseName, PathsAroundTheBuffer_AreCutAtIt) {
  for (const std::size_t length : {4094u, 4095u, 4096u, 4097u, 10000u}) {
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

TEST(BaseName, DirectoryIsThePathItself_IsCopiedFirst) {
  std::string path = "/a/b";
  EXPECT_EQ(__xpg_basename(path, path), "b");
  EXPECT_EQ(path, "/a");
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
                            {"a.b ", "b ", "a"}};
  for (const PartsRow& row : kRows) {
    std::string other = "left over";
    EXPECT_EQ(retrieveExt(row.path, other), row.first) << row.path;
    EXPECT_EQ(other, row.second) << row.path;
    EXPECT_EQ(retrieveExt(row.path), row.first) << row.path;
    other = "left over";
    EXPECT_EQ(retrieveName(row.path, other), row.second) << row.path;
    EXPECT_EQ(other, row.first) << row.path;
    EXPECT_EQ(retrieveName(row.path), row.second) << row.path;
  }
}

TEST(PathParts, Null_IsEmptyWithoutALine) {
  const CapturedLog log(CapturedLog::Level::kTrace);
  EXPECT_EQ(eraseLastSlash(static_cast<char*>(nullptr)), -1);
  EXPECT_EQ(eraseLastSlash(kNull) + parentPath(kNull), "");
  for (std::string (*function)(const char*, std::string&) :
       {static_cast<std::string (*)(const char*, std::string&)>(__xpg_basename),
        static_cast<std::string (*)(const char*, std::string&)>(retrieveExt),
        static_cast<std::string (*)(const char*, std::string&)>(retrieveName)}) {
    std::string other = "left over";
    EXPECT_EQ(function(kNull, other) + other, "");
  }
  EXPECT_EQ(__xpg_basename(kNull) + retrieveExt(kNull) + retrieveName(kNull), "");
  EXPECT_EQ(log.bytes(), "");
}

}  // namespace
