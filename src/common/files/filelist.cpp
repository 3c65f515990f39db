#include "common/files/filelist.h"

#include <dirent.h>

#include <cstring>
#include <memory>

#include "common/base/pathparts.h"
#include "common/files/filesystem.h"
#include "log/loglines.h"

namespace {

struct DirCloser {
  void operator()(DIR* stream) const { ::closedir(stream); }
};
using DirStream = std::unique_ptr<DIR, DirCloser>;

bool isDotEntry(const char* name) {
  return std::strcmp(name, ".") == 0 || std::strcmp(name, "..") == 0;
}

bool isWanted(const std::string& path, int withDirs, int onlyDirs) {
  if (onlyDirs == 1) return isDir(path) == 1;
  return withDirs != 0 || isDir(path) == 0;
}

template <class Container>
int listInto(Container& out, const char* dir, int fullPath, int withDirs, int onlyDirs) {
  if (isDir(dir) == 0) return -1;
  const std::string parent = eraseLastSlash(dir) + "/";  // the root becomes "/" again
  const DirStream stream(::opendir(dir));
  out.clear();  // not before: `dir` may be one of its items
  if (stream == nullptr) return -1;

  while (const dirent* entry = ::readdir(stream.get())) {
    if (isDotEntry(entry->d_name)) continue;
    std::string path = parent + entry->d_name;
    if (isWanted(path, withDirs, onlyDirs)) out.push_back(fullPath != 0 ? path : entry->d_name);
  }
  return static_cast<int>(out.size());
}

}  // namespace

int getFileList(std::list<std::string>& out, const char* dir, int fullPath, int withDirs,
                int onlyDirs) {
  if (dir == nullptr) {
    invalidParamAt("common", 2519);
    return -1;
  }
  return listInto(out, dir, fullPath, withDirs, onlyDirs);
}

int getFileList(std::vector<std::string>& out, const char* dir, int fullPath, int withDirs,
                int onlyDirs) {
  if (dir == nullptr) {
    invalidParamAt("common", 2599);
    return -1;
  }
  return listInto(out, dir, fullPath, withDirs, onlyDirs);
}
