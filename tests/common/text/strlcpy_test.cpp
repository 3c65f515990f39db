// Newer C libraries have a function of this name too, on 32-bit systems with the same arguments.

#include <gtest/gtest.h>

#include <cstring>

extern "C" std::size_t strlcpy(char* dst, const char* src, std::size_t size) noexcept;

#include "common/text/text.h"

namespace {

TEST(Strlcpy, BesideThatOfTheCLibrary_IsOurs) {
  char dst[4] = {};
  EXPECT_EQ(::strlcpy(dst, "abcd", 4U), dst);
  EXPECT_STREQ(dst, "abc");
}

}  // namespace
