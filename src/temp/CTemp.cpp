#include "temp/CTemp.h"

#include <cerrno>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <memory>

#include "common/base/descriptor.h"
#include "common/base/format.h"
#include "common/files/filesystem.h"
#include "common/files/removal.h"
#include "common/text/environment.h"
#include "log/loglines.h"

namespace {

constexpr int kAttempts = 10;
constexpr std::size_t kTemplateBytes = 4096;

/// Makes the parent directory where it is missing. In the log texts of this unit the parent
/// directory is called "prefix", and the name's prefix "templ".
bool ensureParent(const char* parentDir) {
  if (isDir(parentDir) == 1) return true;
  if (isFile(parentDir) == 1) {
    infoNumbered("VUQ90100L", "prefix:%s already exist and it's file", parentDir);
    return false;
  }
  if (makeDir(parentDir, /*parents=*/1) != 0) {
    infoNumbered("VUQ90101L", "failed to makeDir:%s", parentDir);
    return false;
  }
  return true;
}

bool makeTempDir(std::string& path, const char* prefix, const char* parentDir) {
  // By the names of tempnam(3) the temporary directories are known, so the linker's advice to use
  // another call is not taken. The name is free when it is given; nobody looks whether the one that
  // is used, which has a "_" more, is free as well.
  const std::unique_ptr<char, decltype(&std::free)> name(::tempnam(parentDir, prefix), &std::free);
  if (name == nullptr) {
    infoNumbered("VUQ90102L", "failed to tempnam():%s", std::strerror(errno));
    return false;
  }
  path = std::string(name.get()) + "_";
  if (makeDir(path, /*parents=*/1) == -1) {
    infoNumbered("VUQ90103L", "failed to create dir:%s", C(path));
    return false;
  }
  return true;
}

/// `fd` in: where the caller wants the descriptor, or null; `number` out: the descriptor's number,
/// also of one that is closed again.
bool makeTempFile(std::string& path, const char* prefix, const char* parentDir, int* fd,
                  int& number) {
  const std::string templ = format("%s/%sXXXXXX", parentDir, prefix);
  char name[kTemplateBytes] = {};
  std::snprintf(name, sizeof name, "%s", C(templ));
  path.reserve(sizeof name);  // so that nothing can fail while the file is on nobody's list
  // Inherited by what the caller starts, whose descriptor it is: one that nobody asked for is
  // closed before anything can be started.
  Descriptor file(::mkstemp(name));
  number = file.get();
  if (number < 0) {
    infoAt("CTemp", 132, "failed to mkstemp():%s:templ=%s", std::strerror(errno), C(templ));
    return false;
  }
  if (fd != nullptr) *fd = file.release();
  file.close();
  path.assign(name).append("_");
  if (std::rename(name, C(path)) != 0) {
    // The file stays under its generated name: the caller may hold its descriptor by now.
    infoNumbered("VUQ90104L", "failed to rename():%s to %s:%s", name, C(path),
                 std::strerror(errno));
    return false;
  }
  return true;
}

}  // namespace

CTemp::CTemp() = default;

CTemp::~CTemp() { CTemp::delTempFile(nullptr); }

int CTemp::getTempDir(std::string& path, const char* prefix, const char* parentDir) {
  std::string made;  // `prefix` and `parentDir` may be part of `path`
  int result = 0;
  for (int attempt = 0; attempt < kAttempts && result != 1; ++attempt) {
    result = getTemp_sub(made, prefix, parentDir, nullptr, /*kind=*/1);
  }
  path.swap(made);
  return result;
}

int CTemp::getTempFile(std::string& path, const char* prefix, const char* parentDir, int* fd) {
  std::string made;  // as above
  int result = 0;
  for (int attempt = 0; attempt < kAttempts && result != 1; ++attempt) {
    result = getTemp_sub(made, prefix, parentDir, fd, /*kind=*/0);
  }
  path.swap(made);
  return result;
}

int CTemp::getTemp_sub(std::string& path, const char* prefix, const char* parentDir, int* fd,
                       int kind) {
  std::string made;  // as above
  const int result = makeItem(made, prefix, parentDir, fd, kind);
  path.swap(made);
  return result;
}

int CTemp::makeItem(std::string& path, const char* prefix, const char* parentDir, int* fd,
                    int kind) {
  if (prefix == nullptr) {
    invalidParamAt("CTemp", 66);
    return 0;
  }
  if (parentDir == nullptr) parentDir = "/tmp";
  traceAt("CTemp", 73, "getTemp_sub():prefix=%s,templ=%s", parentDir, prefix);
  if (!ensureParent(parentDir)) return 0;

  // Its place in the list comes first: no want of memory can then come between making the item and
  // recording it.
  std::list<std::string> item(1);
  item.front().reserve(kTemplateBytes);
  int number = -1;
  const bool isMade = kind != 0 ? makeTempDir(path, prefix, parentDir)
                                : makeTempFile(path, prefix, parentDir, fd, number);
  if (!isMade) return 0;
  item.front() = path;
  m_createdItems.splice(m_createdItems.end(), item);
  traceAt("CTemp", 156, "getTemp_sub():exit=%d,type=%s,FD=%d,%s", 1, kind != 0 ? " DIR" : "FILE",
          number, C(path));
  return 1;
}

int CTemp::delTempFile(const char* path) {
  if (!getEnvValue("TANEX_NOT_DEL_TEMP").empty()) return 0;
  int removed = 0;
  for (auto item = m_createdItems.begin(); item != m_createdItems.end();) {
    if (path != nullptr && *item != path) {
      ++item;
      continue;
    }
    traceAt("CTemp", 188, "delTempFile:%s", C(*item));
    removeFiles(C(*item), /*recursive=*/1);
    ++removed;
    item = m_createdItems.erase(item);
  }
  return removed;
}
