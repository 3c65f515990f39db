#include "loopback/rehearse/situationlist.h"

#include <gtest/gtest.h>
#include <sys/stat.h>

#include <exception>
#include <string>
#include <vector>

#include "support/scratch.h"

namespace {

std::string errorOf(const std::string& folder) {
  try {
    readSituations(folder);
    return "none";
  } catch (const std::exception& error) {
    return error.what();
  }
}

TEST(SituationList, ScriptsInTheOrderOfTheirNames) {
  const ScratchDir scratch;
  scratch.write("b.script", "# Second one.\nid 3\n# Not this.\n");
  scratch.write("a-long.name.script", "# First: #1.");
  scratch.write("README", "no script");
  scratch.write("script", "no script");
  const std::vector<Situation> situations = readSituations(scratch.path());
  ASSERT_EQ(2U, situations.size());
  EXPECT_EQ("a-long.name", situations[0].name);
  EXPECT_EQ("First: #1.", situations[0].sentence);
  EXPECT_EQ(scratch / "a-long.name.script", situations[0].script);
  EXPECT_EQ("b", situations[1].name);
  EXPECT_EQ("Second one.", situations[1].sentence);
  EXPECT_EQ(scratch / "b.script", situations[1].script);
}

TEST(SituationList, EmptyFolder) {
  const ScratchDir scratch;
  EXPECT_TRUE(readSituations(scratch.path()).empty());
  EXPECT_EQ("", situationRows({}));
}

TEST(SituationList, Rows) {
  EXPECT_EQ(
      "a    One.\n"
      "bcd  Two.\n",
      situationRows({{"a", "One.", ""}, {"bcd", "Two.", ""}}));
}

TEST(SituationList, WhatCannotBeRead) {
  const ScratchDir scratch;
  EXPECT_EQ(scratch / "none" + ": cannot be read: No such file or directory",
            errorOf(scratch / "none"));
  ASSERT_EQ(0, ::mkdir((scratch / "a.script").c_str(), 0700));
  EXPECT_EQ(scratch / "a.script" + ": cannot be read", errorOf(scratch.path()));
}

TEST(SituationList, ScriptWithoutSentence) {
  for (const char* text : {"id 3\n# Late.\n", "#None.\n", " # Late.\n", "\n"}) {
    const ScratchDir scratch;
    const std::string script = scratch.write("a.script", text);
    EXPECT_EQ(script + ": does not begin with a comment", errorOf(scratch.path())) << text;
  }
  const ScratchDir scratch;
  const std::string script = scratch.write("a.script", "");
  EXPECT_EQ(script + ": cannot be read", errorOf(scratch.path()));
}

}  // namespace
