#ifndef TANEXICS_TESTS_SUPPORT_TRANSMISSION_H
#define TANEXICS_TESTS_SUPPORT_TRANSMISSION_H

#include <gtest/gtest.h>

#include <string>
#include <vector>

#include "support/FakeKelcom.h"
#include "support/actionlog.h"
#include "support/scratch.h"
#include "support/testevent.h"

// What the tests of a transmission start from: the lines of log and the calls of the library that
// repeat in it, and an event on the fake library.

inline const std::string kStarted = "(CSendInfo::SendInfo) call startCom(RM_MODE_SYNC)=0";
inline const std::string kOk = "commonSendEvent OK";
inline const std::string kDone = "RM_Communicate done (code='0', msg='') ";
inline const std::string kQuery = "GetStatus(0)";
inline const std::string kStart = "StartComm(0)";
inline const std::string kStop = "StopComm";

inline std::string loop(int number, int count) {
  return "commonSendEvent Main Loop (" + std::to_string(number) + "/" + std::to_string(count) + ")";
}

inline std::string notifyCall(const std::string& code, const std::string& text) {
  return "RM_Communicate call (param=" + code + " 0 0 " + text + " NULL  NULL)";
}

inline std::string plainNotifyCall(const std::string& code) {
  return "RM_Communicate call (param=" + code + " 0 0 NULL NULL  NULL)";
}

inline std::string dataCall(const std::string& code, int count, const std::string& path) {
  return "RM_Communicate call (param=" + code + " ? " + std::to_string(count) + " " + path +
         " NULL  NULL)";
}

inline std::string done(int rc) {
  return "RM_Communicate done (code='" + std::to_string(rc) + "', msg='') ";
}

inline std::string notReachable(int status) {
  return "(CSendInfo::SendInfo) Cancel sending investigation information, because connection "
         "status is not operating. (status=" +
         std::to_string(status) + ") \n";
}

/// The calls of a whole session with `exchanges` in its middle.
inline std::vector<std::string> session(const std::vector<std::string>& exchanges) {
  std::vector<std::string> calls = {kQuery, kQuery, kStart};
  calls.insert(calls.end(), exchanges.begin(), exchanges.end());
  calls.insert(calls.end(), {kStop, kStop});
  return calls;
}

inline std::string incidentText(int number, int count) {
  return "INCNO=\"77\",HOSTNAME=\"db01\",PART=\"" + std::to_string(number) + "\",TOTAL=\"" +
         std::to_string(count) + "\"";
}

/// An event on the fake library, with a captured log and three files of 3, 5 and no bytes.
class Transmission : public testing::Test {
 protected:
  int send(TestEvent& event) { return event.commonSendEvent(0, nullptr); }

  TestEvent incident(const std::vector<std::string>& files) {
    TestEvent event(2, files);
    event.m_params = {{"IncidentNumber", "77"}, {"HostName", "db01"}};
    return event;
  }

  TestEvent eventOf(int type, const std::vector<std::string>& files) {
    TestEvent event(type, files);
    event.m_params = eventParams();
    return event;
  }

  /// Throws `value` at the exchanges of these numbers, counted from 1.
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

#endif
