#ifndef TANEXICS_TOOLS_COMMON_HELP_H
#define TANEXICS_TOOLS_COMMON_HELP_H

#include <CLI/CLI.hpp>
#include <string>
#include <utility>
#include <vector>

#include "tools/common/language.h"
#include "tools/common/retold.h"

// What the command lines of the programs have in common. A header alone, as only the programs' own
// units are compiled with the option library.

/// Lays out the help in the language that is spoken.
class HelpFormatter : public CLI::Formatter {
 public:
  /// `usage`  the ways to call the program, all of them; the parser never sees what stands after
  ///          the options. Marked for translation.
  explicit HelpFormatter(const char* usage) : m_usage(usage) {}

  std::string make_usage(const CLI::App* /*app*/, std::string /*name*/) const override {
    return translated(m_usage);
  }

  /// There is but one group of options.
  std::string make_group(std::string /*group*/, bool isPositional,
                         std::vector<const CLI::Option*> options) const override {
    const char* head = isPositional ? marked("Positionals") : marked("Options");
    return Formatter::make_group(translated(head), isPositional, std::move(options));
  }

 private:
  const char* m_usage;
};

/// Adds --help, as the first of all options.
inline void addHelp(CLI::App& app) {
  app.set_help_flag("-h,--help", translated("Print this help message and exit"));
}

/// Adds --version, which prints `text`.
inline void addVersion(CLI::App& app, const std::string& text) {
  app.set_version_flag("--version", text,
                       translated("Display program version information and exit"));
}

/// What is wrong with a command line, in the language that is spoken. What the programs' own checks
/// say of a value is in that language already.
inline std::string optionErrorOf(const CLI::ParseError& wrong) {
  const bool isOwn = dynamic_cast<const CLI::ValidationError*>(&wrong) != nullptr;
  if (isOwn) return wrong.what();
  return retold(wrong.what(),
                {marked("The following argument was not expected: %s"),
                 marked("The following arguments were not expected: %s"),
                 marked("Could not convert: %s = %s"), marked("%s: %s required %s missing"),
                 marked("%s: At Most %s required but received %s"), marked("%s excludes %s"),
                 marked("%s is required")});
}

#endif
