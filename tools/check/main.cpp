// tanexics-check: would the command accept its input, and what would it send?

#include <cerrno>
#include <cstring>
#include <iostream>

#include "common/base/callersignals.h"
#include "tools/check/json.h"
#include "tools/check/options.h"
#include "tools/check/plain.h"
#include "tools/check/report.h"
#include "tools/common/standardoutput.h"

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

void print(const check::Report& report, bool isJson, StandardOutput& output) {
  const auto write = [&output](const std::string& text) { output.write(text); };
  if (isJson) {
    check::writeJson(report, write);
  } else {
    check::writePlain(report, Terminal::ofStandardOutput(), write);
  }
  output.flush();
}

}  // namespace

int main(int argc, char** argv) {
  settleSignals();  // as the command: it asks a child of its own for the name of the machine
  StandardOutput output;
  if (output.error() != 0)
    return complain(std::string("standard output: ") + std::strerror(output.error()));
  check::Options options;
  if (const auto status = check::readOptions(argc, argv, options)) {
    if (std::cout.flush()) return *status;
    return complain(std::string("standard output: ") + std::strerror(errno));
  }
  const check::Report report = check::reportOn(options.words, options.environment);
  print(report, options.json, output);
  const int error = output.error();
  // Whoever reads no further knows that already.
  if (error == EPIPE) return check::kCannotTell;
  if (error != 0) return complain(std::string("standard output: ") + std::strerror(error));
  if (report.hasChanged) complain("the input has changed while it was checked");
  return statusOf(report, options.strict);
}
