#include "common/process/execgetline.h"

#include <gtest/gtest.h>
#include <unistd.h>

#include <cstdio>
#include <string>
#include <utility>
#include <vector>

#include "support/actionlog.h"
#include "support/childrun.h"
#include "support/descriptors.h"
#include "support/logtexts.h"
#include "support/scratch.h"

namespace {

using Texts = std::vector<std::string>;

/// The first line of a command's output, in a buffer that is checked for overruns.
std::string firstLineOf(const std::string& command) {
  std::vector<char> line(1024 + 1, '#');
  EXPECT_EQ(execGetLine(command.c_str(), line.data()), 0) << command;
  EXPECT_EQ(line.back(), '#');
  return line.data();
}

TEST(ExecGetLine, FirstLine_IsCopiedWithoutItsLineEnd) {
  const std::string full(1023, 'x');
  const std::pair<std::string, std::string> kRows[] = {
      {"one\ntwo\n", "one"},
      {"one\r\ntwo", "one"},
      {"one", "one"},
      {"\ntwo\n", ""},
      {"", ""},
      {std::string("a\0b\n", 4), "a"},
      {full.substr(1) + "\nsecond\n", full.substr(1)},
      {full + "\nsecond\n", full},
      {full + "x\nsecond\n", full}};
  const ScratchDir dir;
  for (const auto& [output, line] : kRows) {
    EXPECT_EQ(firstLineOf("cat " + dir.write("output", output)), line) << output;
  }
}

TEST(ExecGetLine, MoreOutputThanAPipeHolds_IsReadToItsEnd) {
  const ScratchDir dir;
  const std::string done = dir / "done";
  EXPECT_EQ(firstLineOf("seq 1 100000 && : > " + done), "1");
  EXPECT_EQ(::access(done.c_str(), F_OK), 0);
}

TEST(ExecGetLine, CommandInTheBufferItself_IsRunAndLogged) {
  const CapturedLog log;
  char line[1024] = "echo $$; exit 255";
  EXPECT_EQ(execGetLine(line, line), 255);
  EXPECT_EQ(log.texts(), Texts({"VUQ90004L : pid=" + std::string(line) + ",wstat=0000ff00",
                                "VUQ90004L : com=echo $$; exit 255"}));
}

TEST(ExecGetLine, RunAtTraceLevel_EndsWithThePartsOfTheStatus) {
  const CapturedLog log(CapturedLog::Level::kTrace);
  EXPECT_EQ(execGetLine("exit 3", nullptr), 3);
  EXPECT_EQ(
      withoutPids(log.texts()),
      inOrder({{"VUQ90004L : pid=<pid>,wstat=00000300", "VUQ90004L : com=exit 3"}, tracedExit(3)}));
}

TEST(ExecGetLine, NoChild_IsMinusOneAndNotLogged) {
  if (!canBecomeNobody()) GTEST_SKIP() << "needs root to become another user";
  const CapturedLog log(CapturedLog::Level::kTrace);
  const ChildResult child = runInChild([] {
    if (!becomeNobody() || !forbidFork()) return 77;
    char line[1024] = "left over";
    const int result = execGetLine("echo a", line);
    std::printf("%d %s\n", result, line);
    return 0;
  });
  EXPECT_EQ(child.out, "-1 left over\n");
  EXPECT_EQ(child.err, "");
  EXPECT_EQ(log.bytes(), "");
}

}  // namespace
