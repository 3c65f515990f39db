#include <gtest/gtest.h>
#include <unistd.h>

#include <csignal>
#include <functional>
#include <optional>
#include <stdexcept>
#include <string>
#include <thread>
#include <utility>
#include <vector>

#include "rmglib/CVuqRmgLib.h"
#include "support/childrun.h"
#include "support/logtexts.h"
#include "support/transmission.h"

namespace {

// --- connection and start ------------------------------------------------------------------------

TEST_F(Transmission, ConnectionThatIsNotOperating_Returns1) {
  struct Row {
    int queryResult;
    int first;  // what the query for operation is answered, and that for maintenance
    int second;
    bool isReachable;
  };
  const Row rows[] = {
      {0, kMaintenance, kMaintenance, true},
      {0, kStopped, kStopped, false},
      {0, kMaintenanceStop, kMaintenanceStop, false},
      {-1, kOperating, kOperating, false},
      // Each question has a query of its own.
      {0, kOperating, kStopped, true},
      {0, kStopped, kMaintenance, true},
      {0, kOperating, kMaintenance, true},
      {0, kMaintenance, kOperating, false},
      {0, kMaintenance, kStopped, false},
  };
  for (const Row& row : rows) {
    SCOPED_TRACE(testing::Message() << row.queryResult << ' ' << row.first << ' ' << row.second);
    int queries = 0;
    m_fake.statusResult = row.queryResult;
    m_fake.onCall = [&](const std::string& call) {
      if (call == "GetStatus") m_fake.status = ++queries == 1 ? row.first : row.second;
    };
    const Turns turns = turnsOf(2, {m_a});
    TestEvent event = eventOf(2, {m_a});
    EXPECT_EQ(send(event), row.isReachable ? 0 : 1);
    EXPECT_EQ(m_log.take(), row.isReachable ? sessionLog(turns) : Texts{notReachable(row.second)});
    EXPECT_EQ(takeCalls(), row.isReachable ? session(turns) : Texts({kQuery, kQuery}));
  }
}

TEST_F(Transmission, RefusedStart_Returns1BeforeTheTypeIsLookedAt) {
  for (const int type : {2, 5}) {
    for (const int result : {-5, 1, 68}) {
      m_fake.startResult = result;
      TestEvent event = eventOf(type, {m_a});
      EXPECT_EQ(send(event), 1);
      EXPECT_EQ(m_log.take(),
                Texts{"(CSendInfo::SendInfo) CRMSenderBase::RM_StartComm() error(code=" +
                      std::to_string(result) + ")"});
      EXPECT_EQ(takeCalls(), (Texts{kQuery, kQuery, kStart}));
    }
  }
}

// --- environment of the client -------------------------------------------------------------------

/// A client that sets its environment this way, and tells what it was asked.
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
    return CVuqRmgLib::sendNotify(param, data, reply);
  }
  int sendData(unsigned long param, void* list, int count, char* reply) override {
    asked.emplace_back("sendData");
    return CVuqRmgLib::sendData(param, list, count, reply);
  }

  Texts asked;

 private:
  std::function<void()> m_environment;
};

TEST_F(Transmission, FailedEnvironment_Returns1) {
  const std::pair<std::function<void()>, std::string> table[] = {
      {[] { throw CVuqRmgLib::FailGetStatusRmsLibException(-3); }, "GetStatusRmsLib() error=-3"},
      {[] { throw CVuqRmgLib::UnsupportCenterCodeException(9); },
       "getCenterCode() unknown center code=9"},
      {[] { throw CVuqRmgLib::FailRM_SetEnvException(0); }, "RM_SetEnv() error =0"},
      {[] { throw 5; }, "RM_SetEnv error \"5\""},
      {[] { throw -1; }, "RM_SetEnv error \"-1\""},
  };
  for (const auto& [fail, text] : table) {
    const CapturedLog log(CapturedLog::Level::kTrace);
    TestEvent event = eventOf(2, {m_a});
    Client client(fail);
    EXPECT_EQ(event.sendThrough(client), 1);
    EXPECT_EQ(log.texts(), Texts{"(CSendInfo::SendInfo) " + text}) << "no file is even measured";
    EXPECT_EQ(client.asked, Texts{"setEnv"});
    EXPECT_EQ(m_fake.calls, Texts());
  }
}

TEST_F(Transmission, Steps_GoThroughTheClientsSlotsButTheStopIsDirect) {
  const std::function<void()> environments[] = {[] {}, [] { throw 0; }};
  const Turns turns = turnsOf(2, {m_a, m_b});
  for (const auto& environment : environments) {
    TestEvent event = eventOf(2, {m_a, m_b});
    {
      Client client(environment);
      EXPECT_EQ(event.sendThrough(client), 0);
      EXPECT_EQ(client.asked, (Texts{"setEnv", "isOperate", "isMaintenance", "startCom",
                                     "sendNotify", "sendData", "sendNotify", "sendData"}));
      EXPECT_EQ(m_fake.calls.size(), 8U) << "the client is still marked as started";
    }
    EXPECT_EQ(takeCalls(), session(turns));
    EXPECT_EQ(m_log.take(), sessionLog(turns));
  }
}

TEST_F(Transmission, EnvironmentOrStartThatThrowsSomethingElse_Passes) {
  struct StartlessClient : CVuqRmgLib {
    void startCom() override { throw std::runtime_error("start"); }
  } startless;
  TestEvent event = eventOf(2, {m_a});
  EXPECT_THROW(event.sendThrough(startless), std::runtime_error);
  Client other([] { throw std::runtime_error("environment"); });
  EXPECT_THROW(event.sendThrough(other), std::runtime_error);
  Client base([] { throw CVuqRmgLib::CVuqRmgLibException(1); });
  EXPECT_THROW(event.sendThrough(base), CVuqRmgLib::CVuqRmgLibException);
  EXPECT_EQ(m_fake.calls, (Texts{kQuery, kQuery}));
  EXPECT_EQ(m_log.texts(), Texts());
}

// --- thrown integers -----------------------------------------------------------------------------

constexpr auto kNone = std::nullopt;

/// What is thrown at each exchange, one after the other.
using Thrown = std::vector<std::optional<int>>;

void throwAtExchanges(FakeKelcom& fake, const Thrown& thrown) {
  fake.onCall = [thrown, exchange = std::size_t{0}](const std::string& call) mutable {
    if (call != "Communicate") return;
    const std::optional<int> value = thrown.at(exchange++);
    if (value) throw *value;
  };
}

TEST_F(Transmission, LastThrownInteger_WinsAnd0Resets) {
  struct Row {
    int type;
    Thrown thrown;
    int result;
  };
  const Row rows[] = {
      {1, {kNone, 6, kNone, kNone}, 6},
      {1, {5, 6, kNone, -8}, -8},
      {1, {5, 0, kNone, kNone}, 0},
      {1, {0, 5, kNone, kNone}, 5},
      {1, {5, 6, 7, 0}, 0},
      {2, {5, kNone, kNone, kNone}, 5},
      {3, {5, kNone}, 5},
      {4, {kNone, 5}, 5},
  };
  for (const Row& row : rows) {
    SCOPED_TRACE(&row - rows);
    throwAtExchanges(m_fake, row.thrown);
    TestEvent event = eventOf(row.type, {m_a, m_b});
    const Turns turns = turnsOf(row.type, {m_a, m_b});
    EXPECT_EQ(send(event), row.result);
    EXPECT_EQ(m_log.take(), sessionLog(turns, row.result == 0 ? kOk : kError));
    EXPECT_EQ(takeCalls(), session(turns)) << "the loop goes on, and both stops are made";
  }
}

TEST_F(Transmission, ThrowingCall_KeepsThePreviousResultWithoutItsMessage) {
  int answered = 0;
  m_fake.onCommunicate = [&](unsigned) { return FakeKelcom::Reply{11 + answered++, 1, -5}; };
  throwAtExchanges(m_fake, {kNone, 9, 9, kNone});
  TestEvent event(1, {m_a, m_b});
  const Turns turns = turnsOf(1, {m_a, m_b});
  const auto message = [](const std::string& rc) {
    return "(SMTP) RL:" + rc + ",ZW-Agent:-5,Mailsvr:\"\"";
  };
  EXPECT_EQ(send(event), 9);
  EXPECT_EQ(m_log.texts(), inOrder({{kStarted},
                                    turns[0].log(done(11, message("11")), done(11)),
                                    turns[1].log(done(11), done(12, message("12"))),
                                    {kError}}));
}

TEST_F(Transmission, IntegerThrownByTheStop_IsTheResult) {
  TestEvent event = eventOf(1, {m_a});
  const Turns turns = turnsOf(1, {m_a});
  for (const int thrown : {6, -6, 68, 0}) {
    m_fake.onCall = [=](const std::string& call) {
      if (call == "Communicate") throw 5;
      if (call == "StopComm") throw thrown;
    };
    EXPECT_EQ(send(event), thrown);
    EXPECT_EQ(m_log.take(), sessionLog(turns, thrown == 0 ? kOk : kError));
    EXPECT_EQ(takeCalls(), session(turns));
  }
}

// --- what passes ---------------------------------------------------------------------------------

TEST_F(Transmission, ObjectOfTheLibrary_PassesAfterTheStopOfWhatWasStarted) {
  const std::pair<std::string, Texts> table[] = {
      {"GetStatus", {kQuery}},
      {"Communicate", {kQuery, kQuery, kStart, turnsOf(2, {m_a})[0].calls()[0], kStop}},
      {"StopComm", session(turnsOf(2, {m_a}))},
  };
  for (const auto& [thrower, calls] : table) {
    int thrown = 0;
    m_fake.onCall = [&, name = thrower](const std::string& call) {
      if (call == name && thrown++ == 0) throw std::runtime_error(call);
    };
    TestEvent event = eventOf(2, {m_a});
    EXPECT_THROW(send(event), std::runtime_error);
    EXPECT_EQ(takeCalls(), calls);
  }
}

TEST_F(Transmission, ObjectThatNobodyCatches_EndsTheProcess) {
  struct Row {
    const char* thrower;
    bool isAlone;  // in a thread of its own, since somebody up this one's stack catches everything
    const char* calls;
  };
  const Row rows[] = {
      {"StopComm", false, "GetStatus\nGetStatus\nStartComm\nStopComm\nStopComm\n"},
      {"StartComm", false, "GetStatus\nGetStatus\nStartComm\n"},
      {"Communicate", true, "GetStatus\nGetStatus\nStartComm\nCommunicate\nStopComm\n"},
  };
  for (const Row& row : rows) {
    const ChildResult child = runInChild([&] {
      m_fake.onCall = [&row](const std::string& call) {
        ::dprintf(STDOUT_FILENO, "%s\n", call.c_str());
        if (call == row.thrower) throw std::runtime_error(call);
      };
      TestEvent event = eventOf(2, row.isAlone ? Texts{m_a} : Texts{});
      if (!row.isAlone) return send(event);
      std::thread([&event] { send(event); }).join();
      return 0;
    });
    EXPECT_EQ(child.signal(), SIGABRT) << row.thrower << child.status;
    EXPECT_EQ(child.out, row.calls);
  }
}

}  // namespace
