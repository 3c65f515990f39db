#include "common/text/environment.h"

#include <gtest/gtest.h>

#include <string>
#include <vector>

#include "support/actionlog.h"
#include "support/environmentguard.h"

namespace {

using Texts = std::vector<std::string>;

TEST(GetEnvValue, SetVariable_GivesItsValue) {
  const std::string longValue(5000, 'x');
  for (const std::string& value : {std::string("1"), std::string(" a=b "), longValue}) {
    const EnvironmentGuard variable("TANEX_TEST_VALUE", value.c_str());
    EXPECT_EQ(getEnvValue("TANEX_TEST_VALUE"), value);
  }
}

TEST(GetEnvValue, UnsetOrEmptyVariable_GivesTheEmptyText) {
  const CapturedLog log;
  const EnvironmentGuard unset("TANEX_TEST_VALUE", nullptr);
  EXPECT_EQ(getEnvValue("TANEX_TEST_VALUE"), "");
  const EnvironmentGuard empty("TANEX_TEST_VALUE", "");
  EXPECT_EQ(getEnvValue("TANEX_TEST_VALUE"), "");
  EXPECT_EQ(getEnvValue(""), "");
  EXPECT_EQ(log.bytes(), "");
}

TEST(GetEnvValue, Null_IsLoggedAndEmpty) {
  const CapturedLog log;
  EXPECT_EQ(getEnvValue(nullptr), "");
  EXPECT_EQ(log.texts(), Texts({"[I](common:602):invalid param"}));
}

// --- replaceEnvValue -----------------------------------------------------------------------------

TEST(ReplaceEnvValue, PercentSignAtTheEnd_Stays) { EXPECT_EQ(replaceEnvValue("100%"), "100%"); }

TEST(ReplaceEnvValue, DollarSignAtTheEnd_Stays) { EXPECT_EQ(replaceEnvValue("a$"), "a$"); }

TEST(ReplaceEnvValue, UnsetVariable_ExpandsToNothing) {
  const EnvironmentGuard unset("TANEX_TEST_VALUE", nullptr);
  EXPECT_EQ(replaceEnvValue("<$TANEX_TEST_VALUE|%TANEX_TEST_VALUE%>"), "<|>");
}

TEST(ReplaceEnvValue, References_AreExpandedOnce) {
  const EnvironmentGuard variable("TANEX_TEST_VALUE", "$v%");
  const EnvironmentGuard odd("a b", "odd");
  const struct {
    const char* text;
    const char* result;
  } kRows[] = {{"", ""},
               {"plain", "plain"},
               {"$TANEX_TEST_VALUE", "$v%"},
               {"$TANEX_TEST_VALUE/x", "$v%/x"},
               {"%TANEX_TEST_VALUE%/x", "$v%/x"},
               {"$TANEX_TEST_VALUE$TANEX_TEST_VALUE", "$v%$v%"},
               {"$TANEX_TEST_VALUE%TANEX_TEST_VALUE%", "$v%$v%"},
               {"$TANEX_TEST_VALUE2x", ""},
               {"${", "${"},
               {"$$", "$$"},
               {"$ ", "$ "},
               {"%%", "%"},
               {"%%%%", "%%"},
               {"100%% $", "100% $"},
               {"%a b%", "odd"},
               {"%TANEX_TEST_VALUE", "%TANEX_TEST_VALUE"},
               {"$%%", "$%"}};
  for (const auto& row : kRows) EXPECT_EQ(replaceEnvValue(row.text), row.result) << row.text;
}

TEST(ReplaceEnvValue, Null_GivesTheEmptyText) {
  const CapturedLog log;
  EXPECT_EQ(replaceEnvValue(nullptr), "");
  EXPECT_EQ(log.bytes(), "");
}

// --- getInstallRoot ------------------------------------------------------------------------------

TEST(GetInstallRoot, Variable_LosesOneSlashAndGetsOneWhenAskedFor) {
  const struct {
    const char* value;
    const char* bare;
    const char* withSlash;
  } kRows[] = {{nullptr, "", "/"},  {"", "", "/"},        {"/", "", "/"},
               {"/a", "/a", "/a/"}, {"/a/", "/a", "/a/"}, {"/a//", "/a/", "/a//"}};
  for (const auto& row : kRows) {
    const EnvironmentGuard variable("PKG_INSTALL_ROOT", row.value);
    EXPECT_EQ(getInstallRoot(0), row.bare);
    EXPECT_EQ(getInstallRoot(1), row.withSlash);
    EXPECT_EQ(getInstallRoot(-1), row.withSlash);
  }
}

}  // namespace
