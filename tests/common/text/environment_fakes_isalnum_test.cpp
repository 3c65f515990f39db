#include "common/text/environment.h"

#include <dlfcn.h>
#include <gtest/gtest.h>

#include <cctype>
#include <cstdlib>
#include <string>

#include "support/actionlog.h"
#include "support/environmentguard.h"
#include "support/generator.h"

// --- takes the place of the C library's call in this program -------------------------------------

/// A byte that is a letter in some locale; 0 for none.
static int localeLetter = 0;

extern "C" int isalnum(int byte) noexcept {
  using IsAlnum = int (*)(int);
  static const auto real = reinterpret_cast<IsAlnum>(::dlsym(RTLD_NEXT, "isalnum"));
  return localeLetter != 0 && byte == localeLetter ? 1 : real(byte);
}

namespace {

/// The variables A, B1 and _ for the life of the object; A's value looks like references itself.
class Variables {
 public:
  Variables()
      : m_a("A", "<$B1%B1%>"), m_b("B1", "[b]"), m_underscore("_", "{u}"), m_c("C", nullptr) {}

 private:
  EnvironmentGuard m_a;
  EnvironmentGuard m_b;
  EnvironmentGuard m_underscore;
  EnvironmentGuard m_c;
};

// --- replaceEnvValue -----------------------------------------------------------------------------

TEST(ReplaceEnvValue, PercentSignWithoutASecond_Stays) {
  EXPECT_EQ(replaceEnvValue("100%"), "100%");
}

TEST(ReplaceEnvValue, DollarSignAtTheEnd_Stays) {
  EXPECT_EQ(replaceEnvValue("$"), "$");
  EXPECT_EQ(replaceEnvValue("a$"), "a$");
}

TEST(ReplaceEnvValue, UnsetVariable_ExpandsToNothing) {
  const Variables variables;
  EXPECT_EQ(replaceEnvValue("x$C/y"), "x/y");
  EXPECT_EQ(replaceEnvValue("x%C%/y"), "x/y");
  EXPECT_EQ(replaceEnvValue("x$C"), "x");
}

TEST(ReplaceEnvValue, References_AreExpandedOnce) {
  const Variables variables;
  const struct {
    const char* text;
    const char* result;
  } kRows[] = {{"", ""},
               {"plain text\n", "plain text\n"},
               {"$B1/x", "[b]/x"},
               {"%B1%/x", "[b]/x"},
               {"$A", "<$B1%B1%>"},  // a value is not expanded again
               {"%A%", "<$B1%B1%>"},
               {"${", "${"},
               {"${B1}", "${B1}"},
               {"$ B1", "$ B1"},
               {"$$", "$$"},
               {"$$B1", "$[b]"},
               {"$B1$B1", "[b][b]"},
               {"$B1%B1%", "[b][b]"},
               {"$B1%", "[b]%"},
               {"$B1x", ""},  // the longest name counts
               {"$_", "{u}"},
               {"$_x", ""},
               {"$B1-1", "[b]-1"},
               {"$b1", ""},
               {"$1B", ""},
               {"%%", "%"},
               {"%%%", "%%"},
               {"%%%%", "%%"},
               {"100%%", "100%"},
               {"%B1", "%B1"},
               {"%B1$B1", "%B1$B1"},  // no reference within one that has no end
               {"%a b$c%x", "x"},     // between percent signs every byte is part of the name
               {"%B1%B1%", "[b]B1%"},
               {"%B1%%B1%", "[b][b]"},
               {"%B1%$B1%", "[b][b]%"},
               {"%B1 %", ""},
               {"$\xe6\xbc\xa2", "$\xe6\xbc\xa2"},
               {"\xff$B1\xff", "\xff[b]\xff"}};
  const CapturedLog log(CapturedLog::Level::kTrace);
  for (const auto& row : kRows) EXPECT_EQ(replaceEnvValue(row.text), row.result) << row.text;
  EXPECT_EQ(log.bytes(), "");
}

TEST(ReplaceEnvValue, LettersOfAName_AreWhatTheCLibrarySaysInTheLocale) {
  const EnvironmentGuard variable("B\xc4", "(B\xc4)");
  const EnvironmentGuard shorter("B", "(B)");
  localeLetter = 0xC4;
  EXPECT_EQ(replaceEnvValue("$B\xc4/"), "(B\xc4)/");
  localeLetter = 0;
  EXPECT_EQ(replaceEnvValue("$B\xc4/"), "(B)\xc4/");
}

TEST(ReplaceEnvValue, LongValues_AreInsertedWhole) {
  const std::string value(100000, 'v');
  const EnvironmentGuard variable("B1", value.c_str());
  EXPECT_EQ(replaceEnvValue("<$B1>"), "<" + value + ">");
}

TEST(ReplaceEnvValue, Null_IsEmptyWithoutALine) {
  const CapturedLog log(CapturedLog::Level::kTrace);
  EXPECT_EQ(replaceEnvValue(nullptr), "");
  EXPECT_EQ(log.bytes(), "");
}

/// The judge: one pass with a pending token and its mode, byte by byte.
class SlowExpansion {
 public:
  std::string expand(const std::string& text) {
    for (std::size_t i = 0; i < text.size();) i += take(text[i]) ? 1 : 0;
    if (m_mode == '$') endToken();
    if (m_mode == '%') m_result += m_token;
    return m_result;
  }

 private:
  /// False when the byte only ended a token, and is to be looked at again.
  bool take(char byte) {
    const bool isNameByte = std::isalnum(static_cast<unsigned char>(byte)) != 0 || byte == '_';
    if (m_mode == '$' && !isNameByte) {
      endToken();
      return false;
    }
    if (m_mode == '%' && byte == '%') {
      endToken();
    } else if (m_mode != '\0') {
      m_token += byte;
    } else if (byte == '$' || byte == '%') {
      m_mode = byte;
      m_token = byte;
    } else {
      m_result += byte;
    }
    return true;
  }

  void endToken() {
    const char* value = std::getenv(m_token.substr(1).c_str());
    if (m_token.size() == 1) {
      m_result += m_token;
    } else if (value != nullptr) {
      m_result += value;
    }
    m_mode = '\0';
  }

  std::string m_result;
  std::string m_token;
  char m_mode = '\0';
};

TEST(ReplaceEnvValue, GeneratedTexts_AgreeWithTheSlowExpansion) {
  const Variables variables;
  Generator generator(20014);
  for (const std::string& alphabet : {std::string("$%AB1_ /"), std::string("$%AC"), allBytes()}) {
    for (int i = 0; i < 20000; ++i) {
      const std::string text = generator.text(alphabet, 12);
      ASSERT_EQ(replaceEnvValue(text.c_str()), SlowExpansion().expand(text)) << text;
    }
  }
}

// --- getInstallRoot ------------------------------------------------------------------------------

TEST(GetInstallRoot, Value_LosesOneSlashAndGetsOneWhenAsked) {
  const struct {
    const char* value;
    const char* without;
    const char* with;
  } kRows[] = {{nullptr, "", "/"},
               {"", "", "/"},
               {"/", "", "/"},
               {"/opt/x", "/opt/x", "/opt/x/"},
               {"/opt/x/", "/opt/x", "/opt/x/"},
               {"/opt/x//", "/opt/x/", "/opt/x//"},
               {"a b", "a b", "a b/"},
               {"/ ", "/ ", "/ /"}};
  const CapturedLog log(CapturedLog::Level::kTrace);
  for (const auto& row : kRows) {
    const EnvironmentGuard variable("PKG_INSTALL_ROOT", row.value);
    EXPECT_EQ(getInstallRoot(0), row.without);
    for (const int withSlash : {1, 2, -1}) EXPECT_EQ(getInstallRoot(withSlash), row.with);
  }
  EXPECT_EQ(log.bytes(), "");
}

}  // namespace
