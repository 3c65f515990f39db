#include "e2e/support/expected.h"

#include <cstdint>
#include <cstdio>
#include <nlohmann/json.hpp>

#include "e2e/support/machine.h"
#include "support/logtexts.h"

namespace {

using Json = nlohmann::json;

std::string inQuotes(const std::string& text) { return "\"" + text + "\""; }

std::string incidentText(const std::string& number, std::size_t part, std::size_t total) {
  return "INCNO=" + inQuotes(number) + ",HOSTNAME=" + inQuotes(kHostName) +
         ",PART=" + inQuotes(std::to_string(part)) + ",TOTAL=" + inQuotes(std::to_string(total));
}

/// The call of an exchange is over, and the log tells of the agent's error.
std::string done(const Answer& answer) {
  const std::string result = std::to_string(answer.result);
  const std::string agent = answer.type == 1 ? "SMTP" : answer.type == 2 ? "HTTP" : "";
  const std::string message = "(" + agent + ") RL:" + result +
                              ",ZW-Agent:" + std::to_string(answer.agentCode) + ",Mailsvr:\"\"";
  return "RM_Communicate done (code='" + result + "', msg='" + (answer.type == 0 ? "" : message) +
         "') \n";
}

/// One pass of the loop, `part` of `total`: a notification, and the data of `count` files.
std::string passLines(std::size_t part, std::size_t total, const std::string& notificationCode,
                      const std::string& text, const std::string& dataCode, std::size_t count,
                      const std::string& firstPath, const Pair& answers = {}) {
  return "commonSendEvent Main Loop (" + std::to_string(part) + "/" + std::to_string(total) +
         ")\nRM_Communicate call (param=" + notificationCode + " 0 0 " + text + " NULL  NULL)\n" +
         done(answers.notification) + "RM_Communicate call (param=" + dataCode + " ? " +
         std::to_string(count) + " " + firstPath + " NULL  NULL)\n" + done(answers.data);
}

/// The host name is asked for.
LogText hostNameLines() {
  return traced({"[T](common:1345):execGetLines():count=1,uname -n 2>/dev/null"}) +
         lines({"VUQ90004L : com=uname -n 2>/dev/null", "VUQ90004L : pid=*,wstat=00000000"}) +
         traced(tracedExit(0));
}

/// The two collection commands run on a temporary directory.
LogText collectionLines() {
  return traced({"[T](CTemp:73):getTemp_sub():prefix=/tmp,templ=swconf"}) +
         lines({"VUQ90004L : pid=*,wstat=00000000",
                "VUQ90004L : com=mkdir -p /tmp/swcon*_ 2>/dev/null"}) +
         traced(tracedExit(0)) +
         traced({"[T](CTemp:156):getTemp_sub():exit=1,type= DIR,FD=-1,/tmp/swcon*_",
                 "[T](CTemp:188):delTempFile:/tmp/swcon*_",
                 "[T](common:469):getCanonicalPath():/tmp/swcon*_,/tmp/swcon*_",
                 "[T](common:520):/bin/rm -fr /tmp/swcon*_ >/dev/null 2>&1"}) +
         traced(tracedExit(0));
}

std::string line(const Json& call) { return call.dump() + "\n"; }

Json exchange(const std::string& code, std::size_t count, const Answer& answer) {
  return {{"call", "KEL_Communicate"},
          {"code", code},
          {"reserved", 0},
          {"count", count},
          {"error", {answer.type, answer.agentCode, 0}},
          {"result", answer.result}};
}

/// A text that is no UTF-8 as the record has it.
std::string escaped(const std::string& text) {
  std::string record;
  for (const char byte : text) {
    char code[8];
    std::snprintf(code, sizeof code, "\\x%02x", static_cast<unsigned char>(byte));
    record += static_cast<unsigned char>(byte) < 0x80 ? std::string(1, byte) : code;
  }
  return record;
}

Json itemOf(const Item& item) {
  const bool isCopied = item.fate.front() == '=';
  if (isCopied) return {{"path", item.path}, {"copy", item.fate.substr(1)}};
  return {{"path", item.path}, {"error", item.fate}};
}

std::vector<Item> itemsOf(const std::vector<File>& files) {
  std::vector<Item> items;
  int copies = 0;
  for (const File& file : files) {
    char number[16];
    std::snprintf(number, sizeof number, "%04d", copies + 1);
    const std::string name = file.path.substr(file.path.rfind('/') + 1);
    if (file.error.empty()) ++copies;
    items.push_back({escaped(file.path), file.error.empty()
                                             ? std::string("=items/") + number + "-" + name
                                             : file.error});
  }
  return items;
}

}  // namespace

// --- the action log ------------------------------------------------------------------------------

LogText& LogText::operator+=(const LogText& more) {
  info += more.info;
  trace += more.trace;
  return *this;
}

LogText operator+(LogText left, const LogText& right) { return left += right; }

std::string lines(const std::vector<std::string>& messages) {
  std::string log;
  for (const std::string& message : messages) log += message + "\n";
  return log;
}

LogText traced(const std::vector<std::string>& messages) { return {"", lines(messages)}; }

LogText framed(const LogText& body, int status, const std::string& argument0) {
  return "### main : " + argument0 + " started.\n" + body +
         "ELAPSED:range='executing tanexics', time='*'\n### main : " + argument0 +
         " exit. code = " + std::to_string(status) + "\n";
}

std::string terminated([[maybe_unused]] const std::string& thrown) {
#ifdef _LIBCPP_VERSION
  return "libc++abi: terminating ";
#else
  return "terminate called after throwing an instance of '" + thrown;
#endif
}

LogText parameterLines(const std::string& sendType) {
  return traced({"EventID=17", "HostName=db01", "Label=disk", "MsgID=4001", "MsgType=E",
                 "OSName=Debian", "OSType=Linux", "OSVersion=12", "PartitionName=p0",
                 "PkgName=kernel", "SendType=" + sendType, "Time=2026/10/05 12:00:00"});
}

LogText measured(const std::string& total, const std::string& path, const std::string& size) {
  return traced({"[T](SendEventBase:486):current_total='" + total + "'  target='" + path +
                     "' size='" + size + "'bytes.",
                 ""});
}

LogText measuredAll(const std::string& total) {
  return traced({"[T](SendEventBase:491):final_total='" + total + "' bytes. ", ""});
}

std::string startedLine() { return lines({"(CSendInfo::SendInfo) call startCom(RM_MODE_SYNC)=0"}); }

std::string eventPart(const std::string& notification, const std::string& text, int total,
                      const std::string& firstPath) {
  const auto count = static_cast<std::size_t>(total);
  return passLines(1, count, notification, text, "0x4010d", count, firstPath);
}

std::string eventText(const std::string& excerpt) {
  const std::string fields =
      R"("2026/10/05 12:00:00",,"disk","db01","Linux","Debian","12","kernel","E","4001",)";
  return excerpt.empty() ? fields : fields + inQuotes(excerpt);
}

// --- the calls of the closed library -------------------------------------------------------------

std::string getId(int id) { return line({{"call", "KEL_GetID"}, {"id", id}, {"result", 0}}); }

std::string getStatus(int word, int result) {
  return line({{"call", "KEL_GetStatus"}, {"reserved", 0}, {"status", word}, {"result", result}});
}

std::string startComm(int result) {
  return line({{"call", "KEL_StartComm"}, {"mode", 0}, {"value", 0}, {"result", result}});
}

std::string stopComm(int result) { return line({{"call", "KEL_StopComm"}, {"result", result}}); }

std::string notify(const std::string& code, const std::string& text, const Answer& answer) {
  Json call = exchange(code, 0, answer);
  call["text"] = text;
  return line(call);
}

std::string sendItems(const std::string& code, const std::vector<Item>& items,
                      const Answer& answer) {
  Json call = exchange(code, items.size(), answer);
  for (const Item& item : items) call["items"].push_back(itemOf(item));
  return line(call);
}

std::string asked(int word) { return getId() + getId() + getStatus(word) + getStatus(word); }

std::string stopped() { return stopComm() + stopComm(); }

std::vector<Item> standardItems() { return itemsOf(standardFiles()); }

// --- whole runs ----------------------------------------------------------------------------------

Expected rejected(const std::string& message, int status) {
  return {framed(message + "\n", status), "", status};
}

std::string complaints(const std::string& path, const std::string& reason, const LogText& log) {
  std::string text;
  for (const char byte : log.info) {
    if (byte == '\n') text += "*** failed to open(" + path + "):" + reason + "\n";
  }
  return text;
}

std::vector<File> standardFiles() {
  return {{"/case/a.txt", 6}, {"/case/b.syslog.txt", 23}, {"/case/c.txt", 14}};
}

LogText Sending::measures() const {
  LogText log = "";
  std::uint32_t total = 0;  // which wraps
  for (const File& file : files) {
    const std::string error = "get file size error(" + file.path + "," + file.error + ")\n";
    if (file.size < 0) log += error;
    log += measured(std::to_string(total), file.path, std::to_string(file.size));
    total += static_cast<std::uint32_t>(file.size);
  }
  return log + measuredAll(std::to_string(total));
}

Expected Sending::incident() const {
  const std::vector<Item> items = itemsOf(files);
  std::string log;
  std::string calls;
  for (std::size_t at = 0; at < files.size(); ++at) {
    const std::string notice = incidentText(number, at + 1, files.size());
    const Pair answer = answersTo(at);
    log += passLines(at + 1, files.size(), "0x40017", notice, "0x4010b", 1, files[at].path, answer);
    calls += notify("0x40017", escaped(notice), answer.notification) +
             sendItems("0x4010b", {items[at]}, answer.data);
  }
  return run(hostNameLines(), log, calls, collectionLines());
}

Expected Sending::event() const {
  const std::size_t total = files.size();
  const Pair answer = answersTo(0);
  return run(parameters,
             passLines(1, total, code, text, "0x4010d", total, files.front().path, answer),
             notify(code, escaped(text), answer.notification) +
                 sendItems("0x4010d", itemsOf(files), answer.data),
             "");
}

Expected Sending::run(const LogText& head, const std::string& log, const std::string& calls,
                      const LogText& after) const {
  const LogText before = head + measures();
  if (!refusal.empty()) return {framed(before + refusal + after, 1, argument0), queries, 1};
  return {framed(before + startedLine() + log + "commonSendEvent OK\n" + after, 0, argument0),
          queries + startComm() + calls + stops};
}
