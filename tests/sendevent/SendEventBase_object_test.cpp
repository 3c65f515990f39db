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

TEST(SendEventObject, DerivedClassAddsNoFieldAndOverridesOnlyTheDestructor) {
  EXPECT_TRUE((std::is_convertible_v<CSendEventSingleSystem*, CSendEventBase*>));
  EXPECT_TRUE(std::has_virtual_destructor_v<CSendEventBase>);
  EXPECT_EQ(sizeof(CSendEventSingleSystem), sizeof(CSendEventBase));
}

/// Whether an operation is virtual, as the C++ ABI marks it in a pointer to a member: by the lowest
/// bit of its first word, on some machines of its second.
template <class Member>
bool isVirtual(Member member) {
  std::uintptr_t words[2];
  static_assert(sizeof member == sizeof words, "a pointer and an adjustment");
  std::memcpy(words, &member, sizeof words);
  return ((words[0] | words[1]) & 1) != 0;
}

TEST(SendEventObject, OnlyTheDestructorIsVirtual) {
  struct Virtual {
    virtual ~Virtual() = default;
    virtual void operation() {}
  };
  EXPECT_TRUE(isVirtual(&Virtual::operation)) << "the mark itself";
  EXPECT_FALSE(isVirtual(&CSendEventBase::parseTanexEventMsg));
  EXPECT_FALSE(isVirtual(&CSendEventBase::parseTanexMsg));
  EXPECT_FALSE(isVirtual(&CSendEventBase::parseMsgCommon));
  EXPECT_FALSE(isVirtual(&CSendEventBase::getEventType));
  EXPECT_FALSE(isVirtual(&CSendEventBase::getSendFileList));
  EXPECT_FALSE(isVirtual(&CSendEventBase::getParam));
  EXPECT_FALSE(isVirtual(&CSendEventBase::setParam));
  EXPECT_FALSE(isVirtual(&CSendEventBase::commonSendEvent));
  EXPECT_FALSE(isVirtual(&CSendEventBase::getSyslogLine));
  EXPECT_FALSE(isVirtual(&CSendEventBase::convStr));
  EXPECT_FALSE(isVirtual(&CSendEventSingleSystem::parseCommandLine));
  EXPECT_FALSE(isVirtual(&CSendEventSingleSystem::sendEvent));
}

TEST(SendEventObject, FieldsAreTypeListAndParametersInThisOrder) {
  const TestEvent event;
  const auto place = [&event](const auto& field) {
    return reinterpret_cast<const char*>(&field) - reinterpret_cast<const char*>(&event);
  };
  EXPECT_LT(place(event.m_eventType), place(event.m_sendFileList));
  EXPECT_LT(place(event.m_sendFileList), place(event.m_params));
}

TEST(SendEventObject, StartsEmpty) {
  TestSingleSystem event;
  EXPECT_EQ(event.getEventType(), 0);
  EXPECT_EQ(event.getSendFileList(), Texts());
  EXPECT_EQ(event.m_params, Params());
}

TEST(SendEventObject, GetParamInsertsAnAbsentKeyEmpty) {
  TestEvent event;
  EXPECT_STREQ(event.getParam("Label"), "");
  EXPECT_EQ(event.m_params, (Params{{"Label", ""}}));
}

TEST(SendEventObject, GetParamGivesTheValueUntilItChanges) {
  TestEvent event;
  event.setParam("Label", "disk");
  const char* value = event.getParam("Label");
  event.setParam("Time", "now");
  event.getParam("Absent");
  EXPECT_STREQ(value, "disk");
  EXPECT_STREQ(event.getParam("label"), "") << "keys are case-sensitive";
  EXPECT_STREQ(event.getParam("Lab"), "") << "keys are compared whole";
}

TEST(SendEventObject, GetParamOfNullInsertsNothing) {
  TestEvent event;
  EXPECT_STREQ(event.getParam(nullptr), "");
  EXPECT_EQ(event.m_params, Params());
}

TEST(SendEventObject, SetParamInsertsAndOverwrites) {
  TestEvent event;
  event.setParam("Label", "disk");
  event.setParam("any key", "");
  event.setParam("Label", "a=b ");
  EXPECT_EQ(event.m_params, (Params{{"Label", "a=b "}, {"any key", ""}}));
}

TEST(SendEventObject, SetParamTakesAValueOfItsOwn) {
  TestEvent event;
  const std::string value(100, 'v');
  event.setParam("Label", ("ab" + value).c_str());
  event.setParam("Label", event.getParam("Label") + 2);
  event.setParam("Time", event.getParam("Label"));
  event.setParam(event.getParam("Label"), "x");
  EXPECT_EQ(event.m_params, (Params{{"Label", value}, {"Time", value}, {value, "x"}}));
}

TEST(SendEventObject, SetParamWithNullDoesNothing) {
  TestEvent event;
  event.setParam(nullptr, "value");
  event.setParam("Label", nullptr);
  EXPECT_EQ(event.m_params, Params());
}

TEST(SendEventObject, SendFileListIsACopy) {
  TestEvent event(2, {"/a", "/b"});
  Texts copy = event.getSendFileList();
  EXPECT_EQ(copy, (Texts{"/a", "/b"}));
  copy.clear();
  EXPECT_EQ(event.getSendFileList(), (Texts{"/a", "/b"}));
}

}  // namespace
