// The bytes that the units of this folder take for letters and for white space are those that the C
// library names in the process's locale, whose calls this program takes the place of.

#include "common/text/text.h"

#include <dlfcn.h>
#include <gtest/gtest.h>

#include <cctype>
#include <string>

#include "common/text/charclass.h"
#include "common/text/environment.h"
#include "support/environmentguard.h"

/// Whether the bytes C4 and E4 are one letter in two cases, and A0 is white space, as in some
/// locales.
static bool isOtherLocale = false;

using OfByte = int (*)(int);

static OfByte realCall(const char* name) {
  return reinterpret_cast<OfByte>(::dlsym(RTLD_NEXT, name));
}

extern "C" int isalpha(int byte) noexcept {
  static const OfByte real = realCall("isalpha");
  return isOtherLocale && (byte == 0xC4 || byte == 0xE4) ? 1 : real(byte);
}

extern "C" int isalnum(int byte) noexcept {
  static const OfByte real = realCall("isalnum");
  return isOtherLocale && (byte == 0xC4 || byte == 0xE4) ? 1 : real(byte);
}

extern "C" int isspace(int byte) noexcept {
  static const OfByte real = realCall("isspace");
  return isOtherLocale && byte == 0xA0 ? 1 : real(byte);
}

extern "C" int tolower(int byte) noexcept {
  static const OfByte real = realCall("tolower");
  return isOtherLocale && byte == 0xC4 ? 0xE4 : real(byte);
}

namespace {

TEST(Locale, LettersAndWhiteSpace_AreThoseOfTheCLibrary) {
#ifdef _LIBCPP_VERSION
  GTEST_SKIP() << "with this C++ library the calls are inline, and nothing takes their place";
#endif
  const EnvironmentGuard longer("B\xc4", "(B\xc4)");
  const EnvironmentGuard shorter("B", "(B)");
  for (const bool isOther : {false, true}) {
    isOtherLocale = isOther;
    SCOPED_TRACE(isOther);
    EXPECT_EQ(isAlpha("a\xc4"), isOther ? 1 : 0);
    EXPECT_EQ(isNumeric("\xc4"), 0);
    EXPECT_EQ(compareRightNoCase("\xc4", "\xe4", 0), isOther ? 1 : 0);
    EXPECT_EQ(replaceEnvValue("$B\xc4/"), isOther ? "(B\xc4)/" : "(B)\xc4/");
    std::string buffer = "A\xc4";
    EXPECT_EQ(toLowerStr(buffer), isOther ? "a\xe4" : "a\xc4");
    toLowerStr(buffer.data());
    EXPECT_EQ(buffer, isOther ? "a\xe4" : "a\xc4");
    std::string text = "\xa0 a\xa0";
    buffer = text;
    trim(text);
    trim(buffer.data());
    EXPECT_EQ(text, isOther ? "a" : "\xa0 a\xa0");
    EXPECT_STREQ(buffer.c_str(), text.c_str());
  }
  isOtherLocale = false;
}

}  // namespace
