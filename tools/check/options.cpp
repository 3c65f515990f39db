#include "tools/check/options.h"

#include <CLI/CLI.hpp>
#include <algorithm>
#include <sstream>
#include <string_view>

#include "loopback/bytes.h"
#include "tools/common/complain.h"
#include "tools/common/help.h"
#include "version.h"

namespace check {

namespace {

/// Whether a word is one of this program, and not of the command's: those begin with a file.
bool isOwnOption(std::string_view word) {
  return word == "-h" || (word.substr(0, 2) == "--" && word != "--");
}

void addOptions(CLI::App& app, Options& options) {
  app.formatter(std::make_shared<HelpFormatter>(
      marked("Usage: tanexics-check [OPTIONS] LISTFILE -i NUMBER\n"
             "       tanexics-check [OPTIONS] LISTFILE -r EVENTFILE\n")));
  addHelp(app);
  app.add_flag("--json", options.json, translated("Print one JSON object"));
  app.add_flag("--strict", options.strict, translated("End with 1 where there are warnings"));
  app.add_flag("--environment", options.environment,
               translated("Look at the library, the log and what else a run needs, too"));
  addVersion(app, std::string("tanexics-check ") + kVersion);
}

}  // namespace

std::optional<int> readOptions(int argc, const char* const* argv, Options& options,
                               std::string& text) {
  const char* const* const end = argv + argc;
  const char* const* rest = std::find_if_not(argv + std::min(argc, 1), end, isOwnOption);
  CLI::App app(
      translated("Tells whether tanexics would accept its input, and what it would send.\n"));
  addOptions(app, options);
  try {
    app.parse(static_cast<int>(rest - argv), argv);
  } catch (const CLI::Success& asked) {
    std::ostringstream output;
    app.exit(asked, output, output);
    text = output.str();
    return kClean;
  } catch (const CLI::ParseError& wrong) {
    complain("tanexics-check", visibleBytes(optionErrorOf(wrong)));
    return kWrongUsage;
  }
  if (rest != end && std::string_view(*rest) == "--") ++rest;
  options.words.assign(rest, end);
  return std::nullopt;
}

}  // namespace check
