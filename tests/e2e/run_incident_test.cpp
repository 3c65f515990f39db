// An incident travels from end to end: one notification and one data call a file, and then the two
// collection commands.

#include "e2e/support/cases.h"

namespace {

/// The log in full, as an operator reads it: what the helpers of the other cases are made of.
constexpr char kWholeLog[] =
    "### main : tanexics started.\n"
    "[T](common:1345):execGetLines():count=1,uname -n 2>/dev/null\n"
    "VUQ90004L : com=uname -n 2>/dev/null\n"
    "VUQ90004L : pid=*,wstat=00000000\n"
    "[T](common:535):   WIFEXITED:1 WEXITSTATUS:0\n"
    "[T](common:536): WIFSIGNALED:0    WTERMSIG:0\n"
    "[T](common:537):  WIFSTOPPED:0    WSTOPSIG:0\n"
    "[T](common:538):WIFCONTINUED:0   WCOREDUMP:0\n"
    "[T](SendEventBase:486):current_total='0'  target='/case/a.txt' size='6'bytes.\n\n"
    "[T](SendEventBase:486):current_total='6'  target='/case/b.syslog.txt' size='23'bytes.\n\n"
    "[T](SendEventBase:486):current_total='29'  target='/case/c.txt' size='14'bytes.\n\n"
    "[T](SendEventBase:491):final_total='43' bytes. \n\n"
    "(CSendInfo::SendInfo) call startCom(RM_MODE_SYNC)=0\n"
    "commonSendEvent Main Loop (1/3)\n"
    "RM_Communicate call (param=0x40017 0 0 "
    "INCNO=\"R0017\",HOSTNAME=\"testhost\",PART=\"1\",TOTAL=\"3\" NULL  NULL)\n"
    "RM_Communicate done (code='0', msg='') \n"
    "RM_Communicate call (param=0x4010b ? 1 /case/a.txt NULL  NULL)\n"
    "RM_Communicate done (code='0', msg='') \n"
    "commonSendEvent Main Loop (2/3)\n"
    "RM_Communicate call (param=0x40017 0 0 "
    "INCNO=\"R0017\",HOSTNAME=\"testhost\",PART=\"2\",TOTAL=\"3\" NULL  NULL)\n"
    "RM_Communicate done (code='0', msg='') \n"
    "RM_Communicate call (param=0x4010b ? 1 /case/b.syslog.txt NULL  NULL)\n"
    "RM_Communicate done (code='0', msg='') \n"
    "commonSendEvent Main Loop (3/3)\n"
    "RM_Communicate call (param=0x40017 0 0 "
    "INCNO=\"R0017\",HOSTNAME=\"testhost\",PART=\"3\",TOTAL=\"3\" NULL  NULL)\n"
    "RM_Communicate done (code='0', msg='') \n"
    "RM_Communicate call (param=0x4010b ? 1 /case/c.txt NULL  NULL)\n"
    "RM_Communicate done (code='0', msg='') \n"
    "commonSendEvent OK\n"
    "[T](CTemp:73):getTemp_sub():prefix=/tmp,templ=swconf\n"
    "VUQ90004L : pid=*,wstat=00000000\n"
    "VUQ90004L : com=mkdir -p /tmp/swcon*_ 2>/dev/null\n"
    "[T](common:535):   WIFEXITED:1 WEXITSTATUS:0\n"
    "[T](common:536): WIFSIGNALED:0    WTERMSIG:0\n"
    "[T](common:537):  WIFSTOPPED:0    WSTOPSIG:0\n"
    "[T](common:538):WIFCONTINUED:0   WCOREDUMP:0\n"
    "[T](CTemp:156):getTemp_sub():exit=1,type= DIR,FD=-1,/tmp/swcon*_\n"
    "[T](CTemp:188):delTempFile:/tmp/swcon*_\n"
    "[T](common:469):getCanonicalPath():/tmp/swcon*_,/tmp/swcon*_\n"
    "[T](common:520):/bin/rm -fr /tmp/swcon*_ >/dev/null 2>&1\n"
    "[T](common:535):   WIFEXITED:1 WEXITSTATUS:0\n"
    "[T](common:536): WIFSIGNALED:0    WTERMSIG:0\n"
    "[T](common:537):  WIFSTOPPED:0    WSTOPSIG:0\n"
    "[T](common:538):WIFCONTINUED:0   WCOREDUMP:0\n"
    "ELAPSED:range='executing tanexics', time='*'\n"
    "### main : tanexics exit. code = 0\n";

/// An incident that arrives under this number, with these words after the list.
Case incident(const std::string& name, const std::string& number,
              const std::vector<std::string>& words) {
  Sending sending;
  sending.number = number;
  Case row = {name, {{"/case/list"}}, sending.incident()};
  row.call.arguments.insert(row.call.arguments.end(), words.begin(), words.end());
  return row;
}

std::vector<Case> cases() {
  Case standard = incident("ThreeFilesGiveThreePairs", "R0017", {"-i", "R0017"});
  standard.expected.log.trace = kWholeLog;
  return {
      standard,
      incident("JoinedOptionDropsTwoCharactersOfTheNextArgument", "C123", {"-ifoo", "ABC123"}),
      incident("JoinedOptionWithTwoCharactersGivesAnEmptyNumber", "", {"-i1", "AB"}),
      incident("NumberIsNotValidated", "no number %s", {"-i", "no number %s"}),
      incident("EmptyNumberIsAccepted", "", {"-i", ""}),
      incident("ArgumentsAfterTheValueAreIgnored", "R0017",
               {"-i", "R0017", "-r", "/case/event.def"}),
  };
}

TANEXICS_PLAY(Incident, atBothLevels(cases()));

using IncidentRun = MachineTest;

TEST_F(IncidentRun, CollectionCommandsGetTheSameDirectoryAndItVanishes) {
  machine.run(incidentCall());
  const std::vector<std::string> collected = machine.collected();
  ASSERT_EQ(collected.size(), 2U);
  const std::string directory = collected[0].substr(10, 17);
  EXPECT_EQ(directory.substr(0, 10), "/tmp/swcon");
  EXPECT_EQ(directory.back(), '_');
  EXPECT_EQ(collected[0], "tanexcc 1 " + directory + " directory 755 0022");
  EXPECT_EQ(collected[1], "tanexcs 1 " + directory + " directory 755 0022");
  EXPECT_TRUE(machine.names("/tmp").empty());
}

TEST_F(IncidentRun, CollectionStartsOnlyAfterCommunicationHasStopped) {
  machine.setCollection("grep -c KEL_StopComm /case/outbox/exchanges.jsonl\n");
  EXPECT_EQ(machine.run(incidentCall()).child.out, "2\n2\n");
}

TEST_F(IncidentRun, FilesArriveByteForByte) {
  machine.run(incidentCall());
  for (const Item& item : standardItems()) {
    EXPECT_EQ(machine.read("/case/outbox/" + item.fate.substr(1)), machine.read(item.path));
  }
}

TEST_F(IncidentRun, LongNumberIsCutAtTheBoundOfTheText) {
  machine.write("/case/list", "/case/a.txt\n");
  const std::string number(3000, '7');
  // A text of 2,046 characters, and a log line of 2,046 characters and a zero byte.
  const std::string text = incidentText(number, 1, 1).substr(0, 2046);
  const std::string line = "RM_Communicate call (param=0x40017 0 0 " + text;
  expectRun(machine.run({{"/case/list", "-i", number}}),
            {framed(hostNameLines() + startedLine() + "commonSendEvent Main Loop (1/1)\n" +
                        line.substr(0, 2046) + std::string(1, '\0') + "\n" + done() +
                        "RM_Communicate call (param=0x4010b ? 1 /case/a.txt NULL  NULL)\n" +
                        done() + "commonSendEvent OK\n" + collectionLines(),
                    0),
             asked() + startComm() + notify("0x40017", text) +
                 sendItems("0x4010b", {standardItems()[0]}) + stopped()});
}

}  // namespace
