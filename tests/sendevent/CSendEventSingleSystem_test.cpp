#include "sendevent/CSendEventSingleSystem.h"

#include <gtest/gtest.h>
#include <sys/stat.h>
#include <sys/utsname.h>
#include <unistd.h>

#include <filesystem>
#include <fstream>
#include <regex>
#include <stdexcept>
#include <string>
#include <vector>

#include "support/FakeKelcom.h"
#include "support/actionlog.h"
#include "support/childrun.h"
#include "support/environmentguard.h"
#include "support/logtexts.h"
#include "support/scratch.h"
#include "support/testevent.h"

namespace {

using Texts = std::vector<std::string>;

const std::string kUname = "uname -n 2>/dev/null";
const std::string kOk = "commonSendEvent OK";
const std::string kError = "commonSendEvent Error.";
const std::string kStarted = "(CSendInfo::SendInfo) call startCom(RM_MODE_SYNC)=0";

/// What an event without files leaves in the log at information level.
const Texts kEmptyEventLog = {kStarted, kOk};

/// The calls of a run without files: the identifier twice, then the session.
const Texts kEmptySession = {"GetID",        "GetID",    "GetStatus(0)", "GetStatus(0)",
                             "StartComm(0)", "StopComm", "StopComm"};

std::string nodeName() {
  utsname names = {};
  ::uname(&names);
  return names.nodename;
}

/// A text with the name of the temporary directory as "DIR".
std::string steady(const std::string& text) {
  static const std::regex directory("/swcon[A-Za-z0-9]{6}_");
  return std::regex_replace(text, directory, "/DIR");
}

/// Texts without what differs from run to run: process ids, and the directory's name.
Texts steady(const Texts& texts) {
  Texts result;
  for (const std::string& text : withoutPids(texts)) result.push_back(steady(text));
  return result;
}

const Texts kHostNameLog = {"VUQ90004L : com=" + kUname, "VUQ90004L : pid=<pid>,wstat=00000000"};

const Texts kMakeDirLog = {"VUQ90004L : pid=<pid>,wstat=00000000",
                           "VUQ90004L : com=mkdir -p /tmp/DIR 2>/dev/null"};

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

TEST_F(SingleSystem, IdentifierIsAskedTwiceBeforeTheSession) {
  TestSingleSystem event = eventOf(3);
  EXPECT_EQ(event.sendEvent(), 0);
  EXPECT_EQ(m_fake.calls, kEmptySession);
  EXPECT_EQ(m_log.texts(), kEmptyEventLog);
}

TEST_F(SingleSystem, FailingIdentifierIsIgnored) {
  m_fake.idResult = -1;
  m_fake.storesId = false;
  TestSingleSystem event = eventOf(3);
  EXPECT_EQ(event.sendEvent(), 0);
  EXPECT_EQ(m_fake.calls, kEmptySession);
}

TEST_F(SingleSystem, Thrown0IsTracedAndTheEventIsSent) {
  for (const int thrower : {1, 2}) {
    const CapturedLog log(CapturedLog::Level::kTrace);
    m_fake.calls.clear();
    int asked = 0;
    m_fake.onCall = [&](const std::string& call) {
      if (call == "GetID" && ++asked == thrower) throw 0;
    };
    TestSingleSystem event = eventOf(3);
    EXPECT_EQ(event.sendEvent(), 0);
    EXPECT_EQ(log.texts(),
              (Texts{"(CSendInfo::CommSendInfo) caught error code=0",
                     "[T](SendEventBase:491):final_total='0' bytes. \n", kStarted, kOk}));
    EXPECT_EQ(asked, thrower) << "the second question is not made after a thrown first";
    EXPECT_EQ(m_fake.calls.back(), "StopComm");
  }
}

TEST_F(SingleSystem, ThrownIntegerIsTheResultAndNothingIsSent) {
  for (const int code : {1, -1, 33, 68}) {
    const CapturedLog log(CapturedLog::Level::kTrace);
    m_fake.calls.clear();
    m_fake.onCall = [code](const std::string&) { throw code; };
    TestSingleSystem event = incident();
    EXPECT_EQ(event.sendEvent(), code);
    EXPECT_EQ(log.texts(),
              Texts{"(CSendInfo::CommSendInfo) caught error code=" + std::to_string(code)});
    EXPECT_EQ(m_fake.calls, Texts{"GetID"});
    EXPECT_EQ(event.m_params, (Params{{"IncidentNumber", "77"}})) << "no host name is asked for";
  }
}

TEST_F(SingleSystem, ThrownIntegerIsSilentAtInformationLevel) {
  m_fake.onCall = [](const std::string&) { throw 5; };
  TestSingleSystem event = eventOf(3);
  EXPECT_EQ(event.sendEvent(), 5);
  EXPECT_EQ(m_log.texts(), Texts());
}

TEST_F(SingleSystem, ThrownObjectPasses) {
  m_fake.onCall = [](const std::string&) { throw std::runtime_error("identifier"); };
  TestSingleSystem event = eventOf(3);
  EXPECT_THROW(event.sendEvent(), std::runtime_error);
  EXPECT_EQ(m_fake.calls, Texts{"GetID"});
  EXPECT_EQ(m_log.texts(), Texts());
}

// --- host name -----------------------------------------------------------------------------------

TEST_F(SingleSystem, HostNameOfTheDefinitionIsKept) {
  TestSingleSystem event = eventOf(3);
  EXPECT_EQ(event.sendEvent(), 0);
  EXPECT_STREQ(event.getParam("HostName"), "db01");
  EXPECT_EQ(m_log.texts(), kEmptyEventLog) << "the machine's name is not asked for";
}

TEST_F(SingleSystem, EmptyOrAbsentHostNameIsTheMachines) {
  for (const bool isAbsent : {false, true}) {
    TestSingleSystem event = eventOf(4);
    event.m_params["HostName"] = "";
    if (isAbsent) event.m_params.erase("HostName");
    EXPECT_EQ(event.sendEvent(), 0);
    EXPECT_EQ(event.m_params["HostName"], nodeName());
    EXPECT_EQ(steady(m_log.take()), inOrder({kHostNameLog, kEmptyEventLog}));
  }
}

TEST_F(SingleSystem, HostNameIsFilledInBeforeTheTransmission) {
  const std::string file = m_dir.write("a", "a");
  TestSingleSystem event = eventOf(3);
  event.m_params.erase("HostName");
  event.m_sendFileList = {file};
  EXPECT_EQ(event.sendEvent(), 0);
  EXPECT_EQ(m_fake.calls.at(5),
            "Communicate(0x40204, 0, 0, \"2026/11/20 12:00:00\",,\"disk\",\"" + nodeName() +
                "\",\"Linux\",\"Debian\",\"12\",\"kernel\",\"E\",\"M0815\",\"Software Log\")");
}

TEST_F(SingleSystem, MachineWithoutANameStoresAnEmptyHostName) {
  const EnvironmentGuard path("PATH", "/nowhere");
  TestSingleSystem event = eventOf(3);
  event.m_params.erase("HostName");
  EXPECT_EQ(event.sendEvent(), 0);
  ASSERT_EQ(event.m_params.count("HostName"), 1U);
  EXPECT_EQ(event.m_params["HostName"], "");
  EXPECT_EQ(steady(m_log.texts()),
            inOrder({{"VUQ90004L : com=" + kUname, "VUQ90004L : pid=<pid>,wstat=00007f00"},
                     kEmptyEventLog}));
}

// --- event mode ----------------------------------------------------------------------------------

TEST_F(SingleSystem, EventMakesNoTemporaryDirectoryWhateverTheResult) {
  // With a place where no directory can be made, an attempt would end with 78.
  const EnvironmentGuard unusable("TMPDIR", "/proc");
  for (const int type : {3, 4}) {
    m_fake.status = 0x20;
    TestSingleSystem sent = eventOf(type);
    EXPECT_EQ(sent.sendEvent(), 0);
    EXPECT_EQ(m_log.take(), kEmptyEventLog);

    m_fake.status = 0x20000;
    TestSingleSystem stopped = eventOf(type);
    EXPECT_EQ(stopped.sendEvent(), 1);
    EXPECT_EQ(m_log.take().size(), 1U);
  }
}

TEST_F(SingleSystem, TypeThatIsNoIncidentMakesNoTemporaryDirectory) {
  const EnvironmentGuard unusable("TMPDIR", "/proc");
  TestSingleSystem event = eventOf(1);
  EXPECT_EQ(event.sendEvent(), 0);
  EXPECT_EQ(m_log.take(), kEmptyEventLog);

  m_fake.startResult = -1;
  TestSingleSystem unknown = eventOf(0);
  EXPECT_EQ(unknown.sendEvent(), 1);
  EXPECT_EQ(m_log.take().size(), 1U);
}

TEST_F(SingleSystem, ResultOfTheTransmissionIsReturned) {
  for (const int code : {5, -5, 68, 78}) {
    m_fake.onCall = [code](const std::string& call) {
      if (call == "StopComm") throw code;
    };
    TestSingleSystem event = eventOf(3);
    EXPECT_EQ(event.sendEvent(), code);
    EXPECT_EQ(m_log.take(), (Texts{kStarted, kError}));
  }
  m_fake.onCall = nullptr;
  TestSingleSystem unknown = eventOf(5);
  EXPECT_EQ(unknown.sendEvent(), 68);
}

// --- incident mode -------------------------------------------------------------------------------

/// Runs incidents in children with private mounts, where /opt holds collection commands that tell
/// what they were started with, print something on both outputs and fail.
class Collection : public SingleSystem {
 protected:
  void SetUp() override {
    if (::getuid() != 0) GTEST_SKIP() << "needs root for the commands' fixed place";
  }

  /// A run of `event`; the child's exit status is the result, and `calls` are the library's.
  ChildResult send(TestSingleSystem event) {
    const ChildResult child = runInChild([&] {
      if (!enterPrivateMounts() || !mountTmpfs("/opt")) return 200;
      std::filesystem::create_directories("/opt/dovra/tanex/bin");
      writeCommand("tanexcc", 3);
      writeCommand("tanexcs", 4);
      const int status = event.sendEvent();
      std::ofstream calls(m_dir / "calls");
      for (const std::string& call : m_fake.calls) calls << call << "\n";
      m_dir.write("host", event.m_params["HostName"]);
      return status;
    });
    EXPECT_NE(child.exitCode(), 200) << "no private mounts";
    return child;
  }

  /// What the commands wrote down, a line each: program, number of arguments, arguments, whether
  /// the directory was there and how many entries it had; removed by the reading.
  std::string started() {
    const std::string path = m_dir / "started";
    if (::access(path.c_str(), F_OK) != 0) return "";
    m_started = readFile(path);
    ::unlink(path.c_str());
    return steady(m_started);
  }

  /// The directory that the commands were given last.
  std::string directory() const {
    std::smatch match;
    const std::string lines = m_started;
    std::regex_search(lines, match, std::regex("(/[^ ]*/swcon[A-Za-z0-9]{6}_)"));
    return match.empty() ? "" : match[1].str();
  }

  Texts calls() { return linesOf(readFile(m_dir / "calls")); }

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

  std::string m_started;
};

TEST_F(Collection, RunsAfterASuccessfulTransmission) {
  const ChildResult child = send(incident());
  EXPECT_EQ(child.exitCode(), 0);
  EXPECT_EQ(started(), kBothStarted) << "both run, though the first failed, on one directory";
  EXPECT_EQ(child.out, "tanexcc collects\ntanexcs collects\n");
  EXPECT_EQ(child.err, "");
  EXPECT_EQ(calls(), kEmptySession);
  EXPECT_EQ(steady(m_log.texts()), inOrder({kHostNameLog, kEmptyEventLog, kMakeDirLog}));
}

TEST_F(Collection, WholeRunAtTraceLevel) {
  const CapturedLog log(CapturedLog::Level::kTrace);
  EXPECT_EQ(send(incident()).exitCode(), 0);
  const Texts expected = inOrder({{"[T](common:1345):execGetLines():count=1," + kUname},
                                  kHostNameLog,
                                  tracedExit(0),
                                  {"[T](SendEventBase:491):final_total='0' bytes. \n"},
                                  kEmptyEventLog,
                                  {"[T](CTemp:73):getTemp_sub():prefix=/tmp,templ=swconf"},
                                  kMakeDirLog,
                                  tracedExit(0),
                                  {"[T](CTemp:156):getTemp_sub():exit=1,type= DIR,FD=-1,/tmp/DIR",
                                   "[T](CTemp:188):delTempFile:/tmp/DIR",
                                   "[T](common:469):getCanonicalPath():/tmp/DIR,/tmp/DIR",
                                   "[T](common:520):/bin/rm -fr /tmp/DIR >/dev/null 2>&1"},
                                  tracedExit(0)});
  EXPECT_EQ(steady(log.texts()), expected);
}

TEST_F(Collection, TemporaryDirectoryIsGoneAfterwards) {
  EXPECT_EQ(send(incident()).exitCode(), 0);
  started();
  ASSERT_NE(directory(), "");
  EXPECT_NE(::access(directory().c_str(), F_OK), 0) << directory();
}

TEST_F(Collection, TemporaryDirectoryStaysWhenAskedTo) {
  const EnvironmentGuard keep("TANEX_NOT_DEL_TEMP", "1");
  EXPECT_EQ(send(incident()).exitCode(), 0);
  started();
  ASSERT_NE(directory(), "");
  EXPECT_EQ(namesIn(directory()), (Texts{"tanexcc", "tanexcs"}));
  std::filesystem::remove_all(directory());
}

TEST_F(Collection, IncidentHasNumberAndHostNameWhenItIsSent) {
  const std::string file = m_dir.write("a", "a");
  TestSingleSystem event = incident();
  event.m_sendFileList = {file};
  EXPECT_EQ(send(event).exitCode(), 0);
  EXPECT_EQ(readFile(m_dir / "host"), nodeName());
  EXPECT_EQ(calls().at(5), "Communicate(0x40017, 0, 0, INCNO=\"77\",HOSTNAME=\"" + nodeName() +
                               "\",PART=\"1\",TOTAL=\"1\")");
}

TEST_F(Collection, RunsAfterATransmissionThatReturned1) {
  m_fake.status = 0x20000;
  EXPECT_EQ(send(incident()).exitCode(), 1);
  EXPECT_EQ(started(), kBothStarted);

  m_fake.status = 0x20;
  m_fake.startResult = -1;
  EXPECT_EQ(send(incident()).exitCode(), 1);
  EXPECT_EQ(started(), kBothStarted);
}

TEST_F(Collection, DoesNotRunAfterATransmissionThatReturned68) {
  m_fake.onCall = [](const std::string& call) {
    if (call == "StopComm") throw 68;
  };
  const ChildResult child = send(incident());
  EXPECT_EQ(child.exitCode(), 68);
  EXPECT_EQ(started(), "");
  EXPECT_EQ(child.out, "");
  EXPECT_EQ(steady(m_log.texts()), inOrder({kHostNameLog, {kStarted, kError}}));
}

TEST_F(Collection, DoesNotRunAfterAnyOtherResult) {
  for (const int code : {2, 5, 78, 254}) {
    m_fake.onCall = [code](const std::string& call) {
      if (call == "StopComm") throw code;
    };
    EXPECT_EQ(send(incident()).exitCode(), code);
    EXPECT_EQ(started(), "");
  }
}

TEST_F(Collection, DoesNotRunAfterANegativeResult) {
  for (const int code : {-1, -2, -255, -68}) {
    m_fake.onCall = [code](const std::string& call) {
      if (call == "StopComm") throw code;
    };
    EXPECT_EQ(send(incident()).exitCode(), code & 0xff);
    EXPECT_EQ(started(), "") << code;
  }
}

TEST_F(Collection, DoesNotRunWhenTheIdentifierThrows) {
  m_fake.onCall = [](const std::string& call) {
    if (call == "GetID") throw 5;
  };
  EXPECT_EQ(send(incident()).exitCode(), 5);
  EXPECT_EQ(started(), "");
  EXPECT_EQ(m_log.texts(), Texts());
}

TEST_F(Collection, DoesNotRunInEventMode) {
  for (const int type : {3, 4}) {
    for (const int status : {0x20, 0x20000}) {
      m_fake.status = status;
      const ChildResult child = send(eventOf(type));
      EXPECT_EQ(child.exitCode(), status == 0x20 ? 0 : 1);
      EXPECT_EQ(started(), "");
      EXPECT_EQ(child.out, "");
    }
  }
}

TEST_F(Collection, RunsOnlyAfterTheTransmissionHasReturned) {
  m_fake.onCall = [this](const std::string& call) {
    if (call == "StopComm" && ::access((m_dir / "started").c_str(), F_OK) == 0) throw 99;
  };
  EXPECT_EQ(send(incident()).exitCode(), 0);
  EXPECT_EQ(started(), kBothStarted);
}

TEST_F(Collection, NoTemporaryDirectoryEndsWith78) {
  const EnvironmentGuard unusable("TMPDIR", "/proc");
  for (const int status : {0x20, 0x20000}) {
    m_fake.status = status;
    const ChildResult child = send(incident());
    EXPECT_EQ(child.exitCode(), 78) << "the transmission's result is dropped";
    EXPECT_EQ(started(), "");
    EXPECT_EQ(child.out, "");
    Texts log = steady(m_log.take());
    if (status == 0x20) {
      Texts expected = inOrder({kHostNameLog, kEmptyEventLog});
      for (int attempt = 0; attempt < 10; ++attempt) {
        expected = inOrder({expected,
                            {"VUQ90004L : pid=<pid>,wstat=00000100",
                             "VUQ90004L : com=mkdir -p /proc/DIR 2>/dev/null",
                             "VUQ90103L : failed to create dir:/proc/DIR"}});
      }
      expected.emplace_back("make tempname error (CSendEventSingleSystem::SendEvent)");
      EXPECT_EQ(log, expected);
    }
  }
}

TEST_F(Collection, MissingCommandsDoNotMatter) {
  const ChildResult child = runInChild([this] {
    if (!enterPrivateMounts() || !mountTmpfs("/opt")) return 200;
    return incident().sendEvent();
  });
  EXPECT_EQ(child.exitCode(), 0);
  EXPECT_EQ(child.out, "");
  EXPECT_EQ(child.err, "");
  EXPECT_EQ(steady(m_log.texts()), inOrder({kHostNameLog, kEmptyEventLog, kMakeDirLog}));
}

TEST_F(Collection, DirectoryReachesTheShellUnquoted) {
  // The blank in the path makes two arguments of it.
  const std::string parent = m_dir / "two words";
  ASSERT_EQ(::mkdir(parent.c_str(), 0700), 0);
  const EnvironmentGuard place("TMPDIR", parent.c_str());
  EXPECT_EQ(send(incident()).exitCode(), 0);
  const std::string arguments = (m_dir / "two") + " words/DIR";
  EXPECT_EQ(started(), "/opt/dovra/tanex/bin/tanexcc 2 " + arguments +
                           " 0\n/opt/dovra/tanex/bin/tanexcs 2 " + arguments + " 0\n");
}

TEST_F(Collection, CommandLineIsBoundedTo1022Characters) {
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
