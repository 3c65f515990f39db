#include "rmglib/CVuqRmgLib.h"

#include <gtest/gtest.h>
#include <unistd.h>

#include <cstring>
#include <exception>
#include <functional>
#include <stdexcept>
#include <string>
#include <vector>

#include "support/FakeKelcom.h"
#include "support/childrun.h"
#include "support/errorrecord.h"
#include "support/scratch.h"

namespace {

/// Fills the error record of a client, as another exchange has left it.
void fill(CVuqRmgLib& client) { client.setData({"-1", "1", "-2", std::string(256, 'x')}); }

/// The record of a client, whose message must be empty to its last byte.
std::string recordOf(CVuqRmgLib& client) {
  EXPECT_EQ(std::string(client.getLastSmtpMsg(), 256), std::string(256, '\0'));
  return serialised(client);
}

const std::string kEmptyRecord = "0\n0\n0\n\n";

/// The fake library, and a client on it.
class CVuqRmgLibTest : public testing::Test {
 protected:
  FakeKelcom m_fake;
  CVuqRmgLib m_client;
};

// --- binding -------------------------------------------------------------------------------------

TEST_F(CVuqRmgLibTest, StartAndStop_GiveTheLibrarysResult) {
  m_fake.startResult = -5;
  m_fake.stopResult = -6;
  int value = 0;
  EXPECT_EQ(m_client.RM_StartComm(value), -5);
  EXPECT_EQ(m_client.RM_StopComm(), -6);
  EXPECT_EQ(m_fake.calls, (Texts{"StartComm(0)", "StopComm"}));
}

TEST_F(CVuqRmgLibTest, ExchangeOfTheBinding_PassesEveryArgument) {
  m_fake.reply = {-79, 1, -25};
  char text[] = "hello";
  char first[] = "/a";
  char second[] = "/b";
  char* paths[] = {first, second};
  int block[3] = {};
  EXPECT_EQ(m_client.RM_Communicate(0x40016, 0, 0, text, block), -79);
  EXPECT_EQ(block[0], 1);
  EXPECT_EQ(block[1], -25);
  EXPECT_EQ(m_client.RM_Communicate(0x4010d, 3, 2, paths, block), -79);
  EXPECT_EQ(m_client.RM_Communicate(0xffffffffUL, 0, 0, nullptr, block), -79);
  EXPECT_EQ(m_fake.calls,
            (Texts{"Communicate(0x40016, 0, 0, hello)", "Communicate(0x4010d, 3, 2, [/a /b])",
                   "Communicate(0xffffffff, 0, 0, NULL)"}));
}

TEST_F(CVuqRmgLibTest, Identifier_IsWrittenInDecimalWhateverTheResult) {
  using Ask = int (CVuqRmgLib::*)(char*);
  struct Row {
    int result;
    bool isStored;
    int id;
    const char* text;
  };
  const Row rows[] = {
      {0, true, 2147483647, "2147483647"},
      {0, true, -2147483647 - 1, "-2147483648"},
      {-3, true, 4711, "4711"},
      {-3, false, 4711, "0"},
  };
  for (const Row& row : rows) {
    SCOPED_TRACE(row.text);
    m_fake.calls.clear();
    m_fake.idResult = row.result;
    m_fake.storesId = row.isStored;
    m_fake.id = row.id;
    for (const Ask ask : {Ask{&CVuqRmgLib::RMG_GetID}, Ask{&CVuqRmgLib::GetID}}) {
      char text[4096];
      std::memset(text, 'x', sizeof text);
      EXPECT_EQ((m_client.*ask)(text), row.result);
      EXPECT_STREQ(text, row.text);
    }
    EXPECT_STREQ(m_client.getMachineID(), row.text);
    EXPECT_EQ(m_fake.calls, Texts(3, "GetID"));
  }
}

TEST_F(CVuqRmgLibTest, IdentifierWithoutABuffer_IsOnlyAskedFor) {
  m_fake.idResult = -3;
  EXPECT_EQ(m_client.RMG_GetID(nullptr), -3);
  EXPECT_EQ(m_client.GetID(nullptr), -3);
  EXPECT_EQ(m_fake.calls, (Texts{"GetID", "GetID"}));
}

// --- status --------------------------------------------------------------------------------------

struct State {
  bool (CVuqRmgLib::*isInIt)();
  int word;
};

const State kStates[] = {
    {&CVuqRmgLib::isOperate, kOperating},
    {&CVuqRmgLib::isMaintenance, kMaintenance},
    {&CVuqRmgLib::isStop, kStopped},
    {&CVuqRmgLib::isMaintenanceStop, kMaintenanceStop},
};

TEST(CVuqRmgLibStatus, EveryState_IsItsWordOfASuccessfulQueryOfItsOwn) {
  const int words[] = {0,       1,       kOperating, kMaintenance, kStopped, kMaintenanceStop,
                       0x10020, 0x20020, 0x30020,    0x21,         0x1f,     0x10001,
                       0x20001, 0x30001, 0x40000,    -1,           32768};
  FakeKelcom fake;
  for (const State& state : kStates) {
    for (const int word : words) {
      for (const int result : {0, 1, -1, 32}) {
        SCOPED_TRACE(testing::Message() << state.word << ' ' << word << ' ' << result);
        fake.calls.clear();
        fake.status = word;
        fake.statusResult = result;
        CVuqRmgLib client;
        EXPECT_EQ(client.getLastStatus(), 0);
        EXPECT_EQ((client.*state.isInIt)(), result == 0 && word == state.word);
        EXPECT_EQ(client.getLastStatus(), word) << "also of a query that failed";
        EXPECT_EQ(fake.calls, Texts{"GetStatus(0)"});
      }
    }
  }
}

TEST_F(CVuqRmgLibTest, EveryQuery_GivesTheWordAndRemembersItButThatOfTheBinding) {
  for (const int result : {0, 1, -1}) {
    m_fake.status = kMaintenance + result;
    m_fake.statusResult = result;
    CVuqRmgLib client;
    int words[3] = {5, 5, 5};
    EXPECT_EQ(client.RMG_GetStatus(words[0]), result);
    EXPECT_EQ(client.getLastStatus(), 0);
    EXPECT_EQ(client.GetStatus(words[1]), result);
    EXPECT_EQ(client.getLastStatus(), kMaintenance + result);
    EXPECT_EQ(client.queryConnection(words[2]), result == 0);
    for (const int word : words) EXPECT_EQ(word, kMaintenance + result);
  }
}

TEST(CVuqRmgLibStatus, LibraryThatStoresNoWord_LeavesTheZeroThatItIsGiven) {
  struct Client : CVuqRmgLib {
    std::vector<int> given;
    int RMG_GetStatus(int& st) override {
      given.push_back(st);
      return 0;
    }
  } client;
  int word = kOperating;
  client.GetStatus(word);
  EXPECT_EQ(client.getLastStatus(), kOperating);
  for (const State& state : kStates) {
    EXPECT_FALSE((client.*state.isInIt)());
    EXPECT_EQ(client.getLastStatus(), 0);
  }
  EXPECT_EQ(client.given, (std::vector<int>{kOperating, 0, 0, 0, 0}));
}

TEST(CVuqRmgLibStatus, EveryQuery_CanBeReplaced) {
  struct Status : CVuqRmgLib {
    int result = 0;
    int GetStatus(int& st) override {
      st = kMaintenanceStop;
      return result;
    }
  } status;
  int word = 0;
  EXPECT_TRUE(status.queryConnection(word));
  EXPECT_TRUE(status.isMaintenanceStop());
  status.result = 1;
  EXPECT_FALSE(status.queryConnection(word));
  EXPECT_EQ(status.getLastStatus(), 0) << "only the replaced query would have remembered";

  struct Connection : CVuqRmgLib {
    int word = 0;
    bool queryConnection(int& st) override {
      st = word;
      return true;
    }
  } connection;
  for (const State& state : kStates) {
    connection.word = state.word;
    EXPECT_TRUE((connection.*state.isInIt)());
  }
}

// --- start and stop ------------------------------------------------------------------------------

TEST(CVuqRmgLibCom, EveryLife_StopsWhatIsMarkedAsStarted) {
  using Step = void (*)(CVuqRmgLib&);
  const Step start = [](CVuqRmgLib& client) { client.startCom(); };
  const Step stop = [](CVuqRmgLib& client) { client.stopCom(); };
  const Step stopOfTheBinding = [](CVuqRmgLib& client) { client.RM_StopComm(); };
  struct Row {
    std::vector<Step> steps;
    Texts calls;
  };
  const Row rows[] = {
      {{}, {}},
      {{start}, {"StartComm(0)", "StopComm"}},
      {{start, stop}, {"StartComm(0)", "StopComm"}},
      {{start, stopOfTheBinding}, {"StartComm(0)", "StopComm", "StopComm"}},
      {{stop}, {"StopComm"}},
  };
  for (const int stopResult : {0, -9}) {
    for (const Row& row : rows) {
      SCOPED_TRACE(&row - rows);
      FakeKelcom fake;
      fake.stopResult = stopResult;
      {
        CVuqRmgLib client;
        for (const Step step : row.steps) step(client);
      }
      EXPECT_EQ(fake.calls, row.calls);
      EXPECT_EQ(fake.startValue, row.calls.size() > 1 ? 0 : -1) << "the word for the library";
    }
  }
}

TEST(CVuqRmgLibCom, RefusedStart_ThrowsItsResultAndStopsNothing) {
  for (const int result : {1, -1, -62}) {
    FakeKelcom fake;
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
    }
    EXPECT_EQ(fake.calls, Texts{"StartComm(0)"});
  }
}

TEST(CVuqRmgLibCom, IntegerThrownByTheStop_PassesButNotFromTheDestructor) {
  FakeKelcom fake;
  fake.onCall = [](const std::string& call) {
    if (call == "StopComm") throw 12;
  };
  EXPECT_NO_THROW({
    CVuqRmgLib client;
    client.startCom();
    EXPECT_THROW(client.stopCom(), int);
  });
  EXPECT_EQ(fake.calls, (Texts{"StartComm(0)", "StopComm", "StopComm"})) << "it stays started";
}

TEST(CVuqRmgLibCom, AnyOtherExceptionInTheStart_EndsTheProcessByTerminate) {
  const std::function<void()> throwers[] = {
      [] { throw 0; },
      [] { throw std::runtime_error("start"); },
      [] { throw CVuqRmgLib::FailRM_SetEnvException(1); },
  };
  for (const auto& thrower : throwers) {
    const ChildResult child = runInChild([&thrower] {
      FakeKelcom fake;
      fake.onCall = [&thrower](const std::string&) { thrower(); };
      std::set_terminate([] {
        ::dprintf(STDOUT_FILENO, "terminate\n");
        ::_exit(3);
      });
      CVuqRmgLib client;
      try {
        client.startCom();
      } catch (...) {
        return 1;
      }
      return 0;
    });
    EXPECT_EQ(child.exitCode(), 3) << &thrower - throwers;
    EXPECT_EQ(child.out, "terminate\n");
  }
}

// --- exchange ------------------------------------------------------------------------------------

TEST(CVuqRmgLibCommunicate, Outcome_ReplacesTheRecordThatIsEmptyMeanwhile) {
  struct Row {
    FakeKelcom::Reply reply;
    std::string record;
  };
  const Row rows[] = {
      {{-79, 1, -25}, "-79\n1\n-25\n\n"},
      {{-1, 2, 3}, "-1\n2\n3\n\n"},
      {{0, 0, 0}, kEmptyRecord},
  };
  for (const Row& row : rows) {
    FakeKelcom fake;
    fake.reply = row.reply;
    CVuqRmgLib client;
    fill(client);
    fake.onCall = [&](const std::string&) { EXPECT_EQ(recordOf(client), kEmptyRecord); };
    char path[] = "/a";
    char* paths[] = {path};
    EXPECT_EQ(client.Communicate(0x4010b, 2, 1, paths), row.reply.result);
    EXPECT_EQ(recordOf(client), row.record);
    EXPECT_EQ(fake.calls, Texts{"Communicate(0x4010b, 2, 1, [/a])"});
  }
}

TEST_F(CVuqRmgLibTest, ErrorWords_AreZeroBeforeTheCall) {
  m_fake.storesError = false;
  EXPECT_EQ(m_client.Communicate(1, 0, 0, nullptr), 0);
  for (const int word : m_fake.errorBefore) EXPECT_EQ(word, 0);
  EXPECT_EQ(m_client.getLastZWErrType(), 0);
}

TEST(CVuqRmgLibCommunicate, LibraryThatThrows_LeavesTheRecordEmpty) {
  FakeKelcom fake;
  fake.onCall = [](const std::string&) { throw 17; };
  CVuqRmgLib client;
  fill(client);
  EXPECT_THROW(client.Communicate(1, 0, 0, nullptr), int);
  EXPECT_EQ(recordOf(client), kEmptyRecord);
}

}  // namespace
