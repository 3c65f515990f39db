// What the library makes of calls that fail at a moment which no file and no process can be brought
// to choose.

#include "common/common.h"

#include <dirent.h>
#include <dlfcn.h>
#include <fcntl.h>
#include <gtest/gtest.h>
#include <sys/stat.h>
#include <sys/wait.h>
#include <unistd.h>

#include <cerrno>
#include <cstdio>
#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <functional>
#include <list>
#include <string>
#include <utility>
#include <vector>

#include "support/actionlog.h"
#include "support/childrun.h"
#include "support/descriptors.h"
#include "support/failingrename.h"
#include "support/logtexts.h"
#include "support/privateroot.h"
#include "support/scratch.h"

// --- takes the place of the C library's calls in this program ------------------------------------

/// What happens right before the next fork, and whether that then fails, with EAGAIN.
static std::function<bool()> isNextForkFailing;

extern "C" pid_t fork() noexcept {
  using Fork = pid_t (*)();
  static const auto real = reinterpret_cast<Fork>(::dlsym(RTLD_NEXT, "fork"));
  const auto isFailing = std::exchange(isNextForkFailing, nullptr);
  if (!isFailing || !isFailing()) return real();
  errno = EAGAIN;
  return -1;
}

static bool isFdopenFailing = false;

extern "C" FILE* fdopen(int fd, const char* mode) noexcept {
  using Fdopen = FILE* (*)(int, const char*);
  static const auto real = reinterpret_cast<Fdopen>(::dlsym(RTLD_NEXT, "fdopen"));
  return isFdopenFailing ? nullptr : real(fd, mode);
}

/// How many entries of a directory can be read before an error; negative: all.
static int readableEntries = -1;

extern "C" dirent* readdir(DIR* stream) {
  using ReadDir = dirent* (*)(DIR*);
  static const auto real = reinterpret_cast<ReadDir>(::dlsym(RTLD_NEXT, "readdir64"));
  if (readableEntries == 0) {
    errno = EIO;
    return nullptr;
  }
  if (readableEntries > 0) --readableEntries;
  return real(stream);
}

/// A path that can be examined so many times more, and is gone then.
static std::string vanishing;
static int looksLeft = 0;

extern "C" int stat(const char* path, struct stat* status) noexcept {
  if (!vanishing.empty() && path == vanishing && --looksLeft < 0) {
    errno = ENOENT;
    return -1;
  }
  return ::fstatat(AT_FDCWD, path, status, 0);
}

/// The errors with which the next calls fail, the last one first.
static std::vector<int> refusals;

extern "C" pid_t waitpid(pid_t pid, int* status, int options) {
  if (refusals.empty()) return ::wait4(pid, status, options, nullptr);
  errno = refusals.back();
  refusals.pop_back();
  return -1;
}

namespace {

namespace fs = std::filesystem;
using Lines = std::list<std::string>;
using Texts = std::vector<std::string>;

/// The file of the error output, as the log at trace level tells at the fork.
std::string errorFile(const CapturedLog& log) {
  const std::string made = log.texts().at(2);
  return made.substr(made.rfind(',') + 1);
}

/// The lines that are not at trace level.
std::vector<LogLine> informationOf(const CapturedLog& log) {
  std::vector<LogLine> lines;
  for (const LogLine& line : parseLog(log.bytes())) {
    if (line.text.rfind("[T]", 0) != 0) lines.push_back(line);
  }
  return lines;
}

void failNextFork() {
  isNextForkFailing = [] { return true; };
}

int collect(Lines& lines, const char* command, bool isLimited) {
  return isLimited ? execGetLinesTimeout(lines, command, 5)
                   : execGetLines(lines, command, -1, nullptr, -1);
}

TEST(SPopen, NoChild_GivesNullAndLeavesThePipeOpen) {
  const int afterThePipe = upcomingDescriptor(3);
  int fd = 7;
  int pid = 7;
  failNextFork();
  EXPECT_EQ(s_popen("echo a", fd, pid), nullptr);
  EXPECT_EQ(fd, 0);
  EXPECT_EQ(pid, -1);
  EXPECT_EQ(upcomingDescriptor(1), afterThePipe);
}

/// The result of a function that cannot start its command.
template <class Function>
auto withoutChild(const Function& function) {
  failNextFork();
  return function();
}

TEST(Commands, NoChild_IsAFailureWithoutALine) {
  const CapturedLog log(CapturedLog::Level::kTrace);
  char line[1024] = "left over";
  EXPECT_EQ(withoutChild([] { return s_system("echo a"); }), -1);
  EXPECT_EQ(withoutChild([&] { return execGetLine("echo a", line); }), -1);
  EXPECT_STREQ(line, "left over");
  EXPECT_EQ(withoutChild([] { return getDirSize("/"); }), 0);
  EXPECT_EQ(withoutChild([] { return getFreeSize("/"); }), -1);
  EXPECT_EQ(withoutChild(getTerminalLineCount), 10);
  EXPECT_EQ(log.bytes(), "");
}

TEST(LoggedChild, NoChildForACommandThatIsAnEntryOfItsResult_IsLoggedReasonFirst) {
  const std::string command = "echo a # too long to need no memory of its own";
  for (const bool isLimited : {false, true}) {
    const CapturedLog log;
    const int before = upcomingDescriptor(2);
    Lines lines = {command};
    failNextFork();
    EXPECT_EQ(collect(lines, lines.front().c_str(), isLimited), -1);
    EXPECT_EQ(lines, Lines());
    EXPECT_EQ(upcomingDescriptor(2), before) << "an end of the pipe is open";
    EXPECT_EQ(log.texts(),
              Texts({"VUQ90004L : com=" + command,
                     "VUQ90005L : failed to exec(Resource temporarily unavailable):" + command}));
  }
}

TEST(ExecGetLines, NoChildWithErrorList_ErrorFileIsReadAllTheSame) {
  const CapturedLog log(CapturedLog::Level::kTrace);
  std::string path;
  isNextForkFailing = [&] {
    path = errorFile(log);
    std::ofstream(path) << "one\ntwo\nthree\n";
    return true;
  };
  const int before = upcomingDescriptor(1);
  Lines lines = {"left over"};
  Lines errors = {"left over"};
  EXPECT_EQ(execGetLines(lines, "echo a", -1, &errors, 2), -1);
  EXPECT_EQ(lines, Lines());
  EXPECT_EQ(errors, Lines({"one", "two"}));
  EXPECT_EQ(upcomingDescriptor(1), before);
  EXPECT_FALSE(fs::exists(path));
  EXPECT_EQ(informationOf(log).size(), 2u);
}

TEST(ExecGetLines, ErrorFileThatTheChildCannotOpen_IsLoggedFromThereAndTheCommandHasNone) {
  const CapturedLog log(CapturedLog::Level::kTrace);
  std::string path;
  isNextForkFailing = [&] {
    path = errorFile(log);
    fs::remove(path);
    fs::create_directory(path);
    return false;
  };
  Lines lines;
  Lines errors = {"left over"};
  EXPECT_EQ(execGetLines(lines, "echo $$; (: 3>&2) || echo closed", -1, &errors, -1), 0);
  ASSERT_EQ(lines.size(), 2u);
  EXPECT_EQ(lines.back(), "closed");
  EXPECT_EQ(errors, Lines());
  EXPECT_FALSE(fs::exists(path));
  const std::vector<LogLine> written = informationOf(log);
  ASSERT_EQ(written.size(), 3u);
  EXPECT_EQ(written[0].text, "VUQ90004L : com=echo $$; (: 3>&2) || echo closed");
  EXPECT_EQ(written[1].text, "VUQ90006L : failed to fopen():" + path + ",Is a directory");
  EXPECT_EQ(written[2].text, "VUQ90004L : pid=" + lines.front() + ",wstat=00000000");
  EXPECT_EQ(std::to_string(written[1].pid), lines.front());
  EXPECT_EQ(written[2].pid, ::getpid());
}

TEST(ExecGetLines, TemporaryFileWithoutItsFinalName_IsNotUsed) {
  if (::getuid() != 0) GTEST_SKIP() << "needs root for a /tmp of its own";
  Texts texts = linesFromPrivateRoot([] {
    ::setenv("TANEX_LOG_LEVEL", "", 1);
    gLog.init("unit-test", nullptr);
    renamesToFail = 10;
    Lines lines;
    Lines errors = {"left over"};
    const int result = execGetLines(lines, "echo out; echo error >&2; exit 3", -1, &errors, -1);
    std::printf("%d %s %zu %zu\n", result, lines.front().c_str(), errors.size(),
                namesIn("/tmp").size());
  });
  ASSERT_EQ(texts.size(), 13u);
  EXPECT_EQ(texts.front(), "3 out 0 10");
  texts.erase(texts.begin(), texts.begin() + 11);  // and ten lines of the temporary file
  EXPECT_EQ(withoutPids(texts), Texts({"VUQ90004L : com=echo out; echo error >&2; exit 3",
                                       "VUQ90004L : pid=<pid>,wstat=00000300"}));
}

TEST(LoggedChild, NoStream_LeavesTheChildUnwaitedAndNoDescriptorOpen) {
  for (const bool isLimited : {false, true}) {
    const CapturedLog log;
    const ChildResult child = runInChild([isLimited] {
      const int before = upcomingDescriptor(2);
      Lines lines = {"left over"};
      isFdopenFailing = true;
      const int result = collect(lines, "exit 3", isLimited);
      isFdopenFailing = false;  // what counts coverage needs the call at the end
      if (result != -1 || !lines.empty()) return 77;
      if (upcomingDescriptor(2) != before) return 78;
      int status = 0;
      return ::wait(&status) > 0 && WIFEXITED(status) ? WEXITSTATUS(status) : 79;
    });
    EXPECT_EQ(child.exitCode(), 3);
    EXPECT_EQ(log.texts(), Texts({"VUQ90004L : com=exit 3"}));
  }
}

TEST(GetFileList, DirectoryThatCannotBeReadToItsEnd_GivesTheEntriesUpToThere) {
  const ScratchDir dir;
  for (const char* name : {"a", "b", "c"}) dir.write(name, "");
  const CapturedLog log(CapturedLog::Level::kTrace);
  for (int readable = 0; readable <= 5; ++readable) {  // "." and ".." are read as well
    Lines list = {"left over"};
    Texts vector = {"left over"};
    readableEntries = readable;
    const int inList = getFileList(list, dir.path().c_str(), 0, 1, 0);
    readableEntries = readable;
    EXPECT_EQ(getFileList(vector, dir.path().c_str(), 0, 1, 0), inList) << readable;
    readableEntries = -1;
    EXPECT_EQ(Texts(list.begin(), list.end()), vector) << readable;
    EXPECT_EQ(inList, static_cast<int>(list.size())) << readable;
    EXPECT_LE(inList, readable);
    EXPECT_GE(inList, readable - 2);
  }
  EXPECT_EQ(log.bytes(), "");
}

TEST(IsExecutable, FileThatVanishesBeforeItsBitsAreLookedAt_IsNot) {
  if (!canBecomeNobody()) GTEST_SKIP() << "needs root, and another user";
  const ScratchDir dir;
  const std::string path = dir.write("f", "x");
  ASSERT_EQ(::chmod(dir.path().c_str(), 0755), 0);
  ASSERT_EQ(::chmod(path.c_str(), 0755), 0);
  const CapturedLog log(CapturedLog::Level::kTrace);
  EXPECT_EQ(isExecutable(path), 1);
  vanishing = path;
  EXPECT_EQ(isExecutable(path), 0);
  // Nobody is not asked for more than access(2) grants.
  const ChildResult child = runInChild([&] { return becomeNobody() ? isExecutable(path) : 77; });
  EXPECT_EQ(child.exitCode(), 1);
  vanishing.clear();
  EXPECT_EQ(log.bytes(), "");
}

TEST(GetTotalFileSize, DirectoryThatVanishesWhileItIsMeasured_CountsNothing) {
  const ScratchDir dir;
  dir.write("file", "1234567");
  const CapturedLog log(CapturedLog::Level::kTrace);
  vanishing = dir.path();
  looksLeft = 1;
  EXPECT_EQ(getTotalFileSize({dir.path()}, 1), 0);
  EXPECT_LT(looksLeft, 0) << "it was not looked at a second time";
  vanishing.clear();
  EXPECT_EQ(getTotalFileSize({dir.path()}, 1), 7);
  EXPECT_EQ(log.bytes(), "");
}

TEST(Waitpid, InterruptedOrRefusedForNow_IsMadeAgain) {
  const CapturedLog log;
  const pid_t pid = ::fork();
  if (pid == 0) ::_exit(3);
  refusals = {EINTR, EAGAIN, EINTR};
  int status = -1;
  EXPECT_EQ(waitpid("caller.cpp", 1445, pid, &status, 0), pid);
  EXPECT_EQ(status, 0x0300);
  EXPECT_EQ(refusals.size(), 0u);
  EXPECT_EQ(log.bytes(), "");
}

}  // namespace
