#ifndef TANEXICS_LOG_OPTIONS_H
#define TANEXICS_LOG_OPTIONS_H

#include <optional>
#include <set>
#include <string>
#include <vector>

#include "tools/outcome/readable.h"
#include "tools/outcome/run.h"

/// Exit statuses, the later ones before the earlier: the last that applies counts.
constexpr int kAllDelivered = 0;
constexpr int kSomeFailed = 1;
constexpr int kSomeUnknown = 2;
constexpr int kNoRun = 3;
constexpr int kWrongUsage = 64;
constexpr int kCannotRead = 74;

/// How the runs are printed.
enum class Form { kText, kJson, kOpenMetrics };

/// What the command line asks for.
struct Options {
  std::vector<std::string> logs;  // none: the log that the command writes
  std::string since;              // "YYYY/MM/DD HH:MM:SS"; empty: from the first run on
  std::string until;              // empty: to the last one
  std::optional<int> pid;
  std::optional<std::string> incident;
  std::set<outcome::Verdict> verdicts;  // none: all
  std::size_t last = 0;                 // so many runs; 0: all
  bool lines = false;
  bool explain = false;
  bool follow = false;
  Form form = Form::kText;
  std::string html;  // the page; empty: none
  outcome::Encoding encoding = outcome::Encoding::kEither;
};

/// Reads the command line, but for "explain". Returns nothing when logs are to be read, otherwise
/// the exit status: 0 with the help or the version as `text` to print, `kWrongUsage` after telling
/// on standard error what is wrong.
std::optional<int> readOptions(int argc, const char* const* argv, Options& options,
                               std::string& text);

#endif
