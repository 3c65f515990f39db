#ifndef TANEXICS_REHEARSE_ARGUMENTS_H
#define TANEXICS_REHEARSE_ARGUMENTS_H

#include <optional>
#include <string>
#include <vector>

#include "tools/common/terminal.h"

/// Exit statuses of the rehearsal's own; all others come from the command.
constexpr int kWrongUsage = 2;
constexpr int kCannotRun = 125;

/// What the command line asks for.
struct Arguments {
  std::string outbox;              // empty: a temporary one
  std::string script;              // of a situation too; empty: the default answers
  std::string command;             // the command to run
  std::string library;             // the folder that holds the stand-in library
  bool trace = false;              // whether the action log has its trace lines
  bool json = false;               // whether one JSON object takes the place of the report
  std::vector<std::string> words;  // the command's own arguments
};

/// Reads the command line. The first "--" ends the rehearsal's own options; all words after it are
/// the command's and are not looked at.
///
/// `ownFolder`  where the rehearsal itself lives: that of the command, the default of --command.
/// The
///              stand-in library, the default of --library, and the situations are in the folder
///              that the build option TANEXICS_LOOPBACK_FOLDER names, as seen from here.
/// `terminal`   what the situations are laid out for.
/// `arguments`  out: what was asked for.
/// `text`       out: the help, the version or the situations, where they are asked for.
///
/// Returns nothing when a run is wanted, otherwise the exit status: 0 with a `text` to print,
/// `kWrongUsage` after an error text on standard error. Throws std::runtime_error when situations
/// are asked for and cannot be read.
std::optional<int> parseArguments(int argc, const char* const* argv, const std::string& ownFolder,
                                  const Terminal& terminal, Arguments& arguments,
                                  std::string& text);

#endif
