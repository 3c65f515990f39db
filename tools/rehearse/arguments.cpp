#include "tools/rehearse/arguments.h"

#include <CLI/CLI.hpp>
#include <algorithm>
#include <filesystem>
#include <sstream>

#include "loopback/bytes.h"
#include "tools/common/complain.h"
#include "tools/common/help.h"
#include "tools/common/listed.h"
#include "tools/common/nearest.h"
#include "tools/rehearse/situationlist.h"
#include "version.h"

namespace {

/// Rejects an empty value, which would otherwise count as an option that was not given.
std::string notEmpty(const std::string& value) {
  return value.empty() ? translated("the value is empty") : std::string();
}

/// What is chosen among the situations.
struct Choice {
  std::string folder;   // where the situations are
  bool isList = false;  // whether they are to be listed, instead of a run
};

/// "a, b or c", of the names that are most like `name`; empty where none is.
std::string suggestionsFor(const std::string& name, std::vector<std::string> names) {
  constexpr std::size_t kMost = 3;
  std::vector<std::string> found;
  while (found.size() < kMost) {
    const std::optional<std::string> nearest = nearestWord(name, names);
    if (!nearest) break;
    found.push_back(*nearest);
    names.erase(std::find(names.begin(), names.end(), *nearest));
  }
  return listedAsChoice(found);
}

/// The script of the situation `name`. For a name that none has, an error of the command line.
std::string scriptOf(const std::string& name, const std::string& folder) {
  std::vector<std::string> names;
  for (const Situation& situation : readSituations(folder)) {
    if (situation.name == name) return situation.script;
    names.push_back(situation.name);
  }
  const std::string suggestions = suggestionsFor(name, names);
  throw CLI::ValidationError(
      "--situation",
      suggestions.empty()
          ? translated("there is none with the name '%s'; --situations lists them all",
                       {visibleBytes(name)})
          : translated("there is none with the name '%s'; did you mean %s? --situations lists them "
                       "all",
                       {visibleBytes(name), suggestions}));
}

void addOptions(CLI::App& app, Arguments& arguments, Choice& choice) {
  app.formatter(std::make_shared<HelpFormatter>(
      marked("Usage: tanexics-rehearse [OPTIONS] -- LISTFILE -i NUMBER\n"
             "       tanexics-rehearse [OPTIONS] -- LISTFILE -r EVENTFILE\n"
             "       tanexics-rehearse --situations\n")));
  addHelp(app);
  app.add_option("--outbox", arguments.outbox,
                 translated("Keep record, copies and action log in DIR"))
      ->type_name("DIR")
      ->check(notEmpty);
  CLI::Option* script =
      app.add_option("--script", arguments.script, translated("Answer as FILE says"))
          ->type_name("FILE")
          ->check(notEmpty);
  const auto setSituation = [&, script](const std::string& name) {
    if (script->count() > 0) throw CLI::ExcludesError("--situation", "--script");
    arguments.script = scriptOf(name, choice.folder);
  };
  app.add_option_function<std::string>(
         "--situation", setSituation,
         translated("Answer as the situation NAME says, instead of a script"))
      ->type_name("NAME");
  app.add_flag("--situations", choice.isList, translated("List the situations and end"));
  app.add_option("--command", arguments.command,
                 translated("Run PATH instead of tanexics beside this one"))
      ->type_name("PATH")
      ->check(notEmpty);
  app.add_option("--library", arguments.library, translated("Take the stand-in library from DIR"))
      ->type_name("DIR")
      ->check(notEmpty);
  app.add_flag("--trace", arguments.trace, translated("Write the action log's trace lines too"));
  app.add_flag("--json", arguments.json, translated("Print one JSON object instead of the report"));
  addVersion(app, std::string("tanexics-rehearse ") + kVersion);
}

}  // namespace

std::optional<int> parseArguments(int argc, const char* const* argv, const std::string& ownFolder,
                                  const Terminal& terminal, Arguments& arguments,
                                  std::string& text) {
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

  CLI::App app(translated(
      "Runs tanexics on a stand-in of the communication library, and shows what the\n"
      "support centre would have received, the action log, the exit status and the verdict.\n"));
  addOptions(app, arguments, choice);
  try {
    app.parse(static_cast<int>(separator - argv), argv);
    if (choice.isList) {
      text = situationRows(readSituations(choice.folder), terminal.width);
      return 0;
    }
    if (separator == end) {
      throw CLI::RequiredError(translated("-- and the command's arguments after it"));
    }
  } catch (const CLI::Success& asked) {
    std::ostringstream output;
    app.exit(asked, output, output);
    text = output.str();
    return 0;
  } catch (const CLI::ParseError& wrong) {
    complain("tanexics-rehearse", visibleBytes(optionErrorOf(wrong)));
    return kWrongUsage;
  }
  arguments.words.assign(separator + 1, end);
  return std::nullopt;
}
