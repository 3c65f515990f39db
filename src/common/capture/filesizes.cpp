#include "common/capture/filesizes.h"

#include <sys/stat.h>

#include <algorithm>
#include <cstdio>
#include <cstring>
#include <utility>
#include <vector>

#include "common/base/format.h"
#include "common/base/piecereader.h"
#include "common/base/shell.h"
#include "common/capture/execgetlines.h"
#include "common/files/filelist.h"
#include "common/files/filesystem.h"
#include "common/process/execgetline.h"
#include "common/text/numbertext.h"
#include "log/loglines.h"

namespace {

/// The size argument of the bounded print: a longer command has always been run as far as it fits.
constexpr std::size_t kCommandBytes = 1023;
constexpr std::size_t kLineBytes = 1024;

using DirId = std::pair<dev_t, ino_t>;

std::int64_t totalOf(const std::list<std::string>& paths, int recursive,
                     std::vector<DirId>& ancestors);

/// The sum, wrapped at 64 bits: sparse files of any size are no reason to stop.
std::int64_t wrappingSum(std::int64_t a, std::int64_t b) {
  return static_cast<std::int64_t>(static_cast<std::uint64_t>(a) + static_cast<std::uint64_t>(b));
}

/// What a directory holds, unless it is being walked already. The walk through one link that leads
/// back ends by itself, with ELOOP after 40 links (see path_resolution(7)), but counts everything
/// 41 times; through two there are 2 to the power of 40 ways, which would take for ever.
std::int64_t totalOfDir(const std::string& dir, std::vector<DirId>& ancestors) {
  struct stat status = {};
  if (::stat(C(dir), &status) != 0) return 0;
  const DirId id(status.st_dev, status.st_ino);
  if (std::find(ancestors.begin(), ancestors.end(), id) != ancestors.end()) return 0;
  std::list<std::string> entries;
  getFileList(entries, C(dir), /*fullPath=*/1, /*withDirs=*/1, /*onlyDirs=*/0);
  ancestors.push_back(id);
  const std::int64_t total = totalOf(entries, /*recursive=*/1, ancestors);
  ancestors.pop_back();
  return total;
}

std::int64_t totalOf(const std::list<std::string>& paths, int recursive,
                     std::vector<DirId>& ancestors) {
  std::int64_t total = 0;
  for (const std::string& path : paths) {
    if (isDir(path) == 1) {
      if (recursive == 1) total = wrappingSum(total, totalOfDir(path, ancestors));
      continue;
    }
    const std::int64_t size = getFileSize(C(path));
    if (size >= 0) {
      total = wrappingSum(total, size);
    } else {
      traceAt("common", 192, "getFileSize():reurned %lld , %s", static_cast<long long>(size),
              C(path));
    }
  }
  return total;
}

}  // namespace

int getDirSize(const char* path) {
  if (path == nullptr) return -1;
  char command[kCommandBytes];
  std::snprintf(command, sizeof command, "du -sk %s", path);
  char line[kLineBytes] = {};
  execGetLine(command, line);
  return toInt(line);
}

int getDirFileSize(const std::string& dir, int& total, int archivesOnly) {
  total = 0;
  if (dir.empty()) return -1;
  const std::string command =
      "ls -1 " + dir +
      (archivesOnly != 0 ? "urgent.*.tar *.txt express.*.tar 2>/dev/null" : " 2>/dev/null");
  std::list<std::string> lines;
  execGetLines(lines, C(command), /*maxLines=*/-1, nullptr, /*maxErrorLines=*/-1);
  std::uint32_t sum = 0;
  for (const std::string& line : lines) {
    if (line == "." || line == "..") continue;
    struct stat status = {};
    if (::stat(C(line), &status) != 0) return -1;
    if (!S_ISDIR(status.st_mode)) sum += static_cast<std::uint32_t>(status.st_size);
    total = static_cast<int>(sum);
  }
  return 0;
}

std::int64_t getTotalFileSize(const std::list<std::string>& paths, int recursive) {
  std::vector<DirId> ancestors;
  return totalOf(paths, recursive, ancestors);
}

int getFreeSize(const char* path) {
  if (path == nullptr) return -1;
  char command[kCommandBytes];
  std::snprintf(command, sizeof command, "df -b %s 2>/dev/null", path);
  int fd = 0;
  int pid = 0;
  FILE* stream = s_popen(command, fd, pid);
  if (stream == nullptr) return -1;
  PieceReader reader(stream, kLineBytes);
  const bool hasHeading = reader.next() != nullptr;
  const char* line = hasHeading ? reader.next() : nullptr;
  s_pclose(stream, fd, pid);
  return line == nullptr ? -1 : toInt(line + std::strcspn(line, " \t"));
}
