#include "e2e/support/expectedlog.h"

#include "e2e/support/machine.h"

namespace {

std::string inQuotes(const std::string& text) { return "\"" + text + "\""; }

}  // namespace

std::string lines(const std::vector<std::string>& messages) {
  std::string log;
  for (const std::string& message : messages) log += message + "\n";
  return log;
}

std::string framed(const std::string& body, int status, const std::string& argument0) {
  return "### main : " + argument0 + " started.\n" + body +
         "ELAPSED:range='executing tanexics', time='*'\n"
         "### main : " +
         argument0 + " exit. code = " + std::to_string(status) + "\n";
}

std::string rejected(const std::string& message, int status) {
  return framed(message + "\n", status);
}

std::string hostNameLines(bool trace) {
  std::string log;
  if (trace) log += lines({"[T](common:1345):execGetLines():count=1,uname -n 2>/dev/null"});
  log += lines({"VUQ90004L : com=uname -n 2>/dev/null", "VUQ90004L : pid=*,wstat=00000000"});
  return trace ? log + decodedStatus() : log;
}

std::string decodedStatus(int exitStatus) {
  const std::string number = std::to_string(exitStatus);
  return lines({"[T](common:535):   WIFEXITED:1 WEXITSTATUS:" + number,
                "[T](common:536): WIFSIGNALED:0    WTERMSIG:0",
                "[T](common:537):  WIFSTOPPED:0    WSTOPSIG:" + number,
                "[T](common:538):WIFCONTINUED:0   WCOREDUMP:0"});
}

std::string tempDirLines(bool trace, const std::string& parent) {
  std::string log;
  if (trace) log += lines({"[T](CTemp:73):getTemp_sub():prefix=/tmp,templ=swconf"});
  log += lines({"VUQ90004L : pid=*,wstat=00000000",
                "VUQ90004L : com=mkdir -p " + parent + "/swcon*_ 2>/dev/null"});
  if (!trace) return log;
  return log + decodedStatus() +
         lines({"[T](CTemp:156):getTemp_sub():exit=1,type= DIR,FD=-1," + parent + "/swcon*_"});
}

std::string removalLines(const std::string& parent) {
  const std::string directory = parent + "/swcon*_";
  return lines({"[T](CTemp:188):delTempFile:" + directory,
                "[T](common:469):getCanonicalPath():" + directory + "," + directory,
                "[T](common:520):/bin/rm -fr " + directory + " >/dev/null 2>&1"}) +
         decodedStatus();
}

std::string collectionLines(bool trace, const std::string& parent) {
  return tempDirLines(trace, parent) + (trace ? removalLines(parent) : "");
}

std::string parameterLines(const std::string& sendType) {
  return lines({"EventID=17", "HostName=db01", "Label=disk", "MsgID=4001", "MsgType=E",
                "OSName=Debian", "OSType=Linux", "OSVersion=12", "PartitionName=p0",
                "PkgName=kernel", "SendType=" + sendType, "Time=2026/10/05 12:00:00"});
}

std::string measured(const std::string& total, const std::string& path, const std::string& size) {
  return "[T](SendEventBase:486):current_total='" + total + "'  target='" + path + "' size='" +
         size + "'bytes.\n\n";
}

std::string measuredAll(const std::string& total) {
  return "[T](SendEventBase:491):final_total='" + total + "' bytes. \n\n";
}

std::string measuredStandard() {
  return measured("0", "/case/a.txt", "6") + measured("6", "/case/b.syslog.txt", "23") +
         measured("29", "/case/c.txt", "14") + measuredAll("43");
}

std::string startedLine() { return lines({"(CSendInfo::SendInfo) call startCom(RM_MODE_SYNC)=0"}); }

std::string incidentPart(const std::string& number, int part, int total, const std::string& path) {
  return lines({"commonSendEvent Main Loop (" + std::to_string(part) + "/" + std::to_string(total) +
                    ")",
                "RM_Communicate call (param=0x40017 0 0 " + incidentText(number, part, total) +
                    " NULL  NULL)"}) +
         done() + lines({"RM_Communicate call (param=0x4010b ? 1 " + path + " NULL  NULL)"}) +
         done();
}

std::string eventPart(const std::string& notification, const std::string& text, int total,
                      const std::string& firstPath) {
  const std::string count = std::to_string(total);
  return lines({"commonSendEvent Main Loop (1/" + count + ")",
                "RM_Communicate call (param=" + notification + " 0 0 " + text + " NULL  NULL)"}) +
         done() +
         lines(
             {"RM_Communicate call (param=0x4010d ? " + count + " " + firstPath + " NULL  NULL)"}) +
         done();
}

std::string standardParts(const std::string& number) {
  return incidentPart(number, 1, 3, "/case/a.txt") +
         incidentPart(number, 2, 3, "/case/b.syslog.txt") +
         incidentPart(number, 3, 3, "/case/c.txt");
}

std::string standardIncident(bool trace, const std::string& number) {
  return hostNameLines(trace) + (trace ? measuredStandard() : "") + startedLine() +
         standardParts(number) + "commonSendEvent OK\n";
}

std::string standardEvent(bool trace) {
  return (trace ? parameterLines() + measuredStandard() : "") + startedLine() +
         eventPart("0x40204", eventText(), 3, "/case/a.txt") + "commonSendEvent OK\n";
}

std::string done(int code, const std::string& message) {
  return lines(
      {"RM_Communicate done (code='" + std::to_string(code) + "', msg='" + message + "') "});
}

std::string incidentText(const std::string& number, int part, int total) {
  return "INCNO=" + inQuotes(number) + ",HOSTNAME=" + inQuotes(kHostName) +
         ",PART=" + inQuotes(std::to_string(part)) + ",TOTAL=" + inQuotes(std::to_string(total));
}

std::string eventText(const std::string& excerpt) {
  return eventTextWithoutExcerpt() + inQuotes(excerpt);
}

std::string eventTextWithoutExcerpt() {
  return R"("2026/10/05 12:00:00",,"disk","db01","Linux","Debian","12","kernel","E","4001",)";
}
