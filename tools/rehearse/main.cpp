// tanexics-rehearse: the command on the stand-in of the communication library, for a person to
// watch.

#include <cstring>
#include <exception>
#include <filesystem>
#include <optional>
#include <stdexcept>
#include <string>
#include <system_error>

#include "loopback/bytes.h"
#include "tools/common/complain.h"
#include "tools/common/language.h"
#include "tools/common/standardoutput.h"
#include "tools/outcome/meaning.h"
#include "tools/rehearse/arguments.h"
#include "tools/rehearse/folder.h"
#include "tools/rehearse/ignoredsignal.h"
#include "tools/rehearse/json.h"
#include "tools/rehearse/report.h"
#include "tools/rehearse/run.h"

namespace {

constexpr char kProgram[] = "tanexics-rehearse";

/// While something is printed: a reader that has gone, and a limit on file sizes, are told, and do
/// not end the program. Never while the command runs, which has these signals as its caller does.
struct Printing {
  IgnoredSignal pipe{SIGPIPE};
  IgnoredSignal size{SIGXFSZ};
};

int fail(const std::string& message) {
  const Printing printing;
  complain(kProgram, visibleBytes(message));
  return kCannotRun;
}

/// Runs the command, and hands out the report of the run. A temporary folder is gone when this
/// returns: a reader who stops reading leaves nothing behind. Returns the exit status.
int rehearse(const Arguments& arguments, const Terminal& terminal, std::string& report) {
  requireRunnable(arguments);
  const RehearsalFolder folder(arguments.outbox);
  const int waitStatus = runCommand(arguments, folder);
  folder.closeFiles();
  const Judgement judgement = judgementOf(folder, waitStatus);
  report = arguments.json ? makeJson(folder, waitStatus, judgement) + '\n'
                          : makeReport(folder, waitStatus, judgement, terminal);
  if (judgement.isContradiction) complain(kProgram, contradictionOf(judgement));
  return outcome::passedOn(waitStatus);
}

/// Prints `text`. Returns the reason where that fails, else an empty text.
std::string print(const std::string& text, StandardOutput& output) {
  const Printing printing;
  output.write(text);
  output.flush();
  return output.error() == 0 ? "" : std::strerror(output.error());
}

/// The folder that the program itself is in.
std::string ownFolder() {
  std::error_code error;
  const std::filesystem::path program = std::filesystem::read_symlink("/proc/self/exe", error);
  if (error) {
    throw std::runtime_error(translated("/proc/self/exe cannot be read: %s", {error.message()}));
  }
  return program.parent_path();
}

/// The whole of a rehearsal, from its command line on. Returns the exit status.
int runAll(int argc, const char* const* argv, StandardOutput& output) {
  const Terminal terminal = Terminal::ofStandardOutput();
  Arguments arguments;
  std::string text;
  std::optional<int> status = parseArguments(argc, argv, ownFolder(), terminal, arguments, text);
  const bool isRun = !status;
  if (isRun && arguments.json) speakEnglish();  // what programs read is the same for everybody
  if (isRun) status = rehearse(arguments, terminal, text);
  const std::string reason = print(text, output);
  if (reason.empty()) return *status;
  return fail(translated(isRun ? marked("the report cannot be written: %s")
                               : marked("the output cannot be written: %s"),
                         {reason}));
}

}  // namespace

int main(int argc, char** argv) {
  StandardOutput output;
  speakAsCaller(TANEXICS_CATALOGUES);
  if (output.error() != 0) {
    return fail(translated("standard output") + ": " + std::strerror(output.error()));
  }
  try {
    return runAll(argc, argv, output);
  } catch (const std::exception& error) {
    return fail(error.what());
  }
}
