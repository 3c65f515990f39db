#include "rmglib/CVuqRmgLib.h"

#include <gtest/gtest.h>
#include <unistd.h>

#include <csignal>
#include <cstring>
#include <new>
#include <stdexcept>
#include <string>
#include <type_traits>
#include <vector>

#include "support/FakeKelcom.h"
#include "support/childrun.h"
#include "support/scratch.h"
#include "support/slots.h"

namespace {

using Calls = std::vector<std::string>;

constexpr int kOperating = 0x20;
constexpr int kMaintenance = 0x10000;
constexpr int kStopped = 0x20000;
constexpr int kMaintenanceStop = 0x30000;

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

// --- class tree ----------------------------------------------------------------------------------

TEST(CVuqRmgLibTree, BasesAndExceptions) {
  using Client = CVuqRmgLib;
  EXPECT_TRUE((std::is_convertible_v<Client*, CVuqRmgLibImpl*>));
  EXPECT_TRUE((std::is_convertible_v<Client*, ICVuqRmgLib*>));
  EXPECT_TRUE((std::is_convertible_v<Client*, IExtKelError*>));
  EXPECT_TRUE((std::is_convertible_v<CVuqRmgLibImpl*, MLog*>));
  EXPECT_TRUE((std::is_base_of_v<ICVuqRmg, CVuqRmgLibImpl>));
  EXPECT_FALSE((std::is_convertible_v<CVuqRmgLibImpl*, ICVuqRmg*>)) << "the base is not public";
  EXPECT_TRUE(std::is_abstract_v<ICVuqRmg>);
  EXPECT_TRUE(std::is_abstract_v<CVuqRmgLibImpl>);
  EXPECT_TRUE(std::has_virtual_destructor_v<MLog>);
  EXPECT_TRUE(std::has_virtual_destructor_v<ICVuqRmgLib>);

  using Base = Client::CVuqRmgLibException;
  EXPECT_TRUE((std::is_convertible_v<Base*, std::exception*>));
  EXPECT_TRUE((std::is_convertible_v<Client::FailRM_StartCommException*, Base*>));
  EXPECT_TRUE((std::is_convertible_v<Client::FailRM_SetEnvException*, Base*>));
  EXPECT_TRUE((std::is_convertible_v<Client::FailGetStatusRmsLibException*, Base*>));
  EXPECT_TRUE((std::is_convertible_v<Client::UnsupportCenterCodeException*, Base*>));
}

TEST(CVuqRmgLibTree, BasesStandInOrder) {
  CVuqRmgLib client;
  const auto place = [](const void* base) { return static_cast<const char*>(base); };
  EXPECT_LT(place(static_cast<CVuqRmgLibImpl*>(&client)),
            place(static_cast<ICVuqRmgLib*>(&client)));
  EXPECT_LT(place(static_cast<ICVuqRmgLib*>(&client)), place(static_cast<IExtKelError*>(&client)));
}

TEST(CVuqRmgLibTree, OperationsStandInSlotOrder) {
  // The destructor takes the first two slots of each table.
  EXPECT_EQ(2U, slotOf(static_cast<void (MLog::*)(std::string)>(&MLog::LOGDEBUG)));
  EXPECT_EQ(3U, slotOf(static_cast<void (MLog::*)(const char*)>(&MLog::LOGDEBUG)));
  EXPECT_EQ(4U, slotOf(&CVuqRmgLibImpl::RMG_GetStatus));
  EXPECT_EQ(5U, slotOf(&CVuqRmgLibImpl::RMG_GetID));
  EXPECT_EQ(0U, slotOf(&ICVuqRmg::getFuncEntry)) << "no destructor there";
  EXPECT_EQ(2U, slotOf(&ICVuqRmgLib::isDovraInstalled));
  EXPECT_EQ(3U, slotOf(&ICVuqRmgLib::loadLibrary));
  EXPECT_EQ(4U, slotOf(&ICVuqRmgLib::scenarioLoadLibraries));
  EXPECT_EQ(5U, slotOf(&ICVuqRmgLib::scenarioUnloadLibraries));
  EXPECT_EQ(2U, slotOf(&CVuqRmgLib::CVuqRmgLibException::what));
  EXPECT_EQ(3U, slotOf(&CVuqRmgLib::CVuqRmgLibException::code));

  const std::vector<std::size_t> own = {
      slotOf(&CVuqRmgLib::GetStatus),      slotOf(&CVuqRmgLib::queryConnection),
      slotOf(&CVuqRmgLib::isOperate),      slotOf(&CVuqRmgLib::isMaintenance),
      slotOf(&CVuqRmgLib::isStop),         slotOf(&CVuqRmgLib::isMaintenanceStop),
      slotOf(&CVuqRmgLib::getLastStatus),  slotOf(&CVuqRmgLib::startCom),
      slotOf(&CVuqRmgLib::stopCom),        slotOf(&CVuqRmgLib::sendNotify),
      slotOf(&CVuqRmgLib::sendData),       slotOf(&CVuqRmgLib::Communicate),
      slotOf(&CVuqRmgLib::setMailTimeout), slotOf(&CVuqRmgLib::setEnv),
      slotOf(&CVuqRmgLib::to_s),           slotOf(&CVuqRmgLib::GetID),
      slotOf(&CVuqRmgLib::getMachineID),   slotOf(&CVuqRmgLib::html_CheckUrl),
      slotOf(&CVuqRmgLib::CheckUrl),       slotOf(&CVuqRmgLib::getCenterCode),
      slotOf(&CVuqRmgLib::getFuncEntry),
  };
  for (std::size_t i = 0; i < own.size(); ++i) EXPECT_EQ(6 + i, own[i]) << "operation " << i;
}

/// An object made over memory that is not zero, so that a field which nobody sets shows.
template <class Object>
class OverOnes {
 public:
  OverOnes() {
    std::memset(m_memory, 0xff, sizeof m_memory);
    m_object = new (m_memory) Object;
  }
  ~OverOnes() { m_object->~Object(); }
  OverOnes(const OverOnes&) = delete;
  OverOnes& operator=(const OverOnes&) = delete;

  Object& object() { return *m_object; }

  /// `count` bytes of the object, as they stand in memory.
  std::string bytes(std::size_t offset, std::size_t count) const {
    return {reinterpret_cast<const char*>(m_memory) + offset, count};
  }

 private:
  alignas(Object) unsigned char m_memory[sizeof(Object)];
  Object* m_object;
};

TEST(CVuqRmgLibTree, FieldsOfTheClientStandInOrder) {
  FakeKelcom fake;
  fake.status = kMaintenance;
  OverOnes<CVuqRmgLib> made;
  CVuqRmgLib& client = made.object();
  const std::string empty = made.bytes(0, sizeof(CVuqRmgLib));
  const char* start = reinterpret_cast<const char*>(&client);
  const auto id = static_cast<std::size_t>(client.getMachineID() - start);
  EXPECT_EQ(empty.substr(id, 4096 + sizeof(int) + 1), std::string(4096 + sizeof(int) + 1, '\0'));

  client.isOperate();
  client.startCom();
  int status = 0;
  std::memcpy(&status, made.bytes(id + 4096, sizeof status).data(), sizeof status);
  EXPECT_EQ(made.bytes(id, 5), std::string("4711\0", 5));
  EXPECT_EQ(status, kMaintenance);
  EXPECT_EQ(made.bytes(id + 4096 + sizeof status, 1), "\1");
}

TEST(CVuqRmgLibExceptions, CarryTheirCode) {
  for (const int code : {0, 1, -1, 33, 2147483647, -2147483647 - 1}) {
    EXPECT_EQ(code, CVuqRmgLib::CVuqRmgLibException(code).code());
    EXPECT_EQ(code, CVuqRmgLib::FailRM_StartCommException(code).code());
    EXPECT_EQ(code, CVuqRmgLib::FailRM_SetEnvException(code).code());
    EXPECT_EQ(code, CVuqRmgLib::FailGetStatusRmsLibException(code).code());
    EXPECT_EQ(code, CVuqRmgLib::UnsupportCenterCodeException(code).code());
  }
}

TEST(CVuqRmgLibExceptions, OnlyTheStartNamesItself) {
  const std::string standard = std::exception().what();
  EXPECT_STREQ("FailRM_StartCommException", CVuqRmgLib::FailRM_StartCommException(1).what());
  EXPECT_EQ(standard, CVuqRmgLib::CVuqRmgLibException(1).what());
  EXPECT_EQ(standard, CVuqRmgLib::FailRM_SetEnvException(1).what());
  EXPECT_EQ(standard, CVuqRmgLib::FailGetStatusRmsLibException(1).what());
  EXPECT_EQ(standard, CVuqRmgLib::UnsupportCenterCodeException(1).what());
}

TEST(CVuqRmgLibExceptions, CodeIsVirtual) {
  struct Other : CVuqRmgLib::FailRM_StartCommException {
    using FailRM_StartCommException::FailRM_StartCommException;
    int code() const override { return 7; }
  };
  const Other other(1);
  const CVuqRmgLib::CVuqRmgLibException& base = other;
  EXPECT_EQ(7, base.code());
}

// --- binding -------------------------------------------------------------------------------------

TEST(CVuqRmgLibBinding, StartAndStopGiveTheLibrarysResult) {
  FakeKelcom fake;
  fake.startResult = -5;
  fake.stopResult = -6;
  CVuqRmgLib client;
  int value = 0;
  EXPECT_EQ(-5, client.RM_StartComm(value));
  EXPECT_EQ(-6, client.RM_StopComm());
  EXPECT_EQ((Calls{"StartComm(0)", "StopComm"}), fake.calls);
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
  EXPECT_EQ(-79, client.RM_Communicate(0x40016, 0, 0, text, block));
  EXPECT_EQ(1, block[0]);
  EXPECT_EQ(-25, block[1]);
  EXPECT_EQ(-79, client.RM_Communicate(0x4010d, 3, 2, paths, block));
  EXPECT_EQ(-79, client.RM_Communicate(0xffffffffUL, 0, 0, nullptr, block));
  EXPECT_EQ((Calls{"Communicate(0x40016, 0, 0, hello)", "Communicate(0x4010d, 3, 2, [/a /b])",
                   "Communicate(0xffffffff, 0, 0, NULL)"}),
            fake.calls);
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
    EXPECT_EQ(0, client.RMG_GetID(text));
    EXPECT_STREQ(c.text, text);
    EXPECT_EQ(0, client.GetID(text));
    EXPECT_STREQ(c.text, text);
  }
}

TEST(CVuqRmgLibBinding, GetIdWritesAlsoWhenTheLibraryFails) {
  FakeKelcom fake;
  fake.idResult = -3;
  CVuqRmgLib client;
  char text[4096] = "old";
  EXPECT_EQ(-3, client.RMG_GetID(text));
  EXPECT_STREQ("4711", text);
  fake.storesId = false;
  EXPECT_EQ(-3, client.GetID(text));
  EXPECT_STREQ("0", text);
}

TEST(CVuqRmgLibBinding, GetIdWithoutBufferOnlyAsks) {
  FakeKelcom fake;
  fake.idResult = -3;
  CVuqRmgLib client;
  EXPECT_EQ(-3, client.RMG_GetID(nullptr));
  EXPECT_EQ(-3, client.GetID(nullptr));
  EXPECT_EQ((Calls{"GetID", "GetID"}), fake.calls);
}

TEST(CVuqRmgLibBinding, GetStatusGivesWordAndResult) {
  FakeKelcom fake;
  fake.status = kStopped;
  fake.statusResult = -8;
  CVuqRmgLib client;
  int word = 0;
  EXPECT_EQ(-8, client.RMG_GetStatus(word));
  EXPECT_EQ(kStopped, word);
  EXPECT_EQ(0, client.getLastStatus()) << "the binding alone remembers nothing";
  EXPECT_EQ((Calls{"GetStatus(0)"}), fake.calls);
}

// --- status --------------------------------------------------------------------------------------

TEST(CVuqRmgLibStatus, EveryPredicateWithEveryWord) {
  const int words[] = {0,       1,       kOperating, kMaintenance, kStopped, kMaintenanceStop,
                       0x10020, 0x20020, 0x30020,    0x21,         0x1f,     0x10001,
                       0x20001, 0x30001, 0x40000,    -1,           32768};
  FakeKelcom fake;
  CVuqRmgLib client;
  for (const int word : words) {
    SCOPED_TRACE(word);
    fake.status = word;
    EXPECT_EQ(word == kOperating, client.isOperate());
    EXPECT_EQ(word == kMaintenance, client.isMaintenance());
    EXPECT_EQ(word == kStopped, client.isStop());
    EXPECT_EQ(word == kMaintenanceStop, client.isMaintenanceStop());
    EXPECT_EQ(word, client.getLastStatus());
  }
}

TEST(CVuqRmgLibStatus, EachPredicateQueriesAndRemembers) {
  FakeKelcom fake;
  CVuqRmgLib client;
  EXPECT_EQ(0, client.getLastStatus());
  fake.status = 1;
  client.isOperate();
  EXPECT_EQ(1, client.getLastStatus());
  fake.status = 2;
  client.isMaintenance();
  EXPECT_EQ(2, client.getLastStatus());
  fake.status = 3;
  client.isStop();
  EXPECT_EQ(3, client.getLastStatus());
  fake.status = 4;
  client.isMaintenanceStop();
  EXPECT_EQ(4, client.getLastStatus());
  EXPECT_EQ(Calls(4, "GetStatus(0)"), fake.calls) << "asking for the last status queries nothing";
}

TEST(CVuqRmgLibStatus, FailedQueryIsNoStateButKeepsTheWord) {
  FakeKelcom fake;
  CVuqRmgLib client;
  for (const int result : {1, -1, 32}) {
    SCOPED_TRACE(result);
    fake.statusResult = result;
    for (const int word : {kOperating, kMaintenance, kStopped, kMaintenanceStop}) {
      fake.status = word;
      EXPECT_FALSE(client.isOperate());
      EXPECT_FALSE(client.isMaintenance());
      EXPECT_FALSE(client.isStop());
      EXPECT_FALSE(client.isMaintenanceStop());
      EXPECT_EQ(word, client.getLastStatus());
    }
  }
}

TEST(CVuqRmgLibStatus, FailedQueryWithOperatingWordIsNotOperating) {
  FakeKelcom fake;
  fake.statusResult = 1;
  CVuqRmgLib client;
  EXPECT_FALSE(client.isOperate());
  EXPECT_EQ(0x20, client.getLastStatus());
}

TEST(CVuqRmgLibStatus, OperatingWithMaintenanceBitIsNothing) {
  FakeKelcom fake;
  fake.status = 0x10020;
  CVuqRmgLib client;
  EXPECT_FALSE(client.isOperate());
  EXPECT_FALSE(client.isMaintenance());
  EXPECT_FALSE(client.isStop());
  EXPECT_FALSE(client.isMaintenanceStop());
}

TEST(CVuqRmgLibStatus, QueryConnectionTellsSuccess) {
  FakeKelcom fake;
  fake.status = 77;
  CVuqRmgLib client;
  int word = 5;
  EXPECT_TRUE(client.queryConnection(word));
  EXPECT_EQ(77, word);
  fake.statusResult = 1;
  EXPECT_FALSE(client.queryConnection(word));
  fake.statusResult = -1;
  EXPECT_FALSE(client.queryConnection(word));
}

TEST(CVuqRmgLibStatus, GetStatusGivesResultAndRemembers) {
  FakeKelcom fake;
  fake.status = kMaintenance;
  fake.statusResult = -4;
  CVuqRmgLib client;
  int word = 0;
  EXPECT_EQ(-4, client.GetStatus(word));
  EXPECT_EQ(kMaintenance, word);
  EXPECT_EQ(kMaintenance, client.getLastStatus());
}

TEST(CVuqRmgLibStatus, PredicatesStartFromZero) {
  // A library that stores no word leaves the one it was given.
  struct Client : CVuqRmgLib {
    std::vector<int> given;
    int RMG_GetStatus(int& st) override {
      given.push_back(st);
      return 0;
    }
  } client;
  int word = kOperating;
  client.GetStatus(word);
  EXPECT_EQ(kOperating, client.getLastStatus());
  EXPECT_FALSE(client.isOperate());
  EXPECT_EQ(0, client.getLastStatus());
  EXPECT_FALSE(client.isMaintenance());
  EXPECT_FALSE(client.isStop());
  EXPECT_FALSE(client.isMaintenanceStop());
  EXPECT_EQ((std::vector<int>{kOperating, 0, 0, 0, 0}), client.given);
}

// --- virtual slots -------------------------------------------------------------------------------

TEST(CVuqRmgLibSlots, BindingOfTheStatusCanBeReplaced) {
  struct Client : CVuqRmgLib {
    int RMG_GetStatus(int& st) override {
      st = kStopped;
      return 0;
    }
  } client;
  EXPECT_TRUE(client.isStop());
  EXPECT_EQ(kStopped, client.getLastStatus());
}

TEST(CVuqRmgLibSlots, StatusQueryCanBeReplaced) {
  struct Client : CVuqRmgLib {
    int result = 0;
    int GetStatus(int& st) override {
      st = kMaintenanceStop;
      return result;
    }
  } client;
  int word = 0;
  EXPECT_TRUE(client.queryConnection(word));
  EXPECT_TRUE(client.isMaintenanceStop());
  client.result = 1;
  EXPECT_FALSE(client.queryConnection(word));
  EXPECT_EQ(0, client.getLastStatus()) << "only the replaced query would have remembered";
}

TEST(CVuqRmgLibSlots, ConnectionQueryCanBeReplacedForEachPredicate) {
  struct Client : CVuqRmgLib {
    int word = 0;
    bool queryConnection(int& st) override {
      st = word;
      return true;
    }
  } client;
  client.word = kOperating;
  EXPECT_TRUE(client.isOperate());
  client.word = kMaintenance;
  EXPECT_TRUE(client.isMaintenance());
  client.word = kStopped;
  EXPECT_TRUE(client.isStop());
  client.word = kMaintenanceStop;
  EXPECT_TRUE(client.isMaintenanceStop());
}

TEST(CVuqRmgLibSlots, BindingOfTheIdCanBeReplaced) {
  struct Client : CVuqRmgLib {
    int RMG_GetID(char* buf) override {
      std::strcpy(buf, "binding");
      return 0;
    }
  } client;
  EXPECT_STREQ("binding", client.getMachineID());
}

TEST(CVuqRmgLibSlots, IdQueryCanBeReplaced) {
  struct Client : CVuqRmgLib {
    int GetID(char* buf) override {
      std::strcpy(buf, "query");
      return 0;
    }
  } client;
  EXPECT_STREQ("query", client.getMachineID());
}

TEST(CVuqRmgLibSlots, ExchangeCanBeReplacedForNotifyAndData) {
  struct Client : CVuqRmgLib {
    Calls calls;
    int Communicate(unsigned long param, int a, int b, void* data) override {
      calls.push_back(std::to_string(param) + " " + std::to_string(a) + " " + std::to_string(b) +
                      (data == nullptr ? " null" : " data"));
      return -11;
    }
  } client;
  char text[] = "text";
  char reply[] = "reply";
  EXPECT_EQ(-11, client.sendNotify(5, text, reply));
  EXPECT_EQ(-11, client.sendNotify(6, nullptr, nullptr));
  EXPECT_EQ(-11, client.sendData(7, text, 3, reply));
  EXPECT_EQ((Calls{"5 0 0 data", "6 0 0 null", "7 0 3 data"}), client.calls);
  EXPECT_STREQ("reply", reply);
}

TEST(CVuqRmgLibSlots, PointerFormOfTheDebugLineCanBeReplaced) {
  struct Log : MLog {
    using MLog::LOGDEBUG;
    std::string seen;
    void LOGDEBUG(const char* msg) override { seen = msg; }
  } log;
  log.LOGDEBUG(std::string("a text"));
  EXPECT_EQ("a text", log.seen);
}

TEST(CVuqRmgLibSlots, DestructorUsesTheClientsOwnStop) {
  FakeKelcom fake;
  static int replaced;
  replaced = 0;
  struct Client : CVuqRmgLib {
    void stopCom() override { ++replaced; }
  };
  {
    Client client;
    client.startCom();
  }
  EXPECT_EQ(0, replaced);
  EXPECT_EQ((Calls{"StartComm(0)", "StopComm"}), fake.calls);
}

// --- start and stop ------------------------------------------------------------------------------

TEST(CVuqRmgLibCom, StartedAndStopped) {
  FakeKelcom fake;
  CVuqRmgLib client;
  client.startCom();
  EXPECT_NE(std::string::npos, client.to_s().find("m_startedCom      = true\n"));
  client.stopCom();
  EXPECT_NE(std::string::npos, client.to_s().find("m_startedCom      = false\n"));
  EXPECT_EQ((Calls{"StartComm(0)", "StopComm"}), fake.calls);
}

TEST(CVuqRmgLibCom, StartHandsOverAZero) {
  FakeKelcom fake;
  CVuqRmgLib client;
  client.startCom();
  EXPECT_EQ(0, fake.startValue);
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
        EXPECT_EQ(result, e.code());
        EXPECT_STREQ("FailRM_StartCommException", e.what());
      }
      EXPECT_NE(std::string::npos, client.to_s().find("m_startedCom      = false\n"));
    }
    EXPECT_EQ((Calls{"StartComm(0)"}), fake.calls) << "nothing was started, nothing is stopped";
  }
}

TEST(CVuqRmgLibCom, DestroyingAStartedInstanceStopsOnce) {
  FakeKelcom fake;
  {
    CVuqRmgLib client;
    client.startCom();
  }
  EXPECT_EQ((Calls{"StartComm(0)", "StopComm"}), fake.calls);
}

TEST(CVuqRmgLibCom, DestroyingAfterStopStopsNoMore) {
  FakeKelcom fake;
  {
    CVuqRmgLib client;
    client.startCom();
    client.stopCom();
  }
  EXPECT_EQ((Calls{"StartComm(0)", "StopComm"}), fake.calls);
}

TEST(CVuqRmgLibCom, DestroyingAFreshInstanceCallsNothing) {
  FakeKelcom fake;
  { CVuqRmgLib client; }
  EXPECT_EQ(Calls(), fake.calls);
}

TEST(CVuqRmgLibCom, DirectStopLeavesTheSecondOneToTheDestructor) {
  FakeKelcom fake;
  {
    CVuqRmgLib client;
    client.startCom();
    client.CVuqRmgLibImpl::RM_StopComm();
    EXPECT_NE(std::string::npos, client.to_s().find("m_startedCom      = true\n"));
  }
  EXPECT_EQ((Calls{"StartComm(0)", "StopComm", "StopComm"}), fake.calls);
}

TEST(CVuqRmgLibCom, ResultOfTheStopIsDropped) {
  FakeKelcom fake;
  fake.stopResult = -9;
  {
    CVuqRmgLib client;
    client.startCom();
    client.stopCom();
    EXPECT_NE(std::string::npos, client.to_s().find("m_startedCom      = false\n"));
  }
  EXPECT_EQ((Calls{"StartComm(0)", "StopComm"}), fake.calls);
}

TEST(CVuqRmgLibCom, StopWithoutStartReachesTheLibrary) {
  FakeKelcom fake;
  {
    CVuqRmgLib client;
    client.stopCom();
  }
  EXPECT_EQ((Calls{"StopComm"}), fake.calls);
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
  EXPECT_EQ((Calls{"StartComm(0)", "StopComm", "StopComm"}), fake.calls);
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
  EXPECT_EQ((Calls{"StartComm(0)", "StopComm"}), fake.calls);
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
  EXPECT_EQ(SIGABRT, child.signal()) << child.status;
  EXPECT_EQ("StartComm\nStopComm\n", child.out);
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
  EXPECT_EQ(SIGABRT, signalOfThrowingStart(5));
  EXPECT_EQ(SIGABRT, signalOfThrowingStart(0));
  EXPECT_EQ(SIGABRT, signalOfThrowingStart(std::runtime_error("start")));
  EXPECT_EQ(SIGABRT, signalOfThrowingStart(CVuqRmgLib::CVuqRmgLibException(1)));
  EXPECT_EQ(SIGABRT, signalOfThrowingStart(CVuqRmgLib::FailRM_SetEnvException(1)));
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
  EXPECT_EQ(3, child.exitCode());
  EXPECT_EQ("terminate\n", child.out);
}

// --- exchange ------------------------------------------------------------------------------------

TEST(CVuqRmgLibCommunicate, FillsTheRecord) {
  FakeKelcom fake;
  fake.reply = {-79, 1, -25};
  OpenClient client;
  client.fillRecord();
  char text[] = "hello";
  EXPECT_EQ(-79, client.Communicate(0x40016, 0, 0, text));
  EXPECT_EQ((std::vector<int>{-79, 1, -25, 0}), client.record());
  EXPECT_STREQ("(SMTP) RL:-79,ZW-Agent:-25,Mailsvr:\"\"", client.toString1line());
  EXPECT_EQ((Calls{"Communicate(0x40016, 0, 0, hello)"}), fake.calls);
}

TEST(CVuqRmgLibCommunicate, ErrorWordsAreZeroBeforeTheCall) {
  FakeKelcom fake;
  fake.storesError = false;
  CVuqRmgLib client;
  EXPECT_EQ(0, client.Communicate(1, 0, 0, nullptr));
  for (const int word : fake.errorBefore) EXPECT_EQ(0, word);
  EXPECT_EQ(0, client.getLastZWErrType());
}

TEST(CVuqRmgLibCommunicate, SuccessClearsTheRecord) {
  FakeKelcom fake;
  OpenClient client;
  client.fillRecord();
  EXPECT_EQ(0, client.Communicate(0x40016, 0, 0, nullptr));
  EXPECT_EQ((std::vector<int>{0, 0, 0, 0}), client.record());
  EXPECT_STREQ("", client.toString1line());
}

TEST(CVuqRmgLibCommunicate, PassesTheReservedWordOn) {
  FakeKelcom fake;
  CVuqRmgLib client;
  char path[] = "/a";
  char* paths[] = {path};
  client.Communicate(1, 2, 1, paths);
  EXPECT_EQ((Calls{"Communicate(0x1, 2, 1, [/a])"}), fake.calls);
}

TEST(CVuqRmgLibCommunicate, RecordIsClearedBeforeTheCall) {
  FakeKelcom fake;
  OpenClient client;
  client.fillRecord();
  std::vector<int> during;
  fake.onCall = [&](const std::string&) { during = client.record(); };
  fake.reply = {-1, 2, 3};
  client.Communicate(1, 0, 0, nullptr);
  EXPECT_EQ((std::vector<int>{0, 0, 0, 0}), during);
  EXPECT_EQ((std::vector<int>{-1, 2, 3, 0}), client.record());
}

TEST(CVuqRmgLibCommunicate, RecordIsClearedWhenTheLibraryThrows) {
  FakeKelcom fake;
  fake.onCall = [](const std::string&) { throw 17; };
  OpenClient client;
  client.fillRecord();
  EXPECT_THROW(client.Communicate(1, 0, 0, nullptr), int);
  EXPECT_EQ((std::vector<int>{0, 0, 0, 0}), client.record());
}

TEST(CVuqRmgLibCommunicate, NotifySendsTextWithoutItems) {
  FakeKelcom fake;
  fake.reply.result = -2;
  CVuqRmgLib client;
  char text[] = "INCNO=\"1\"";
  char reply[] = "reply";
  EXPECT_EQ(-2, client.sendNotify(0x40017, text, reply));
  EXPECT_EQ(-2, client.sendNotify(0x40016, nullptr, nullptr));
  EXPECT_EQ((Calls{"Communicate(0x40017, 0, 0, INCNO=\"1\")", "Communicate(0x40016, 0, 0, NULL)"}),
            fake.calls);
  EXPECT_STREQ("reply", reply);
}

TEST(CVuqRmgLibCommunicate, DataSendsItsItems) {
  FakeKelcom fake;
  fake.reply.result = -2;
  CVuqRmgLib client;
  char first[] = "/a";
  char second[] = "/b c";
  char* paths[] = {first, second};
  char reply[] = "reply";
  EXPECT_EQ(-2, client.sendData(0x4010d, paths, 2, reply));
  EXPECT_EQ(-2, client.sendData(0x4010b, paths, 1, nullptr));
  EXPECT_EQ((Calls{"Communicate(0x4010d, 0, 2, [/a /b c])", "Communicate(0x4010b, 0, 1, [/a])"}),
            fake.calls);
  EXPECT_STREQ("reply", reply);
}

TEST(CVuqRmgLibCommunicate, ExchangesAreAllowedBeforeTheStart) {
  FakeKelcom fake;
  {
    CVuqRmgLib client;
    client.Communicate(1, 0, 0, nullptr);
    client.isOperate();
  }
  EXPECT_EQ((Calls{"Communicate(0x1, 0, 0, NULL)", "GetStatus(0)"}), fake.calls);
}

// --- identifier and state text -------------------------------------------------------------------

TEST(CVuqRmgLibMachineId, IsTheLibrarysNumber) {
  FakeKelcom fake;
  CVuqRmgLib client;
  EXPECT_STREQ("4711", client.getMachineID());
  fake.id = 12;
  EXPECT_STREQ("12", client.getMachineID()) << "asked anew";
  EXPECT_EQ((Calls{"GetID", "GetID"}), fake.calls);
}

TEST(CVuqRmgLibMachineId, LibraryThatFailsAndStoresNothingGivesZero) {
  FakeKelcom fake;
  fake.idResult = -1;
  fake.storesId = false;
  CVuqRmgLib client;
  EXPECT_STREQ("0", client.getMachineID());
}

TEST(CVuqRmgLibMachineId, ResultOfTheQueryIsIgnored) {
  FakeKelcom fake;
  fake.idResult = -1;
  CVuqRmgLib client;
  EXPECT_STREQ("4711", client.getMachineID());
}

TEST(CVuqRmgLibMachineId, BufferIsAllZeroBeforeTheQuery) {
  struct Client : CVuqRmgLib {
    std::string fill;
    std::string found;
    int GetID(char* buf) override {
      found.assign(buf, 4096);
      std::memset(buf, 'x', 4095);
      return 0;
    }
  } client;
  EXPECT_EQ(std::string(4095, 'x'), client.getMachineID());
  client.getMachineID();
  EXPECT_EQ(std::string(4096, '\0'), client.found);
}

TEST(CVuqRmgLibMachineId, IntegerThrownByTheLibraryLeavesItEmpty) {
  FakeKelcom fake;
  CVuqRmgLib client;
  client.getMachineID();
  fake.onCall = [](const std::string&) { throw 3; };
  EXPECT_THROW(client.getMachineID(), int);
  EXPECT_EQ(
      "\n    m_machineID       = \n    m_lastStatus      = 0\n    m_startedCom      = false\n",
      client.to_s());
}

TEST(CVuqRmgLibToS, FreshInstance) {
  CVuqRmgLib client;
  EXPECT_EQ(
      "\n    m_machineID       = \n    m_lastStatus      = 0\n    m_startedCom      = false\n",
      client.to_s());
}

TEST(CVuqRmgLibToS, StartedInstance) {
  FakeKelcom fake;
  fake.status = kMaintenance;
  CVuqRmgLib client;
  client.getMachineID();
  client.isOperate();
  client.startCom();
  EXPECT_EQ(
      "\n    m_machineID       = 4711\n    m_lastStatus      = 65536\n"
      "    m_startedCom      = true\n",
      client.to_s());
}

TEST(CVuqRmgLibToS, NegativeStatusAndLongIdentifier) {
  struct Client : CVuqRmgLib {
    int GetID(char* buf) override {
      std::memset(buf, '9', 4095);
      return 0;
    }
  } client;
  FakeKelcom fake;
  fake.status = -1;
  client.isStop();
  client.getMachineID();
  EXPECT_EQ("\n    m_machineID       = " + std::string(4095, '9') +
                "\n    m_lastStatus      = -1\n    m_startedCom      = false\n",
            client.to_s());
}

// --- what does nothing ---------------------------------------------------------------------------

TEST(CVuqRmgLibQuiet, OperationsWithoutEffectCallNothing) {
  FakeKelcom fake;
  CVuqRmgLib client;
  const std::string before = client.to_s();
  client.setEnv();
  client.setMailTimeout(60);
  EXPECT_EQ(0, client.html_CheckUrl(1));
  EXPECT_EQ(0, client.CheckUrl(1));
  EXPECT_EQ(0, client.getCenterCode());
  EXPECT_EQ(0, client.loadLibrary("/nowhere"));
  EXPECT_EQ(0, client.loadLibrary(nullptr));
  client.scenarioLoadLibraries();
  client.scenarioUnloadLibraries();
  EXPECT_EQ(before, client.to_s());
  EXPECT_EQ(Calls(), fake.calls);
}

TEST(CVuqRmgLibQuiet, FuncEntryThrows33) {
  CVuqRmgLib client;
  for (const char* name : {"KEL_GetID", "", static_cast<const char*>(nullptr)}) {
    try {
      client.getFuncEntry(name);
      ADD_FAILURE() << "an entry";
    } catch (int code) {
      EXPECT_EQ(33, code);
    }
  }
}

// --- installation probe --------------------------------------------------------------------------

/// Points the probe at `path` for the life of the object.
class LibraryPath {
 public:
  explicit LibraryPath(const char* path) : m_old(REPRESENTLIB) { REPRESENTLIB = path; }
  ~LibraryPath() { REPRESENTLIB = m_old; }
  LibraryPath(const LibraryPath&) = delete;
  LibraryPath& operator=(const LibraryPath&) = delete;

 private:
  const char* m_old;
};

TEST(IsKelExist, DefaultPathIsTheMakers) {
  EXPECT_STREQ("/opt/QZKBkel/lib/libkelcom.so", REPRESENTLIB);
}

TEST(IsKelExist, File) {
  const ScratchDir dir;
  const std::string file = dir.write("lib.so", "");
  const LibraryPath path(file.c_str());
  EXPECT_TRUE(isKelExist());
}

TEST(IsKelExist, LinkCountsAsItsTarget) {
  const ScratchDir dir;
  const std::string file = dir.write("lib.so", "");
  const std::string toFile = dir / "to-file";
  const std::string toDir = dir / "to-dir";
  const std::string toNothing = dir / "to-nothing";
  ASSERT_EQ(0, ::symlink(file.c_str(), toFile.c_str()));
  ASSERT_EQ(0, ::symlink("/tmp", toDir.c_str()));
  ASSERT_EQ(0, ::symlink("/nowhere/at/all", toNothing.c_str()));
  EXPECT_TRUE((LibraryPath(toFile.c_str()), isKelExist()));
  EXPECT_FALSE((LibraryPath(toDir.c_str()), isKelExist()));
  EXPECT_FALSE((LibraryPath(toNothing.c_str()), isKelExist()));
}

TEST(IsKelExist, DirectoryAtTheLibraryPath) {
  const ScratchDir dir;
  const LibraryPath path(dir.path().c_str());
  EXPECT_FALSE(isKelExist());
}

TEST(IsKelExist, MissingPath) {
  const ScratchDir dir;
  const std::string missing = dir / "missing";
  const LibraryPath path(missing.c_str());
  EXPECT_FALSE(isKelExist());
}

TEST(IsKelExist, NullPath) {
  const LibraryPath path(nullptr);
  EXPECT_FALSE(isKelExist());
}

TEST(IsDovraInstalled, AsksTheProbeAnew) {
  const ScratchDir dir;
  const std::string file = dir.write("lib.so", "");
  CVuqRmgLib client;
  const LibraryPath path(file.c_str());
  EXPECT_TRUE(client.isDovraInstalled());
  ::unlink(file.c_str());
  EXPECT_FALSE(client.isDovraInstalled());
}

TEST(IsDovraInstalled, AnswerIsTheFifthOfFiveFlags) {
  const ScratchDir dir;
  const std::string file = dir.write("lib.so", "");
  const LibraryPath path(file.c_str());
  OverOnes<ICVuqRmgLib> made;
  constexpr std::size_t kFlags = sizeof(void*);  // behind the table of operations
  constexpr std::size_t kHandles = 2 * sizeof(void*);
  const std::string noHandles(sizeof(std::vector<void*>), '\0');
  EXPECT_EQ(made.bytes(kFlags, 5), std::string(5, '\0'));
  EXPECT_EQ(made.bytes(kHandles, noHandles.size()), noHandles);
  EXPECT_TRUE(made.object().isDovraInstalled());
  EXPECT_EQ(made.bytes(kFlags, 5), std::string("\0\0\0\0\1", 5));
  ::unlink(file.c_str());
  EXPECT_FALSE(made.object().isDovraInstalled());
  EXPECT_EQ(made.bytes(kFlags, 5), std::string(5, '\0'));
  EXPECT_EQ(made.bytes(kHandles, noHandles.size()), noHandles) << "nothing is ever loaded";
}

// --- debug output --------------------------------------------------------------------------------

TEST(MLogDebug, GoesToStandardErrorWithALineFeed) {
  const ChildResult child = runInChild([] {
    MLog log;
    log.LOGDEBUG("pointer");
    log.LOGDEBUG(std::string("text"));
    log.LOGDEBUG("100%s %n");
    log.LOGDEBUG("");
    log.LOGDEBUG(std::string("cut\0off", 7));
    return 0;
  });
  EXPECT_EQ("pointer\ntext\n100%s %n\n\ncut\n", child.err);
  EXPECT_EQ("", child.out);
}

TEST(MLogDebug, NullIsAnEmptyText) {
  const ChildResult child = runInChild([] {
    MLog().LOGDEBUG(static_cast<const char*>(nullptr));
    return 0;
  });
  EXPECT_EQ(0, child.exitCode());
  EXPECT_EQ("\n", child.err);
}

}  // namespace
