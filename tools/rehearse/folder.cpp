#include "tools/rehearse/folder.h"

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cerrno>
#include <cstdlib>
#include <cstring>
#include <filesystem>
#include <stdexcept>
#include <system_error>

#include "common/base/descriptor.h"
#include "loopback/bytes.h"
#include "tools/common/complain.h"
#include "tools/common/language.h"

namespace fs = std::filesystem;

namespace {

constexpr mode_t kOwnersFolder = 0700;
constexpr mode_t kOwnersFile = 0600;
constexpr mode_t kOthers = 077;

[[noreturn]] void refuse(const std::string& message) { throw std::runtime_error(message); }

[[noreturn]] void refuseToMake(const std::string& path, const std::string& reason) {
  refuse(translated("the outbox %s cannot be made: %s", {path, reason}));
}

/// The command gives the log's path to a shell, unquoted, when the log has grown too large.
void requirePlainPath(const std::string& path) {
  constexpr char kSpecial[] = " \t\n\r\"#$&'()*;<>?[\\]`{|}~";
  const std::size_t at = path.find_first_of(kSpecial);
  if (at == std::string::npos) return;
  refuse(translated("the outbox %s cannot be used: the path of an action log has no '%s'",
                    {path, path.substr(at, 1)}));
}

std::string makeTemporary() {
  std::error_code error;
  const fs::path directory = fs::temp_directory_path(error);
  if (error) {
    refuse(
        translated("there is no directory for temporary files; see TMPDIR: %s", {error.message()}));
  }
  std::string path = absolutePath(directory / "tanexics-rehearse-XXXXXX");
  requirePlainPath(path);
  if (::mkdtemp(path.data()) == nullptr) refuseToMake(path, std::strerror(errno));
  return path;
}

/// Makes the folder, or takes one that is there, for its owner alone.
void makeOwn(const std::string& path) {
  std::error_code error;
  fs::create_directories(fs::path(path).parent_path(), error);
  if (error) refuseToMake(path, error.message());
  const bool isMade = ::mkdir(path.c_str(), kOwnersFolder) == 0;
  if (!isMade && errno != EEXIST) refuseToMake(path, std::strerror(errno));

  struct stat status = {};
  if (::stat(path.c_str(), &status) != 0 || !S_ISDIR(status.st_mode)) {
    refuse(translated("the outbox %s cannot be used: not a folder", {path}));
  }
  if (status.st_uid != ::geteuid()) {
    refuse(translated("the outbox %s cannot be used: it belongs to another user", {path}));
  }
  if ((status.st_mode & 0777U) == kOwnersFolder) return;
  if (!fs::is_empty(path, error) && (status.st_mode & kOthers) != 0) {
    refuse(translated(
        "the outbox %s is not for its owner alone, and is not empty: name another one", {path}));
  }
  // The mask may also have taken from its owner.
  if (::chmod(path.c_str(), kOwnersFolder) != 0) {
    refuse(
        translated("the outbox %s cannot be closed to others: %s", {path, std::strerror(errno)}));
  }
}

std::string makeKept(const std::string& folder) {
  std::string path = fs::path(absolutePath(folder)).lexically_normal();
  while (path.size() > 1 && path.back() == '/') path.pop_back();
  requirePlainPath(path);
  for (const char* name : {kRecordName, kItemsName, kActionLogName, kActionLogBackupName}) {
    // Asked without following links: a dangling one is somebody's work too.
    std::error_code error;
    if (!fs::exists(fs::symlink_status(fs::path(path) / name, error))) continue;
    refuse(translated(
        "the outbox %s already holds '%s' of an earlier rehearsal: name another one, or remove it",
        {path, name}));
  }
  makeOwn(path);
  return path;
}

}  // namespace

std::string absolutePath(const std::string& path) {
  std::error_code error;
  const fs::path absolute = fs::absolute(path, error);
  if (error) refuse(translated("the working directory is gone: %s", {error.message()}));
  return absolute;
}

RehearsalFolder::RehearsalFolder(const std::string& kept)
    : m_path(kept.empty() ? makeTemporary() : makeKept(kept)), m_isKept(!kept.empty()) {
  try {
    makeActionLog();
  } catch (const std::exception&) {
    removeTemporary();
    throw;
  }
}

RehearsalFolder::~RehearsalFolder() { removeTemporary(); }

void RehearsalFolder::removeTemporary() const {
  if (m_isKept) return;
  std::error_code error;
  fs::remove_all(m_path, error);
  if (error) {
    complain("tanexics-rehearse",
             translated("%s stays: %s", {visibleBytes(m_path), error.message()}));
  }
}

void RehearsalFolder::makeActionLog() const {
  const Descriptor log(
      ::open(actionLog().c_str(), O_WRONLY | O_CREAT | O_EXCL | O_CLOEXEC, kOwnersFile));
  if (!log.isOpen() || ::fchmod(log.get(), kOwnersFile) != 0) {
    refuse(translated("the outbox %s cannot be used: %s", {m_path, std::strerror(errno)}));
  }
}

void RehearsalFolder::closeFiles() const {
  for (const std::string& path : {actionLog(), actionLogBackup()}) {
    struct stat status = {};
    if (::lstat(path.c_str(), &status) == 0 && S_ISREG(status.st_mode)) {
      [[maybe_unused]] const int result = ::chmod(path.c_str(), kOwnersFile);
    }
  }
}
