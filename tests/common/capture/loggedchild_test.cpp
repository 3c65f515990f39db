#include "common/capture/loggedchild.h"

#include <gtest/gtest.h>
#include <unistd.h>

#include <climits>
#include <cstdio>
#include <list>
#include <string>
#include <tuple>
#include <vector>

#include "common/capture/execgetlines.h"
#include "common/capture/execgetlinestimeout.h"
#include "support/actionlog.h"
#include "support/childrun.h"
#include "support/descriptors.h"
#include "support/logtexts.h"
#include "support/scratch.h"

namespace {

using Lines = std::list<std::string>;
using Texts = std::vector<std::string>;

TEST(OpenOutput, ReadEnd_BelongsToTheStreamAndTheWriteEndIsClosed) {
  Pipe pipe;
  ASSERT_TRUE(makePipe(pipe));
  const Stream output = openOutput(pipe);
  EXPECT_FALSE(pipe.readEnd.isOpen());
  EXPECT_EQ(std::fgetc(output.get()), EOF);
}

TEST(CollectLines, Lines_AreAppendedWithoutTheirLineEnds) {
  const std::string five = "1\n2\n3\n4\n5\n";
  const std::tuple<std::string, int, std::size_t, Lines> kRows[] = {
      {"", -1, 1024, {}},
      {"a\r\nb\n\r\n\nc\r", -1, 1024, {"a", "b", "", "", "c"}},
      {" a \n\t\xff\n", -1, 1024, {" a ", "\t\xff"}},
      {std::string("a\0b\nc\n\0\n", 8), -1, 1024, {"a", "c", ""}},
      // how many are kept; the rest is read
      {five, 0, 1024, {}},
      {five, 4, 1024, {"1", "2", "3", "4"}},
      {five, 5, 1024, {"1", "2", "3", "4", "5"}},
      {five, INT_MAX, 1024, {"1", "2", "3", "4", "5"}},
      {five, INT_MIN, 1024, {"1", "2", "3", "4", "5"}},
      // pieces, and a line end that does not fit any more
      {"abcdef\ng\n", 2, 4, {"abc", "def"}},
      {"abcdef\ng\n", 4, 4, {"abc", "def", "", "g"}},
  };
  const ScratchDir dir;
  for (const auto& [bytes, maxLines, pieceBytes, expected] : kRows) {
    PieceReader reader(dir.write("lines", bytes).c_str(), pieceBytes);
    Lines lines = {"left over"};
    collectLines(reader, lines, maxLines);
    EXPECT_EQ(lines.front(), "left over");
    lines.pop_front();
    EXPECT_EQ(lines, expected) << bytes << ", " << maxLines;
    EXPECT_EQ(reader.next(), nullptr) << "not read to the end";
  }
}

struct Collector {
  int (*run)(Lines& lines, const char* command);
  std::string traced;  // what is logged at trace level for "echo a"
};

const Collector kCollectors[] = {
    {[](Lines& lines, const char* command) { return execGetLines(lines, command, -1, nullptr, 0); },
     "[T](common:1345):execGetLines():count=-1,echo a"},
    {[](Lines& lines, const char* command) { return execGetLinesTimeout(lines, command, 5); },
     "[T](common:2955):execGetLinesTimeout() command:[echo a]"}};

TEST(LoggedChild, NoPipe_IsLoggedWithTheReason) {
  for (const Collector& collector : kCollectors) {
    const CapturedLog log(CapturedLog::Level::kTrace);
    const ChildResult child = runInChild([&] {
      // One descriptor is left, which the log needs.
      if (!closeOtherDescriptors() || !limitDescriptors(4)) return 77;
      Lines lines = {"left over"};
      return collector.run(lines, "echo a") == -1 && lines.empty() ? 0 : 1;
    });
    EXPECT_EQ(child.exitCode(), 0) << collector.traced;
    EXPECT_EQ(log.texts(),
              Texts({collector.traced, "VUQ90003L : failed to pipe():Too many open files"}));
  }
}

TEST(LoggedChild, NoShell_IsStatus1) {
  if (::getuid() != 0) GTEST_SKIP() << "needs root to hide the shell";
  for (const Collector& collector : kCollectors) {
    const CapturedLog log;
    const ChildResult child = runInChild([&] {
      if (!enterPrivateMounts() || !mountTmpfs("/bin")) return 77;
      Lines lines;
      return collector.run(lines, "echo a");
    });
    EXPECT_EQ(child.exitCode(), 1) << collector.traced;
    EXPECT_EQ(child.out + child.err, "");
    EXPECT_EQ(withoutPids(log.texts()),
              Texts({"VUQ90004L : com=echo a", "VUQ90004L : pid=<pid>,wstat=00000100"}));
  }
}

}  // namespace
