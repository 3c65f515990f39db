#include "tools/outcome/utf8text.h"

#include <gtest/gtest.h>

#include <string>

namespace {

using namespace std::string_literals;
using outcome::utf8Text;

constexpr char kEuc[] = "EUC-JP";
constexpr char kUnknown[] = "no-such-encoding";

TEST(Utf8Text, BytesOfAnEncoding_AreConvertedOrEscaped) {
  const struct {
    const char* what;
    const char* encoding;
    std::string bytes;
    std::string expected;
  } rows[] = {
      {"empty", kEuc, "", ""},
      {"ASCII, a backslash and control characters", kEuc, "a\\~\n\x1b[0m", "a\\~\n\x1b[0m"},
      {"zero byte", kEuc, "a\0b"s, "a\0b"s},
      {"kanji", kEuc, "\xc6\xfc\xcb\xdc", "日本"},
      {"minus, wide blank, wide slash", kEuc, "\xa1\xdd\xa1\xa1\xa1\xbf", "−　／"},
      {"half-width katakana of two bytes", kEuc, "\x8e\xb1", "ｱ"},
      {"supplementary character of three bytes", kEuc, "\x8f\xb0\xa1", "丂"},
      {"no character", kEuc, "\xff", "\\xff"},
      {"no character between others", kEuc, "\xc6\xfc\xff\xcb\xdc", "日\\xff本"},
      {"first half alone", kEuc, "a\xc6", "a\\xc6"},
      {"first half before a line end", kEuc, "\xc6\n\xc6\xfc", "\\xc6\n日"},
      {"two in a row that are none", kEuc, "\xff\xfe!", "\\xff\\xfe!"},
      {"first half before ASCII, and at the end", kEuc, "\xc3(\xc3", "\\xc3(\\xc3"},
      {"empty, unknown encoding", kUnknown, "", ""},
      {"ASCII, unknown encoding", kUnknown, "a\0\x7f"s, "a\0\x7f"s},
      {"bytes above ASCII, unknown encoding", kUnknown, "a\x80\xff\nb", "a\\x80\\xff\nb"},
  };
  for (const auto& [what, encoding, bytes, expected] : rows) {
    EXPECT_EQ(utf8Text(bytes, encoding), expected) << what;
  }
}

TEST(Utf8Text, TextOfAnyLength_IsWhole) {
  // The conversion works in pieces of 1,024 bytes of result.
  for (const int count : {340, 341, 342, 683, 100000}) {
    std::string bytes = "a";
    std::string expected = "a";
    for (int at = 0; at < count; ++at) {
      bytes += "\xc6\xfc";
      expected += "日";
    }
    EXPECT_EQ(utf8Text(bytes, kEuc), expected) << count;
    EXPECT_EQ(utf8Text(bytes + "\xff!", kEuc), expected + "\\xff!") << count;
  }
}

}  // namespace
