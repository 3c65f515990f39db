#ifndef TANEXICS_TESTS_LOOPBACK_SITUATIONTABLE_H
#define TANEXICS_TESTS_LOOPBACK_SITUATIONTABLE_H

#include <optional>
#include <ostream>
#include <string>
#include <vector>

#include "e2e/support/cases.h"

// What each canned situation must bring, written down apart from the scripts and without a look at
// them: whoever changes a script changes its row too.

/// The answer to a status query.
struct Query {
  int word = 0x20;
  int result = 0;
};

/// The answer to an exchange, and what the log tells of the agent's error.
struct Reply {
  Answer answer = {};
  std::string message = "";
};

/// The answers to one notification and its data.
struct Pair {
  Reply notification = {};
  Reply data = {};
};

/// What one situation answers, and what a run logs of it.
struct Row {
  std::string name;
  Query first = {};
  Query second = {};

  /// The log line in place of the communication; empty when there is communication.
  std::string refusal = "";

  /// The result of the start; none when it is not tried.
  std::optional<int> start = 0;

  /// The exchanges of an incident's first and second file, and those of an event.
  Pair firstFile = {};
  Pair secondFile = {};
  Pair event = {};

  int firstStop = 0;
  int secondStop = 0;
  int id = 4711;
};

inline void PrintTo(const Row& row, std::ostream* stream) { *stream << row.name; }

// --- how a row is made ---------------------------------------------------------------------------

inline std::string numbers(int result, int agentCode) {
  return "RL:" + std::to_string(result) + ",ZW-Agent:" + std::to_string(agentCode) +
         ",Mailsvr:\"\"";
}

inline Reply httpError(int result, int code) {
  return {{result, 2, code}, "(HTTP) " + numbers(result, code)};
}

inline Reply smtpError(int result, int code) {
  return {{result, 1, code}, "(SMTP) " + numbers(result, code)};
}

inline Reply oddError(int type, int result, int code) {
  return {{result, type, code}, "() " + numbers(result, code)};
}

inline Row sent(const std::string& name, Query first, Query second) {
  Row row;
  row.name = name;
  row.first = first;
  row.second = second;
  return row;
}

inline Row cancelled(const std::string& name, Query first, Query second,
                     const std::string& status) {
  Row row = sent(name, first, second);
  row.start.reset();
  row.refusal =
      "(CSendInfo::SendInfo) Cancel sending investigation information, because connection status "
      "is not operating. (status=" +
      status + ") \n";
  return row;
}

inline Row refused(const std::string& name, int result, const std::string& code, int word = 0x20) {
  Row row = sent(name, {word, 0}, {word, 0});
  row.start = result;
  row.refusal = "(CSendInfo::SendInfo) CRMSenderBase::RM_StartComm() error(code=" + code + ")";
  return row;
}

inline Row stopped(const std::string& name, int first, int second) {
  Row row;
  row.name = name;
  row.firstStop = first;
  row.secondStop = second;
  return row;
}

inline Row exchanged(const std::string& name, const Pair& firstFile, const Pair& secondFile,
                     const Pair& event) {
  Row row;
  row.name = name;
  row.firstFile = firstFile;
  row.secondFile = secondFile;
  row.event = event;
  return row;
}

inline Row everyPair(const std::string& name, const Pair& pair) {
  return exchanged(name, pair, pair, pair);
}

inline Row everyExchange(const std::string& name, const Reply& reply) {
  return everyPair(name, {reply, reply});
}

inline Row identified(const std::string& name, int id) {
  Row row;
  row.name = name;
  row.id = id;
  return row;
}

// --- the table -----------------------------------------------------------------------------------

inline std::vector<Row> connectionRows() {
  return {
      sent("connection-operating", {0x20}, {0x20}),
      sent("connection-maintenance", {0x10000}, {0x10000}),
      cancelled("connection-stopped", {0x20000}, {0x20000}, "131072"),
      cancelled("connection-maintenance-stop", {0x30000}, {0x30000}, "196608"),
      cancelled("connection-unknown-word", {0x10020}, {0x10020}, "65568"),
      cancelled("connection-zero-word", {0}, {0}, "0"),
      cancelled("connection-negative-word", {-1}, {-1}, "-1"),
      cancelled("connection-query-fails", {0, -7}, {0, -7}, "0"),
      cancelled("connection-query-fails-operating", {0x20, -7}, {0x20, -7}, "32"),
      cancelled("connection-query-fails-maintenance", {0x10000, -7}, {0x10000, -7}, "65536"),
      cancelled("connection-first-query-fails", {0x20, -7}, {0x20}, "32"),
      sent("connection-first-query-fails-maintenance", {0x10000, -7}, {0x10000}),
      sent("connection-second-query-fails", {0x20}, {0x20, -7}),
      sent("connection-lost-between-queries", {0x20}, {0x20000}),
      cancelled("connection-late", {0x20000}, {0x20}, "32"),
  };
}

inline std::vector<Row> startAndStopRows() {
  return {
      refused("start-refused", 5, "5"),
      refused("start-refused-negative", -12, "-12"),
      refused("start-refused-smallest", -2147483647 - 1, "-2147483648"),
      refused("start-refused-largest", 2147483647, "2147483647"),
      refused("start-refused-maintenance", 1, "1", 0x10000),
      stopped("stop-fails", -3, -3),
      stopped("stop-fails-first", -3, 0),
      stopped("stop-fails-second", 0, -3),
  };
}

inline std::vector<Row> exchangeRows() {
  const Reply fine;
  const Reply busy = httpError(-57, 53);
  const Reply cut = httpError(-55, 49);
  constexpr int kSmallest = -2147483647 - 1;
  constexpr int kLargest = 2147483647;
  return {
      everyExchange("exchange-no-agent-error", {{-7, 0, 0}, ""}),
      everyExchange("exchange-positive-result", {{5, 0, 0}, ""}),
      everyExchange("exchange-unknown-agent", oddError(3, -62, 54)),
      everyExchange("exchange-negative-agent", oddError(-1, -62, 54)),
      everyExchange("exchange-unknown-key", httpError(-99, 999)),
      everyExchange("exchange-other-agents-key", smtpError(-62, 54)),
      everyExchange("exchange-http-status", httpError(-52, 404)),
      everyExchange("exchange-http-status-limit", httpError(-52, 258)),
      everyExchange("exchange-agent-error-only", httpError(0, 54)),
      everyExchange("exchange-smallest-codes", smtpError(kSmallest, kSmallest)),
      everyExchange("exchange-largest-codes", httpError(kLargest, kLargest)),
      everyPair("exchange-different-errors", {busy, smtpError(-74, -10)}),
      everyPair("only-notifications-fail", {busy, fine}),
      everyPair("only-data-fails", {fine, cut}),
      exchanged("only-first-exchange-fails", {busy, fine}, {fine, fine}, {busy, fine}),
      exchanged("only-second-file-fails", {fine, fine}, {fine, cut}, {fine, fine}),
  };
}

inline std::vector<Row> identifierRows() {
  return {
      identified("identifier-negative", -1),
      identified("identifier-zero", 0),
      identified("identifier-smallest", -2147483647 - 1),
      identified("identifier-largest", 2147483647),
  };
}

/// In the order of the message catalogue.
inline std::vector<Row> explainedRows() {
  std::vector<Row> rows;
  const auto add = [&rows](const char* name, const Reply& reply) {
    rows.push_back(everyExchange(name, reply));
  };
  add("http-62-54", httpError(-62, 54));
  add("http-58-62", httpError(-58, 62));
  add("http-57-53", httpError(-57, 53));
  add("http-56-20", httpError(-56, 20));
  add("http-56-30", httpError(-56, 30));
  add("http-56-59", httpError(-56, 59));
  add("http-56-60", httpError(-56, 60));
  add("http-56-99", httpError(-56, 99));
  add("http-55-49", httpError(-55, 49));
  add("http-54-41", httpError(-54, 41));
  add("http-54-42", httpError(-54, 42));
  add("http-54-52", httpError(-54, 52));
  add("http-52-1", httpError(-52, 1));
  add("http-52-6", httpError(-52, 6));
  add("http-27-32", httpError(-27, 32));
  add("http-27-34", httpError(-27, 34));
  add("http-21-257", httpError(-21, 257));
  add("http-20-1", httpError(-20, 1));
  add("http-19-10", httpError(-19, 10));
  add("http-18-258", httpError(-18, 258));
  add("http-16-31", httpError(-16, 31));
  add("http-16-51", httpError(-16, 51));
  add("http-14-5", httpError(-14, 5));
  add("http-14-50", httpError(-14, 50));
  add("http-13-45", httpError(-13, 45));
  add("http-13-46", httpError(-13, 46));
  add("http-12-44", httpError(-12, 44));
  add("http-7-43", httpError(-7, 43));
  add("http-2-35", httpError(-2, 35));
  add("http-2-40", httpError(-2, 40));
  add("http-2-56", httpError(-2, 56));
  add("smtp-91-5", smtpError(-91, -5));
  add("smtp-79-26", smtpError(-79, -26));
  add("smtp-79-25", smtpError(-79, -25));
  add("smtp-79-18", smtpError(-79, -18));
  add("smtp-79-17", smtpError(-79, -17));
  add("smtp-79-16", smtpError(-79, -16));
  add("smtp-79-15", smtpError(-79, -15));
  add("smtp-74-10", smtpError(-74, -10));
  add("smtp-74-7", smtpError(-74, -7));
  add("smtp-72-6", smtpError(-72, -6));
  add("smtp-27-3", smtpError(-27, -3));
  add("smtp-19-5", smtpError(-19, -5));
  add("smtp-14-2", smtpError(-14, -2));
  add("smtp-7-4", smtpError(-7, -4));
  add("http-52-259", httpError(-52, 259));
  return rows;
}

inline const std::vector<Row>& allRows() {
  static const std::vector<Row> all = [] {
    std::vector<Row> rows;
    for (const auto& group : {connectionRows(), startAndStopRows(), exchangeRows(),
                              identifierRows(), explainedRows()}) {
      rows.insert(rows.end(), group.begin(), group.end());
    }
    return rows;
  }();
  return all;
}

#endif
