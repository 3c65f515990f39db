// Every rejection of the event definition file, and every file that is accepted although it looks
// odd.

#include "e2e/support/cases.h"

namespace {

const std::string kFormatError = " format error.(CSendEventBase::parseMsgCommon)";
const std::string kKeywordError = " Keyword error.(CSendEventBase::parseMsgCommon)";
const std::string kNotFound = " not found.(CSendEventBase::parseMsgCommon)";
const std::string kOpenError = " open error.(CSendEventBase::parseMsgCommon)";
const std::string kReadError = " read error.(CSendEventBase::parseMsgCommon)";
const std::string kValueError = " value error.(CSendEventBase::parseMsgCommon)";
const std::string kParameterError =
    "/case/event.def parameter error.(CSendEventBase::parseTanexMsg)";

const std::string kZeroByte(1, '\0');

Arrange written(const std::string& bytes) {
  return [=](const Machine& machine) { machine.write("/case/event.def", bytes); };
}

/// The definition that every machine has, with these bytes after it.
Arrange followedBy(const std::string& bytes) { return written(kEventDefinition + bytes); }

/// The same with `end` in place of each line feed.
Arrange withLineEnds(const std::string& end) {
  std::string definition;
  for (const std::string& line : linesOf(kEventDefinition)) definition += line + end;
  return written(definition);
}

/// The lines, without that of this key.
std::string without(const std::string& key, const std::string& text) {
  std::string rest;
  for (const std::string& line : linesOf(text)) {
    if (line.rfind(key + "=", 0) != 0) rest += line + "\n";
  }
  return rest;
}

std::string replaced(std::string text, const std::string& from, const std::string& to) {
  return text.replace(text.find(from), from.size(), to);
}

// --- rejected ------------------------------------------------------------------------------------

/// A file that is rejected for `message` before the parameters are traced.
Case rejection(const std::string& name, const std::string& message, Arrange arrange) {
  return {name, eventCall(), rejected(message), std::move(arrange)};
}

void makeDirectory(const Machine& machine) {
  machine.remove("/case/event.def");
  machine.makeFolder("/case/event.def");
}

std::vector<Case> rejections() {
  const std::string longLine(1023, 'x');
  return {
      rejection("Missing", "/case/event.def" + kNotFound,
                [](const Machine& m) { m.remove("/case/event.def"); }),
      rejection("Directory", "/case/event.def" + kNotFound, makeDirectory),
      rejection("Socket", "/case/event.def" + kOpenError,
                [](const Machine& m) { m.makeSocket("/case/event.def"); }),
      rejection("LineWithoutEquals", "Label" + kFormatError, followedBy("Label\n")),
      rejection("LineOfBlanks", "  " + kFormatError, followedBy("  \n")),
      rejection("IndentedComment", "  #x" + kFormatError, followedBy("  #x\n")),
      rejection("IndentedCommentWithEquals", "  #x" + kKeywordError, followedBy("  #x=1\n")),
      rejection("LineWithPercentSigns", "%s%n%d" + kFormatError, followedBy("%s%n%d\n")),
      rejection("UnterminatedLastLine", "Label" + kFormatError, followedBy("Label")),
      rejection("UnknownKey", "Nickname" + kKeywordError, followedBy("Nickname=x\n")),
      rejection("KeyOfAnIncident", "IncidentNumber" + kKeywordError,
                followedBy("IncidentNumber=1\n")),
      rejection("KeyInLowerCase", "label" + kKeywordError, followedBy("label=x\n")),
      rejection("KeyWithABlankAfter", "HostName " + kKeywordError, followedBy("HostName = x\n")),
      rejection("KeyWithABlankBefore", " HostName" + kKeywordError, followedBy(" HostName=x\n")),
      rejection("BeginningOfAKey", "Host" + kKeywordError, followedBy("Host=x\n")),
      rejection("EmptyKey", kKeywordError, followedBy("=x\n")),
      rejection("EqualsAlone", kKeywordError, followedBy("=\n")),
      rejection("EmptyUnknownKeyIsAKeywordError", "Nickname" + kKeywordError,
                followedBy("Nickname=\n")),
      rejection("FirstBadLineCounts", "One" + kKeywordError, followedBy("One=1\nTwo\n")),
      // The lines before the bad one are not traced either.
      rejection("OneGoodLineAndABadOne", "bad" + kFormatError, written("Label=disk\nbad\n")),
      rejection("ValueAfterAZeroByte", "Label" + kValueError,
                followedBy("Label=" + kZeroByte + "x\n")),
      rejection("EqualsAfterAZeroByte", "Label" + kFormatError,
                followedBy("Label" + kZeroByte + "=x\n")),
      rejection("LongLineWithoutEquals", longLine + kFormatError, followedBy(longLine + "=rest\n")),
      rejection("SecondPieceOf1024Bytes", "y" + kFormatError,
                followedBy("Label=" + std::string(1017, 'x') + "y\n")),
      rejection("SecondPieceOf5000Bytes", longLine + kFormatError,
                followedBy("Label=" + std::string(4994, 'x') + "\n")),
      rejection("SecondPieceOfALongComment", "no comment" + kFormatError,
                followedBy("#" + std::string(1022, 'x') + "no comment\n")),
      rejection("BytesAbove0x7f", "\xa5\xed\xff" + kFormatError, followedBy("\xa5\xed\xff\n")),
      rejection("Empty", kParameterError, written("")),
      rejection("OnlyBlankLines", kParameterError, written("\n\r\n\n")),
      rejection("OnlyComments", kParameterError, written("#a\n#b")),
  };
}

/// All keys but that of the message number may be neither empty nor missing.
std::vector<Case> rejectedValues() {
  std::vector<Case> rows;
  for (const std::string key : {"Time", "Label", "HostName", "OSType", "OSName", "OSVersion",
                                "PkgName", "MsgType", "SendType", "EventID", "PartitionName"}) {
    rows.push_back(rejection("EmptyValueOf" + key, key + kValueError, followedBy(key + "=\n")));
    rows.push_back(
        rejection("CarriageReturnAsValueOf" + key, key + kValueError, followedBy(key + "=\r\n")));
    // What is missing shows only after the whole file was read, and traced.
    Case missing =
        rejection("Without" + key, kParameterError, written(without(key, kEventDefinition)));
    const LogText traces = {"", without(key, parameterLines().trace)};
    missing.expected.log = framed(traces + (kParameterError + "\n"), 68);
    rows.push_back(missing);
  }
  return rows;
}

TANEXICS_PLAY(RejectedDefinition, atBothLevels(rejections()));
TANEXICS_PLAY(RejectedValue, atBothLevels(rejectedValues()));

// --- accepted ------------------------------------------------------------------------------------

/// A definition that means the same as the one that every machine has.
Case accepted(const std::string& name, Arrange arrange) {
  return {name, eventCall().traced(), Sending().event(), std::move(arrange)};
}

std::vector<Case> definitions() {
  std::string inReverse;
  for (const std::string& line : linesOf(kEventDefinition)) inReverse.insert(0, line + "\n");
  const std::string longComment = "#" + std::string(1022, 'x');
  const std::string definition = kEventDefinition;
  return {
      accepted("CrLfEnds", withLineEnds("\r\n")),
      accepted("BlankLinesBetween", withLineEnds("\n\n\r\n")),
      accepted("CommentsBetween", withLineEnds("\n#x=1\n# Label\n#no equals\n#\n")),
      accepted("NoLastLineEnd", written(definition.substr(0, definition.size() - 1))),
      accepted("OtherOrder", written(inReverse)),
      accepted("LastValueOfARepeatedKey", written("Label=x\nLabel=y\n" + definition)),
      accepted("TextAfterAZeroByteIsLost", withLineEnds(kZeroByte + "lost\n")),
      accepted("SecondPieceOfACommentThatBeginsLikeOne", followedBy(longComment + "#no comment\n")),
      accepted("SecondPieceThatIsALineOfItsOwn", followedBy(longComment + "Label=disk\n")),
  };
}

/// One line exchanged, as the whole definition has it, and what takes the place of its text in the
/// notification and in the trace.
Case exchanged(const std::string& name, const std::string& line, const std::string& newLine,
               const std::string& sent, const std::string& newSent, const std::string& newTrace) {
  Sending sending;
  sending.text = replaced(sending.text, sent, newSent);
  sending.parameters.trace = replaced(sending.parameters.trace, line + "\n", newTrace);
  return {name, eventCall().traced(), sending.event(),
          written(replaced(kEventDefinition, line + "\n", newLine))};
}

std::vector<Case> values() {
  const std::string label = "Label=disk";
  const std::string host = "HostName=db01";
  const std::string id = "MsgID=4001";
  const std::string above0x7f = "\xb9\xbe\xbe\xe3\x8f\xff";
  return {
      exchanged("KeepsFurtherEqualsSigns", host, "HostName=a=b\n", "db01", "a=b", "HostName=a=b\n"),
      exchanged("KeepsItsBlanks", host, "HostName=  x \n", "db01", "  x ", "HostName=  x \n"),
      exchanged("EmptyMsgIdIsSentEmpty", id, "MsgID=\n", "\"4001\"", "", "MsgID=\n"),
      // The map has no such entry yet when it is traced.
      exchanged("AbsentMsgIdIsSentEmpty", id, "", "\"4001\"", "", ""),
      exchanged("QuotesAreDoubled", label, "Label=a\"b\n", "disk", "a\"\"b", "Label=a\"b\n"),
      exchanged("PercentSigns", label, "Label=%s%n%d\n", "disk", "%s%n%d", "Label=%s%n%d\n"),
      exchanged("SecondCarriageReturnStays", label, "Label=disk\r\r\n", "disk", "disk\r",
                "Label=disk\r\n"),
      exchanged("BytesAbove0x7f", label, "Label=" + above0x7f + "\n", "disk", above0x7f,
                "Label=" + above0x7f + "\n"),
  };
}

TANEXICS_PLAY(AcceptedDefinition, definitions());
TANEXICS_PLAY(AcceptedValue, values());

using DefinitionRun = MachineTest;

TEST_F(DefinitionRun, LineOfUpTo1023BytesIsWhole) {
  for (const std::size_t length : {1021U, 1022U, 1023U}) {
    machine.clear();
    const std::string line = "Label=" + std::string(length - 6, 'x') + "\n";
    followedBy(line)(machine);
    const RunResult result = machine.run(eventCall().traced());
    EXPECT_EQ(result.child.exitCode(), 0) << length;
    EXPECT_NE(result.log.find("\n" + line), std::string::npos) << length;
  }
}

TEST_F(DefinitionRun, LongValueIsCutClosedAndLogged) {
  written(replaced(kEventDefinition, "disk", std::string(1000, 'x')))(machine);
  const std::string head = R"("2026/10/05 12:00:00",,")";
  Sending sending;
  sending.text = head + std::string(896 - head.size() - 1, 'x') + "\"";
  sending.excerptError = "string convert error (CSendEventBase::convStr)\n";
  expectRun(machine.run(eventCall()), sending.event());
}

// --- its name ------------------------------------------------------------------------------------

TEST_F(DefinitionRun, FromAFifoIsReadToItsEnd) {
  Call call = {{"/case/list", "-r", "/case/fifo"}, "", true};
  call.prepare = fifoFedBy("cat /case/event.def");
  expectRun(machine.run(call), Sending().event());
}

TEST_F(DefinitionRun, UnreadableDefinitionIsAnOpenError) {
  machine.write("/case/event.def", "Label=disk\n", 0000);
  expectRun(machine.run(eventCall().prepared(obeyPermissions)),
            rejected("/case/event.def" + kOpenError));
}

/// The message names the file as it was given.
std::vector<Case> badNames() {
  return {
      {"Missing", {{"list", "-r", "no/%s"}}, rejected("no/%s" + kNotFound)},
      {"JoinedAndMissing", {{"list", "-rno.def", "event.def"}}, rejected("no.def" + kNotFound)},
      {"Empty", {{"list", "-r", ""}}, rejected(kNotFound)},
      {"CannotBeRead",
       {{"/case/list", "-r", "/proc/self/mem"}, "", true},
       rejected("/proc/self/mem" + kReadError)},
  };
}

std::vector<Case> goodNames() {
  const Expected sent = Sending().event();
  return {
      {"Joined", {{"/case/list", "-r/case/event.def"}}, sent},
      {"JoinedAndRelative", {{"list", "-revent.def"}}, sent},
      {"BeforeAnArgumentThatIsIgnored", {{"/case/list", "-r", "/case/event.def", "extra"}}, sent},
      {"JoinedBeforeAnArgumentThatIsIgnored",
       {{"/case/list", "-r/case/event.def", "/no/such/file"}},
       sent},
  };
}

TANEXICS_PLAY(RejectedDefinitionName, badNames());
TANEXICS_PLAY(AcceptedDefinitionName, goodNames());

}  // namespace
