#include "common/capture/terminal.h"

#include <sys/select.h>
#include <unistd.h>

#include <cstdio>

#include "common/base/ignoreresult.h"
#include "common/base/shell.h"
#include "common/process/waitstatus.h"
#include "common/text/numbertext.h"

namespace {

constexpr int kDefaultLineCount = 10;

}  // namespace

int getTerminalLineCount() {
  int fd = 0;
  int pid = 0;
  FILE* stream = s_popen("tput lines", fd, pid);
  if (stream == nullptr) return kDefaultLineCount;
  char digits[4] = {};
  const bool hasFailed =
      std::fgets(digits, sizeof digits, stream) == nullptr && std::feof(stream) == 0;
  const int status = s_pclose(stream, fd, pid);
  if (hasFailed || exitStatus(status) != 0) return kDefaultLineCount;
  return toInt(digits);
}

int checkReceiveData(int& ready, int seconds) {
  ready = 0;
  fd_set input;
  FD_ZERO(&input);
  FD_SET(STDIN_FILENO, &input);
  timeval limit = {seconds, 0};
  if (::select(STDIN_FILENO + 1, &input, nullptr, nullptr, &limit) < 0) return -1;
  ready = FD_ISSET(STDIN_FILENO, &input) ? 1 : 0;
  return 0;
}

int getch() {
  char line[1024];
  // Nothing is made of what was read, so that nothing came is no different.
  ignoreResult(std::fgets(line, sizeof line, stdin));
  return 0;
}
