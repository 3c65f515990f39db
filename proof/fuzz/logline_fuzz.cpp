// The lines of the action log: the first byte of the input switches trace on or off and says
// whether the file is there at first, then every line takes one byte for the way in which it is
// written, and a text.

#include <sys/stat.h>
#include <unistd.h>

#include <cerrno>
#include <cstring>
#include <ctime>

#include "fuzz/target.h"
#include "log/CLog.h"
#include "log/loglines.h"

namespace {

constexpr int kLinesAtMost = 16;
constexpr int kErrnoBefore = 7;

struct Message {
  bool isTrace;
  std::string text;
};

/// Writes a line in one of eight ways; returns what the line must say.
Message writeLine(unsigned way, const std::string& text) {
  const char* const t = text.c_str();
  const int number = static_cast<int>(text.size());
  const std::string digits = std::to_string(number);
  switch (way) {
    case 0:
      gLog.ilog("%s", t);
      return {false, text};
    case 1:
      gLog.tlog("%s", t);
      return {true, text};
    case 2:
      gLog.ilog("%s=%d %s", t, number, t);
      return {false, text + "=" + digits + " " + text};
    case 3:
      infoAt("common", number, "%s", t);
      return {false, "[I](common:" + digits + "):" + text};
    case 4:
      traceAt("CTemp", number, "%s,%s", t, "x");
      return {true, "[T](CTemp:" + digits + "):" + text + ",x"};
    case 5:
      infoNumbered("VUQ90001L", "%s too long", t);
      return {false, "VUQ90001L : " + text + " too long"};
    case 6:
      invalidParamAt("common", number);
      return {false, "[I](common:" + digits + "):invalid param"};
    default:
      gLog.tlog("%s=%s", t, t);
      return {true, text + "=" + text};
  }
}

/// What of a message stands in the file: a cut one is known by its zero byte.
std::string lineOf(const std::string& message) {
  return (message.size() < 2047 ? message : message.substr(0, 2046) + '\0') + "\n";
}

/// Demands that `bytes` begins with a line's head from between two times; returns its length.
std::size_t demandHead(const std::string& bytes, std::time_t earliest, std::time_t latest) {
  char head[64];
  for (std::time_t second = earliest; second <= latest; ++second) {
    const std::size_t length =
        std::strftime(head, sizeof head, "%Y/%m/%d %H:%M:%S ", std::localtime(&second));
    std::snprintf(head + length, sizeof head - length, "%5d ", static_cast<int>(::getpid()));
    if (bytes.rfind(head, 0) == 0) return std::strlen(head);
  }
  demandEqual(bytes.substr(0, 32), head, "a line begins with the time and the process id");
  return 0;
}

const Target kLogLine("logline", [](Input input) {
  static const ScratchFolder folder;
  const unsigned start = input.choice(4);
  const bool isTraceOn = (start & 1U) != 0;
  const std::string path = folder.write("log", "");
  if ((start & 2U) != 0) ::unlink(path.c_str());
  ::setenv("TANEX_LOG", path.c_str(), 1);
  ::setenv("TANEX_LOG_LEVEL", isTraceOn ? "LOG_LEVEL_TRACE" : "log_level_trace", 1);
  gLog.init("fuzz", nullptr);

  Texts expected;
  const std::time_t earliest = std::time(nullptr);
  for (int i = 0; i < kLinesAtMost && !input.isEmpty(); ++i) {
    const unsigned way = input.choice(8);
    const std::string text = input.longWord();
    errno = kErrnoBefore;
    const Message message = writeLine(way, text);
    demandEqual(errno, kErrnoBefore, "a caller's errno survives the line");
    if (isTraceOn || !message.isTrace) expected.push_back(lineOf(message.text));
  }
  const std::time_t latest = std::time(nullptr);

  // The mode that the log gives to a file lets no owner but root read it.
  const bool isThere = ::chmod(path.c_str(), 0600) == 0;
  std::string bytes = isThere ? folder.read("log") : "";
  for (const std::string& line : expected) {
    bytes.erase(0, demandHead(bytes, earliest, latest));
    demandEqual(bytes.substr(0, line.size()), line, "the line says what it was given");
    bytes.erase(0, line.size());
  }
  demandEqual(bytes, std::string(), "nothing else is written");
});

}  // namespace
