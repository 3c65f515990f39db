#ifndef TANEXICS_TESTS_SUPPORT_OWNLOG_H
#define TANEXICS_TESTS_SUPPORT_OWNLOG_H

#include <filesystem>
#include <string>

#include "log/CLog.h"
#include "support/environmentguard.h"
#include "support/scratch.h"

/// The bytes of a log that the log itself has made, which nobody but root may read as it is.
inline std::string readLog(const std::string& path) {
  std::filesystem::permissions(path, std::filesystem::perms::owner_read,
                               std::filesystem::perm_options::add);
  return readFile(path);
}

/// A log of its own in `dir`, under its file name.
struct OwnLog {
  OwnLog(const ScratchDir& dir, const std::string& name)
      : path(dir / name), variable("TANEX_LOG", nullptr), level("TANEX_LOG_LEVEL", nullptr) {
    log.init("prog", path.c_str());
  }
  std::string path;
  EnvironmentGuard variable;
  EnvironmentGuard level;
  CLog log;
};

#endif
