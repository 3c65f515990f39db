#ifndef TANEXICS_TESTS_SUPPORT_ACTIONLOG_H
#define TANEXICS_TESTS_SUPPORT_ACTIONLOG_H

#include <string>
#include <vector>

#include "support/environmentguard.h"
#include "support/scratch.h"

/// One line of an action log, taken apart.
struct LogLine {
  std::string head;  // "2026/11/15 12:00:07  4711 ", the blank after the process id included
  int pid = 0;
  std::string text;
};

/// Takes a log's bytes apart. A line feed inside a message starts a line without a head: any line
/// that does not begin with a well-formed one is joined to the line before with "\n". A log that
/// begins with such a line, or does not end with a line feed, fails the test.
std::vector<LogLine> parseLog(const std::string& bytes);

/// The texts of `parseLog`, in order.
std::vector<std::string> logTexts(const std::string& bytes);

/// Points the process-wide action log at a private file for the life of the object, at information
/// or at trace level, and gives back what was logged since.
class CapturedLog {
 public:
  enum class Level { kInfo, kTrace };

  explicit CapturedLog(Level level = Level::kInfo);
  ~CapturedLog();
  CapturedLog(const CapturedLog&) = delete;
  CapturedLog& operator=(const CapturedLog&) = delete;

  std::string path() const { return m_dir / "action.log"; }

  /// The file's bytes, "" when nothing was logged.
  std::string bytes() const;

  /// The messages in order, heads checked and removed.
  std::vector<std::string> texts() const { return logTexts(bytes()); }

  /// The messages since the last call of this function, or since the beginning.
  std::vector<std::string> take();

 private:
  /// Makes the file anew, readable: one that the log itself makes is not, for anybody but root.
  void clear() const;

  ScratchDir m_dir;
  EnvironmentGuard m_logPath;
  EnvironmentGuard m_logLevel;
};

#endif
