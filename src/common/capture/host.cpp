#include "common/capture/host.h"

#include <list>

#include "common/capture/execgetlines.h"

namespace {

std::string firstLineOf(const char* command) {
  std::list<std::string> lines;
  execGetLines(lines, command, /*maxLines=*/1, nullptr, 0);
  if (lines.empty()) return "";
  return lines.front();
}

}  // namespace

std::string getHostname() { return firstLineOf("uname -n 2>/dev/null"); }

std::string getDomainname() { return firstLineOf("domainname 2>/dev/null"); }
