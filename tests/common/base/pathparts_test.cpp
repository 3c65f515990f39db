#include "common/base/pathparts.h"

#include <gtest/gtest.h>

#include <string>

namespace {

constexpr const char* kNull = nullptr;

TEST(PathParts, OfAnyPath_AreTakenFromItsText) {
  const struct {
    const char *path, *erased, *parent, *dir, *base, *name, *ext;
  } kRows[] = {
      {"", "", "/", "", "", "", ""},
      {"/", "", "/", "/", "", "", ""},
      {"//", "/", "/", "/", "", "", ""},
      {"a", "a", "/", "", "a", "a", ""},  // the parent is the root, on purpose
      {"a/", "a", "/", "a", "", "", ""},
      {"a//", "a/", "a", "a/", "", "", ""},
      {"a/b", "a/b", "a", "a", "b", "b", ""},
      {"/a", "/a", "/", "/", "a", "a", ""},
      {"//a", "//a", "/", "/", "a", "a", ""},
      {"/a/", "/a", "/", "/a", "", "", ""},
      {"/a/b//", "/a/b/", "/a/b", "/a/b/", "", "", ""},
      {"/a//b", "/a//b", "/a/", "/a/", "b", "b", ""},
      {"/a/b c/d ", "/a/b c/d ", "/a/b c", "/a/b c", "d ", "d ", ""},
      {"/\xe6/\xbc", "/\xe6/\xbc", "/\xe6", "/\xe6", "\xbc", "\xbc", ""},
      {"/d.d/a", "/d.d/a", "/d.d", "/d.d", "a", "a", ""},
      {"/d.d/", "/d.d", "/", "/d.d", "", "", ""},
      {"a.tar.gz", "a.tar.gz", "/", "", "a.tar.gz", "a.tar", "gz"},
      {".profile", ".profile", "/", "", ".profile", "", "profile"},
      {"a.b ", "a.b ", "/", "", "a.b ", "a", "b "},
      {"a.", "a.", "/", "", "a.", "a", ""},
      {".", ".", "/", "", ".", "", ""},
      {"..", "..", "/", "", "..", ".", ""},
  };
  for (const auto& row : kRows) {
    SCOPED_TRACE(row.path);
    const std::string path = row.path;
    std::string other = path;
    EXPECT_EQ(eraseLastSlash(row.path), row.erased);
    EXPECT_EQ(eraseLastSlash(other.data()), 0);
    EXPECT_STREQ(other.c_str(), row.erased);
    EXPECT_EQ(parentPath(row.path), row.parent);
    EXPECT_EQ(parentPath(path), row.parent);
    EXPECT_EQ(__xpg_basename(row.path), row.base);
    EXPECT_EQ(__xpg_basename(path), row.base);
    EXPECT_EQ(__xpg_basename(row.path, other = "left over"), row.base);
    EXPECT_EQ(other, row.dir);
    EXPECT_EQ(__xpg_basename(path, other = "left over"), row.base);
    EXPECT_EQ(other, row.dir);
    EXPECT_EQ(retrieveName(row.path), row.name);
    EXPECT_EQ(retrieveName(row.path, other = "left over"), row.name);
    EXPECT_EQ(other, row.ext);
    EXPECT_EQ(retrieveExt(row.path), row.ext);
    EXPECT_EQ(retrieveExt(row.path, other = "left over"), row.ext);
    EXPECT_EQ(other, row.name);
  }
}

TEST(EraseLastSlash, EmptyText_LeavesWhatStandsInFrontOfIt) {
  char text[] = "/";
  EXPECT_EQ(eraseLastSlash(text + 1), 0);
  EXPECT_STREQ(text, "/");
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

TEST(PathParts, OfNull_AreEmpty) {
  EXPECT_EQ(eraseLastSlash(static_cast<char*>(nullptr)), -1);
  EXPECT_EQ(eraseLastSlash(kNull) + parentPath(kNull) + __xpg_basename(kNull), "");
  EXPECT_EQ(retrieveExt(kNull) + retrieveName(kNull), "");
  std::string other;
  EXPECT_EQ(__xpg_basename(kNull, other = "left over") + other, "");
  EXPECT_EQ(retrieveExt(kNull, other = "left over") + other, "");
  EXPECT_EQ(retrieveName(kNull, other = "left over") + other, "");
}

}  // namespace
