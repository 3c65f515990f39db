#include "log/CLog.h"

#include <gtest/gtest.h>
#include <sched.h>
#include <sys/socket.h>
#include <sys/stat.h>
#include <sys/un.h>
#include <sys/wait.h>
#include <unistd.h>

#include <cerrno>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <ctime>
#include <filesystem>
#include <functional>
#include <regex>
#include <string>
#include <type_traits>
#include <vector>

#include "log/loglines.h"
#include "support/actionlog.h"
#include "support/childrun.h"
#include "support/descriptors.h"
#include "support/environmentguard.h"
#include "support/fakeprogram.h"
#include "support/privateroot.h"
#include "support/sanitizer.h"
#include "support/scratch.h"

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

constexpr std::size_t kRotationBytes = 512000;

/// The bytes of a log that the log itself has made, which nobody but root may read as it is.
std::string readLog(const std::string& path) {
  fs::permissions(path, fs::perms::owner_read, fs::perm_options::add);
  return readFile(path);
}

std::string headAt(std::time_t time, int pid) {
  char text[64];
  std::tm local = {};
  ::localtime_r(&time, &local);
  std::strftime(text, sizeof text, "%Y/%m/%d %H:%M:%S ", &local);
  char pidText[16];
  std::snprintf(pidText, sizeof pidText, "%5d ", pid);
  return std::string(text) + pidText;
}

/// The bytes of the one line in `log`, from behind the head to before the line feed.
std::string onlyMessage(const CapturedLog& log) {
  const std::vector<LogLine> lines = parseLog(log.bytes());
  EXPECT_EQ(lines.size(), 1u);
  return lines.empty() ? "" : lines.front().text;
}

/// A log of its own in `dir`, under its file name.
struct OwnLog {
  OwnLog(const ScratchDir& dir, const std::string& name)
      : path(dir / name), variable("TANEX_LOG", nullptr), level("TANEX_LOG_LEVEL", nullptr) {
    log.init("prog", path.c_str());
  }
  std::string path;
  EnvironmentGuard variable;
  EnvironmentGuard level;
  CLog log;
};

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
    return 0;
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

/// Runs `body` as process 1 of a process-id namespace of its own.
int asProcess1(const std::function<void()>& body) {
  if (::unshare(CLONE_NEWPID) != 0) return 77;
  const pid_t pid = ::fork();
  if (pid == 0) {
    body();
    ::_exit(0);
  }
  int status = -1;
  return ::waitpid(pid, &status, 0) == pid && status == 0 ? 0 : 1;
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

TEST(ActionLog, ForkedChild_WritesItsOwnProcessId) {
  const CapturedLog log;
  gLog.ilog("parent");
  const pid_t pid = ::fork();
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

// --- the file ------------------------------------------------------------------------------------

mode_t modeOfNewFileUnder(mode_t mask) {
  const ScratchDir dir;
  OwnLog own(dir, "action.log");
  const mode_t old = ::umask(mask);
  own.log.ilog("a line");
  ::umask(old);
  struct stat status = {};
  EXPECT_EQ(::stat(own.path.c_str(), &status), 0);
  return status.st_mode & 07777;
}

TEST(ActionLog, NewFileUnderMask022_GetsOctal01204) { EXPECT_EQ(modeOfNewFileUnder(022), 01204u); }

TEST(ActionLog, NewFileUnderMask007_LosesTheReadersBit) {
  EXPECT_EQ(modeOfNewFileUnder(007), 01200u);
}

TEST(ActionLog, ExistingFile_KeepsItsModeAndContents) {
  const CapturedLog log;
  fs::permissions(log.path(), fs::perms(0640));
  gLog.ilog("one");
  gLog.ilog("two");
  EXPECT_EQ(fs::status(log.path()).permissions(), fs::perms(0640));
  EXPECT_EQ(log.texts(), Texts({"one", "two"}));
}

std::string standardErrorWithLog(const std::string& path) {
  const ChildResult child = runInChild([&] {
    const EnvironmentGuard variable("TANEX_LOG", path.c_str());
    CLog log;
    log.init("prog", nullptr);
    log.ilog("one");
    log.tlog("not even tried");
    log.ilog("two");
    return 0;
  });
  EXPECT_EQ(child.exitCode(), 0);
  EXPECT_EQ(child.out, "");
  return child.err;
}

TEST(ActionLog, EmptyLogVariable_EachLineGivesOneStandardErrorLine) {
  EXPECT_EQ(standardErrorWithLog(""),
            "*** failed to open():No such file or directory\n"
            "*** failed to open():No such file or directory\n");
}

TEST(ActionLog, DirectoryMissing_EachLineGivesOneStandardErrorLine) {
  const ScratchDir dir;
  const std::string path = dir / "missing/action.log";
  const std::string line = "*** failed to open(" + path + "):No such file or directory\n";
  EXPECT_EQ(standardErrorWithLog(path), line + line);
  EXPECT_EQ(namesIn(dir.path()), Texts());
}

TEST(ActionLog, PathIsADirectory_EachLineGivesOneStandardErrorLine) {
  const ScratchDir dir;
  const std::string line = "*** failed to open(" + dir.path() + "):Is a directory\n";
  EXPECT_EQ(standardErrorWithLog(dir.path()), line + line);
}

TEST(ActionLog, FileNotWritable_EachLineGivesOneStandardErrorLine) {
  if (!canBecomeNobody()) GTEST_SKIP() << "needs root to become another user";
  const ScratchDir dir;
  const std::string path = dir.write("action.log", "kept\n");
  fs::permissions(dir.path(), fs::perms(0755));
  const ChildResult child = runInChild([&] {
    const EnvironmentGuard variable("TANEX_LOG", path.c_str());
    if (!becomeNobody()) return 77;
    CLog log;
    log.init("prog", nullptr);
    log.ilog("one");
    return 0;
  });
  EXPECT_EQ(child.exitCode(), 0);
  EXPECT_EQ(child.err, "*** failed to open(" + path + "):Permission denied\n");
  EXPECT_EQ(readLog(path), "kept\n");
}

TEST(ActionLog, DiskFull_LinesAreLostWithoutAWord) {
  if (::getuid() != 0) GTEST_SKIP() << "needs root for a small file system";
  const ScratchDir dir;
  const ChildResult child = runInChild([&] {
    if (!enterPrivateMounts() || !mountTmpfs(dir.path(), "8192")) return 77;
    dir.write("filler", std::string(8192, 'x'));
    OwnLog own(dir, "action.log");
    own.log.ilog("one");
    own.log.ilog("two");
    std::printf("%zu bytes\n", static_cast<std::size_t>(fs::file_size(own.path)));
    return 0;
  });
  EXPECT_EQ(child.exitCode(), 0);
  EXPECT_EQ(child.out, "0 bytes\n");
  EXPECT_EQ(child.err, "");
}

// --- rotation ------------------------------------------------------------------------------------

TEST(ActionLogRotation, FileOf512000Bytes_IsNotRotated) {
  const ScratchDir dir;
  const std::string old(kRotationBytes, 'x');
  dir.write("action.log", old);
  OwnLog own(dir, "action.log");
  own.log.ilog("new");
  EXPECT_EQ(namesIn(dir.path()), Texts({"action.log"}));
  const std::string bytes = readLog(own.path);
  ASSERT_GT(bytes.size(), kRotationBytes);
  EXPECT_TRUE(bytes.compare(0, kRotationBytes, old) == 0);
  EXPECT_EQ(logTexts(bytes.substr(kRotationBytes)), Texts({"new"}));
}

TEST(ActionLogRotation, FileOf512001Bytes_IsBackedUpAndTheNewLineIsTheFirst) {
  const ScratchDir dir;
  const std::string old(kRotationBytes + 1, 'x');
  dir.write("action.log", old);
  OwnLog own(dir, "action.log");
  own.log.ilog("new");
  own.log.ilog("newer");
  EXPECT_EQ(namesIn(dir.path()), Texts({"action.bak", "action.log"}));
  EXPECT_TRUE(readLog(dir / "action.bak") == old);
  EXPECT_EQ(logTexts(readLog(own.path)), Texts({"new", "newer"}));
}

TEST(ActionLogRotation, PathWithTwoDots_BackupReplacesTheLastExtensionOnly) {
  const ScratchDir dir;
  dir.write("b.c.log", std::string(kRotationBytes + 1, 'x'));
  OwnLog own(dir, "b.c.log");
  own.log.ilog("new");
  EXPECT_EQ(namesIn(dir.path()), Texts({"b.c.bak", "b.c.log"}));
}

TEST(ActionLogRotation, PathWithoutExtension_BackupGetsOne) {
  const ScratchDir dir;
  dir.write("action", std::string(kRotationBytes + 1, 'x'));
  OwnLog own(dir, "action");
  own.log.ilog("new");
  EXPECT_EQ(namesIn(dir.path()), Texts({"action", "action.bak"}));
}

TEST(ActionLogRotation, PathWithoutDirectory_BacksUpIntoTheRoot) {
  if (::getuid() != 0) GTEST_SKIP() << "needs root for a root directory of its own";
  const ScratchDir dir;
  const ChildResult child = runInChild([&] {
    if (!enterPrivateRoot(dir.path()) || ::mkdir("/work", 0755) != 0 || ::chdir("/work") != 0) {
      return 77;
    }
    if (std::FILE* file = std::fopen("action.log", "w")) {
      std::fputs(std::string(kRotationBytes + 1, 'x').c_str(), file);
      std::fclose(file);
    }
    const EnvironmentGuard variable("TANEX_LOG", "action.log");
    CLog log;
    log.init("prog", nullptr);
    log.ilog("new");
    std::printf("%zu bytes, %s, %s\n", static_cast<std::size_t>(fs::file_size("/action.bak")),
                logTexts(readLog("/work/action.log")).front().c_str(),
                namesIn("/work").back().c_str());
    return 0;
  });
  EXPECT_EQ(child.exitCode(), 0) << child.err;
  EXPECT_EQ(child.out, "512001 bytes, new, action.log\n");
}

TEST(ActionLogRotation, OlderBackup_IsOverwritten) {
  const ScratchDir dir;
  const std::string old(kRotationBytes + 1, 'x');
  dir.write("action.bak", "an older generation");
  dir.write("action.log", old);
  OwnLog own(dir, "action.log");
  own.log.ilog("new");
  EXPECT_EQ(namesIn(dir.path()), Texts({"action.bak", "action.log"}));
  EXPECT_TRUE(readLog(dir / "action.bak") == old);
}

TEST(ActionLogRotation, NoRoomForTheBackup_FileIsEmptiedAllTheSame) {
  if (::getuid() != 0) GTEST_SKIP() << "needs root for a small file system";
  const ScratchDir dir;
  const ChildResult child = runInChild([&] {
    if (!enterPrivateMounts() || !mountTmpfs(dir.path(), "600k")) return 77;
    dir.write("action.log", std::string(kRotationBytes + 1, 'x'));
    OwnLog own(dir, "action.log");
    own.log.ilog("new");
    std::puts(logTexts(readLog(own.path)).front().c_str());
    return 0;
  });
  EXPECT_EQ(child.exitCode(), 0);
  EXPECT_EQ(child.out, "new\n");
  EXPECT_EQ(child.err, "");
}

TEST(ActionLogRotation, BackupNotWritable_FileIsEmptiedAllTheSame) {
  if (!canBecomeNobody()) GTEST_SKIP() << "needs root to become another user";
  const ScratchDir dir;
  dir.write("action.log", std::string(kRotationBytes + 1, 'x'));
  fs::permissions(dir / "action.log", fs::perms(0666));
  fs::permissions(dir.path(), fs::perms(0755));
  const ChildResult child = runInChild([&] {
    if (!becomeNobody()) return 77;
    OwnLog own(dir, "action.log");
    own.log.ilog("new");
    return 0;
  });
  EXPECT_EQ(child.exitCode(), 0);
  EXPECT_EQ(child.out + child.err, "");
  EXPECT_EQ(namesIn(dir.path()), Texts({"action.log"}));
  EXPECT_EQ(logTexts(readLog(dir / "action.log")), Texts({"new"}));
}

TEST(ActionLogRotation, FileNotWritable_StaysAsItIs) {
  if (!canBecomeNobody()) GTEST_SKIP() << "needs root to become another user";
  const ScratchDir dir;
  const std::string bytes(kRotationBytes + 1, 'x');
  const std::string path = dir.write("action.log", bytes);
  fs::permissions(path, fs::perms(0644));
  fs::permissions(dir.path(), fs::perms(0755));
  const ChildResult child = runInChild([&] {
    if (!becomeNobody()) return 77;
    OwnLog own(dir, "action.log");
    own.log.ilog("lost");
    return 0;
  });
  EXPECT_EQ(child.exitCode(), 0);
  EXPECT_EQ(child.err, "*** failed to open(" + path + "):Permission denied\n");
  EXPECT_EQ(readLog(path), bytes);
}

TEST(ActionLogRotation, PathWithABlank_CannotBeBackedUpAndIsEmptied) {
  // The backup command takes the path as it is, so the shell sees several words.
  const ScratchDir dir;
  dir.write("a b.log", std::string(kRotationBytes + 1, 'x'));
  OwnLog own(dir, "a b.log");
  own.log.ilog("new");
  EXPECT_EQ(namesIn(dir.path()), Texts({"a b.log"}));
  EXPECT_EQ(logTexts(readLog(own.path)), Texts({"new"}));
}

TEST(ActionLogRotation, BackupCommand_IsGivenBothPathsAndItsOutputIsDropped) {
  const ScratchDir dir;
  dir.write("b.c.log", std::string(kRotationBytes + 1, 'x'));
  const FakeProgram copy("cp");
  copy.answer("100% printed\n", "echo error >&2; exit 1");
  const ChildResult child = runInChild([&] {
    OwnLog own(dir, "b.c.log");
    own.log.ilog("new");
    return 0;
  });
  EXPECT_EQ(child.exitCode(), 0);
  EXPECT_EQ(child.out + child.err, "");
  EXPECT_EQ(copy.takeArguments(), Texts({"3", "-f", dir / "b.c.log", dir / "b.c.bak"}));
  EXPECT_EQ(logTexts(readLog(dir / "b.c.log")), Texts({"new"}));
}

TEST(ActionLogRotation, SizeAbove32Bits_IsNotTakenForASmallOne) {
  const ScratchDir dir;
  const std::string path = dir.write("action.log", "");
  fs::resize_file(path, (1ULL << 32) + 1);  // a hole, which takes no room
  const FakeProgram copy("cp");
  OwnLog own(dir, "action.log");
  own.log.ilog("new");
  EXPECT_EQ(copy.takeArguments().size(), 4u);
  ASSERT_LT(fs::file_size(path), 100u);  // to be read now, which the hole is not
  EXPECT_EQ(logTexts(readLog(path)), Texts({"new"}));
}

TEST(ActionLogRotation, BackupCopy_PrintsAndLogsNothing) {
  const ScratchDir dir;
  dir.write("action.log", std::string(kRotationBytes + 1, 'x'));
  const ChildResult child = runInChild([&] {
    OwnLog own(dir, "action.log");
    ::setenv("TANEX_LOG", own.path.c_str(), 1);
    ::setenv("TANEX_LOG_LEVEL", "LOG_LEVEL_TRACE", 1);
    gLog.init("prog", nullptr);
    gLog.tlog("new");
    return 0;
  });
  EXPECT_EQ(child.out + child.err, "");
  EXPECT_EQ(logTexts(readLog(dir / "action.log")), Texts({"new"}));
}

// --- the system log ------------------------------------------------------------------------------

struct SystemLogMessage {
  std::string prefix;  // what comes before the message of the caller, the time replaced
  std::string text;    // the caller's message
};

/// Lets `body` write one message to the system log, in a child with a /dev of its own, and takes it
/// apart. The process id is replaced by "PID=<pid>" where it stands as expected.
SystemLogMessage systemLogOf(const std::function<void()>& body) {
  const ChildResult child = runInChild([&] {
    sockaddr_un address = {};
    address.sun_family = AF_UNIX;
    std::strcpy(address.sun_path, "/dev/log");
    const int fd = ::socket(AF_UNIX, SOCK_DGRAM | SOCK_CLOEXEC, 0);
    if (!enterPrivateMounts() || !mountTmpfs("/dev") ||
        ::bind(fd, reinterpret_cast<const sockaddr*>(&address), sizeof address) != 0) {
      return 77;
    }
    body();
    char message[8192];
    const ssize_t size = ::recv(fd, message, sizeof message, MSG_DONTWAIT);
    if (size < 0 || ::recv(fd, message, sizeof message, MSG_DONTWAIT) >= 0) return 1;
    char pid[32];
    std::snprintf(pid, sizeof pid, "PID=%5d", static_cast<int>(::getpid()));
    std::string text(message, static_cast<std::size_t>(size));
    const std::size_t at = text.find(pid);
    if (at != std::string::npos) text.replace(at, std::strlen(pid), "PID=<pid>");
    std::fwrite(text.data(), 1, text.size(), stdout);
    return 0;
  });
  EXPECT_EQ(child.exitCode(), 0) << child.err;
  static const std::regex kTime(R"(^<(\d+)>[A-Z][a-z]{2} [ \d]\d \d\d:\d\d:\d\d )");
  const std::string text = std::regex_replace(child.out, kTime, "<$1>TIME ");
  const std::string word = "QZKBsoftmsg ";
  const std::size_t end = text.find(word);
  if (end == std::string::npos) return {text, ""};
  return {text.substr(0, end + word.size()), text.substr(end + word.size())};
}

TEST(SystemLog, Message_GoesOutAsTheUserFacilitysNoticeUnderTheProgramsName) {
  if (::getuid() != 0) GTEST_SKIP() << "needs root for a /dev of its own";
  const SystemLogMessage message = systemLogOf([] {
    CLog log;
    log.init("/opt/bin/prog", "/dev/null");
    log.slog("%s %d", "message", 7);
  });
  EXPECT_EQ(message.prefix, "<13>TIME prog: PID=<pid> : QZKBsoftmsg ");
  EXPECT_EQ(message.text, "message 7");
}

TEST(SystemLog, WithoutInit_MessageGoesOutWithAnEmptyName) {
  if (::getuid() != 0) GTEST_SKIP() << "needs root for a /dev of its own";
  const SystemLogMessage message = systemLogOf([] { CLog().slog("message"); });
  EXPECT_EQ(message.prefix, "<13>TIME : PID=<pid> : QZKBsoftmsg ");
  EXPECT_EQ(message.text, "message");
}

TEST(SystemLog, Message_LeavesTheSystemLogClosed) {
  if (::getuid() != 0) GTEST_SKIP() << "needs root for a /dev of its own";
  const SystemLogMessage message = systemLogOf([] {
    const int before = upcomingDescriptor(1);
    gLog.slog("message");
    if (upcomingDescriptor(1) != before) ::_exit(1);
  });
  EXPECT_EQ(message.text, "message");
}

TEST(SystemLog, Message_NeverTouchesTheFile) {
  if (::getuid() != 0) GTEST_SKIP() << "needs root for a /dev of its own";
  const CapturedLog log(CapturedLog::Level::kTrace);
  fs::remove(log.path());
  systemLogOf([] { gLog.slog("message"); });
  EXPECT_FALSE(fs::exists(log.path()));
}

std::string sentFor(const std::string& text) {
  return systemLogOf([&] {
           errno = ENOENT;
           gLog.slog("%s", text.c_str());
         })
      .text;
}

TEST(SystemLog, UnprintableBytes_BecomeBlanks) {
  if (::getuid() != 0) GTEST_SKIP() << "needs root for a /dev of its own";
  EXPECT_EQ(sentFor("a\tb\rc\nd e\x01"
                    "f\x7f"
                    "g\x80h\xa4\xa2i\xff!~"),
            "a b c d e f g h  i !~");
}

TEST(SystemLog, PercentSigns_AreInterpretedAsFarAsTheyNeedNoArgument) {
  if (::getuid() != 0) GTEST_SKIP() << "needs root for a /dev of its own";
  const struct {
    const char* text;
    const char* sent;
  } kRows[] = {
      {"100%", "100%"}, {"a%%b", "a%b"},      {"%s%d%n%ls", "%s%d%n%ls"},          {"%", "%"},
      {"%%%", "%%"},    {"% m%5m", "% m%5m"}, {"%m", "No such file or directory"},
  };
  for (const auto& row : kRows) EXPECT_EQ(sentFor(row.text), row.sent) << row.text;
}

TEST(SystemLog, OverlongMessage_IsCutTo2046Bytes) {
  if (::getuid() != 0) GTEST_SKIP() << "needs root for a /dev of its own";
  for (const std::size_t length : {2046u, 2047u, 2048u, 5000u}) {
    EXPECT_EQ(sentFor(std::string(length, 'x')), std::string(2046, 'x')) << length;
  }
}

TEST(SystemLog, ManyPercentSigns_StayWithinTheBuffers) {
  if (::getuid() != 0) GTEST_SKIP() << "needs root for a /dev of its own";
  std::string text;
  while (text.size() < 2046) text += "%d";
  EXPECT_EQ(sentFor(text), text);
}

TEST(SystemLog, ProcessIdBelow10000_IsPaddedToFiveColumns) {
  if (::getuid() != 0) GTEST_SKIP() << "needs root for a process-id namespace";
  const SystemLogMessage message = systemLogOf([] { asProcess1([] { gLog.slog("message"); }); });
  EXPECT_TRUE(std::regex_match(message.prefix, std::regex("<13>TIME .*: PID=    1 : QZKBsoftmsg ")))
      << message.prefix;
}

TEST(SystemLog, NobodyListening_IsNoFailure) {
  const ScratchDir dir;
  const ChildResult child = runInChild([&] {
    if (::getuid() == 0 && ::chroot(dir.path().c_str()) != 0) return 77;
    gLog.slog("message");
    return 0;
  });
  EXPECT_EQ(child.exitCode(), 0);
  EXPECT_EQ(child.out + child.err, "");
}

}  // namespace
