// An incident and an event travel from end to end: one notification and one data call for each file
// of an incident, one of each for all files of an event.

#include "e2e/support/cases.h"

namespace {

std::string replaced(std::string text, const std::string& from, const std::string& to) {
  return text.replace(text.find(from), from.size(), to);
}

// --- an incident ---------------------------------------------------------------------------------

/// An incident that arrives under this number, with these words after the list.
Case incident(const std::string& name, const std::string& number,
              const std::vector<std::string>& words) {
  Sending sending;
  sending.number = number;
  Case row = {name, {{"/case/list"}}, sending.incident()};
  row.call.arguments.insert(row.call.arguments.end(), words.begin(), words.end());
  return row;
}

std::vector<Case> incidents() {
  return {
      incident("ThreeFilesGiveThreePairs", "R0017", {"-i", "R0017"}),
      incident("JoinedOptionDropsTwoCharactersOfTheNextArgument", "C123", {"-ifoo", "ABC123"}),
      incident("NumberIsNotValidated", "no number %s", {"-i", "no number %s"}),
      incident("EmptyNumberAndArgumentsThatAreIgnored", "", {"-i", "", "-r", "/case/event.def"}),
  };
}

TANEXICS_PLAY(Incident, atBothLevels(incidents()));

using IncidentRun = MachineTest;

TEST_F(IncidentRun, CollectionCommands_GetTheSameDirectoryAndItVanishes) {
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

TEST_F(IncidentRun, Collection_StartsOnlyAfterCommunicationHasStopped) {
  machine.setCollection("grep -c KEL_StopComm /case/outbox/exchanges.jsonl\n");
  EXPECT_EQ(machine.run(incidentCall()).child.out, "2\n2\n");
}

TEST_F(IncidentRun, LongNumber_IsCutAtTheBoundOfTheText) {
  machine.write("/case/list", "/case/a.txt\n");
  const std::string number(3000, '7');
  // A text of 2,046 characters, and a log line of 2,046 characters and a zero byte.
  const std::string text = incidentText(number, 1, 1).substr(0, 2046);
  const std::string call = "RM_Communicate call (param=0x40017 0 0 " + text;
  const RunResult result = machine.run({{"/case/list", "-i", number}});
  EXPECT_NE(result.log.find("\n" + call.substr(0, 2046) + '\0' + "\n"), std::string::npos);
  EXPECT_EQ(result.exchanges, asked() + startComm() + notify("0x40017", text) +
                                  sendItems("0x4010b", {standardItems()[0]}) + stopped());
}

// --- an event ------------------------------------------------------------------------------------

/// The definition that every machine has with one line exchanged, and the text that is sent.
Case exchanged(const std::string& name, const std::string& line, const std::string& newLine,
               const std::string& text, const std::string& code = "0x40204") {
  Sending sending;
  sending.code = code;
  sending.text = text;
  sending.parameters.trace = replaced(sending.parameters.trace, line, newLine);
  return {name, eventCall(), sending.event(),
          written("/case/event.def", replaced(kEventDefinition, line, newLine))};
}

std::vector<Case> definitions() {
  const std::string label = "Label=disk\n";
  const std::string bytes = "\xb9\xbe\xbe\xe3\x8f\xff";
  const std::string text = eventText();
  std::string odd = "Label=first\n#no equals\r\n";
  for (const std::string& line : linesOf(kEventDefinition)) odd += line + "\r\n\n#Time=x\n";
  return {
      {"Plain", eventCall(), Sending().event()},
      {"CommentsEmptyLinesAndARepeatedKey", eventCall(), Sending().event(),
       written("/case/event.def", odd)},
      exchanged("AnotherSendType", "SendType=err\n", "SendType=err \n", text, "0x40205"),
      // The map has no such entry yet when it is traced.
      exchanged("AbsentMsgId", "MsgID=4001\n", "", replaced(text, "\"4001\"", "")),
      exchanged("Quotes", label, "Label=a\"b\n", replaced(text, "disk", "a\"\"b")),
      exchanged("PercentSigns", label, "Label=%s%n%d\n", replaced(text, "disk", "%s%n%d")),
      exchanged("BytesAbove0x7f", label, "Label=" + bytes + "\n", replaced(text, "disk", bytes)),
  };
}

std::vector<Case> definitionNames() {
  return {
      {"Joined", {{"/case/list", "-r/case/event.def"}}, Sending().event()},
      {"JoinedAndRelativeBeforeAnArgumentThatIsIgnored",
       {{"list", "-revent.def", "/no/such/file"}},
       Sending().event()},
  };
}

/// A log extract, and the notification text that it leads to.
Case excerpt(const std::string& name, const std::string& bytes, const std::string& text) {
  Sending sending;
  sending.text = text;
  sending.files[1].size = static_cast<long long>(bytes.size());
  return {name, eventCall(), sending.event(), written("/case/b.syslog.txt", bytes)};
}

std::vector<Case> excerpts() {
  return {
      excerpt("FirstLineThatIsNoComment", "# a\n#b\nFeb \"2\"\r\nlater\n",
              eventText("Feb \"\"2\"\"")),
      excerpt("OnlyComments", "# a\n# b\n", eventText("")),
      excerpt("ZeroByte", std::string("Feb\0 2\n", 7), eventText("Feb")),
  };
}

TANEXICS_PLAY(EventDefinition, atBothLevels(definitions()));
TANEXICS_PLAY(EventDefinitionName, definitionNames());
TANEXICS_PLAY(EventExcerpt, excerpts());

using EventRun = MachineTest;

TEST_F(EventRun, UnreadableExtract_GivesAnEmptyExcerptAndALine) {
  machine.remove("/case/b.syslog.txt");
  Sending sending;
  sending.text = eventText("");
  sending.files[1] = {"/case/b.syslog.txt", -1, "No such file or directory"};
  sending.excerptError =
      "syslogfile open error.FILE=/case/b.syslog.txt(CSendEventBase::getSyslogLine)\n";
  expectRun(machine.run(eventCall()), sending.event());
}

TEST_F(EventRun, LongValue_IsCutClosedAndLogged) {
  machine.write("/case/event.def", replaced(kEventDefinition, "disk", std::string(1000, 'x')));
  const std::string head = R"("2026/10/05 12:00:00",,")";
  Sending sending;
  sending.text = head + std::string(896 - head.size() - 1, 'x') + "\"";
  sending.excerptError = "string convert error (CSendEventBase::convStr)\n";
  expectRun(machine.run(eventCall()), sending.event());
}

}  // namespace
