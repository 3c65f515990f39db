#include <dlfcn.h>
#include <gtest/gtest.h>

#include <algorithm>
#include <cerrno>
#include <cstdio>
#include <string>
#include <vector>

#include "common/base/format.h"
#include "sendevent/CSendEventSingleSystem.h"
#include "support/actionlog.h"
#include "support/inputfiles.h"
#include "support/scratch.h"
#include "support/testevent.h"

namespace {

using Texts = std::vector<std::string>;

/// A file that can be opened for reading, gives `bytes`, and then a read error (EIO) in place of an
/// end. One at a time.
class BrokenFile {
 public:
  explicit BrokenFile(const std::string& bytes)
      : m_bytes(bytes), m_path(m_dir.write("broken", "")) {
    current = this;
  }
  ~BrokenFile() { current = nullptr; }
  BrokenFile(const BrokenFile&) = delete;
  BrokenFile& operator=(const BrokenFile&) = delete;

  const std::string& path() const { return m_path; }

  /// The one that there is, null for none.
  static inline BrokenFile* current = nullptr;

  FILE* open() {
    m_read = 0;
    return ::fopencookie(this, "r", {&BrokenFile::read, nullptr, nullptr, nullptr});
  }

 private:
  static ssize_t read(void* cookie, char* buffer, std::size_t size) {
    auto& self = *static_cast<BrokenFile*>(cookie);
    const std::size_t count = std::min(size, self.m_bytes.size() - self.m_read);
    if (count == 0) {
      errno = EIO;
      return -1;
    }
    self.m_bytes.copy(buffer, count, self.m_read);
    self.m_read += count;
    return static_cast<ssize_t>(count);
  }

  ScratchDir m_dir;
  std::string m_bytes;
  std::string m_path;
  std::size_t m_read = 0;
};

}  // namespace

// With 64-bit file offsets this is the C library's fopen64.
extern "C" FILE* fopen(const char* path, const char* mode) {
  using Fopen = FILE* (*)(const char*, const char*);
  static const auto real = reinterpret_cast<Fopen>(::dlsym(RTLD_NEXT, "fopen64"));
  const bool isBroken = BrokenFile::current != nullptr && BrokenFile::current->path() == path;
  return isBroken ? BrokenFile::current->open() : real(path, mode);
}

namespace {

/// The parameters that a reader makes of a file which breaks after these bytes. It must reject the
/// file with one line of log: `error`, or a read error of that file.
Params readBroken(int (CSendEventBase::*parse)(char*), const std::string& bytes,
                  const std::string& error) {
  const CapturedLog log(CapturedLog::Level::kTrace);
  const BrokenFile file(bytes);
  TestEvent event;
  std::string path = file.path();
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
    const CapturedLog log;
    const BrokenFile list(bytes);
    TestSingleSystem event;
    Arguments arguments({"tanexics", list.path(), "-i", "1"});
    EXPECT_EQ(event.parseCommandLine(arguments.argc(), arguments.argv()), 68) << bytes;
    EXPECT_EQ(log.texts(),
              Texts{list.path() + " read error.(CSendEventSingleSystem::parseCommandLine)"})
        << bytes;
  }
}

}  // namespace
