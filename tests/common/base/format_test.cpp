#include "common/base/format.h"

#include <gtest/gtest.h>

#include <cstdarg>
#include <string>
#include <utility>
#include <vector>

namespace {

TEST(CharacterPointer, OfAnyText_IsNoCopy) {
  EXPECT_EQ(C(static_cast<const char*>(nullptr)), nullptr);
  const std::string fixed = "fixed";
  EXPECT_EQ(C(fixed.c_str()), fixed.c_str());
  EXPECT_EQ(C(fixed), fixed.c_str());
  std::string text = "text";
  C(text)[0] = 'n';
  EXPECT_EQ(text, "next");
}

TEST(Format, Arguments_AreFormattedAsPrintf) {
  EXPECT_EQ(format("%s", ""), "");
  EXPECT_EQ(format("100%%"), "100%");
  EXPECT_EQ(format("%04d|%-3s|%08x|%lld", 7, "a", 0xbeefu, -1LL), "0007|a  |0000beef|-1");
  EXPECT_EQ(format("%s", "\xe6\xbc\xa2 \xa4\xa2 "), "\xe6\xbc\xa2 \xa4\xa2 ");
  EXPECT_EQ(format("a%cb", '\0'), "a");
}

TEST(Format, Null_IsEmpty) {
  const char* null = nullptr;
#pragma GCC diagnostic push
#pragma GCC diagnostic ignored "-Wformat-security"
  EXPECT_EQ(format(null), "");
#pragma GCC diagnostic pop
}

TEST(Format, TextsAroundEveryBufferSize_ComeBackWhole) {
  for (const std::size_t length :
       {1u, 1022u, 1023u, 1024u, 1025u, 2046u, 2047u, 2048u, 2049u, 4095u, 4096u, 4097u, 100000u}) {
    std::string text;
    while (text.size() < length) text += static_cast<char>('a' + text.size() % 26);
    EXPECT_EQ(format("%s", text.c_str()), text) << length;
    EXPECT_EQ(format("%d%s%d", 1, text.c_str(), 2), "1" + text + "2") << length;
  }
}

TEST(Format, FailingConversion_GivesWhatPrecedesIt) {
  // A count below 0 is no length to grow to: what fits the first buffer is all.
  for (const std::size_t length : {3u, 1022u, 1023u, 1024u, 5000u}) {
    const std::string text(length, 'x');
    EXPECT_EQ(format("%s%ls", text.c_str(), L"\x3042"), text.substr(0, 1023)) << length;
  }
}

__attribute__((format(printf, 1, 2))) std::string formatTwice(const char* fmt, ...) {
  va_list args;
  va_start(args, fmt);
  const std::string first = format_va(fmt, args);
  const std::string second = format_va(fmt, args);
  va_end(args);
  EXPECT_EQ(first, second);
  return first;
}

TEST(FormatVa, ArgumentList_IsLeftAsItWas) {
  EXPECT_EQ(formatTwice("%s-%d", "a", 1), "a-1");
  const std::string text(3000, 'x');
  EXPECT_EQ(formatTwice("%d%s%d", 1, text.c_str(), 2), "1" + text + "2");
}

TEST(BareFormat, OnlyPercentAndErrorText_KeepTheirMeaning) {
  const std::pair<std::string, std::string> kRows[] = {
      {"", ""},        {"text", "text"},   {"%", "%%"},    {"%%", "%%"},
      {"%%%", "%%%%"}, {"%m", "%m"},       {"%%m", "%%m"}, {"%%%m", "%%%m"},
      {"%5m", "%%5m"}, {"%s%n", "%%s%%n"}, {"%M", "%%M"},  {"% %", "%% %%"}};
  for (const auto& [text, safe] : kRows) {
    std::vector<char> out(2 * text.size() + 1, '#');
    bareFormat(text.c_str(), out.data());
    EXPECT_EQ(out.data(), safe) << text;
  }
}

}  // namespace
