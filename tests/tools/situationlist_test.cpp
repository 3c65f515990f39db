#include "tools/rehearse/situationlist.h"

#include <gtest/gtest.h>

#include <filesystem>
#include <string>

#include "support/scratch.h"

namespace {

/// What is read from a folder, a line each: name, sentence and script, or the error.
std::string listOf(const std::string& folder) {
  try {
    std::string list;
    for (const auto& [name, sentence, script] : readSituations(folder)) {
      list.append(name).append("|").append(sentence).append("|").append(script).append("\n");
    }
    return list;
  } catch (const std::exception& error) {
    return error.what();
  }
}

TEST(ReadSituations, Folder_GivesItsScriptsInTheOrderOfTheirNames) {
  const ScratchDir scratch;
  EXPECT_EQ(listOf(scratch.path()), "");
  scratch.write("b.script", "# Second one.\nid 3\n# Not this.\n");
  scratch.write("a-long.name.script", "# First: #1.");
  scratch.write("README", "no script");
  scratch.write("script", "no script");
  EXPECT_EQ(listOf(scratch.path()), "a-long.name|First: #1.|" + (scratch / "a-long.name.script") +
                                        "\n" + "b|Second one.|" + (scratch / "b.script") + "\n");
}

TEST(ReadSituations, WhatCannotBeRead_IsNamed) {
  const ScratchDir scratch;
  const std::string script = scratch / "a.script";
  EXPECT_EQ(listOf(script), script + ": cannot be read: No such file or directory");
  std::filesystem::create_directory(script);
  EXPECT_EQ(listOf(scratch.path()), script + ": cannot be read");
  std::filesystem::remove(script);
  scratch.write("a.script", "");
  EXPECT_EQ(listOf(scratch.path()), script + ": cannot be read");
  for (const char* text : {"id 3\n# Late.\n", "#None.\n", " # Late.\n", "\n"}) {
    scratch.write("a.script", text);
    EXPECT_EQ(listOf(scratch.path()), script + ": does not begin with a comment") << text;
  }
}

TEST(SituationRows, Sentences_StandBesideOrBelowAndFitTheWidth) {
  const std::vector<Situation> situations = {
      {"busy", "The line is busy all of the day, and more.", ""}, {"a-longer-one", "Short.", ""}};
  EXPECT_EQ(situationRows(situations, 0),
            "busy          The line is busy all of the day, and more.\n"
            "a-longer-one  Short.\n");
  EXPECT_EQ(situationRows(situations, 44),
            "busy          The line is busy all of the \n"
            "              day, and more.\n"
            "a-longer-one  Short.\n");
  EXPECT_EQ(situationRows(situations, 43),
            "busy\n"
            "    The line is busy all of the day, and \n"
            "    more.\n"
            "a-longer-one\n"
            "    Short.\n");
  EXPECT_EQ(situationRows({}, 40), "");
}

}  // namespace
