#include "common/base/callersignals.h"

#include <gtest/gtest.h>
#include <sys/wait.h>
#include <unistd.h>

#include <csignal>
#include <string>
#include <vector>

#include "support/childrun.h"

namespace {

const std::vector<int> kSettled = {SIGCHLD, SIGPIPE, SIGXFSZ};

/// How the three signals stand, "d" for the default and "i" for ignored, in their order above.
std::string standing() {
  std::string letters;
  for (const int signal : kSettled) {
    struct sigaction action = {};
    ::sigaction(signal, nullptr, &action);
    letters += action.sa_handler == SIG_DFL ? 'd' : action.sa_handler == SIG_IGN ? 'i' : '?';
  }
  return letters;
}

void hand(const std::string& letters) {
  for (std::size_t at = 0; at < kSettled.size(); ++at) {
    ::signal(kSettled[at], letters[at] == 'i' ? SIG_IGN : SIG_DFL);
  }
}

bool canWaitForAChild() {
  const pid_t pid = ::fork();
  if (pid == 0) ::_exit(3);
  return ::waitpid(pid, nullptr, 0) == pid;
}

TEST(CallerSignals, HandedDownInAnyWay_AreSettledAndThenRestored) {
  for (const std::string letters : {"ddd", "ddi", "did", "dii", "idd", "idi", "iid", "iii"}) {
    const ChildResult child = runInChild([&] {
      hand(letters);
      restoreCallerSignals();  // which were not settled, and stay as they are
      if (standing() != letters) return 1;
      settleSignals();
      if (standing() != "dii") return 2;
      if (!canWaitForAChild()) return 3;
      restoreCallerSignals();
      return standing() == letters ? 0 : 4;
    });
    EXPECT_EQ(child.exitCode(), 0) << letters;
  }
}

}  // namespace
