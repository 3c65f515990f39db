#include "common/capture/host.h"

#include <fcntl.h>
#include <gtest/gtest.h>
#include <sys/wait.h>
#include <unistd.h>

#include <csignal>
#include <string>
#include <vector>

#include "support/actionlog.h"
#include "support/childrun.h"
#include "support/fakeprogram.h"
#include "support/logtexts.h"

namespace {

using Texts = std::vector<std::string>;

/// A process that sleeps under a name of its own, and is gone with the object.
class Sleeper {
 public:
  explicit Sleeper(const std::string& name) {
    int ends[2];
    if (::pipe2(ends, O_CLOEXEC) != 0) return;
    m_pid = ::fork();
    if (m_pid == 0) {
      ::execl("/bin/sleep", name.c_str(), "1000", nullptr);
      ::_exit(127);
    }
    ::close(ends[1]);
    char byte = 0;
    EXPECT_EQ(::read(ends[0], &byte, 1), 0);  // ends when the name has become the process's own
    ::close(ends[0]);
  }
  ~Sleeper() {
    if (m_pid <= 0) return;
    ::kill(m_pid, SIGKILL);
    ::waitpid(m_pid, nullptr, 0);
  }
  Sleeper(const Sleeper&) = delete;
  Sleeper& operator=(const Sleeper&) = delete;

 private:
  pid_t m_pid = -1;
};

/// A name that no other process has.
std::string ownName(const std::string& part) {
  return "tanexics-" + part + "-" + std::to_string(::getpid());
}

TEST(CountRunningProcess, NameThatNoProcessHas_IsZero) {
  EXPECT_EQ(count_RunningProcess(ownName("nobody")), 0);
}

TEST(CountRunningProcess, RunningProcesses_AreCounted) {
  const std::string name = ownName("sleeper");
  const Sleeper first(name);
  EXPECT_EQ(count_RunningProcess(name), 1);
  {
    const Sleeper second(name + "-two");
    EXPECT_EQ(count_RunningProcess(name), 2);
    EXPECT_EQ(count_RunningProcess(name + "-two"), 1);
    EXPECT_EQ(count_RunningProcess(name + " 1000"), 1);  // the arguments are part of the line
  }
  EXPECT_EQ(count_RunningProcess(name), 1);
}

TEST(CountRunningProcess, Text_IsMatchedAtTheBeginningOnly) {
  const std::string name = ownName("sleeper");
  const Sleeper sleeper("x" + name);
  EXPECT_EQ(count_RunningProcess(name), 0);
}

TEST(CountRunningProcess, Text_IsABasicRegularExpression) {
  const FakeProgram ps("ps");
  ps.answer("COMMAND\n/bin/abc\n/bin/a.c -x\n/bin/adc\n");
  EXPECT_EQ(count_RunningProcess("/bin/a.c"), 3);
  EXPECT_EQ(count_RunningProcess("/bin/a\\.c"), 1);
  EXPECT_EQ(count_RunningProcess("/bin/a[bd]c$"), 2);
  EXPECT_EQ(count_RunningProcess(""), 4);
  EXPECT_EQ(ps.takeArguments().size(), 3u * 4u);
}

TEST(CountRunningProcess, Processes_AreAskedForByTheirCommandLines) {
  const FakeProgram ps("ps");
  ps.answer("init\n");
  EXPECT_EQ(count_RunningProcess("init"), 1);
  EXPECT_EQ(ps.takeArguments(), Texts({"2", "-eo", "command"}));
}

TEST(CountRunningProcess, TenThousandLines_AreAllCounted) {
  const FakeProgram ps("ps");
  std::string lines;
  for (int i = 0; i < 10000; ++i) lines += "job " + std::to_string(i) + "\n";
  ps.answer(lines);
  EXPECT_EQ(count_RunningProcess("job"), 10000);
}

TEST(CountRunningProcess, LongLine_IsCountedOnceForEachPieceOfIt) {
  const FakeProgram ps("ps");
  const struct {
    std::size_t bytes;
    int count;
  } kRows[] = {{1022, 1}, {1023, 2}, {1024, 2}, {2045, 2}, {2046, 3}, {5000, 5}};
  for (const auto& row : kRows) {
    ps.answer(std::string(row.bytes, 'j') + "\n");
    EXPECT_EQ(count_RunningProcess("j"), row.count) << row.bytes;
  }
}

TEST(CountRunningProcess, NoPs_IsZeroAndNoFailure) {
  const FakeProgram ps("ps");
  ps.answer("init\n", "exit 127");
  EXPECT_EQ(count_RunningProcess("init"), 1);  // what was printed counts, whatever ps ended with
  ps.answer("", "exit 127");
  const CapturedLog log;
  EXPECT_EQ(count_RunningProcess("init"), 0);
  EXPECT_EQ(withoutPids(log.texts()), Texts({"VUQ90004L : com=ps -eo command | grep '^init'",
                                             "VUQ90004L : pid=<pid>,wstat=00000100"}));
}

TEST(CountRunningProcess, Run_IsLoggedAsACapturedCommandWithoutLimit) {
  const FakeProgram ps("ps");
  ps.answer("init\n");
  const CapturedLog log(CapturedLog::Level::kTrace);
  EXPECT_EQ(count_RunningProcess("init"), 1);
  EXPECT_EQ(withoutPids(log.texts()),
            inOrder({{"[T](common:1345):execGetLines():count=-1,ps -eo command | grep '^init'",
                      "VUQ90004L : com=ps -eo command | grep '^init'",
                      "VUQ90004L : pid=<pid>,wstat=00000000"},
                     tracedExit(0)}));
}

TEST(CountRunningProcess, NoMatch_IsNoFailureInTheLog) {
  const FakeProgram ps("ps");
  const CapturedLog log;
  EXPECT_EQ(count_RunningProcess("init"), 0);
  EXPECT_EQ(withoutPids(log.texts()), Texts({"VUQ90004L : com=ps -eo command | grep '^init'",
                                             "VUQ90004L : pid=<pid>,wstat=00000100"}));
}

TEST(CountRunningProcess, TextThatGrepRefuses_IsMinusOneAndLogged) {
  const FakeProgram ps("ps");
  const CapturedLog log;
  EXPECT_EQ(count_RunningProcess("\\("), -1);
  EXPECT_EQ(
      withoutPids(log.texts()),
      Texts({"VUQ90004L : com=ps -eo command | grep '^\\('", "VUQ90004L : pid=<pid>,wstat=00000200",
             "count_RunningProcess failed to exec command( ps -eo command | grep '^\\(' )"}));
}

TEST(CountRunningProcess, QuoteInTheText_ReachesTheShellAsItIs) {
  const FakeProgram ps("ps");
  ps.answer("it\n");
  EXPECT_EQ(count_RunningProcess("it' | grep -c '"), 1);
  const CapturedLog log;
  EXPECT_EQ(count_RunningProcess("it's"), -1);
  EXPECT_EQ(
      withoutPids(log.texts()),
      Texts({"VUQ90004L : com=ps -eo command | grep '^it's'",
             "VUQ90004L : pid=<pid>,wstat=00000200",
             "count_RunningProcess failed to exec command( ps -eo command | grep '^it's' )"}));
}

TEST(CountRunningProcess, SignalThatEndsTheCommand_IsMinusOne) {
  const FakeProgram ps("ps");
  const FakeProgram grep("grep");
  grep.answer("", "kill -9 $PPID");
  const ChildResult child = runInChild([] { return count_RunningProcess("init") == -1 ? 0 : 1; });
  EXPECT_EQ(child.exitCode(), 0);
}

}  // namespace
