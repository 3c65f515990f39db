// What tanexics-check says of the words of a command line.

#include "tools/checked.h"

namespace {

using CheckWords = Checked;

TEST_F(CheckWords, TooFewOrWrong_AreRejected) {
  const std::string needed =
      "command line: error: LISTFILE is needed, and behind it -i NUMBER or -r EVENTFILE\n";
  const struct {
    Texts words;
    std::string errors;
  } rows[] = {
      {{}, needed},
      {{"list"}, needed},
      {{"missing"}, needed + "missing: error: does not exist\n"},
      {{"list", "-x"}, "command line: error: \"-x\" is neither -i nor -r\n"},
      {{"list", "", "-i"}, "command line: error: \"\" is neither -i nor -r\n"},
      {{"list", "-"}, "command line: error: \"-\" is neither -i nor -r\n"},
      {{"-i", "1", "list"},
       "command line: error: \"1\" is neither -i nor -r; LISTFILE stands before them\n"
       "-i: error: does not exist\n"},
      {{"-revent", "list"},
       "command line: error: \"list\" is neither -i nor -r; LISTFILE stands before them\n"
       "-revent: error: does not exist\n"},
      {{"list", "-i"}, "command line: error: no number after -i\n"},
      {{"list", "-i42"},
       "command line: error: \"-i42\" takes the number from the next word, without its first two "
       "characters, and there is none; did you mean -i 42?\n"},
      {{"list", "-i42", "7"},
       "command line: error: \"-i42\" takes the number from the next word, without its first two "
       "characters, and \"7\" has fewer than two; did you mean -i 42?\n"},
      {{"list", "-r"}, "command line: error: no EVENTFILE after -r\n"},
      {{"list", "-rmissing", "event"},
       "command line: warning: \"event\" is ignored, and all behind it\n"
       "missing: error: does not exist\n"},
  };
  for (const auto& row : rows) EXPECT_EQ(errorsOf(row.words), row.errors);
}

TEST_F(CheckWords, AcceptedAndHardlyMeant_AreWarnedOf) {
  const struct {
    Texts words;
    std::string warnings;
  } rows[] = {
      {{"list", "-i", "42"}, ""},
      {{"list", "-i", "42", "x", "y"},
       "command line: warning: \"x\" is ignored, and all behind it\n"},
      {{"list", "-i", ""}, "command line: warning: the number is empty\n"},
      {{"list", "-i", " 4\n2"},
       "command line: warning: the number begins with a blank; it has control bytes\n"},
      {{"list", "-i42", "4711"},
       "command line: warning: the number is \"11\": after \"-i42\" it is the next word, \"4711\", "
       "without its first two characters; did you mean -i 42?\n"},
      {{"list", "-i42", "47"},
       "command line: warning: the number is \"\": after \"-i42\" it is the next word, \"47\", "
       "without its first two characters; did you mean -i 42?\n"},
      {{"list", "-r", "event"}, ""},
      {{"list", "-revent"}, ""},
      {{"list", "-r", "event", "x"},
       "command line: warning: \"x\" is ignored, and all behind it\n"},
  };
  for (const auto& row : rows) EXPECT_EQ(warningsOf(row.words), row.warnings);
}

}  // namespace
