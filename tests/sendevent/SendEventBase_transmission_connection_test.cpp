#include <gtest/gtest.h>

#include <functional>
#include <stdexcept>
#include <string>
#include <utility>
#include <vector>

#include "rmglib/CVuqRmgLib.h"
#include "support/FakeKelcom.h"
#include "support/actionlog.h"
#include "support/testevent.h"
#include "support/transmission.h"

namespace {

using Texts = std::vector<std::string>;

// --- connection and start ------------------------------------------------------------------------

TEST_F(Transmission, MaintenanceAllowsSending) {
  m_fake.status = 0x10000;
  TestEvent event = incident({});
  EXPECT_EQ(send(event), 0);
  EXPECT_EQ(m_fake.calls, session({}));
  EXPECT_EQ(m_log.texts(), (Texts{kStarted, kOk}));
}

TEST_F(Transmission, StoppedReturns1) {
  m_fake.status = 0x20000;
  TestEvent event = incident({m_a});
  EXPECT_EQ(send(event), 1);
  EXPECT_EQ(m_log.texts(), Texts{notReachable(131072)});
  EXPECT_EQ(m_fake.calls, (Texts{kQuery, kQuery})) << "nothing started, nothing stopped";
}

TEST_F(Transmission, OtherStatusWordsReturn1) {
  for (const int status : {0, 0x10020, 0x30000, -1, 0x21}) {
    m_fake.calls.clear();
    m_fake.status = status;
    TestEvent event = incident({m_a});
    EXPECT_EQ(send(event), 1);
    EXPECT_EQ(m_log.take(), Texts{notReachable(status)});
    EXPECT_EQ(m_fake.calls, (Texts{kQuery, kQuery}));
  }
}

TEST_F(Transmission, FailedQueryShowsTheWordThatTheLibraryLeft) {
  m_fake.statusResult = -1;
  TestEvent event = incident({m_a});
  EXPECT_EQ(send(event), 1);
  EXPECT_EQ(m_log.texts(), Texts{notReachable(32)});
  EXPECT_EQ(m_fake.calls, (Texts{kQuery, kQuery}));
}

TEST_F(Transmission, EachQuestionHasItsOwnQuery) {
  struct Case {
    int first;
    int second;
    int result;
  };
  // The first query is asked for operation, the second for maintenance.
  const Case cases[] = {{0x20, 0x20000, 0},
                        {0x20000, 0x10000, 0},
                        {0x20, 0x10000, 0},
                        {0x10000, 0x20, 1},
                        {0x10000, 0x20000, 1}};
  for (const Case& c : cases) {
    int queries = 0;
    m_fake.onCall = [&](const std::string& call) {
      if (call == "GetStatus") m_fake.status = ++queries == 1 ? c.first : c.second;
    };
    TestEvent event = incident({});
    EXPECT_EQ(send(event), c.result) << c.first << " " << c.second;
    EXPECT_EQ(m_log.take(),
              c.result == 0 ? (Texts{kStarted, kOk}) : (Texts{notReachable(c.second)}));
  }
}

TEST_F(Transmission, RefusedStart) {
  for (const int result : {-5, 1, 68}) {
    m_fake.calls.clear();
    m_fake.startResult = result;
    TestEvent event = incident({m_a});
    EXPECT_EQ(send(event), 1);
    EXPECT_EQ(m_log.take(),
              Texts{"(CSendInfo::SendInfo) CRMSenderBase::RM_StartComm() error(code=" +
                    std::to_string(result) + ")"});
    EXPECT_EQ(m_fake.calls, (Texts{kQuery, kQuery, kStart}));
  }
}

TEST_F(Transmission, TypeIsLookedAtOnlyAfterTheStart) {
  m_fake.startResult = -5;
  TestEvent event = eventOf(5, {});
  EXPECT_EQ(send(event), 1);
}

// --- environment of the client -------------------------------------------------------------------

/// A client whose environment setting fails, and which tells what it was asked.
struct Client : CVuqRmgLib {
  explicit Client(std::function<void()> environment) : m_environment(std::move(environment)) {}

  void setEnv() override {
    asked.emplace_back("setEnv");
    m_environment();
  }
  bool isOperate() override {
    asked.emplace_back("isOperate");
    return CVuqRmgLib::isOperate();
  }
  bool isMaintenance() override {
    asked.emplace_back("isMaintenance");
    return CVuqRmgLib::isMaintenance();
  }
  void startCom() override {
    asked.emplace_back("startCom");
    CVuqRmgLib::startCom();
  }
  void stopCom() override { asked.emplace_back("stopCom"); }
  int sendNotify(unsigned long param, char* data, char* reply) override {
    asked.emplace_back("sendNotify");
    EXPECT_STREQ(reply, "");
    return CVuqRmgLib::sendNotify(param, data, reply);
  }
  int sendData(unsigned long param, void* list, int count, char* reply) override {
    asked.emplace_back("sendData");
    EXPECT_STREQ(reply, "");
    return CVuqRmgLib::sendData(param, list, count, reply);
  }

  Texts asked;

 private:
  std::function<void()> m_environment;
};

struct EnvironmentCase {
  std::function<void()> fail;
  std::string log;
};

TEST_F(Transmission, FailedEnvironmentReturns1) {
  const EnvironmentCase cases[] = {
      {[] { throw CVuqRmgLib::FailGetStatusRmsLibException(-3); },
       "(CSendInfo::SendInfo) GetStatusRmsLib() error=-3"},
      {[] { throw CVuqRmgLib::UnsupportCenterCodeException(9); },
       "(CSendInfo::SendInfo) getCenterCode() unknown center code=9"},
      {[] { throw CVuqRmgLib::FailRM_SetEnvException(0); },
       "(CSendInfo::SendInfo) RM_SetEnv() error =0"},
      {[] { throw 5; }, "(CSendInfo::SendInfo) RM_SetEnv error \"5\""},
      {[] { throw -1; }, "(CSendInfo::SendInfo) RM_SetEnv error \"-1\""},
  };
  for (const EnvironmentCase& c : cases) {
    const CapturedLog log(CapturedLog::Level::kTrace);
    TestEvent event = incident({m_a});
    Client client(c.fail);
    EXPECT_EQ(event.sendThrough(client), 1);
    EXPECT_EQ(log.texts(), Texts{c.log}) << "the files are not even measured";
    EXPECT_EQ(client.asked, Texts{"setEnv"});
    EXPECT_EQ(m_fake.calls, Texts());
  }
}

TEST_F(Transmission, EnvironmentThatThrows0GoesOn) {
  TestEvent event = incident({m_a});
  Client client([] { throw 0; });
  EXPECT_EQ(event.sendThrough(client), 0);
  EXPECT_EQ(client.asked,
            (Texts{"setEnv", "isOperate", "isMaintenance", "startCom", "sendNotify", "sendData"}));
  EXPECT_EQ(m_log.texts().back(), kOk);
}

TEST_F(Transmission, EnvironmentThatThrowsSomethingElsePasses) {
  TestEvent event = incident({m_a});
  Client other([] { throw std::runtime_error("environment"); });
  EXPECT_THROW(event.sendThrough(other), std::runtime_error);
  Client base([] { throw CVuqRmgLib::CVuqRmgLibException(1); });
  EXPECT_THROW(event.sendThrough(base), CVuqRmgLib::CVuqRmgLibException);
  EXPECT_EQ(m_log.texts(), Texts());
}

TEST_F(Transmission, StartThatThrowsSomethingElsePasses) {
  struct StartlessClient : CVuqRmgLib {
    void startCom() override { throw std::runtime_error("start"); }
  };
  TestEvent event = incident({m_a});
  StartlessClient client;
  EXPECT_THROW(event.sendThrough(client), std::runtime_error);
  EXPECT_EQ(m_fake.calls, (Texts{kQuery, kQuery}));
  EXPECT_EQ(m_log.texts(), Texts());
}

TEST_F(Transmission, StepsGoThroughTheClientsSlotsButTheStopIsDirect) {
  TestEvent event = incident({m_a, m_b});
  {
    Client client([] {});
    EXPECT_EQ(event.sendThrough(client), 0);
    EXPECT_EQ(client.asked, (Texts{"setEnv", "isOperate", "isMaintenance", "startCom", "sendNotify",
                                   "sendData", "sendNotify", "sendData"}));
    EXPECT_EQ(m_fake.calls.back(), kStop);
    EXPECT_EQ(m_fake.calls.size(), 8U);
  }
  EXPECT_EQ(m_fake.calls.size(), 9U) << "the client was still marked as started";
  EXPECT_EQ(m_fake.calls.back(), kStop);
}

}  // namespace
