// The line that a notification quotes from a log extract: the input is a list of file names, one a
// line, ended by a zero byte, and then the bytes of the one extract that there is. It has the names
// "x.syslog.txt" and "x.apllog.txt.gz".

#include <algorithm>

#include "fuzz/judges.h"
#include "fuzz/scratchfile.h"
#include "fuzz/target.h"
#include "support/testevent.h"

namespace {

/// The judge of the choice among the files; all names are within the folder of `extract`.
std::string excerptAmong(const Texts& paths, const ScratchFile& extract, const std::string& bytes) {
  for (const std::string& path : paths) {
    const bool isExtract = path.find(".syslog.txt") != std::string::npos ||
                           path.find(".apllog.txt") != std::string::npos;
    if (isExtract) return extract.hasPath(path) ? excerptOf(bytes) : "";
  }
  return "Software Log";
}

Texts pathsOf(std::string text, const ScratchFile& extract) {
  std::replace(text.begin(), text.end(), '/', '_');
  Texts paths = slowSplit(text, "\n", 0);
  for (std::string& path : paths) path.insert(0, extract.folder() + "/");
  return paths;
}

}  // namespace

void tryInput(Input input) {
  static const ScratchFile extract({"x.syslog.txt", "x.apllog.txt.gz"});
  const Texts paths = pathsOf(input.word(), extract);
  const std::string bytes = input.rest();
  extract.write(bytes);

  CSendEventBase event;
  std::string line = "left over";
  event.getSyslogLine(paths, line);
  demandEqual(line, excerptAmong(paths, extract, bytes),
              "the excerpt is the first line that is no comment");
  demand(line.size() <= 1022, "an excerpt has at most 1,022 bytes");
  demandEqual(extract.read(), bytes, "the extract itself is not changed");
}
