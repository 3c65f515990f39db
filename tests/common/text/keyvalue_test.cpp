#include "common/text/keyvalue.h"

#include <gtest/gtest.h>

#include <map>
#include <string>

#include "support/actionlog.h"

namespace {

TEST(GetValue, Line_GivesWhatFollowsTheFirstEqualsSignTrimmedInTheBuffer) {
  const struct {
    const char* line;
    const char* value;
    std::size_t start;
  } kRows[] = {{"k=v", "v", 2},
               {" k = v ", "v", 4},
               {"k=\t v w \r\n", "v w", 2},
               {"k=v=w", "v=w", 2},
               {"k= =w", "=w", 2},
               {"k=", "", 2},
               {"k=   ", "", 2},
               {"=v", "v", 1},
               {"=", "", 1},
               {"k=\xe6\xbc\xa2 ", "\xe6\xbc\xa2", 2},
               // without an equals sign an empty text at the end
               {"", "", 0},
               {" k v ", "", 5}};
  for (const auto& row : kRows) {
    std::string line = row.line;
    char* value = getValue(line.data());
    EXPECT_STREQ(value, row.value) << "'" << row.line << "'";
    EXPECT_EQ(value, line.data() + row.start) << "'" << row.line << "'";
    EXPECT_EQ(line.substr(0, row.start), std::string(row.line).substr(0, row.start));
  }
}

TEST(SplitKeyVal, Lines_AreTakenApartAtTheFirstEqualsSign) {
  const struct {
    const char* line;
    const char* key;
    const char* val;
  } kRows[] = {{"k=v", "k", "v"},
               {" k = v ", "k", " v "},
               {"k=v=w", "k", "v=w"},
               {"k=", "k", ""},
               {"=v", "", "v"},
               {"=", "", ""},
               {"  =v", "", "v"},
               {"", "", ""},
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

TEST(Conv2Bool, Words_AreTrueOnlyAsAWhole) {
  const struct {
    const char* text;
    int result;
  } kRows[] = {{"YES", 1},   {"yes", 1},       {"yEs", 1},
               {"TRUE", 1},  {"true", 1},      {"ON", 1},
               {" on ", 1},  {"1", 1},         {" 1", 1},
               {"1 ", 1},    {"\tYES\r\n", 1}, {"", 0},
               {" ", 0},     {"0", 0},         {"NO", 0},
               {"FALSE", 0}, {"OFF", 0},       {"Y", 0},
               {"YE", 0},    {"YESS", 0},      {"T", 0},
               {"TRU", 0},   {"TRUES", 0},     {"O", 0},
               {"ONE", 0},   {"11", 0},        {"01", 0},
               {"1 1", 0},   {"Y ES", 0},      {"+1", 0},
               {"YES;", 0},  {"\"YES\"", 0},   {"\xef\xbc\x91", 0},
               {"2", 0}};
  const CapturedLog log(CapturedLog::Level::kTrace);
  for (const auto& row : kRows) EXPECT_EQ(conv2Bool(row.text), row.result) << row.text;
  EXPECT_EQ(log.bytes(), "");
}

TEST(LookupString, StoredKey_GivesAPointerIntoTheMapAndAnyOtherTheEmptyText) {
  const CapturedLog log(CapturedLog::Level::kTrace);
  const std::map<std::string, std::string> map = {{"k", "v"}, {"", "of the empty key"}, {"e", ""}};
  for (const char* key : {"k", "", "e"}) EXPECT_EQ(lookupString(map, key), map.at(key).c_str());
  for (const char* key : {"K", "k ", "kk"}) EXPECT_STREQ(lookupString(map, key), "") << key;
  EXPECT_STREQ(lookupString({}, ""), "");
  EXPECT_EQ(log.bytes(), "");
}

}  // namespace
