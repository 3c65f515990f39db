#include "tools/log/input.h"

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <algorithm>
#include <array>
#include <cerrno>
#include <chrono>
#include <cstring>
#include <thread>

#include "common/base/descriptor.h"
#include "common/base/pathparts.h"
#include "log/CLog.h"

namespace {

constexpr std::size_t kPieceBytes = 1 << 18;

/// How long a file that does not grow is left alone.
constexpr auto kFollowPause = std::chrono::milliseconds(200);

/// The name that a rotation gives the older generation of `log`, in the same folder.
std::string olderOf(const std::string& log) {
  return log.substr(0, log.rfind('/') + 1) + retrieveName(log.c_str()) + ".bak";
}

std::string reasonOf(int error) { return std::strerror(error); }

/// Reads from `file` to its end. Gives the reason in words where that fails.
std::string readToEnd(int file, const std::function<bool(std::string_view)>& take) {
  std::string piece(kPieceBytes, '\0');
  while (true) {
    const ssize_t count = ::read(file, piece.data(), piece.size());
    if (count == 0) return "";
    if (count < 0 && errno == EINTR) continue;
    if (count < 0) return reasonOf(errno);
    if (!take(std::string_view(piece.data(), static_cast<std::size_t>(count)))) return "";
  }
}

/// When a file was last written, how long it is, and which file it is; all 0 where there is none.
std::array<std::uint64_t, 5> stateOf(const std::string& path) {
  struct stat now = {};
  if (::stat(path.c_str(), &now) != 0) return {};
  const auto number = [](auto value) { return static_cast<std::uint64_t>(value); };
  return {number(now.st_dev), number(now.st_ino), number(now.st_size), number(now.st_mtim.tv_sec),
          number(now.st_mtim.tv_nsec)};
}

/// The bytes of a file of a rotation; nothing where it is none.
std::optional<std::string> generationOf(const std::string& path) {
  constexpr std::size_t kMostBytes = 8 << 20;
  struct stat status = {};
  if (::stat(path.c_str(), &status) != 0 || !S_ISREG(status.st_mode)) return std::nullopt;
  std::string all;
  const auto keep = [&](std::string_view bytes) {
    all += bytes;
    return all.size() <= kMostBytes;
  };
  if (!readFile(path, keep).empty() || all.size() > kMostBytes) return std::nullopt;
  return all;
}

bool beginsWith(const std::string& text, const std::string& begin) {
  return text.compare(0, begin.size(), begin) == 0;
}

/// A file that grows, and what was read of it last: a rotation that empties it has copied it
/// before.
class Followed {
 public:
  explicit Followed(const std::string& path) : m_path(path) {}

  /// Opens the file anew. Returns the reason where that fails.
  std::string open(std::uint64_t offset) {
    Descriptor file(::open(m_path.c_str(), O_RDONLY | O_CLOEXEC));
    if (!file.isOpen() || ::fstat(file.get(), &m_opened) != 0) return reasonOf(errno);
    m_file = std::move(file);
    goTo(offset);
    return "";
  }

  /// Gives what was added. Returns the reason where that fails.
  std::string readOn(const std::function<bool(std::string_view)>& take) {
    const auto keepAndTake = [&](std::string_view bytes) {
      m_offset += bytes.size();
      m_tail.append(bytes.substr(bytes.size() - std::min(bytes.size(), kTailBytes)));
      m_tail.erase(0, m_tail.size() - std::min(m_tail.size(), kTailBytes));
      return take(bytes);
    };
    return readToEnd(m_file.get(), keepAndTake);
  }

  bool isReplaced() const {
    struct stat now = {};
    return ::stat(m_path.c_str(), &now) == 0 &&
           (now.st_ino != m_opened.st_ino || now.st_dev != m_opened.st_dev);
  }

  bool isShorter() const {
    struct stat now = {};
    return ::fstat(m_file.get(), &now) == 0 && static_cast<std::uint64_t>(now.st_size) < m_offset;
  }

  /// Gives what was written between the last look and the rotation, which only the copy has.
  std::string readRest(const std::function<bool(std::string_view)>& take) const {
    const Descriptor older(::open(olderOf(m_path).c_str(), O_RDONLY | O_CLOEXEC));
    if (!older.isOpen() || m_tail.empty()) return "";
    std::string tail(m_tail.size(), '\0');
    const auto before = static_cast<off_t>(m_offset - m_tail.size());
    const ssize_t count = ::pread(older.get(), tail.data(), tail.size(), before);
    if (count != static_cast<ssize_t>(tail.size()) || tail != m_tail) return "";
    ::lseek(older.get(), static_cast<off_t>(m_offset), SEEK_SET);
    return readToEnd(older.get(), take);
  }

  void goTo(std::uint64_t offset) {
    m_offset = offset;
    m_tail.clear();
    ::lseek(m_file.get(), static_cast<off_t>(offset), SEEK_SET);
  }

 private:
  static constexpr std::size_t kTailBytes = 256;

  std::string m_path;
  Descriptor m_file;
  struct stat m_opened = {};
  std::uint64_t m_offset = 0;
  std::string m_tail;
};

}  // namespace

std::vector<Log> logsOf(const std::vector<std::string>& words) {
  std::vector<Log> logs;
  if (words.empty()) {
    CLog written;
    written.init(nullptr, nullptr);
    const std::string& log = written.path();
    if (olderOf(log) != log) return {{{olderOf(log), log}, /*mayLackOlder=*/true}};
    return {{{log}}};
  }
  for (const std::string& word : words) {
    const bool continues = !logs.empty() && logs.back().files.size() == 1 &&
                           logs.back().name() == olderOf(word) && logs.back().name() != word;
    if (continues) {
      logs.back().files.push_back(word);
    } else {
      logs.push_back({{word}});
    }
  }
  return logs;
}

bool isThere(const std::string& path) {
  struct stat status = {};
  return ::stat(path.c_str(), &status) == 0;
}

std::optional<std::string> readTogether(const Log& log) {
  constexpr int kMostAttempts = 20;
  constexpr auto kPause = std::chrono::milliseconds(5);
  if (log.files.size() != 2) return std::nullopt;
  const std::string& older = log.files.front();
  for (int attempt = 0; attempt < kMostAttempts; ++attempt) {
    if (attempt > 0) std::this_thread::sleep_for(kPause);
    const auto before = stateOf(older);
    const std::optional<std::string> now = generationOf(log.name());
    const bool isLacking = log.mayLackOlder && before == decltype(before){};
    std::optional<std::string> then = isLacking ? "" : generationOf(older);
    if (!now || !then) return std::nullopt;
    // The copy is made, or is being made, and the log is not empty yet.
    const bool isCopied =
        !isLacking && !now->empty() && (beginsWith(*now, *then) || beginsWith(*then, *now));
    if (stateOf(older) == before && !isCopied) return *then += *now;
  }
  return std::nullopt;
}

std::string readFile(const std::string& path, const std::function<bool(std::string_view)>& take) {
  const Descriptor file(::open(path.c_str(), O_RDONLY | O_CLOEXEC));
  return file.isOpen() ? readToEnd(file.get(), take) : reasonOf(errno);
}

std::string followFile(const std::string& path, const std::function<bool(std::string_view)>& take) {
  Followed followed(path);
  std::string reason = followed.open(0);
  bool goesOn = true;
  const auto taking = [&](std::string_view bytes) { return goesOn = take(bytes); };
  while (reason.empty() && goesOn) {
    reason = followed.readOn(taking);
    if (!reason.empty() || !goesOn) break;
    if (followed.isShorter()) {
      reason = followed.readRest(taking);
      followed.goTo(0);
    } else if (followed.isReplaced()) {
      reason = followed.open(0);
    } else if (taking({})) {
      std::this_thread::sleep_for(kFollowPause);
    }
  }
  return reason;
}
