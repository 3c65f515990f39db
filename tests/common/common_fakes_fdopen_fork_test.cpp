// What the library makes of a command that no child or no stream can be had for.

#include "common/common.h"

#include <dlfcn.h>
#include <gtest/gtest.h>
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
      if (collect(lines, "exit 3", isLimited) != -1 || !lines.empty()) return 77;
      if (upcomingDescriptor(2) != before) return 78;
      int status = 0;
      return ::wait(&status) > 0 && WIFEXITED(status) ? WEXITSTATUS(status) : 79;
    });
    EXPECT_EQ(child.exitCode(), 3);
    EXPECT_EQ(log.texts(), Texts({"VUQ90004L : com=exit 3"}));
  }
}

}  // namespace
