#include "common/execline.h"

#include <cstring>

#include "common/shell.h"
#include "common/text.h"
#include "common/waitstatus.h"
#include "log/loglines.h"

namespace {

constexpr int kLineBytes = 1024;

/// Reads `stream` to its end and copies its first line into `line` where there is one.
void readFirstLine(FILE* stream, char* line) {
  char piece[kLineBytes];
  for (bool isFirst = true; std::fgets(piece, sizeof piece, stream) != nullptr; isFirst = false) {
    if (!isFirst || line == nullptr) continue;
    eraseLastCRLF(piece);
    std::memcpy(line, piece, std::strlen(piece) + 1);
  }
}

}  // namespace

int execGetLine(const char* command, char* line) {
  if (command == nullptr) return -1;
  int fd = 0;
  int pid = 0;
  FILE* stream = s_popen(command, fd, pid);
  if (stream == nullptr) return -1;
  if (line != nullptr) line[0] = '\0';
  readFirstLine(stream, line);
  const int status = s_pclose(stream, fd, pid);
  infoNumbered("VUQ90004L", "pid=%d,wstat=%08x", pid, static_cast<unsigned>(status));
  infoNumbered("VUQ90004L", "com=%s", command);
  return exitStatus(status);
}
