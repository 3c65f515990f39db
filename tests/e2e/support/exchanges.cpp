#include "e2e/support/exchanges.h"

#include <nlohmann/json.hpp>

#include "e2e/support/expectedlog.h"

namespace {

using Json = nlohmann::json;

std::string line(const Json& call) { return call.dump() + "\n"; }

Json exchange(const std::string& code, std::size_t count, const Answer& answer) {
  return {{"call", "KEL_Communicate"},
          {"code", code},
          {"reserved", 0},
          {"count", count},
          {"error", {answer.type, answer.agentCode, 0}},
          {"result", answer.result}};
}

Json itemOf(const Item& item) {
  const bool isCopied = item.fate.front() == '=';
  if (isCopied) return {{"path", item.path}, {"copy", item.fate.substr(1)}};
  return {{"path", item.path}, {"error", item.fate}};
}

}  // namespace

std::string getId(int id) { return line({{"call", "KEL_GetID"}, {"id", id}, {"result", 0}}); }

std::string getStatus(int word, int result) {
  return line({{"call", "KEL_GetStatus"}, {"reserved", 0}, {"status", word}, {"result", result}});
}

std::string startComm(int result) {
  return line({{"call", "KEL_StartComm"}, {"mode", 0}, {"value", 0}, {"result", result}});
}

std::string stopComm(int result) { return line({{"call", "KEL_StopComm"}, {"result", result}}); }

std::string notify(const std::string& code, const std::string& text, Answer answer) {
  Json call = exchange(code, 0, answer);
  call["text"] = text;
  return line(call);
}

std::string sendItems(const std::string& code, const std::vector<Item>& items, Answer answer) {
  Json call = exchange(code, items.size(), answer);
  for (const Item& item : items) call["items"].push_back(itemOf(item));
  return line(call);
}

std::string asked(int word) { return getId() + getId() + getStatus(word) + getStatus(word); }

std::string stopped() { return stopComm() + stopComm(); }

std::vector<Item> standardItems() {
  return {{"/case/a.txt", "=items/0001-a.txt"},
          {"/case/b.syslog.txt", "=items/0002-b.syslog.txt"},
          {"/case/c.txt", "=items/0003-c.txt"}};
}

std::string standardIncidentCalls(const std::string& number) {
  std::string calls = asked() + startComm();
  int part = 0;
  for (const Item& item : standardItems()) {
    calls += notify("0x40017", incidentText(number, ++part, 3)) + sendItems("0x4010b", {item});
  }
  return calls + stopped();
}

std::string standardEventCalls() {
  return asked() + startComm() + notify("0x40204", eventText()) +
         sendItems("0x4010d", standardItems()) + stopped();
}
