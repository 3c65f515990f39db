// Bytes of a log as people and programs may be shown them.

#include "tools/outcome/readable.h"

#include <gtest/gtest.h>

namespace {

using outcome::Encoding;

TEST(readable, Bytes_BecomeTextsOfTheirEncoding) {
  const struct {
    const char* what;
    std::string bytes;
    const char* utf8;
    const char* eucJp;
    const char* either;
  } rows[] = {
      {"nothing", "", "", "", ""},
      {"letters", "a Z~", "a Z~", "a Z~", "a Z~"},
      {"a backslash", "a\\x41", "a\\\\x41", "a\\\\x41", "a\\\\x41"},
      {"controls", std::string("\0\x01\x1f\x7f\n\r\t", 7), "\\x00\\x01\\x1f\\x7f\\x0a\\x0d\\x09",
       "\\x00\\x01\\x1f\\x7f\\x0a\\x0d\\x09", "\\x00\\x01\\x1f\\x7f\\x0a\\x0d\\x09"},
      {"controls of UTF-8", "\xc2\x80\xc2\x9b\xc2\x9f", "\\xc2\\x80\\xc2\\x9b\\xc2\\x9f",
       "\\xc2\\x80\\xc2\\x9b\\xc2\\x9f", "\\xc2\\x80\\xc2\\x9b\\xc2\\x9f"},
      {"what follows them", "\xc2\xa0\xc2\xa1", "\u00a0\u00a1", "\\xc2\\xa0\u81d3", "\u00a0\u00a1"},
      {"two bytes, not the first", "\xc3\x9f", "\u00df", "\\xc3\\x9f", "\u00df"},
      {"two bytes of Japanese", "\xc5\xc5\xb8\xbb", "\\xc5\u0178\\xbb", "\u96fb\u6e90",
       "\u96fb\u6e90"},
      {"the first and the last of them", "\xa1\xa1\xf4\xa6", "\\xa1\\xa1\\xf4\\xa6", "\u3000\u7199",
       "\u3000\u7199"},
      {"half a width", "\x8e\xb1", "\\x8e\\xb1", "\uff71", "\uff71"},
      {"three bytes of Japanese", "\x8f\xb0\xa1", "\\x8f\\xb0\\xa1", "\u4e02", "\u4e02"},
      {"cut", "\x8f\xb0", "\\x8f\\xb0", "\\x8f\\xb0", "\\x8f\\xb0"},
      {"cut in the second", "a\xc5", "a\\xc5", "a\\xc5", "a\\xc5"},
      {"no character", "\xff\xff", "\\xff\\xff", "\\xff\\xff", "\\xff\\xff"},
      {"an unused one", "\xa9\xa1\xc5\xc5", "\\xa9\\xa1\\xc5\\xc5", "\\xa9\u2025\\xc5",
       "\\xa9\u2025\\xc5"},
      {"UTF-8 of three bytes", "\u96fb\u6e90", "\u96fb\u6e90", nullptr, "\u96fb\u6e90"},
      {"UTF-8 and a byte that is none", "\u96fb\xff", "\u96fb\\xff", nullptr, nullptr},
  };
  for (const auto& row : rows) {
    SCOPED_TRACE(row.what);
    EXPECT_EQ(readable(row.bytes, Encoding::kUtf8), row.utf8);
    if (row.eucJp != nullptr) {
      EXPECT_EQ(readable(row.bytes, Encoding::kEucJp), row.eucJp);
    }
    if (row.either != nullptr) {
      EXPECT_EQ(readable(row.bytes, Encoding::kEither), row.either);
    }
  }
}

}  // namespace
