#include "common/text/environment.h"

#include <gtest/gtest.h>

#include <string>
#include <tuple>
#include <utility>

#include "support/actionlog.h"
#include "support/environmentguard.h"

namespace {

TEST(GetEnvValue, Variable_GivesItsValueAndAnUnsetOneTheEmptyText) {
  const CapturedLog log(CapturedLog::Level::kTrace);
  for (const std::string& value : {std::string(), std::string(" a=b "), std::string(5000, 'x')}) {
    const EnvironmentGuard variable("TANEX_TEST_VALUE", value.c_str());
    EXPECT_EQ(getEnvValue("TANEX_TEST_VALUE"), value);
  }
  const EnvironmentGuard unset("TANEX_TEST_VALUE", nullptr);
  EXPECT_EQ(getEnvValue("TANEX_TEST_VALUE"), "");
  EXPECT_EQ(getEnvValue(""), "");
  EXPECT_EQ(log.bytes(), "");
}

TEST(ReplaceEnvValue, References_AreExpandedOnce) {
  const EnvironmentGuard a("A", "<$B1%B1%>");  // looks like references itself
  const EnvironmentGuard b("B1", "[b]");
  const EnvironmentGuard underscore("_", "{u}");
  const EnvironmentGuard odd("a b$c", "odd");
  const std::string value(100000, 'v');
  const EnvironmentGuard longest("LONG", value.c_str());
  const EnvironmentGuard unset("C", nullptr);
  const std::pair<const char*, std::string> kRows[] = {
      {"", ""},
      {"$B1/x", "[b]/x"},
      {"%B1%/x", "[b]/x"},
      {"$A", "<$B1%B1%>"},  // a value is not expanded again
      {"%A%", "<$B1%B1%>"},
      {"x%C%/y", "x/y"},
      {"a$", "a$"},
      {"${B1}", "${B1}"},
      {"$ B1", "$ B1"},
      {"$$B1", "$[b]"},
      {"$B1%B1%", "[b][b]"},
      {"$B1%", "[b]%"},
      {"$B1x", ""},  // the longest name counts
      {"$_", "{u}"},
      {"$_x", ""},
      {"$1B", ""},
      {"%%", "%"},
      {"%%%", "%%"},
      {"%B1", "%B1"},
      {"%B1$B1", "%B1$B1"},  // no reference within one that has no end
      {"%a b$c%x", "oddx"},  // between percent signs every byte is part of the name
      {"%B1%B1%", "[b]B1%"},
      {"%B1%%B1%", "[b][b]"},
      {"%B1%$B1%", "[b][b]%"},
      {"<$LONG>", "<" + value + ">"},
      {"$\xe6\xbc\xa2", "$\xe6\xbc\xa2"},
      {"\xff$B1\xff", "\xff[b]\xff"}};
  const CapturedLog log(CapturedLog::Level::kTrace);
  for (const auto& [text, result] : kRows) EXPECT_EQ(replaceEnvValue(text), result) << text;
  EXPECT_EQ(log.bytes(), "");
}

TEST(GetInstallRoot, Value_LosesOneSlashAndGetsOneWhenAsked) {
  const std::tuple<const char*, const char*, const char*> kRows[] = {
      {nullptr, "", "/"},
      {"", "", "/"},
      {"/", "", "/"},
      {"/opt/x", "/opt/x", "/opt/x/"},
      {"/opt/x/", "/opt/x", "/opt/x/"},
      {"/opt/x//", "/opt/x/", "/opt/x//"},
      {"/ ", "/ ", "/ /"}};
  const CapturedLog log(CapturedLog::Level::kTrace);
  for (const auto& [value, without, with] : kRows) {
    const EnvironmentGuard variable("PKG_INSTALL_ROOT", value);
    EXPECT_EQ(getInstallRoot(0), without);
    for (const int withSlash : {1, 2, -1}) EXPECT_EQ(getInstallRoot(withSlash), with);
  }
  EXPECT_EQ(log.bytes(), "");
}

}  // namespace
