#include <gtest/gtest.h>
#include <unistd.h>

#include <string>
#include <vector>

#include "support/FakeKelcom.h"
#include "support/actionlog.h"
#include "support/testevent.h"
#include "support/transmission.h"

namespace {

using Texts = std::vector<std::string>;

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

// --- the four event types ------------------------------------------------------------------------

TEST_F(Transmission, Type2WithThreeFiles) {
  TestEvent event = incident({m_a, m_b, m_c});
  EXPECT_EQ(send(event), 0);
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
  EXPECT_EQ(m_log.texts(), log);
  EXPECT_EQ(m_fake.calls, session(calls));
}

TEST_F(Transmission, Type2AtTraceLevel) {
  const CapturedLog log(CapturedLog::Level::kTrace);
  TestEvent event = incident({m_a, m_b, m_c});
  event.m_sendFileList = {m_a, m_b};
  EXPECT_EQ(send(event), 0);
  EXPECT_EQ(log.texts(), (Texts{size486("0", m_a, "3"), size486("3", m_b, "5"), total491("8"),
                                kStarted, loop(1, 2), notifyCall("0x40017", incidentText(1, 2)),
                                kDone, dataCall("0x4010b", 1, m_a), kDone, loop(2, 2),
                                notifyCall("0x40017", incidentText(2, 2)), kDone,
                                dataCall("0x4010b", 1, m_b), kDone, kOk}));
}

TEST_F(Transmission, Type1WithTwoFilesSendsNoText) {
  TestEvent event = eventOf(1, {m_a, m_b});
  EXPECT_EQ(send(event), 0);
  EXPECT_EQ(m_log.texts(),
            (Texts{kStarted, loop(1, 2), plainNotifyCall("0x40016"), kDone,
                   dataCall("0x4010a", 1, m_a), kDone, loop(2, 2), plainNotifyCall("0x40016"),
                   kDone, dataCall("0x4010a", 1, m_b), kDone, kOk}));
  EXPECT_EQ(
      m_fake.calls,
      session({"Communicate(0x40016, 0, 0, NULL)", "Communicate(0x4010a, 0, 1, [" + m_a + "])",
               "Communicate(0x40016, 0, 0, NULL)", "Communicate(0x4010a, 0, 1, [" + m_b + "])"}));
}

TEST_F(Transmission, Type3WithThreeFilesSendsAllAtOnce) {
  TestEvent event = eventOf(3, {m_a, m_b, m_c});
  EXPECT_EQ(send(event), 0);
  EXPECT_EQ(m_log.texts(), (Texts{kStarted, loop(1, 3), notifyCall("0x40204", kEventText), kDone,
                                  dataCall("0x4010d", 3, m_a), kDone, kOk}));
  EXPECT_EQ(m_fake.calls,
            session({"Communicate(0x40204, 0, 0, " + kEventText + ")",
                     "Communicate(0x4010d, 0, 3, [" + m_a + " " + m_b + " " + m_c + "])"}));
}

TEST_F(Transmission, Type4DiffersInTheNotificationCode) {
  TestEvent event = eventOf(4, {m_a, m_b, m_c});
  EXPECT_EQ(send(event), 0);
  EXPECT_EQ(m_log.texts(), (Texts{kStarted, loop(1, 3), notifyCall("0x40205", kEventText), kDone,
                                  dataCall("0x4010d", 3, m_a), kDone, kOk}));
  EXPECT_EQ(m_fake.calls,
            session({"Communicate(0x40205, 0, 0, " + kEventText + ")",
                     "Communicate(0x4010d, 0, 3, [" + m_a + " " + m_b + " " + m_c + "])"}));
}

TEST_F(Transmission, Type3AtTraceLevel) {
  const CapturedLog log(CapturedLog::Level::kTrace);
  TestEvent event = eventOf(3, {m_a, m_b, m_c});
  EXPECT_EQ(send(event), 0);
  EXPECT_EQ(log.texts(),
            (Texts{size486("0", m_a, "3"), size486("3", m_b, "5"), size486("8", m_c, "0"),
                   total491("8"), kStarted, loop(1, 3), notifyCall("0x40204", kEventText), kDone,
                   dataCall("0x4010d", 3, m_a), kDone, kOk}));
}

TEST_F(Transmission, TypeIsReadAnewForEachFileAndTheCodesAreChosenOnce) {
  TestEvent event = incident({m_a, m_b});
  m_fake.onCall = [&event](const std::string& call) {
    if (call == "Communicate") event.m_eventType = 1;
  };
  EXPECT_EQ(send(event), 0);
  EXPECT_EQ(m_fake.calls, session({"Communicate(0x40017, 0, 0, " + incidentText(1, 2) + ")",
                                   "Communicate(0x4010b, 0, 1, [" + m_a + "])",
                                   "Communicate(0x40017, 0, 0, NULL)",
                                   "Communicate(0x4010b, 0, 1, [" + m_b + "])"}));
}

TEST_F(Transmission, EventTextHasNothingLeftOfTheTextBeforeIt) {
  TestEvent event = eventOf(2, {m_a, m_b});
  m_fake.onCall = [&event](const std::string& call) {
    if (call == "Communicate") event.m_eventType = 3;
  };
  EXPECT_EQ(send(event), 0);
  EXPECT_EQ(m_fake.calls, session({"Communicate(0x40017, 0, 0, "
                                   "INCNO=\"\",HOSTNAME=\"db01\",PART=\"1\",TOTAL=\"2\")",
                                   "Communicate(0x4010b, 0, 1, [" + m_a + "])",
                                   "Communicate(0x40017, 0, 0, " + kEventText + ")",
                                   "Communicate(0x4010b, 0, 2, [" + m_a + " " + m_b + "])"}));
}

TEST_F(Transmission, UnknownTypesReturn68AndStop) {
  for (const int type : {5, 0, -1, 6, 0x40017}) {
    m_fake.calls.clear();
    TestEvent event = eventOf(type, {m_a});
    EXPECT_EQ(send(event), 68) << type;
    EXPECT_EQ(m_log.take(), (Texts{kStarted, "EventType param error."}));
    EXPECT_EQ(m_fake.calls, (Texts{kQuery, kQuery, kStart, kStop}));
  }
}

TEST_F(Transmission, EmptyFileList) {
  for (const int type : {1, 2, 3, 4}) {
    const CapturedLog log(CapturedLog::Level::kTrace);
    m_fake.calls.clear();
    TestEvent event = eventOf(type, {});
    EXPECT_EQ(send(event), 0) << type;
    EXPECT_EQ(log.texts(), (Texts{total491("0"), kStarted, kOk}));
    EXPECT_EQ(m_fake.calls, session({}));
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
        EXPECT_EQ(event.commonSendEvent(flag, machineId), type == 5 ? 68 : 0);
        const Texts taken = m_log.take();
        if (log.empty()) {
          log = taken;
          calls = m_fake.calls;
        }
        EXPECT_EQ(taken, log);
        EXPECT_EQ(m_fake.calls, calls);
      }
    }
  }
}

TEST_F(Transmission, ManyFilesInOneCall) {
  Texts files(2000, m_a);
  files.back() = m_b;
  TestEvent event = eventOf(3, files);
  EXPECT_EQ(send(event), 0);
  EXPECT_EQ(m_log.texts().at(4), dataCall("0x4010d", 2000, m_a));
  std::string list = m_a;
  for (std::size_t i = 1; i < files.size(); ++i) list += " " + files[i];
  EXPECT_EQ(m_fake.calls.at(4), "Communicate(0x4010d, 0, 2000, [" + list + "])");
}

// --- notification texts --------------------------------------------------------------------------

TEST_F(Transmission, AbsentParametersAreEmpty) {
  TestEvent event(2, {m_a});
  EXPECT_EQ(send(event), 0);
  EXPECT_EQ(m_fake.calls.at(3),
            "Communicate(0x40017, 0, 0, INCNO=\"\",HOSTNAME=\"\",PART=\"1\",TOTAL=\"1\")");

  TestEvent other(4, {m_a});
  m_fake.calls.clear();
  EXPECT_EQ(send(other), 0);
  EXPECT_EQ(m_fake.calls.at(3), "Communicate(0x40205, 0, 0, ,,,,,,,,,,\"Software Log\")");
}

TEST_F(Transmission, IncidentTextIsBoundedTo2046Characters) {
  TestEvent event = incident({m_a});
  event.setParam("IncidentNumber", std::string(3000, '7').c_str());
  EXPECT_EQ(send(event), 0);
  EXPECT_EQ(m_fake.calls.at(3),
            "Communicate(0x40017, 0, 0, INCNO=\"" + std::string(2046 - 7, '7') + ")");

  const std::size_t fixed =
      std::string("INCNO=\"\",HOSTNAME=\"db01\",PART=\"1\",TOTAL=\"1\"").size();
  for (const std::size_t length : {2045 - fixed, 2046 - fixed, 2047 - fixed}) {
    m_fake.calls.clear();
    const std::string number(length, '7');
    event.setParam("IncidentNumber", number.c_str());
    EXPECT_EQ(send(event), 0);
    const std::string whole = "INCNO=\"" + number + "\",HOSTNAME=\"db01\",PART=\"1\",TOTAL=\"1\"";
    EXPECT_EQ(m_fake.calls.at(3), "Communicate(0x40017, 0, 0, " + whole.substr(0, 2046) + ")");
  }
}

TEST_F(Transmission, IncidentTextDoublesNoQuotes) {
  TestEvent event = incident({m_a});
  event.setParam("HostName", "a\"b%s");
  EXPECT_EQ(send(event), 0);
  const std::string text = "INCNO=\"77\",HOSTNAME=\"a\"b%s\",PART=\"1\",TOTAL=\"1\"";
  EXPECT_EQ(m_fake.calls.at(3), "Communicate(0x40017, 0, 0, " + text + ")");
  EXPECT_EQ(m_log.texts().at(2), notifyCall("0x40017", text));
}

TEST_F(Transmission, EventTextQuotesTheExcerpt) {
  const std::string extract = m_dir.write("x.syslog.txt", "# head\nJan 1 \"db01\" 100%s\nnext\n");
  TestEvent event = eventOf(3, {m_a, extract});
  event.setParam("Label", "a\"b");
  event.setParam("MsgID", "");
  EXPECT_EQ(send(event), 0);
  const std::string text =
      "\"2026/11/20 12:00:00\",,\"a\"\"b\",\"db01\",\"Linux\",\"Debian\",\"12\",\"kernel\",\"E\",,"
      "\"Jan 1 \"\"db01\"\" 100%s\"";
  EXPECT_EQ(m_log.texts(), (Texts{kStarted, loop(1, 2), notifyCall("0x40204", text), kDone,
                                  dataCall("0x4010d", 2, m_a), kDone, kOk}));
  EXPECT_EQ(m_fake.calls.at(3), "Communicate(0x40204, 0, 0, " + text + ")");
}

TEST_F(Transmission, EventTextWithUnreadableExtractGoesOn) {
  const std::string missing = m_dir / "x.syslog.txt";
  TestEvent event = eventOf(3, {missing});
  EXPECT_EQ(send(event), 0);
  const std::string text = kEventText.substr(0, kEventText.size() - 14);
  EXPECT_EQ(
      m_log.texts(),
      (Texts{"get file size error(" + missing + ",No such file or directory)", kStarted, loop(1, 1),
             "syslogfile open error.FILE=" + missing + "(CSendEventBase::getSyslogLine)",
             notifyCall("0x40204", text), kDone, dataCall("0x4010d", 1, missing), kDone, kOk}));
}

TEST_F(Transmission, EventFieldsAreBuiltBeforeTheExtractIsOpened) {
  const std::string missing = m_dir / "x.syslog.txt";
  TestEvent event = eventOf(4, {missing});
  event.setParam("Label", std::string(2000, 'L').c_str());
  EXPECT_EQ(send(event), 0);
  const Texts log = m_log.texts();
  ASSERT_EQ(log.size(), 10U);
  EXPECT_EQ(log[3], "string convert error (CSendEventBase::convStr)");
  EXPECT_EQ(log[4], "syslogfile open error.FILE=" + missing + "(CSendEventBase::getSyslogLine)");
}

TEST_F(Transmission, EventTextIsCutAt896Bytes) {
  TestEvent event = eventOf(3, {m_a});
  event.setParam("Label", std::string(2000, 'L').c_str());
  EXPECT_EQ(send(event), 0);
  const std::string head = "\"2026/11/20 12:00:00\",,\"";
  const std::string text = head + std::string(895 - head.size(), 'L') + "\"";
  ASSERT_EQ(text.size(), 896U);
  EXPECT_EQ(m_log.texts(),
            (Texts{kStarted, loop(1, 1), "string convert error (CSendEventBase::convStr)",
                   notifyCall("0x40204", text), kDone, dataCall("0x4010d", 1, m_a), kDone, kOk}));
}

// --- sizes ---------------------------------------------------------------------------------------

TEST_F(Transmission, MissingFileCountsAsMinusOne) {
  const CapturedLog log(CapturedLog::Level::kTrace);
  const std::string missing = m_dir / "missing";
  TestEvent event = incident({m_a, missing, m_b});
  EXPECT_EQ(send(event), 0);
  Texts texts = log.texts();
  texts.resize(6);
  EXPECT_EQ(texts,
            (Texts{size486("0", m_a, "3"),
                   "get file size error(" + missing + ",No such file or directory)",
                   size486("3", missing, "-1"), size486("2", m_b, "5"), total491("7"), kStarted}));
  EXPECT_EQ(m_fake.calls.at(6), "Communicate(0x4010b, 0, 1, [" + missing + "])") << "sent as well";
}

TEST_F(Transmission, FirstFileMissingWrapsTheTotal) {
  const CapturedLog log(CapturedLog::Level::kTrace);
  const std::string missing = m_dir / "missing";
  TestEvent event = incident({missing, m_a});
  m_fake.status = 0x20000;
  EXPECT_EQ(send(event), 1);
  EXPECT_EQ(log.texts(), (Texts{"get file size error(" + missing + ",No such file or directory)",
                                size486("0", missing, "-1"), size486("4294967295", m_a, "3"),
                                total491("2"), notReachable(131072)}));
}

TEST_F(Transmission, TotalWrapsAt4GiB) {
  const CapturedLog log(CapturedLog::Level::kTrace);
  const std::string big = m_dir.write("big", "");
  ASSERT_EQ(::truncate(big.c_str(), 4294967295L), 0);
  const std::string bigger = m_dir.write("bigger", "");
  ASSERT_EQ(::truncate(bigger.c_str(), 4294967296L + 10), 0);
  TestEvent event = incident({big, m_a, bigger});
  m_fake.status = 0x20000;
  EXPECT_EQ(send(event), 1);
  EXPECT_EQ(log.texts(),
            (Texts{size486("0", big, "4294967295"), size486("4294967295", m_a, "3"),
                   size486("2", bigger, "4294967306"), total491("12"), notReachable(131072)}));
}

TEST_F(Transmission, FilesAreMeasuredBeforeTheFirstQuery) {
  const CapturedLog log(CapturedLog::Level::kTrace);
  Texts before;
  m_fake.onCall = [&](const std::string& call) {
    if (call == "GetStatus" && before.empty()) before = log.texts();
  };
  TestEvent event = incident({m_a});
  EXPECT_EQ(send(event), 0);
  EXPECT_EQ(before, (Texts{size486("0", m_a, "3"), total491("3")}));
}

TEST_F(Transmission, PathsWithPercentSigns) {
  const CapturedLog log(CapturedLog::Level::kTrace);
  const std::string path = m_dir.write("100%s%n", "x");
  TestEvent event(1, {path});
  EXPECT_EQ(send(event), 0);
  EXPECT_EQ(log.texts(),
            (Texts{size486("0", path, "1"), total491("1"), kStarted, loop(1, 1),
                   plainNotifyCall("0x40016"), kDone, dataCall("0x4010a", 1, path), kDone, kOk}));
}

}  // namespace
