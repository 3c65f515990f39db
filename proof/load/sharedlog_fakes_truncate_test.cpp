// Two hundred processes at once on one action log. Each line goes out in three writes, so that
// lines of different processes may interleave at these seams, and a rotation may cut off what
// others write meanwhile; nothing else may happen to a line.

#include <gtest/gtest.h>
#include <sys/mman.h>
#include <sys/syscall.h>
#include <sys/wait.h>
#include <unistd.h>

#include <algorithm>
#include <atomic>
#include <chrono>
#include <cstdio>
#include <fstream>
#include <map>
#include <set>
#include <string>
#include <vector>

#include "common/base/format.h"
#include "log/CLog.h"
#include "logpieces.h"
#include "support/environmentguard.h"
#include "support/scratch.h"
#include "toldruns.h"

namespace {

constexpr int kProcesses = 200;
constexpr int kMostLines = 1500;
constexpr int kRuns = 30;  // of a process, where they are whole runs
constexpr int kMostRotations = 20000;
constexpr int kRotationBytes = 512000;

using Clock = std::chrono::steady_clock;

/// A stretch of time.
struct Span {
  Clock::time_point from;
  Clock::time_point to;

  bool meets(const Span& other) const { return from <= other.to && other.from <= to; }
};

/// What the processes tell the test.
struct Board {
  std::atomic<bool> isOpen;  // they all wait for it
  std::atomic<int> rotations;
  Span rotation[kMostRotations];  // from before the copy to after the cut
  Span line[kProcesses][kMostLines];
  pid_t run[kProcesses][kRuns];
};

Board* board = nullptr;

/// The rotation that this process is at.
int ownRotation = -1;

/// Where the log and its generations lie.
std::string folder;

std::string generation(int number) { return folder + "/generation." + std::to_string(number); }

}  // namespace

// --- takes the place of two calls of the rotation ------------------------------------------------

/// Copies into a file of its own, so that each generation can be looked at afterwards; and at once,
/// without a shell, so that few lines can be excused by it.
extern "C" int __wrap__Z8s_systemPKc(const char* command) {
  EXPECT_EQ(format("cp -f %s/log %s/log.bak >/dev/null 2>&1", C(folder), C(folder)), command);
  ownRotation = board->rotations.fetch_add(1);
  if (ownRotation >= kMostRotations) ::_exit(2);
  board->rotation[ownRotation].from = Clock::now();
  std::ofstream(generation(ownRotation)) << std::ifstream(folder + "/log").rdbuf();
  return 0;
}

extern "C" int truncate(const char* path, off_t length) noexcept {
  const auto result = static_cast<int>(::syscall(SYS_truncate, path, length));
  board->rotation[ownRotation].to = Clock::now();
  return result;
}

namespace {

std::string textOf(int process, int line) {
  static const std::string filler(80, '-');
  return format("<%d %d %s>", process, line, C(filler));
}

/// The length of what `textOf` has made.
std::size_t textLength(const std::string& bytes, std::size_t at) {
  const std::size_t end = bytes[at] == '<' ? bytes.find('>', at) : std::string::npos;
  return end == std::string::npos ? 0 : end + 1 - at;
}

/// What became of a run.
struct RunKind {
  int answers[2];
  const char* truth;
};

constexpr RunKind kRunKinds[] = {
    {{0, 0}, "delivered"}, {{-62, -62}, "refused"}, {{0, -55}, "partly"}};

const RunKind& kindOf(int process, int run) { return kRunKinds[(process + run) % 3]; }

/// So long that few runs fill a log.
constexpr int kNotificationFiller = 1900;

class SharedLog : public testing::Test {
 protected:
  SharedLog() : m_logPath("TANEX_LOG", (m_dir / "log").c_str()), m_logLevel("TANEX_LOG_LEVEL", "") {
    folder = m_dir.path();
    void* memory =
        ::mmap(nullptr, sizeof(Board), PROT_READ | PROT_WRITE, MAP_SHARED | MAP_ANONYMOUS, -1, 0);
    if (memory == MAP_FAILED) std::perror("mmap");
    board = new (memory) Board();
  }
  ~SharedLog() override { ::munmap(board, sizeof(Board)); }

  /// Has every process log so many lines, all processes at once. Gives their ids.
  static std::vector<int> logAtOnce(int lines) {
    return doAtOnce([lines](int process) { logLines(process, lines); });
  }

  /// Has every process make whole runs, one after the other, each in a process of its own.
  static void runAtOnce() { doAtOnce(makeRuns); }

  std::string log() const { return readFile(m_dir / "log"); }

 private:
  template <class Work>
  static std::vector<int> doAtOnce(const Work& work) {
    std::vector<int> pids;
    for (int process = 0; process < kProcesses; ++process) {
      const pid_t pid = ::fork();
      if (pid == 0) work(process);
      pids.push_back(pid);
    }
    board->isOpen = true;
    for (const int pid : pids) {
      int status = -1;
      EXPECT_EQ(::waitpid(pid, &status, 0), pid);
      EXPECT_EQ(status, 0);
    }
    return pids;
  }

  [[noreturn]] static void makeRuns(int process) {
    while (!board->isOpen) ::usleep(100);
    for (int run = 0; run < kRuns; ++run) {
      const pid_t pid = ::fork();
      if (pid == 0) logRun(kindOf(process, run));
      board->run[process][run] = pid;
      int status = -1;
      if (::waitpid(pid, &status, 0) != pid || status != 0) ::_exit(3);
    }
    ::_exit(0);
  }

  /// What a run of this kind logs, one line after the other, as the command does.
  [[noreturn]] static void logRun(const RunKind& kind) {
    gLog.init("load", nullptr);
    gLog.ilog("### main : load started.");
    gLog.ilog("(CSendInfo::SendInfo) call startCom(RM_MODE_SYNC)=0");
    gLog.ilog("commonSendEvent Main Loop (1/1)");
    gLog.ilog("RM_Communicate call (param=0x40204 0 0 \"%s\",,\"l\",\"h\" NULL  NULL)",
              C(std::string(kNotificationFiller, 'n')));
    gLog.ilog("RM_Communicate done (code='%d', msg='') ", kind.answers[0]);
    gLog.ilog("RM_Communicate call (param=0x4010d ? 1 /%s NULL  NULL)",
              C(std::string(kNotificationFiller, 'p')));
    gLog.ilog("RM_Communicate done (code='%d', msg='') ", kind.answers[1]);
    gLog.ilog("commonSendEvent OK");
    gLog.ilog("ELAPSED:range='executing tanexics', time='0.001000'");
    gLog.ilog("### main : load exit. code = 0");
    ::_exit(testing::Test::HasFailure() ? 1 : 0);
  }

  [[noreturn]] static void logLines(int process, int lines) {
    while (!board->isOpen) ::usleep(100);
    gLog.init("load", nullptr);
    for (int line = 0; line < lines; ++line) {
      Span& span = board->line[process][line];
      span.from = Clock::now();
      gLog.ilog("%s", C(textOf(process, line)));
      span.to = Clock::now();
    }
    ::_exit(testing::Test::HasFailure() ? 1 : 0);
  }

  ScratchDir m_dir;
  EnvironmentGuard m_logPath;
  EnvironmentGuard m_logLevel;
};

TEST_F(SharedLog, BelowRotation_NoLineIsLostAndNoneTornButAtItsSeams) {
  constexpr int kLines = 20;
  std::map<int, int> heads;
  for (const int pid : logAtOnce(kLines)) heads[pid] = kLines;
  const std::string bytes = log();
  ASSERT_LE(bytes.size(), kRotationBytes);
  const LogPieces pieces(bytes, textLength);
  EXPECT_EQ(pieces.torn, 0U);
  EXPECT_EQ(pieces.lineFeeds, kProcesses * kLines);

  EXPECT_EQ(pieces.heads, heads);

  // Each process's texts are there, once each, in order.
  std::vector<int> next(kProcesses, 0);
  for (const std::string& text : pieces.texts) {
    int process = -1;
    ASSERT_EQ(std::sscanf(text.c_str(), "<%d ", &process), 1);
    ASSERT_EQ(text, textOf(process, next.at(static_cast<std::size_t>(process))++));
  }
  EXPECT_EQ(next, std::vector<int>(kProcesses, kLines));
  EXPECT_EQ(board->rotations, 0);
}

TEST_F(SharedLog, AcrossRotations_EveryMissingLineWasWrittenDuringOne) {
  logAtOnce(kMostLines);
  const int rotations = board->rotations;
  EXPECT_GE(rotations, 50);

  std::set<std::string> found;
  const auto collect = [&found](const std::string& bytes) {
    const LogPieces pieces(bytes, textLength);
    found.insert(pieces.texts.begin(), pieces.texts.end());
    return pieces.torn == 0;
  };
  EXPECT_TRUE(collect(log()));
  const auto rotationsDuring = [rotations](const Span& own) {
    return std::count_if(board->rotation, board->rotation + rotations,
                         [&own](const Span& rotation) { return own.meets(rotation); });
  };
  for (int number = 0; number < rotations; ++number) {
    // A copy may end within a piece only where another rotation cut the file under it.
    EXPECT_TRUE(collect(readFile(generation(number))) ||
                rotationsDuring(board->rotation[number]) > 1)
        << number;
  }

  int missing = 0;
  int outside = 0;  // lines that no rotation can excuse
  for (int process = 0; process < kProcesses; ++process) {
    for (int line = 0; line < kMostLines; ++line) {
      const bool isExcused = rotationsDuring(board->line[process][line]) > 0;
      const bool isMissing = found.count(textOf(process, line)) == 0;
      missing += isMissing ? 1 : 0;
      outside += isExcused ? 0 : 1;
      ASSERT_TRUE(!isMissing || isExcused) << "process " << process << ", line " << line;
    }
  }
  std::printf(
      "%d rotations; of %d lines, %d are missing, and %d were logged while none was under way\n",
      rotations, kProcesses * kMostLines, missing, outside);
  EXPECT_GT(outside, kProcesses) << "nearly every line would be excused";
}

/// Where rotations take away what others write, much is lost; what is left must not be misread.
TEST_F(SharedLog, AcrossRotations_EveryVerdictIsRightOrUnknown) {
  runAtOnce();
  const int rotations = board->rotations;
  EXPECT_GE(rotations, 50);
  std::map<int, std::string> truths;
  for (int process = 0; process < kProcesses; ++process) {
    for (int run = 0; run < kRuns; ++run) {
      const auto [own, isNew] =
          truths.emplace(board->run[process][run], kindOf(process, run).truth);
      if (!isNew) own->second = "of several runs";
    }
  }
  for (auto own = truths.begin(); own != truths.end();) {
    own = own->second == "of several runs" ? truths.erase(own) : std::next(own);
  }
  // Each generation behind the one before it, as the log behind its backup just before a rotation.
  ToldRuns told(truths);
  constexpr int kReadOne = 16;  // of so many: reading takes longer than writing
  std::string older;
  for (int number = 0; number < rotations; ++number) {
    const std::string bytes = readFile(generation(number));
    const bool isAfter =
        number > 0 && board->rotation[number - 1].to < board->rotation[number].from;
    if (number % kReadOne == 0) told.read({isAfter ? older : "", bytes});
    older = bytes;
  }
  told.read({older, log()});
  std::printf("%d rotations, %d runs\n", rotations, kProcesses * kRuns);
  told.unknownShare("200 processes across rotations");
  EXPECT_GT(told.right, 0);
}

}  // namespace
