// Every rejection of the event definition file, and every file that is accepted although it looks
// odd.

#include <sys/stat.h>
#include <unistd.h>

#include "e2e/support/cases.h"

namespace {

constexpr const char* kKeys[] = {"Time",   "Label",     "HostName", "OSType",
                                 "OSName", "OSVersion", "PkgName",  "MsgType",
                                 "MsgID",  "SendType",  "EventID",  "PartitionName"};

const std::string kFormatError = " format error.(CSendEventBase::parseMsgCommon)";
const std::string kKeywordError = " Keyword error.(CSendEventBase::parseMsgCommon)";
const std::string kValueError = " value error.(CSendEventBase::parseMsgCommon)";
const std::string kParameterError =
    "/case/event.def parameter error.(CSendEventBase::parseTanexMsg)";

using Arrange = std::function<void(const Machine&)>;

Arrange written(const std::string& bytes) {
  return [=](const Machine& machine) { machine.write("/case/event.def", bytes); };
}

/// The definition that every machine has, with these bytes after it.
Arrange followedBy(const std::string& bytes) {
  return [=](const Machine& machine) {
    machine.write("/case/event.def", machine.read("/case/event.def") + bytes);
  };
}

Arrange without(const std::string& key) {
  return [=](const Machine& machine) {
    std::string definition;
    for (const std::string& line : linesOf(machine.read("/case/event.def"))) {
      if (line.rfind(key + "=", 0) != 0) definition += line + "\n";
    }
    machine.write("/case/event.def", definition);
  };
}

void makeDirectory(const Machine& machine) {
  machine.remove("/case/event.def");
  machine.makeFolder("/case/event.def");
}

void makeSocket(const Machine& machine) { machine.makeSocket("/case/event.def"); }

/// A file that is rejected for `message` before the parameters are traced.
Case rejection(const std::string& name, const std::string& message, Arrange arrange) {
  return {name,
          {{"/case/list", "-r", "/case/event.def"}},
          {rejected(message), "", 68},
          std::move(arrange)};
}

/// The parameters as they are traced when this key is missing.
std::string parametersWithout(const std::string& key) {
  std::string traces;
  for (const std::string& line : linesOf(parameterLines())) {
    if (line.rfind(key + "=", 0) != 0) traces += line + "\n";
  }
  return traces;
}

std::vector<Case> rejections() {
  const std::string notFound = "/case/event.def not found.(CSendEventBase::parseMsgCommon)";
  const std::string longLine(1023, 'x');
  std::vector<Case> rows = {
      rejection("Missing", notFound, [](const Machine& m) { m.remove("/case/event.def"); }),
      rejection("Directory", notFound, makeDirectory),
      rejection("Socket", "/case/event.def open error.(CSendEventBase::parseMsgCommon)",
                makeSocket),
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
      rejection("KeyWithABlankBehind", "HostName " + kKeywordError, followedBy("HostName = x\n")),
      rejection("KeyWithABlankBefore", " HostName" + kKeywordError, followedBy(" HostName=x\n")),
      rejection("BeginningOfAKey", "Host" + kKeywordError, followedBy("Host=x\n")),
      rejection("EmptyKey", kKeywordError, followedBy("=x\n")),
      rejection("EqualsAlone", kKeywordError, followedBy("=\n")),
      rejection("EmptyUnknownKeyIsAKeywordError", "Nickname" + kKeywordError,
                followedBy("Nickname=\n")),
      rejection("FirstBadLineCounts", "One" + kKeywordError, followedBy("One=1\nTwo\n")),
      rejection("ValueBehindAZeroByte", "Label" + kValueError,
                followedBy("Label=" + std::string(1, '\0') + "x\n")),
      rejection("EqualsBehindAZeroByte", "Label" + kFormatError,
                followedBy("Label" + std::string(1, '\0') + "=x\n")),
      rejection("LongLineWithoutEquals", longLine + kFormatError, followedBy(longLine + "=rest\n")),
      rejection("SecondPieceOf1024Bytes", "y" + kFormatError,
                followedBy("Label=" + std::string(1017, 'x') + "y\n")),
      rejection("SecondPieceOf5000Bytes", longLine + kFormatError,
                followedBy("Label=" + std::string(4994, 'x') + "\n")),
      rejection("SecondPieceOfALongComment", "no comment" + kFormatError,
                followedBy("#" + std::string(1022, 'x') + "no comment\n")),
      rejection("BytesAbove0x7f", "\xa5\xed\xff" + kFormatError, followedBy("\xa5\xed\xff\n")),
  };
  for (const std::string key : kKeys) {
    if (key == "MsgID") continue;
    rows.push_back(rejection("EmptyValueOf" + key, key + kValueError, followedBy(key + "=\n")));
    rows.push_back(
        rejection("CarriageReturnAsValueOf" + key, key + kValueError, followedBy(key + "=\r\n")));
  }
  // Nothing is traced of a file that is rejected while it is read.
  const std::size_t count = rows.size();
  for (std::size_t at = 0; at < count; ++at)
    rows.push_back(traced(rows[at], rows[at].expected.log));

  // What is missing shows only after the whole file was read, and traced.
  const Case empty = rejection("Empty", kParameterError, written(""));
  const Case blank = rejection("OnlyBlankLines", kParameterError, written("\n\r\n\n"));
  const Case comments = rejection("OnlyComments", kParameterError, written("#a\n#b"));
  for (const Case& row : {empty, blank, comments}) {
    rows.push_back(row);
    rows.push_back(traced(row, row.expected.log));
  }
  for (const std::string key : kKeys) {
    if (key == "MsgID") continue;
    const Case missing = rejection("Without" + key, kParameterError, without(key));
    rows.push_back(missing);
    rows.push_back(traced(missing, framed(parametersWithout(key) + kParameterError + "\n", 68)));
  }
  return rows;
}

/// A definition that means the same as the one that every machine has.
Case accepted(const std::string& name, Arrange arrange) {
  return {name,
          {{"/case/list", "-r", "/case/event.def"}, "", true},
          {framed(standardEvent(true), 0), standardEventCalls()},
          std::move(arrange)};
}

Arrange withLineEnds(const std::string& end) {
  return [=](const Machine& machine) {
    std::string definition;
    for (const std::string& line : linesOf(machine.read("/case/event.def"))) {
      definition += line + end;
    }
    machine.write("/case/event.def", definition);
  };
}

void withoutLastLineEnd(const Machine& machine) {
  std::string definition = machine.read("/case/event.def");
  definition.pop_back();
  machine.write("/case/event.def", definition);
}

void inReverse(const Machine& machine) {
  std::string definition;
  for (const std::string& line : linesOf(machine.read("/case/event.def"))) {
    definition.insert(0, line + "\n");
  }
  machine.write("/case/event.def", definition);
}

std::vector<Case> definitions() {
  return {
      accepted("CrLfEnds", withLineEnds("\r\n")),
      accepted("BlankLinesBetween", withLineEnds("\n\n\r\n")),
      accepted("CommentsBetween", withLineEnds("\n#x=1\n# Label\n#\n")),
      accepted("NoLastLineEnd", withoutLastLineEnd),
      accepted("OtherOrder", inReverse),
      accepted("LastValueOfARepeatedKey",
               [](const Machine& m) {
                 m.write("/case/event.def", "Label=x\nLabel=y\n" + m.read("/case/event.def"));
               }),
      accepted("TextBehindAZeroByteIsLost", withLineEnds(std::string(1, '\0') + "lost\n")),
      accepted("SecondPieceOfACommentThatBeginsLikeOne",
               followedBy("#" + std::string(1022, 'x') + "#no comment\n")),
      accepted("SecondPieceThatIsALineOfItsOwn",
               followedBy("#" + std::string(1022, 'x') + "Label=disk\n")),
  };
}

}  // namespace

TANEXICS_PLAY(RejectedDefinition, rejections);
TANEXICS_PLAY(AcceptedDefinition, definitions);

class DefinitionRun : public CommandTest {};

TEST_F(DefinitionRun, NamesTheFileAsItWasGiven) {
  const Machine machine;
  const std::string message = " not found.(CSendEventBase::parseMsgCommon)";
  EXPECT_EQ(machine.run({{"list", "-r", "no/%s"}}).log, rejected("no/%s" + message));
  machine.remove("/case/action.log");
  EXPECT_EQ(machine.run({{"list", "-rno.def", "event.def"}}).log, rejected("no.def" + message));
  machine.remove("/case/action.log");
  EXPECT_EQ(machine.run({{"list", "-r", ""}}).log, rejected(message));
}

TEST_F(DefinitionRun, LineOfUpTo1023BytesIsWhole) {
  for (const std::size_t length : {1021U, 1022U, 1023U}) {
    const Machine machine;
    const std::string label(length - 6, 'x');
    followedBy("Label=" + label + "\n")(machine);
    const RunResult result = machine.run({{"/case/list", "-r", "/case/event.def"}, "", true});
    EXPECT_EQ(result.child.exitCode(), 0) << length;
    EXPECT_NE(result.log.find("\nLabel=" + label + "\n"), std::string::npos) << length;
  }
}

TEST_F(DefinitionRun, LinesOfARejectedFileBeforeTheBadOneAreNotTraced) {
  const Machine machine;
  machine.write("/case/event.def", "Label=disk\nbad\n");
  expectRun(machine.run({{"/case/list", "-r", "/case/event.def"}, "", true}),
            {rejected("bad" + kFormatError), "", 68});
}

TEST_F(DefinitionRun, DefinitionFromAFifoIsReadToItsEnd) {
  const Machine machine;
  ASSERT_EQ(::mkfifo(machine.outside("/case/fifo").c_str(), 0600), 0);
  const auto feed = [] {
    if (::fork() == 0) {
      ::execl("/bin/sh", "sh", "-c", "cat /case/event.def >/case/fifo", nullptr);
      ::_exit(1);
    }
    return true;
  };
  const RunResult result = machine.run({{"/case/list", "-r", "/case/fifo"}, "", true, {}, feed});
  expectRun(result, accepted("", nullptr).expected);
}

TEST_F(DefinitionRun, DefinitionThatCanBeOpenedButNotReadIsAReadError) {
  const Machine machine;
  expectRun(machine.run({{"/case/list", "-r", "/proc/self/mem"}, "", true}),
            {rejected("/proc/self/mem read error.(CSendEventBase::parseMsgCommon)"), "", 68});
}

TEST_F(DefinitionRun, UnreadableDefinitionIsAnOpenError) {
  const Machine machine;
  machine.write("/case/event.def", "Label=disk\n", 0000);
  expectRun(machine.run({{"/case/list", "-r", "/case/event.def"}, "", false, {}, obeyPermissions}),
            {rejected("/case/event.def open error.(CSendEventBase::parseMsgCommon)"), "", 68});
}
