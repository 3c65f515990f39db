#include "common/text/encoding.h"

#include <gtest/gtest.h>
#include <sys/resource.h>

#include <climits>
#include <string>
#include <tuple>
#include <utility>
#include <vector>

#include "support/childrun.h"
#include "support/environmentguard.h"
#include "support/sanitizer.h"

namespace {

using Elements = std::vector<unsigned int>;
using Counter = int (*)(const unsigned int*, int);

constexpr Counter kCounters[] = {check_EUCMultiByteLength, check_UTF8MultiByteLength,
                                 check_SJISMultiByteLength};

/// The counts for exactly these bytes: the array ends where they do.
void expectCounts(Counter counter, const std::vector<std::pair<std::string, int>>& rows) {
  for (const auto& [bytes, count] : rows) {
    Elements elements;
    for (const char byte : bytes) elements.push_back(static_cast<unsigned char>(byte));
    EXPECT_EQ(counter(elements.data(), static_cast<int>(elements.size())), count)
        << testing::PrintToString(elements);
  }
}

void expectEncoding(const std::string& encoding, const std::vector<const char*>& langs) {
  for (const char* lang : langs) {
    const EnvironmentGuard variable("LANG", lang);
    std::string enc = "left over";
    EXPECT_EQ(&getEncoding(enc), &enc);
    EXPECT_EQ(enc, encoding) << testing::PrintToString(lang);
  }
}

TEST(GetEncoding, Lang_GivesItsEncodingInAnyCaseAndEveryOtherNameIsC) {
  expectEncoding("euc", {"ja", "japanese", "japanese.euc", "ja_JP", "ja_JP.ujis", "ja_JP.eucJP",
                         "JA", "JAPANESE.EUC", "JA_jp.EUCjp"});
  expectEncoding("sjis", {"ja_JP.SJIS", "japanese.sjis", "ja_jp.sjis", "Japanese.SJIS"});
  expectEncoding("utf8", {"ja_JP.UTF-8", "ja_JP.UTF8", "ja_JP.utf8", "JA_JP.utf-8"});
  expectEncoding("C", {nullptr, "", "C", "en_US.UTF-8", "utf8", "euc", "j", "jaa", " ja", "ja ",
                       "ja_", "ja_JP.", "ja_JP.euc", "ja_JP.eucJP.x", "ja_JP.UTF", "ja_JP.UTF-88",
                       "japanese.utf8", "\xe6\xbc"});
}

TEST(GetEncoding, OtherLocaleVariables_AreNotAsked) {
  const EnvironmentGuard all("LC_ALL", "ja_JP.UTF-8");
  const EnvironmentGuard type("LC_CTYPE", "ja_JP.UTF-8");
  expectEncoding("euc", {"ja"});
  expectEncoding("C", {nullptr});
}

TEST(EucCount, EveryKindOfByte_SkipsWhatBelongsToIt) {
  expectCounts(check_EUCMultiByteLength,
               {{"", 0},
                {"a", 1},
                {"\x7f", 1},
                {"\x80\x80", 2},
                {"\x8d\xa0", 2},  // no lead byte, and then one that is cut
                {"\x8e\x9f", 2},  // one below the range of second bytes
                {"\x8e\xa0", 1},  // at its start
                {"\x8e\xff", 1},  // at its end
                {"\x8f\x9f\xa1", 3},
                {"\x8f\xa0\x9f", 2},  // the next byte is a lead byte then
                {"\x8f\xa0\xa0", 1},
                {"\x8f\xa1", 2},
                {"\x8f", 1},
                {"\x9f\xa1", 2},
                {"\xa0\x01", 1},  // the second byte is not checked
                {"\xff\x8e", 1},
                {"\xa4\xa2\xa4\xa4\xa4", 3},
                {"\x8e\xb1z", 2},  // each skips no more than its own bytes
                {"\x8f\xa1\xa1z", 2},
                {"\xa4\xa2z", 2}});
}

TEST(Utf8Count, EveryLeadByte_SkipsItsLength) {
  for (unsigned int lead = 0; lead < 256; ++lead) {
    int length = 1;
    if (lead >= 0xC0) length = 2;
    if (lead >= 0xE0) length = 3;
    if (lead >= 0xF0) length = 4;
    if (lead >= 0xF8) length = 5;
    if (lead >= 0xFC) length = 6;
    if (lead >= 0xFE) length = 1;
    const Elements elements = {lead, 'a', 'a', 'a', 'a', 'a', 'a'};
    EXPECT_EQ(check_UTF8MultiByteLength(elements.data(), 7), 7 - length + 1) << lead;
  }
}

TEST(SjisCount, EveryPair_IsOneCharacterWithinTheRangesOnly) {
  for (unsigned int lead = 0; lead < 256; ++lead) {
    for (unsigned int second = 0; second < 256; ++second) {
      const bool isLead = (lead >= 0x81 && lead <= 0x9F) || (lead >= 0xE0 && lead <= 0xEF);
      const bool isSecond =
          (second >= 0x40 && second <= 0x7E) || (second >= 0x80 && second <= 0xFC);
      const Elements pair = {lead, second};
      ASSERT_EQ(check_SJISMultiByteLength(pair.data(), 2), isLead && isSecond ? 1 : 2)
          << lead << ", " << second;
    }
  }
}

TEST(Utf8AndSjisCount, CutCharacters_CountAsOne) {
  expectCounts(check_UTF8MultiByteLength, {{"", 0},
                                           {"\xe3", 1},
                                           {"\xe3\x81", 1},
                                           {"a\xfd\x80\x80\x80\x80", 2},
                                           {"\xe3\x81\x82\xe3\x81\x82\xc3\xa4", 3},
                                           {"\x80\xbf\xfe\xff", 4},
                                           {"\xc3zz", 2}});
  expectCounts(check_SJISMultiByteLength,
               {{"", 0}, {"\x82", 1}, {"a\x82", 2}, {"\x82\xa0\x82", 2}, {"\x82\xa0\xb1z", 3}});
}

TEST(Counters, ElementsAfterTheLength_AreNotInRange) {
  const std::tuple<Counter, Elements, int, int> kRows[] = {
      {check_EUCMultiByteLength, {0x8E, 0xB1}, 1, 1},
      {check_EUCMultiByteLength, {0x8F, 0xA1, 0xA1, 0x41}, 2, 2},
      {check_SJISMultiByteLength, {0x41, 0x82, 0xA0}, 2, 2},
      {check_UTF8MultiByteLength, {0xE3, 0x81, 0x82, 0x41}, 1, 1}};
  for (const auto& [counter, elements, len, count] : kRows) {
    EXPECT_EQ(counter(elements.data(), len), count) << testing::PrintToString(elements);
  }
}

TEST(Counters, ElementsAboveAByte_AreCharactersOfTheirOwn) {
  const Elements above = {0x100, 0x100, 0x1A4, 0xA2A4};
  for (const Counter counter : kCounters) EXPECT_EQ(counter(above.data(), 4), 4);
  for (const unsigned int shift : {0x8Eu, 0x8Fu, 0x81u}) {
    const Elements pair = {shift, 0x100};
    EXPECT_EQ(check_EUCMultiByteLength(pair.data(), 2), 2) << shift;
    EXPECT_EQ(check_SJISMultiByteLength(pair.data(), 2), 2) << shift;
  }
}

TEST(Counters, LengthsBelow1_CountNothing) {
  const Elements elements = {'a'};
  for (const int len : {0, -1, INT_MIN}) {
    for (const Counter counter : kCounters) EXPECT_EQ(counter(elements.data(), len), 0) << len;
    for (const char* lang : {"C", "ja", "ja_JP.SJIS", "ja_JP.UTF-8"}) {
      const EnvironmentGuard variable("LANG", lang);
      EXPECT_EQ(getCharactorLength("abc", len), 0) << lang << ", " << len;
    }
  }
}

TEST(GetCharactorLength, Lang_ChoosesTheCounter) {
  const std::string text = "\xf0\x80\x80\x80\xf0\x80\x80\x80\x82\xa0\x82\xa0";
  const std::pair<const char*, int> kRows[] = {
      {"ja_JP.eucJP", 9}, {"ja_JP.SJIS", 10}, {"ja_JP.UTF-8", 6}, {"C", 12}, {nullptr, 12}};
  for (const auto& [lang, count] : kRows) {
    const EnvironmentGuard variable("LANG", lang);
    EXPECT_EQ(getCharactorLength(text.data(), 12), count) << count;
    EXPECT_EQ(getCharactorLength(text.data(), 1), 1) << count;  // of a part, the cut character
  }
}

#ifndef TANEXICS_ADDRESS_SANITIZER  // which needs more memory than a limit leaves
TEST(GetCharactorLength, MemoryRunsOut_IsZero) {
  const ChildResult child = runInChild([] {
    const rlimit limit = {1000000000, 1000000000};
    if (::setrlimit(RLIMIT_AS, &limit) != 0) return 77;
    return getCharactorLength("abc", INT_MAX);  // eight gigabytes of elements
  });
  EXPECT_EQ(child.exitCode(), 0);
}
#endif

}  // namespace
