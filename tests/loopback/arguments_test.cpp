#include "loopback/rehearse/arguments.h"

#include <gtest/gtest.h>

#include <string>
#include <vector>

namespace {

using Words = std::vector<std::string>;

/// What one command line makes of it, and what it prints.
struct Parsed {
  std::optional<int> status;
  Arguments arguments;
  std::string output;
  std::string errors;
};

Parsed parse(const std::vector<const char*>& options) {
  std::vector<const char*> argv = {"tanexics-rehearse"};
  argv.insert(argv.end(), options.begin(), options.end());
  Parsed parsed;
  ::testing::internal::CaptureStdout();
  ::testing::internal::CaptureStderr();
  parsed.status = parseArguments(static_cast<int>(argv.size()), argv.data(), "/build/loopback",
                                 parsed.arguments);
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
      "-- and the command's arguments behind it is required\n"
      "Run with --help for more information.\n",
      parse({"--trace"}).errors);
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
      "\n"
      "Options:\n"
      "  -h,--help                   Print this help message and exit\n"
      "  --outbox DIR                Keep record, copies and action log in DIR\n"
      "  --script FILE               Answer as FILE says\n"
      "  --command PATH              Run PATH instead of ../tanexics beside this one\n"
      "  --library DIR               Take the stand-in library from DIR\n"
      "  --trace                     Write the action log's trace lines too\n"
      "\n",
      parsed.output);
}

}  // namespace
