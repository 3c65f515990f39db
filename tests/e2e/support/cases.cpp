#include "e2e/support/cases.h"

#include <unistd.h>

void expectRun(const RunResult& result, const Expected& expected) {
  EXPECT_EQ(result.log, result.isTraced ? expected.log.trace : expected.log.info);
  EXPECT_EQ(result.exchanges, expected.exchanges);
  EXPECT_EQ(result.child.exitCode(), expected.status);
  EXPECT_EQ(result.child.out, expected.out);
  EXPECT_EQ(result.child.err, expected.err);
}

Arrange written(const std::string& path, const std::string& bytes) {
  return [=](const Machine& machine) { machine.write(path, bytes); };
}

void PrintTo(const Case& row, std::ostream* stream) { *stream << row.name; }

void CommandTest::SetUp() {
  if (::getuid() != 0) GTEST_SKIP() << "the command works for the super-user alone: run as root";
}

void CaseTest::play() const {
  if (GetParam().arrange) GetParam().arrange(machine);
  expectRun(machine.run(GetParam().call), GetParam().expected);
}

std::vector<Case> atBothLevels(const std::vector<Case>& rows) {
  std::vector<Case> all = rows;
  for (Case row : rows) {
    row.name += "Traced";
    row.call.trace = true;
    all.push_back(row);
  }
  return all;
}
