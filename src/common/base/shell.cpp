#include "common/base/shell.h"

#include <sys/wait.h>
#include <unistd.h>

#include "common/base/childshell.h"
#include "common/base/format.h"
#include "common/base/piecereader.h"

namespace {

constexpr std::size_t kRelayBytes = 512;

/// Prints `piece` as a printf format, as the published behaviour has it; made safe for its want of
/// arguments.
void printAsFormat(const char* piece) {
  char fmt[2 * kRelayBytes];
  bareFormat(piece, fmt);
#pragma GCC diagnostic push
#pragma GCC diagnostic ignored "-Wformat-security"
#pragma GCC diagnostic ignored "-Wformat-nonliteral"
  std::printf(fmt);
#pragma GCC diagnostic pop
}

}  // namespace

FILE* s_popen(const char* command, int& fd, int& pid) {
  fd = 0;
  pid = 0;
  Pipe pipe;
  if (!makePipe(pipe)) ::_exit(1);

  pid = ::fork();
  if (pid == 0) {
    // System calls only: the parent's buffers and locks are copies here.
    makeStandardOutput(pipe);
    execShell(command, 0);
  }
  if (pid < 0) {
    // The ends stay open: a system that cannot fork is beyond caring for two descriptors.
    pipe.readEnd.release();
    pipe.writeEnd.release();
    return nullptr;
  }

  pipe.writeEnd.close();
  fd = pipe.readEnd.release();  // the stream's or, where none can be made, open from now on
  return ::fdopen(fd, "r");
}

int s_pclose(FILE* stream, int fd, int pid) {
  if (stream != nullptr) std::fclose(stream);
  // Closed a second time on purpose: callers may hand in a descriptor that the stream does not own.
  // For the stream's own descriptor the call fails, which harms nothing in a single thread.
  ::close(fd);
  int status = -1;
  if (::waitpid(pid, &status, 0) != pid) return -1;
  return status;
}

int s_system(const char* command) {
  if (command == nullptr) return -1;
  int fd = 0;
  int pid = 0;
  FILE* stream = s_popen(command, fd, pid);
  if (stream == nullptr) return -1;

  PieceReader reader(stream, kRelayBytes);
  while (const char* piece = reader.next()) printAsFormat(piece);
  // Nothing waits in a buffer afterwards, so that no way in which the process may end loses it, and
  // no child inherits a copy.
  std::fflush(stdout);
  return s_pclose(stream, fd, pid);
}

std::string shellEsc(const char* text, int escWild) {
  // Not std::strchr: the terminating zero would count as found.
  const std::string special = escWild != 0 ? "\"'\t ()|<>&#^`{}$\\*?][" : "\"'\t ()|<>&#^`{}$\\";
  std::string escaped;
  for (const char* byte = text; byte != nullptr && *byte != '\0'; ++byte) {
    if (special.find(*byte) != std::string::npos) escaped += '\\';
    escaped += *byte;
  }
  return escaped;
}

std::string shellEsc(const std::string& text, int escWild) { return shellEsc(C(text), escWild); }
