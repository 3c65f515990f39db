#include <gtest/gtest.h>

#include <list>
#include <string>
#include <vector>

#include "common/text/fields.h"
#include "support/actionlog.h"

namespace {

using Texts = std::vector<std::string>;

TEST(LogList, Items_AreLoggedInOrderWithTheId) {
  const CapturedLog log;
  std::list<std::string> items = {"b", "a", "", " two words "};
  EXPECT_EQ(logList("VUQ90004L", items), 1);
  EXPECT_EQ(log.texts(),
            Texts({"VUQ90004L : b", "VUQ90004L : a", "VUQ90004L : ", "VUQ90004L :  two words "}));
  EXPECT_EQ(items, std::list<std::string>({"b", "a", "", " two words "}));
}

TEST(LogList, EmptyList_LogsNothingAndIsOne) {
  const CapturedLog log(CapturedLog::Level::kTrace);
  std::list<std::string> items;
  EXPECT_EQ(logList("VUQ90004L", items), 1);
  EXPECT_EQ(log.bytes(), "");
}

TEST(LogList, PercentSigns_AreNoFormat) {
  const CapturedLog log;
  std::list<std::string> items = {"100%s", "%n%d", "\xe6\xbc\xa2%"};
  EXPECT_EQ(logList("%s%s", items), 1);
  EXPECT_EQ(log.texts(), Texts({"%s%s : 100%s", "%s%s : %n%d", "%s%s : \xe6\xbc\xa2%"}));
}

TEST(LogList, EmptyId_LeavesTheFrameOfTheLine) {
  const CapturedLog log;
  std::list<std::string> items = {"a"};
  EXPECT_EQ(logList("", items), 1);
  EXPECT_EQ(log.texts(), Texts({" : a"}));
}

}  // namespace
