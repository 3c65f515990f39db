#include "support/actionlog.h"

#include <gtest/gtest.h>

#include "log/CLog.h"
#include "support/pattern.h"

namespace {

constexpr char kLine[] = R"(^(\d{4}/\d\d/\d\d \d\d:\d\d:\d\d ( *(\d+)) )([\s\S]*)$)";

bool parseLine(const std::string& line, LogLine& parsed) {
  const auto matches = findPattern(line, kLine);
  if (matches.empty() || matches[0][2].length() < 5) return false;
  parsed.head = matches[0][1];
  parsed.pid = std::stoi(matches[0][3]);
  parsed.text = matches[0][4];
  return true;
}

}  // namespace

std::vector<LogLine> parseLog(const std::string& bytes) {
  EXPECT_TRUE(bytes.empty() || bytes.back() == '\n') << "the log ends within a line";
  std::vector<LogLine> lines;
  for (const std::string& line : linesOf(bytes)) {
    LogLine parsed;
    if (parseLine(line, parsed)) {
      lines.push_back(parsed);
    } else if (lines.empty()) {
      ADD_FAILURE() << "no head: " << line;
    } else {
      lines.back().text += "\n" + line;
    }
  }
  return lines;
}

std::vector<std::string> logTexts(const std::string& bytes) {
  std::vector<std::string> texts;
  for (const LogLine& line : parseLog(bytes)) texts.push_back(line.text);
  return texts;
}

CapturedLog::CapturedLog(Level level)
    : m_logPath("TANEX_LOG", (m_dir / "action.log").c_str()),
      m_logLevel("TANEX_LOG_LEVEL", level == Level::kTrace ? "LOG_LEVEL_TRACE" : nullptr) {
  clear();
  gLog.init("unit-test", nullptr);
}

CapturedLog::~CapturedLog() {
  // What is logged from now on, by destructors say, must not make a file in a stranger's place.
  const EnvironmentGuard nowhere("TANEX_LOG", "/dev/null");
  gLog.init("unit-test", nullptr);
}

void CapturedLog::clear() const { m_dir.write("action.log", ""); }

std::string CapturedLog::bytes() const { return readFile(path()); }

std::vector<std::string> CapturedLog::take() {
  std::vector<std::string> taken = texts();
  clear();
  return taken;
}
