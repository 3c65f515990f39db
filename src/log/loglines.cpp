#include "log/loglines.h"

#include <cstdarg>
#include <cstdio>

#include "log/CLog.h"

namespace {

/// One text of a line. On the stack, so that writing a line allocates nothing, and with the room of
/// a whole message: a text that is cut belongs to a message that is cut.
struct LineText {
  char bytes[CLog::kMessageBytes];
  LineText(const char* fmt, va_list args) __attribute__((format(printf, 2, 0))) {
    bytes[0] = '\0';
    std::vsnprintf(bytes, sizeof bytes, fmt, args);
  }
};

}  // namespace

void traceAt(const char* unit, int number, const char* fmt, ...) {
  if (!gLog.isTraceOn()) return;
  va_list args;
  va_start(args, fmt);
  const LineText text(fmt, args);
  va_end(args);
  gLog.tlog("[T](%s:%d):%s", unit, number, text.bytes);
}

void infoAt(const char* unit, int number, const char* fmt, ...) {
  va_list args;
  va_start(args, fmt);
  const LineText text(fmt, args);
  va_end(args);
  gLog.ilog("[I](%s:%d):%s", unit, number, text.bytes);
}

void invalidParamAt(const char* unit, int number) { infoAt(unit, number, "invalid param"); }

void infoNumbered(const char* id, const char* fmt, ...) {
  va_list args;
  va_start(args, fmt);
  const LineText text(fmt, args);
  va_end(args);
  gLog.ilog("%s : %s", id, text.bytes);
}
