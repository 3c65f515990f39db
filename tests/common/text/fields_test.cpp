#include "common/text/fields.h"

#include <gtest/gtest.h>

#include <list>
#include <string>
#include <vector>

#include "support/actionlog.h"

namespace {

using Texts = std::vector<std::string>;

/// Splits into a list and into a vector, which must agree, and gives the fields.
Texts fieldsOf(const char* text, const char* delim, int maxFields) {
  std::list<std::string> list = {"left over"};
  Texts vector = {"left over"};
  const int inList = split(text, delim, list, maxFields);
  const int inVector = split(text, delim, vector, maxFields);
  EXPECT_EQ(Texts(list.begin(), list.end()), vector);
  EXPECT_EQ(inList, static_cast<int>(list.size()));
  EXPECT_EQ(inVector, static_cast<int>(vector.size()));
  return vector;
}

TEST(Split, TwoDelimitersInARow_GiveAnEmptyField) {
  EXPECT_EQ(fieldsOf("a//b", "/", 0), Texts({"a", "", "b"}));
}

TEST(Split, FewerFieldsThanTheMaximum_AreFilledUpWithEmptyOnes) {
  EXPECT_EQ(fieldsOf("a", "=", 3), Texts({"a", "", ""}));
}

TEST(Split, Texts_AreCutAtEveryDelimiter) {
  const struct {
    const char* text;
    const char* delim;
    int maxFields;
    Texts fields;
  } kRows[] = {
      {"/a/b", "/", 0, {"", "a", "b"}},
      {"a/", "/", 0, {"a", ""}},
      {"", "/", 0, {""}},
      {"/", "/", 0, {"", ""}},
      {"abc", "/", 0, {"abc"}},
      {"a, b, c", ", ", 0, {"a", "b", "c"}},
      {"aaa", "aa", 0, {"", "a"}},
      {"k=v=w", "=", 2, {"k", "v=w"}},
      {"k", "=", 2, {"k", ""}},
      {"k=", "=", 2, {"k", ""}},
      {"", "=", 2, {"", ""}},
      {"=", "=", 3, {"", "", ""}},
      {"a=b=c", "=", 3, {"a", "b", "c"}},
      {"a=b=c=", "=", 3, {"a", "b", "c="}},
      {"a=b=c", "=", 4, {"a", "b", "c", ""}},
      {"k=v=w", "=", 1, {"k", "v", "w"}},
      {"k=v=w", "=", 0, {"k", "v", "w"}},
      {"k=v=w", "=", -1, {"k", "v", "w"}},
      {" a / b ", "/", 0, {" a ", " b "}},
      {"\xe6\xbc\xa2/\xa4", "/", 0, {"\xe6\xbc\xa2", "\xa4"}},
  };
  const CapturedLog log;
  for (const auto& row : kRows) {
    EXPECT_EQ(fieldsOf(row.text, row.delim, row.maxFields), row.fields)
        << "'" << row.text << "' at '" << row.delim << "', " << row.maxFields;
  }
  EXPECT_EQ(log.bytes(), "");
}

#ifdef NDEBUG
TEST(Split, NoDelimiter_GivesTheWholeTextAsOneField) {
  EXPECT_EQ(fieldsOf("a//b", "", 0), Texts({"a//b"}));
  EXPECT_EQ(fieldsOf("a//b", "", 3), Texts({"a//b", "", ""}));
}
#else
TEST(SplitDeathTest, NoDelimiter_IsTheCallersMistake) {
  std::vector<std::string> fields;
  EXPECT_DEATH(split("a//b", "", fields, 0), "delimLength > 0");
}
#endif

TEST(Split, NullDelimiter_GivesNoFieldWithoutALine) {
  CapturedLog log(CapturedLog::Level::kTrace);
  std::list<std::string> list = {"left over"};
  EXPECT_EQ(split("a", nullptr, list, 3), 0);
  EXPECT_TRUE(list.empty());
  Texts vector = {"left over"};
  EXPECT_EQ(split("a", nullptr, vector, 3), 0);
  EXPECT_TRUE(vector.empty());
  EXPECT_EQ(log.bytes(), "");
}

TEST(Split, TextOfTheResultItself_IsSplit) {
  std::list<std::string> list = {"a long text, longer than what needs no memory of its own/b"};
  EXPECT_EQ(split(list.front().c_str(), "/", list, 0), 2);
  EXPECT_EQ(list.back(), "b");
  Texts vector = {"a long text, longer than what needs no memory of its own/b"};
  EXPECT_EQ(split(vector.front().c_str(), "/", vector, 0), 2);
  EXPECT_EQ(vector.front(), "a long text, longer than what needs no memory of its own");
}

TEST(Split, NullText_IsLoggedAndGivesNoField) {
  CapturedLog log;
  std::list<std::string> list = {"left over"};
  EXPECT_EQ(split(nullptr, "/", list, 3), 0);
  EXPECT_TRUE(list.empty());
  EXPECT_EQ(log.take(), Texts({"[I](common:2748):invalid param"}));
  Texts vector = {"left over"};
  EXPECT_EQ(split(nullptr, "/", vector, 3), 0);
  EXPECT_TRUE(vector.empty());
  EXPECT_EQ(log.take(), Texts({"[I](common:2812):invalid param"}));
}

TEST(Join, Items_AreJoinedWithTheSeparatorBetweenThem) {
  const struct {
    Texts items;
    const char* sep;
    const char* text;
  } kRows[] = {
      {{}, "/", ""},
      {{""}, "/", ""},
      {{"a"}, "/", "a"},
      {{"a", "b"}, "/", "a/b"},
      {{"", "a"}, "/", "/a"},
      {{"", ""}, "/", "/"},
      {{"a", "", "b"}, ", ", "a, , b"},
      {{"a", "b"}, "", "ab"},
  };
  const CapturedLog log;
  for (const auto& row : kRows) {
    EXPECT_EQ(join(row.items, row.sep), row.text) << testing::PrintToString(row.items);
    EXPECT_EQ(join(std::list<std::string>(row.items.begin(), row.items.end()), row.sep), row.text)
        << testing::PrintToString(row.items);
  }
  EXPECT_EQ(log.bytes(), "");
}

TEST(Join, NullSeparator_IsLoggedAndEmpty) {
  CapturedLog log;
  EXPECT_EQ(join(std::list<std::string>({"a", "b"}), nullptr), "");
  EXPECT_EQ(log.take(), Texts({"[I](common:2469):invalid param"}));
  EXPECT_EQ(join(Texts({"a", "b"}), nullptr), "");
  EXPECT_EQ(log.take(), Texts({"[I](common:2493):invalid param"}));
}

TEST(Join, SplitText_ComesBackUnchanged) {
  for (const char* text : {"", "/", "a", "/a/b/", "//", "a//b"}) {
    EXPECT_EQ(join(fieldsOf(text, "/", 0), "/"), text);
  }
}

}  // namespace
