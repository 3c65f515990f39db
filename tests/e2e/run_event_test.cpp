// An event travels from end to end: one notification, built from the definition and the log
// extract, and one data call for all files.

#include "e2e/support/cases.h"

namespace {

/// The log in full, as an operator reads it: what the helpers of the other cases are made of.
constexpr char kWholeLog[] =
    "### main : tanexics started.\n"
    "EventID=17\n"
    "HostName=db01\n"
    "Label=disk\n"
    "MsgID=4001\n"
    "MsgType=E\n"
    "OSName=Debian\n"
    "OSType=Linux\n"
    "OSVersion=12\n"
    "PartitionName=p0\n"
    "PkgName=kernel\n"
    "SendType=err\n"
    "Time=2026/10/05 12:00:00\n"
    "[T](SendEventBase:486):current_total='0'  target='/case/a.txt' size='6'bytes.\n\n"
    "[T](SendEventBase:486):current_total='6'  target='/case/b.syslog.txt' size='23'bytes.\n\n"
    "[T](SendEventBase:486):current_total='29'  target='/case/c.txt' size='14'bytes.\n\n"
    "[T](SendEventBase:491):final_total='43' bytes. \n\n"
    "(CSendInfo::SendInfo) call startCom(RM_MODE_SYNC)=0\n"
    "commonSendEvent Main Loop (1/3)\n"
    "RM_Communicate call (param=0x40204 0 0 \"2026/10/05 12:00:00\",,\"disk\",\"db01\",\"Linux\","
    "\"Debian\",\"12\",\"kernel\",\"E\",\"4001\",\"Jan  1 host msg\" NULL  NULL)\n"
    "RM_Communicate done (code='0', msg='') \n"
    "RM_Communicate call (param=0x4010d ? 3 /case/a.txt NULL  NULL)\n"
    "RM_Communicate done (code='0', msg='') \n"
    "commonSendEvent OK\n"
    "ELAPSED:range='executing tanexics', time='*'\n"
    "### main : tanexics exit. code = 0\n";

std::vector<Case> sendTypes() {
  Case err = {"Err", eventCall(), Sending().event()};
  err.expected.log.trace = kWholeLog;
  std::vector<Case> rows = {err};
  for (const auto& [name, type] : std::map<std::string, std::string>{{"Other", "info"},
                                                                     {"UpperCase", "ERR"},
                                                                     {"Longer", "error"},
                                                                     {"ErrAndBlank", "err "},
                                                                     {"BlankAndErr", " err"}}) {
    Sending sending;
    sending.code = "0x40205";
    sending.parameters = parameterLines(type);
    std::string definition = kEventDefinition;
    definition.replace(definition.find("SendType=err"), 12, "SendType=" + type);
    rows.push_back({name, eventCall(), sending.event(),
                    [=](const Machine& machine) { machine.write("/case/event.def", definition); }});
  }
  return rows;
}

/// The log extract that leads to this notification text.
Case excerpt(const std::string& name, const std::string& text, const std::string& bytes) {
  Sending sending;
  sending.text = text;
  sending.files[1].size = static_cast<long long>(bytes.size());
  return {name, eventCall(), sending.event(),
          [=](const Machine& machine) { machine.write("/case/b.syslog.txt", bytes); }};
}

std::vector<Case> excerpts() {
  const std::string empty = eventTextWithoutExcerpt();
  return {
      excerpt("FirstLineThatIsNoComment", eventText("Feb 2 x"), "# a\n#b\nFeb 2 x\nlater\n"),
      excerpt("CarriageReturnIsDropped", eventText("Feb 2 x"), "Feb 2 x\r\n"),
      excerpt("LastLineWithoutLineEnd", eventText("Feb 2 x"), "#\nFeb 2 x"),
      excerpt("EmptyFirstLineIsTheExcerpt", empty, "\nFeb 2 x\n"),
      excerpt("OnlyCommentsGiveAnEmptyExcerpt", empty, "# a\n# b\n"),
      excerpt("EmptyFileGivesAnEmptyExcerpt", empty, ""),
      excerpt("QuotesAreDoubled", eventText("say \"\"hi\"\""), "say \"hi\"\n"),
      excerpt("ZeroByteEndsTheExcerpt", eventText("Feb"), std::string("Feb\0 2\n", 7)),
      // The first 1,022 characters of a line are a piece: the rest of a comment is none.
      excerpt("RestOfALongCommentIsTheExcerpt", eventText("rest"),
              "#" + std::string(1021, 'c') + "rest\nnext\n"),
  };
}

/// The files of a list, of which one is the extract or none, and the excerpt.
Case listed(const std::string& name, const std::string& text, const std::vector<File>& files) {
  Sending sending;
  sending.text = eventText(text);
  sending.files = files;
  return {name, eventCall(), sending.event(), [=](const Machine& machine) {
            machine.write("/case/x.apllog.txt.gz", "from the application log\n");
            machine.write("/case/old.syslog.txt/x", "from a folder\n");
            std::string list;
            for (const File& file : files) list += file.path + "\n";
            machine.write("/case/list", list);
          }};
}

std::vector<Case> lists() {
  const std::vector<File> standard = standardFiles();
  return {
      listed("WithoutAnExtractItIsSoftwareLog", "Software Log", {standard[0], standard[2]}),
      listed("NameWithASubstringAndTheFirstCounts", "from the application log",
             {{"/case/x.apllog.txt.gz", 25}, standard[1]}),
      listed("FolderOfThatName", "from a folder", {{"/case/old.syslog.txt/x", 14}}),
  };
}

TANEXICS_PLAY(SendType, atBothLevels(sendTypes()));
TANEXICS_PLAY(EventExcerpt, excerpts());
TANEXICS_PLAY(EventExtract, lists());

using EventRun = MachineTest;

TEST_F(EventRun, MakesNoTemporaryDirectoryAndRunsNoCollectionCommand) {
  for (const std::string script : {"", "status 0x20000\n", "start 5\n"}) {
    machine.clear();
    const RunResult result = machine.run(eventCall().answered(script).traced());
    EXPECT_EQ(result.log.find("CTemp"), std::string::npos);
    EXPECT_FALSE(machine.exists("/case/collected"));
    EXPECT_TRUE(machine.names("/tmp").empty());
  }
}

TEST_F(EventRun, UnreadableExtractGivesAnEmptyExcerptAndALine) {
  machine.remove("/case/b.syslog.txt");
  Sending sending;
  sending.text = eventTextWithoutExcerpt();
  sending.files[1] = {"/case/b.syslog.txt", -1, "No such file or directory"};
  sending.excerptError =
      "syslogfile open error.FILE=/case/b.syslog.txt(CSendEventBase::getSyslogLine)\n";
  expectRun(machine.run(eventCall()), sending.event());
}

}  // namespace
