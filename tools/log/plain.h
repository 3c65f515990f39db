#ifndef TANEXICS_LOG_PLAIN_H
#define TANEXICS_LOG_PLAIN_H

#include <string>

#include "tools/outcome/readable.h"
#include "tools/outcome/run.h"

/// How texts for people are laid out.
struct Layout {
  std::size_t width = 0;  ///< columns of the terminal; 0: lines are as long as they are
  bool hasColours = false;
  outcome::Encoding encoding = outcome::Encoding::kEither;

  /// What fits standard output: colours and a width on a terminal alone, and no colours where the
  /// environment says NO_COLOR (no-color.org).
  static Layout ofStandardOutput(outcome::Encoding encoding);
};

/// One run for people: when, process id, verdict, what was reported, and why the verdict; below it
/// its lines, if it has them. Every line ends with a line feed.
std::string plainTextOf(const outcome::Run& run, const Layout& layout);

#endif
