#ifndef TANEXICS_TESTS_E2E_SUPPORT_CASES_H
#define TANEXICS_TESTS_E2E_SUPPORT_CASES_H

#include <gtest/gtest.h>

#include <functional>
#include <ostream>
#include <string>

#include "e2e/support/expected.h"
#include "e2e/support/machine.h"

/// Compares everything.
void expectRun(const RunResult& result, const Expected& expected);

/// What is different on the machine, before a run.
using Arrange = std::function<void(const Machine&)>;

/// A file is written.
Arrange written(const std::string& path, const std::string& bytes);

/// One row of a table of runs.
struct Case {
  std::string name;
  Call call;
  Expected expected;
  Arrange arrange = nullptr;
};

void PrintTo(const Case& row, std::ostream* stream);

/// Skips where the test does not run as the super-user, as whom alone the command works.
class CommandTest : public testing::Test {
 protected:
  void SetUp() override;
};

/// The same with a machine of its own.
class MachineTest : public CommandTest {
 protected:
  Machine machine;
};

/// A test over a table.
class CaseTest : public MachineTest, public testing::WithParamInterface<Case> {
 protected:
  /// Arranges, runs and compares the row.
  void play() const;
};

/// The rows, and then each once more at trace level, under its name with "Traced" after it.
std::vector<Case> atBothLevels(const std::vector<Case>& rows);

/// A suite that plays these rows.
#define TANEXICS_PLAY(suite, rows)  \
  class suite : public CaseTest {}; \
  TEST_P(suite, Run) { play(); }    \
  INSTANTIATE_TEST_SUITE_P(Case, suite, testing::ValuesIn(rows), testing::PrintToStringParamName())

#endif
