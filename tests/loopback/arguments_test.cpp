#include "loopback/rehearse/arguments.h"

#include <gtest/gtest.h>
#include <sys/stat.h>

#include <stdexcept>
#include <string>
#include <utility>
#include <vector>

#include "support/scratch.h"

namespace {

using Words = std::vector<std::string>;

/// What one command line makes of it, and what it prints.
struct Parsed {
  std::optional<int> status;
  Arguments arguments;
  std::string output;
  std::string errors;
};

Parsed parse(const std::vector<const char*>& options,
             const std::string& ownFolder = "/build/loopback") {
  std::vector<const char*> argv = {"tanexics-rehearse"};
  argv.insert(argv.end(), options.begin(), options.end());
  Parsed parsed;
  ::testing::internal::CaptureStdout();
  ::testing::internal::CaptureStderr();
  parsed.status =
      parseArguments(static_cast<int>(argv.size()), argv.data(), ownFolder, parsed.arguments);
  parsed.output = ::testing::internal::GetCapturedStdout();
  parsed.errors = ::testing::internal::GetCapturedStderr();
  return parsed;
}

TEST(Arguments, Defaults) {
  const Parsed parsed = parse({"--"});
  EXPECT_EQ(std::nullopt, parsed.status);
  EXPECT_EQ("", parsed.arguments.outbox);
  EXPECT_EQ("", parsed.arguments.script);
  EXPECT_EQ("/build/tanexics", parsed.arguments.command);
  EXPECT_EQ("/build/loopback", parsed.arguments.library);
  EXPECT_FALSE(parsed.arguments.trace);
  EXPECT_EQ(Words(), parsed.arguments.words);
  EXPECT_EQ("", parsed.output + parsed.errors);
}

TEST(Arguments, EveryOption) {
  const Parsed parsed = parse({"--outbox", "o", "--script=s", "--command", "c", "--library", "l",
                               "--trace", "--", "list", "-i", "5"});
  EXPECT_EQ(std::nullopt, parsed.status);
  EXPECT_EQ("o", parsed.arguments.outbox);
  EXPECT_EQ("s", parsed.arguments.script);
  EXPECT_EQ("c", parsed.arguments.command);
  EXPECT_EQ("l", parsed.arguments.library);
  EXPECT_TRUE(parsed.arguments.trace);
  EXPECT_EQ(Words({"list", "-i", "5"}), parsed.arguments.words);
}

TEST(Arguments, WordsBehindTheSeparatorAreNotLookedAt) {
  const Parsed parsed = parse({"--", "--trace", "--", "", "-h", "--outbox", "x y"});
  EXPECT_EQ(std::nullopt, parsed.status);
  EXPECT_EQ(Words({"--trace", "--", "", "-h", "--outbox", "x y"}), parsed.arguments.words);
  EXPECT_EQ("", parsed.arguments.outbox);
}

TEST(Arguments, WrongUsage) {
  const std::vector<std::vector<const char*>> lines = {
      {},
      {"list", "-i", "5"},
      {"--trace"},
      {"list", "--"},
      {"-i", "--"},
      {"--unknown", "--"},
      {"--outbox", "--"},
      {"--outbox=", "--"},
      {"--outbox", "", "--"},
      {"--outbox", "a", "--outbox", "b", "--"},
      {"--script", "", "--"},
      {"--command", "", "--"},
      {"--library", "", "--"},
      {"--trace=maybe", "--"},
  };
  for (const auto& line : lines) {
    const Parsed parsed = parse(line);
    std::string words;
    for (const char* word : line) words += std::string(" '") + word + "'";
    EXPECT_EQ(kWrongUsage, parsed.status) << words;
    EXPECT_EQ("", parsed.output) << words;
    EXPECT_NE("", parsed.errors) << words;
  }
}

TEST(Arguments, MissingSeparatorIsNamed) {
  EXPECT_EQ(
      "-- and the command's arguments after it is required\n"
      "Run with --help for more information.\n",
      parse({"--trace"}).errors);
}

class SituationArguments : public ::testing::Test {
 protected:
  SituationArguments() {
    ::mkdir((own / "situations").c_str(), 0700);
    own.write("situations/busy.script", "# Busy.\ncommunicate * 1\n");
    own.write("situations/a-b.script", "# Other.\n");
  }

  ScratchDir own;
};

TEST_F(SituationArguments, NameStandsForItsScript) {
  const Parsed parsed = parse({"--situation", "busy", "--", "list"}, own.path());
  EXPECT_EQ(std::nullopt, parsed.status);
  EXPECT_EQ(own / "situations/busy.script", parsed.arguments.script);
  EXPECT_EQ(Words({"list"}), parsed.arguments.words);
  EXPECT_EQ("", parsed.output + parsed.errors);
}

TEST_F(SituationArguments, UnknownNameIsWrongUsageThatNamesTheList) {
  const std::vector<std::pair<const char*, std::string>> rows = {
      {"nope", "nope"},
      {"", ""},
      {"bus", "bus"},
      {"busy.script", "busy.script"},
      {"../situations/busy", "../situations/busy"},
      {"\x1b[0m", "\\x1b[0m"},
  };
  for (const auto& [name, shown] : rows) {
    const Parsed parsed = parse({"--situation", name, "--", "list"}, own.path());
    EXPECT_EQ(kWrongUsage, parsed.status) << shown;
    EXPECT_EQ("", parsed.output) << shown;
    EXPECT_EQ("--situation: there is none with the name '" + shown +
                  "': --situations lists them all\nRun with --help for more information.\n",
              parsed.errors);
  }
}

TEST_F(SituationArguments, EitherSituationOrScript) {
  for (const auto& line :
       std::vector<std::vector<const char*>>{{"--script", "s", "--situation", "busy", "--"},
                                             {"--situation", "busy", "--script", "s", "--"}}) {
    const Parsed parsed = parse(line, own.path());
    EXPECT_EQ(kWrongUsage, parsed.status);
    EXPECT_EQ("--situation excludes --script\nRun with --help for more information.\n",
              parsed.errors);
  }
  const Parsed twice = parse({"--situation", "busy", "--situation", "busy", "--"}, own.path());
  EXPECT_EQ(kWrongUsage, twice.status);
}

TEST_F(SituationArguments, List) {
  for (const auto& line : std::vector<std::vector<const char*>>{
           {"--situations"}, {"--trace", "--situations", "--", "list"}}) {
    const Parsed parsed = parse(line, own.path());
    EXPECT_EQ(0, parsed.status);
    EXPECT_EQ(
        "a-b   Other.\n"
        "busy  Busy.\n",
        parsed.output);
    EXPECT_EQ("", parsed.errors);
  }
}

TEST_F(SituationArguments, MissingFolderIsNoEmptyList) {
  EXPECT_EQ(std::nullopt, parse({"--"}).status);
  for (const char* option : {"--situations", "--situation=busy"}) {
    std::vector<const char*> argv = {"tanexics-rehearse", option, "--"};
    Arguments arguments;
    EXPECT_THROW(parseArguments(3, argv.data(), "/nonexistent", arguments), std::runtime_error);
  }
}

TEST(Arguments, Help) {
  const Parsed parsed = parse({"--help"});
  EXPECT_EQ(0, parsed.status);
  EXPECT_EQ("", parsed.errors);
  EXPECT_EQ(
      "Runs tanexics on a stand-in of the communication library, and shows what the\n"
      "support centre would have received, the action log and the exit status.\n"
      "\n"
      "Usage: tanexics-rehearse [OPTIONS] -- LISTFILE -i NUMBER\n"
      "       tanexics-rehearse [OPTIONS] -- LISTFILE -r EVENTFILE\n"
      "       tanexics-rehearse --situations\n"
      "\n"
      "Options:\n"
      "  -h,--help                   Print this help message and exit\n"
      "  --outbox DIR                Keep record, copies and action log in DIR\n"
      "  --script FILE               Answer as FILE says\n"
      "  --situation NAME            Answer as the situation NAME says, instead of a script\n"
      "  --situations                List the situations and end\n"
      "  --command PATH              Run PATH instead of ../tanexics beside this one\n"
      "  --library DIR               Take the stand-in library from DIR\n"
      "  --trace                     Write the action log's trace lines too\n"
      "\n",
      parsed.output);
}

}  // namespace
