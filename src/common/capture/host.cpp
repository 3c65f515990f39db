#include "common/capture/host.h"

#include <list>

#include "common/base/format.h"
#include "common/capture/execgetlines.h"
#include "log/CLog.h"

namespace {

constexpr int kNoMatch = 1;  // the exit status of grep(1) that is no failure

std::string firstLineOf(const char* command) {
  std::list<std::string> lines;
  execGetLines(lines, command, /*maxLines=*/1, nullptr, 0);
  if (lines.empty()) return "";
  return lines.front();
}

}  // namespace

std::string getHostname() { return firstLineOf("uname -n 2>/dev/null"); }

std::string getDomainname() { return firstLineOf("domainname 2>/dev/null"); }

int count_RunningProcess(const std::string& program) {
  const std::string command = format("ps -eo command | grep '^%s'", C(program));
  std::list<std::string> lines;
  const int result =
      execGetLines(lines, C(command), /*maxLines=*/-1, nullptr, /*maxErrorLines=*/-1);
  if (result == 0) return static_cast<int>(lines.size());
  if (result == kNoMatch) return 0;
  gLog.ilog("count_RunningProcess failed to exec command( %s )", C(command));
  return -1;
}
