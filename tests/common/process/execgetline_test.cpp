#include "common/process/execgetline.h"

#include <gtest/gtest.h>
#include <unistd.h>

#include <cstdio>
#include <cstring>
#include <string>
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
  EXPECT_EQ(firstLineOf("echo one; echo two"), "one");
  EXPECT_EQ(firstLineOf("printf 'one\\r\\ntwo'"), "one");
  EXPECT_EQ(firstLineOf("printf 'one'"), "one");
  EXPECT_EQ(firstLineOf("echo; echo two"), "");
}

TEST(ExecGetLine, NoOutput_EmptiesTheBuffer) { EXPECT_EQ(firstLineOf("true"), ""); }

TEST(ExecGetLine, LongFirstLine_IsCutTo1023Bytes) {
  const ScratchDir dir;
  for (const std::size_t length : {1022u, 1023u, 1024u, 1500u}) {
    const std::string path = dir.write("output", std::string(length, 'x') + "\nsecond\n");
    EXPECT_EQ(firstLineOf("cat " + path), std::string(length < 1023 ? length : 1023, 'x'))
        << length;
  }
}

TEST(ExecGetLine, ExitStatus3_Is3) {
  char line[1024];
  EXPECT_EQ(execGetLine("echo one; exit 3", line), 3);
  EXPECT_STREQ(line, "one");
}

TEST(ExecGetLine, CommandKilledByASignal_IsMinusOne) {
  EXPECT_EQ(execGetLine("kill -9 $$", nullptr), -1);
}

TEST(ExecGetLine, NullCommand_IsMinusOneAndChangesNothing) {
  const CapturedLog log(CapturedLog::Level::kTrace);
  char line[1024] = "left over";
  EXPECT_EQ(execGetLine(nullptr, line), -1);
  EXPECT_STREQ(line, "left over");
  EXPECT_EQ(log.bytes(), "");
}

TEST(ExecGetLine, NullBuffer_OnlyTheStatusIsWanted) {
  EXPECT_EQ(execGetLine("echo one; exit 3", nullptr), 3);
}

TEST(ExecGetLine, MoreOutputThanAPipeHolds_IsReadToItsEnd) {
  const ScratchDir dir;
  const std::string done = dir / "done";
  EXPECT_EQ(firstLineOf("seq 1 100000 && : > " + done), "1");
  EXPECT_EQ(::access(done.c_str(), F_OK), 0);
}

TEST(ExecGetLine, ErrorOutput_IsTheCallers) {
  const ChildResult child = runInChild([] { return execGetLine("echo error >&2", nullptr); });
  EXPECT_EQ(child.exitCode(), 0);
  EXPECT_EQ(child.out, "");
  EXPECT_EQ(child.err, "error\n");
}

TEST(ExecGetLine, Run_IsLoggedWithStatusFirstAndCommandSecond) {
  const CapturedLog log;
  char line[1024];
  EXPECT_EQ(execGetLine("echo $$; exit 255", line), 255);
  EXPECT_EQ(log.texts(), Texts({"VUQ90004L : pid=" + std::string(line) + ",wstat=0000ff00",
                                "VUQ90004L : com=echo $$; exit 255"}));
}

TEST(ExecGetLine, CommandInTheBufferItself_IsRunAndLogged) {
  const CapturedLog log;
  char line[1024] = "echo one";
  EXPECT_EQ(execGetLine(line, line), 0);
  EXPECT_STREQ(line, "one");
  EXPECT_EQ(withoutPids(log.texts()),
            Texts({"VUQ90004L : pid=<pid>,wstat=00000000", "VUQ90004L : com=echo one"}));
}

TEST(ExecGetLine, RunAtTraceLevel_EndsWithThePartsOfTheStatus) {
  const CapturedLog log(CapturedLog::Level::kTrace);
  char line[1024];
  EXPECT_EQ(execGetLine("echo $$; kill -9 $$", line), -1);
  EXPECT_EQ(log.texts(), Texts({"VUQ90004L : pid=" + std::string(line) + ",wstat=00000009",
                                "VUQ90004L : com=echo $$; kill -9 $$",
                                "[T](common:535):   WIFEXITED:0 WEXITSTATUS:0",
                                "[T](common:536): WIFSIGNALED:1    WTERMSIG:9",
                                "[T](common:537):  WIFSTOPPED:0    WSTOPSIG:0",
                                "[T](common:538):WIFCONTINUED:0   WCOREDUMP:0"}));
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
