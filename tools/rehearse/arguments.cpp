#include "tools/rehearse/arguments.h"

#include <CLI/CLI.hpp>
#include <algorithm>
#include <filesystem>
#include <iostream>
#include <sstream>

#include "loopback/bytes.h"
#include "tools/common/nearest.h"
#include "tools/rehearse/situationlist.h"
#include "version.h"

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

/// "; did you mean a, b or c?", of the names that are most like `name`; empty where none is.
std::string suggestionsFor(const std::string& name, std::vector<std::string> names) {
  constexpr std::size_t kMost = 3;
  std::vector<std::string> found;
  while (found.size() < kMost) {
    const std::optional<std::string> nearest = nearestWord(name, names);
    if (!nearest) break;
    found.push_back(*nearest);
    names.erase(std::find(names.begin(), names.end(), *nearest));
  }
  std::string text;
  for (std::size_t at = 0; at < found.size(); ++at) {
    const char* link = at == 0 ? "; did you mean " : at + 1 == found.size() ? " or " : ", ";
    text += link + found[at];
  }
  return found.empty() ? text : text + '?';
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
      "--situation", "there is none with the name '" + visibleBytes(name) + "'" + suggestions +
                         (suggestions.empty() ? ";" : "") + " --situations lists them all");
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
  app.add_flag("--json", arguments.json, "Print one JSON object instead of the report");
  app.set_version_flag("--version", std::string("tanexics-rehearse ") + kVersion);
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

  CLI::App app(
      "Runs tanexics on a stand-in of the communication library, and shows what the\n"
      "support centre would have received, the action log, the exit status and the verdict.\n");
  addOptions(app, arguments, choice);
  try {
    app.parse(static_cast<int>(separator - argv), argv);
    if (choice.isList) {
      text = situationRows(readSituations(choice.folder), terminal.width);
      return 0;
    }
    if (separator == end) throw CLI::RequiredError("-- and the command's arguments after it");
  } catch (const CLI::Success& asked) {
    std::ostringstream output;
    app.exit(asked, output, output);
    text = output.str();
    return 0;
  } catch (const CLI::ParseError& wrong) {
    std::cerr << "tanexics-rehearse: " << visibleBytes(wrong.what()) << '\n';
    return kWrongUsage;
  }
  arguments.words.assign(separator + 1, end);
  return std::nullopt;
}
