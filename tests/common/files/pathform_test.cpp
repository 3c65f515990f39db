#include "common/files/pathform.h"

#include <gtest/gtest.h>

#include <string>
#include <vector>

#include "support/actionlog.h"

namespace {

using Texts = std::vector<std::string>;
constexpr const char* kNull = nullptr;

TEST(IsFullPath, OnlyALeadingSlash_Counts) {
  const struct {
    const char* path;
    int result;
  } kRows[] = {{"/", 1}, {"/a", 1}, {"//", 1},  {"", 0},
               {"a", 0}, {"a/", 0}, {" /a", 0}, {"./a", 0}};
  const CapturedLog log;
  for (const auto& row : kRows) {
    EXPECT_EQ(isFullPath(row.path), row.result) << "'" << row.path << "'";
    EXPECT_EQ(isFullPath(std::string(row.path)), row.result) << "'" << row.path << "'";
  }
  EXPECT_EQ(log.bytes(), "");
}

TEST(IsFullPath, Null_IsLoggedAndZero) {
  const CapturedLog log;
  EXPECT_EQ(isFullPath(kNull), 0);
  EXPECT_EQ(log.texts(), Texts({"[I](common:870):invalid param"}));
}

TEST(JustifyPath, SlashRunsAndTheTrailingSlash_AreRemoved) {
  const struct {
    const char* path;
    const char* result;
  } kRows[] = {{"//a//b/", "/a/b"},
               {"///", "/"},
               {"/", "/"},
               {"//", "/"},
               {"", ""},
               {"a", "a"},
               {"a/", "a"},
               {"a//", "a"},
               {"a//b", "a/b"},
               {"/a/./b/..", "/a/./b/.."},
               {"./", "."},
               {"/a /", "/a "},
               {"/a/ ", "/a/ "},
               {"/\xe6//\xbc/", "/\xe6/\xbc"}};
  const CapturedLog log;
  for (const auto& row : kRows) {
    EXPECT_EQ(justifyPath(row.path), row.result) << "'" << row.path << "'";
    EXPECT_EQ(justifyPath(std::string(row.path)), row.result) << "'" << row.path << "'";
  }
  EXPECT_EQ(log.bytes(), "");
}

TEST(JustifyPath, Null_IsLoggedAndEmpty) {
  const CapturedLog log;
  EXPECT_EQ(justifyPath(kNull), "");
  EXPECT_EQ(log.texts(), Texts({"[I](common:754):invalid param"}));
}

}  // namespace
