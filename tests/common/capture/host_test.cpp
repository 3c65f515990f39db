#include "common/capture/host.h"

#include <fcntl.h>
#include <gtest/gtest.h>
#include <sys/utsname.h>
#include <sys/wait.h>
#include <unistd.h>

#include <csignal>
#include <string>
#include <tuple>
#include <utility>
#include <vector>

#include "support/actionlog.h"
#include "support/fakeprogram.h"
#include "support/logtexts.h"

namespace {

using Texts = std::vector<std::string>;

/// The whole log at trace level of a run of `command` of which so many lines were wanted.
Texts tracedRun(const std::string& command, const std::string& maxLines) {
  return inOrder({{"[T](common:1345):execGetLines():count=" + maxLines + "," + command,
                   "VUQ90004L : com=" + command, "VUQ90004L : pid=<pid>,wstat=00000000"},
                  tracedExit(0)});
}

TEST(GetHostname, ThisMachine_HasItsNodeName) {
  utsname names = {};
  ASSERT_EQ(::uname(&names), 0);
  EXPECT_EQ(getHostname(), names.nodename);
}

TEST(HostNames, FirstLineOfOutput_IsTheNameWhateverTheStatus) {
  const FakeProgram uname("uname");
  const FakeProgram domainname("domainname");
  const std::pair<std::string, std::string> kRows[] = {
      {"centre.example\n", "centre.example"},
      {"(none)\n", "(none)"},
      {"a\r\nb\n", "a"},
      {" a b ", " a b "},
      {"\nb\n", ""},
      {"", ""},
      {std::string(1500, 'n') + "\n", std::string(1023, 'n')}};
  for (const auto& [output, name] : kRows) {
    uname.answer(output, "echo error >&2; exit 3");
    domainname.answer(output, "echo error >&2; exit 3");
    EXPECT_EQ(getHostname(), name) << output;
    EXPECT_EQ(getDomainname(), name) << output;
  }
}

TEST(HostNames, Run_IsLoggedAsACapturedCommandOfOneLine) {
  CapturedLog log(CapturedLog::Level::kTrace);
  getHostname();
  EXPECT_EQ(withoutPids(log.take()), tracedRun("uname -n 2>/dev/null", "1"));
  const FakeProgram domainname("domainname");  // which may not be installed
  getDomainname();
  EXPECT_EQ(withoutPids(log.take()), tracedRun("domainname 2>/dev/null", "1"));
}

TEST(CountRunningProcess, RunningProcess_IsCountedByTheBeginningOfItsCommandLine) {
  const std::string name = "tanexics-sleeper-" + std::to_string(::getpid());
  EXPECT_EQ(count_RunningProcess(name), 0);
  int ends[2];
  ASSERT_EQ(::pipe2(ends, O_CLOEXEC), 0);
  const pid_t pid = ::fork();
  if (pid == 0) {
    ::execl("/bin/sleep", name.c_str(), "1000", nullptr);
    ::_exit(127);
  }
  ::close(ends[1]);
  char byte = 0;
  EXPECT_EQ(::read(ends[0], &byte, 1), 0);  // ends when the name has become the process's own
  ::close(ends[0]);
  EXPECT_EQ(count_RunningProcess(name), 1);
  EXPECT_EQ(count_RunningProcess(name + " 1000$"), 1);  // the arguments are part of the line
  EXPECT_EQ(count_RunningProcess(name.substr(1)), 0);
  ::kill(pid, SIGKILL);
  EXPECT_EQ(::waitpid(pid, nullptr, 0), pid);
}

TEST(CountRunningProcess, Run_IsLoggedAsACapturedCommandWithoutLimit) {
  const FakeProgram ps("ps");
  ps.answer("init\nan init\ninit 2\n", "exit 127");  // what was printed counts nevertheless
  const CapturedLog log(CapturedLog::Level::kTrace);
  EXPECT_EQ(count_RunningProcess("init"), 2);
  EXPECT_EQ(ps.takeArguments(), Texts({"2", "-eo", "command"}));
  EXPECT_EQ(withoutPids(log.texts()), tracedRun("ps -eo command | grep '^init'", "-1"));
}

TEST(CountRunningProcess, Failures_AreThoseOfGrepAndOfTheShell) {
  const FakeProgram ps("ps");
  ps.answer("it\n", "exit 127");
  const std::tuple<std::string, int, std::string> kRows[] = {
      {"init", 0, "00000100"},  // no match is none
      {"\\(", -1, "00000200"},
      {"it's", -1, "00000200"},  // the quote reaches the shell as it is
      {"it' | grep -c '", 1, "00000000"}};
  for (const auto& [text, count, status] : kRows) {
    const CapturedLog log;
    EXPECT_EQ(count_RunningProcess(text), count) << text;
    const std::string command = "ps -eo command | grep '^" + text + "'";
    Texts expected = {"VUQ90004L : com=" + command, "VUQ90004L : pid=<pid>,wstat=" + status};
    if (count < 0) {
      expected.push_back("count_RunningProcess failed to exec command( " + command + " )");
    }
    EXPECT_EQ(withoutPids(log.texts()), expected);
  }
}

}  // namespace
