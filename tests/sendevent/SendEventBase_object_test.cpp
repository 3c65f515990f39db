#include "sendevent/SendEventBase.h"

#include <gtest/gtest.h>

#include <cstdint>
#include <cstring>
#include <string>
#include <type_traits>
#include <vector>

#include "sendevent/CSendEventSingleSystem.h"
#include "support/testevent.h"

namespace {

using Texts = std::vector<std::string>;

static_assert(std::is_convertible_v<CSendEventSingleSystem*, CSendEventBase*>);
static_assert(std::has_virtual_destructor_v<CSendEventBase>);
static_assert(sizeof(CSendEventSingleSystem) == sizeof(CSendEventBase), "it adds no field");

/// Whether an operation is virtual, as the C++ ABI marks it in a pointer to a member: by the lowest
/// bit of its first word, on some machines of its second.
template <class Member>
bool isVirtual(Member member) {
  std::uintptr_t words[2];
  static_assert(sizeof member == sizeof words, "a pointer and an adjustment");
  std::memcpy(words, &member, sizeof words);
  return ((words[0] | words[1]) & 1) != 0;
}

/// How many of these operations are.
template <class... Members>
int countVirtual(Members... members) {
  return (0 + ... + static_cast<int>(isVirtual(members)));
}

TEST(SendEventObject, Destructor_AloneIsVirtual) {
  struct Virtual {
    virtual ~Virtual() = default;
    virtual void operation() {}
  };
  using Base = CSendEventBase;
  EXPECT_EQ(countVirtual(&Virtual::operation), 1) << "the mark itself";
  EXPECT_EQ(
      countVirtual(&Base::parseTanexEventMsg, &Base::parseTanexMsg, &Base::parseMsgCommon,
                   &Base::getEventType, &Base::getSendFileList, &Base::getParam, &Base::setParam,
                   &Base::commonSendEvent, &Base::getSyslogLine, &Base::convStr,
                   &CSendEventSingleSystem::parseCommandLine, &CSendEventSingleSystem::sendEvent),
      0);
}

TEST(SendEventObject, Fields_AreTypeListAndParametersInThisOrder) {
  const TestEvent event;
  const auto place = [&event](const auto& field) {
    return reinterpret_cast<const char*>(&field) - reinterpret_cast<const char*>(&event);
  };
  EXPECT_LT(place(event.m_eventType), place(event.m_sendFileList));
  EXPECT_LT(place(event.m_sendFileList), place(event.m_params));
}

TEST(SendEventObject, NewEvent_IsEmpty) {
  TestSingleSystem event;
  EXPECT_EQ(event.getEventType(), 0);
  EXPECT_EQ(event.getSendFileList(), Texts());
  EXPECT_EQ(event.m_params, Params());
}

TEST(SendEventObject, GetParam_GivesTheValueUntilItChanges) {
  TestEvent event;
  event.setParam("Label", "disk");
  const char* value = event.getParam("Label");
  event.setParam("Time", "now");
  event.getParam("Absent");
  EXPECT_STREQ(value, "disk");
}

TEST(SendEventObject, GetParamOfAnUnknownKey_InsertsItEmptyUnlessItIsNull) {
  TestEvent event;
  event.setParam("Label", "disk");
  // Keys are case-sensitive and compared whole.
  for (const char* key : {"Time", "label", "Lab", "", static_cast<const char*>(nullptr)}) {
    EXPECT_STREQ(event.getParam(key), "");
  }
  EXPECT_EQ(event.m_params,
            (Params{{"Label", "disk"}, {"Time", ""}, {"label", ""}, {"Lab", ""}, {"", ""}}));
}

TEST(SendEventObject, SetParam_InsertsAndOverwritesUnlessSomethingIsNull) {
  TestEvent event;
  event.setParam("Label", "disk");
  event.setParam("any key", "");
  event.setParam("Label", "a=b ");
  event.setParam(nullptr, "value");
  event.setParam("Label", nullptr);
  event.setParam("Other", nullptr);
  EXPECT_EQ(event.m_params, (Params{{"Label", "a=b "}, {"any key", ""}}));
}

TEST(SendEventObject, SetParam_TakesAValueOfItsOwn) {
  TestEvent event;
  const std::string value(100, 'v');
  event.setParam("Label", ("ab" + value).c_str());
  event.setParam("Label", event.getParam("Label") + 2);
  event.setParam("Time", event.getParam("Label"));
  event.setParam(event.getParam("Label"), "x");
  EXPECT_EQ(event.m_params, (Params{{"Label", value}, {"Time", value}, {value, "x"}}));
}

TEST(SendEventObject, SendFileList_IsACopy) {
  TestEvent event(2, {"/a", "/b"});
  Texts copy = event.getSendFileList();
  EXPECT_EQ(copy, (Texts{"/a", "/b"}));
  copy.clear();
  EXPECT_EQ(event.getSendFileList(), (Texts{"/a", "/b"}));
}

}  // namespace
