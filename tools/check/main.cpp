// tanexics-check: would the command accept its input, and what would it send?

#include <cerrno>
#include <cstring>

#include "common/base/callersignals.h"
#include "tools/check/json.h"
#include "tools/check/options.h"
#include "tools/check/plain.h"
#include "tools/check/report.h"
#include "tools/common/complain.h"
#include "tools/common/language.h"
#include "tools/common/standardoutput.h"

namespace {

using check::Answer;

constexpr char kProgram[] = "tanexics-check";

/// Tells that standard output could not be written, for the reason `error`. Returns the exit
/// status.
int failedOutput(int error) {
  complain(kProgram, translated("standard output") + ": " + std::strerror(error));
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
  speakAsCaller(TANEXICS_CATALOGUES);
  if (output.error() != 0) return failedOutput(output.error());
  check::Options options;
  std::string text;
  if (const auto status = check::readOptions(argc, argv, options, text)) {
    output.write(text);
    output.flush();
    return output.error() == 0 ? *status : failedOutput(output.error());
  }
  if (options.json) speakEnglish();  // what programs read is the same for everybody
  const check::Report report = check::reportOn(options.words, options.environment);
  print(report, options.json, output);
  const int error = output.error();
  // Whoever reads no further knows that already.
  if (error == EPIPE) return check::kCannotTell;
  if (error != 0) return failedOutput(error);
  if (report.hasChanged) {
    complain(kProgram, translated("the input has changed while it was checked"));
  }
  return statusOf(report, options.strict);
}
