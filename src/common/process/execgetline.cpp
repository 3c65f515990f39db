#include "common/process/execgetline.h"

#include <cstring>

#include "common/base/piecereader.h"
#include "common/base/shell.h"
#include "common/process/waitstatus.h"
#include "common/text/text.h"
#include "log/loglines.h"

namespace {

constexpr std::size_t kLineBytes = 1024;

/// Reads `stream` to its end. `line` becomes its first line, empty where there is none.
void readFirstLine(FILE* stream, char (&line)[kLineBytes]) {
  PieceReader reader(stream, sizeof line);
  const char* first = reader.next();
  std::snprintf(line, sizeof line, "%s", first == nullptr ? "" : first);
  eraseLastCRLF(line);
  while (reader.next() != nullptr) continue;
}

}  // namespace

int execGetLine(const char* command, char* line) {
  if (command == nullptr) return -1;
  int fd = 0;
  int pid = 0;
  FILE* stream = s_popen(command, fd, pid);
  if (stream == nullptr) return -1;
  char first[kLineBytes];
  readFirstLine(stream, first);
  const int status = s_pclose(stream, fd, pid);
  infoNumbered("VUQ90004L", "pid=%d,wstat=%08x", pid, static_cast<unsigned>(status));
  infoNumbered("VUQ90004L", "com=%s", command);
  // Not before: `command` may be what the buffer holds.
  if (line != nullptr) std::memcpy(line, first, std::strlen(first) + 1);
  return exitStatus(status);
}
