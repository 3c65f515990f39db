#include "log/CLog.h"

#include <gtest/gtest.h>
#include <sys/stat.h>
#include <sys/syscall.h>
#include <sys/wait.h>
#include <unistd.h>

#include <cerrno>
#include <csignal>
#include <cstdio>
#include <ctime>
#include <filesystem>
#include <string>
#include <type_traits>
#include <utility>
#include <vector>

#include "log/loglines.h"
#include "support/actionlog.h"
#include "support/childrun.h"
#include "support/environmentguard.h"
#include "support/fakeprogram.h"
#include "support/privateroot.h"
#include "support/scratch.h"

namespace {

namespace fs = std::filesystem;

static_assert(std::has_virtual_destructor_v<CLog>);

/// The texts of a log that the log itself has made, which nobody but root may read as it is.
Texts textsIn(const std::string& path) {
  fs::permissions(path, fs::perms::owner_read, fs::perm_options::add);
  return logTexts(readFile(path));
}

/// A log of its own in a directory of its own.
class ActionLog : public testing::Test {
 protected:
  /// Writes a line to the file of this name, at information level.
  void write(const std::string& name, const char* line = "new") const {
    CLog log;
    log.init("prog", (dir / name).c_str());
    log.ilog("%s", line);
  }

  ScratchDir dir;
  EnvironmentGuard variable{"TANEX_LOG", nullptr};
  EnvironmentGuard level{"TANEX_LOG_LEVEL", nullptr};
  const std::string path = dir / "action.log";
};

// --- which file, which level ---------------------------------------------------------------------

TEST_F(ActionLog, BeforeInit_NothingIsWrittenAnywhere) {
  const ChildResult child =
      runInChild({{"TANEX_LOG", path}, {"TANEX_LOG_LEVEL", "LOG_LEVEL_TRACE"}}, [&] {
        if (::chdir(dir.path().c_str()) != 0) return 1;
        CLog log;
        log.ilog("information");
        log.tlog("trace");
        return log.isTraceOn() ? 2 : 0;
      });
  EXPECT_EQ(child.exitCode(), 0);
  EXPECT_EQ(child.out + child.err, "");
  EXPECT_EQ(namesIn(dir.path()), Texts());
}

TEST_F(ActionLog, Init_ReturnsZeroAndCreatesNoFile) {
  CLog log;
  EXPECT_EQ(log.init("/opt/bin/prog", path.c_str()), 0);
  EXPECT_EQ(log.init("/opt/bin/prog", "/no/such/directory/action.log"), 0);
  EXPECT_EQ(namesIn(dir.path()), Texts());
}

TEST_F(ActionLog, LogVariable_WinsOverThePathPassedToInit) {
  write("argument.log", "one");
  const EnvironmentGuard set("TANEX_LOG", (dir / "variable.log").c_str());
  write("argument.log", "two");
  EXPECT_EQ(textsIn(dir / "argument.log"), Texts({"one"}));
  EXPECT_EQ(textsIn(dir / "variable.log"), Texts({"two"}));
}

TEST_F(ActionLog, Level_IsTraceForExactlyTheWordAndChosenByInit) {
  for (const char* word : {"LOG_LEVEL_TRACE", static_cast<const char*>(nullptr), "", "1",
                           "log_level_trace", "LOG_LEVEL_TRAC", "LOG_LEVEL_TRACEX",
                           "LOG_LEVEL_TRACE ", " LOG_LEVEL_TRACE", "LOG_LEVEL_INFO"}) {
    const bool isTrace = word != nullptr && std::string(word) == "LOG_LEVEL_TRACE";
    SCOPED_TRACE(word == nullptr ? "not set" : word);
    dir.write("action.log", "");
    CLog log;
    {
      const EnvironmentGuard set("TANEX_LOG_LEVEL", word);
      log.init("prog", path.c_str());
    }
    const EnvironmentGuard changed("TANEX_LOG_LEVEL", isTrace ? nullptr : "LOG_LEVEL_TRACE");
    log.tlog("trace %d", 1);
    log.ilog("information %d", 2);
    EXPECT_EQ(log.isTraceOn(), isTrace);
    EXPECT_EQ(textsIn(path),
              isTrace ? Texts({"trace 1", "information 2"}) : Texts({"information 2"}));
    log.init("prog", (dir / "second.log").c_str());
    EXPECT_EQ(log.isTraceOn(), !isTrace);
    log.ilog("after it");
    EXPECT_EQ(textsIn(dir / "second.log").back(), "after it");
  }
}

TEST_F(ActionLog, TraceOff_ArgumentsAreNotFormatted) {
  const CapturedLog log;
  const ChildResult child = runInChild([] {
    const auto* text = reinterpret_cast<const char*>(1);  // formatting it would end the process
    gLog.tlog("%s", text);
    traceAt("common", 1, "%s", text);
    return 0;
  });
  EXPECT_EQ(child.exitCode(), 0);
  EXPECT_EQ(log.texts(), Texts());
}

// --- the line ------------------------------------------------------------------------------------

std::string headNow() {
  const std::time_t now = std::time(nullptr);
  std::tm local = {};
  ::localtime_r(&now, &local);
  char text[64];
  const std::size_t length = std::strftime(text, sizeof text, "%Y/%m/%d %H:%M:%S ", &local);
  std::snprintf(text + length, sizeof text - length, "%5d ", static_cast<int>(::getpid()));
  return text;
}

TEST_F(ActionLog, Line_IsHeadMessageAndLineFeedWithTheLocalTimeOfThen) {
  const std::time_t start = std::time(nullptr);
  for (const char* rule : {"XYZ-3", "XYZ-13:45"}) {
    const TimeZoneGuard zone(rule);
    const CapturedLog log;
    const std::string early = headNow();
    gLog.ilog("%s %d%%", "text", 7);
    const std::string late = headNow();
    const std::string line = log.bytes();
    EXPECT_TRUE(line == early + "text 7%\n" || line == late + "text 7%\n") << line;
    while (std::time(nullptr) == start) ::usleep(1000);
  }
}

TEST_F(ActionLog, ChildMadeInWhateverWay_WritesItsOwnProcessId) {
  for (const bool isFork : {true, false}) {
    const CapturedLog log;
    gLog.ilog("parent");
    const auto pid = static_cast<pid_t>(
        isFork ? ::fork() : ::syscall(SYS_clone, SIGCHLD, nullptr, nullptr, nullptr, nullptr));
    if (pid == 0) {
      gLog.ilog("child");
      ::_exit(0);
    }
    ASSERT_EQ(::waitpid(pid, nullptr, 0), pid);
    gLog.ilog("parent again");
    std::vector<int> pids;
    for (const LogLine& line : parseLog(log.bytes())) pids.push_back(line.pid);
    EXPECT_EQ(pids, std::vector<int>({::getpid(), pid, ::getpid()}));
  }
}

TEST_F(ActionLog, Message_IsWrittenAsItIsAndCutWithAZeroByteFrom2047Bytes) {
  const auto x = [](std::size_t count) { return std::string(count, 'x'); };
  const std::string cut = x(2046) + '\0';
  const struct {
    std::string message;
    std::string written;
  } kRows[] = {{"", ""},           {"\xa4\xa2 \x80\xff\t", "\xa4\xa2 \x80\xff\t"},
               {x(1023), x(1023)}, {x(1024), x(1024)},
               {x(2045), x(2045)}, {x(2046), x(2046)},
               {x(2047), cut},     {x(2048), cut},
               {x(2049), cut},     {x(4096), cut}};
  CapturedLog log;
  for (const auto& row : kRows) {
    gLog.ilog("%s", row.message.c_str());
    EXPECT_EQ(log.take(), Texts({row.written})) << row.message.size();
  }
  gLog.ilog("abc%ls", L"\x3042");  // no such character in the C locale: the C library reports -1
  EXPECT_EQ(log.take(), Texts({"abc" + std::string(2044, '\0')}));
}

TEST_F(ActionLog, Line_LeavesErrnoAsItWasAlsoWhereItCannotBeWritten) {
  const ChildResult child = runInChild([&] {
    for (const std::string& file : {path, dir / "missing/action.log"}) {
      CLog log;
      log.init("prog", file.c_str());
      errno = EXDEV;
      log.ilog("message");
      if (errno != EXDEV) return 1;
    }
    return 0;
  });
  EXPECT_EQ(child.exitCode(), 0);
}

// --- the file ------------------------------------------------------------------------------------

TEST_F(ActionLog, NewFile_GetsOctal01204AsFarAsTheMaskLeavesIt) {
  for (const mode_t mask : {022u, 007u}) {
    const mode_t old = ::umask(mask);
    write("action.log");
    ::umask(old);
    struct stat status = {};
    EXPECT_EQ(::stat(path.c_str(), &status), 0);
    EXPECT_EQ(status.st_mode & 07777, 01204u & ~mask);
    fs::remove(path);
  }
}

TEST_F(ActionLog, ExistingFile_KeepsItsModeAndContentsAndIsNotHeldOpen) {
  const CapturedLog log;
  fs::permissions(log.path(), fs::perms(0640));
  gLog.ilog("one");
  gLog.ilog("two");
  EXPECT_EQ(fs::status(log.path()).permissions(), fs::perms(0640));
  EXPECT_EQ(log.texts(), Texts({"one", "two"}));
  fs::rename(log.path(), log.path() + ".old");
  gLog.ilog("new");
  EXPECT_EQ(textsIn(log.path()), Texts({"new"}));
}

TEST_F(ActionLog, FileThatCannotBeOpened_GivesALineOnStandardErrorForEach) {
  const std::pair<std::string, std::string> table[] = {
      {"", "No such file or directory"},
      {dir / "missing/action.log", "No such file or directory"},
      {dir.path(), "Is a directory"}};
  for (const auto& [file, error] : table) {
    const ChildResult child = runInChild({{"TANEX_LOG", file}}, [&] {
      CLog log;
      log.init("prog", nullptr);
      log.ilog("one");
      log.tlog("not even tried");
      log.ilog("two");
      return 0;
    });
    const std::string line = "*** failed to open(" + file + "):" + error + "\n";
    EXPECT_EQ(child.exitCode(), 0);
    EXPECT_EQ(child.out, "");
    EXPECT_EQ(child.err, line + line);
  }
  EXPECT_EQ(namesIn(dir.path()), Texts());
}

// --- rotation ------------------------------------------------------------------------------------

/// The largest file that is not rotated.
const std::string kLargest(512000, 'x');

TEST_F(ActionLog, FileOf512000Bytes_IsNotRotated) {
  dir.write("action.log", kLargest);
  write("action.log");
  EXPECT_EQ(namesIn(dir.path()), Texts({"action.log"}));
  const std::string bytes = readFile(path);
  EXPECT_TRUE(bytes.compare(0, kLargest.size(), kLargest) == 0);
  EXPECT_EQ(logTexts(bytes.substr(kLargest.size())), Texts({"new"}));
}

TEST_F(ActionLog, LargerFile_IsBackedUpUnderItsLastExtensionAndTheNewLineIsTheFirst) {
  const struct {
    const char* name;
    Texts names;
  } kRows[] = {{"action.log", {"action.bak", "action.log"}},
               {"b.c.log", {"b.c.bak", "b.c.log"}},
               {"plain", {"plain", "plain.bak"}},
               // the backup command takes the path as it is, so the shell sees several words
               {"a b.log", {"a b.log"}}};
  for (const auto& row : kRows) {
    const ScratchDir own;
    for (const std::string& name : row.names) own.write(name, "an older generation");
    own.write(row.name, kLargest + "x");
    const EnvironmentGuard set("TANEX_LOG", (own / row.name).c_str());
    write("", "new");
    write("", "newer");
    EXPECT_EQ(namesIn(own.path()), row.names);
    for (const std::string& name : row.names) {
      if (name == row.name) {
        EXPECT_EQ(textsIn(own / name), Texts({"new", "newer"}));
      } else {
        EXPECT_TRUE(readFile(own / name) == kLargest + "x") << name;
      }
    }
  }
}

TEST_F(ActionLog, PathWithoutDirectory_IsBackedUpIntoTheRoot) {
  if (::getuid() != 0) GTEST_SKIP() << "needs root for a root directory of its own";
  const ChildResult child = runInChild({{"TANEX_LOG", "action.log"}}, [&] {
    if (!enterPrivateRoot(dir.path()) || ::mkdir("/place", 0755) != 0 || ::chdir("/place") != 0) {
      return 77;
    }
    if (std::FILE* file = std::fopen("action.log", "w")) {
      std::fputs((kLargest + "x").c_str(), file);
      std::fclose(file);
    }
    write("");
    std::printf("%zu bytes, %s, %s\n", static_cast<std::size_t>(fs::file_size("/action.bak")),
                textsIn("/place/action.log").at(0).c_str(), namesIn("/place").back().c_str());
    return 0;
  });
  EXPECT_EQ(child.exitCode(), 0) << child.err;
  EXPECT_EQ(child.out, "512001 bytes, new, action.log\n");
}

TEST_F(ActionLog, BackupCommand_IsGivenBothPathsPrintsAndLogsNothing) {
  dir.write("b.c.log", kLargest + "x");
  const FakeProgram copy("cp");
  copy.answer("100% printed\n", "echo error >&2; exit 1");
  const ChildResult child =
      runInChild({{"TANEX_LOG", dir / "b.c.log"}, {"TANEX_LOG_LEVEL", "LOG_LEVEL_TRACE"}}, [&] {
        gLog.init("prog", nullptr);
        gLog.tlog("new");
        return 0;
      });
  EXPECT_EQ(child.exitCode(), 0);
  EXPECT_EQ(child.out + child.err, "");
  EXPECT_EQ(copy.takeArguments(), Texts({"3", "-f", dir / "b.c.log", dir / "b.c.bak"}));
  EXPECT_EQ(textsIn(dir / "b.c.log"), Texts({"new"}));
}

TEST_F(ActionLog, SizeAbove32Bits_IsNotTakenForASmallOne) {
  dir.write("action.log", "");
  fs::resize_file(path, (1ULL << 32) + 1);  // a hole, which takes no room
  const FakeProgram copy("cp");
  write("action.log");
  EXPECT_EQ(copy.takeArguments().size(), 4u);
  ASSERT_LT(fs::file_size(path), 100u);  // to be read now, which the hole is not
  EXPECT_EQ(textsIn(path), Texts({"new"}));
}

}  // namespace
