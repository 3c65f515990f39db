#include "log/CLog.h"

#include <fcntl.h>
#include <sys/stat.h>
#include <syslog.h>
#include <unistd.h>

#include <cctype>
#include <cerrno>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <ctime>

#include "common/base/format.h"
#include "common/base/ignoreresult.h"
#include "common/base/pathparts.h"
#include "common/base/shell.h"
#include "log/linehead.h"

CLog gLog;

namespace {

constexpr char kDefaultLogPath[] = "/var/opt/QZKBsoftmsg/log/msg_action.log";
constexpr char kTraceLevel[] = "LOG_LEVEL_TRACE";
constexpr char kSystemLogWord[] = "QZKBsoftmsg";

constexpr off_t kRotationBytes = 512000;  // a file above this is backed up and emptied
constexpr std::size_t kSystemLogBytes = 4096;

/// Decimal on purpose, that is octal 01204: log files have always been created like this, and the
/// tools that collect them expect to find it so.
constexpr mode_t kLogFileMode = 644;

/// Keeps errno over a call: a caller may log before it looks at what went wrong.
class ErrnoKeeper {
 public:
  ErrnoKeeper() : m_errno(errno) {}
  ~ErrnoKeeper() { errno = m_errno; }
  ErrnoKeeper(const ErrnoKeeper&) = delete;
  ErrnoKeeper& operator=(const ErrnoKeeper&) = delete;

 private:
  int m_errno;
};

/// The head of a line that is written now. Nothing of it is kept for the next line: the zone may be
/// set anew in between, and the process may be a child that nobody was told of.
std::size_t formatHeadNow(char (&head)[kLineHeadBytes]) {
  const std::time_t now = std::time(nullptr);
  std::tm local = {};
  ::localtime_r(&now, &local);
  return formatLineHead(head, local, ::getpid());
}

/// A log that cannot be written must not stop the run, so what could not be written is let go.
void writeOnce(int fd, const char* bytes, std::size_t count) {
  ignoreResult(::write(fd, bytes, count));
}

std::string environmentOr(const char* name, const char* fallback) {
  const char* value = std::getenv(name);
  return value == nullptr ? fallback : value;
}

}  // namespace

CLog::CLog() : m_traceOn(0), m_initialized(0) {}

CLog::~CLog() = default;

int CLog::init(const char* programPath, const char* defaultLogPath) {
  m_logPath =
      environmentOr("TANEX_LOG", defaultLogPath == nullptr ? kDefaultLogPath : defaultLogPath);
  m_traceOn = environmentOr("TANEX_LOG_LEVEL", "") == kTraceLevel ? 1 : 0;
  m_ident = __xpg_basename(programPath);
  m_initialized = 1;
  return 0;
}

void CLog::ilog(const char* format, ...) {
  va_list args;
  va_start(args, format);
  log(format, args);
  va_end(args);
}

void CLog::tlog(const char* format, ...) {
  if (!isTraceOn()) return;
  va_list args;
  va_start(args, format);
  log(format, args);
  va_end(args);
}

void CLog::log(const char* format, va_list args) {
  if (m_initialized == 0) return;
  const ErrnoKeeper keeper;

  char text[kMessageBytes] = {};
  const int formatted = std::vsnprintf(text, sizeof text, format, args);
  // Read as unsigned, so that a failed conversion (-1) counts as too long as well. The terminator
  // of a text that was cut is written with it: readers of the log know a cut line by its zero byte.
  std::size_t length = static_cast<std::size_t>(formatted);
  if (length > sizeof text) length = sizeof text;

  rotate();
  append(text, length);
}

void CLog::rotate() const {
  struct stat status;
  if (::stat(C(m_logPath), &status) != 0 || status.st_size <= kRotationBytes) return;

  const std::string directory = parentPath(m_logPath);
  const std::string name = retrieveName(C(m_logPath));
  s_system(C(format("cp -f %s %s/%s.bak >/dev/null 2>&1", C(m_logPath), C(directory), C(name))));
  // Also when the copy failed: a disk that has no room for the backup must not be filled by the
  // log.
  ignoreResult(::truncate(C(m_logPath), 0));
}

void CLog::append(const char* text, std::size_t length) const {
  const int fd = ::open(C(m_logPath), O_WRONLY | O_CREAT | O_APPEND | O_CLOEXEC, kLogFileMode);
  if (fd < 0) {
    std::fprintf(stderr, "*** failed to open(%s):%s\n", C(m_logPath), std::strerror(errno));
    return;
  }
  char head[kLineHeadBytes];
  writeOnce(fd, head, formatHeadNow(head));
  writeOnce(fd, text, length);
  writeOnce(fd, "\n", 1);
  ::close(fd);
}

void CLog::slog(const char* format, ...) {
  char text[kSystemLogBytes] = {};
  std::snprintf(text, sizeof text - 1, "PID=%5d : %s ", static_cast<int>(::getpid()),
                kSystemLogWord);

  char message[kMessageBytes] = {};
  va_list args;
  va_start(args, format);
  std::vsnprintf(message, sizeof message, format, args);
  va_end(args);
  std::strncat(text, message, sizeof text - 1 - std::strlen(text));

  for (char* byte = text; *byte != '\0'; ++byte) {
    if (std::isgraph(static_cast<unsigned char>(*byte)) == 0) *byte = ' ';
  }

  char fmt[2 * kSystemLogBytes];
  bareFormat(text, fmt);
  ::openlog(C(m_ident), LOG_NDELAY, LOG_USER);
#pragma GCC diagnostic push
#pragma GCC diagnostic ignored "-Wformat-security"
#pragma GCC diagnostic ignored "-Wformat-nonliteral"
  // The text is the format: "%m" in a message has always given the system's error text.
  ::syslog(LOG_NOTICE, fmt);
#pragma GCC diagnostic pop
  ::closelog();
}
