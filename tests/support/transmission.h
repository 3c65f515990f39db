#ifndef TANEXICS_TESTS_SUPPORT_TRANSMISSION_H
#define TANEXICS_TESTS_SUPPORT_TRANSMISSION_H

#include <gtest/gtest.h>

#include <string>
#include <utility>
#include <vector>

#include "support/FakeKelcom.h"
#include "support/actionlog.h"
#include "support/scratch.h"
#include "support/testevent.h"

// What the tests of a transmission start from: the lines of log and the calls of the library that
// repeat in it, and an event on the fake library.

inline const std::string kStarted = "(CSendInfo::SendInfo) call startCom(RM_MODE_SYNC)=0";
inline const std::string kOk = "commonSendEvent OK";
inline const std::string kError = "commonSendEvent Error.";
inline const std::string kQuery = "GetStatus(0)";
inline const std::string kStart = "StartComm(0)";
inline const std::string kStop = "StopComm";

/// The notification text that `eventParams` gives for files without a log extract.
inline const std::string kEventText =
    "\"2026/11/20 12:00:00\",,\"disk\",\"db01\",\"Linux\",\"Debian\",\"12\",\"kernel\",\"E\","
    "\"M0815\",\"Software Log\"";

inline std::string incidentText(int number, int count) {
  return "INCNO=\"77\",HOSTNAME=\"db01\",PART=\"" + std::to_string(number) + "\",TOTAL=\"" +
         std::to_string(count) + "\"";
}

inline std::string done(int rc, const std::string& message = "") {
  return "RM_Communicate done (code='" + std::to_string(rc) + "', msg='" + message + "') ";
}

inline std::string notReachable(int status) {
  return "(CSendInfo::SendInfo) Cancel sending investigation information, because connection "
         "status is not operating. (status=" +
         std::to_string(status) + ") \n";
}

/// One turn of the loop: a notification and the data call after it.
struct Turn {
  int number;
  int count;  // of all files
  std::string notification;
  std::string text;  // "NULL" for none
  std::string data;
  std::vector<std::string> paths;

  std::string loop() const {
    return "commonSendEvent Main Loop (" + std::to_string(number) + "/" + std::to_string(count) +
           ")";
  }
  std::string notifyLine(const std::string& reply = "") const {
    return "RM_Communicate call (param=" + notification + " 0 0 " + text + " NULL " + reply +
           " NULL)";
  }
  std::string dataLine(const std::string& reply = "") const {
    return "RM_Communicate call (param=" + data + " ? " + std::to_string(paths.size()) + " " +
           paths.front() + " NULL " + reply + " NULL)";
  }

  /// The lines of log, for these results.
  std::vector<std::string> log(const std::string& notified = done(0),
                               const std::string& sent = done(0)) const {
    return {loop(), notifyLine(), notified, dataLine(), sent};
  }

  /// The calls of the library.
  std::vector<std::string> calls() const {
    std::string list;
    for (const std::string& path : paths) list += (list.empty() ? "" : " ") + path;
    return {"Communicate(" + notification + ", 0, 0, " + text + ")",
            "Communicate(" + data + ", 0, " + std::to_string(paths.size()) + ", [" + list + "])"};
  }
};

using Turns = std::vector<Turn>;

/// The lines of log of a whole session.
inline std::vector<std::string> sessionLog(const Turns& turns, const std::string& end = kOk) {
  std::vector<std::string> lines = {kStarted};
  for (const Turn& turn : turns) {
    for (const std::string& line : turn.log()) lines.push_back(line);
  }
  lines.push_back(end);
  return lines;
}

/// The calls of a whole session.
inline std::vector<std::string> session(const Turns& turns) {
  std::vector<std::string> calls = {kQuery, kQuery, kStart};
  for (const Turn& turn : turns) {
    for (const std::string& call : turn.calls()) calls.push_back(call);
  }
  calls.insert(calls.end(), {kStop, kStop});
  return calls;
}

/// An event on the fake library, with a captured log and three files of 3, 5 and no bytes.
class Transmission : public testing::Test {
 protected:
  static int send(TestEvent& event) { return event.commonSendEvent(0, nullptr); }

  /// An event of a type that sends these files, with all parameters of that type.
  static TestEvent eventOf(int type, const std::vector<std::string>& files) {
    TestEvent event(type, files);
    event.m_params = eventParams();
    event.m_params["IncidentNumber"] = "77";
    return event;
  }

  /// What is exchanged for it.
  static Turns turnsOf(int type, const std::vector<std::string>& files) {
    const int count = static_cast<int>(files.size());
    if (files.empty()) return {};
    if (type == 3) return {{1, count, "0x40204", kEventText, "0x4010d", files}};
    if (type == 4) return {{1, count, "0x40205", kEventText, "0x4010d", files}};
    Turns turns;
    for (const std::string& file : files) {
      const int number = static_cast<int>(turns.size()) + 1;
      turns.push_back(
          type == 1
              ? Turn{number, count, "0x40016", "NULL", "0x4010a", {file}}
              : Turn{number, count, "0x40017", incidentText(number, count), "0x4010b", {file}});
    }
    return turns;
  }

  std::vector<std::string> takeCalls() { return std::exchange(m_fake.calls, {}); }

  /// Sends the event, which must make these turns.
  void expectSent(TestEvent event, const Turns& turns) {
    EXPECT_EQ(send(event), 0);
    EXPECT_EQ(m_log.take(), sessionLog(turns));
    EXPECT_EQ(takeCalls(), session(turns));
  }

  ScratchDir m_dir;
  std::string m_a = m_dir.write("a", "aaa");
  std::string m_b = m_dir.write("b", "bbbbb");
  std::string m_c = m_dir.write("c", "");
  CapturedLog m_log;
  FakeKelcom m_fake;
};

#endif
