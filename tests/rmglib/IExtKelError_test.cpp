#include "rmglib/IExtKelError.h"

#include <gtest/gtest.h>

#include <climits>
#include <cstddef>
#include <list>
#include <string>
#include <type_traits>
#include <utility>
#include <vector>

#include "support/errorrecord.h"
#include "support/eucjp.h"
#include "support/slots.h"

namespace {

// --- declaration ---------------------------------------------------------------------------------

static_assert(std::is_abstract_v<IExtKelError>);
static_assert(std::has_virtual_destructor_v<IExtKelError>);

TEST(IExtKelError, Operations_StandInSlotOrderAfterTheDestructor) {
  using Error = IExtKelError;
  // The destructor takes the first two slots.
  EXPECT_EQ(slotsOf(&Error::Communicate, &Error::reportResult, &Error::getLastSmtpMsg,
                    &Error::getLastZWErrType, &Error::getLastZWErrTypeStr, &Error::getLastZWErrCode,
                    &Error::getLastRMErrCode, &Error::toString, &Error::toString1line,
                    &Error::formatExtRMError, &Error::lookup, &Error::setData),
            slotsFrom(2, 12));
}

TEST(IExtKelError, Fields_StandInOrder) {
  Record record;
  const std::vector<const void*> addresses = {&record.m_lastRMErrCode, &record.m_lastZWErrType,
                                              &record.m_lastZWErrCode, record.m_lastSmtpMsg,
                                              &record.m_text};
  for (std::size_t i = 1; i < addresses.size(); ++i) EXPECT_LT(addresses[i - 1], addresses[i]) << i;
  EXPECT_EQ(sizeof record.m_lastSmtpMsg, 256U);
}

TEST(IExtKelError, NewRecord_IsEmpty) {
  Record record;
  EXPECT_EQ(fields(record), "0|0|0|");
  EXPECT_EQ(std::string(record.m_lastSmtpMsg, 256), std::string(256, '\0'));
  EXPECT_EQ(record.m_text, "");
}

// --- the fields ----------------------------------------------------------------------------------

TEST(IExtKelError, Getters_GiveTheFields) {
  Record record(-74, 1, -10, "550 denied");
  EXPECT_EQ(record.getLastRMErrCode(), -74);
  EXPECT_EQ(record.getLastZWErrType(), 1);
  EXPECT_EQ(record.getLastZWErrCode(), -10);
  EXPECT_EQ(record.getLastSmtpMsg(), record.m_lastSmtpMsg);
}

TEST(IExtKelError, EveryType_HasItsText) {
  Record record;
  const std::vector<std::pair<int, std::string>> table = {
      {0, ""}, {1, "SMTP"}, {2, "HTTP"}, {3, ""}, {-1, ""}, {INT_MAX, ""}, {INT_MIN, ""}};
  for (const auto& [type, text] : table) {
    record.m_lastZWErrType = type;
    EXPECT_EQ(record.getLastZWErrTypeStr(), text) << type;
  }
}

// --- toString1line and toString ------------------------------------------------------------------

struct TextCase {
  Record record;
  std::string text;
};

TEST(IExtKelErrorToString1line, EveryRecord_IsOneLineOrNone) {
  const std::string m256(256, 'm');
  const std::vector<TextCase> table = {
      {{-74, 1, -10, "550 denied"}, "(SMTP) RL:-74,ZW-Agent:-10,Mailsvr:\"550 denied\""},
      {{-52, 2, 404, ""}, "(HTTP) RL:-52,ZW-Agent:404,Mailsvr:\"\""},
      {{INT_MIN, 7, INT_MAX, "x"}, "() RL:-2147483648,ZW-Agent:2147483647,Mailsvr:\"x\""},
      {{-74, 0, -10, "550 denied"}, ""},
      {{1, 1, 2, m256}, "(SMTP) RL:1,ZW-Agent:2,Mailsvr:\"" + m256 + "\""},
      {{1, 1, 2, "100%s %n"}, "(SMTP) RL:1,ZW-Agent:2,Mailsvr:\"100%s %n\""},
  };
  for (TextCase row : table) {
    row.record.m_text = "earlier";
    EXPECT_EQ(row.record.toString1line(), row.text);
  }
}

TEST(IExtKelErrorToString, EveryRecord_IsWhatTheCatalogueSays) {
  const std::vector<TextCase> table = {
      {{-52, 0, 404, "550 denied"}, ""},
      {{-52, 3, 404, ""}, "() RL:-52,ZW-Agent:404\n"},
      {{-52, 2, 404, ""},
       "(HTTP) 通信処理の動作異常(HTTPサーバ異常)が発生しました。\n"
       "サポート要員に以下のエラーコードをお知らせください。\n"
       "RL:-52,ZW-Agent:404\n"},
      {{-79, 1, -25, "535 authentication failed"},
       "(SMTP) メール（SMTP）サーバとの間でエラーが発生しました。\n"
       "SMTPサーバで認証エラーが発生しました。\n"
       "指定されたユーザ名、パスワードに誤りがあり、\n"
       "SMTPサーバで認証できませんでした。\n"
       "(SMTPサーバのエラーメッセージ)\n"
       "535 authentication failed\n"
       "RL:-79,ZW-Agent:-25\n"},
  };
  for (TextCase row : table) {
    row.record.m_text = "earlier";
    EXPECT_EQ(row.record.toString(), toEuc(row.text));
  }
}

TEST(IExtKelErrorToString, BothTexts_ShareABufferThatNothingElseChanges) {
  Record record(-1, 2, 5, "x");
  const char* text = record.toString();
  EXPECT_EQ(text, record.m_text.c_str());
  record.lookup("HTTP", -62, 54);
  record.setData({"1", "2", "3", "y"});
  serialised(record);
  EXPECT_STREQ(text, "(HTTP) RL:-1,ZW-Agent:5\n");
  const char* line = record.toString1line();
  EXPECT_EQ(line, record.m_text.c_str());
  EXPECT_EQ(record.m_text, "(HTTP) RL:1,ZW-Agent:3,Mailsvr:\"y\"");
}

// --- lookup --------------------------------------------------------------------------------------

TEST(IExtKelErrorLookup, EveryRow_IsFoundUnderItsKey) {
  Record record(0, 0, 0, "message");
  int rows = 0;
  for (const EXTERR* row = catalogueRows(); !isClosingRow(*row); ++row, ++rows) {
    std::string expected = "(" + std::string(row->type) + ") " + row->message + "\n";
    if (row->kind == 1) expected += toEuc("(SMTPサーバのエラーメッセージ)\nmessage\n");
    if (row->kind == 2) expected += toEuc("(POP3サーバのエラーメッセージ)\nmessage\n");
    expected += "RL:" + std::to_string(row->rc) + ",ZW-Agent:" + std::to_string(row->code) + "\n";
    EXPECT_EQ(record.lookup(row->type, row->rc, row->code), expected);
  }
  EXPECT_EQ(rows, 46);
}

/// What is said of every web status above 258.
const char kHigherStatus[] =
    "通信処理の動作異常(HTTPサーバ異常)が発生しました。\n"
    "サポート要員に以下のエラーコードをお知らせください。\n";

TEST(IExtKelErrorLookup, KeyWithoutARow_GivesTheFirstAndTheLastPart) {
  struct Row {
    const char* type;
    int rl;
    int code;
    const char* text;
  };
  const Row rows[] = {
      {"HTTP", -1, 2, ""},
      // Every part of the key counts.
      {"SMTP", -58, 62, ""},
      {"HTTP", -57, 62, ""},
      {"HTTP", -58, 53, ""},
      {"http", -58, 62, ""},
      {"", -58, 62, ""},
      {nullptr, -58, 62, ""},
      // The closing row is no row.
      {"", 9999, 9999, ""},
      {nullptr, 9999, 9999, ""},
      // Web statuses.
      {"HTTP", -52, 258, ""},
      {"HTTP", -52, 259, kHigherStatus},
      {"HTTP", -52, 260, kHigherStatus},
      {"HTTP", -52, INT_MAX, kHigherStatus},
      {"HTTP", -52, INT_MIN, ""},
      {"SMTP", -52, 259, ""},
      {"HTTP", -53, 404, ""},
      {"http", -52, 404, ""},
  };
  for (const Row& row : rows) {
    const std::string type = row.type == nullptr ? "" : row.type;
    EXPECT_EQ(Record().lookup(row.type, row.rl, row.code),
              "(" + type + ") " + toEuc(row.text) + "RL:" + std::to_string(row.rl) +
                  ",ZW-Agent:" + std::to_string(row.code) + "\n");
  }
}

// --- formatExtRMError ----------------------------------------------------------------------------

TEST(IExtKelErrorFormat, EveryRow_IsItsMessageAndForMailTheServers) {
  const std::string smtp = "(SMTPサーバのエラーメッセージ)\n";
  const std::string pop3 = "(POP3サーバのエラーメッセージ)\n";
  const std::string m256(256, 'm');
  struct Row {
    const char* type;
    int kind;
    const char* message;
    std::string server;
    std::string text;
  };
  const Row rows[] = {
      {"SMTP", 0, "a\nb", "server", "a\nb\n"},
      {"SMTP", 1, "a", "server", "a\n" + smtp + "server\n"},
      {"SMTP", 2, "a", "server", "a\n" + pop3 + "server\n"},
      {"SMTP", 3, "a", "server", "a\n"},
      {"SMTP", 1, "a", "", "a\n" + smtp + "\n"},
      {"SMTP", 0, "", "server", ""},
      {"SMTP", 2, "", "server", pop3 + "server\n"},
      {"SMTP", 0, nullptr, "server", ""},
      {"SMTP", 1, nullptr, "server", smtp + "server\n"},
      {"SMTP", 1, "", m256, smtp + m256 + "\n"},
      {nullptr, 0, "a", "server", "a\n"},
  };
  for (const Row& each : rows) {
    EXTERR row{each.type, 1, 2, each.kind, each.message};
    EXPECT_EQ(Record(0, 0, 0, each.server).formatExtRMError(row), toEuc(each.text));
  }
}

// --- virtual slots -------------------------------------------------------------------------------

/// Answers by itself instead of from the fields, and writes down what it was asked.
struct Replaced : Record {
  char* getLastSmtpMsg() override { return message; }
  int getLastZWErrType() override { return type; }
  const char* getLastZWErrTypeStr() override { return typeText; }
  int getLastZWErrCode() override { return 22; }
  int getLastRMErrCode() override { return 11; }
  std::string formatExtRMError(EXTERR& row) override {
    return "<" + std::to_string(row.code) + ">";
  }
  void setData(std::list<std::string> values) override { data = values; }

  char buffer[8] = "slot";
  char* message = buffer;
  int type = 1;
  const char* typeText = "TYPE";
  std::list<std::string> data = {"untouched"};
};

TEST(IExtKelErrorSlots, FieldsOfADerivedClass_AreAskedFor) {
  Replaced record;
  EXPECT_STREQ(record.toString1line(), "(TYPE) RL:11,ZW-Agent:22,Mailsvr:\"slot\"");
  EXPECT_EQ(serialised(record), "11\n1\n22\nslot\n");
  EXTERR row{"SMTP", 1, 2, 1, "a"};
  EXPECT_EQ(record.IExtKelError::formatExtRMError(row),
            toEuc("a\n(SMTPサーバのエラーメッセージ)\nslot\n"));
  testing::internal::CaptureStdout();
  Record().reportResult(7, record);
  EXPECT_EQ(testing::internal::GetCapturedStdout(), "7\n11\n1\n22\nslot\n\n");
  record.type = 2;
  EXPECT_STREQ(record.IExtKelError::getLastZWErrTypeStr(), "HTTP");
  record.type = 0;
  record.m_lastZWErrType = 1;
  EXPECT_STREQ(record.toString1line(), "");
  EXPECT_STREQ(record.toString(), "");
}

TEST(IExtKelErrorSlots, OperationsOfADerivedClass_AreAskedFor) {
  struct : Replaced {
    std::string lookup(const char* key, int rl, int code) override {
      return std::string(key) + ":" + std::to_string(rl) + ":" + std::to_string(code);
    }
  } looking;
  EXPECT_STREQ(looking.toString(), "TYPE:11:22");
  Replaced record;
  EXPECT_EQ(record.lookup("SMTP", -79, -25), "(SMTP) <-25>RL:-79,ZW-Agent:-25\n");
  for (const int code : {259, 300}) {
    EXPECT_EQ(record.lookup("HTTP", -52, code),
              "(HTTP) " + toEuc(kHigherStatus) + "RL:-52,ZW-Agent:" + std::to_string(code) + "\n")
        << "the rows of higher web statuses are not formatted";
  }
  read(record, "1\nx\n3");
  EXPECT_EQ(record.data, (std::list<std::string>{"1", "x", "3"}));
}

TEST(IExtKelErrorSlots, NullTextsOfADerivedClass_CountAsEmpty) {
  Replaced record;
  record.message = nullptr;
  record.typeText = nullptr;
  EXPECT_STREQ(record.toString1line(), "() RL:11,ZW-Agent:22,Mailsvr:\"\"");
  EXPECT_STREQ(record.toString(), "() RL:11,ZW-Agent:22\n");
  EXPECT_EQ(serialised(record), "11\n1\n22\n\n");
}

}  // namespace
