#include "common/base/assertion.h"

#include <gtest/gtest.h>
#include <sys/resource.h>
#include <unistd.h>

#include <csignal>
#include <cstdio>
#include <string>

#include "support/actionlog.h"
#include "support/childrun.h"

namespace {

TEST(AssertionFailed, Condition_IsPrintedAndTheProcessAborted) {
  const CapturedLog log(CapturedLog::Level::kTrace);
  const ChildResult child = runInChild([]() -> int {
    const rlimit none = {0, 0};
    ::setrlimit(RLIMIT_CORE, &none);
    std::printf("%d", static_cast<int>(::getpid()));
    std::fflush(stdout);
    assertionFailed(1491, "file != __null");
  });
  EXPECT_EQ(child.signal(), SIGABRT);
  EXPECT_EQ(child.err,
            "*** assertion failed,P=" + child.out + "\n*** common.cpp:1491(file != __null)\n");
  EXPECT_EQ(log.bytes(), "");
}

}  // namespace
