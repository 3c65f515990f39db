#include "tools/rehearse/folder.h"

#include <fcntl.h>

#include <cerrno>
#include <cstdlib>
#include <cstring>
#include <filesystem>
#include <iostream>
#include <stdexcept>
#include <system_error>

#include "common/base/descriptor.h"

namespace {

std::string makeTemporary() {
  std::string path = std::filesystem::temp_directory_path() / "tanexics-rehearse-XXXXXX";
  if (::mkdtemp(path.data()) == nullptr) {
    throw std::runtime_error("mkdtemp(" + path + "): " + std::strerror(errno));
  }
  return path;
}

std::string makeKept(const std::string& folder) {
  const std::filesystem::path path = std::filesystem::absolute(folder).lexically_normal();
  for (const char* name : {kRecordName, kItemsName, kActionLogName, kActionLogBackupName}) {
    // Asked without following links: a dangling one is somebody's work too.
    if (!std::filesystem::exists(std::filesystem::symlink_status(path / name))) continue;
    throw std::runtime_error("the outbox " + path.string() + " already holds '" + name +
                             "' of an earlier rehearsal: name another one, or remove it");
  }
  std::filesystem::create_directories(path);
  return path;
}

}  // namespace

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
  std::filesystem::remove_all(m_path, error);
  if (error) std::cerr << "tanexics-rehearse: " << m_path << " stays: " << error.message() << '\n';
}

void RehearsalFolder::makeActionLog() const {
  const Descriptor log(::open(actionLog().c_str(), O_WRONLY | O_CREAT | O_EXCL | O_CLOEXEC, 0600));
  if (!log.isOpen()) {
    throw std::runtime_error("open(" + actionLog() + "): " + std::strerror(errno));
  }
}
