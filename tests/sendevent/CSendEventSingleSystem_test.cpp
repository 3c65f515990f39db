#include "sendevent/CSendEventSingleSystem.h"

#include <gtest/gtest.h>
#include <sys/stat.h>
#include <sys/utsname.h>
#include <unistd.h>

#include <cstdio>
#include <filesystem>
#include <fstream>
#include <string>

#include "support/FakeKelcom.h"
#include "support/actionlog.h"
#include "support/childrun.h"
#include "support/environmentguard.h"
#include "support/logtexts.h"
#include "support/pattern.h"
#include "support/scratch.h"
#include "support/testevent.h"
#include "support/transmission.h"

namespace {

/// What an event without files leaves in the log at information level.
const Texts kEmptyEventLog = sessionLog({});

std::string nodeName() {
  utsname names = {};
  ::uname(&names);
  return names.nodename;
}

/// A run on the fake library, with nothing in the environment that moves temporary items.
class SingleSystem : public testing::Test {
 protected:
  TestSingleSystem incident() {
    TestSingleSystem event(2, {});
    event.m_params = {{"IncidentNumber", "77"}};
    return event;
  }

  TestSingleSystem eventOf(int type) {
    TestSingleSystem event(type, {});
    event.m_params = eventParams();
    return event;
  }

  EnvironmentGuard m_tmpdir{"TMPDIR", nullptr};
  EnvironmentGuard m_keepTemp{"TANEX_NOT_DEL_TEMP", nullptr};
  ScratchDir m_dir;
  CapturedLog m_log;
  FakeKelcom m_fake;
};

// --- machine identifier --------------------------------------------------------------------------

TEST_F(SingleSystem, Identifier_IsAskedTwiceBeforeTheSessionWhateverTheLibraryAnswers) {
  for (const int result : {0, -1}) {
    m_fake.calls.clear();
    m_fake.idResult = result;
    m_fake.storesId = result == 0;
    TestSingleSystem event = eventOf(3);
    EXPECT_EQ(event.sendEvent(), 0);
    EXPECT_EQ(m_fake.calls, inOrder({{"GetID", "GetID"}, session({})}));
    EXPECT_EQ(m_log.take(), kEmptyEventLog) << "the machine's name is not asked for";
    EXPECT_STREQ(event.getParam("HostName"), "db01");
  }
}

TEST_F(SingleSystem, IntegerThrownForTheIdentifier_IsTheResultUnlessItIs0) {
  const Texts sent =
      inOrder({{"[T](SendEventBase:491):final_total='0' bytes. \n"}, kEmptyEventLog});
  for (const int thrower : {1, 2}) {
    for (const int code : {0, 1, -1, 33, 68}) {
      const CapturedLog log(CapturedLog::Level::kTrace);
      m_fake.calls.clear();
      int asked = 0;
      m_fake.onCall = [&](const std::string& call) {
        if (call == "GetID" && ++asked == thrower) throw code;
      };
      TestSingleSystem event = code == 0 ? eventOf(3) : incident();
      const Params params = event.m_params;
      const Texts questions(static_cast<std::size_t>(thrower), "GetID");
      const Texts caught = {"(CSendInfo::CommSendInfo) caught error code=" + std::to_string(code)};
      EXPECT_EQ(event.sendEvent(), code);
      EXPECT_EQ(m_fake.calls, code == 0 ? inOrder({questions, session({})}) : questions);
      EXPECT_EQ(log.texts(), code == 0 ? inOrder({caught, sent}) : caught);
      EXPECT_EQ(event.m_params, params) << "no host name is asked for";
    }
  }
}

TEST_F(SingleSystem, IntegerThrownForTheIdentifier_IsSilentAtInformationLevel) {
  m_fake.onCall = [](const std::string&) { throw 5; };
  EXPECT_EQ(eventOf(3).sendEvent(), 5);
  EXPECT_EQ(m_log.texts(), Texts());
}

// --- host name -----------------------------------------------------------------------------------

TEST_F(SingleSystem, EmptyOrAbsentHostName_IsTheMachinesBeforeTheTransmission) {
  for (const bool isAbsent : {false, true}) {
    TestSingleSystem event = eventOf(3);
    event.m_params["HostName"] = "";
    if (isAbsent) event.m_params.erase("HostName");
    EXPECT_EQ(event.sendEvent(), 0);
    EXPECT_EQ(event.m_params["HostName"], nodeName());
    EXPECT_EQ(
        withoutPids(m_log.take()),
        inOrder({{"VUQ90004L : com=uname -n 2>/dev/null", "VUQ90004L : pid=<pid>,wstat=00000000"},
                 kEmptyEventLog}));
  }
}

// --- event mode ----------------------------------------------------------------------------------

TEST_F(SingleSystem, Event_ReturnsTheTransmissionsResultAndCollectsNothing) {
  // With a place where no directory can be made, an attempt would end with 78.
  const EnvironmentGuard unusable("TMPDIR", "/proc");
  for (const int type : {1, 3, 4}) {
    for (const int thrown : {0, 1, 5, -5, 68, 78}) {
      m_fake.onCall = [thrown](const std::string& call) {
        if (call == "StopComm") throw thrown;
      };
      EXPECT_EQ(eventOf(type).sendEvent(), thrown) << type;
      EXPECT_EQ(m_log.take(), sessionLog({}, thrown == 0 ? kOk : kError));
    }
  }
}

// --- incident mode -------------------------------------------------------------------------------

/// Runs incidents in children with private mounts, where /opt holds collection commands that tell
/// what they were started with, print something on both outputs and fail.
class Collection : public SingleSystem {
 protected:
  void SetUp() override {
    if (::getuid() != 0) GTEST_SKIP() << "needs root for the commands' fixed place";
  }

  /// A run of `event`, whose result is the child's exit status.
  ChildResult send(TestSingleSystem event) {
    const ChildResult child = runInChild([&] {
      if (!enterPrivateMounts() || !mountTmpfs("/opt")) return 200;
      std::filesystem::create_directories("/opt/dovra/tanex/bin");
      writeCommand("tanexcc", 3);
      writeCommand("tanexcs", 4);
      return event.sendEvent();
    });
    EXPECT_NE(child.exitCode(), 200) << "no private mounts";
    return child;
  }

  /// What the commands wrote down, a line each: program, number of arguments, arguments, whether
  /// the directory was there and how many entries it had, its name as "DIR"; removed by the
  /// reading.
  std::string started() {
    const std::string path = m_dir / "started";
    if (::access(path.c_str(), F_OK) != 0) return "";
    const std::string lines = readFile(path);
    ::unlink(path.c_str());
    return replacePattern(lines, "/swcon[A-Za-z0-9]{6}_", "/DIR");
  }

  const std::string kBothStarted =
      "/opt/dovra/tanex/bin/tanexcc 1 /tmp/DIR 0\n/opt/dovra/tanex/bin/tanexcs 1 /tmp/DIR 1\n";

 private:
  void writeCommand(const std::string& name, int status) {
    const std::string path = "/opt/dovra/tanex/bin/" + name;
    std::ofstream(path) << "#!/bin/sh\necho \"$0 $# $* $(ls -A \"$1\" | wc -l)\" >> "
                        << (m_dir / "started") << "\necho " << name << " collects\necho " << name
                        << " complains >&2\ntouch \"$1/" << name << "\"\nexit " << status << "\n";
    ::chmod(path.c_str(), 0755);
  }
};

TEST_F(Collection, BothCommands_RunAfterATransmissionThatReturned0Or1Alone) {
  for (const int thrown : {0, 1, 2, 5, 68, 78, 254, -1, -255, -68}) {
    m_fake.onCall = [this, thrown](const std::string& call) {
      if (call != "StopComm") return;
      if (::access((m_dir / "started").c_str(), F_OK) == 0) std::puts("before the stop");
      throw thrown;
    };
    const ChildResult child = send(incident());
    const bool isCollected = thrown == 0 || thrown == 1;
    EXPECT_EQ(child.exitCode(), thrown & 0xff);
    EXPECT_EQ(started(), isCollected ? kBothStarted : "") << "though the first failed: " << thrown;
    EXPECT_EQ(child.out, isCollected ? "tanexcc collects\ntanexcs collects\n" : "");
    EXPECT_EQ(child.err, "");
  }
  m_fake.startResult = -1;
  EXPECT_EQ(send(incident()).exitCode(), 1);
  EXPECT_EQ(started(), kBothStarted);
}

TEST_F(Collection, MissingCommands_DoNotMatter) {
  const ChildResult child = runInChild([this] {
    if (!enterPrivateMounts() || !mountTmpfs("/opt")) return 200;
    return incident().sendEvent();
  });
  EXPECT_EQ(child.exitCode(), 0);
  EXPECT_EQ(child.out + child.err, "");
}

TEST_F(Collection, NoTemporaryDirectory_EndsWith78WhateverTheTransmissionsResult) {
  const EnvironmentGuard unusable("TMPDIR", "/proc");
  for (const int status : {kOperating, kStopped}) {
    m_fake.status = status;
    const ChildResult child = send(incident());
    EXPECT_EQ(child.exitCode(), 78);
    EXPECT_EQ(started(), "");
    EXPECT_EQ(m_log.take().back(), "make tempname error (CSendEventSingleSystem::SendEvent)");
  }
}

TEST_F(Collection, Directory_ReachesTheShellUnquoted) {
  // The blank in the path makes two arguments of it.
  const std::string parent = m_dir / "two words";
  ASSERT_EQ(::mkdir(parent.c_str(), 0700), 0);
  const EnvironmentGuard place("TMPDIR", parent.c_str());
  EXPECT_EQ(send(incident()).exitCode(), 0);
  const std::string arguments = (m_dir / "two") + " words/DIR";
  EXPECT_EQ(started(), "/opt/dovra/tanex/bin/tanexcc 2 " + arguments +
                           " 0\n/opt/dovra/tanex/bin/tanexcs 2 " + arguments + " 0\n");
}

TEST_F(Collection, CommandLine_IsBoundedTo1022Characters) {
  // A place so deep that the directory's last five characters fall off the command line, and its
  // redirection with them.
  const std::string program = "/opt/dovra/tanex/bin/tanexcc";
  const std::size_t length =
      1022 + 5 - (program + " ").size() - std::string("/swconXXXXXX_").size();
  std::string parent = m_dir.path();
  while (parent.size() < length - 100) parent += "/" + std::string(90, 'd');
  parent += "/" + std::string(length - parent.size() - 1, 'e');
  std::filesystem::create_directories(parent);
  const EnvironmentGuard place("TMPDIR", parent.c_str());
  const ChildResult child = send(incident());
  EXPECT_EQ(child.exitCode(), 0);

  const Texts lines = linesOf(readFile(m_dir / "started"));
  ASSERT_EQ(lines.size(), 2U);
  EXPECT_EQ(lines[0].substr(0, program.size() + length + 9), program + " 1 " + parent + "/swcon");
  EXPECT_EQ(lines[0].size(), 1022 + std::string("1  0").size());
  EXPECT_NE(child.err.find("tanexcc complains\n"), std::string::npos);
}

}  // namespace
