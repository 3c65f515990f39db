#include "common/files/pathform.h"

#include <gtest/gtest.h>

#include <string>

#include "support/actionlog.h"

namespace {

TEST(IsFullPath, OnlyALeadingSlash_Counts) {
  const struct {
    const char* path;
    int result;
  } kRows[] = {{"/", 1}, {"/a", 1}, {"//", 1},  {"", 0},
               {"a", 0}, {"a/", 0}, {" /a", 0}, {"./a", 0}};
  const CapturedLog log(CapturedLog::Level::kTrace);
  for (const auto& row : kRows) {
    EXPECT_EQ(isFullPath(row.path), row.result) << "'" << row.path << "'";
    EXPECT_EQ(isFullPath(std::string(row.path)), row.result) << "'" << row.path << "'";
  }
  EXPECT_EQ(log.bytes(), "");
}

TEST(JustifyPath, SlashRunsAndTheTrailingSlash_AreRemoved) {
  const struct {
    const char* path;
    const char* result;
  } kRows[] = {{"//a//b/", "/a/b"},
               {"///", "/"},
               {"/", "/"},
               {"", ""},
               {"a", "a"},
               {"a/", "a"},
               {"a//b", "a/b"},
               {"/a/./b/..", "/a/./b/.."},
               {"./", "."},
               {"/a /", "/a "},
               {"/\xe6//\xbc/", "/\xe6/\xbc"}};
  const CapturedLog log(CapturedLog::Level::kTrace);
  for (const auto& row : kRows) {
    EXPECT_EQ(justifyPath(row.path), row.result) << "'" << row.path << "'";
    EXPECT_EQ(justifyPath(std::string(row.path)), row.result) << "'" << row.path << "'";
  }
  EXPECT_EQ(log.bytes(), "");
}

}  // namespace
