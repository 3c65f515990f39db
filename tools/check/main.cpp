// tanexics-check: would the command accept its input, and what would it send?

#include <fcntl.h>
#include <unistd.h>

#include <cerrno>
#include <cstdio>
#include <cstring>
#include <iostream>

#include "common/base/callersignals.h"
#include "common/base/stdfds.h"
#include "tools/check/json.h"
#include "tools/check/options.h"
#include "tools/check/plain.h"
#include "tools/check/report.h"

namespace {

using check::Answer;

int complain(const std::string& message) {
  std::cerr << "tanexics-check: " << message << '\n';
  return check::kCannotTell;
}

int statusOf(const check::Report& report, bool isStrict) {
  switch (report.answer) {
    case Answer::kRejected:
      return check::kRejected;
    case Answer::kUnknown:
      return check::kCannotTell;
    case Answer::kAccepted:
      break;
  }
  return isStrict && report.faults.warnings() > 0 ? check::kHasWarnings : check::kClean;
}

/// Prints the report. Returns the error of the write that failed; 0 where all went well.
int print(const check::Report& report, bool isJson) {
  int error = 0;
  const auto write = [&error](const std::string& text) {
    const bool isWritten = std::fwrite(text.data(), 1, text.size(), stdout) == text.size();
    if (!isWritten && error == 0) error = errno;
  };
  if (isJson) {
    check::writeJson(report, write);
  } else {
    check::writePlain(report, Terminal::ofStandardOutput(), write);
  }
  if (std::fflush(stdout) != 0 && error == 0) error = errno;
  return error;
}

}  // namespace

int main(int argc, char** argv) {
  settleSignals();  // as the command: it asks a child of its own for the name of the machine
  const bool hasOutput = ::fcntl(STDOUT_FILENO, F_GETFD) >= 0;
  occupyStandardDescriptors();
  if (!hasOutput) return complain(std::string("standard output: ") + std::strerror(EBADF));
  check::Options options;
  if (const auto status = check::readOptions(argc, argv, options)) {
    if (std::cout.flush()) return *status;
    return complain(std::string("standard output: ") + std::strerror(errno));
  }
  const check::Report report = check::reportOn(options.words, options.environment);
  const int error = print(report, options.json);
  // Whoever reads no further knows that already.
  if (error == EPIPE) return check::kCannotTell;
  if (error != 0) return complain(std::string("standard output: ") + std::strerror(error));
  if (report.hasChanged) complain("the input has changed while it was checked");
  return statusOf(report, options.strict);
}
