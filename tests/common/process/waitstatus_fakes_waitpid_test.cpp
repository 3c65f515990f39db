#include "common/process/waitstatus.h"

#include <gtest/gtest.h>
#include <sys/wait.h>
#include <unistd.h>

#include <cerrno>
#include <vector>

#include "support/actionlog.h"

// --- takes the place of the C library's call in this program -------------------------------------

/// The errors with which the next calls fail, the last one first.
static std::vector<int> refusals;

extern "C" pid_t waitpid(pid_t pid, int* status, int options) {
  if (refusals.empty()) return ::wait4(pid, status, options, nullptr);
  errno = refusals.back();
  refusals.pop_back();
  return -1;
}

namespace {

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
