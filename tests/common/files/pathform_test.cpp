#include "common/files/pathform.h"

#include <gtest/gtest.h>

#include <string>
#include <utility>

#include "support/actionlog.h"

namespace {

TEST(IsFullPath, OnlyALeadingSlash_Counts) {
  const CapturedLog log(CapturedLog::Level::kTrace);
  for (const std::string path : {"/", "/a", "//"}) {
    EXPECT_EQ(isFullPath(path) + isFullPath(path.c_str()), 2) << path;
  }
  for (const std::string path : {"", "a", "a/", " /a", "./a"}) {
    EXPECT_EQ(isFullPath(path) + isFullPath(path.c_str()), 0) << path;
  }
  EXPECT_EQ(log.bytes(), "");
}

TEST(JustifyPath, SlashRunsAndTheTrailingSlash_AreRemoved) {
  const std::pair<const char*, const char*> kRows[] = {{"//a//b/", "/a/b"},
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
  for (const auto& [path, result] : kRows) {
    EXPECT_EQ(justifyPath(path), result) << "'" << path << "'";
    EXPECT_EQ(justifyPath(std::string(path)), result) << "'" << path << "'";
  }
  EXPECT_EQ(log.bytes(), "");
}

}  // namespace
