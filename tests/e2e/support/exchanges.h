#ifndef TANEXICS_TESTS_E2E_SUPPORT_EXCHANGES_H
#define TANEXICS_TESTS_E2E_SUPPORT_EXCHANGES_H

#include <string>
#include <vector>

// The calls of the closed library as `RunResult::exchanges` has them, one line each.

/// What the centre answers to an exchange.
struct Answer {
  int result = 0;
  int type = 0;
  int agentCode = 0;
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
std::string notify(const std::string& code, const std::string& text, Answer answer = {});
std::string sendItems(const std::string& code, const std::vector<Item>& items, Answer answer = {});

/// What every run asks first: the identifier twice, and the status twice.
std::string asked(int word = 0x20);

/// The end of every communication that was started: it is stopped twice.
std::string stopped();

/// The three files that a `Machine` comes with, copied under numbers from 1 on.
std::vector<Item> standardItems();

/// All calls of an incident with these files.
std::string standardIncidentCalls(const std::string& number = "1");

/// All calls of the event that a `Machine` comes with.
std::string standardEventCalls();

#endif
