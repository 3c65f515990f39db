#include "common/capture/loggedchild.h"

#include <unistd.h>

#include <cerrno>
#include <cstring>

#include "common/process/waitstatus.h"
#include "common/text/text.h"
#include "log/loglines.h"

bool makeLoggedPipe(Pipe& pipe) {
  if (makePipe(pipe)) return true;
  infoNumbered("VUQ90003L", "failed to pipe():%s", std::strerror(errno));
  return false;
}

pid_t forkLogged(const char* command) {
  infoNumbered("VUQ90004L", "com=%s", command);
  const pid_t pid = ::fork();
  if (pid < 0) {
    // Reason first and command second: the line has always been written in this order.
    infoNumbered("VUQ90005L", "failed to exec(%s):%s", std::strerror(errno), command);
  }
  return pid;
}

Stream openOutput(Pipe& pipe) {
  pipe.writeEnd.close();
  Stream output(::fdopen(pipe.readEnd.get(), "r"), &std::fclose);
  if (output != nullptr) pipe.readEnd.release();
  return output;
}

void collectLines(PieceReader& reader, std::list<std::string>& lines, int maxLines) {
  int kept = 0;
  while (char* piece = reader.next()) {
    if (maxLines >= 0 && kept >= maxLines) continue;
    eraseLastCRLF(piece);
    lines.emplace_back(piece);
    if (maxLines >= 0) ++kept;
  }
}

int loggedExitStatus(pid_t pid, int status) {
  infoNumbered("VUQ90004L", "pid=%d,wstat=%08x", pid, static_cast<unsigned>(status));
  return exitStatus(status);
}
