#include "common/capture/host.h"

#include <gtest/gtest.h>
#include <sched.h>
#include <sys/utsname.h>
#include <unistd.h>

#include <cstdio>
#include <cstring>
#include <string>
#include <vector>

#include "support/actionlog.h"
#include "support/childrun.h"
#include "support/logtexts.h"
#include "support/scratch.h"

namespace {

TEST(GetHostname, Result_IsTheNodeName) {
  utsname names = {};
  ASSERT_EQ(::uname(&names), 0);
  EXPECT_EQ(getHostname(), names.nodename);
}

TEST(GetHostname, RenamedHost_GivesItsNewName) {
  if (::getuid() != 0) GTEST_SKIP() << "needs root for a host name of its own";
  const ChildResult child = runInChild([] {
    const char name[] = "node-7.example";
    if (::unshare(CLONE_NEWUTS) != 0 || ::sethostname(name, std::strlen(name)) != 0) return 77;
    std::puts(getHostname().c_str());
    return 0;
  });
  EXPECT_EQ(child.exitCode(), 0);
  EXPECT_EQ(child.out, "node-7.example\n");
}

TEST(GetHostname, Run_IsLoggedAsACapturedCommand) {
  const CapturedLog log(CapturedLog::Level::kTrace);
  getHostname();
  EXPECT_EQ(
      withoutPids(log.texts()),
      inOrder({{"[T](common:1345):execGetLines():count=1,uname -n 2>/dev/null",
                "VUQ90004L : com=uname -n 2>/dev/null", "VUQ90004L : pid=<pid>,wstat=00000000"},
               tracedExit(0)}));
}

TEST(GetHostname, CommandPrintsNothing_GivesTheEmptyText) {
  if (::getuid() != 0) GTEST_SKIP() << "needs root to hide the command";
  const ScratchDir empty;
  const ChildResult child = runInChild([&] {
    if (::chroot(empty.path().c_str()) != 0) return 77;
    std::printf("'%s'\n", getHostname().c_str());
    return 0;
  });
  EXPECT_EQ(child.exitCode(), 0);
  EXPECT_EQ(child.out, "''\n");
}

TEST(GetDomainname, RenamedDomain_GivesItsNewName) {
  if (::getuid() != 0) GTEST_SKIP() << "needs root for a domain name of its own";
  if (::access("/bin/domainname", X_OK) != 0) GTEST_SKIP() << "domainname(1) is not installed";
  const ChildResult child = runInChild([] {
    const char name[] = "domain-7";
    if (::unshare(CLONE_NEWUTS) != 0 || ::setdomainname(name, std::strlen(name)) != 0) return 77;
    std::puts(getDomainname().c_str());
    return 0;
  });
  EXPECT_EQ(child.exitCode(), 0);
  EXPECT_EQ(child.out, "domain-7\n");
}

TEST(GetDomainname, Run_IsLoggedAsACapturedCommandOfOneLine) {
  const CapturedLog log(CapturedLog::Level::kTrace);
  getDomainname();
  const std::vector<std::string> texts = log.texts();
  ASSERT_EQ(texts.size(), 7u);
  EXPECT_EQ(texts[0], "[T](common:1345):execGetLines():count=1,domainname 2>/dev/null");
  EXPECT_EQ(texts[1], "VUQ90004L : com=domainname 2>/dev/null");
}

TEST(GetDomainname, CommandPrintsNothing_GivesTheEmptyText) {
  if (::getuid() != 0) GTEST_SKIP() << "needs root to hide the command";
  const ScratchDir empty;
  const ChildResult child = runInChild([&] {
    if (::chroot(empty.path().c_str()) != 0) return 77;
    std::printf("'%s'\n", getDomainname().c_str());
    return 0;
  });
  EXPECT_EQ(child.out, "''\n");
}

}  // namespace
