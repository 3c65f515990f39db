#include "tools/rehearse/arguments.h"

#include <CLI/CLI.hpp>
#include <algorithm>
#include <filesystem>
#include <iostream>

#include "loopback/bytes.h"
#include "tools/rehearse/situationlist.h"

namespace {

/// Shows what stands after the options, which the parser never sees.
class UsageFormatter : public CLI::Formatter {
 public:
  std::string make_usage(const CLI::App* /*app*/, std::string /*name*/) const override {
    return "Usage: tanexics-rehearse [OPTIONS] -- LISTFILE -i NUMBER\n"
           "       tanexics-rehearse [OPTIONS] -- LISTFILE -r EVENTFILE\n"
           "       tanexics-rehearse --situations\n";
  }
};

/// Rejects an empty value, which would otherwise count as an option that was not given.
std::string notEmpty(const std::string& value) {
  return value.empty() ? "the value is empty" : std::string();
}

/// What is chosen among the situations.
struct Choice {
  std::string folder;   // where the situations are
  bool isList = false;  // whether they are to be listed, instead of a run
};

/// The script of the situation `name`. For a name that none has, an error of the command line.
std::string scriptOf(const std::string& name, const std::string& folder) {
  for (const Situation& situation : readSituations(folder)) {
    if (situation.name == name) return situation.script;
  }
  throw CLI::ValidationError("--situation", "there is none with the name '" + visibleBytes(name) +
                                                "': --situations lists them all");
}

void addOptions(CLI::App& app, Arguments& arguments, Choice& choice) {
  app.formatter(std::make_shared<UsageFormatter>());
  app.add_option("--outbox", arguments.outbox, "Keep record, copies and action log in DIR")
      ->type_name("DIR")
      ->check(notEmpty);
  CLI::Option* script = app.add_option("--script", arguments.script, "Answer as FILE says")
                            ->type_name("FILE")
                            ->check(notEmpty);
  const auto setSituation = [&, script](const std::string& name) {
    if (script->count() > 0) throw CLI::ExcludesError("--situation", "--script");
    arguments.script = scriptOf(name, choice.folder);
  };
  app.add_option_function<std::string>("--situation", setSituation,
                                       "Answer as the situation NAME says, instead of a script")
      ->type_name("NAME");
  app.add_flag("--situations", choice.isList, "List the situations and end");
  app.add_option("--command", arguments.command, "Run PATH instead of tanexics beside this one")
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
  const std::filesystem::path loopback =
      ownFolder / std::filesystem::path(TANEXICS_LOOPBACK_FOLDER);
  arguments = {};
  arguments.command = std::filesystem::path(ownFolder) / "tanexics";
  arguments.library = loopback;

  Choice choice;
  choice.folder = loopback / "situations";

  CLI::App app(
      "Runs tanexics on a stand-in of the communication library, and shows what the\n"
      "support centre would have received, the action log and the exit status.\n");
  addOptions(app, arguments, choice);
  try {
    app.parse(static_cast<int>(separator - argv), argv);
    if (choice.isList) {
      std::cout << situationRows(readSituations(choice.folder));
      return 0;
    }
    if (separator == end) throw CLI::RequiredError("-- and the command's arguments after it");
  } catch (const CLI::ParseError& result) {
    return app.exit(result, std::cout, std::cerr) == 0 ? 0 : kWrongUsage;
  }
  arguments.words.assign(separator + 1, end);
  return std::nullopt;
}
