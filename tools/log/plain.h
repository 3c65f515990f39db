#ifndef TANEXICS_LOG_PLAIN_H
#define TANEXICS_LOG_PLAIN_H

#include <string>

#include "tools/common/terminal.h"
#include "tools/outcome/readable.h"
#include "tools/outcome/run.h"

/// How texts for people are laid out.
struct Layout {
  Terminal terminal;
  outcome::Encoding encoding = outcome::Encoding::kEither;
};

/// One run for people: when, process id, verdict, what was reported, and why the verdict; below it
/// its lines, if it has them. Every line ends with a line feed.
std::string plainTextOf(const outcome::Run& run, const Layout& layout);

#endif
