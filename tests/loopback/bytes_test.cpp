#include "loopback/bytes.h"

#include <gtest/gtest.h>

#include <nlohmann/json.hpp>
#include <string>

namespace {

using namespace std::string_literals;

TEST(Utf8Length, WholeCharacter_IsItsLength) {
  for (const std::string& bytes :
       {"a"s, "\0"s, "\x7f"s, "\xc2\x80"s, "\xdf\xbf"s, "\xe0\xa0\x80"s, "\xed\x9f\xbf"s,
        "\xee\x80\x80"s, "\xef\xbf\xbf"s, "\xf0\x90\x80\x80"s, "\xf4\x8f\xbf\xbf"s}) {
    EXPECT_EQ(utf8Length(bytes), bytes.size()) << escapeBytes(bytes);
    EXPECT_EQ(utf8Length(bytes + "\x80"), bytes.size()) << escapeBytes(bytes);
  }
}

TEST(Utf8Length, CutForeignOrForbiddenBytes_AreNoCharacter) {
  for (const char* bytes :
       {"", "\x80", "\xbf", "\xc1\xbf", "\xc2", "\xc2\x7f", "\xc2\xc0", "\xe0\x9f\xbf", "\xe0\xa0",
        "\xe0\xa0\x7f", "\xed\xa0\x80", "\xf0\x8f\xbf\xbf", "\xf0\x90\x80", "\xf4\x90\x80\x80",
        "\xf5\x80\x80\x80", "\xff"}) {
    EXPECT_EQ(utf8Length(bytes), 0U) << escapeBytes(bytes);
  }
}

TEST(EscapeBytes, Text_ComesBack) {
  const struct {
    std::string bytes;
    std::string text;
  } rows[] = {
      {"", ""},
      {"plain text, \"quoted\"", "plain text, \"quoted\""},
      {"line\nend\x01", "line\nend\x01"},
      {"\xe6\x97\xa5\xe6\x9c\xac", "\xe6\x97\xa5\xe6\x9c\xac"},
      {"\xc6\xfc\xcb\xdc", "\\xc6\\xfc\\xcb\\xdc"},
      {"C:\\tmp", "C:\\\\tmp"},
      {"\\xc6", "\\\\xc6"},
      {"\\\xc6", "\\\\\\xc6"},
      {"\xe6\x97", "\\xe6\\x97"},
      {"\x0f\xf0", "\x0f\\xf0"},
  };
  for (const auto& [bytes, text] : rows) {
    EXPECT_EQ(escapeBytes(bytes), text);
    EXPECT_EQ(unescapeBytes(text), bytes) << text;
  }
}

TEST(UnescapeBytes, WhatIsNoEscape_IsRejected) {
  for (const char* text : {"\\", "a\\", "\\n", "\\x", "\\xc", "\\xcg", "\\xgc", "\\xC6", "\\Xc6"}) {
    EXPECT_EQ(unescapeBytes(text), std::nullopt) << text;
  }
}

/// The bytes after the way through a JSON document and back.
std::string throughJson(const std::string& bytes) {
  const std::string document = nlohmann::json(escapeBytes(bytes)).dump();
  return unescapeBytes(nlohmann::json::parse(document).get<std::string>())
      .value_or("NOT AN ESCAPE");
}

TEST(EscapeBytes, EveryPairOfBytes_ComesBackThroughJson) {
  for (int first = 0; first < 256; ++first) {
    for (int second = 0; second < 256; ++second) {
      const std::string bytes = {static_cast<char>(first), static_cast<char>(second)};
      ASSERT_EQ(throughJson(bytes), bytes) << first << " " << second;
    }
  }
}

TEST(VisibleBytes, ControlCharactersAndOtherBytes_AreEscaped) {
  EXPECT_EQ(visibleBytes("a\0\x1b[31m\n\x7f\xc2\x9b\xc6|\\|\xc2\xa0\xe6\x97\xa5"s),
            "a\\x00\\x1b[31m\\x0a\\x7f\\xc2\\x9b\\xc6|\\|\xc2\xa0\xe6\x97\xa5");
}

}  // namespace
