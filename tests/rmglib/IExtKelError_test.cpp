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

TEST(IExtKelError, OperationsStandInSlotOrderAfterTheDestructor) {
  // The destructor takes the first two slots.
  EXPECT_EQ(slotOf(&IExtKelError::Communicate), 2U);
  EXPECT_EQ(slotOf(&IExtKelError::reportResult), 3U);
  EXPECT_EQ(slotOf(&IExtKelError::getLastSmtpMsg), 4U);
  EXPECT_EQ(slotOf(&IExtKelError::getLastZWErrType), 5U);
  EXPECT_EQ(slotOf(&IExtKelError::getLastZWErrTypeStr), 6U);
  EXPECT_EQ(slotOf(&IExtKelError::getLastZWErrCode), 7U);
  EXPECT_EQ(slotOf(&IExtKelError::getLastRMErrCode), 8U);
  EXPECT_EQ(slotOf(&IExtKelError::toString), 9U);
  EXPECT_EQ(slotOf(&IExtKelError::toString1line), 10U);
  EXPECT_EQ(slotOf(&IExtKelError::formatExtRMError), 11U);
  EXPECT_EQ(slotOf(&IExtKelError::lookup), 12U);
  EXPECT_EQ(slotOf(&IExtKelError::setData), 13U);
}

TEST(IExtKelError, IsAbstractWithVirtualDestructor) {
  EXPECT_TRUE(std::is_abstract_v<IExtKelError>);
  EXPECT_TRUE(std::has_virtual_destructor_v<IExtKelError>);
}

TEST(IExtKelError, FieldsStandInOrder) {
  Record record;
  const std::vector<const void*> addresses = {&record.m_lastRMErrCode, &record.m_lastZWErrType,
                                              &record.m_lastZWErrCode, record.m_lastSmtpMsg,
                                              &record.m_text};
  for (std::size_t i = 1; i < addresses.size(); ++i) EXPECT_LT(addresses[i - 1], addresses[i]) << i;
  EXPECT_EQ(sizeof record.m_lastSmtpMsg, 256U);
}

TEST(IExtKelError, NewRecordIsEmpty) {
  Record record;
  EXPECT_EQ(fields(record), "0|0|0|");
  EXPECT_EQ(std::string(record.m_lastSmtpMsg, 256), std::string(256, '\0'));
  EXPECT_EQ(record.m_text, "");
}

// --- the fields ----------------------------------------------------------------------------------

TEST(IExtKelError, GettersGiveTheFields) {
  Record record(-74, 1, -10, "550 denied");
  EXPECT_EQ(record.getLastRMErrCode(), -74);
  EXPECT_EQ(record.getLastZWErrType(), 1);
  EXPECT_EQ(record.getLastZWErrCode(), -10);
  EXPECT_EQ(record.getLastSmtpMsg(), record.m_lastSmtpMsg);
}

TEST(IExtKelError, TypeTextOfEveryType) {
  Record record;
  const std::vector<std::pair<int, std::string>> table = {
      {0, ""}, {1, "SMTP"}, {2, "HTTP"}, {3, ""}, {-1, ""}, {INT_MAX, ""}, {INT_MIN, ""}};
  for (const auto& [type, text] : table) {
    record.m_lastZWErrType = type;
    EXPECT_EQ(record.getLastZWErrTypeStr(), text) << type;
  }
}

// --- toString1line -------------------------------------------------------------------------------

TEST(IExtKelErrorToString1line, SmtpErrorWithMessage) {
  Record record(-74, 1, -10, "550 denied");
  EXPECT_STREQ(record.toString1line(), "(SMTP) RL:-74,ZW-Agent:-10,Mailsvr:\"550 denied\"");
}

TEST(IExtKelErrorToString1line, HttpErrorWithoutMessage) {
  Record record(-52, 2, 404, "");
  EXPECT_STREQ(record.toString1line(), "(HTTP) RL:-52,ZW-Agent:404,Mailsvr:\"\"");
}

TEST(IExtKelErrorToString1line, UnknownTypeHasEmptyTypeText) {
  Record record(INT_MIN, 7, INT_MAX, "x");
  EXPECT_STREQ(record.toString1line(), "() RL:-2147483648,ZW-Agent:2147483647,Mailsvr:\"x\"");
}

TEST(IExtKelErrorToString1line, TypeNoneGivesEmptyText) {
  Record record(-74, 0, -10, "550 denied");
  record.m_text = "earlier";
  EXPECT_STREQ(record.toString1line(), "");
}

TEST(IExtKelErrorToString1line, UnterminatedMessageIsReadToItsEnd) {
  const std::string message(256, 'm');
  Record record(1, 1, 2, message);
  EXPECT_EQ(record.toString1line(), "(SMTP) RL:1,ZW-Agent:2,Mailsvr:\"" + message + "\"");
}

TEST(IExtKelErrorToString1line, PercentSignsInTheMessageStay) {
  Record record(1, 1, 2, "100%s %n");
  EXPECT_STREQ(record.toString1line(), "(SMTP) RL:1,ZW-Agent:2,Mailsvr:\"100%s %n\"");
}

// --- toString ------------------------------------------------------------------------------------

TEST(IExtKelErrorToString, TypeNoneGivesEmptyText) {
  Record record(-52, 0, 404, "550 denied");
  record.m_text = "earlier";
  EXPECT_STREQ(record.toString(), "");
}

TEST(IExtKelErrorToString, HigherWebStatusIsExplainedByTheRowOf259) {
  Record record(-52, 2, 404, "");
  EXPECT_EQ(record.toString(), toEuc(u8"(HTTP) 通信処理の動作異常(HTTPサーバ異常)が発生しました。\n"
                                     u8"サポート要員に以下のエラーコードをお知らせください。\n"
                                     u8"RL:-52,ZW-Agent:404\n"));
}

TEST(IExtKelErrorToString, SmtpErrorCarriesTheServersMessage) {
  Record record(-79, 1, -25, "535 authentication failed");
  EXPECT_EQ(record.toString(), toEuc(u8"(SMTP) メール（SMTP）サーバとの間でエラーが発生しました。\n"
                                     u8"SMTPサーバで認証エラーが発生しました。\n"
                                     u8"指定されたユーザ名、パスワードに誤りがあり、\n"
                                     u8"SMTPサーバで認証できませんでした。\n"
                                     u8"(SMTPサーバのエラーメッセージ)\n"
                                     u8"535 authentication failed\n"
                                     u8"RL:-79,ZW-Agent:-25\n"));
}

TEST(IExtKelErrorToString, Pop3ErrorCarriesTheServersMessage) {
  Record record(-79, 1, -15, "-ERR no");
  EXPECT_EQ(record.toString(), toEuc(u8"(SMTP) メール（POP3）サーバとの間でエラーが発生しました。\n"
                                     u8"POP before SMTPの認証に失敗しました。\n"
                                     u8"以下の原因が考えられます。\n"
                                     u8"−　POP3サーバ名が間違っている\n"
                                     u8"−　ユーザ名に誤りがある。\n"
                                     u8"−　パスワードに誤りがある。\n"
                                     u8"(POP3サーバのエラーメッセージ)\n"
                                     u8"-ERR no\n"
                                     u8"RL:-79,ZW-Agent:-15\n"));
}

TEST(IExtKelErrorToString, UnknownTypeGivesFirstAndLastPart) {
  Record record(-52, 3, 404, "");
  EXPECT_STREQ(record.toString(), "() RL:-52,ZW-Agent:404\n");
}

TEST(IExtKelErrorToString, BothTextsShareOneBuffer) {
  Record record(-1, 2, 5, "x");
  const char* lines = record.toString();
  EXPECT_EQ(lines, record.m_text.c_str());
  EXPECT_EQ(record.m_text, "(HTTP) RL:-1,ZW-Agent:5\n");
  const char* line = record.toString1line();
  EXPECT_EQ(line, record.m_text.c_str());
  EXPECT_EQ(record.m_text, "(HTTP) RL:-1,ZW-Agent:5,Mailsvr:\"x\"");
}

TEST(IExtKelErrorToString, PointerStaysValidWhileOtherOperationsRun) {
  Record record(-1, 2, 5, "x");
  const char* text = record.toString();
  record.lookup("HTTP", -62, 54);
  record.setData({"1", "2", "3", "y"});
  serialised(record);
  EXPECT_STREQ(text, "(HTTP) RL:-1,ZW-Agent:5\n");
}

// --- lookup --------------------------------------------------------------------------------------

TEST(IExtKelErrorLookup, KnownKey) {
  Record record;
  EXPECT_EQ(record.lookup("HTTP", -58, 62),
            toEuc(u8"(HTTP) Proxyサーバの認証に失敗しました。\n"
                  u8"以下の環境設定を確認し再度操作を実施してください。\n"
                  u8"・  ユーザ名\n"
                  u8"・  パスワード\n"
                  u8"RL:-58,ZW-Agent:62\n"));
}

TEST(IExtKelErrorLookup, EveryRowIsFoundUnderItsKey) {
  Record record(0, 0, 0, "message");
  int rows = 0;
  for (const EXTERR* row = catalogueRows(); !isClosingRow(*row); ++row, ++rows) {
    std::string expected = "(" + std::string(row->type) + ") " + row->message + "\n";
    if (row->kind == 1) expected += toEuc(u8"(SMTPサーバのエラーメッセージ)\nmessage\n");
    if (row->kind == 2) expected += toEuc(u8"(POP3サーバのエラーメッセージ)\nmessage\n");
    expected += "RL:" + std::to_string(row->rc) + ",ZW-Agent:" + std::to_string(row->code) + "\n";
    EXPECT_EQ(record.lookup(row->type, row->rc, row->code), expected);
  }
  EXPECT_EQ(rows, 46);
}

TEST(IExtKelErrorLookup, UnknownKeyGivesFirstAndLastPart) {
  Record record;
  EXPECT_EQ(record.lookup("HTTP", -1, 2), "(HTTP) RL:-1,ZW-Agent:2\n");
}

TEST(IExtKelErrorLookup, EveryPartOfTheKeyCounts) {
  Record record;
  EXPECT_EQ(record.lookup("SMTP", -58, 62), "(SMTP) RL:-58,ZW-Agent:62\n");
  EXPECT_EQ(record.lookup("HTTP", -57, 62), "(HTTP) RL:-57,ZW-Agent:62\n");
  EXPECT_EQ(record.lookup("HTTP", -58, 53), "(HTTP) RL:-58,ZW-Agent:53\n");
}

TEST(IExtKelErrorLookup, TypeIsComparedByteForByte) {
  Record record;
  EXPECT_EQ(record.lookup("http", -58, 62), "(http) RL:-58,ZW-Agent:62\n");
  EXPECT_EQ(record.lookup("HTTP ", -58, 62), "(HTTP ) RL:-58,ZW-Agent:62\n");
  EXPECT_EQ(record.lookup("http", -52, 404), "(http) RL:-52,ZW-Agent:404\n");
}

TEST(IExtKelErrorLookup, NullTypeCountsAsEmpty) {
  Record record;
  EXPECT_EQ(record.lookup(nullptr, -58, 62), "() RL:-58,ZW-Agent:62\n");
  EXPECT_EQ(record.lookup("", -58, 62), "() RL:-58,ZW-Agent:62\n");
}

TEST(IExtKelErrorLookup, ClosingRowIsNoRow) {
  Record record;
  EXPECT_EQ(record.lookup("", 9999, 9999), "() RL:9999,ZW-Agent:9999\n");
  EXPECT_EQ(record.lookup(nullptr, 9999, 9999), "() RL:9999,ZW-Agent:9999\n");
}

TEST(IExtKelErrorLookup, WebStatusLimits) {
  Record record;
  const std::string text = toEuc(
      u8"(HTTP) 通信処理の動作異常(HTTPサーバ異常)が発生しました。\n"
      u8"サポート要員に以下のエラーコードをお知らせください。\n");
  EXPECT_EQ(record.lookup("HTTP", -52, 258), "(HTTP) RL:-52,ZW-Agent:258\n");
  EXPECT_EQ(record.lookup("HTTP", -52, 259), text + "RL:-52,ZW-Agent:259\n");
  EXPECT_EQ(record.lookup("HTTP", -52, 260), text + "RL:-52,ZW-Agent:260\n");
  EXPECT_EQ(record.lookup("HTTP", -52, INT_MAX), text + "RL:-52,ZW-Agent:2147483647\n");
  EXPECT_EQ(record.lookup("HTTP", -52, INT_MIN), "(HTTP) RL:-52,ZW-Agent:-2147483648\n");
}

TEST(IExtKelErrorLookup, HigherStatusNeedsTypeAndReturnCode) {
  Record record;
  EXPECT_EQ(record.lookup("SMTP", -52, 404), "(SMTP) RL:-52,ZW-Agent:404\n");
  EXPECT_EQ(record.lookup("SMTP", -52, 259), "(SMTP) RL:-52,ZW-Agent:259\n");
  EXPECT_EQ(record.lookup("HTTP", -53, 404), "(HTTP) RL:-53,ZW-Agent:404\n");
}

// --- formatExtRMError ----------------------------------------------------------------------------

std::string formatRow(Record& record, int kind, const char* message) {
  EXTERR row{"SMTP", 1, 2, kind, message};
  return record.formatExtRMError(row);
}

TEST(IExtKelErrorFormat, PlainRowGivesItsMessage) {
  Record record(0, 0, 0, "server");
  EXPECT_EQ(formatRow(record, 0, "a\nb"), "a\nb\n");
}

TEST(IExtKelErrorFormat, SmtpRowAppendsTheServersMessage) {
  Record record(0, 0, 0, "server");
  EXPECT_EQ(formatRow(record, 1, "a"), toEuc(u8"a\n(SMTPサーバのエラーメッセージ)\nserver\n"));
}

TEST(IExtKelErrorFormat, Pop3RowAppendsTheServersMessage) {
  Record record(0, 0, 0, "server");
  EXPECT_EQ(formatRow(record, 2, "a"), toEuc(u8"a\n(POP3サーバのエラーメッセージ)\nserver\n"));
}

TEST(IExtKelErrorFormat, EmptyServerMessageGivesAnEmptyLine) {
  Record record;
  EXPECT_EQ(formatRow(record, 1, "a"), toEuc(u8"a\n(SMTPサーバのエラーメッセージ)\n\n"));
}

TEST(IExtKelErrorFormat, EmptyMessageGivesNoLine) {
  Record record(0, 0, 0, "server");
  EXPECT_EQ(formatRow(record, 0, ""), "");
  EXPECT_EQ(formatRow(record, 2, ""), toEuc(u8"(POP3サーバのエラーメッセージ)\nserver\n"));
}

TEST(IExtKelErrorFormat, NullMessageCountsAsEmpty) {
  Record record(0, 0, 0, "server");
  EXPECT_EQ(formatRow(record, 0, nullptr), "");
  EXPECT_EQ(formatRow(record, 1, nullptr), toEuc(u8"(SMTPサーバのエラーメッセージ)\nserver\n"));
}

TEST(IExtKelErrorFormat, NullTypeIsNotRead) {
  Record record;
  EXTERR row{nullptr, 0, 0, 0, "a"};
  EXPECT_EQ(record.formatExtRMError(row), "a\n");
}

TEST(IExtKelErrorFormat, UnknownKindIsPlain) {
  Record record(0, 0, 0, "server");
  EXPECT_EQ(formatRow(record, 3, "a"), "a\n");
  EXPECT_EQ(formatRow(record, -1, "a"), "a\n");
}

TEST(IExtKelErrorFormat, UnterminatedServerMessageIsReadToItsEnd) {
  const std::string message(256, 'm');
  Record record(0, 0, 0, message);
  EXPECT_EQ(formatRow(record, 1, ""), toEuc(u8"(SMTPサーバのエラーメッセージ)\n") + message + "\n");
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

TEST(IExtKelErrorSlots, TypeTextAsksForTheType) {
  struct : Record {
    int getLastZWErrType() override { return 2; }
  } record;
  EXPECT_STREQ(record.getLastZWErrTypeStr(), "HTTP");
}

TEST(IExtKelErrorSlots, OneLineAsksForEveryField) {
  Replaced record;
  EXPECT_STREQ(record.toString1line(), "(TYPE) RL:11,ZW-Agent:22,Mailsvr:\"slot\"");
}

TEST(IExtKelErrorSlots, OneLineAndTextAskForTheTypeFirst) {
  Replaced record;
  record.type = 0;
  record.m_lastZWErrType = 1;
  EXPECT_STREQ(record.toString1line(), "");
  EXPECT_STREQ(record.toString(), "");
}

TEST(IExtKelErrorSlots, TextAsksLookup) {
  struct : Replaced {
    std::string lookup(const char* key, int rl, int code) override {
      return std::string(key) + ":" + std::to_string(rl) + ":" + std::to_string(code);
    }
  } record;
  EXPECT_STREQ(record.toString(), "TYPE:11:22");
}

TEST(IExtKelErrorSlots, LookupAsksForTheFormattedRow) {
  Replaced record;
  EXPECT_EQ(record.lookup("SMTP", -79, -25), "(SMTP) <-25>RL:-79,ZW-Agent:-25\n");
}

TEST(IExtKelErrorSlots, HigherWebStatusDoesNotAskForTheFormattedRow) {
  Replaced record;
  for (const int code : {259, 300}) {
    EXPECT_EQ(record.lookup("HTTP", -52, code),
              toEuc(u8"(HTTP) 通信処理の動作異常(HTTPサーバ異常)が発生しました。\n"
                    u8"サポート要員に以下のエラーコードをお知らせください。\n") +
                  "RL:-52,ZW-Agent:" + std::to_string(code) + "\n");
  }
}

TEST(IExtKelErrorSlots, FormattedRowAsksForTheMessage) {
  struct : Record {
    char* getLastSmtpMsg() override { return text; }
    char text[8] = "slot";
  } record;
  EXPECT_EQ(formatRow(record, 1, "a"), toEuc(u8"a\n(SMTPサーバのエラーメッセージ)\nslot\n"));
}

TEST(IExtKelErrorSlots, WritingAsksForEveryField) {
  Replaced record;
  EXPECT_EQ(serialised(record), "11\n1\n22\nslot\n");
}

TEST(IExtKelErrorSlots, ReportAsksTheReportedRecordForEveryField) {
  Record self;
  Replaced record;
  testing::internal::CaptureStdout();
  self.reportResult(7, record);
  EXPECT_EQ(testing::internal::GetCapturedStdout(), "7\n11\n1\n22\nslot\n\n");
}

TEST(IExtKelErrorSlots, ReadingSetsTheDataItRead) {
  Replaced record;
  read(record, "1\nx\n3");
  EXPECT_EQ(record.data, (std::list<std::string>{"1", "x", "3"}));
}

TEST(IExtKelErrorSlots, NullTextsOfADerivedClassCountAsEmpty) {
  Replaced record;
  record.message = nullptr;
  record.typeText = nullptr;
  EXPECT_STREQ(record.toString1line(), "() RL:11,ZW-Agent:22,Mailsvr:\"\"");
  EXPECT_STREQ(record.toString(), "() RL:11,ZW-Agent:22\n");
  EXPECT_EQ(serialised(record), "11\n1\n22\n\n");
}

}  // namespace
