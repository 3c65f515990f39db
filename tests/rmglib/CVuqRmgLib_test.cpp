#include "rmglib/CVuqRmgLib.h"

#include <gtest/gtest.h>
#include <unistd.h>

#include <cstddef>
#include <cstring>
#include <exception>
#include <new>
#include <string>
#include <type_traits>
#include <utility>
#include <vector>

#include "support/FakeKelcom.h"
#include "support/childrun.h"
#include "support/scratch.h"
#include "support/slots.h"

namespace {

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

// --- class tree ----------------------------------------------------------------------------------

static_assert(std::is_convertible_v<CVuqRmgLib*, CVuqRmgLibImpl*>);
static_assert(std::is_convertible_v<CVuqRmgLib*, ICVuqRmgLib*>);
static_assert(std::is_convertible_v<CVuqRmgLib*, IExtKelError*>);
static_assert(std::is_convertible_v<CVuqRmgLibImpl*, MLog*>);
static_assert(std::is_base_of_v<ICVuqRmg, CVuqRmgLibImpl>);
static_assert(!std::is_convertible_v<CVuqRmgLibImpl*, ICVuqRmg*>, "the base is not public");
static_assert(std::is_abstract_v<ICVuqRmg>);
static_assert(std::is_abstract_v<CVuqRmgLibImpl>);
static_assert(std::has_virtual_destructor_v<MLog>);
static_assert(std::has_virtual_destructor_v<ICVuqRmgLib>);

TEST(CVuqRmgLib, Bases_StandInOrder) {
  CVuqRmgLib client;
  const auto place = [](const void* base) { return static_cast<const char*>(base); };
  EXPECT_LT(place(static_cast<CVuqRmgLibImpl*>(&client)),
            place(static_cast<ICVuqRmgLib*>(&client)));
  EXPECT_LT(place(static_cast<ICVuqRmgLib*>(&client)), place(static_cast<IExtKelError*>(&client)));
}

TEST(CVuqRmgLib, Operations_StandInSlotOrder) {
  using Client = CVuqRmgLib;
  // The destructor takes the first two slots of each table but one.
  EXPECT_EQ(slotsOf(static_cast<void (MLog::*)(std::string)>(&MLog::LOGDEBUG),
                    static_cast<void (MLog::*)(const char*)>(&MLog::LOGDEBUG),
                    &CVuqRmgLibImpl::RMG_GetStatus, &CVuqRmgLibImpl::RMG_GetID),
            slotsFrom(2, 4));
  EXPECT_EQ(slotOf(&ICVuqRmg::getFuncEntry), 0U) << "no destructor there";
  EXPECT_EQ(slotsOf(&ICVuqRmgLib::isDovraInstalled, &ICVuqRmgLib::loadLibrary,
                    &ICVuqRmgLib::scenarioLoadLibraries, &ICVuqRmgLib::scenarioUnloadLibraries),
            slotsFrom(2, 4));
  EXPECT_EQ(slotsOf(&Client::CVuqRmgLibException::what, &Client::CVuqRmgLibException::code),
            slotsFrom(2, 2));
  EXPECT_EQ(
      slotsOf(&Client::GetStatus, &Client::queryConnection, &Client::isOperate,
              &Client::isMaintenance, &Client::isStop, &Client::isMaintenanceStop,
              &Client::getLastStatus, &Client::startCom, &Client::stopCom, &Client::sendNotify,
              &Client::sendData, &Client::Communicate, &Client::setMailTimeout, &Client::setEnv,
              &Client::to_s, &Client::GetID, &Client::getMachineID, &Client::html_CheckUrl,
              &Client::CheckUrl, &Client::getCenterCode, &Client::getFuncEntry),
      slotsFrom(6, 21));
}

TEST(CVuqRmgLib, Fields_StandInOrder) {
  FakeKelcom fake;
  fake.status = kMaintenance;
  OverOnes<CVuqRmgLib> made;
  CVuqRmgLib& client = made.object();
  const char* start = reinterpret_cast<const char*>(&client);
  const std::string fresh = made.bytes(0, sizeof(CVuqRmgLib));
  const auto id = static_cast<std::size_t>(client.getMachineID() - start);
  EXPECT_EQ(fresh.substr(id, 4096 + sizeof(int) + 1), std::string(4096 + sizeof(int) + 1, '\0'));

  client.isOperate();
  client.startCom();
  int status = 0;
  std::memcpy(&status, made.bytes(id + 4096, sizeof status).data(), sizeof status);
  EXPECT_EQ(made.bytes(id, 5), std::string("4711\0", 5));
  EXPECT_EQ(status, kMaintenance);
  EXPECT_EQ(made.bytes(id + 4096 + sizeof status, 1), "\1");
}

// --- exceptions ----------------------------------------------------------------------------------

/// Whether an exception of this class is one of the client's, carries its code and says `what`.
template <class Exception>
void expectException(const std::string& what) {
  static_assert(std::is_convertible_v<Exception*, CVuqRmgLib::CVuqRmgLibException*>);
  static_assert(std::is_convertible_v<Exception*, std::exception*>);
  for (const int code : {0, 1, -1, 33, 2147483647, -2147483647 - 1}) {
    EXPECT_EQ(Exception(code).code(), code);
    EXPECT_EQ(Exception(code).what(), what);
  }
}

TEST(CVuqRmgLibException, EveryClass_CarriesItsCodeAndOnlyTheStartNamesItself) {
  const std::string standard = std::exception().what();
  expectException<CVuqRmgLib::CVuqRmgLibException>(standard);
  expectException<CVuqRmgLib::FailRM_StartCommException>("FailRM_StartCommException");
  expectException<CVuqRmgLib::FailRM_SetEnvException>(standard);
  expectException<CVuqRmgLib::FailGetStatusRmsLibException>(standard);
  expectException<CVuqRmgLib::UnsupportCenterCodeException>(standard);
}

// --- virtual slots -------------------------------------------------------------------------------

TEST(CVuqRmgLibSlots, Exchange_CanBeReplacedForNotifyAndData) {
  struct Client : CVuqRmgLib {
    Texts calls;
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
  EXPECT_EQ(client.calls, (Texts{"5 0 0 data", "6 0 0 null", "7 0 3 data"}));
  EXPECT_STREQ(reply, "reply");
}

TEST(CVuqRmgLibSlots, PointerFormOfTheDebugLine_CanBeReplaced) {
  struct Log : MLog {
    using MLog::LOGDEBUG;
    std::string seen;
    void LOGDEBUG(const char* msg) override { seen = msg; }
  } log;
  log.LOGDEBUG(std::string("a text"));
  EXPECT_EQ(log.seen, "a text");
}

// --- identifier and state text -------------------------------------------------------------------

TEST(CVuqRmgLibMachineId, Buffer_IsAllZeroBeforeTheQueryWhichCanBeReplaced) {
  struct Client : CVuqRmgLib {
    std::string found;
    int GetID(char* buf) override {
      found.assign(buf, 4096);
      return CVuqRmgLib::GetID(buf);
    }
    int RMG_GetID(char* buf) override {
      std::memset(buf, 'x', 4095);
      return 0;
    }
  } client;
  EXPECT_EQ(client.getMachineID(), std::string(4095, 'x'));
  client.getMachineID();
  EXPECT_EQ(client.found, std::string(4096, '\0'));
}

/// What a client says of its state.
std::string stateText(const std::string& id, const std::string& status, const char* started) {
  return "\n    m_machineID       = " + id + "\n    m_lastStatus      = " + status +
         "\n    m_startedCom      = " + started + "\n";
}

TEST(CVuqRmgLibToS, EveryField_IsShown) {
  FakeKelcom fake;
  fake.status = -1;
  CVuqRmgLib client;
  EXPECT_EQ(client.to_s(), stateText("", "0", "false"));
  client.getMachineID();
  client.isOperate();
  client.startCom();
  EXPECT_EQ(client.to_s(), stateText("4711", "-1", "true"));
  fake.onCall = [](const std::string& call) {
    if (call == "GetID") throw 3;
  };
  EXPECT_THROW(client.getMachineID(), int);
  EXPECT_EQ(client.to_s(), stateText("", "-1", "true")) << "the identifier is gone";
}

// --- what does nothing ---------------------------------------------------------------------------

TEST(CVuqRmgLib, OperationsWithoutEffect_CallNothing) {
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
  EXPECT_EQ(fake.calls, Texts());
}

TEST(CVuqRmgLib, FuncEntry_Throws33) {
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

TEST(MLog, DebugOutput_GoesToStandardErrorWithALineFeed) {
  const ChildResult child = runInChild([] {
    MLog log;
    log.LOGDEBUG("pointer");
    log.LOGDEBUG(std::string("text"));
    log.LOGDEBUG("100%s %n");
    log.LOGDEBUG("");
    log.LOGDEBUG(std::string("cut\0off", 7));
    log.LOGDEBUG(static_cast<const char*>(nullptr));
    return 0;
  });
  EXPECT_EQ(child.exitCode(), 0);
  EXPECT_EQ(child.err, "pointer\ntext\n100%s %n\n\ncut\n\n");
  EXPECT_EQ(child.out, "");
}

// --- presence of the library ---------------------------------------------------------------------

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

TEST(IsKelExist, Path_IsTheMakersUntilItIsChanged) {
  EXPECT_STREQ(REPRESENTLIB, "/opt/QZKBkel/lib/libkelcom.so");
}

TEST(IsKelExist, EveryKindOfPath_IsThereWhenItLeadsToAFile) {
  const ScratchDir dir;
  const std::string file = dir.write("lib.so", "");
  ASSERT_EQ(::symlink("lib.so", (dir / "to-file").c_str()), 0);
  ASSERT_EQ(::symlink("/tmp", (dir / "to-dir").c_str()), 0);
  ASSERT_EQ(::symlink("/nowhere/at/all", (dir / "to-nothing").c_str()), 0);
  const std::pair<std::string, bool> table[] = {
      {file, true},
      {dir / "to-file", true},
      {dir.path(), false},
      {dir / "to-dir", false},
      {dir / "to-nothing", false},
      {dir / "missing", false},
  };
  for (const auto& [name, isThere] : table) {
    const LibraryPath path(name.c_str());
    EXPECT_EQ(isKelExist(), isThere) << name;
  }
  const LibraryPath none(nullptr);
  EXPECT_FALSE(isKelExist());
}

TEST(IsDovraInstalled, AnswerOfTheMoment_IsTheFifthOfFiveFlags) {
  const ScratchDir dir;
  const std::string file = dir.write("lib.so", "");
  const LibraryPath path(file.c_str());
  OverOnes<ICVuqRmgLib> made;
  constexpr std::size_t kFlags = sizeof(void*);  // after the table of operations
  constexpr std::size_t kHandles = kFlags + 8;   // aligned
  const std::string noHandles(sizeof(std::vector<void*>), '\0');
  EXPECT_EQ(made.bytes(kFlags, 5), std::string(5, '\0'));
  EXPECT_EQ(made.bytes(kHandles, noHandles.size()), noHandles);
  // As numbers: a byte that is no flag is neither.
  EXPECT_EQ(int{made.object().isDovraInstalled()}, 1);
  EXPECT_EQ(made.bytes(kFlags, 5), std::string("\0\0\0\0\1", 5));
  ::unlink(file.c_str());
  EXPECT_EQ(int{made.object().isDovraInstalled()}, 0);
  EXPECT_EQ(made.bytes(kFlags, 5), std::string(5, '\0'));
  EXPECT_EQ(made.bytes(kHandles, noHandles.size()), noHandles) << "nothing is ever loaded";
}

}  // namespace
