#include "loopback/outbox.h"

#include <dirent.h>
#include <sys/stat.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <charconv>
#include <climits>
#include <cstdio>
#include <cstring>
#include <filesystem>
#include <memory>
#include <stdexcept>
#include <string_view>

#include "common/base/ignoreresult.h"
#include "loopback/filecopy.h"
#include "loopback/openhigh.h"

namespace {

constexpr mode_t kOwnerOnly = 0600;

// Why a file that is there is not copied; for one that is not, the system's reason stands alone.
constexpr char kNotRegular[] = "not a regular file";
constexpr char kNotOpened[] = "cannot be opened: ";
constexpr char kNotCopied[] = "the copy failed: ";

bool beginsWith(const std::string& text, const char* head) { return text.rfind(head, 0) == 0; }

std::string systemText(const std::string& what, int error) {
  return what + ": " + std::strerror(error);
}

Descriptor openOrThrow(const std::string& path, int flags) {
  Descriptor file = openHigh(path.c_str(), flags, kOwnerOnly);
  if (!file.isOpen()) throw std::runtime_error(systemText("open(" + path + ")", errno));
  return file;
}

/// Makes a folder for its owner alone, and its parents as the mask has them. One that is there
/// stays as it is.
void makeFolder(std::filesystem::path path) {
  constexpr mode_t kOwnersFolder = 0700;
  if (!path.has_filename()) path = path.parent_path();  // of a name that ends with a slash
  std::error_code error;
  std::filesystem::create_directories(path.parent_path(), error);
  if (::mkdir(path.c_str(), kOwnersFolder) == 0) {
    // The mask may have taken from its owner.
    ignoreResult(::chmod(path.c_str(), kOwnersFolder));
  } else if (errno != EEXIST) {
    throw std::runtime_error(systemText("mkdir(" + path.string() + ")", errno));
  }
}

/// Opens the record. Whatever has its name already stays as it is: that may be anything.
Descriptor openRecord(const std::string& path) {
  constexpr int kFlags = O_WRONLY | O_APPEND;
  Descriptor record = openHigh(path.c_str(), kFlags | O_CREAT | O_EXCL, kOwnerOnly);
  if (!record.isOpen()) return openOrThrow(path, kFlags | O_CREAT);
  ignoreResult(::fchmod(record.get(), kOwnerOnly));  // which the mask may have taken away
  return record;
}

/// The number at the start of a copy's name, 0 for a file of any other origin.
unsigned long numberOf(std::string_view name) {
  const std::size_t dash = name.find('-');
  if (dash == std::string_view::npos) return 0;
  unsigned long number = 0;
  const char* end = name.data() + dash;
  const auto parsed = std::from_chars(name.data(), end, number);
  return parsed.ec == std::errc() && parsed.ptr == end ? number : 0;
}

unsigned long highestNumber(const std::string& directory) {
  const std::unique_ptr<DIR, int (*)(DIR*)> stream(::opendir(directory.c_str()), ::closedir);
  if (!stream) throw std::runtime_error(systemText("opendir(" + directory + ")", errno));
  unsigned long highest = 0;
  while (const dirent* entry = ::readdir(stream.get())) {
    highest = std::max(highest, numberOf(entry->d_name));
  }
  return highest;
}

std::string copyName(unsigned long number, const std::string& baseName) {
  char prefix[32];
  std::snprintf(prefix, sizeof prefix, "%04lu-", number);
  return (prefix + baseName).substr(0, NAME_MAX);
}

std::string baseNameOf(const std::string& path) { return path.substr(path.rfind('/') + 1); }

/// Opens `path` when it is a regular file. Otherwise returns an owner of nothing, and `error` says
/// why. Looked at before it is opened, since opening a FIFO or a device can have effects, and again
/// afterwards, since another file may have taken the name; O_NONBLOCK keeps such a one from holding
/// up the call.
Descriptor openRegular(const char* path, std::string& error) {
  struct stat status;
  if (::stat(path, &status) != 0) {
    error = std::strerror(errno);
    return Descriptor();
  }
  if (!S_ISREG(status.st_mode)) {
    error = kNotRegular;
    return Descriptor();
  }
  Descriptor file = openHigh(path, O_RDONLY | O_NONBLOCK | O_NOCTTY);
  if (!file.isOpen()) {
    error = std::string(kNotOpened) + std::strerror(errno);
  } else if (::fstat(file.get(), &status) != 0 || !S_ISREG(status.st_mode)) {
    error = kNotRegular;
    file.close();
  }
  return file;
}

}  // namespace

bool isMissingFile(const std::string& error) {
  return !error.empty() && error != kNotRegular && !beginsWith(error, kNotOpened) &&
         !beginsWith(error, kNotCopied);
}

Outbox::Outbox(const std::string& directory) {
  if (directory.empty()) throw std::runtime_error("the name of the outbox is empty");
  const std::string items = directory + "/" + kItemsName;
  makeFolder(std::filesystem::path(directory).lexically_normal());
  makeFolder(items);
  m_items = openOrThrow(items, O_PATH | O_DIRECTORY);
  m_lastNumber = highestNumber(items);
  m_record = openRecord(directory + "/" + kRecordName);
}

std::string Outbox::append(const std::string& line) {
  ssize_t count = -1;
  do {
    count = ::write(m_record.get(), line.data(), line.size());
  } while (count < 0 && errno == EINTR);
  if (count < 0) return systemText("write", errno);
  if (static_cast<std::size_t>(count) < line.size()) {
    return "write: only " + std::to_string(count) + " of " + std::to_string(line.size()) + " bytes";
  }
  return "";
}

StoredItem Outbox::store(const char* path) {
  StoredItem item;
  const Descriptor source = openRegular(path, item.error);
  if (!source.isOpen()) return item;
  std::string name;
  item.error = copyToItems(source.get(), baseNameOf(path), name);
  if (item.error.empty()) item.copy = std::string(kItemsName) + "/" + name;
  return item;
}

/// Copies `source` under the next free number. `name` out: the name of the copy. Returns an empty
/// text, or what went wrong; nothing is left behind then.
std::string Outbox::copyToItems(int source, const std::string& baseName, std::string& name) {
  Descriptor target;
  do {
    name = copyName(++m_lastNumber, baseName);
    target = openHigh(name.c_str(), O_WRONLY | O_CREAT | O_EXCL, kOwnerOnly, m_items.get());
    // Another process may use the same outbox: nothing is ever overwritten.
  } while (!target.isOpen() && errno == EEXIST);
  std::string error;
  if (!target.isOpen()) {
    error = std::strerror(errno);
  } else {
    ignoreResult(::fchmod(target.get(), kOwnerOnly));  // which the mask may have taken away
    error = copyContents(source, target.get());
    if (!error.empty()) ::unlinkat(m_items.get(), name.c_str(), 0);
  }
  if (error.empty()) return "";
  --m_lastNumber;
  return kNotCopied + error;
}
