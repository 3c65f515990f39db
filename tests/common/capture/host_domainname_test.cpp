#include "common/capture/host.h"

#include <gtest/gtest.h>

#include <string>
#include <vector>

#include "support/actionlog.h"
#include "support/fakeprogram.h"
#include "support/logtexts.h"

namespace {

using Texts = std::vector<std::string>;

TEST(GetDomainname, FirstLineOfOutput_IsTheName) {
  const FakeProgram domainname("domainname");
  const struct {
    std::string output;
    std::string name;
  } kRows[] = {{"centre.example\n", "centre.example"},
               {"(none)\n", "(none)"},
               {"a\r\nb\n", "a"},
               {"a", "a"},
               {" a b \n", " a b "},
               {"\nb\n", ""},
               {std::string(1023, 'n') + "\n", std::string(1023, 'n')},
               {std::string(1500, 'n') + "\n", std::string(1023, 'n')}};
  for (const auto& row : kRows) {
    domainname.answer(row.output);
    EXPECT_EQ(getDomainname(), row.name) << row.output;
  }
}

TEST(GetDomainname, NoOutput_IsTheEmptyText) {
  const FakeProgram domainname("domainname");
  EXPECT_EQ(getDomainname(), "");
}

TEST(GetDomainname, ExitStatus_DoesNotMatter) {
  const FakeProgram domainname("domainname");
  domainname.answer("a\n", "echo error >&2; exit 3");
  EXPECT_EQ(getDomainname(), "a");
}

TEST(GetDomainname, Run_IsLoggedAsACapturedCommand) {
  const FakeProgram domainname("domainname");
  const CapturedLog log(CapturedLog::Level::kTrace);
  getDomainname();
  EXPECT_EQ(domainname.takeArguments(), Texts({"0"}));
  EXPECT_EQ(
      withoutPids(log.texts()),
      inOrder({{"[T](common:1345):execGetLines():count=1,domainname 2>/dev/null",
                "VUQ90004L : com=domainname 2>/dev/null", "VUQ90004L : pid=<pid>,wstat=00000000"},
               tracedExit(0)}));
}

}  // namespace
