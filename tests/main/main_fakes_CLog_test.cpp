#include <gtest/gtest.h>
#include <sys/stat.h>
#include <unistd.h>

#include <csignal>
#include <cstdarg>
#include <cstdio>
#include <cstring>
#include <functional>
#include <stdexcept>
#include <string>
#include <vector>

#include "common/text/timetext.h"
#include "log/CLog.h"
#include "sendevent/CSendEventSingleSystem.h"
#include "support/childrun.h"
#include "support/pattern.h"

namespace {

/// What takes long takes so long.
constexpr useconds_t kSlowMicroseconds = 500000;
constexpr double kSlowSeconds = 0.5;

/// What the command object answers.
struct Answers {
  int parsed;
  int sent;
};
Answers answers;

/// The command object: tells of its life on standard output in place of doing anything, and is slow
/// to end.
struct ToldCommand {
  ToldCommand() { std::printf("made\n"); }
  ~ToldCommand() {
    ::usleep(kSlowMicroseconds);
    std::printf("destroyed\n");
  }
  int parseCommandLine(int argc, char** argv) {
    std::printf("parse %d %s\n", argc, argc > 0 ? argv[argc - 1] : "");
    return answers.parsed;
  }
  int sendEvent() {
    std::printf("send\n");
    return answers.sent;
  }
};

}  // namespace

// The frame of the run as part of this program, on a command object that the test answers for, and
// on a log that it does: the whole of CLog, which is why the real one is not linked.
#define main tanexicsMain
#define CSendEventSingleSystem ToldCommand
#include "main/main.cpp"  // NOLINT(bugprone-suspicious-include)
#undef CSendEventSingleSystem
#undef main

CLog gLog;

namespace {
int initResult = 0;
bool isLogThrowing = false;
bool isStartLineSlow = false;
}  // namespace

CLog::CLog() : m_traceOn(0), m_initialized(0) {}
CLog::~CLog() = default;
int CLog::init(const char* programPath, const char* defaultLogPath) {
  std::printf("init %s %s\n", programPath, defaultLogPath == nullptr ? "null" : defaultLogPath);
  return initResult;
}
void CLog::log(const char* format, va_list args) {
  if (isLogThrowing) throw std::runtime_error("log");
  if (isStartLineSlow && std::strstr(format, "started") != nullptr) ::usleep(2 * kSlowMicroseconds);
  std::vprintf(format, args);
  std::printf("\n");
}
void CLog::ilog(const char* format, ...) {
  va_list args;
  va_start(args, format);
  log(format, args);
  va_end(args);
}
void CLog::tlog(const char* /*format*/, ...) {}
void CLog::slog(const char* /*format*/, ...) {}

namespace {

constexpr char kTime[] = R"(time='(\d+\.\d{6})')";

/// Runs `main` with these arguments.
int callMain(std::vector<std::string> words) {
  std::vector<char*> argv;
  for (std::string& word : words) argv.push_back(word.data());
  argv.push_back(nullptr);
  return tanexicsMain(static_cast<int>(words.size()), argv.data());
}

/// A run of `main` in a child: how it ended and what it printed, the elapsed time taken out.
struct MainRun : ChildResult {
  explicit MainRun(const std::function<int()>& body) : ChildResult(runInChild(body)) {
    const auto times = findPattern(out, kTime);
    if (!times.empty()) elapsed = std::stod(times[0][1]);
    out = replacePattern(out, kTime, "time='*'");
  }
  double elapsed = -1.0;  // seconds
};

const std::vector<std::string> kIncident = {"tanexics", "list", "-i", "1"};
const std::string kInit = "init tanexics null\n";
const std::string kStarted = kInit + "### main : tanexics started.\n";

std::string ended(int status, const std::string& program = "tanexics") {
  return "ELAPSED:range='executing tanexics', time='*'\n### main : " + program +
         " exit. code = " + std::to_string(status) + "\n";
}

struct MainTest : testing::Test {
  MainTest() {
    initResult = 0;
    isLogThrowing = false;
    isStartLineSlow = false;
    answers = {0, 0};
  }
};

TEST_F(MainTest, LogThatCannotBeOpened_IsSaidOnStandardErrorAndEndsWith66) {
  initResult = 1;
  const double before = elapsedTime();
  const MainRun child([] { return callMain(kIncident); });
  const double after = elapsedTime();
  EXPECT_EQ(child.exitCode(), 66);
  EXPECT_EQ(child.err, "Log init error");
  EXPECT_EQ(child.out, kInit + ended(66));
  // The time is that since the epoch: the clock starts after the log.
  constexpr double kRounding = 0.00001;
  EXPECT_GE(child.elapsed, before - kRounding);
  EXPECT_LE(child.elapsed, after + kRounding);
}

TEST_F(MainTest, CommandObject_IsParsedSentAndGoneBeforeTheTimeIsTaken) {
  if (::getuid() != 0) GTEST_SKIP() << "needs root, as whom alone the command works";
  struct Row {
    Answers answers;
    std::string told;
    int status;
  };
  const Row rows[] = {{{0, 0}, "send\n", 0},
                      {{68, 0}, "", 68},
                      {{0, 1}, "send\n", 1},
                      {{0, -1}, "send\n", -1},
                      {{0, 256}, "send\n", 256}};
  for (const Row& row : rows) {
    answers = row.answers;
    const MainRun child([] { return callMain(kIncident); });
    EXPECT_EQ(child.exitCode(), row.status & 0xff);
    EXPECT_EQ(child.out,
              kStarted + "made\nparse 4 1\n" + row.told + "destroyed\n" + ended(row.status));
    EXPECT_GE(child.elapsed, kSlowSeconds) << "the object's end is part of the run";
  }
}

TEST_F(MainTest, NoArgumentsAtAll_AreNotReadAndTheStartLineIsNotPartOfTheTime) {
  if (::getuid() != 0) GTEST_SKIP() << "needs root, as whom alone the command works";
  isStartLineSlow = true;
  const MainRun child([] { return callMain({}); });
  EXPECT_EQ(child.out,
            "init  null\n### main :  started.\nmade\nparse 0 \nsend\ndestroyed\n" + ended(0, ""));
  EXPECT_LT(child.elapsed, 2 * kSlowSeconds);
}

TEST_F(MainTest, OrdinaryUser_GetsNoCommandObject) {
  if (!canBecomeNobody()) GTEST_SKIP() << "needs root to become another user";
  const MainRun child([] { return becomeNobody() ? callMain(kIncident) : 200; });
  EXPECT_EQ(child.exitCode(), 65);
  EXPECT_EQ(child.out, kStarted + "not Super-User\n" + ended(65));
}

TEST_F(MainTest, StateOfTheProcess_IsSettledAlsoWhereThereIsNoLog) {
  initResult = 1;
  const MainRun child([] {
    ::umask(0);
    ::signal(SIGPIPE, SIG_DFL);
    ::close(STDIN_FILENO);
    callMain({"tanexics"});
    const bool isPipeIgnored = ::signal(SIGPIPE, SIG_DFL) == SIG_IGN;
    const bool isInputOpen = ::close(STDIN_FILENO) == 0;
    return isPipeIgnored && isInputOpen ? static_cast<int>(::umask(0)) : 1;
  });
  EXPECT_EQ(child.exitCode(), 022);
}

TEST_F(MainTest, OtherException_PassesWithoutAnExitLine) {
  isLogThrowing = true;
  const ChildResult child = runInChild([] { return callMain({"tanexics"}); });
  EXPECT_EQ(child.exitCode(), 255) << "what the child makes of an exception";
  EXPECT_EQ(child.out, kInit);
}

}  // namespace
