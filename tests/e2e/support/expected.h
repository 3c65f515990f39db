#ifndef TANEXICS_TESTS_E2E_SUPPORT_EXPECTED_H
#define TANEXICS_TESTS_E2E_SUPPORT_EXPECTED_H

#include <string>
#include <vector>

// --- the action log ------------------------------------------------------------------------------

/// A stretch of an action log as `RunResult::log` has it, at information and at trace level.
struct LogText {
  LogText(const std::string& always) : info(always), trace(always) {}
  LogText(const char* always) : LogText(std::string(always)) {}
  LogText(const std::string& atInfo, const std::string& atTrace) : info(atInfo), trace(atTrace) {}

  LogText& operator+=(const LogText& more);

  std::string info;
  std::string trace;
};

LogText operator+(LogText left, const LogText& right);

/// The messages, a line feed after each.
std::string lines(const std::vector<std::string>& messages);

/// The same, where they show at trace level alone.
LogText traced(const std::vector<std::string>& messages);

/// The whole log of a run: `body` between the start line and the two lines at the end.
LogText framed(const LogText& body, int status, const std::string& argument0 = "tanexics");

/// What standard error begins with where the C++ runtime ends a process whose exception nobody
/// catches, in the words of that runtime; `thrown`: how what it says of the exception goes on,
/// where all versions of it say the same.
std::string terminated(const std::string& thrown = "");

/// The parameters of the event definition that a `Machine` comes with.
LogText parameterLines(const std::string& sendType = "err");

/// One file is measured.
LogText measured(const std::string& total, const std::string& path, const std::string& size);

/// All files are measured.
LogText measuredAll(const std::string& total);

/// Communication is started.
std::string startedLine();

/// The one pair of exchanges of an event.
std::string eventPart(const std::string& notification, const std::string& text, int total,
                      const std::string& firstPath);

/// The notification text of the event that a `Machine` comes with, "" for no excerpt.
std::string eventText(const std::string& excerpt = "Jan  1 host msg");

// --- the calls of the closed library as `RunResult::exchanges` has them, one line each -----------

/// What the centre answers to an exchange.
struct Answer {
  int result = 0;
  int type = 0;
  int agentCode = 0;
};

/// What it answers to a notification and its data.
struct Pair {
  Answer notification = {};
  Answer data = {};
};

/// One file of an exchange: its name, and what became of it, that is "=items/0001-a.txt" for a copy
/// or the reason why there is none.
struct Item {
  std::string path;
  std::string fate;
};

std::string getId(int id = 4711);
std::string getStatus(int word = 0x20, int result = 0);
std::string startComm(int result = 0);
std::string stopComm(int result = 0);
std::string notify(const std::string& code, const std::string& text, const Answer& answer = {});
std::string sendItems(const std::string& code, const std::vector<Item>& items,
                      const Answer& answer = {});

/// What every run asks first: the identifier twice, and the status twice.
std::string asked(int word = 0x20);

/// The end of every communication that was started: it is stopped twice.
std::string stopped();

/// The three files that a `Machine` comes with, copied under numbers from 1 on.
std::vector<Item> standardItems();

// --- whole runs ----------------------------------------------------------------------------------

/// All that a run may leave.
struct Expected {
  LogText log;
  std::string exchanges = "";
  int status = 0;
  std::string out = "";
  std::string err = "";
};

/// A run that ends with one message of its own.
Expected rejected(const std::string& message, int status = 68);

/// What stands on standard error for a log that cannot be written at `path`: a line for each line.
std::string complaints(const std::string& path, const std::string& reason, const LogText& log);

/// A listed file: its size as it is measured (-1 when it cannot be), and why it is not sent, ""
/// when it is.
struct File {
  std::string path;
  long long size;
  std::string error = "";
};

/// The three files that a `Machine` comes with.
std::vector<File> standardFiles();

/// A run that gets as far as the measuring of its files, with what may be different in it.
struct Sending {
  std::vector<File> files = standardFiles();
  std::string queries = asked();   // the calls before the start of communication
  std::string refusal = "";        // logged in place of all communication, with status 1
  std::vector<Pair> answers = {};  // for each file; the first is that to an event
  std::string stops = stopped();
  std::string argument0 = "tanexics";

  std::string number = "1";  // of an incident

  // of an event
  std::string code = "0x40204";
  std::string text = eventText();
  LogText parameters = parameterLines();

  /// What the files' measuring logs, at trace level most of it.
  LogText measures() const;

  Expected incident() const;
  Expected event() const;

 private:
  Pair answersTo(std::size_t file) const { return answers.empty() ? Pair() : answers.at(file); }

  /// The run with these exchanges, their log and their calls, and with what is logged around it.
  Expected run(const LogText& head, const std::string& log, const std::string& calls,
               const LogText& after) const;
};

#endif
