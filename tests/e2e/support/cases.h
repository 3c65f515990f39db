#ifndef TANEXICS_TESTS_E2E_SUPPORT_CASES_H
#define TANEXICS_TESTS_E2E_SUPPORT_CASES_H

#include <gtest/gtest.h>

#include <functional>
#include <ostream>
#include <string>

#include "e2e/support/exchanges.h"
#include "e2e/support/expectedlog.h"
#include "e2e/support/machine.h"

/// All that a run may leave.
struct Expected {
  std::string log;
  std::string exchanges = "";
  int status = 0;
  std::string out = "";
  std::string err = "";
};

/// Compares everything.
void expectRun(const RunResult& result, const Expected& expected);

/// One row of a table of runs.
struct Case {
  std::string name;
  Call call;
  Expected expected;

  /// What is different on the machine, before the run.
  std::function<void(const Machine&)> arrange = nullptr;
};

void PrintTo(const Case& row, std::ostream* stream);

std::string nameOf(const testing::TestParamInfo<Case>& info);

/// Skips where the test does not run as the super-user, as whom alone the command works.
class CommandTest : public testing::Test {
 protected:
  void SetUp() override;
};

/// A test over a table.
class CaseTest : public CommandTest, public testing::WithParamInterface<Case> {
 protected:
  /// Arranges, runs and compares the row.
  void play() const;
};

/// A suite that plays the rows of a table (a function that returns them).
#define TANEXICS_PLAY(suite, table) \
  class suite : public CaseTest {}; \
  TEST_P(suite, Run) { play(); }    \
  INSTANTIATE_TEST_SUITE_P(Case, suite, testing::ValuesIn(table()), nameOf)

/// The same run at trace level, under the name with "Traced" after it and with `log` expected.
Case traced(Case row, const std::string& log);

#endif
