#include "common/text/fields.h"

#include <gtest/gtest.h>

#include <list>
#include <string>
#include <tuple>
#include <vector>

#include "support/actionlog.h"

namespace {

using Texts = std::vector<std::string>;
using List = std::list<std::string>;

/// Splits into a list and into a vector, which must agree, and gives the fields.
Texts fieldsOf(const std::string& text, const std::string& delim, int maxFields) {
  List list = {"left over"};
  Texts vector = {"left over"};
  const int inList = split(text.c_str(), delim.c_str(), list, maxFields);
  const int inVector = split(text.c_str(), delim.c_str(), vector, maxFields);
  EXPECT_EQ(Texts(list.begin(), list.end()), vector);
  EXPECT_EQ(inList, static_cast<int>(list.size()));
  EXPECT_EQ(inVector, static_cast<int>(vector.size()));
  return vector;
}

/// Joins a vector and a list, which must agree.
std::string joined(const Texts& items, const char* sep) {
  const std::string text = join(items, sep);
  EXPECT_EQ(join(List(items.begin(), items.end()), sep), text);
  return text;
}

TEST(Split, Texts_AreCutAtEveryDelimiterAndComeBackWhenJoined) {
  const std::tuple<const char*, const char*, int, Texts> kRows[] = {
      {"/a/b", "/", 0, {"", "a", "b"}},
      {"a//b", "/", 0, {"a", "", "b"}},
      {"a/", "/", 0, {"a", ""}},
      {"", "/", 0, {""}},
      {"/", "/", 0, {"", ""}},
      {"abc", "/", 0, {"abc"}},
      {"a, b, c", ", ", 0, {"a", "b", "c"}},
      {"aaa", "aa", 0, {"", "a"}},
      {"k=v=w", "=", 2, {"k", "v=w"}},
      {"k=", "=", 2, {"k", ""}},
      {"a=b=c", "=", 3, {"a", "b", "c"}},
      {"a=b=c=", "=", 3, {"a", "b", "c="}},
      {"a==b==c==d", "==", 3, {"a", "b", "c==d"}},
      {"k=v=w", "=", 1, {"k", "v", "w"}},
      {"k=v=w", "=", -1, {"k", "v", "w"}},
      {"\xe6\xbc\xa2/\xa4", "/", 0, {"\xe6\xbc\xa2", "\xa4"}},
  };
  const CapturedLog log;
  for (const auto& [text, delim, maxFields, fields] : kRows) {
    EXPECT_EQ(fieldsOf(text, delim, maxFields), fields)
        << "'" << text << "' at '" << delim << "', " << maxFields;
    EXPECT_EQ(joined(fields, delim), text);
  }
  EXPECT_EQ(log.bytes(), "");
}

TEST(Split, FewerFieldsThanTheMaximum_AreFilledUpWithEmptyOnes) {
  EXPECT_EQ(fieldsOf("", "=", 2), Texts({"", ""}));
  EXPECT_EQ(fieldsOf("k", "=", 2), Texts({"k", ""}));
  EXPECT_EQ(fieldsOf("k", "=", 3), Texts({"k", "", ""}));
  EXPECT_EQ(fieldsOf("=", "=", 3), Texts({"", "", ""}));
  EXPECT_EQ(fieldsOf("a=b=c", "=", 5), Texts({"a", "b", "c", "", ""}));
}

#ifdef NDEBUG
TEST(Split, NoDelimiter_GivesTheWholeTextAsOneField) {
  EXPECT_EQ(fieldsOf("a//b", "", 0), Texts({"a//b"}));
  EXPECT_EQ(fieldsOf("a//b", "", 3), Texts({"a//b", "", ""}));
}
#else
TEST(SplitDeathTest, NoDelimiter_IsTheCallersMistake) {
  Texts fields;
  EXPECT_DEATH(split("a//b", "", fields, 0), "delimLength > 0");
}
#endif

TEST(Split, TextOfTheResultItself_IsSplit) {
  const Texts expected = {"a long text, longer than what needs no memory of its own", "b"};
  List list = {expected[0] + "/b"};
  EXPECT_EQ(split(list.front().c_str(), "/", list, 0), 2);
  EXPECT_EQ(Texts(list.begin(), list.end()), expected);
  Texts vector = {expected[0] + "/b"};
  EXPECT_EQ(split(vector.front().c_str(), "/", vector, 0), 2);
  EXPECT_EQ(vector, expected);
}

TEST(Join, Items_AreJoinedWithTheSeparatorBetweenThem) {
  EXPECT_EQ(joined({}, "/"), "");
  EXPECT_EQ(joined({"", "a"}, "/"), "/a");
  EXPECT_EQ(joined({"a", "", "b"}, ", "), "a, , b");
  EXPECT_EQ(joined({"a", "b"}, ""), "ab");
}

TEST(LogList, Items_AreLoggedInOrderAsTheyAre) {
  const CapturedLog log(CapturedLog::Level::kTrace);
  List items;
  EXPECT_EQ(logList("VUQ90004L", items), 1);
  items = {"b", "a", "", " two words ", "100%s%n\xe6\xbc\xa2%"};
  EXPECT_EQ(logList("VUQ90004L", items), 1);
  EXPECT_EQ(items.size(), 5u);
  items = {"a"};
  EXPECT_EQ(logList("%s%s", items), 1);
  EXPECT_EQ(logList("", items), 1);
  EXPECT_EQ(log.texts(),
            Texts({"VUQ90004L : b", "VUQ90004L : a", "VUQ90004L : ", "VUQ90004L :  two words ",
                   "VUQ90004L : 100%s%n\xe6\xbc\xa2%", "%s%s : a", " : a"}));
}

}  // namespace
