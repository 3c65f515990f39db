// An event travels from end to end: one notification, built from the definition and the log
// extract, and one data call for all files.

#include "e2e/support/cases.h"

namespace {

const Call kEvent = {{"/case/list", "-r", "/case/event.def"}};

/// The definition that every machine has, with one line exchanged; "" takes the line away.
std::function<void(const Machine&)> withLine(const std::string& key, const std::string& line) {
  return [=](const Machine& machine) {
    std::string definition;
    for (const std::string& old : linesOf(machine.read("/case/event.def"))) {
      const bool isMeant = old.rfind(key + "=", 0) == 0;
      if (!isMeant) definition += old + "\n";
      if (isMeant && !line.empty()) definition += line + "\n";
    }
    machine.write("/case/event.def", definition);
  };
}

std::string logOf(const std::string& code, const std::string& text,
                  const std::string& traced = "") {
  return framed(
      traced + startedLine() + eventPart(code, text, 3, "/case/a.txt") + "commonSendEvent OK\n", 0);
}

std::string exchangesOf(const std::string& code, const std::string& text) {
  return asked() + startComm() + notify(code, text) + sendItems("0x4010d", standardItems()) +
         stopped();
}

/// An error event with this notification text, the parameters traced as given.
Expected errorEvent(const std::string& text, const std::string& parameters = "") {
  const std::string trace = parameters.empty() ? "" : parameters + measuredStandard();
  return {logOf("0x40204", text, trace), exchangesOf("0x40204", text)};
}

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
  const Case err = {
      "Err", kEvent, {logOf("0x40204", eventText()), exchangesOf("0x40204", eventText())}};
  std::vector<Case> rows = {err, traced(err, kWholeLog)};
  for (const std::string type : {"info", "ERR", "error", "err ", " err"}) {
    std::string name = type == "err " ? "ErrAndBlank" : type == " err" ? "BlankAndErr" : type;
    const Case other = {"Other_" + name,
                        kEvent,
                        {logOf("0x40205", eventText()), exchangesOf("0x40205", eventText())},
                        withLine("SendType", "SendType=" + type)};
    rows.push_back(other);
    rows.push_back(
        traced(other, logOf("0x40205", eventText(), parameterLines(type) + measuredStandard())));
  }
  return rows;
}

std::vector<Case> commandLines() {
  const Expected expected = {framed(standardEvent(), 0), standardEventCalls()};
  return {
      {"JoinedOptionNamesTheFile", {{"/case/list", "-r/case/event.def"}}, expected},
      {"JoinedOptionWithARelativeName", {{"list", "-revent.def"}}, expected},
      {"ArgumentsBehindTheFileAreIgnored",
       {{"/case/list", "-r", "/case/event.def", "extra"}},
       expected},
      {"ArgumentBehindTheJoinedOptionIsIgnored",
       {{"/case/list", "-r/case/event.def", "/no/such/file"}},
       expected},
  };
}

std::string replaced(std::string text, const std::string& from, const std::string& to) {
  return text.replace(text.find(from), from.size(), to);
}

std::vector<Case> values() {
  const std::string plain = eventText();
  const std::string parameters = parameterLines();
  const auto row = [](const std::string& name, const std::string& key, const std::string& line,
                      const std::string& text, const std::string& traces) {
    return Case{name,
                {{"/case/list", "-r", "/case/event.def"}, "", true},
                errorEvent(text, traces),
                withLine(key, line)};
  };
  return {
      row("ValueKeepsFurtherEqualsSigns", "HostName", "HostName=a=b",
          replaced(plain, "\"db01\"", "\"a=b\""),
          replaced(parameters, "HostName=db01", "HostName=a=b")),
      row("ValueKeepsItsBlanks", "HostName", "HostName=  x ",
          replaced(plain, "\"db01\"", "\"  x \""),
          replaced(parameters, "HostName=db01", "HostName=  x ")),
      row("EmptyMsgIdIsAcceptedAndSentEmpty", "MsgID", "MsgID=", replaced(plain, "\"4001\"", ""),
          replaced(parameters, "MsgID=4001", "MsgID=")),
      // The map has no such entry yet when it is traced.
      row("AbsentMsgIdIsAcceptedAndSentEmpty", "MsgID", "", replaced(plain, "\"4001\"", ""),
          replaced(parameters, "MsgID=4001\n", "")),
      row("RepeatedKeyKeepsTheLastValue", "Label", "Label=first\nLabel=last",
          replaced(plain, "disk", "last"), replaced(parameters, "disk", "last")),
      row("QuotesAreDoubled", "Label", "Label=a\"b", replaced(plain, "disk", "a\"\"b"),
          replaced(parameters, "disk", "a\"b")),
      row("PercentSignsStayAsTheyAre", "Label", "Label=%s%n%d", replaced(plain, "disk", "%s%n%d"),
          replaced(parameters, "disk", "%s%n%d")),
      row("CommentsAndEmptyLinesAreSkipped", "Label", "#Label=x\n\n\r\n#\nLabel=disk\n#no equals",
          plain, parameters),
      row("CarriageReturnBeforeTheLineFeedIsDropped", "Label", "Label=disk\r", plain, parameters),
      row("SecondCarriageReturnStays", "Label", "Label=disk\r\r", replaced(plain, "disk", "disk\r"),
          replaced(parameters, "disk", "disk\r")),
  };
}

std::vector<Case> excerpts() {
  const auto extract = [](const std::string& bytes) {
    return [=](const Machine& machine) { machine.write("/case/b.syslog.txt", bytes); };
  };
  const auto row = [](const std::string& name, const std::string& excerpt,
                      std::function<void(const Machine&)> arrange) {
    return Case{name, kEvent, errorEvent(excerpt), std::move(arrange)};
  };
  const std::string empty = eventTextWithoutExcerpt();
  return {
      row("FirstLineThatIsNoComment", eventText("Feb 2 x"), extract("# a\n#b\nFeb 2 x\nlater\n")),
      row("CarriageReturnIsDropped", eventText("Feb 2 x"), extract("Feb 2 x\r\n")),
      row("LastLineWithoutLineEnd", eventText("Feb 2 x"), extract("#\nFeb 2 x")),
      row("EmptyFirstLineIsTheExcerpt", empty, extract("\nFeb 2 x\n")),
      row("OnlyCommentsGiveAnEmptyExcerpt", empty, extract("# a\n# b\n")),
      row("EmptyFileGivesAnEmptyExcerpt", empty, extract("")),
      row("QuotesAreDoubled", eventText("say \"\"hi\"\""), extract("say \"hi\"\n")),
      row("ZeroByteEndsTheExcerpt", eventText("Feb"), extract(std::string("Feb\0 2\n", 7))),
  };
}

}  // namespace

TANEXICS_PLAY(SendType, sendTypes);
TANEXICS_PLAY(EventCommandLine, commandLines);
TANEXICS_PLAY(EventValue, values);
TANEXICS_PLAY(EventExcerpt, excerpts);

class EventRun : public CommandTest {};

TEST_F(EventRun, MakesNoTemporaryDirectoryAndRunsNoCollectionCommand) {
  for (const std::string script : {"", "status 0x20000\n", "start 5\n"}) {
    const Machine machine;
    const RunResult result = machine.run({{"/case/list", "-r", "/case/event.def"}, script, true});
    EXPECT_EQ(result.log.find("CTemp"), std::string::npos);
    EXPECT_FALSE(machine.exists("/case/collected"));
    EXPECT_TRUE(machine.names("/tmp").empty());
  }
}

TEST_F(EventRun, WithoutAnExtractTheExcerptIsSoftwareLog) {
  const Machine machine;
  machine.write("/case/list", "/case/a.txt\n/case/c.txt\n");
  const std::string text = eventText("Software Log");
  expectRun(
      machine.run(kEvent),
      {framed(startedLine() + eventPart("0x40204", text, 2, "/case/a.txt") + "commonSendEvent OK\n",
              0),
       asked() + startComm() + notify("0x40204", text) +
           sendItems("0x4010d",
                     {{"/case/a.txt", "=items/0001-a.txt"}, {"/case/c.txt", "=items/0002-c.txt"}}) +
           stopped()});
}

TEST_F(EventRun, ExtractIsFoundByASubstringAndTheFirstInTheListCounts) {
  const Machine machine;
  machine.write("/case/x.apllog.txt.gz", "from the application log\n");
  machine.write("/case/list", "/case/x.apllog.txt.gz\n/case/b.syslog.txt\n");
  EXPECT_NE(machine.run(kEvent).log.find(eventText("from the application log")), std::string::npos);
}

TEST_F(EventRun, ExtractInAFolderOfThatNameIsFound) {
  const Machine machine;
  machine.write("/case/old.syslog.txt/x", "from a folder\n");
  machine.write("/case/list", "/case/old.syslog.txt/x\n");
  EXPECT_NE(machine.run(kEvent).log.find(eventText("from a folder")), std::string::npos);
}

TEST_F(EventRun, LongExcerptLineYieldsItsFirst1022Characters) {
  const Machine machine;
  // Short enough for the notification: the rest would begin a second piece.
  machine.write("/case/b.syslog.txt", "#" + std::string(1021, 'c') + "rest\nnext\n");
  EXPECT_NE(machine.run(kEvent).log.find(eventText("rest")), std::string::npos);
}

TEST_F(EventRun, UnreadableExtractGivesAnEmptyExcerptAndALine) {
  const Machine machine;
  machine.remove("/case/b.syslog.txt");
  const std::string text = eventTextWithoutExcerpt();
  const std::string size = "get file size error(/case/b.syslog.txt,No such file or directory)\n";
  const std::string open =
      "syslogfile open error.FILE=/case/b.syslog.txt(CSendEventBase::getSyslogLine)\n";
  std::string part = eventPart("0x40204", text, 3, "/case/a.txt");
  part.insert(part.find('\n') + 1, open);
  std::vector<Item> items = standardItems();
  items[1].fate = "No such file or directory";
  items[2].fate = "=items/0002-c.txt";
  expectRun(machine.run(kEvent), {framed(size + startedLine() + part + "commonSendEvent OK\n", 0),
                                  asked() + startComm() + notify("0x40204", text) +
                                      sendItems("0x4010d", items) + stopped()});
}

TEST_F(EventRun, LongValueIsCutClosedAndLogged) {
  const Machine machine;
  withLine("Label", "Label=" + std::string(1000, 'x'))(machine);
  const RunResult result = machine.run(kEvent);
  const std::string head = R"("2026/10/05 12:00:00",,")";
  const std::string text = head + std::string(896 - head.size() - 1, 'x') + "\"";
  std::string part = eventPart("0x40204", text, 3, "/case/a.txt");
  part.insert(part.find('\n') + 1, "string convert error (CSendEventBase::convStr)\n");
  expectRun(result, {framed(startedLine() + part + "commonSendEvent OK\n", 0),
                     exchangesOf("0x40204", text)});
}

TEST_F(EventRun, BytesAbove0x7fTravelUnchanged) {
  const Machine machine;
  withLine("Label", "Label=\xb9\xbe\xbe\xe3\x8f\xff")(machine);
  const RunResult result = machine.run(kEvent);
  EXPECT_EQ(result.log,
            logOf("0x40204", replaced(eventText(), "disk", "\xb9\xbe\xbe\xe3\x8f\xff")));
  EXPECT_EQ(result.exchanges,
            exchangesOf("0x40204", replaced(eventText(), "disk", R"(\xb9\xbe\xbe\xe3\x8f\xff)")));
}
