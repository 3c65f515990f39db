#include "tools/rehearse/arguments.h"

#include <gtest/gtest.h>

#include <filesystem>
#include <stdexcept>
#include <string>
#include <vector>

#include "support/scratch.h"
#include "tools/helptext.h"
#include "version.h"

namespace {

using Words = std::vector<std::string>;

/// The rehearsal's folder holds the one of the stand-in, with two situations.
class ParseArguments : public ::testing::Test {
 protected:
  ParseArguments() {
    std::filesystem::create_directories(scratch / "loopback/situations");
    scratch.write("loopback/situations/busy.script", "# Busy.\ncommunicate * 1\n");
    scratch.write("loopback/situations/a-b.script", "# Other.\n");
    scratch.write("loopback/situations/bust.script", "# Bust.\n");
    scratch.write("loopback/situations/busk.script", "# Busk.\n");
  }

  /// One command line: what it makes of it is in the members below.
  void parse(const Words& line) {
    std::vector<const char*> argv = {"tanexics-rehearse"};
    for (const std::string& word : line) argv.push_back(word.c_str());
    output.clear();
    ::testing::internal::CaptureStdout();
    ::testing::internal::CaptureStderr();
    status = parseArguments(static_cast<int>(argv.size()), argv.data(), ownFolder, {}, arguments,
                            output);
    EXPECT_EQ(::testing::internal::GetCapturedStdout(), "");
    errors = ::testing::internal::GetCapturedStderr();
  }

  ScratchDir scratch;
  std::string ownFolder = scratch.path();
  std::optional<int> status;
  Arguments arguments;
  std::string output;
  std::string errors;
};

TEST_F(ParseArguments, RightUsage_GivesWhatIsAskedFor) {
  const std::string command = scratch / "tanexics";
  const std::string library = scratch / "loopback";
  const std::string busy = library + "/situations/busy.script";
  const struct {
    Words line;
    Arguments expected;
  } rows[] = {
      {{"--"}, {"", "", command, library, false, false, {}}},
      {{"--outbox", "o", "--script=s", "--command", "c", "--library", "l", "--trace", "--json",
        "--", "list"},
       {"o", "s", "c", "l", true, true, {"list"}}},
      {{"--situation", "busy", "--", "list", "-i", "5"},
       {"", busy, command, library, false, false, {"list", "-i", "5"}}},
      // Words after the separator are not looked at.
      {{"--", "--trace", "--", "", "-h", "--outbox", "x y"},
       {"", "", command, library, false, false, {"--trace", "--", "", "-h", "--outbox", "x y"}}},
  };
  for (const auto& [line, expected] : rows) {
    SCOPED_TRACE(::testing::PrintToString(line));
    parse(line);
    EXPECT_EQ(status, std::nullopt);
    EXPECT_EQ(Words({arguments.outbox, arguments.script, arguments.command, arguments.library}),
              Words({expected.outbox, expected.script, expected.command, expected.library}));
    EXPECT_EQ(arguments.trace, expected.trace);
    EXPECT_EQ(arguments.json, expected.json);
    EXPECT_EQ(arguments.words, expected.words);
    EXPECT_EQ(output + errors, "");
  }
}

/// The error text for a name that no situation has.
std::string noSituation(const std::string& shown, const std::string& suggested = ";") {
  return "--situation: there is none with the name '" + shown + "'" + suggested +
         " --situations lists them all\n";
}

TEST_F(ParseArguments, WrongUsage_IsToldOnStandardError) {
  const std::string noSeparator = "-- and the command's arguments after it is required\n";
  const struct {
    Words line;
    std::string expected = "";  // where the text is not the parser's own
  } rows[] = {
      {{}, noSeparator},
      {{"--trace"}, noSeparator},
      {{"list", "-i", "5"}},
      {{"list", "--"}},
      {{"-i", "--"}},
      {{"--unknown", "--"}},
      {{"--outbox", "--"}},
      {{"--outbox=", "--"}},
      {{"--outbox", "", "--"}},
      {{"--outbox", "a", "--outbox", "b", "--"}},
      {{"--script", "", "--"}},
      {{"--command", "", "--"}},
      {{"--library", "", "--"}},
      {{"--trace=maybe", "--"}},
      {{"--situation", "busy", "--situation", "busy", "--"}},
      {{"--script", "s", "--situation", "busy", "--"}, "--situation excludes --script\n"},
      {{"--situation", "busy", "--script", "s", "--"}, "--situation excludes --script\n"},
      {{"--situation", "", "--"}, noSituation("")},
      {{"--situation", "bus", "--"}, noSituation("bus", "; did you mean busk, bust or busy?")},
      {{"--situation", "busy.script", "--"}, noSituation("busy.script")},
      {{"--situation", "../situations/busy", "--"}, noSituation("../situations/busy")},
      {{"--situation", "\x1b[0m", "--"}, noSituation("\\x1b[0m")},
      {{"--situation", "BUZY", "--"}, noSituation("BUZY", "; did you mean busy?")},
      {{"--situation", "busz", "--"}, noSituation("busz", "; did you mean busk, bust or busy?")},
      {{"--situation", "a-a", "--"}, noSituation("a-a", "; did you mean a-b?")},
  };
  for (const auto& [line, expected] : rows) {
    SCOPED_TRACE(::testing::PrintToString(line));
    parse(line);
    EXPECT_EQ(status, kWrongUsage);
    EXPECT_EQ(output, "");
    EXPECT_NE(errors, "");
    if (!expected.empty()) {
      EXPECT_EQ(errors, "tanexics-rehearse: " + expected);
    }
    EXPECT_EQ(errors.rfind("tanexics-rehearse: ", 0), 0U);
    EXPECT_EQ(errors.find('\n'), errors.size() - 1);
  }
}

TEST_F(ParseArguments, ListAndVersion_ArePrintedInsteadOfARun) {
  const std::string list =
      "a-b   Other.\n"
      "busk  Busk.\n"
      "bust  Bust.\n"
      "busy  Busy.\n";
  const struct {
    Words line;
    std::string expected;
  } rows[] = {
      {{"--situations"}, list},
      {{"--trace", "--situations", "--", "list"}, list},
      {{"--version"}, std::string("tanexics-rehearse ") + kVersion + "\n"},
  };
  for (const auto& [line, expected] : rows) {
    SCOPED_TRACE(::testing::PrintToString(line));
    parse(line);
    EXPECT_EQ(status, 0);
    EXPECT_EQ(output, expected);
    EXPECT_EQ(errors, "");
  }
}

TEST_F(ParseArguments, Help_SaysEachOptionInOurWords) {
  parse({"--help"});
  EXPECT_EQ(status, 0);
  EXPECT_EQ(missingFrom(output,
                        {"Runs tanexics on a stand-in of the communication library, and shows what "
                         "the support centre would have received, the action log, the exit status "
                         "and the verdict.",
                         "Usage: tanexics-rehearse [OPTIONS] -- LISTFILE -i NUMBER "
                         "tanexics-rehearse [OPTIONS] -- LISTFILE -r EVENTFILE "
                         "tanexics-rehearse --situations",
                         "--help", "--outbox DIR Keep record, copies and action log in DIR",
                         "--script FILE Answer as FILE says",
                         "--situation NAME Answer as the situation NAME says, instead of a script",
                         "--situations List the situations and end",
                         "--command PATH Run PATH instead of tanexics beside this one",
                         "--library DIR Take the stand-in library from DIR",
                         "--trace Write the action log's trace lines too",
                         "--json Print one JSON object instead of the report", "--version"}),
            Words());
  EXPECT_EQ(errors, "");
}

TEST_F(ParseArguments, MissingFolderOfSituations_IsNoEmptyList) {
  const std::string folder = "/nonexistent";
  for (const char* option : {"--situations", "--situation=busy"}) {
    const char* const argv[] = {"tanexics-rehearse", option, "--"};
    EXPECT_THROW(parseArguments(3, argv, folder, {}, arguments, output), std::runtime_error)
        << option;
  }
  // Nobody who asks for none needs it.
  const char* const argv[] = {"tanexics-rehearse", "--"};
  EXPECT_EQ(parseArguments(2, argv, folder, {}, arguments, output), std::nullopt);
}

}  // namespace
