#include "common/capture/execgetlines.h"

#include <fcntl.h>
#include <sys/types.h>

#include <cerrno>
#include <cstdio>
#include <cstring>
#include <utility>

#include "common/base/childshell.h"
#include "common/base/format.h"
#include "common/base/piecereader.h"
#include "common/base/unwind.h"
#include "common/capture/loggedchild.h"
#include "common/process/waitstatus.h"
#include "log/loglines.h"
#include "temp/CTemp.h"

namespace {

constexpr std::size_t kLineBytes = 1024;

/// For the child: standard error goes to the file or, without one, to /dev/null. With a file that
/// cannot be opened the command runs without a standard error.
void redirectError(const std::string& errorPath) {
  if (errorPath.empty()) {
    discardStandardError();
    return;
  }
  const int file = ::open(C(errorPath), O_WRONLY | O_CREAT | O_TRUNC | O_CLOEXEC, 0666);
  const int error = errno;
  makeStandardError(file);
  if (file < 0) {
    infoNumbered("VUQ90006L", "failed to fopen():%s,%s", C(errorPath), std::strerror(error));
  }
}

/// For the child: becomes the command. System calls only, but for the one line that says why there
/// is no standard error; whatever goes wrong with that must not unwind into what the parent owns.
[[noreturn]] void becomeCommand(Pipe& pipe, const std::string& errorPath,
                                const char* command) noexcept {
  makeStandardOutput(pipe);
  redirectError(errorPath);
  execShell(command, kShellFailure);
}

/// A child, and the stream on what it prints. The child is waited for by `reap` or, when an
/// exception comes before, at the end of the object's life; the stream is closed first, so that a
/// child which goes on printing gets SIGPIPE or, where the caller ignores that, EPIPE.
class RunningCommand {
 public:
  /// Where `output` is null the child is left alone.
  RunningCommand(pid_t pid, Stream output) : m_pid(pid), m_output(std::move(output)) {}
  ~RunningCommand() {
    if (m_output == nullptr) return;
    m_output.reset();
    waitUndisturbed(m_pid, nullptr, 0);
  }
  RunningCommand(const RunningCommand&) = delete;
  RunningCommand& operator=(const RunningCommand&) = delete;

  FILE* output() const { return m_output.get(); }

  /// Waits for the child and decodes what it ended with.
  int reap() {
    m_output.reset();
    int status = -1;
    waitpid("common.cpp", 1445, m_pid, &status, 0);  // a wait that fails leaves the status alone
    return loggedExitStatus(m_pid, status);
  }

 private:
  pid_t m_pid;
  Stream m_output;
};

void collectErrors(const std::string& errorPath, std::list<std::string>& errorLines,
                   int maxErrorLines) {
  PieceReader reader(C(errorPath), kLineBytes);
  if (!reader.isOpen()) {
    infoNumbered("VUQ90007L", "failed to fopen():%s,%s", C(errorPath), std::strerror(errno));
    return;
  }
  collectLines(reader, errorLines, maxErrorLines);
}

int runAndCollect(std::list<std::string>& lines, const char* command, int maxLines,
                  std::list<std::string>* errorLines, int maxErrorLines) {
  Pipe pipe;
  if (!makeLoggedPipe(pipe)) return -1;
  CTemp temp;
  std::string errorPath;
  if (errorLines != nullptr && temp.getTempFile(errorPath, "execGetLines", nullptr, nullptr) != 1) {
    errorPath.clear();
  }
  const pid_t pid = forkLogged(command);
  if (pid == 0) becomeCommand(pipe, errorPath, command);
  int result = -1;
  if (pid > 0) {
    RunningCommand running(pid, openOutput(pipe));
    if (running.output() == nullptr) return -1;
    PieceReader reader(running.output(), kLineBytes);
    collectLines(reader, lines, maxLines);
    result = running.reap();
  }
  if (errorLines != nullptr && !errorPath.empty())
    collectErrors(errorPath, *errorLines, maxErrorLines);
  return result;
}

}  // namespace

int execGetLines(std::list<std::string>& lines, const char* command, int maxLines,
                 std::list<std::string>* errorLines, int maxErrorLines) {
  if (command == nullptr) {
    invalidParamAt("common", 1341);
    return -1;
  }
  traceAt("common", 1345, "execGetLines():count=%d,%s", maxLines, command);
  // Emptied by giving their items away, and not destroying them yet: `command` may be one of them.
  std::list<std::string> formerLines;
  std::list<std::string> formerErrorLines;
  lines.swap(formerLines);
  if (errorLines != nullptr) errorLines->swap(formerErrorLines);
  return releasingOwners(
      [&] { return runAndCollect(lines, command, maxLines, errorLines, maxErrorLines); });
}
