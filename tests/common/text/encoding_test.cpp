#include "common/text/encoding.h"

#include <gtest/gtest.h>
#include <sys/resource.h>

#include <climits>
#include <string>
#include <vector>

#include "support/actionlog.h"
#include "support/childrun.h"
#include "support/environmentguard.h"
#include "support/generator.h"

namespace {

using Elements = std::vector<unsigned int>;
using Counter = int (*)(const unsigned int*, int);

std::string encodingFor(const char* lang) {
  const EnvironmentGuard variable("LANG", lang);
  std::string enc = "left over";
  EXPECT_EQ(&getEncoding(enc), &enc);
  return enc;
}

Elements elementsOf(const std::string& bytes) {
  Elements elements;
  for (const char byte : bytes) elements.push_back(static_cast<unsigned char>(byte));
  return elements;
}

/// The count for exactly these bytes: the array ends where they do.
int counted(Counter counter, const std::string& bytes) {
  const Elements elements = elementsOf(bytes);
  return counter(elements.data(), static_cast<int>(elements.size()));
}

struct CountRow {
  std::string bytes;
  int count;
};

void expectCounts(Counter counter, const std::vector<CountRow>& rows) {
  for (const CountRow& row : rows) {
    EXPECT_EQ(counted(counter, row.bytes), row.count)
        << testing::PrintToString(elementsOf(row.bytes));
  }
}

// --- getEncoding ---------------------------------------------------------------------------------

TEST(GetEncoding, UnsetOrEmpty_IsC) {
  const CapturedLog log(CapturedLog::Level::kTrace);
  EXPECT_EQ(encodingFor(nullptr), "C");
  EXPECT_EQ(encodingFor(""), "C");
  EXPECT_EQ(log.bytes(), "");
}

TEST(GetEncoding, OtherCase_IsTheSameName) { EXPECT_EQ(encodingFor("JA_jp.EUCjp"), "euc"); }

TEST(GetEncoding, LongerName_IsC) { EXPECT_EQ(encodingFor("ja_JP.eucJP.x"), "C"); }

TEST(GetEncoding, EveryName_GivesItsEncoding) {
  const struct {
    const char* lang;
    const char* encoding;
  } kRows[] = {{"ja", "euc"},           {"japanese", "euc"},
               {"japanese.euc", "euc"}, {"ja_JP", "euc"},
               {"ja_JP.ujis", "euc"},   {"ja_JP.eucJP", "euc"},
               {"ja_JP.SJIS", "sjis"},  {"japanese.sjis", "sjis"},
               {"ja_JP.UTF-8", "utf8"}, {"ja_JP.UTF8", "utf8"},
               {"JA", "euc"},           {"JAPANESE.EUC", "euc"},
               {"ja_jp.sjis", "sjis"},  {"Japanese.SJIS", "sjis"},
               {"ja_JP.utf8", "utf8"},  {"JA_JP.utf-8", "utf8"}};
  for (const auto& row : kRows) EXPECT_EQ(encodingFor(row.lang), row.encoding) << row.lang;
}

TEST(GetEncoding, EveryOtherName_IsC) {
  for (const char* lang : {"C",
                           "POSIX",
                           "en_US.UTF-8",
                           "C.UTF-8",
                           "UTF-8",
                           "utf8",
                           "euc",
                           "sjis",
                           "j",
                           "jaa",
                           " ja",
                           "ja ",
                           "ja_",
                           "ja_J",
                           "ja_JP.",
                           "ja_JP.euc",
                           "ja_JP.UTF",
                           "ja_JP.UTF-88",
                           "ja_JP.UTF_8",
                           "ja_JP.UTF-8@x",
                           "japanese.ujis",
                           "japanese.utf8",
                           "ja_JP.SJI",
                           "ja.UTF-8",
                           "\xe6\xbc"}) {
    EXPECT_EQ(encodingFor(lang), "C") << lang;
  }
}

TEST(GetEncoding, OtherLocaleVariables_AreNotAsked) {
  const EnvironmentGuard all("LC_ALL", "ja_JP.UTF-8");
  const EnvironmentGuard type("LC_CTYPE", "ja_JP.UTF-8");
  EXPECT_EQ(encodingFor("ja"), "euc");
  EXPECT_EQ(encodingFor(nullptr), "C");
}

// --- check_EUCMultiByteLength --------------------------------------------------------------------

TEST(EucCount, DoubleByteAndAscii_AreTwoCharacters) {
  EXPECT_EQ(counted(check_EUCMultiByteLength, "\xA4\xA2\x41"), 2);
}

TEST(EucCount, SingleShift2_IsOneCharacter) {
  EXPECT_EQ(counted(check_EUCMultiByteLength, "\x8E\xB1"), 1);
}

TEST(EucCount, SingleShift3_IsOneCharacter) {
  EXPECT_EQ(counted(check_EUCMultiByteLength, "\x8F\xA1\xA1"), 1);
}

TEST(EucCount, EveryKindOfByte_SkipsWhatBelongsToIt) {
  expectCounts(check_EUCMultiByteLength,
               {{"", 0},
                {"a", 1},
                {"ab\n ", 4},
                {"\x7f", 1},
                {"\x80\x80", 2},
                {"\x8d\xa0", 2},  // no lead byte, and then one that is cut
                {"\x8e\x9f", 2},  // one below the range of second bytes
                {"\x8e\xa0", 1},  // at its start
                {"\x8e\xff", 1},  // at its end
                {"\x8e\x41", 2},
                {"\x8e", 1},
                {"\x8f\x9f\xa1", 3},
                {"\x8f\xa0\x9f", 2},  // the next byte is a lead byte then
                {"\x8f\xa0\xa0", 1},
                {"\x8f\xff\xff", 1},
                {"\x8f\xa1", 2},
                {"\x8f", 1},
                {"\x90\xa1", 2},
                {"\x9f\xa1", 2},
                {"\xa0\x01", 1},  // the second byte is not checked
                {"\xff\x8e", 1},
                {"\xa4", 1},
                {"\xa4\xa2\xa4\xa4\xa4", 3}});
}

// --- check_UTF8MultiByteLength -------------------------------------------------------------------

TEST(Utf8Count, ThreeByteCharacterAndAscii_AreTwoCharacters) {
  EXPECT_EQ(counted(check_UTF8MultiByteLength, "\xE3\x81\x82\x41"), 2);
}

TEST(Utf8Count, LoneContinuationByte_IsOneCharacter) {
  EXPECT_EQ(counted(check_UTF8MultiByteLength, "\x80"), 1);
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

TEST(Utf8Count, CutCharacters_CountAsOne) {
  expectCounts(check_UTF8MultiByteLength, {{"", 0},
                                           {"\xe3", 1},
                                           {"\xe3\x81", 1},
                                           {"a\xfd\x80\x80\x80\x80", 2},
                                           {"\xe3\x81\x82\xe3\x81\x82\xc3\xa4", 3},
                                           {"\x80\xbf\xfe\xff", 4},
                                           {"\xc3zz", 2}});
}

// --- check_SJISMultiByteLength -------------------------------------------------------------------

TEST(SjisCount, DoubleByte_IsOneCharacter) {
  EXPECT_EQ(counted(check_SJISMultiByteLength, "\x82\xA0"), 1);
}

TEST(SjisCount, HalfWidthKatakana_IsOneCharacter) {
  EXPECT_EQ(counted(check_SJISMultiByteLength, "\xB1"), 1);
}

TEST(SjisCount, LeadByteAndBlank_AreTwoCharacters) {
  EXPECT_EQ(counted(check_SJISMultiByteLength, "\x82\x20"), 2);
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

TEST(SjisCount, CutCharacters_CountAsOne) {
  expectCounts(check_SJISMultiByteLength,
               {{"", 0}, {"\x82", 1}, {"a\x82", 2}, {"\x82\xa0\x82", 2}, {"\x82\xa0\xb1z", 3}});
}

// --- what holds for all counters -----------------------------------------------------------------

TEST(Counters, ElementsBehindTheLength_AreNotInRange) {
  const Elements euc2 = {0x8E, 0xB1};
  EXPECT_EQ(check_EUCMultiByteLength(euc2.data(), 1), 1);
  const Elements euc3 = {0x8F, 0xA1, 0xA1, 0x41};
  EXPECT_EQ(check_EUCMultiByteLength(euc3.data(), 2), 2);
  const Elements sjis = {0x41, 0x82, 0xA0};
  EXPECT_EQ(check_SJISMultiByteLength(sjis.data(), 2), 2);
  const Elements utf8 = {0xE3, 0x81, 0x82, 0x41};
  EXPECT_EQ(check_UTF8MultiByteLength(utf8.data(), 1), 1);
}

TEST(Counters, ElementsAboveAByte_AreCharactersOfTheirOwn) {
  const Elements above = {0x100, 0x100, 0x1A4, 0xA2A4};
  for (const Counter counter :
       {check_EUCMultiByteLength, check_UTF8MultiByteLength, check_SJISMultiByteLength}) {
    EXPECT_EQ(counter(above.data(), 4), 4);
  }
  for (const unsigned int shift : {0x8Eu, 0x8Fu, 0x81u}) {
    const Elements pair = {shift, 0x100};
    EXPECT_EQ(check_EUCMultiByteLength(pair.data(), 2), 2) << shift;
    EXPECT_EQ(check_SJISMultiByteLength(pair.data(), 2), 2) << shift;
  }
}

TEST(Counters, NullAndLengthsBelow1_CountNothing) {
  const CapturedLog log(CapturedLog::Level::kTrace);
  const Elements elements = {'a'};
  for (const Counter counter :
       {check_EUCMultiByteLength, check_UTF8MultiByteLength, check_SJISMultiByteLength}) {
    EXPECT_EQ(counter(nullptr, 5), 0);
    for (const int len : {0, -1, INT_MIN}) EXPECT_EQ(counter(elements.data(), len), 0) << len;
  }
  EXPECT_EQ(log.bytes(), "");
}

/// The judges: take one character after the other off the front of the bytes.
using Judge = std::size_t (*)(const std::string&);

unsigned int byteOf(const std::string& bytes, std::size_t i) {
  return i < bytes.size() ? static_cast<unsigned char>(bytes[i]) : 0x00;
}

std::size_t slowEuc(const std::string& bytes) {
  const bool isSecondHigh = byteOf(bytes, 1) >= 0xA0;
  const bool isThirdHigh = byteOf(bytes, 2) >= 0xA0;
  if (byteOf(bytes, 0) == 0x8E && isSecondHigh) return 2;
  if (byteOf(bytes, 0) == 0x8F && isSecondHigh && isThirdHigh) return 3;
  return byteOf(bytes, 0) >= 0xA0 ? 2 : 1;
}

std::size_t slowUtf8(const std::string& bytes) {
  const unsigned int lead = byteOf(bytes, 0);
  if (lead < 0xC0 || lead > 0xFD) return 1;
  std::size_t length = 0;  // as many as there are leading ones in the lead byte
  for (unsigned int bit = 0x80; (lead & bit) != 0; bit >>= 1) ++length;
  return length;
}

std::size_t slowSjis(const std::string& bytes) {
  const unsigned int lead = byteOf(bytes, 0);
  const unsigned int second = byteOf(bytes, 1);
  if (lead < 0x81 || lead > 0xEF || (lead > 0x9F && lead < 0xE0)) return 1;
  return second < 0x40 || second == 0x7F || second > 0xFC ? 1 : 2;
}

int slowCount(Judge length, std::string bytes) {
  int count = 0;
  for (; !bytes.empty(); ++count) bytes.erase(0, length(bytes));
  return count;
}

TEST(Counters, GeneratedBytes_AgreeWithTheSlowCount) {
  const struct {
    const char* name;
    Counter counter;
    Judge judge;
  } kRows[] = {{"EUC", check_EUCMultiByteLength, slowEuc},
               {"UTF-8", check_UTF8MultiByteLength, slowUtf8},
               {"Shift_JIS", check_SJISMultiByteLength, slowSjis}};
  Generator generator(20055);
  for (const std::string& alphabet :
       {allBytes(), std::string("a\x8e\x8f\xa0\xb1\x82\xe3\x9f\x7f\x40\xfc\xfd\x81")}) {
    for (int i = 0; i < 5000; ++i) {
      const std::string bytes = generator.text(alphabet, 12);
      for (const auto& row : kRows) {
        ASSERT_EQ(counted(row.counter, bytes), slowCount(row.judge, bytes))
            << row.name << " " << testing::PrintToString(elementsOf(bytes));
      }
    }
  }
}

// --- getCharactorLength --------------------------------------------------------------------------

TEST(GetCharactorLength, Lang_ChoosesTheCounter) {
  const std::string text = "\xf0\x80\x80\x80\xf0\x80\x80\x80\x82\xa0\x82\xa0";
  const struct {
    const char* lang;
    int count;
  } kRows[] = {
      {"ja_JP.eucJP", 9}, {"ja_JP.SJIS", 10}, {"ja_JP.UTF-8", 6}, {"C", 12}, {nullptr, 12}};
  for (const auto& row : kRows) {
    const EnvironmentGuard variable("LANG", row.lang);
    EXPECT_EQ(getCharactorLength(text.data(), 12), row.count) << row.count;
  }
}

TEST(GetCharactorLength, PartOfAText_IsCountedAlone) {
  const EnvironmentGuard lang("LANG", "ja_JP.UTF-8");
  EXPECT_EQ(getCharactorLength("\xe3\x81\x82\xe3\x81\x84", 3), 1);
  EXPECT_EQ(getCharactorLength("\xe3\x81\x82\xe3\x81\x84", 4), 2);
  EXPECT_EQ(getCharactorLength("abc", 1), 1);
}

TEST(GetCharactorLength, NullAndLengthsBelow1_AreZeroWithoutALine) {
  const CapturedLog log(CapturedLog::Level::kTrace);
  for (const char* value : {"C", "ja", "ja_JP.SJIS", "ja_JP.UTF-8"}) {
    const EnvironmentGuard lang("LANG", value);
    EXPECT_EQ(getCharactorLength(nullptr, 3), 0);
    for (const int len : {0, -1, INT_MIN}) EXPECT_EQ(getCharactorLength("abc", len), 0) << len;
  }
  EXPECT_EQ(log.bytes(), "");
}

#ifndef __has_feature
#define __has_feature(feature) 0
#endif
#if defined(__SANITIZE_ADDRESS__) || __has_feature(address_sanitizer)
constexpr bool kHasOwnAllocator = true;
#else
constexpr bool kHasOwnAllocator = false;
#endif

TEST(GetCharactorLength, MemoryRunsOut_IsZero) {
  if (kHasOwnAllocator)
    GTEST_SKIP() << "the address sanitizer needs more memory than a limit leaves";
  const ChildResult child = runInChild([] {
    rlimit limit = {};
    ::getrlimit(RLIMIT_AS, &limit);
    limit.rlim_cur = 1000000000;
    if (::setrlimit(RLIMIT_AS, &limit) != 0) return 77;
    return getCharactorLength("abc", INT_MAX);  // eight gigabytes of elements
  });
  EXPECT_EQ(child.exitCode(), 0);
}

}  // namespace
