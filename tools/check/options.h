#ifndef TANEXICS_CHECK_OPTIONS_H
#define TANEXICS_CHECK_OPTIONS_H

#include <optional>
#include <string>
#include <vector>

namespace check {

/// Exit statuses.
constexpr int kClean = 0;
constexpr int kHasWarnings = 1;
constexpr int kWrongUsage = 64;
constexpr int kRejected = 68;
constexpr int kCannotTell = 74;

/// What the command line asks for.
struct Options {
  bool json = false;
  bool strict = false;
  bool environment = false;
  std::vector<std::string> words;  ///< the command line of the command, without the program
};

/// Reads the options in front of the command's words. Returns nothing when there is something to
/// check, otherwise the exit status: 0 with the help or the version as `text` to print,
/// `kWrongUsage` after telling on standard error what is wrong.
std::optional<int> readOptions(int argc, const char* const* argv, Options& options,
                               std::string& text);

}  // namespace check

#endif
