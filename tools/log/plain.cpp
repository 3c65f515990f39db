#include "tools/log/plain.h"

#include <sys/ioctl.h>
#include <unistd.h>

#include <cstdio>
#include <cstdlib>

#include "loopback/bytes.h"
#include "tools/log/json.h"

using outcome::Run;
using outcome::Verdict;

namespace {

const char* colourOf(Verdict verdict) {
  switch (verdict) {
    case Verdict::kDelivered:
      return "\x1b[32m";
    case Verdict::kPartly:
    case Verdict::kUnknown:
      return "\x1b[33m";
    case Verdict::kRefused:
    case Verdict::kNotSent:
      break;
  }
  return "\x1b[31m";
}

std::string subjectOf(const Run& run, outcome::Encoding encoding) {
  const char* mode = wordOf(run.mode);
  std::string subject = mode == nullptr ? "-" : mode;
  if (run.identity) subject += ' ' + readable(*run.identity, encoding);
  if (run.host && !run.host->empty()) subject += " of " + readable(*run.host, encoding);
  return subject;
}

/// `text` in lines of at most `width` characters that are broken at blanks, all but the first one
/// indented.
std::string wrapped(const std::string& text, std::size_t width, std::size_t indent) {
  if (width <= indent + 1) return text;
  std::string result;
  std::size_t column = 0;
  std::size_t at = 0;
  while (at < text.size()) {
    std::size_t end = text.find(' ', at);
    if (end == std::string::npos) end = text.size();
    const std::string word = text.substr(at, end - at);
    std::size_t columns = 0;
    for (const char byte : word) columns += (static_cast<unsigned char>(byte) & 0xc0) != 0x80;
    if (column > 0 && column + 1 + columns > width) {
      result.erase(result.find_last_not_of(' ') + 1);
      result += '\n' + std::string(indent, ' ');
      column = indent;
    } else if (at > 0) {
      result += ' ';
      ++column;
    }
    result += word;
    column += columns;
    at = end + 1;
  }
  return result;
}

}  // namespace

Layout Layout::ofStandardOutput(outcome::Encoding encoding) {
  Layout layout;
  layout.encoding = encoding;
  if (::isatty(STDOUT_FILENO) == 0) return layout;
  const char* noColour = std::getenv("NO_COLOR");
  layout.hasColours = noColour == nullptr || noColour[0] == '\0';
  winsize size = {};
  if (::ioctl(STDOUT_FILENO, TIOCGWINSZ, &size) == 0) layout.width = size.ws_col;
  return layout;
}

std::string plainTextOf(const Run& run, const Layout& layout) {
  constexpr std::size_t kIndent = 4;
  constexpr std::size_t kVerdictWidth = 9;
  std::string time = run.start;
  char head[64];
  std::snprintf(head, sizeof head, "%s %7d  ", isoTime(time).c_str(), run.pid);
  const std::string verdict = wordOf(run.verdict);
  const std::string padding(kVerdictWidth - verdict.size(), ' ');
  const std::string rest =
      "  " + subjectOf(run, layout.encoding) + ": " + readable(run.reason, layout.encoding);
  std::string text = wrapped(head + verdict + padding + rest, layout.width, kIndent);
  if (layout.hasColours) {
    const std::size_t at = text.find(verdict);
    text.insert(at + verdict.size(), "\x1b[0m");
    text.insert(at, colourOf(run.verdict));
  }
  text += '\n';
  for (const std::string& line : run.lines) {
    text += std::string(kIndent, ' ') + readable(line, layout.encoding) + '\n';
  }
  return text;
}
