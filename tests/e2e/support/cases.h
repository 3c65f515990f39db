#ifndef TANEXICS_TESTS_E2E_SUPPORT_CASES_H
#define TANEXICS_TESTS_E2E_SUPPORT_CASES_H

#include <gtest/gtest.h>
#include <unistd.h>

#include <functional>
#include <ostream>
#include <string>

#include "e2e/support/expected.h"
#include "e2e/support/machine.h"

/// Compares everything.
inline void expectRun(const RunResult& result, const Expected& expected) {
  EXPECT_EQ(result.log, result.isTraced ? expected.log.trace : expected.log.info);
  EXPECT_EQ(result.exchanges, expected.exchanges);
  EXPECT_EQ(result.child.exitCode(), expected.status);
  EXPECT_EQ(result.child.out, expected.out);
  EXPECT_EQ(result.child.err, expected.err);
}

/// Skips where the test does not run as the super-user, as whom alone the command works.
class CommandTest : public testing::Test {
 protected:
  void SetUp() override {
    if (::getuid() != 0) GTEST_SKIP() << "the command works for the super-user alone: run as root";
  }
};

/// The same with a machine of its own.
class MachineTest : public CommandTest {
 protected:
  Machine machine;
};

#endif
