#include "common/text/keyvalue.h"

#include <gtest/gtest.h>

#include <map>
#include <string>
#include <vector>

#include "support/actionlog.h"

namespace {

using Texts = std::vector<std::string>;

// --- getValue ------------------------------------------------------------------------------------

TEST(GetValue, Line_GivesWhatFollowsTheFirstEqualsSignTrimmed) {
  const struct {
    const char* line;
    const char* value;
  } kRows[] = {{"k=v", "v"},
               {"k= v ", "v"},
               {"k=\t v w \r\n", "v w"},
               {"k=v=w", "v=w"},
               {"k= =w", "=w"},
               {"k=", ""},
               {"k=   ", ""},
               {"=v", "v"},
               {"=", ""},
               {"k=\xe6\xbc\xa2 ", "\xe6\xbc\xa2"}};
  for (const auto& row : kRows) {
    std::string line = row.line;
    const std::size_t behind = line.find('=') + 1;
    char* value = getValue(line.data());
    EXPECT_STREQ(value, row.value) << "'" << row.line << "'";
    EXPECT_EQ(value, line.data() + behind) << "'" << row.line << "'";
  }
}

TEST(GetValue, KeyAndEqualsSign_StayInTheBuffer) {
  char line[] = " k = v ";
  getValue(line);
  EXPECT_STREQ(line, " k =v");
}

TEST(GetValue, NoEqualsSign_GivesAnEmptyTextAndChangesNothing) {
  for (const char* text : {"", "k", " k v "}) {
    std::string line = text;
    EXPECT_EQ(getValue(line.data()), line.data() + line.size()) << text;
    EXPECT_EQ(line, text);
  }
}

TEST(GetValue, Null_GivesAnEmptyTextWithoutALine) {
  const CapturedLog log(CapturedLog::Level::kTrace);
  EXPECT_STREQ(getValue(nullptr), "");
  EXPECT_EQ(log.bytes(), "");
}

// --- splitKeyVal ---------------------------------------------------------------------------------

TEST(SplitKeyVal, BlanksAroundKeyAndValue_AreTakenFromTheKeyOnly) {
  std::string key;
  std::string val;
  EXPECT_EQ(splitKeyVal(" k = v ", key, val), 1);
  EXPECT_EQ(key, "k");
  EXPECT_EQ(val, " v ");
}

TEST(SplitKeyVal, Lines_AreTakenApartAtTheFirstEqualsSign) {
  const struct {
    const char* line;
    const char* key;
    const char* val;
  } kRows[] = {{"k=v", "k", "v"},
               {"k=v=w", "k", "v=w"},
               {"k=", "k", ""},
               {"=v", "", "v"},
               {"=", "", ""},
               {"  =v", "", "v"},
               {"", "", ""},
               {"k", "", ""},
               {" k v ", "", ""},
               {"\t a b \v\f\r\n=v\r\n", "a b", "v\r\n"},
               {"\xe6\xbc\xa2 =\xa4\xa2", "\xe6\xbc\xa2", "\xa4\xa2"}};
  const CapturedLog log(CapturedLog::Level::kTrace);
  for (const auto& row : kRows) {
    std::string key = "left over";
    std::string val = "left over";
    EXPECT_EQ(splitKeyVal(row.line, key, val), 1) << row.line;
    EXPECT_EQ(key, row.key) << row.line;
    EXPECT_EQ(val, row.val) << row.line;
  }
  EXPECT_EQ(log.bytes(), "");
}

TEST(SplitKeyVal, LineThatIsOneOfTheResults_IsTakenApartAllTheSame) {
  std::string key = "k=v";
  std::string val;
  EXPECT_EQ(splitKeyVal(key.c_str(), key, val), 1);
  EXPECT_EQ(key, "k");
  EXPECT_EQ(val, "v");
}

TEST(SplitKeyVal, Null_IsLoggedAndEmptiesBoth) {
  const CapturedLog log;
  std::string key = "left over";
  std::string val = "left over";
  EXPECT_EQ(splitKeyVal(nullptr, key, val), 0);
  EXPECT_EQ(key, "");
  EXPECT_EQ(val, "");
  EXPECT_EQ(log.texts(), Texts({"[I](common:557):invalid param"}));
}

// --- conv2Bool -----------------------------------------------------------------------------------

TEST(Conv2Bool, OnBetweenBlanks_IsTrue) { EXPECT_EQ(conv2Bool(" on "), 1); }

TEST(Conv2Bool, Two_IsFalse) { EXPECT_EQ(conv2Bool("2"), 0); }

TEST(Conv2Bool, Words_AreTrueOnlyAsAWhole) {
  const struct {
    const char* text;
    int result;
  } kRows[] = {{"YES", 1},       {"yes", 1},     {"yEs", 1},         {"TRUE", 1}, {"true", 1},
               {"ON", 1},        {"on", 1},      {"1", 1},           {" 1", 1},   {"1 ", 1},
               {"\tYES\r\n", 1}, {"", 0},        {" ", 0},           {"0", 0},    {"NO", 0},
               {"FALSE", 0},     {"OFF", 0},     {"Y", 0},           {"YE", 0},   {"YESS", 0},
               {"T", 0},         {"TRU", 0},     {"TRUES", 0},       {"O", 0},    {"ONE", 0},
               {"11", 0},        {"01", 0},      {"1 1", 0},         {"Y ES", 0}, {"+1", 0},
               {"YES;", 0},      {"\"YES\"", 0}, {"\xef\xbc\x91", 0}};
  const CapturedLog log(CapturedLog::Level::kTrace);
  for (const auto& row : kRows) EXPECT_EQ(conv2Bool(row.text), row.result) << row.text;
  EXPECT_EQ(log.bytes(), "");
}

TEST(Conv2Bool, Null_IsLoggedAndFalse) {
  const CapturedLog log;
  EXPECT_EQ(conv2Bool(nullptr), 0);
  EXPECT_EQ(log.texts(), Texts({"[I](common:1060):invalid param"}));
}

// --- lookupString --------------------------------------------------------------------------------

TEST(LookupString, StoredKey_GivesAPointerIntoTheMap) {
  const std::map<std::string, std::string> map = {{"k", "v"}, {"", "of the empty key"}, {"e", ""}};
  EXPECT_EQ(lookupString(map, "k"), map.at("k").c_str());
  EXPECT_EQ(lookupString(map, ""), map.at("").c_str());
  EXPECT_EQ(lookupString(map, "e"), map.at("e").c_str());
  EXPECT_STREQ(lookupString(map, "k"), "v");
}

TEST(LookupString, AbsentKey_GivesTheEmptyTextWithoutALine) {
  const CapturedLog log(CapturedLog::Level::kTrace);
  const std::map<std::string, std::string> map = {{"k", "v"}};
  for (const char* key : {"", "K", "k ", "kk"}) EXPECT_STREQ(lookupString(map, key), "") << key;
  EXPECT_STREQ(lookupString({}, "k"), "");
  EXPECT_EQ(log.bytes(), "");
}

TEST(LookupString, NullKey_IsLoggedAndGivesTheEmptyText) {
  const CapturedLog log;
  EXPECT_STREQ(lookupString({{"", "of the empty key"}}, nullptr), "");
  EXPECT_EQ(log.texts(), Texts({"[I](common:961):invalid param"}));
}

}  // namespace
