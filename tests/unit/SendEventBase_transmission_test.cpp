#include <gtest/gtest.h>
#include <unistd.h>

#include <csignal>
#include <cstring>
#include <functional>
#include <stdexcept>
#include <string>
#include <thread>
#include <vector>

#include "rmglib/CVuqRmgLib.h"
#include "sendevent/SendEventBase.h"
#include "support/FakeKelcom.h"
#include "support/actionlog.h"
#include "support/childrun.h"
#include "support/scratch.h"
#include "support/testevent.h"

namespace {

using Texts = std::vector<std::string>;

const std::string kStarted = "(CSendInfo::SendInfo) call startCom(RM_MODE_SYNC)=0";
const std::string kOk = "commonSendEvent OK";
const std::string kError = "commonSendEvent Error.";
const std::string kDone = "RM_Communicate done (code='0', msg='') ";
const std::string kQuery = "GetStatus(0)";
const std::string kStart = "StartComm(0)";
const std::string kStop = "StopComm";

/// The notification text that `eventParams` gives for files without a log extract.
const std::string kEventText =
    "\"2026/11/20 12:00:00\",,\"disk\",\"db01\",\"Linux\",\"Debian\",\"12\",\"kernel\",\"E\","
    "\"M0815\",\"Software Log\"";

std::string size486(const std::string& total, const std::string& path, const std::string& size) {
  return "[T](SendEventBase:486):current_total='" + total + "'  target='" + path + "' size='" +
         size + "'bytes.\n";
}

std::string total491(const std::string& total) {
  return "[T](SendEventBase:491):final_total='" + total + "' bytes. \n";
}

std::string loop(int number, int count) {
  return "commonSendEvent Main Loop (" + std::to_string(number) + "/" + std::to_string(count) + ")";
}

std::string notifyCall(const std::string& code, const std::string& text) {
  return "RM_Communicate call (param=" + code + " 0 0 " + text + " NULL  NULL)";
}

std::string plainNotifyCall(const std::string& code) {
  return "RM_Communicate call (param=" + code + " 0 0 NULL NULL  NULL)";
}

std::string dataCall(const std::string& code, int count, const std::string& path) {
  return "RM_Communicate call (param=" + code + " ? " + std::to_string(count) + " " + path +
         " NULL  NULL)";
}

std::string done(int rc) {
  return "RM_Communicate done (code='" + std::to_string(rc) + "', msg='') ";
}

std::string notReachable(int status) {
  return "(CSendInfo::SendInfo) Cancel sending investigation information, because connection "
         "status is not operating. (status=" +
         std::to_string(status) + ") \n";
}

/// The calls of a whole session with `exchanges` in its middle.
Texts session(const Texts& exchanges) {
  Texts calls = {kQuery, kQuery, kStart};
  calls.insert(calls.end(), exchanges.begin(), exchanges.end());
  calls.insert(calls.end(), {kStop, kStop});
  return calls;
}

std::string incidentText(int number, int count) {
  return "INCNO=\"77\",HOSTNAME=\"db01\",PART=\"" + std::to_string(number) + "\",TOTAL=\"" +
         std::to_string(count) + "\"";
}

/// An event on the fake library, with a captured log and three files of 3, 5 and no bytes.
class Transmission : public testing::Test {
 protected:
  int send(TestEvent& event) { return event.commonSendEvent(0, nullptr); }

  TestEvent incident(const Texts& files) {
    TestEvent event(2, files);
    event.m_params = {{"IncidentNumber", "77"}, {"HostName", "db01"}};
    return event;
  }

  TestEvent eventOf(int type, const Texts& files) {
    TestEvent event(type, files);
    event.m_params = eventParams();
    return event;
  }

  /// Throws `value` at the exchanges of these numbers, counted from 1; at each when none is given.
  template <class Value>
  void throwAtExchange(const Value& value, const std::vector<int>& numbers) {
    m_fake.onCall = [this, value, numbers](const std::string& call) {
      if (call != "Communicate") return;
      ++m_exchanges;
      for (const int number : numbers) {
        if (number == m_exchanges) throw value;
      }
    };
  }

  ScratchDir m_dir;
  std::string m_a = m_dir.write("a", "aaa");
  std::string m_b = m_dir.write("b", "bbbbb");
  std::string m_c = m_dir.write("c", "");
  CapturedLog m_log;
  FakeKelcom m_fake;
  int m_exchanges = 0;
};

// --- the four event types ------------------------------------------------------------------------

TEST_F(Transmission, Type2WithThreeFiles) {
  TestEvent event = incident({m_a, m_b, m_c});
  EXPECT_EQ(0, send(event));
  Texts log = {kStarted};
  Texts calls;
  int number = 0;
  for (const std::string& path : {m_a, m_b, m_c}) {
    const std::string text = incidentText(++number, 3);
    log.insert(log.end(), {loop(number, 3), notifyCall("0x40017", text), kDone,
                           dataCall("0x4010b", 1, path), kDone});
    calls.insert(calls.end(), {"Communicate(0x40017, 0, 0, " + text + ")",
                               "Communicate(0x4010b, 0, 1, [" + path + "])"});
  }
  log.push_back(kOk);
  EXPECT_EQ(log, m_log.texts());
  EXPECT_EQ(session(calls), m_fake.calls);
}

TEST_F(Transmission, Type2AtTraceLevel) {
  const CapturedLog log(CapturedLog::Level::kTrace);
  TestEvent event = incident({m_a, m_b, m_c});
  event.m_sendFileList = {m_a, m_b};
  EXPECT_EQ(0, send(event));
  EXPECT_EQ(
      (Texts{size486("0", m_a, "3"), size486("3", m_b, "5"), total491("8"), kStarted, loop(1, 2),
             notifyCall("0x40017", incidentText(1, 2)), kDone, dataCall("0x4010b", 1, m_a), kDone,
             loop(2, 2), notifyCall("0x40017", incidentText(2, 2)), kDone,
             dataCall("0x4010b", 1, m_b), kDone, kOk}),
      log.texts());
}

TEST_F(Transmission, Type1WithTwoFilesSendsNoText) {
  TestEvent event = eventOf(1, {m_a, m_b});
  EXPECT_EQ(0, send(event));
  EXPECT_EQ((Texts{kStarted, loop(1, 2), plainNotifyCall("0x40016"), kDone,
                   dataCall("0x4010a", 1, m_a), kDone, loop(2, 2), plainNotifyCall("0x40016"),
                   kDone, dataCall("0x4010a", 1, m_b), kDone, kOk}),
            m_log.texts());
  EXPECT_EQ(
      session({"Communicate(0x40016, 0, 0, NULL)", "Communicate(0x4010a, 0, 1, [" + m_a + "])",
               "Communicate(0x40016, 0, 0, NULL)", "Communicate(0x4010a, 0, 1, [" + m_b + "])"}),
      m_fake.calls);
}

TEST_F(Transmission, Type3WithThreeFilesSendsAllAtOnce) {
  TestEvent event = eventOf(3, {m_a, m_b, m_c});
  EXPECT_EQ(0, send(event));
  EXPECT_EQ((Texts{kStarted, loop(1, 3), notifyCall("0x40204", kEventText), kDone,
                   dataCall("0x4010d", 3, m_a), kDone, kOk}),
            m_log.texts());
  EXPECT_EQ(session({"Communicate(0x40204, 0, 0, " + kEventText + ")",
                     "Communicate(0x4010d, 0, 3, [" + m_a + " " + m_b + " " + m_c + "])"}),
            m_fake.calls);
}

TEST_F(Transmission, Type4DiffersInTheNotificationCode) {
  TestEvent event = eventOf(4, {m_a, m_b, m_c});
  EXPECT_EQ(0, send(event));
  EXPECT_EQ((Texts{kStarted, loop(1, 3), notifyCall("0x40205", kEventText), kDone,
                   dataCall("0x4010d", 3, m_a), kDone, kOk}),
            m_log.texts());
  EXPECT_EQ(session({"Communicate(0x40205, 0, 0, " + kEventText + ")",
                     "Communicate(0x4010d, 0, 3, [" + m_a + " " + m_b + " " + m_c + "])"}),
            m_fake.calls);
}

TEST_F(Transmission, Type3AtTraceLevel) {
  const CapturedLog log(CapturedLog::Level::kTrace);
  TestEvent event = eventOf(3, {m_a, m_b, m_c});
  EXPECT_EQ(0, send(event));
  EXPECT_EQ((Texts{size486("0", m_a, "3"), size486("3", m_b, "5"), size486("8", m_c, "0"),
                   total491("8"), kStarted, loop(1, 3), notifyCall("0x40204", kEventText), kDone,
                   dataCall("0x4010d", 3, m_a), kDone, kOk}),
            log.texts());
}

TEST_F(Transmission, TypeIsReadAnewForEachFileAndTheCodesAreChosenOnce) {
  TestEvent event = incident({m_a, m_b});
  m_fake.onCall = [&event](const std::string& call) {
    if (call == "Communicate") event.m_eventType = 1;
  };
  EXPECT_EQ(0, send(event));
  EXPECT_EQ(
      session({"Communicate(0x40017, 0, 0, " + incidentText(1, 2) + ")",
               "Communicate(0x4010b, 0, 1, [" + m_a + "])", "Communicate(0x40017, 0, 0, NULL)",
               "Communicate(0x4010b, 0, 1, [" + m_b + "])"}),
      m_fake.calls);
}

TEST_F(Transmission, UnknownTypesReturn68AndStop) {
  for (const int type : {5, 0, -1, 6, 0x40017}) {
    m_fake.calls.clear();
    TestEvent event = eventOf(type, {m_a});
    EXPECT_EQ(68, send(event)) << type;
    EXPECT_EQ((Texts{kStarted, "EventType param error."}), m_log.take());
    EXPECT_EQ((Texts{kQuery, kQuery, kStart, kStop}), m_fake.calls);
  }
}

TEST_F(Transmission, EmptyFileList) {
  for (const int type : {1, 2, 3, 4}) {
    const CapturedLog log(CapturedLog::Level::kTrace);
    m_fake.calls.clear();
    TestEvent event = eventOf(type, {});
    EXPECT_EQ(0, send(event)) << type;
    EXPECT_EQ((Texts{total491("0"), kStarted, kOk}), log.texts());
    EXPECT_EQ(session({}), m_fake.calls);
  }
}

TEST_F(Transmission, BothArgumentsAreIgnored) {
  char id[] = "4711";
  for (const int type : {2, 3, 5}) {
    Texts log;
    Texts calls;
    for (const int flag : {0, 1, -1}) {
      for (char* machineId : {static_cast<char*>(nullptr), id}) {
        m_fake.calls.clear();
        TestEvent event = eventOf(type, {m_a});
        EXPECT_EQ(type == 5 ? 68 : 0, event.commonSendEvent(flag, machineId));
        const Texts taken = m_log.take();
        if (log.empty()) {
          log = taken;
          calls = m_fake.calls;
        }
        EXPECT_EQ(log, taken);
        EXPECT_EQ(calls, m_fake.calls);
      }
    }
  }
}

// --- notification texts --------------------------------------------------------------------------

TEST_F(Transmission, AbsentParametersAreEmpty) {
  TestEvent event(2, {m_a});
  EXPECT_EQ(0, send(event));
  EXPECT_EQ("Communicate(0x40017, 0, 0, INCNO=\"\",HOSTNAME=\"\",PART=\"1\",TOTAL=\"1\")",
            m_fake.calls.at(3));

  TestEvent other(4, {m_a});
  m_fake.calls.clear();
  EXPECT_EQ(0, send(other));
  EXPECT_EQ("Communicate(0x40205, 0, 0, ,,,,,,,,,,\"Software Log\")", m_fake.calls.at(3));
}

TEST_F(Transmission, IncidentTextIsBoundedTo2046Characters) {
  TestEvent event = incident({m_a});
  event.setParam("IncidentNumber", std::string(3000, '7').c_str());
  EXPECT_EQ(0, send(event));
  EXPECT_EQ("Communicate(0x40017, 0, 0, INCNO=\"" + std::string(2046 - 7, '7') + ")",
            m_fake.calls.at(3));

  const std::size_t fixed =
      std::string("INCNO=\"\",HOSTNAME=\"db01\",PART=\"1\",TOTAL=\"1\"").size();
  for (const std::size_t length : {2045 - fixed, 2046 - fixed, 2047 - fixed}) {
    m_fake.calls.clear();
    const std::string number(length, '7');
    event.setParam("IncidentNumber", number.c_str());
    EXPECT_EQ(0, send(event));
    const std::string whole = "INCNO=\"" + number + "\",HOSTNAME=\"db01\",PART=\"1\",TOTAL=\"1\"";
    EXPECT_EQ("Communicate(0x40017, 0, 0, " + whole.substr(0, 2046) + ")", m_fake.calls.at(3));
  }
}

TEST_F(Transmission, IncidentTextDoublesNoQuotes) {
  TestEvent event = incident({m_a});
  event.setParam("HostName", "a\"b%s");
  EXPECT_EQ(0, send(event));
  const std::string text = "INCNO=\"77\",HOSTNAME=\"a\"b%s\",PART=\"1\",TOTAL=\"1\"";
  EXPECT_EQ("Communicate(0x40017, 0, 0, " + text + ")", m_fake.calls.at(3));
  EXPECT_EQ(notifyCall("0x40017", text), m_log.texts().at(2));
}

TEST_F(Transmission, EventTextQuotesTheExcerpt) {
  const std::string extract = m_dir.write("x.syslog.txt", "# head\nJan 1 \"db01\" 100%s\nnext\n");
  TestEvent event = eventOf(3, {m_a, extract});
  event.setParam("Label", "a\"b");
  event.setParam("MsgID", "");
  EXPECT_EQ(0, send(event));
  const std::string text =
      "\"2026/11/20 12:00:00\",,\"a\"\"b\",\"db01\",\"Linux\",\"Debian\",\"12\",\"kernel\",\"E\",,"
      "\"Jan 1 \"\"db01\"\" 100%s\"";
  EXPECT_EQ((Texts{kStarted, loop(1, 2), notifyCall("0x40204", text), kDone,
                   dataCall("0x4010d", 2, m_a), kDone, kOk}),
            m_log.texts());
  EXPECT_EQ("Communicate(0x40204, 0, 0, " + text + ")", m_fake.calls.at(3));
}

TEST_F(Transmission, EventTextWithUnreadableExtractGoesOn) {
  const std::string missing = m_dir / "x.syslog.txt";
  TestEvent event = eventOf(3, {missing});
  EXPECT_EQ(0, send(event));
  const std::string text = kEventText.substr(0, kEventText.size() - 14);
  EXPECT_EQ(
      (Texts{"get file size error(" + missing + ",No such file or directory)", kStarted, loop(1, 1),
             "syslogfile open error.FILE=" + missing + "(CSendEventBase::getSyslogLine)",
             notifyCall("0x40204", text), kDone, dataCall("0x4010d", 1, missing), kDone, kOk}),
      m_log.texts());
}

TEST_F(Transmission, EventFieldsAreBuiltBeforeTheExtractIsOpened) {
  const std::string missing = m_dir / "x.syslog.txt";
  TestEvent event = eventOf(4, {missing});
  event.setParam("Label", std::string(2000, 'L').c_str());
  EXPECT_EQ(0, send(event));
  const Texts log = m_log.texts();
  ASSERT_EQ(10U, log.size());
  EXPECT_EQ("string convert error (CSendEventBase::convStr)", log[3]);
  EXPECT_EQ("syslogfile open error.FILE=" + missing + "(CSendEventBase::getSyslogLine)", log[4]);
}

TEST_F(Transmission, EventTextIsCutAt896Bytes) {
  TestEvent event = eventOf(3, {m_a});
  event.setParam("Label", std::string(2000, 'L').c_str());
  EXPECT_EQ(0, send(event));
  const std::string head = "\"2026/11/20 12:00:00\",,\"";
  const std::string text = head + std::string(895 - head.size(), 'L') + "\"";
  ASSERT_EQ(896U, text.size());
  EXPECT_EQ((Texts{kStarted, loop(1, 1), "string convert error (CSendEventBase::convStr)",
                   notifyCall("0x40204", text), kDone, dataCall("0x4010d", 1, m_a), kDone, kOk}),
            m_log.texts());
}

// --- sizes ---------------------------------------------------------------------------------------

TEST_F(Transmission, MissingFileCountsAsMinusOne) {
  const CapturedLog log(CapturedLog::Level::kTrace);
  const std::string missing = m_dir / "missing";
  TestEvent event = incident({m_a, missing, m_b});
  EXPECT_EQ(0, send(event));
  Texts texts = log.texts();
  texts.resize(6);
  EXPECT_EQ((Texts{size486("0", m_a, "3"),
                   "get file size error(" + missing + ",No such file or directory)",
                   size486("3", missing, "-1"), size486("2", m_b, "5"), total491("7"), kStarted}),
            texts);
  EXPECT_EQ("Communicate(0x4010b, 0, 1, [" + missing + "])", m_fake.calls.at(6)) << "sent as well";
}

TEST_F(Transmission, FirstFileMissingWrapsTheTotal) {
  const CapturedLog log(CapturedLog::Level::kTrace);
  const std::string missing = m_dir / "missing";
  TestEvent event = incident({missing, m_a});
  m_fake.status = 0x20000;
  EXPECT_EQ(1, send(event));
  EXPECT_EQ((Texts{"get file size error(" + missing + ",No such file or directory)",
                   size486("0", missing, "-1"), size486("4294967295", m_a, "3"), total491("2"),
                   notReachable(131072)}),
            log.texts());
}

TEST_F(Transmission, TotalWrapsAt4GiB) {
  const CapturedLog log(CapturedLog::Level::kTrace);
  const std::string big = m_dir.write("big", "");
  ASSERT_EQ(0, ::truncate(big.c_str(), 4294967295L));
  const std::string bigger = m_dir.write("bigger", "");
  ASSERT_EQ(0, ::truncate(bigger.c_str(), 4294967296L + 10));
  TestEvent event = incident({big, m_a, bigger});
  m_fake.status = 0x20000;
  EXPECT_EQ(1, send(event));
  EXPECT_EQ((Texts{size486("0", big, "4294967295"), size486("4294967295", m_a, "3"),
                   size486("2", bigger, "4294967306"), total491("12"), notReachable(131072)}),
            log.texts());
}

TEST_F(Transmission, FilesAreMeasuredBeforeTheFirstQuery) {
  const CapturedLog log(CapturedLog::Level::kTrace);
  Texts before;
  m_fake.onCall = [&](const std::string& call) {
    if (call == "GetStatus" && before.empty()) before = log.texts();
  };
  TestEvent event = incident({m_a});
  EXPECT_EQ(0, send(event));
  EXPECT_EQ((Texts{size486("0", m_a, "3"), total491("3")}), before);
}

TEST_F(Transmission, PathsWithPercentSigns) {
  const CapturedLog log(CapturedLog::Level::kTrace);
  const std::string path = m_dir.write("100%s%n", "x");
  TestEvent event(1, {path});
  EXPECT_EQ(0, send(event));
  EXPECT_EQ((Texts{size486("0", path, "1"), total491("1"), kStarted, loop(1, 1),
                   plainNotifyCall("0x40016"), kDone, dataCall("0x4010a", 1, path), kDone, kOk}),
            log.texts());
}

// --- connection and start ------------------------------------------------------------------------

TEST_F(Transmission, MaintenanceAllowsSending) {
  m_fake.status = 0x10000;
  TestEvent event = incident({});
  EXPECT_EQ(0, send(event));
  EXPECT_EQ(session({}), m_fake.calls);
  EXPECT_EQ((Texts{kStarted, kOk}), m_log.texts());
}

TEST_F(Transmission, StoppedReturns1) {
  m_fake.status = 0x20000;
  TestEvent event = incident({m_a});
  EXPECT_EQ(1, send(event));
  EXPECT_EQ(Texts{notReachable(131072)}, m_log.texts());
  EXPECT_EQ((Texts{kQuery, kQuery}), m_fake.calls) << "nothing started, nothing stopped";
}

TEST_F(Transmission, OtherStatusWordsReturn1) {
  for (const int status : {0, 0x10020, 0x30000, -1, 0x21}) {
    m_fake.calls.clear();
    m_fake.status = status;
    TestEvent event = incident({m_a});
    EXPECT_EQ(1, send(event));
    EXPECT_EQ(Texts{notReachable(status)}, m_log.take());
    EXPECT_EQ((Texts{kQuery, kQuery}), m_fake.calls);
  }
}

TEST_F(Transmission, FailedQueryShowsTheWordThatTheLibraryLeft) {
  m_fake.statusResult = -1;
  TestEvent event = incident({m_a});
  EXPECT_EQ(1, send(event));
  EXPECT_EQ(Texts{notReachable(32)}, m_log.texts());
  EXPECT_EQ((Texts{kQuery, kQuery}), m_fake.calls);
}

TEST_F(Transmission, EachQuestionHasItsOwnQuery) {
  struct Case {
    int first;
    int second;
    int result;
  };
  // The first query is asked for operation, the second for maintenance.
  const Case cases[] = {{0x20, 0x20000, 0},
                        {0x20000, 0x10000, 0},
                        {0x20, 0x10000, 0},
                        {0x10000, 0x20, 1},
                        {0x10000, 0x20000, 1}};
  for (const Case& c : cases) {
    int queries = 0;
    m_fake.onCall = [&](const std::string& call) {
      if (call == "GetStatus") m_fake.status = ++queries == 1 ? c.first : c.second;
    };
    TestEvent event = incident({});
    EXPECT_EQ(c.result, send(event)) << c.first << " " << c.second;
    EXPECT_EQ(c.result == 0 ? (Texts{kStarted, kOk}) : (Texts{notReachable(c.second)}),
              m_log.take());
  }
}

TEST_F(Transmission, RefusedStart) {
  for (const int result : {-5, 1, 68}) {
    m_fake.calls.clear();
    m_fake.startResult = result;
    TestEvent event = incident({m_a});
    EXPECT_EQ(1, send(event));
    EXPECT_EQ(Texts{"(CSendInfo::SendInfo) CRMSenderBase::RM_StartComm() error(code=" +
                    std::to_string(result) + ")"},
              m_log.take());
    EXPECT_EQ((Texts{kQuery, kQuery, kStart}), m_fake.calls);
  }
}

TEST_F(Transmission, TypeIsLookedAtOnlyAfterTheStart) {
  m_fake.startResult = -5;
  TestEvent event = eventOf(5, {});
  EXPECT_EQ(1, send(event));
}

// --- environment of the client -------------------------------------------------------------------

/// A client whose environment setting fails, and which tells what it was asked.
struct Client : CVuqRmgLib {
  explicit Client(std::function<void()> environment) : m_environment(std::move(environment)) {}

  void setEnv() override {
    asked.emplace_back("setEnv");
    m_environment();
  }
  bool isOperate() override {
    asked.emplace_back("isOperate");
    return CVuqRmgLib::isOperate();
  }
  bool isMaintenance() override {
    asked.emplace_back("isMaintenance");
    return CVuqRmgLib::isMaintenance();
  }
  void startCom() override {
    asked.emplace_back("startCom");
    CVuqRmgLib::startCom();
  }
  void stopCom() override { asked.emplace_back("stopCom"); }
  int sendNotify(unsigned long param, char* data, char* reply) override {
    asked.emplace_back("sendNotify");
    EXPECT_STREQ("", reply);
    return CVuqRmgLib::sendNotify(param, data, reply);
  }
  int sendData(unsigned long param, void* list, int count, char* reply) override {
    asked.emplace_back("sendData");
    EXPECT_STREQ("", reply);
    return CVuqRmgLib::sendData(param, list, count, reply);
  }

  Texts asked;

 private:
  std::function<void()> m_environment;
};

struct EnvironmentCase {
  std::function<void()> fail;
  std::string log;
};

TEST_F(Transmission, FailedEnvironmentReturns1) {
  const EnvironmentCase cases[] = {
      {[] { throw CVuqRmgLib::FailGetStatusRmsLibException(-3); },
       "(CSendInfo::SendInfo) GetStatusRmsLib() error=-3"},
      {[] { throw CVuqRmgLib::UnsupportCenterCodeException(9); },
       "(CSendInfo::SendInfo) getCenterCode() unknown center code=9"},
      {[] { throw CVuqRmgLib::FailRM_SetEnvException(0); },
       "(CSendInfo::SendInfo) RM_SetEnv() error =0"},
      {[] { throw 5; }, "(CSendInfo::SendInfo) RM_SetEnv error \"5\""},
      {[] { throw -1; }, "(CSendInfo::SendInfo) RM_SetEnv error \"-1\""},
  };
  for (const EnvironmentCase& c : cases) {
    const CapturedLog log(CapturedLog::Level::kTrace);
    TestEvent event = incident({m_a});
    Client client(c.fail);
    EXPECT_EQ(1, event.sendThrough(client));
    EXPECT_EQ(Texts{c.log}, log.texts()) << "the files are not even measured";
    EXPECT_EQ(Texts{"setEnv"}, client.asked);
    EXPECT_EQ(Texts(), m_fake.calls);
  }
}

TEST_F(Transmission, EnvironmentThatThrows0GoesOn) {
  TestEvent event = incident({m_a});
  Client client([] { throw 0; });
  EXPECT_EQ(0, event.sendThrough(client));
  EXPECT_EQ((Texts{"setEnv", "isOperate", "isMaintenance", "startCom", "sendNotify", "sendData"}),
            client.asked);
  EXPECT_EQ(kOk, m_log.texts().back());
}

TEST_F(Transmission, EnvironmentThatThrowsSomethingElsePasses) {
  TestEvent event = incident({m_a});
  Client other([] { throw std::runtime_error("environment"); });
  EXPECT_THROW(event.sendThrough(other), std::runtime_error);
  Client base([] { throw CVuqRmgLib::CVuqRmgLibException(1); });
  EXPECT_THROW(event.sendThrough(base), CVuqRmgLib::CVuqRmgLibException);
  EXPECT_EQ(Texts(), m_log.texts());
}

TEST_F(Transmission, StartThatThrowsSomethingElsePasses) {
  struct StartlessClient : CVuqRmgLib {
    void startCom() override { throw std::runtime_error("start"); }
  };
  TestEvent event = incident({m_a});
  StartlessClient client;
  EXPECT_THROW(event.sendThrough(client), std::runtime_error);
  EXPECT_EQ((Texts{kQuery, kQuery}), m_fake.calls);
  EXPECT_EQ(Texts(), m_log.texts());
}

TEST_F(Transmission, StepsGoThroughTheClientsSlotsButTheStopIsDirect) {
  TestEvent event = incident({m_a, m_b});
  {
    Client client([] {});
    EXPECT_EQ(0, event.sendThrough(client));
    EXPECT_EQ((Texts{"setEnv", "isOperate", "isMaintenance", "startCom", "sendNotify", "sendData",
                     "sendNotify", "sendData"}),
              client.asked);
    EXPECT_EQ(kStop, m_fake.calls.back());
    EXPECT_EQ(8U, m_fake.calls.size());
  }
  EXPECT_EQ(9U, m_fake.calls.size()) << "the client was still marked as started";
  EXPECT_EQ(kStop, m_fake.calls.back());
}

// --- reply ---------------------------------------------------------------------------------------

/// A client that fills the reply, as the library does not.
struct ReplyingClient : CVuqRmgLib {
  explicit ReplyingClient(std::string text) : reply(std::move(text)) {}

  int sendNotify(unsigned long, char*, char* buffer) override { return fill(buffer); }
  int sendData(unsigned long, void*, int, char* buffer) override { return fill(buffer); }

  std::string reply;
  Texts found;  // what stood in the reply before each call

 private:
  int fill(char* buffer) {
    found.emplace_back(buffer);
    std::memcpy(buffer, reply.c_str(), reply.size() + 1);
    reply[0] = '2';
    return 0;
  }
};

TEST_F(Transmission, ReplyIsOneBufferThatEachCallIsHandedAndThatIsLogged) {
  for (const int type : {1, 2}) {
    TestEvent event = incident({m_a});
    event.m_eventType = type;
    ReplyingClient client("1 reply");
    EXPECT_EQ(0, event.sendThrough(client));
    EXPECT_EQ((Texts{"", "1 reply"}), client.found);
    const Texts log = m_log.take();
    const std::string notification =
        type == 1 ? plainNotifyCall("0x40016") : notifyCall("0x40017", incidentText(1, 1));
    const std::string codes = type == 1 ? "0x4010a" : "0x4010b";
    EXPECT_EQ((Texts{kStarted, loop(1, 1), notification, kDone,
                     "RM_Communicate call (param=" + codes + " ? 1 " + m_a + " NULL 1 reply NULL)",
                     kDone, kOk}),
              log);
  }
}

TEST_F(Transmission, ReplyOfOneFileIsLoggedWithTheNext) {
  TestEvent event(1, {m_a, m_b});
  ReplyingClient client("1 reply");
  EXPECT_EQ(0, event.sendThrough(client));
  EXPECT_EQ("RM_Communicate call (param=0x40016 0 0 NULL NULL 2 reply NULL)", m_log.texts().at(7));

  TestEvent other = incident({m_a, m_b});
  m_log.take();
  ReplyingClient another("1 reply");
  EXPECT_EQ(0, other.sendThrough(another));
  EXPECT_EQ("RM_Communicate call (param=0x40017 0 0 " + incidentText(2, 2) + " NULL 2 reply NULL)",
            m_log.texts().at(7));
}

TEST_F(Transmission, ReplyHasRoomFor2047CharactersAndItsEnd) {
  TestEvent event(1, {m_a});
  const std::string longest(2047, '1');
  ReplyingClient client(longest);
  EXPECT_EQ(0, event.sendThrough(client));
  EXPECT_EQ((Texts{"", longest}), client.found);
  EXPECT_EQ(kOk, m_log.texts().back());
}

// --- results and thrown integers -----------------------------------------------------------------

TEST_F(Transmission, ResultsOfTheLibraryAreOnlyLogged) {
  m_fake.stopResult = -9;
  m_fake.onCommunicate = [](unsigned code) {
    return code == 0x40017 ? FakeKelcom::Reply{-74, 1, -10} : FakeKelcom::Reply{-52, 2, 404};
  };
  TestEvent event = incident({m_a});
  EXPECT_EQ(0, send(event));
  EXPECT_EQ(
      (Texts{kStarted, loop(1, 1), notifyCall("0x40017", incidentText(1, 1)),
             "RM_Communicate done (code='-74', msg='(SMTP) RL:-74,ZW-Agent:-10,Mailsvr:\"\"') ",
             dataCall("0x4010b", 1, m_a),
             "RM_Communicate done (code='-52', msg='(HTTP) RL:-52,ZW-Agent:404,Mailsvr:\"\"') ",
             kOk}),
      m_log.texts());
}

TEST_F(Transmission, ResultWithoutAgentErrorHasNoMessage) {
  m_fake.reply.result = 7;
  for (const int type : {1, 3}) {
    TestEvent event = eventOf(type, {m_a});
    EXPECT_EQ(0, send(event));
    const Texts texts = m_log.take();
    EXPECT_EQ(done(7), texts.at(3));
    EXPECT_EQ(done(7), texts.at(5));
  }
}

struct ThrownCase {
  const char* name;
  std::vector<std::string> thrown;  // per exchange: "" for none
  int result;
};

TEST_F(Transmission, LastThrownIntegerWinsAnd0Resets) {
  const ThrownCase cases[] = {
      {"notify", {"5", "", "", ""}, 5},       {"data", {"", "6", "", ""}, 6},
      {"both", {"5", "6", "", ""}, 6},        {"second file", {"5", "6", "", "-8"}, -8},
      {"zero resets", {"5", "0", "", ""}, 0}, {"zero first", {"0", "5", "", ""}, 5},
      {"zero last", {"5", "6", "7", "0"}, 0}, {"minus one", {"-1", "", "", ""}, -1},
  };
  for (const ThrownCase& c : cases) {
    SCOPED_TRACE(c.name);
    m_fake.calls.clear();
    std::size_t exchange = 0;
    m_fake.onCall = [&](const std::string& call) {
      if (call != "Communicate") return;
      const std::string& thrown = c.thrown.at(exchange++);
      if (!thrown.empty()) throw std::stoi(thrown);
    };
    TestEvent event(1, {m_a, m_b});
    EXPECT_EQ(c.result, send(event));
    EXPECT_EQ((Texts{kStarted, loop(1, 2), plainNotifyCall("0x40016"), kDone,
                     dataCall("0x4010a", 1, m_a), kDone, loop(2, 2), plainNotifyCall("0x40016"),
                     kDone, dataCall("0x4010a", 1, m_b), kDone, c.result == 0 ? kOk : kError}),
              m_log.take());
    EXPECT_EQ(9U, m_fake.calls.size()) << "the loop goes on, and both stops are made";
  }
}

TEST_F(Transmission, ThrowingCallKeepsThePreviousResult) {
  m_fake.onCommunicate = [this](unsigned) { return FakeKelcom::Reply{10 + m_exchanges, 0, 0}; };
  throwAtExchange(9, {2, 3});
  TestEvent event(1, {m_a, m_b});
  EXPECT_EQ(9, send(event));
  EXPECT_EQ((Texts{kStarted, loop(1, 2), plainNotifyCall("0x40016"), done(11),
                   dataCall("0x4010a", 1, m_a), done(11), loop(2, 2), plainNotifyCall("0x40016"),
                   done(11), dataCall("0x4010a", 1, m_b), done(14), kError}),
            m_log.texts());
}

TEST_F(Transmission, ThrowingCallHasNoErrorMessage) {
  m_fake.reply = {-74, 1, -10};
  throwAtExchange(9, {2});
  TestEvent event(1, {m_a});
  EXPECT_EQ(9, send(event));
  EXPECT_EQ((Texts{kStarted, loop(1, 1), plainNotifyCall("0x40016"),
                   "RM_Communicate done (code='-74', msg='(SMTP) "
                   "RL:-74,ZW-Agent:-10,Mailsvr:\"\"') ",
                   dataCall("0x4010a", 1, m_a), done(-74), kError}),
            m_log.texts());
}

TEST_F(Transmission, EventTypesRememberThrownIntegersToo) {
  for (const int type : {2, 3, 4}) {
    m_exchanges = 0;
    m_fake.calls.clear();
    throwAtExchange(5, {1});
    TestEvent event = eventOf(type, {m_a});
    EXPECT_EQ(5, send(event));
    EXPECT_EQ(kError, m_log.take().back());
    EXPECT_EQ(7U, m_fake.calls.size()) << "the data call follows all the same";
  }
}

TEST_F(Transmission, IntegerThrownByTheStopIsTheResult) {
  int thrown = 0;
  bool failsExchange = false;
  m_fake.onCall = [&](const std::string& call) {
    if (call == "Communicate" && failsExchange) throw 5;
    if (call == "StopComm") throw thrown;
  };
  TestEvent event(1, {m_a});
  for (const int code : {6, -6, 68}) {
    thrown = code;
    EXPECT_EQ(code, send(event));
    EXPECT_EQ(kError, m_log.take().back());
  }
  failsExchange = true;
  thrown = 6;
  EXPECT_EQ(6, send(event)) << "the last one";
  EXPECT_EQ(kError, m_log.take().back());
  thrown = 0;
  EXPECT_EQ(0, send(event)) << "0 resets";
  EXPECT_EQ(kOk, m_log.take().back());
  EXPECT_EQ(kStop, m_fake.calls.back());
}

TEST_F(Transmission, IntegerThrownByTheQueryPasses) {
  m_fake.onCall = [](const std::string&) { throw 5; };
  TestEvent event = incident({m_a});
  EXPECT_THROW(send(event), int);
  EXPECT_EQ(Texts{kQuery}, m_fake.calls);
}

// --- thrown objects ------------------------------------------------------------------------------

TEST_F(Transmission, ObjectThrownByAnExchangePassesAfterTheStop) {
  for (const int number : {1, 2}) {
    m_exchanges = 0;
    m_fake.calls.clear();
    throwAtExchange(std::runtime_error("exchange"), {number});
    TestEvent event(1, {m_a, m_b});
    EXPECT_THROW(send(event), std::runtime_error);
    EXPECT_EQ(3U + static_cast<unsigned>(number) + 1U, m_fake.calls.size());
    EXPECT_EQ(kStop, m_fake.calls.back());
    Texts expected = {kStarted, loop(1, 2), plainNotifyCall("0x40016")};
    if (number == 2) expected.insert(expected.end(), {kDone, dataCall("0x4010a", 1, m_a)});
    EXPECT_EQ(expected, m_log.take());
  }
}

TEST_F(Transmission, ObjectThrownByTheQueryPassesWithoutAStop) {
  m_fake.onCall = [](const std::string&) { throw std::runtime_error("query"); };
  TestEvent event = incident({m_a});
  EXPECT_THROW(send(event), std::runtime_error);
  EXPECT_EQ(Texts{kQuery}, m_fake.calls);
}

TEST_F(Transmission, ObjectThrownByTheStopPassesAfterTheSecondStop) {
  int stops = 0;
  m_fake.onCall = [&](const std::string& call) {
    if (call == "StopComm" && ++stops == 1) throw std::runtime_error("stop");
  };
  TestEvent event = incident({});
  EXPECT_THROW(send(event), std::runtime_error);
  EXPECT_EQ(session({}), m_fake.calls);
  EXPECT_EQ(Texts{kStarted}, m_log.texts());
}

TEST_F(Transmission, ObjectThrownInsideTheStartEndsTheProcess) {
  const ChildResult child = runInChild([this] {
    m_fake.onCall = [](const std::string& call) {
      ::dprintf(STDOUT_FILENO, "%s\n", call.c_str());
      if (call == "StartComm") throw std::runtime_error("start");
    };
    TestEvent event = incident({m_a});
    send(event);
    return 0;
  });
  EXPECT_EQ(SIGABRT, child.signal()) << child.status;
  EXPECT_EQ("GetStatus\nGetStatus\nStartComm\n", child.out);
}

TEST_F(Transmission, UncaughtObjectStopsCommunicationBeforeTheProcessEnds) {
  const ChildResult child = runInChild([this] {
    m_fake.onCall = [](const std::string& call) {
      ::dprintf(STDOUT_FILENO, "%s\n", call.c_str());
      if (call == "Communicate") throw std::runtime_error("exchange");
    };
    TestEvent event = incident({m_a});
    // A thread of its own, since somebody up this one's stack catches everything.
    std::thread([&] { send(event); }).join();
    return 0;
  });
  EXPECT_EQ(SIGABRT, child.signal()) << child.status;
  EXPECT_EQ("GetStatus\nGetStatus\nStartComm\nCommunicate\nStopComm\n", child.out);
}

TEST_F(Transmission, ManyFilesInOneCall) {
  Texts files(2000, m_a);
  files.back() = m_b;
  TestEvent event = eventOf(3, files);
  EXPECT_EQ(0, send(event));
  EXPECT_EQ(dataCall("0x4010d", 2000, m_a), m_log.texts().at(4));
  std::string list = m_a;
  for (std::size_t i = 1; i < files.size(); ++i) list += " " + files[i];
  EXPECT_EQ("Communicate(0x4010d, 0, 2000, [" + list + "])", m_fake.calls.at(4));
}

}  // namespace
