#include "sendevent/SendEventBase.h"

#include <gtest/gtest.h>

#include <string>
#include <type_traits>
#include <vector>

#include "sendevent/CSendEventSingleSystem.h"
#include "support/slots.h"
#include "support/testevent.h"

namespace {

using Texts = std::vector<std::string>;

static_assert(std::is_convertible_v<CSendEventSingleSystem*, CSendEventBase*>);
static_assert(std::has_virtual_destructor_v<CSendEventBase>);
static_assert(sizeof(CSendEventSingleSystem) == sizeof(CSendEventBase), "it adds no field");

TEST(SendEventObject, Destructor_AloneIsVirtual) {
  using Base = CSendEventBase;
  const std::vector<std::size_t> operations =
      slotsOf(&Base::parseTanexEventMsg, &Base::parseTanexMsg, &Base::parseMsgCommon,
              &Base::getEventType, &Base::getSendFileList, &Base::getParam, &Base::setParam,
              &Base::commonSendEvent, &Base::getSyslogLine, &Base::convStr,
              &CSendEventSingleSystem::parseCommandLine, &CSendEventSingleSystem::sendEvent);
  // In place of a slot there is the address of one that is not virtual.
  for (const std::size_t slot : operations) EXPECT_GT(slot, 100U);
}

TEST(SendEventObject, Fields_AreTypeListAndParametersInThisOrder) {
  const TestEvent event;
  const void* places[] = {&event.m_eventType, &event.m_sendFileList, &event.m_params};
  EXPECT_LT(places[0], places[1]);
  EXPECT_LT(places[1], places[2]);
}

TEST(SendEventObject, NewEvent_IsEmpty) {
  TestSingleSystem event;
  EXPECT_EQ(event.getEventType(), 0);
  EXPECT_EQ(event.getSendFileList(), Texts());
  EXPECT_EQ(event.m_params, Params());
}

TEST(SendEventObject, GetParam_InsertsAnUnknownKeyEmptyUnlessItIsNull) {
  TestEvent event;
  event.setParam("Label", "disk");
  const char* value = event.getParam("Label");
  // Keys are case-sensitive and compared whole.
  for (const char* key : {"Time", "label", "Lab", "", static_cast<const char*>(nullptr)}) {
    EXPECT_STREQ(event.getParam(key), "");
  }
  EXPECT_EQ(event.m_params,
            (Params{{"Label", "disk"}, {"Time", ""}, {"label", ""}, {"Lab", ""}, {"", ""}}));
  EXPECT_STREQ(value, "disk") << "it stays valid until it changes";
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
