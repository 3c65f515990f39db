#include "common/base/childshell.h"

#include <fcntl.h>
#include <unistd.h>

#include "common/base/callersignals.h"

namespace {

/// Makes `file` also descriptor `number`. Where that fails there is no such descriptor: the
/// parent's must not take what is not meant for it.
void putAt(int file, int number) {
  if (::dup2(file, number) < 0) ::close(number);
}

}  // namespace

bool makePipe(Pipe& pipe) {
  int ends[2];
  if (::pipe2(ends, O_CLOEXEC) != 0) return false;
  pipe.readEnd = Descriptor(ends[0]);
  pipe.writeEnd = Descriptor(ends[1]);
  return true;
}

void makeStandardOutput(Pipe& pipe) {
  if (pipe.writeEnd.get() == STDOUT_FILENO) {
    // Already in place, where duplicating would have cleared the close-on-exec mark.
    ::fcntl(pipe.writeEnd.release(), F_SETFD, 0);
  } else {
    putAt(pipe.writeEnd.get(), STDOUT_FILENO);
    pipe.writeEnd.close();
  }
  // A read end that was descriptor 1 has been replaced above: closing it would close the output.
  if (pipe.readEnd.get() == STDOUT_FILENO) pipe.readEnd.release();
  pipe.readEnd.close();
}

void makeStandardError(int file) {
  if (file == STDERR_FILENO) {
    ::fcntl(file, F_SETFD, 0);  // in place already, but marked close-on-exec
  } else if (file < 0) {
    ::close(STDERR_FILENO);
  } else {
    putAt(file, STDERR_FILENO);
  }
}

void discardStandardError() { makeStandardError(::open("/dev/null", O_RDWR | O_CLOEXEC)); }

void execShell(const char* command, int failureStatus) {
  static const char kShell[] = "/bin/sh";
  // execvp takes its words as writable, and writes to none of them.
  char* const words[] = {const_cast<char*>(kShell), const_cast<char*>("-c"),
                         const_cast<char*>(command), nullptr};
  restoreCallerSignals();
  ::execvp(kShell, words);
  ::_exit(failureStatus);
}
