#include "tools/check/options.h"

#include <CLI/CLI.hpp>
#include <algorithm>
#include <iostream>
#include <string_view>

#include "loopback/bytes.h"
#include "version.h"

namespace check {

namespace {

/// Shows what stands after the options, which the parser never sees.
class UsageFormatter : public CLI::Formatter {
 public:
  std::string make_usage(const CLI::App* /*app*/, std::string /*name*/) const override {
    return "Usage: tanexics-check [OPTIONS] LISTFILE -i NUMBER\n"
           "       tanexics-check [OPTIONS] LISTFILE -r EVENTFILE\n";
  }
};

/// Whether a word is one of this program, and not of the command's: those begin with a file.
bool isOwnOption(std::string_view word) {
  return word == "-h" || (word.substr(0, 2) == "--" && word != "--");
}

void addOptions(CLI::App& app, Options& options) {
  app.formatter(std::make_shared<UsageFormatter>());
  app.add_flag("--json", options.json, "Print one JSON object");
  app.add_flag("--strict", options.strict, "End with 1 where there are warnings");
  app.add_flag("--environment", options.environment,
               "Look at the library, the log and what else a run needs, too");
  app.set_version_flag("--version", std::string("tanexics-check ") + kVersion);
}

}  // namespace

std::optional<int> readOptions(int argc, const char* const* argv, Options& options) {
  const char* const* const end = argv + argc;
  const char* const* rest = std::find_if_not(argv + std::min(argc, 1), end, isOwnOption);
  CLI::App app("Tells whether tanexics would accept its input, and what it would send.\n");
  addOptions(app, options);
  try {
    app.parse(static_cast<int>(rest - argv), argv);
  } catch (const CLI::Success& asked) {
    return app.exit(asked, std::cout, std::cerr);
  } catch (const CLI::ParseError& wrong) {
    std::cerr << "tanexics-check: " << visibleBytes(wrong.what()) << '\n';
    return kWrongUsage;
  }
  if (rest != end && std::string_view(*rest) == "--") ++rest;
  options.words.assign(rest, end);
  return std::nullopt;
}

}  // namespace check
