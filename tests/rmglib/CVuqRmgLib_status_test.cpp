#include "rmglib/CVuqRmgLib.h"

#include <gtest/gtest.h>

#include <string>
#include <vector>

#include "support/FakeKelcom.h"
#include "support/statuswords.h"

namespace {

using Calls = std::vector<std::string>;

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

}  // namespace
