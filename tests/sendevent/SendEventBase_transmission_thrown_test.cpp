#include <gtest/gtest.h>
#include <unistd.h>

#include <csignal>
#include <stdexcept>
#include <string>
#include <thread>
#include <vector>

#include "support/FakeKelcom.h"
#include "support/childrun.h"
#include "support/testevent.h"
#include "support/transmission.h"

namespace {

using Texts = std::vector<std::string>;

const std::string kError = "commonSendEvent Error.";

// --- thrown integers -----------------------------------------------------------------------------

struct ThrownCase {
  const char* name;
  std::vector<std::string> thrown;  // per exchange: "" for none
  int result;
};

TEST_F(Transmission, LastThrownIntegerWinsAnd0Resets) {
  const ThrownCase cases[] = {
      {"notify", {"5", "", "", ""}, 5},       {"data", {"", "6", "", ""}, 6},
      {"both", {"5", "6", "", ""}, 6},        {"second file", {"5", "6", "", "-8"}, -8},
      {"zero resets", {"5", "0", "", ""}, 0}, {"zero first", {"0", "5", "", ""}, 5},
      {"zero last", {"5", "6", "7", "0"}, 0}, {"minus one", {"-1", "", "", ""}, -1},
  };
  for (const ThrownCase& c : cases) {
    SCOPED_TRACE(c.name);
    m_fake.calls.clear();
    std::size_t exchange = 0;
    m_fake.onCall = [&](const std::string& call) {
      if (call != "Communicate") return;
      const std::string& thrown = c.thrown.at(exchange++);
      if (!thrown.empty()) throw std::stoi(thrown);
    };
    TestEvent event(1, {m_a, m_b});
    EXPECT_EQ(send(event), c.result);
    EXPECT_EQ(m_log.take(),
              (Texts{kStarted, loop(1, 2), plainNotifyCall("0x40016"), kDone,
                     dataCall("0x4010a", 1, m_a), kDone, loop(2, 2), plainNotifyCall("0x40016"),
                     kDone, dataCall("0x4010a", 1, m_b), kDone, c.result == 0 ? kOk : kError}));
    EXPECT_EQ(m_fake.calls.size(), 9U) << "the loop goes on, and both stops are made";
  }
}

TEST_F(Transmission, ThrowingCallKeepsThePreviousResult) {
  m_fake.onCommunicate = [this](unsigned) { return FakeKelcom::Reply{10 + m_exchanges, 0, 0}; };
  throwAtExchange(9, {2, 3});
  TestEvent event(1, {m_a, m_b});
  EXPECT_EQ(send(event), 9);
  EXPECT_EQ(m_log.texts(),
            (Texts{kStarted, loop(1, 2), plainNotifyCall("0x40016"), done(11),
                   dataCall("0x4010a", 1, m_a), done(11), loop(2, 2), plainNotifyCall("0x40016"),
                   done(11), dataCall("0x4010a", 1, m_b), done(14), kError}));
}

TEST_F(Transmission, ThrowingCallHasNoErrorMessage) {
  m_fake.reply = {-74, 1, -10};
  throwAtExchange(9, {2});
  TestEvent event(1, {m_a});
  EXPECT_EQ(send(event), 9);
  EXPECT_EQ(m_log.texts(), (Texts{kStarted, loop(1, 1), plainNotifyCall("0x40016"),
                                  "RM_Communicate done (code='-74', msg='(SMTP) "
                                  "RL:-74,ZW-Agent:-10,Mailsvr:\"\"') ",
                                  dataCall("0x4010a", 1, m_a), done(-74), kError}));
}

TEST_F(Transmission, EventTypesRememberThrownIntegersToo) {
  for (const int type : {2, 3, 4}) {
    m_exchanges = 0;
    m_fake.calls.clear();
    throwAtExchange(5, {1});
    TestEvent event = eventOf(type, {m_a});
    EXPECT_EQ(send(event), 5);
    EXPECT_EQ(m_log.take().back(), kError);
    EXPECT_EQ(m_fake.calls.size(), 7U) << "the data call follows all the same";
  }
}

TEST_F(Transmission, IntegerThrownByTheStopIsTheResult) {
  int thrown = 0;
  bool failsExchange = false;
  m_fake.onCall = [&](const std::string& call) {
    if (call == "Communicate" && failsExchange) throw 5;
    if (call == "StopComm") throw thrown;
  };
  TestEvent event(1, {m_a});
  for (const int code : {6, -6, 68}) {
    thrown = code;
    EXPECT_EQ(send(event), code);
    EXPECT_EQ(m_log.take().back(), kError);
  }
  failsExchange = true;
  thrown = 6;
  EXPECT_EQ(send(event), 6) << "the last one";
  EXPECT_EQ(m_log.take().back(), kError);
  thrown = 0;
  EXPECT_EQ(send(event), 0) << "0 resets";
  EXPECT_EQ(m_log.take().back(), kOk);
  EXPECT_EQ(m_fake.calls.back(), kStop);
}

TEST_F(Transmission, IntegerThrownByTheQueryPasses) {
  m_fake.onCall = [](const std::string&) { throw 5; };
  TestEvent event = incident({m_a});
  EXPECT_THROW(send(event), int);
  EXPECT_EQ(m_fake.calls, Texts{kQuery});
}

// --- thrown objects ------------------------------------------------------------------------------

TEST_F(Transmission, ObjectThrownByAnExchangePassesAfterTheStop) {
  for (const int number : {1, 2}) {
    m_exchanges = 0;
    m_fake.calls.clear();
    throwAtExchange(std::runtime_error("exchange"), {number});
    TestEvent event(1, {m_a, m_b});
    EXPECT_THROW(send(event), std::runtime_error);
    EXPECT_EQ(m_fake.calls.size(), 3U + static_cast<unsigned>(number) + 1U);
    EXPECT_EQ(m_fake.calls.back(), kStop);
    Texts expected = {kStarted, loop(1, 2), plainNotifyCall("0x40016")};
    if (number == 2) expected.insert(expected.end(), {kDone, dataCall("0x4010a", 1, m_a)});
    EXPECT_EQ(m_log.take(), expected);
  }
}

TEST_F(Transmission, ObjectThrownByTheQueryPassesWithoutAStop) {
  m_fake.onCall = [](const std::string&) { throw std::runtime_error("query"); };
  TestEvent event = incident({m_a});
  EXPECT_THROW(send(event), std::runtime_error);
  EXPECT_EQ(m_fake.calls, Texts{kQuery});
}

TEST_F(Transmission, ObjectThrownByTheStopPassesAfterTheSecondStop) {
  int stops = 0;
  m_fake.onCall = [&](const std::string& call) {
    if (call == "StopComm" && ++stops == 1) throw std::runtime_error("stop");
  };
  TestEvent event = incident({});
  EXPECT_THROW(send(event), std::runtime_error);
  EXPECT_EQ(m_fake.calls, session({}));
  EXPECT_EQ(m_log.texts(), Texts{kStarted});
}

TEST_F(Transmission, ObjectThrownByBothStopsEndsTheProcess) {
  const ChildResult child = runInChild([this] {
    m_fake.onCall = [](const std::string& call) {
      ::dprintf(STDOUT_FILENO, "%s\n", call.c_str());
      if (call == "StopComm") throw std::runtime_error("stop");
    };
    TestEvent event = incident({});
    send(event);
    return 0;
  });
  EXPECT_EQ(child.signal(), SIGABRT) << child.status;
  EXPECT_EQ(child.out, "GetStatus\nGetStatus\nStartComm\nStopComm\nStopComm\n");
}

TEST_F(Transmission, ObjectThrownInsideTheStartEndsTheProcess) {
  const ChildResult child = runInChild([this] {
    m_fake.onCall = [](const std::string& call) {
      ::dprintf(STDOUT_FILENO, "%s\n", call.c_str());
      if (call == "StartComm") throw std::runtime_error("start");
    };
    TestEvent event = incident({m_a});
    send(event);
    return 0;
  });
  EXPECT_EQ(child.signal(), SIGABRT) << child.status;
  EXPECT_EQ(child.out, "GetStatus\nGetStatus\nStartComm\n");
}

TEST_F(Transmission, UncaughtObjectStopsCommunicationBeforeTheProcessEnds) {
  const ChildResult child = runInChild([this] {
    m_fake.onCall = [](const std::string& call) {
      ::dprintf(STDOUT_FILENO, "%s\n", call.c_str());
      if (call == "Communicate") throw std::runtime_error("exchange");
    };
    TestEvent event = incident({m_a});
    // A thread of its own, since somebody up this one's stack catches everything.
    std::thread([&] { send(event); }).join();
    return 0;
  });
  EXPECT_EQ(child.signal(), SIGABRT) << child.status;
  EXPECT_EQ(child.out, "GetStatus\nGetStatus\nStartComm\nCommunicate\nStopComm\n");
}

}  // namespace
