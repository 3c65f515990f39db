#ifndef TANEXICS_CHECK_PLAIN_H
#define TANEXICS_CHECK_PLAIN_H

#include <functional>
#include <string>

#include "tools/check/report.h"
#include "tools/common/terminal.h"

namespace check {

/// The files that a report for people shows, at most.
constexpr std::size_t kMostFilesShown = 1000;

/// Gives the report for people, in pieces: a line for each fault, what would be sent, the result.
void writePlain(const Report& report, const Terminal& terminal,
                const std::function<void(const std::string&)>& write);

}  // namespace check

#endif
