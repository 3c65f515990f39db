#include "rmglib/CVuqRmgLib.h"

#include <gtest/gtest.h>
#include <unistd.h>

#include <csignal>
#include <cstring>
#include <exception>
#include <stdexcept>
#include <string>
#include <vector>

#include "support/FakeKelcom.h"
#include "support/childrun.h"
#include "support/statuswords.h"

namespace {

using Calls = std::vector<std::string>;

/// The client with its error record open.
struct OpenClient : CVuqRmgLib {
  using CVuqRmgLib::m_lastRMErrCode;
  using CVuqRmgLib::m_lastSmtpMsg;
  using CVuqRmgLib::m_lastZWErrCode;
  using CVuqRmgLib::m_lastZWErrType;

  void fillRecord() {
    m_lastRMErrCode = -1;
    m_lastZWErrType = 1;
    m_lastZWErrCode = -2;
    std::memset(m_lastSmtpMsg, 'x', sizeof m_lastSmtpMsg);
  }

  /// The record, with the number of bytes of the message that are not zero.
  std::vector<int> record() const {
    int used = 0;
    for (const char byte : m_lastSmtpMsg) used += byte != '\0' ? 1 : 0;
    return {m_lastRMErrCode, m_lastZWErrType, m_lastZWErrCode, used};
  }
};

// --- binding -------------------------------------------------------------------------------------

TEST(CVuqRmgLibBinding, StartAndStopGiveTheLibrarysResult) {
  FakeKelcom fake;
  fake.startResult = -5;
  fake.stopResult = -6;
  CVuqRmgLib client;
  int value = 0;
  EXPECT_EQ(client.RM_StartComm(value), -5);
  EXPECT_EQ(client.RM_StopComm(), -6);
  EXPECT_EQ(fake.calls, (Calls{"StartComm(0)", "StopComm"}));
}

TEST(CVuqRmgLibBinding, CommunicatePassesEveryArgument) {
  FakeKelcom fake;
  fake.reply = {-79, 1, -25};
  CVuqRmgLib client;
  char text[] = "hello";
  char first[] = "/a";
  char second[] = "/b";
  char* paths[] = {first, second};
  int block[3] = {};
  EXPECT_EQ(client.RM_Communicate(0x40016, 0, 0, text, block), -79);
  EXPECT_EQ(block[0], 1);
  EXPECT_EQ(block[1], -25);
  EXPECT_EQ(client.RM_Communicate(0x4010d, 3, 2, paths, block), -79);
  EXPECT_EQ(client.RM_Communicate(0xffffffffUL, 0, 0, nullptr, block), -79);
  EXPECT_EQ(fake.calls,
            (Calls{"Communicate(0x40016, 0, 0, hello)", "Communicate(0x4010d, 3, 2, [/a /b])",
                   "Communicate(0xffffffff, 0, 0, NULL)"}));
}

TEST(CVuqRmgLibBinding, GetIdWritesDecimal) {
  struct Case {
    int id;
    const char* text;
  };
  const Case cases[] = {{0, "0"},
                        {4711, "4711"},
                        {-1, "-1"},
                        {2147483647, "2147483647"},
                        {-2147483647 - 1, "-2147483648"}};
  FakeKelcom fake;
  CVuqRmgLib client;
  for (const Case& c : cases) {
    char text[4096];
    std::memset(text, 'x', sizeof text);
    fake.id = c.id;
    EXPECT_EQ(client.RMG_GetID(text), 0);
    EXPECT_STREQ(text, c.text);
    EXPECT_EQ(client.GetID(text), 0);
    EXPECT_STREQ(text, c.text);
  }
}

TEST(CVuqRmgLibBinding, GetIdWritesAlsoWhenTheLibraryFails) {
  FakeKelcom fake;
  fake.idResult = -3;
  CVuqRmgLib client;
  char text[4096] = "old";
  EXPECT_EQ(client.RMG_GetID(text), -3);
  EXPECT_STREQ(text, "4711");
  fake.storesId = false;
  EXPECT_EQ(client.GetID(text), -3);
  EXPECT_STREQ(text, "0");
}

TEST(CVuqRmgLibBinding, GetIdWithoutBufferOnlyAsks) {
  FakeKelcom fake;
  fake.idResult = -3;
  CVuqRmgLib client;
  EXPECT_EQ(client.RMG_GetID(nullptr), -3);
  EXPECT_EQ(client.GetID(nullptr), -3);
  EXPECT_EQ(fake.calls, (Calls{"GetID", "GetID"}));
}

TEST(CVuqRmgLibBinding, GetStatusGivesWordAndResult) {
  FakeKelcom fake;
  fake.status = kStopped;
  fake.statusResult = -8;
  CVuqRmgLib client;
  int word = 0;
  EXPECT_EQ(client.RMG_GetStatus(word), -8);
  EXPECT_EQ(word, kStopped);
  EXPECT_EQ(client.getLastStatus(), 0) << "the binding alone remembers nothing";
  EXPECT_EQ(fake.calls, (Calls{"GetStatus(0)"}));
}

// --- start and stop ------------------------------------------------------------------------------

TEST(CVuqRmgLibCom, StartedAndStopped) {
  FakeKelcom fake;
  CVuqRmgLib client;
  client.startCom();
  EXPECT_NE(client.to_s().find("m_startedCom      = true\n"), std::string::npos);
  client.stopCom();
  EXPECT_NE(client.to_s().find("m_startedCom      = false\n"), std::string::npos);
  EXPECT_EQ(fake.calls, (Calls{"StartComm(0)", "StopComm"}));
}

TEST(CVuqRmgLibCom, StartHandsOverAZero) {
  FakeKelcom fake;
  CVuqRmgLib client;
  client.startCom();
  EXPECT_EQ(fake.startValue, 0);
}

TEST(CVuqRmgLibCom, RefusedStartThrowsItsResult) {
  FakeKelcom fake;
  for (const int result : {1, -1, -62}) {
    fake.calls.clear();
    fake.startResult = result;
    {
      CVuqRmgLib client;
      try {
        client.startCom();
        ADD_FAILURE() << "started with " << result;
      } catch (const CVuqRmgLib::FailRM_StartCommException& e) {
        EXPECT_EQ(e.code(), result);
        EXPECT_STREQ(e.what(), "FailRM_StartCommException");
      }
      EXPECT_NE(client.to_s().find("m_startedCom      = false\n"), std::string::npos);
    }
    EXPECT_EQ(fake.calls, (Calls{"StartComm(0)"})) << "nothing was started, nothing is stopped";
  }
}

TEST(CVuqRmgLibCom, DestroyingAStartedInstanceStopsOnce) {
  FakeKelcom fake;
  {
    CVuqRmgLib client;
    client.startCom();
  }
  EXPECT_EQ(fake.calls, (Calls{"StartComm(0)", "StopComm"}));
}

TEST(CVuqRmgLibCom, DestroyingAfterStopStopsNoMore) {
  FakeKelcom fake;
  {
    CVuqRmgLib client;
    client.startCom();
    client.stopCom();
  }
  EXPECT_EQ(fake.calls, (Calls{"StartComm(0)", "StopComm"}));
}

TEST(CVuqRmgLibCom, DestroyingAFreshInstanceCallsNothing) {
  FakeKelcom fake;
  { CVuqRmgLib client; }
  EXPECT_EQ(fake.calls, Calls());
}

TEST(CVuqRmgLibCom, DirectStopLeavesTheSecondOneToTheDestructor) {
  FakeKelcom fake;
  {
    CVuqRmgLib client;
    client.startCom();
    client.CVuqRmgLibImpl::RM_StopComm();
    EXPECT_NE(client.to_s().find("m_startedCom      = true\n"), std::string::npos);
  }
  EXPECT_EQ(fake.calls, (Calls{"StartComm(0)", "StopComm", "StopComm"}));
}

TEST(CVuqRmgLibCom, ResultOfTheStopIsDropped) {
  FakeKelcom fake;
  fake.stopResult = -9;
  {
    CVuqRmgLib client;
    client.startCom();
    client.stopCom();
    EXPECT_NE(client.to_s().find("m_startedCom      = false\n"), std::string::npos);
  }
  EXPECT_EQ(fake.calls, (Calls{"StartComm(0)", "StopComm"}));
}

TEST(CVuqRmgLibCom, StopWithoutStartReachesTheLibrary) {
  FakeKelcom fake;
  {
    CVuqRmgLib client;
    client.stopCom();
  }
  EXPECT_EQ(fake.calls, (Calls{"StopComm"}));
}

TEST(CVuqRmgLibCom, IntegerThrownByTheStopPassesAndLeavesItStarted) {
  FakeKelcom fake;
  int throws = 1;
  fake.onCall = [&throws](const std::string& call) {
    if (call == "StopComm" && throws-- > 0) throw 12;
  };
  {
    CVuqRmgLib client;
    client.startCom();
    EXPECT_THROW(client.stopCom(), int);
  }
  EXPECT_EQ(fake.calls, (Calls{"StartComm(0)", "StopComm", "StopComm"}));
}

TEST(CVuqRmgLibCom, IntegerThrownByTheDestructorsStopIsDropped) {
  FakeKelcom fake;
  fake.onCall = [](const std::string& call) {
    if (call == "StopComm") throw 12;
  };
  EXPECT_NO_THROW({
    CVuqRmgLib client;
    client.startCom();
  });
  EXPECT_EQ(fake.calls, (Calls{"StartComm(0)", "StopComm"}));
}

TEST(CVuqRmgLibCom, ObjectThrownByTheDestructorsStopEndsTheProcess) {
  const ChildResult child = runInChild([] {
    FakeKelcom fake;
    fake.onCall = [](const std::string& call) {
      ::dprintf(STDOUT_FILENO, "%s\n", call.c_str());
      if (call == "StopComm") throw std::runtime_error("stop");
    };
    CVuqRmgLib client;
    client.startCom();
    return 0;
  });
  EXPECT_EQ(child.signal(), SIGABRT) << child.status;
  EXPECT_EQ(child.out, "StartComm\nStopComm\n");
}

/// How a child ends in which the start throws `thrown`, everything being caught around it.
template <class Thrown>
int signalOfThrowingStart(const Thrown& thrown) {
  return runInChild([&thrown] {
           FakeKelcom fake;
           fake.onCall = [&thrown](const std::string&) { throw thrown; };
           CVuqRmgLib client;
           try {
             client.startCom();
           } catch (...) {
             return 1;
           }
           return 0;
         })
      .signal();
}

TEST(CVuqRmgLibCom, StartLetsNoOtherExceptionOut) {
  EXPECT_EQ(signalOfThrowingStart(5), SIGABRT);
  EXPECT_EQ(signalOfThrowingStart(0), SIGABRT);
  EXPECT_EQ(signalOfThrowingStart(std::runtime_error("start")), SIGABRT);
  EXPECT_EQ(signalOfThrowingStart(CVuqRmgLib::CVuqRmgLibException(1)), SIGABRT);
  EXPECT_EQ(signalOfThrowingStart(CVuqRmgLib::FailRM_SetEnvException(1)), SIGABRT);
}

TEST(CVuqRmgLibCom, StartEndsThroughTerminate) {
  const ChildResult child = runInChild([] {
    FakeKelcom fake;
    fake.onCall = [](const std::string&) { throw 5; };
    std::set_terminate([] {
      ::dprintf(STDOUT_FILENO, "terminate\n");
      ::_exit(3);
    });
    CVuqRmgLib client;
    client.startCom();
    return 0;
  });
  EXPECT_EQ(child.exitCode(), 3);
  EXPECT_EQ(child.out, "terminate\n");
}

// --- exchange ------------------------------------------------------------------------------------

TEST(CVuqRmgLibCommunicate, FillsTheRecord) {
  FakeKelcom fake;
  fake.reply = {-79, 1, -25};
  OpenClient client;
  client.fillRecord();
  char text[] = "hello";
  EXPECT_EQ(client.Communicate(0x40016, 0, 0, text), -79);
  EXPECT_EQ(client.record(), (std::vector<int>{-79, 1, -25, 0}));
  EXPECT_STREQ(client.toString1line(), "(SMTP) RL:-79,ZW-Agent:-25,Mailsvr:\"\"");
  EXPECT_EQ(fake.calls, (Calls{"Communicate(0x40016, 0, 0, hello)"}));
}

TEST(CVuqRmgLibCommunicate, ErrorWordsAreZeroBeforeTheCall) {
  FakeKelcom fake;
  fake.storesError = false;
  CVuqRmgLib client;
  EXPECT_EQ(client.Communicate(1, 0, 0, nullptr), 0);
  for (const int word : fake.errorBefore) EXPECT_EQ(word, 0);
  EXPECT_EQ(client.getLastZWErrType(), 0);
}

TEST(CVuqRmgLibCommunicate, SuccessClearsTheRecord) {
  FakeKelcom fake;
  OpenClient client;
  client.fillRecord();
  EXPECT_EQ(client.Communicate(0x40016, 0, 0, nullptr), 0);
  EXPECT_EQ(client.record(), (std::vector<int>{0, 0, 0, 0}));
  EXPECT_STREQ(client.toString1line(), "");
}

TEST(CVuqRmgLibCommunicate, PassesTheReservedWordOn) {
  FakeKelcom fake;
  CVuqRmgLib client;
  char path[] = "/a";
  char* paths[] = {path};
  client.Communicate(1, 2, 1, paths);
  EXPECT_EQ(fake.calls, (Calls{"Communicate(0x1, 2, 1, [/a])"}));
}

TEST(CVuqRmgLibCommunicate, RecordIsClearedBeforeTheCall) {
  FakeKelcom fake;
  OpenClient client;
  client.fillRecord();
  std::vector<int> during;
  fake.onCall = [&](const std::string&) { during = client.record(); };
  fake.reply = {-1, 2, 3};
  client.Communicate(1, 0, 0, nullptr);
  EXPECT_EQ(during, (std::vector<int>{0, 0, 0, 0}));
  EXPECT_EQ(client.record(), (std::vector<int>{-1, 2, 3, 0}));
}

TEST(CVuqRmgLibCommunicate, RecordIsClearedWhenTheLibraryThrows) {
  FakeKelcom fake;
  fake.onCall = [](const std::string&) { throw 17; };
  OpenClient client;
  client.fillRecord();
  EXPECT_THROW(client.Communicate(1, 0, 0, nullptr), int);
  EXPECT_EQ(client.record(), (std::vector<int>{0, 0, 0, 0}));
}

TEST(CVuqRmgLibCommunicate, NotifySendsTextWithoutItems) {
  FakeKelcom fake;
  fake.reply.result = -2;
  CVuqRmgLib client;
  char text[] = "INCNO=\"1\"";
  char reply[] = "reply";
  EXPECT_EQ(client.sendNotify(0x40017, text, reply), -2);
  EXPECT_EQ(client.sendNotify(0x40016, nullptr, nullptr), -2);
  EXPECT_EQ(fake.calls,
            (Calls{"Communicate(0x40017, 0, 0, INCNO=\"1\")", "Communicate(0x40016, 0, 0, NULL)"}));
  EXPECT_STREQ(reply, "reply");
}

TEST(CVuqRmgLibCommunicate, DataSendsItsItems) {
  FakeKelcom fake;
  fake.reply.result = -2;
  CVuqRmgLib client;
  char first[] = "/a";
  char second[] = "/b c";
  char* paths[] = {first, second};
  char reply[] = "reply";
  EXPECT_EQ(client.sendData(0x4010d, paths, 2, reply), -2);
  EXPECT_EQ(client.sendData(0x4010b, paths, 1, nullptr), -2);
  EXPECT_EQ(fake.calls,
            (Calls{"Communicate(0x4010d, 0, 2, [/a /b c])", "Communicate(0x4010b, 0, 1, [/a])"}));
  EXPECT_STREQ(reply, "reply");
}

TEST(CVuqRmgLibCommunicate, ExchangesAreAllowedBeforeTheStart) {
  FakeKelcom fake;
  {
    CVuqRmgLib client;
    client.Communicate(1, 0, 0, nullptr);
    client.isOperate();
  }
  EXPECT_EQ(fake.calls, (Calls{"Communicate(0x1, 0, 0, NULL)", "GetStatus(0)"}));
}

}  // namespace
