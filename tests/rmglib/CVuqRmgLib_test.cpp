#include "rmglib/CVuqRmgLib.h"

#include <gtest/gtest.h>

#include <cstddef>
#include <cstring>
#include <exception>
#include <string>
#include <type_traits>
#include <vector>

#include "support/FakeKelcom.h"
#include "support/childrun.h"
#include "support/overones.h"
#include "support/slots.h"
#include "support/statuswords.h"

namespace {

using Calls = std::vector<std::string>;

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
  EXPECT_EQ(slotOf(static_cast<void (MLog::*)(std::string)>(&MLog::LOGDEBUG)), 2U);
  EXPECT_EQ(slotOf(static_cast<void (MLog::*)(const char*)>(&MLog::LOGDEBUG)), 3U);
  EXPECT_EQ(slotOf(&CVuqRmgLibImpl::RMG_GetStatus), 4U);
  EXPECT_EQ(slotOf(&CVuqRmgLibImpl::RMG_GetID), 5U);
  EXPECT_EQ(slotOf(&ICVuqRmg::getFuncEntry), 0U) << "no destructor there";
  EXPECT_EQ(slotOf(&ICVuqRmgLib::isDovraInstalled), 2U);
  EXPECT_EQ(slotOf(&ICVuqRmgLib::loadLibrary), 3U);
  EXPECT_EQ(slotOf(&ICVuqRmgLib::scenarioLoadLibraries), 4U);
  EXPECT_EQ(slotOf(&ICVuqRmgLib::scenarioUnloadLibraries), 5U);
  EXPECT_EQ(slotOf(&CVuqRmgLib::CVuqRmgLibException::what), 2U);
  EXPECT_EQ(slotOf(&CVuqRmgLib::CVuqRmgLibException::code), 3U);

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
  for (std::size_t i = 0; i < own.size(); ++i) EXPECT_EQ(own[i], 6 + i) << "operation " << i;
}

TEST(CVuqRmgLibTree, FieldsOfTheClientStandInOrder) {
  FakeKelcom fake;
  fake.status = kMaintenance;
  OverOnes<CVuqRmgLib> made;
  CVuqRmgLib& client = made.object();
  const std::string empty = made.bytes(0, sizeof(CVuqRmgLib));
  const char* start = reinterpret_cast<const char*>(&client);
  const auto id = static_cast<std::size_t>(client.getMachineID() - start);
  EXPECT_EQ(std::string(4096 + sizeof(int) + 1, '\0'), empty.substr(id, 4096 + sizeof(int) + 1));

  client.isOperate();
  client.startCom();
  int status = 0;
  std::memcpy(&status, made.bytes(id + 4096, sizeof status).data(), sizeof status);
  EXPECT_EQ(std::string("4711\0", 5), made.bytes(id, 5));
  EXPECT_EQ(kMaintenance, status);
  EXPECT_EQ("\1", made.bytes(id + 4096 + sizeof status, 1));
}

TEST(CVuqRmgLibExceptions, CarryTheirCode) {
  for (const int code : {0, 1, -1, 33, 2147483647, -2147483647 - 1}) {
    EXPECT_EQ(CVuqRmgLib::CVuqRmgLibException(code).code(), code);
    EXPECT_EQ(CVuqRmgLib::FailRM_StartCommException(code).code(), code);
    EXPECT_EQ(CVuqRmgLib::FailRM_SetEnvException(code).code(), code);
    EXPECT_EQ(CVuqRmgLib::FailGetStatusRmsLibException(code).code(), code);
    EXPECT_EQ(CVuqRmgLib::UnsupportCenterCodeException(code).code(), code);
  }
}

TEST(CVuqRmgLibExceptions, OnlyTheStartNamesItself) {
  const std::string standard = std::exception().what();
  EXPECT_STREQ(CVuqRmgLib::FailRM_StartCommException(1).what(), "FailRM_StartCommException");
  EXPECT_EQ(CVuqRmgLib::CVuqRmgLibException(1).what(), standard);
  EXPECT_EQ(CVuqRmgLib::FailRM_SetEnvException(1).what(), standard);
  EXPECT_EQ(CVuqRmgLib::FailGetStatusRmsLibException(1).what(), standard);
  EXPECT_EQ(CVuqRmgLib::UnsupportCenterCodeException(1).what(), standard);
}

TEST(CVuqRmgLibExceptions, CodeIsVirtual) {
  struct Other : CVuqRmgLib::FailRM_StartCommException {
    using FailRM_StartCommException::FailRM_StartCommException;
    int code() const override { return 7; }
  };
  const Other other(1);
  const CVuqRmgLib::CVuqRmgLibException& base = other;
  EXPECT_EQ(base.code(), 7);
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
  EXPECT_EQ(client.getLastStatus(), kStopped);
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
  EXPECT_EQ(client.getLastStatus(), 0) << "only the replaced query would have remembered";
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
  EXPECT_STREQ(client.getMachineID(), "binding");
}

TEST(CVuqRmgLibSlots, IdQueryCanBeReplaced) {
  struct Client : CVuqRmgLib {
    int GetID(char* buf) override {
      std::strcpy(buf, "query");
      return 0;
    }
  } client;
  EXPECT_STREQ(client.getMachineID(), "query");
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
  EXPECT_EQ(client.sendNotify(5, text, reply), -11);
  EXPECT_EQ(client.sendNotify(6, nullptr, nullptr), -11);
  EXPECT_EQ(client.sendData(7, text, 3, reply), -11);
  EXPECT_EQ(client.calls, (Calls{"5 0 0 data", "6 0 0 null", "7 0 3 data"}));
  EXPECT_STREQ(reply, "reply");
}

TEST(CVuqRmgLibSlots, PointerFormOfTheDebugLineCanBeReplaced) {
  struct Log : MLog {
    using MLog::LOGDEBUG;
    std::string seen;
    void LOGDEBUG(const char* msg) override { seen = msg; }
  } log;
  log.LOGDEBUG(std::string("a text"));
  EXPECT_EQ(log.seen, "a text");
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
  EXPECT_EQ(replaced, 0);
  EXPECT_EQ(fake.calls, (Calls{"StartComm(0)", "StopComm"}));
}

// --- identifier and state text -------------------------------------------------------------------

TEST(CVuqRmgLibMachineId, IsTheLibrarysNumber) {
  FakeKelcom fake;
  CVuqRmgLib client;
  EXPECT_STREQ(client.getMachineID(), "4711");
  fake.id = 12;
  EXPECT_STREQ(client.getMachineID(), "12") << "asked anew";
  EXPECT_EQ(fake.calls, (Calls{"GetID", "GetID"}));
}

TEST(CVuqRmgLibMachineId, LibraryThatFailsAndStoresNothingGivesZero) {
  FakeKelcom fake;
  fake.idResult = -1;
  fake.storesId = false;
  CVuqRmgLib client;
  EXPECT_STREQ(client.getMachineID(), "0");
}

TEST(CVuqRmgLibMachineId, ResultOfTheQueryIsIgnored) {
  FakeKelcom fake;
  fake.idResult = -1;
  CVuqRmgLib client;
  EXPECT_STREQ(client.getMachineID(), "4711");
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
  EXPECT_EQ(client.getMachineID(), std::string(4095, 'x'));
  client.getMachineID();
  EXPECT_EQ(client.found, std::string(4096, '\0'));
}

TEST(CVuqRmgLibMachineId, IntegerThrownByTheLibraryLeavesItEmpty) {
  FakeKelcom fake;
  CVuqRmgLib client;
  client.getMachineID();
  fake.onCall = [](const std::string&) { throw 3; };
  EXPECT_THROW(client.getMachineID(), int);
  EXPECT_EQ(
      client.to_s(),
      "\n    m_machineID       = \n    m_lastStatus      = 0\n    m_startedCom      = false\n");
}

TEST(CVuqRmgLibToS, FreshInstance) {
  CVuqRmgLib client;
  EXPECT_EQ(
      client.to_s(),
      "\n    m_machineID       = \n    m_lastStatus      = 0\n    m_startedCom      = false\n");
}

TEST(CVuqRmgLibToS, StartedInstance) {
  FakeKelcom fake;
  fake.status = kMaintenance;
  CVuqRmgLib client;
  client.getMachineID();
  client.isOperate();
  client.startCom();
  EXPECT_EQ(client.to_s(),
            "\n    m_machineID       = 4711\n    m_lastStatus      = 65536\n"
            "    m_startedCom      = true\n");
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
  EXPECT_EQ(client.to_s(), "\n    m_machineID       = " + std::string(4095, '9') +
                               "\n    m_lastStatus      = -1\n    m_startedCom      = false\n");
}

// --- what does nothing ---------------------------------------------------------------------------

TEST(CVuqRmgLibQuiet, OperationsWithoutEffectCallNothing) {
  FakeKelcom fake;
  CVuqRmgLib client;
  const std::string before = client.to_s();
  client.setEnv();
  client.setMailTimeout(60);
  EXPECT_EQ(client.html_CheckUrl(1), 0);
  EXPECT_EQ(client.CheckUrl(1), 0);
  EXPECT_EQ(client.getCenterCode(), 0);
  EXPECT_EQ(client.loadLibrary("/nowhere"), 0);
  EXPECT_EQ(client.loadLibrary(nullptr), 0);
  client.scenarioLoadLibraries();
  client.scenarioUnloadLibraries();
  EXPECT_EQ(client.to_s(), before);
  EXPECT_EQ(fake.calls, Calls());
}

TEST(CVuqRmgLibQuiet, FuncEntryThrows33) {
  CVuqRmgLib client;
  for (const char* name : {"KEL_GetID", "", static_cast<const char*>(nullptr)}) {
    try {
      client.getFuncEntry(name);
      ADD_FAILURE() << "an entry";
    } catch (int code) {
      EXPECT_EQ(code, 33);
    }
  }
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
  EXPECT_EQ(child.err, "pointer\ntext\n100%s %n\n\ncut\n");
  EXPECT_EQ(child.out, "");
}

TEST(MLogDebug, NullIsAnEmptyText) {
  const ChildResult child = runInChild([] {
    MLog().LOGDEBUG(static_cast<const char*>(nullptr));
    return 0;
  });
  EXPECT_EQ(child.exitCode(), 0);
  EXPECT_EQ(child.err, "\n");
}

}  // namespace
