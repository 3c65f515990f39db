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
  int status = 0;
  return ::waitpid(pid, &status, 0) == pid && status == 0x0300;
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

TEST(CallerSignals, OtherSignalsAndTheMask_AreLeftAlone) {
  const ChildResult child = runInChild([] {
    sigset_t blocked;
    ::sigemptyset(&blocked);
    for (const int signal : kSettled) ::sigaddset(&blocked, signal);
    ::sigprocmask(SIG_SETMASK, &blocked, nullptr);
    ::signal(SIGTERM, SIG_IGN);
    settleSignals();
    sigset_t now;
    ::sigprocmask(SIG_SETMASK, nullptr, &now);
    for (int signal = 1; signal < SIGRTMIN; ++signal) {
      if (::sigismember(&now, signal) != ::sigismember(&blocked, signal)) return 1;
    }
    return ::signal(SIGTERM, SIG_DFL) == SIG_IGN ? 0 : 2;
  });
  EXPECT_EQ(child.exitCode(), 0);
}

}  // namespace
