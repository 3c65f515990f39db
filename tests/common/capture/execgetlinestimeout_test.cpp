#include "common/capture/execgetlinestimeout.h"

#include <gtest/gtest.h>

#include <filesystem>
#include <fstream>
#include <list>
#include <string>
#include <vector>

#include "support/actionlog.h"
#include "support/childrun.h"
#include "support/descriptors.h"

namespace {

namespace fs = std::filesystem;
using Texts = std::vector<std::string>;
using Lines = std::list<std::string>;

TEST(ExecGetLinesTimeout, NullCommand_IsLoggedAndMinusOne) {
  const CapturedLog log(CapturedLog::Level::kTrace);
  Lines lines = {"left over"};
  EXPECT_EQ(execGetLinesTimeout(lines, nullptr, 5), -1);
  EXPECT_EQ(lines, Lines({"left over"}));
  EXPECT_EQ(log.texts(), Texts({"[I](common:2951):invalid param"}));
}

TEST(ExecGetLinesTimeout, NoPipe_IsLoggedWithTheReason) {
  const CapturedLog log(CapturedLog::Level::kTrace);
  const ChildResult child = runInChild([] {
    // One descriptor is left, which the log needs.
    if (!closeOtherDescriptors() || !limitDescriptors(4)) return 77;
    Lines lines = {"left over"};
    return execGetLinesTimeout(lines, "echo a", 5) == -1 && lines.empty() ? 0 : 1;
  });
  EXPECT_EQ(child.exitCode(), 0);
  EXPECT_EQ(log.texts(), Texts({"[T](common:2955):execGetLinesTimeout() command:[echo a]",
                                "VUQ90003L : failed to pipe():Too many open files"}));
}

TEST(ExecGetLinesTimeout, NoChild_IsLoggedWithReasonFirstAndCommandSecond) {
  if (!canBecomeNobody()) GTEST_SKIP() << "needs root to become another user";
  const CapturedLog log;
  // A log that another user may go on with.
  fs::permissions(log.path(), fs::perms::all);
  fs::permissions(fs::path(log.path()).parent_path(), fs::perms::all);
  const ChildResult child = runInChild([] {
    if (!becomeNobody() || !forbidFork()) return 77;
    const int before = upcomingDescriptor(2);
    Lines lines = {"left over"};
    if (execGetLinesTimeout(lines, "echo a", 5) != -1 || !lines.empty()) return 1;
    return upcomingDescriptor(2) == before ? 0 : 2;  // both ends of the pipe are closed
  });
  EXPECT_EQ(child.exitCode(), 0);
  EXPECT_EQ(log.texts(),
            Texts({"VUQ90004L : com=echo a",
                   "VUQ90005L : failed to exec(Resource temporarily unavailable):echo a"}));
}

}  // namespace
