// tanexics-rehearse: the command on the stand-in of the communication library, for a person to
// watch.

#include <exception>
#include <filesystem>
#include <iostream>
#include <optional>
#include <string>

#include "tools/outcome/meaning.h"
#include "tools/rehearse/arguments.h"
#include "tools/rehearse/folder.h"
#include "tools/rehearse/report.h"
#include "tools/rehearse/run.h"

namespace {

/// Runs the command, and hands out the report of the run. A temporary folder is gone when this
/// returns: a reader who stops reading leaves nothing behind. Returns the exit status.
int rehearse(const Arguments& arguments, std::string& report) {
  requireRunnable(arguments);
  const RehearsalFolder folder(arguments.outbox);
  const int waitStatus = runCommand(arguments, folder);
  report = makeReport(folder, waitStatus);
  return outcome::passedOn(waitStatus);
}

/// Whether everything printed so far has reached its reader.
bool isPrinted() { return static_cast<bool>(std::cout.flush()); }

int fail(const std::string& message) {
  std::cerr << "tanexics-rehearse: " << message << '\n';
  return kCannotRun;
}

}  // namespace

int main(int argc, char** argv) {
  try {
    const std::string ownFolder = std::filesystem::read_symlink("/proc/self/exe").parent_path();
    Arguments arguments;
    if (const std::optional<int> status = parseArguments(argc, argv, ownFolder, arguments)) {
      return isPrinted() ? *status : fail("the output cannot be written");
    }
    std::string report;
    const int status = rehearse(arguments, report);
    std::cout << report;
    return isPrinted() ? status : fail("the report cannot be written");
  } catch (const std::exception& error) {
    return fail(error.what());
  }
}
