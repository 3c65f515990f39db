#include <fcntl.h>
#include <gtest/gtest.h>
#include <poll.h>
#include <sys/stat.h>
#include <sys/wait.h>
#include <unistd.h>

#include <csignal>
#include <cstddef>
#include <cstdlib>
#include <exception>
#include <functional>
#include <list>
#include <new>
#include <sstream>
#include <string>
#include <thread>

#include "common/base/format.h"
#include "common/base/pathparts.h"
#include "common/base/shell.h"
#include "common/capture/execgetlines.h"
#include "common/capture/execgetlinestimeout.h"
#include "common/capture/host.h"
#include "common/files/filelist.h"
#include "common/files/removal.h"
#include "common/text/environment.h"
#include "common/text/fields.h"
#include "common/text/text.h"
#include "rmglib/CVuqRmgLib.h"
#include "support/actionlog.h"
#include "support/childrun.h"
#include "support/descriptors.h"
#include "support/environmentguard.h"
#include "support/sanitizer.h"
#include "support/scratch.h"
#include "support/testevent.h"
#include "temp/CTemp.h"

#ifndef TANEXICS_ADDRESS_SANITIZER

// --- every allocation of this program goes through here ------------------------------------------

namespace {

/// How many allocations succeed before one fails; negative: all do.
long allocationsLeft = -1;

/// How many allocations have not been freed.
long alive = 0;

}  // namespace

void* operator new(std::size_t size) {
  if (allocationsLeft == 0) {
    allocationsLeft = -1;
    throw std::bad_alloc();
  }
  if (allocationsLeft > 0) --allocationsLeft;
  void* memory = std::malloc(size == 0 ? 1 : size);
  if (memory == nullptr) throw std::bad_alloc();
  ++alive;
  return memory;
}

void operator delete(void* memory) noexcept {
  if (memory == nullptr) return;
  --alive;
  std::free(memory);
}

void operator delete(void* memory, std::size_t) noexcept { operator delete(memory); }

namespace {

/// Texts longer than what a std::string keeps without allocating.
const std::string kLong(100, 'x');
/// As much as a string holds without memory of its own.
const std::string kShort(std::string().capacity(), 'x');
const std::string kOther(200, 'y');

/// Runs `body` with its first, second, third ... allocation failing, until it runs through. Each
/// time the failure must arrive as std::bad_alloc, and nothing that was allocated may stay behind.
/// Gives the number of failures.
int failEveryAllocation(const std::function<void()>& body) {
  body();  // what is allocated once for all is allocated here
  for (int failures = 0;; ++failures) {
    const long before = alive;
    bool hasThrown = false;
    allocationsLeft = failures;
    try {
      body();
    } catch (const std::bad_alloc&) {
      hasThrown = true;
    }
    allocationsLeft = -1;
    EXPECT_EQ(alive, before) << "after failure " << failures;
    if (!hasThrown || failures > 1000) return failures;
  }
}

/// From the end of its life on, allocations succeed.
struct EnoughAgain {
  ~EnoughAgain() { allocationsLeft = -1; }
};

/// Fails the test when, at the end of its life, a child or a descriptor is left over.
struct NothingLeft {
  int next = upcomingDescriptor(1);
  ~NothingLeft() {
    allocationsLeft = -1;
    EXPECT_EQ(::waitpid(-1, nullptr, WNOHANG), -1) << "a child has not been waited for";
    EXPECT_EQ(upcomingDescriptor(1), next);
  }
};

// --- calls that allocate wherever they can -------------------------------------------------------

/// A record whose fields are long.
struct LongRecord : CVuqRmgLib {
  LongRecord() { setData({"-74", "1", "-10", kOther}); }
};

void serialise() {
  LongRecord record;
  std::ostringstream out;
  out << static_cast<IExtKelError&>(record);
}

void listDirectory(int fullPath) {
  static const ScratchDir dir;
  static const std::string file = dir.write(kLong, "");
  std::list<std::string> list;
  getFileList(list, dir.path().c_str(), fullPath, 1, 0);
  Texts vector;
  getFileList(vector, dir.path().c_str(), fullPath, 1, 0);
}

void splitPath(const std::string& path) {
  std::string dir;
  __xpg_basename(path, dir);
}

void askParam(const char* key) {
  TestEvent event;
  event.setParam("Label", kLong.c_str());
  event.getParam(key);
}

void readDefinition(int (CSendEventBase::*parse)(char*)) {
  static const ScratchDir dir;
  static std::string path = dir.write("event.def", definitionOf(eventParams()));
  TestEvent event;
  (event.*parse)(path.data());
}

/// Makes a temporary file or directory, which must be gone at the end, whatever fails.
void makeItem(int kind) {
  static const ScratchDir parent;
  struct Nothing {
    ~Nothing() { EXPECT_EQ(namesIn(parent.path()), Texts()); }
  };
  const Nothing afterTheRemoval;
  CTemp temp;
  const EnoughAgain beforeTheRemoval;
  std::string path;
  temp.getTemp_sub(path, "name", parent.path().c_str(), nullptr, kind);
}

void capture() {
  static const std::string command = "for i in 1 2 3; do echo " + kLong + "; done";
  const NothingLeft check;
  std::list<std::string> lines;
  execGetLines(lines, command.c_str(), -1, nullptr, -1);
}

TEST(OutOfMemory, EveryFailure_ArrivesAndNothingLeaks) {
  struct Row {
    const char* name;
    std::function<void()> body;
  };
  const Row rows[] = {
      {"FormatOfALongText", [] { format("%s%s", kLong.c_str(), kOther.c_str()); }},
      {"Dollar", [] { replaceEnvValue((kLong + "$TANEXICS_TEST_VALUE$" + kLong).c_str()); }},
      {"DollarOfALongName", [] { replaceEnvValue((kLong + "$" + kLong).c_str()); }},
      {"LoneDollar", [] { replaceEnvValue((kShort + "$").c_str()); }},
      {"Percent", [] { replaceEnvValue((kLong + "%TANEXICS_TEST_VALUE%" + kLong).c_str()); }},
      {"PercentOfALongName", [] { replaceEnvValue((kLong + "%" + kLong + "%").c_str()); }},
      {"LonePercent", [] { replaceEnvValue((kShort + "%%").c_str()); }},
      {"Names", [] { listDirectory(0); }},
      {"Paths", [] { listDirectory(1); }},
      {"HostName", [] { getHostname(); }},
      {"Basename", [] { splitPath("/" + kOther + "/" + kLong); }},
      {"BasenameBelowTheRoot", [] { splitPath("/" + kLong); }},
      {"RelativePath", [] { getCanonicalPath(kLong + "/../" + kOther); }},
      {"FullPath", [] { getCanonicalPath("/" + kLong + "/./" + kOther); }},
      {"Quoted", [] { trimQuote(("\"" + kLong + "\"").c_str()); }},
      {"Escaped", [] { shellEsc(kLong, 1); }},
      {"Record", serialise},
      {"RecordAsText", [] { LongRecord().toString(); }},
      {"RecordInOneLine", [] { LongRecord().toString1line(); }},
      {"KnownParam", [] { askParam("Label"); }},
      {"LongParam", [] { askParam(kLong.c_str()); }},
      {"EventDefinition", [] { readDefinition(&CSendEventBase::parseTanexEventMsg); }},
      {"IncidentDefinition", [] { readDefinition(&CSendEventBase::parseTanexMsg); }},
      {"TemporaryFile", [] { makeItem(/*kind=*/0); }},
      {"TemporaryDirectory", [] { makeItem(/*kind=*/1); }},
      {"Capture", capture},
  };
  const CapturedLog log;
  const EnvironmentGuard variable("TANEXICS_TEST_VALUE", kOther.c_str());
  for (const Row& row : rows) {
    SCOPED_TRACE(row.name);
    EXPECT_GT(failEveryAllocation(row.body), 0);
  }
}

// --- children ------------------------------------------------------------------------------------

TEST(OutOfMemoryInACapture, CommandThatPrintsForEver_EndsWithItsReader) {
  const CapturedLog log;
  const NothingLeft check;
  std::list<std::string> lines;
  const std::string command = "yes " + kLong;
  allocationsLeft = 5;
  EXPECT_THROW(execGetLines(lines, command.c_str(), -1, nullptr, -1), std::bad_alloc);
}

/// Makes the log so large that its next line rotates it, which takes memory.
const char* const kFillTheLog = "head -c 600000 /dev/zero >>\"$TANEX_LOG\"; ";

TEST(OutOfMemoryInACapture, PipeWithoutAChildYet_IsClosed) {
  const CapturedLog log;
  std::list<std::string> lines;
  std::list<std::string> errors;
  for (const bool isTimed : {false, true}) {
    if (isTimed) s_system(kFillTheLog);
    const NothingLeft check;
    allocationsLeft = 0;
    EXPECT_THROW(isTimed ? execGetLinesTimeout(lines, "true", 1)
                         : execGetLines(lines, "true", -1, &errors, -1),
                 std::bad_alloc);
  }
}

/// The end of a pipe that stays open as long as a command has it, one that no signal but SIGKILL
/// ends.
class StubbornCommand {
 public:
  StubbornCommand() {
    EXPECT_EQ(::mkfifo(m_fifo.c_str(), 0600), 0);
    m_reader.fd = ::open(m_fifo.c_str(), O_RDONLY | O_NONBLOCK | O_CLOEXEC);
  }
  ~StubbornCommand() { ::close(m_reader.fd); }
  StubbornCommand(const StubbornCommand&) = delete;
  StubbornCommand& operator=(const StubbornCommand&) = delete;

  /// Fills the log, so that the line of SIGTERM needs memory, and starts another process.
  std::string text() const {
    return kFillTheLog + ("trap '' TERM; sleep 60 >" + m_fifo) + " & exec sleep 60";
  }

  void expectEnded() {
    EXPECT_EQ(::poll(&m_reader, 1, 10000), 1) << "somebody can still write";
    EXPECT_EQ(m_reader.revents, POLLHUP);
  }

 private:
  ScratchDir m_dir;
  std::string m_fifo = m_dir / "fifo";
  pollfd m_reader = {-1, POLLIN, 0};
};

TEST(OutOfMemoryInATimeout, Command_IsEndedWithAllThatItStartedAndWaitedFor) {
  const CapturedLog log;
  StubbornCommand command;
  const std::string text = command.text();
  {
    const NothingLeft check;
    std::list<std::string> lines;
    allocationsLeft = 0;
    EXPECT_THROW(execGetLinesTimeout(lines, text.c_str(), 1), std::bad_alloc);
  }
  command.expectEnded();
}

TEST(OutOfMemoryInATimeout, Command_IsEndedAlsoWhereNobodyCatches) {
  const CapturedLog log;
  StubbornCommand command;
  const std::string text = command.text();
  const ChildResult child = runInChild([&] {
    std::set_terminate([] { ::_exit(42); });
    std::thread([&] {  // at the bottom of a thread nobody does
      std::list<std::string> lines;
      allocationsLeft = 0;
      execGetLinesTimeout(lines, text.c_str(), 1);
    })
        .join();
    return 0;
  });
  EXPECT_EQ(child.exitCode(), 42);
  command.expectEnded();
}

TEST(OutOfMemoryInATimeout, CommandThatCannotBeWaitedFor_IsLeftAlone) {
  const CapturedLog log;
  const ChildResult child = runInChild([] {
    ::signal(SIGCHLD, SIG_IGN);  // so that the second look fails, which is a line in a full log
    std::list<std::string> lines;
    allocationsLeft = 0;
    try {
      execGetLinesTimeout(lines, kFillTheLog, 2);
    } catch (const std::bad_alloc&) {
      return 0;
    }
    return 1;
  });
  EXPECT_EQ(child.exitCode(), 0);
}

}  // namespace

#endif
