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
    EXPECT_EQ(client.isOperate(), word == kOperating);
    EXPECT_EQ(client.isMaintenance(), word == kMaintenance);
    EXPECT_EQ(client.isStop(), word == kStopped);
    EXPECT_EQ(client.isMaintenanceStop(), word == kMaintenanceStop);
    EXPECT_EQ(client.getLastStatus(), word);
  }
}

TEST(CVuqRmgLibStatus, EachPredicateQueriesAndRemembers) {
  FakeKelcom fake;
  CVuqRmgLib client;
  EXPECT_EQ(client.getLastStatus(), 0);
  fake.status = 1;
  client.isOperate();
  EXPECT_EQ(client.getLastStatus(), 1);
  fake.status = 2;
  client.isMaintenance();
  EXPECT_EQ(client.getLastStatus(), 2);
  fake.status = 3;
  client.isStop();
  EXPECT_EQ(client.getLastStatus(), 3);
  fake.status = 4;
  client.isMaintenanceStop();
  EXPECT_EQ(client.getLastStatus(), 4);
  EXPECT_EQ(fake.calls, Calls(4, "GetStatus(0)")) << "asking for the last status queries nothing";
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
      EXPECT_EQ(client.getLastStatus(), word);
    }
  }
}

TEST(CVuqRmgLibStatus, FailedQueryWithOperatingWordIsNotOperating) {
  FakeKelcom fake;
  fake.statusResult = 1;
  CVuqRmgLib client;
  EXPECT_FALSE(client.isOperate());
  EXPECT_EQ(client.getLastStatus(), 0x20);
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
  EXPECT_EQ(word, 77);
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
  EXPECT_EQ(client.GetStatus(word), -4);
  EXPECT_EQ(word, kMaintenance);
  EXPECT_EQ(client.getLastStatus(), kMaintenance);
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
  EXPECT_EQ(client.getLastStatus(), kOperating);
  EXPECT_FALSE(client.isOperate());
  EXPECT_EQ(client.getLastStatus(), 0);
  EXPECT_FALSE(client.isMaintenance());
  EXPECT_FALSE(client.isStop());
  EXPECT_FALSE(client.isMaintenanceStop());
  EXPECT_EQ(client.given, (std::vector<int>{kOperating, 0, 0, 0, 0}));
}

}  // namespace
