#include "log/CLog.h"

#include <gtest/gtest.h>
#include <sys/syscall.h>
#include <sys/wait.h>
#include <unistd.h>

#include <cerrno>
#include <csignal>
#include <cstddef>
#include <cstdio>
#include <cstdlib>
#include <ctime>
#include <filesystem>
#include <string>
#include <type_traits>
#include <vector>

#include "log/loglines.h"
#include "support/actionlog.h"
#include "support/childrun.h"
#include "support/environmentguard.h"
#include "support/ownlog.h"
#include "support/privateroot.h"
#include "support/process1.h"
#include "support/sanitizer.h"
#include "support/scratch.h"
#include "support/timezoneguard.h"

// --- every allocation of this program is counted -------------------------------------------------

namespace {
std::size_t allocations = 0;
}

#ifdef TANEXICS_ADDRESS_SANITIZER
// As sanitizer/allocator_interface.h, which not every compiler brings along.
extern "C" int __sanitizer_install_malloc_and_free_hooks(void (*allocated)(const volatile void*,
                                                                           std::size_t),
                                                         void (*freed)(const volatile void*));
namespace {
const int hooked = __sanitizer_install_malloc_and_free_hooks(
    [](const volatile void*, std::size_t) { ++allocations; }, [](const volatile void*) {});
}
#else
extern "C" {
void* __libc_malloc(std::size_t size);
void* __libc_calloc(std::size_t count, std::size_t size);
void* __libc_realloc(void* memory, std::size_t size);
void* malloc(std::size_t size) noexcept {
  ++allocations;
  return __libc_malloc(size);
}
void* calloc(std::size_t count, std::size_t size) noexcept {
  ++allocations;
  return __libc_calloc(count, size);
}
void* realloc(void* memory, std::size_t size) noexcept {
  ++allocations;
  return __libc_realloc(memory, size);
}
}
#endif

namespace {

namespace fs = std::filesystem;
using Texts = std::vector<std::string>;

std::string headAt(std::time_t time, int pid) {
  char text[64];
  std::tm local = {};
  ::localtime_r(&time, &local);
  std::strftime(text, sizeof text, "%Y/%m/%d %H:%M:%S ", &local);
  char pidText[16];
  std::snprintf(pidText, sizeof pidText, "%5d ", pid);
  return std::string(text) + pidText;
}

/// The bytes of the one line in `log`, from after the head to before the line feed.
std::string onlyMessage(const CapturedLog& log) {
  const std::vector<LogLine> lines = parseLog(log.bytes());
  EXPECT_EQ(lines.size(), 1u);
  return lines.empty() ? "" : lines.front().text;
}

// --- which file, which level ---------------------------------------------------------------------

TEST(ActionLog, Destructor_IsVirtual) { EXPECT_TRUE(std::has_virtual_destructor_v<CLog>); }

TEST(ActionLog, BeforeInit_NothingIsWrittenAnywhere) {
  const ScratchDir dir;
  const ChildResult child = runInChild([&] {
    if (::chdir(dir.path().c_str()) != 0) return 1;
    const EnvironmentGuard path("TANEX_LOG", (dir / "action.log").c_str());
    const EnvironmentGuard level("TANEX_LOG_LEVEL", "LOG_LEVEL_TRACE");
    CLog log;
    log.ilog("information");
    log.tlog("trace");
    return log.isTraceOn() ? 2 : 0;
  });
  EXPECT_EQ(child.exitCode(), 0);
  EXPECT_EQ(child.out + child.err, "");
  EXPECT_EQ(namesIn(dir.path()), Texts());
}

TEST(ActionLog, Init_ReturnsZeroAndCreatesNoFile) {
  const ScratchDir dir;
  const EnvironmentGuard variable("TANEX_LOG", nullptr);
  CLog log;
  EXPECT_EQ(log.init("/opt/bin/prog", (dir / "action.log").c_str()), 0);
  EXPECT_EQ(log.init("/opt/bin/prog", "/no/such/directory/action.log"), 0);
  EXPECT_EQ(namesIn(dir.path()), Texts());
}

TEST(ActionLog, LogVariableSet_WinsOverThePathPassedToInit) {
  const ScratchDir dir;
  const EnvironmentGuard variable("TANEX_LOG", (dir / "variable.log").c_str());
  CLog log;
  log.init("prog", (dir / "argument.log").c_str());
  log.ilog("a line");
  EXPECT_EQ(namesIn(dir.path()), Texts({"variable.log"}));
  EXPECT_EQ(logTexts(readLog(dir / "variable.log")), Texts({"a line"}));
}

TEST(ActionLog, LogVariableUnset_PathPassedToInitIsUsed) {
  const ScratchDir dir;
  OwnLog own(dir, "argument.log");
  own.log.ilog("a line");
  EXPECT_EQ(namesIn(dir.path()), Texts({"argument.log"}));
  EXPECT_EQ(logTexts(readLog(own.path)), Texts({"a line"}));
}

TEST(ActionLog, NeitherVariableNorPath_DefaultPathIsUsed) {
  if (::getuid() != 0) GTEST_SKIP() << "needs root for a root directory of its own";
  const ScratchDir dir;
  const ChildResult child = runInChild([&] {
    if (!enterPrivateRoot(dir.path())) return 77;
    fs::create_directories("/var/opt/QZKBsoftmsg/log");
    const EnvironmentGuard variable("TANEX_LOG", nullptr);
    CLog log;
    log.init("prog", nullptr);
    log.ilog("a line");
    for (const std::string& text : logTexts(readLog("/var/opt/QZKBsoftmsg/log/msg_action.log"))) {
      std::puts(text.c_str());
    }
    return 0;
  });
  EXPECT_EQ(child.exitCode(), 0) << child.err;
  EXPECT_EQ(child.out, "a line\n");
}

Texts writtenAtLevel(const char* level) {
  const ScratchDir dir;
  const EnvironmentGuard variable("TANEX_LOG", nullptr);
  const EnvironmentGuard levelVariable("TANEX_LOG_LEVEL", level);
  CLog log;
  log.init("prog", (dir / "action.log").c_str());
  log.tlog("trace %d", 1);
  log.ilog("information %d", 2);
  return logTexts(readLog(dir / "action.log"));
}

TEST(ActionLog, TraceLevelUnset_OnlyInformationIsWritten) {
  EXPECT_EQ(writtenAtLevel(nullptr), Texts({"information 2"}));
}

TEST(ActionLog, TraceLevelInLowerCase_OnlyInformationIsWritten) {
  EXPECT_EQ(writtenAtLevel("log_level_trace"), Texts({"information 2"}));
}

TEST(ActionLog, TraceLevelSet_BothAreWritten) {
  EXPECT_EQ(writtenAtLevel("LOG_LEVEL_TRACE"), Texts({"trace 1", "information 2"}));
}

TEST(ActionLog, TraceLevelNotExactlyTheWord_OnlyInformationIsWritten) {
  for (const char* level : {"", "1", "LOG_LEVEL_TRAC", "LOG_LEVEL_TRACEX", "LOG_LEVEL_TRACE ",
                            " LOG_LEVEL_TRACE", "Log_Level_Trace", "LOG_LEVEL_INFO"}) {
    EXPECT_EQ(writtenAtLevel(level), Texts({"information 2"})) << "'" << level << "'";
  }
}

TEST(ActionLog, SecondInit_SelectsFileAndLevelAnew) {
  const ScratchDir dir;
  const EnvironmentGuard variable("TANEX_LOG", nullptr);
  CLog log;
  {
    const EnvironmentGuard level("TANEX_LOG_LEVEL", "LOG_LEVEL_TRACE");
    log.init("prog", (dir / "first.log").c_str());
    log.tlog("trace");
  }
  const EnvironmentGuard level("TANEX_LOG_LEVEL", nullptr);
  log.init("prog", (dir / "second.log").c_str());
  log.tlog("trace");
  log.ilog("information");
  EXPECT_EQ(logTexts(readLog(dir / "first.log")), Texts({"trace"}));
  EXPECT_EQ(logTexts(readLog(dir / "second.log")), Texts({"information"}));
}

TEST(ActionLog, LevelChangedAfterInit_HasNoEffect) {
  const CapturedLog log;
  const EnvironmentGuard level("TANEX_LOG_LEVEL", "LOG_LEVEL_TRACE");
  gLog.tlog("trace");
  EXPECT_FALSE(gLog.isTraceOn());
  EXPECT_EQ(log.texts(), Texts());
}

TEST(ActionLog, TraceOff_ArgumentsAreNotFormatted) {
  const CapturedLog log;
  const ChildResult child = runInChild([] {
    gLog.tlog("%s", reinterpret_cast<const char*>(1));  // formatting it would end the process
    return 0;
  });
  EXPECT_EQ(child.exitCode(), 0);
  EXPECT_EQ(log.texts(), Texts());
}

// --- the line ------------------------------------------------------------------------------------

TEST(ActionLog, Line_IsHeadMessageAndLineFeed) {
  const CapturedLog log;
  const std::time_t before = std::time(nullptr);
  gLog.ilog("%s %d%%", "text", 7);
  const std::time_t after = std::time(nullptr);
  const std::string line = log.bytes();
  const bool isBefore = line == headAt(before, ::getpid()) + "text 7%\n";
  const bool isAfter = line == headAt(after, ::getpid()) + "text 7%\n";
  EXPECT_TRUE(isBefore || isAfter) << line;
}

TEST(ActionLog, Head_IsInLocalTime) {
  const ChildResult child = runInChild([] {
    ::setenv("TZ", "XYZ-13:45", 1);
    ::tzset();
    const CapturedLog log;
    const std::string before = headAt(std::time(nullptr), ::getpid());
    gLog.ilog("a line");
    const std::string after = headAt(std::time(nullptr), ::getpid());
    return log.bytes() == before + "a line\n" || log.bytes() == after + "a line\n" ? 0 : 1;
  });
  EXPECT_EQ(child.exitCode(), 0);
}

TEST(ActionLog, ProcessIdBelow10000_IsPaddedToFiveColumns) {
  if (::getuid() != 0) GTEST_SKIP() << "needs root for a process-id namespace";
  const CapturedLog log;
  const ChildResult child = runInChild([] { return asProcess1([] { gLog.ilog("a line"); }); });
  ASSERT_EQ(child.exitCode(), 0);
  const std::string line = log.bytes();
  ASSERT_GT(line.size(), 20u);
  EXPECT_EQ(line.substr(20), "    1 a line\n");
}

TEST(ActionLog, EmptyMessage_LeavesALineOfTheHeadAlone) {
  const CapturedLog log;
  gLog.ilog("%s", "");
  EXPECT_EQ(onlyMessage(log), "");
}

TEST(ActionLog, SeveralLines_AreAppendedInOrder) {
  const CapturedLog log(CapturedLog::Level::kTrace);
  gLog.ilog("one");
  gLog.tlog("two");
  gLog.ilog("three");
  EXPECT_EQ(log.texts(), Texts({"one", "two", "three"}));
}

TEST(ActionLog, SecondChanges_NextHeadHasTheNewTime) {
  const CapturedLog log;
  gLog.ilog("first");
  const std::time_t first = std::time(nullptr);
  while (std::time(nullptr) == first) ::usleep(1000);
  const std::time_t second = std::time(nullptr);
  gLog.ilog("second");
  const std::time_t after = std::time(nullptr);
  const std::vector<LogLine> lines = parseLog(log.bytes());
  ASSERT_EQ(lines.size(), 2u);
  EXPECT_TRUE(lines[1].head == headAt(second, ::getpid()) ||
              lines[1].head == headAt(after, ::getpid()))
      << lines[1].head;
}

TEST(ActionLog, ZoneChanges_NextHeadIsInTheNewZone) {
  const CapturedLog log;
  const TimeZoneGuard before("XYZ-3");
  gLog.ilog("before");
  const TimeZoneGuard after("XYZ-13:45");
  const std::string early = headAt(std::time(nullptr), ::getpid());
  gLog.ilog("after");
  const std::string late = headAt(std::time(nullptr), ::getpid());
  const std::vector<LogLine> lines = parseLog(log.bytes());
  ASSERT_EQ(lines.size(), 2u);
  EXPECT_TRUE(lines[1].head == early || lines[1].head == late) << lines[1].head;
}

/// Logs in a process, in its child, and in the process again: each line must have the writer's id.
/// `makeChild` is a call like fork(2).
template <class Call>
void expectChildWritesItsOwnId(const Call& makeChild) {
  const CapturedLog log;
  gLog.ilog("parent");
  const pid_t pid = static_cast<pid_t>(makeChild());
  if (pid == 0) {
    gLog.ilog("child");
    ::_exit(0);
  }
  ASSERT_EQ(::waitpid(pid, nullptr, 0), pid);
  gLog.ilog("parent again");
  const std::vector<LogLine> lines = parseLog(log.bytes());
  ASSERT_EQ(lines.size(), 3u);
  EXPECT_EQ(lines[0].pid, ::getpid());
  EXPECT_EQ(lines[1].pid, pid);
  EXPECT_EQ(lines[2].pid, ::getpid());
}

TEST(ActionLog, ForkedChild_WritesItsOwnProcessId) { expectChildWritesItsOwnId(::fork); }

TEST(ActionLog, ChildThatTheCLibraryDidNotMake_WritesItsOwnProcessId) {
  expectChildWritesItsOwnId(
      [] { return ::syscall(SYS_clone, SIGCHLD, nullptr, nullptr, nullptr, nullptr); });
}

std::string messageOf(std::size_t length) {
  const CapturedLog log;
  gLog.ilog("%s", std::string(length, 'x').c_str());
  return onlyMessage(log);
}

TEST(ActionLog, MessageOf3000Bytes_Is2046BytesAndOneZeroByte) {
  EXPECT_EQ(messageOf(3000), std::string(2046, 'x') + '\0');
}

TEST(ActionLog, MessageUpTo2046Bytes_IsWhole) {
  for (const std::size_t length : {1u, 1023u, 1024u, 2045u, 2046u}) {
    EXPECT_EQ(messageOf(length), std::string(length, 'x')) << length;
  }
}

TEST(ActionLog, MessageOf2047BytesAndMore_IsCutWithAZeroByte) {
  for (const std::size_t length : {2047u, 2048u, 2049u, 4096u}) {
    EXPECT_EQ(messageOf(length), std::string(2046, 'x') + '\0') << length;
  }
}

TEST(ActionLog, FailingConversion_CountsAsTooLong) {
  const CapturedLog log;
  gLog.ilog("abc%ls", L"\x3042");  // no such character in the C locale: the C library reports -1
  EXPECT_EQ(onlyMessage(log), "abc" + std::string(2044, '\0'));
}

TEST(ActionLog, BytesAbove0x7f_AreWrittenAsTheyAre) {
  const CapturedLog log;
  gLog.ilog("%s", "\xa4\xa2 \x80\xff\t");
  EXPECT_EQ(onlyMessage(log), "\xa4\xa2 \x80\xff\t");
}

TEST(ActionLog, Line_LeavesErrnoAsItWas) {
  const CapturedLog log;
  errno = EXDEV;
  gLog.ilog("a line");
  EXPECT_EQ(errno, EXDEV);
}

TEST(ActionLog, LineThatCannotBeWritten_LeavesErrnoAsItWas) {
  const ScratchDir dir;
  const ChildResult child = runInChild([&] {
    const EnvironmentGuard path("TANEX_LOG", (dir / "missing/action.log").c_str());
    CLog log;
    log.init("prog", nullptr);
    errno = EXDEV;
    log.ilog("message");
    return errno == EXDEV ? 0 : 1;
  });
  EXPECT_EQ(child.exitCode(), 0);
}

TEST(ActionLog, Line_AllocatesNothing) {
  const CapturedLog log(CapturedLog::Level::kTrace);
  const std::string longText(3000, 'x');
  gLog.ilog("the first line reads the time zone");
  allocations = 0;
  gLog.ilog("%s %d", "information", 1);
  gLog.tlog("%s %d", "trace", 2);
  gLog.ilog("%s", longText.c_str());
  traceAt("common", 1, "%s", "trace");
  infoAt("common", 2, "%s", longText.c_str());
  invalidParamAt("common", 3);
  infoNumbered("VUQ90004L", "com=%s", "text");
  EXPECT_EQ(allocations, 0u);
  EXPECT_EQ(log.texts().size(), 8u);
}

TEST(ActionLog, CountedAllocations_AreSeenAtAll) {
  allocations = 0;
  const std::string text(3000, 'x');
  EXPECT_EQ(allocations, 1u) << text.size();
}

TEST(ActionLog, BetweenTwoLines_TheFileIsNotHeldOpen) {
  const CapturedLog log;
  gLog.ilog("old");
  fs::rename(log.path(), log.path() + ".old");
  gLog.ilog("new");
  EXPECT_EQ(logTexts(readLog(log.path() + ".old")), Texts({"old"}));
  EXPECT_EQ(logTexts(readLog(log.path())), Texts({"new"}));
}

}  // namespace
