#ifndef TANEXICS_LOG_CLOG_H
#define TANEXICS_LOG_CLOG_H

#include <cstdarg>
#include <cstddef>
#include <string>

/// The action log: one text line an event, appended to a single file with the time and the process
/// id in front, and kept small by copying the file aside and emptying it.
///
/// There is one instance, `gLog`, which exists before main. Nothing is held open between two lines:
/// every line examines, opens, writes and closes the file anew, so that an operator may move or
/// empty it at any time. No operation reports an error to its caller: a file that cannot be opened
/// shows on standard error and loses the line; a failed write or copy shows nowhere.
/// The page tanexics-action-log(5) describes the file.
class CLog {
 public:
  /// What a message is formatted into, terminator included.
  static constexpr std::size_t kMessageBytes = 2047;

  CLog();
  virtual ~CLog();
  CLog(const CLog&) = delete;
  CLog& operator=(const CLog&) = delete;

  /// Chooses the file and the level; the first line creates the file. May be called again.
  ///
  /// `programPath`     the program's own path; its base name becomes the identity in the system
  ///                   log. Null counts as an empty identity.
  /// `defaultLogPath`  the file where the environment variable TANEX_LOG is not set; null means
  ///                   /var/opt/QZKBsoftmsg/log/msg_action.log. TANEX_LOG wins even when it is
  ///                   empty; no line can be written then.
  ///
  /// Trace lines are written when TANEX_LOG_LEVEL is LOG_LEVEL_TRACE to the letter. Always returns
  /// 0.
  int init(const char* programPath, const char* defaultLogPath);

  /// Writes one line at information level. `format` and its arguments are those of printf(3), and
  /// must not be null. Of a message of 2,047 bytes and more the first 2,046 are written, then one
  /// zero byte. Before `init` nothing happens.
  void ilog(const char* format, ...) __attribute__((format(printf, 2, 3)));

  /// The same at trace level: without trace the arguments are not even formatted.
  void tlog(const char* format, ...) __attribute__((format(printf, 2, 3)));

  /// The writer behind both. Leaves errno as it was.
  void log(const char* format, va_list args) __attribute__((format(printf, 2, 0)));

  /// Sends one message to the system log, as the user facility's notice under the identity that
  /// `init` has set. Of the composed text every byte that is not printable ASCII becomes a blank;
  /// syslog(3) then takes it as its format, in which "%m" and "%%" mean what they always mean and
  /// every other "%" itself. Works without `init` and at every level; never touches the file.
  void slog(const char* format, ...) __attribute__((format(printf, 2, 3)));

  /// The file that `init` has chosen; empty before it. Valid until the next `init`.
  const std::string& path() const { return m_logPath; }

  /// Whether trace lines are written: for callers whose trace texts cost something to build.
  bool isTraceOn() const { return m_traceOn == 1; }

 private:
  void rotate() const;
  void append(const char* text, std::size_t length) const;

  std::string m_logPath;
  std::string m_ident;
  int m_traceOn;
  int m_initialized;
};

extern CLog gLog;

#endif
