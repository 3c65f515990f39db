#include "common/text/keyvalue.h"

#include <gtest/gtest.h>

#include <map>
#include <string>
#include <tuple>

#include "support/actionlog.h"

namespace {

TEST(GetValue, Line_GivesWhatFollowsTheFirstEqualsSignTrimmedInTheBuffer) {
  const std::tuple<std::string, std::string, std::size_t> kRows[] = {
      {"k=v", "v", 2},
      {" k = v ", "v", 4},
      {"k=\t v w \r\n", "v w", 2},
      {"k= =w", "=w", 2},
      {"k=   ", "", 2},
      {"=", "", 1},
      {"k=\xe6\xbc\xa2 ", "\xe6\xbc\xa2", 2},
      {" k v ", "", 5}};  // without an equals sign an empty text at the end
  for (const auto& [line, value, start] : kRows) {
    std::string buffer = line;
    const char* found = getValue(buffer.data());
    EXPECT_EQ(found, value) << "'" << line << "'";
    EXPECT_EQ(found, buffer.data() + start) << "'" << line << "'";
    EXPECT_EQ(buffer.substr(0, start), line.substr(0, start));
  }
}

TEST(SplitKeyVal, Lines_AreTakenApartAtTheFirstEqualsSign) {
  const std::tuple<const char*, std::string, std::string> kRows[] = {
      {"k=v", "k", "v"},
      {"k=v=w", "k", "v=w"},
      {"k=", "k", ""},
      {"=v", "", "v"},
      {"", "", ""},
      {" k v ", "", ""},
      {"\t a b \v\f\r\n= v\r\n", "a b", " v\r\n"},
      {"\xe6\xbc\xa2 =\xa4\xa2", "\xe6\xbc\xa2", "\xa4\xa2"}};
  const CapturedLog log(CapturedLog::Level::kTrace);
  for (const auto& [line, expectedKey, expectedVal] : kRows) {
    std::string key = "left over";
    std::string val = "left over";
    EXPECT_EQ(splitKeyVal(line, key, val), 1) << line;
    EXPECT_EQ(key, expectedKey) << line;
    EXPECT_EQ(val, expectedVal) << line;
  }
  std::string key = "k=v";  // the line may be one of the results
  std::string val;
  EXPECT_EQ(splitKeyVal(key.c_str(), key, val), 1);
  EXPECT_EQ(key + "," + val, "k,v");
  EXPECT_EQ(log.bytes(), "");
}

TEST(Conv2Bool, Words_AreTrueOnlyAsAWhole) {
  const CapturedLog log(CapturedLog::Level::kTrace);
  for (const char* text : {"YES", "yEs", "TRUE", "true", "ON", " on ", "1", "\t1\r\n"}) {
    EXPECT_EQ(conv2Bool(text), 1) << text;
  }
  for (const char* text : {"",   " ",    "0",    "2",     "NO",      "FALSE",       "OFF", "Y",
                           "YE", "YESS", "TRU",  "TRUES", "O",       "ONE",         "11",  "01",
                           "+1", "1 1",  "Y ES", "YES;",  "\"YES\"", "\xef\xbc\x91"}) {
    EXPECT_EQ(conv2Bool(text), 0) << text;
  }
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
