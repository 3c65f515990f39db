#include "common/process/execgetline.h"

#include <gtest/gtest.h>
#include <unistd.h>

#include <string>
#include <utility>
#include <vector>

#include "support/actionlog.h"
#include "support/logtexts.h"
#include "support/scratch.h"

namespace {

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

TEST(ExecGetLine, CommandInTheBufferItself_IsRunAndLoggedAfterItsEnd) {
  const CapturedLog log(CapturedLog::Level::kTrace);
  char line[1024] = "echo $$; exit 255";
  EXPECT_EQ(execGetLine(line, line), 255);
  EXPECT_EQ(log.texts(), inOrder({{"VUQ90004L : pid=" + std::string(line) + ",wstat=0000ff00",
                                   "VUQ90004L : com=echo $$; exit 255"},
                                  tracedExit(255)}));
  EXPECT_EQ(execGetLine("exit 3", nullptr), 3);
}

}  // namespace
