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

#include "loopback/filecopy.h"
#include "loopback/openhigh.h"

namespace {

constexpr mode_t kOwnerOnly = 0600;

std::string systemText(const std::string& what, int error) {
  return what + ": " + std::strerror(error);
}

Descriptor openOrThrow(const std::string& path, int flags) {
  Descriptor file = openHigh(path.c_str(), flags, kOwnerOnly);
  if (!file.isOpen()) throw std::runtime_error(systemText("open(" + path + ")", errno));
  return file;
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
  constexpr char kNotRegular[] = "not a regular file";
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
    error = std::strerror(errno);
  } else if (::fstat(file.get(), &status) != 0 || !S_ISREG(status.st_mode)) {
    error = kNotRegular;
    file.close();
  }
  return file;
}

}  // namespace

Outbox::Outbox(const std::string& directory) {
  if (directory.empty()) throw std::runtime_error("the name of the outbox is empty");
  const std::string items = directory + "/" + kItemsName;
  std::filesystem::create_directories(items);
  m_items = openOrThrow(items, O_PATH | O_DIRECTORY);
  m_lastNumber = highestNumber(items);
  m_record = openOrThrow(directory + "/" + kRecordName, O_WRONLY | O_APPEND | O_CREAT);
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
    error = copyContents(source, target.get());
    if (!error.empty()) ::unlinkat(m_items.get(), name.c_str(), 0);
  }
  if (error.empty()) return "";
  --m_lastNumber;
  return "the copy failed: " + error;
}
