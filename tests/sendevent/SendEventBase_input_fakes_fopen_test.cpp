#include <dlfcn.h>
#include <gtest/gtest.h>

#include <cerrno>
#include <cstdio>
#include <string>

#include "common/base/format.h"
#include "sendevent/CSendEventSingleSystem.h"
#include "support/actionlog.h"
#include "support/inputfiles.h"
#include "support/scratch.h"
#include "support/testevent.h"

namespace {

/// The path of the file that breaks while it is read, and the bytes that it gives before it does.
std::string brokenPath;
std::string brokenBytes;

ssize_t readUntilBroken(void* /*cookie*/, char* buffer, std::size_t size) {
  if (brokenBytes.empty()) {
    errno = EIO;
    return -1;
  }
  const std::size_t count = brokenBytes.copy(buffer, size);
  brokenBytes.erase(0, count);
  return static_cast<ssize_t>(count);
}

}  // namespace

// With 64-bit file offsets this is the C library's fopen64.
extern "C" FILE* fopen(const char* path, const char* mode) {
  using Fopen = FILE* (*)(const char*, const char*);
  static const auto real = reinterpret_cast<Fopen>(::dlsym(RTLD_NEXT, "fopen64"));
  if (brokenPath != path) return real(path, mode);
  return ::fopencookie(nullptr, "r", {&readUntilBroken, nullptr, nullptr, nullptr});
}

namespace {

/// A file that breaks after these bytes.
std::string breakingAfter(const ScratchDir& dir, const std::string& bytes) {
  brokenBytes = bytes;
  return brokenPath = dir.write("broken", "");
}

/// The parameters that a reader makes of a file which breaks after these bytes. It must reject the
/// file with one line of log: `error`, or a read error of that file.
Params readBroken(int (CSendEventBase::*parse)(char*), const std::string& bytes,
                  const std::string& error) {
  const ScratchDir dir;
  const CapturedLog log(CapturedLog::Level::kTrace);
  TestEvent event;
  std::string path = breakingAfter(dir, bytes);
  EXPECT_EQ((event.*parse)(C(path)), 68);
  EXPECT_EQ(log.texts(), Texts{error == kReadError ? path + error : error});
  EXPECT_NE(event.getEventType(), 3);
  return event.m_params;
}

TEST(DefinitionThatBreaks, ReadError_IsToldBeforeAnyMissingKeyAndKeepsWhatWasRead) {
  const auto event = &CSendEventBase::parseTanexEventMsg;
  const auto incident = &CSendEventBase::parseTanexMsg;
  const Params some = {{"HostName", "db01"}};
  for (const auto parse : {event, incident}) {
    EXPECT_EQ(readBroken(parse, "", kReadError), Params());
    EXPECT_EQ(readBroken(parse, definitionOf(some), kReadError), some);
    EXPECT_EQ(readBroken(parse, definitionOf(some) + "nonsense", kReadError), some)
        << "the part of a line is not looked at";
  }
  EXPECT_EQ(readBroken(event, definitionOf(eventParams()), kReadError), eventParams());
}

TEST(DefinitionThatBreaks, BadLineBefore_IsTold) {
  const Texts table[] = {
      {"nonsense\n", "nonsense" + kFormatError},
      {"label=disk\n", "label" + kKeywordError},
      {"Label=\n", "Label" + kValueError},
  };
  for (const Texts& row : table) {
    EXPECT_EQ(readBroken(&CSendEventBase::parseTanexEventMsg, "HostName=db01\n" + row[0], row[1]),
              (Params{{"HostName", "db01"}}));
  }
}

TEST(SendFileListThatBreaks, EveryPart_IsRejected) {
  for (const char* bytes : {"", "\n\n", "/a", "/a\n/b\n", "/a\n/b"}) {
    const ScratchDir dir;
    const CapturedLog log;
    TestSingleSystem event;
    const std::string list = breakingAfter(dir, bytes);
    Arguments arguments({"tanexics", list, "-i", "1"});
    EXPECT_EQ(event.parseCommandLine(arguments.argc(), arguments.argv()), 68) << bytes;
    EXPECT_EQ(log.texts(), Texts{list + " read error.(CSendEventSingleSystem::parseCommandLine)"})
        << bytes;
  }
}

}  // namespace
