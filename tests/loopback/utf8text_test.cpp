#include "loopback/rehearse/utf8text.h"

#include <gtest/gtest.h>

#include <string>
#include <vector>

namespace {

using namespace std::string_literals;

struct Row {
  const char* what;
  std::string bytes;
  std::string expected;
};

void expectRows(const std::vector<Row>& rows, const char* encoding) {
  for (const Row& row : rows) EXPECT_EQ(row.expected, utf8Text(row.bytes, encoding)) << row.what;
}

TEST(Utf8Text, FromEucJp) {
  expectRows(
      {
          {"empty", "", ""},
          {"ASCII, a backslash and control characters among it", "a\\~\n\x1b[0m", "a\\~\n\x1b[0m"},
          {"zero byte", "a\0b"s, "a\0b"s},
          {"kanji", "\xc6\xfc\xcb\xdc", "日本"},
          {"minus, wide blank, wide slash", "\xa1\xdd\xa1\xa1\xa1\xbf", "−　／"},
          {"half-width katakana of two bytes", "\x8e\xb1", "ｱ"},
          {"supplementary character of three bytes", "\x8f\xb0\xa1", "丂"},
      },
      "EUC-JP");
}

TEST(Utf8Text, BytesOfNoCharacterAreEscaped) {
  expectRows(
      {
          {"only one", "\xff", "\\xff"},
          {"between characters", "\xc6\xfc\xff\xcb\xdc", "日\\xff本"},
          {"first half alone", "a\xc6", "a\\xc6"},
          {"first half before a line end", "\xc6\n\xc6\xfc", "\\xc6\n日"},
          {"two in a row", "\xff\xfe!", "\\xff\\xfe!"},
          {"first half before ASCII, and at the end", "\xc3(\xc3", "\\xc3(\\xc3"},
      },
      "EUC-JP");
}

TEST(Utf8Text, TextOfAnyLength) {
  // The conversion works in pieces of 1,024 bytes of result.
  for (const int count : {340, 341, 342, 683, 100000}) {
    std::string bytes = "a";
    std::string expected = "a";
    for (int at = 0; at < count; ++at) {
      bytes += "\xc6\xfc";
      expected += "日";
    }
    EXPECT_EQ(expected, utf8Text(bytes, "EUC-JP")) << count;
    EXPECT_EQ(expected + "\\xff!", utf8Text(bytes + "\xff!", "EUC-JP")) << count;
  }
}

TEST(Utf8Text, EncodingThatTheMachineDoesNotKnow) {
  expectRows(
      {
          {"empty", "", ""},
          {"ASCII", "a\0\x7f"s, "a\0\x7f"s},
          {"bytes above ASCII", "a\x80\xff\nb", "a\\x80\\xff\nb"},
      },
      "no-such-encoding");
}

}  // namespace
