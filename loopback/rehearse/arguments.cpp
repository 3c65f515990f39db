#include "loopback/rehearse/arguments.h"

#include <CLI/CLI.hpp>
#include <algorithm>
#include <filesystem>
#include <iostream>

namespace {

/// Shows what stands behind the options, which the parser never sees.
class UsageFormatter : public CLI::Formatter {
 public:
  std::string make_usage(const CLI::App* /*app*/, std::string /*name*/) const override {
    return "Usage: tanexics-rehearse [OPTIONS] -- LISTFILE -i NUMBER\n"
           "       tanexics-rehearse [OPTIONS] -- LISTFILE -r EVENTFILE\n";
  }
};

/// Rejects an empty value, which would otherwise count as an option that was not given.
std::string notEmpty(const std::string& value) {
  return value.empty() ? "the value is empty" : std::string();
}

void addOptions(CLI::App& app, Arguments& arguments) {
  app.formatter(std::make_shared<UsageFormatter>());
  app.add_option("--outbox", arguments.outbox, "Keep record, copies and action log in DIR")
      ->type_name("DIR")
      ->check(notEmpty);
  app.add_option("--script", arguments.script, "Answer as FILE says")
      ->type_name("FILE")
      ->check(notEmpty);
  app.add_option("--command", arguments.command, "Run PATH instead of ../tanexics beside this one")
      ->type_name("PATH")
      ->check(notEmpty);
  app.add_option("--library", arguments.library, "Take the stand-in library from DIR")
      ->type_name("DIR")
      ->check(notEmpty);
  app.add_flag("--trace", arguments.trace, "Write the action log's trace lines too");
}

}  // namespace

std::optional<int> parseArguments(int argc, const char* const* argv, const std::string& ownFolder,
                                  Arguments& arguments) {
  const char* const* end = argv + argc;
  const char* const* separator =
      std::find_if(argv, end, [](const char* word) { return std::string(word) == "--"; });
  arguments = {};
  arguments.command = (std::filesystem::path(ownFolder) / "../tanexics").lexically_normal();
  arguments.library = ownFolder;

  CLI::App app(
      "Runs tanexics on a stand-in of the communication library, and shows what the\n"
      "support centre would have received, the action log and the exit status.\n");
  addOptions(app, arguments);
  try {
    app.parse(static_cast<int>(separator - argv), argv);
    if (separator == end) throw CLI::RequiredError("-- and the command's arguments behind it");
  } catch (const CLI::ParseError& result) {
    return app.exit(result, std::cout, std::cerr) == 0 ? 0 : kWrongUsage;
  }
  arguments.words.assign(separator + 1, end);
  return std::nullopt;
}
