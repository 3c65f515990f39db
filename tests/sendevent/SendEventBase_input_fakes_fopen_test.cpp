#include "sendevent/SendEventBase.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <string>
#include <utility>
#include <vector>

#include "common/base/format.h"
#include "support/actionlog.h"
#include "support/brokenfile.h"
#include "support/bytes.h"
#include "support/definitionerrors.h"
#include "support/scratch.h"
#include "support/specialfiles.h"
#include "support/testevent.h"

namespace {

using Texts = std::vector<std::string>;

const Texts kEventKeys = {"Time",    "Label",   "HostName", "OSType",   "OSName",  "OSVersion",
                          "PkgName", "MsgType", "MsgID",    "SendType", "EventID", "PartitionName"};
const Texts kIncidentKeys = {"IncidentNumber", "HostName", "PartitionName", "CollectionTime"};

/// Calls the reader with a path that it may write to.
int parseEventFile(CSendEventBase& event, std::string path) {
  return event.parseTanexEventMsg(C(path));
}

int parseIncidentFile(CSendEventBase& event, std::string path) {
  return event.parseTanexMsg(C(path));
}

Params incidentParams() {
  return {{"IncidentNumber", "77"},
          {"HostName", "db01"},
          {"PartitionName", "p0"},
          {"CollectionTime", "2026/11/20 12:00:00"}};
}

Params without(Params params, const std::string& key) {
  params.erase(key);
  return params;
}

// --- event definition files ----------------------------------------------------------------------

/// A definition file that is written anew for each reading.
class Definition : public testing::Test {
 protected:
  int readEvent(const std::string& bytes) { return parseEventFile(m_event, write(bytes)); }
  int readIncident(const std::string& bytes) { return parseIncidentFile(m_event, write(bytes)); }
  std::string write(const std::string& bytes) { return m_path = m_dir.write("event.def", bytes); }

  /// Reads a file with `line` in the middle of a good definition.
  void expectLineRejected(const std::string& line, const std::string& text) {
    SCOPED_TRACE(line.substr(0, 80));
    m_event.m_params.clear();
    m_log.take();
    EXPECT_EQ(68, readEvent("Label=disk\n" + line + "\nOSType=Linux\n"));
    EXPECT_EQ(Texts{text}, m_log.take()) << "and nothing is traced";
    EXPECT_EQ((Params{{"Label", "disk"}}), m_event.m_params) << "what stood before stays";
    EXPECT_EQ(0, m_event.getEventType());
  }

  /// Reads a good definition with `line` at its end, which changes `key` to `value`.
  void expectLineAccepted(const std::string& line, const std::string& key,
                          const std::string& value) {
    SCOPED_TRACE(line.substr(0, 80));
    m_event.m_params.clear();
    Params expected = eventParams();
    expected[key] = value;
    EXPECT_EQ(0, readEvent(definitionOf(eventParams()) + line));
    EXPECT_EQ(expected, m_event.m_params);
  }

  ScratchDir m_dir;
  CapturedLog m_log{CapturedLog::Level::kTrace};
  TestEvent m_event;
  std::string m_path;
};

/// What the trace shows of the parameters.
Texts traceOf(const Params& params) {
  Texts texts;
  for (const auto& [key, value] : params) texts.push_back(key + "=" + value);
  return texts;
}

TEST_F(Definition, CompleteEvent) {
  EXPECT_EQ(0, readEvent(definitionOf(eventParams())));
  EXPECT_EQ(eventParams(), m_event.m_params);
  EXPECT_EQ(3, m_event.getEventType());
  EXPECT_EQ((Texts{"EventID=e1", "HostName=db01", "Label=disk", "MsgID=M0815", "MsgType=E",
                   "OSName=Debian", "OSType=Linux", "OSVersion=12", "PartitionName=p0",
                   "PkgName=kernel", "SendType=err", "Time=2026/11/20 12:00:00"}),
            m_log.texts());
}

TEST_F(Definition, TraceHasTheWholeMapInByteOrder) {
  m_event.setParam("zebra", "z");
  m_event.setParam("Zebra", "Z");
  m_event.setParam("IncidentNumber", "100%s");
  Params expected = eventParams();
  expected.insert({{"zebra", "z"}, {"Zebra", "Z"}, {"IncidentNumber", "100%s"}});
  EXPECT_EQ(0, readEvent(definitionOf(eventParams())));
  EXPECT_EQ(traceOf(expected), m_log.texts());
}

TEST_F(Definition, SilentAtInformationLevel) {
  const CapturedLog log(CapturedLog::Level::kInfo);
  EXPECT_EQ(0, readEvent(definitionOf(eventParams())));
  EXPECT_EQ(Texts(), log.texts());
}

TEST_F(Definition, LineOrderDoesNotMatter) {
  Texts lines = linesOf(definitionOf(eventParams()));
  std::reverse(lines.begin(), lines.end());
  std::string bytes;
  for (const std::string& line : lines) bytes += line + "\n";
  EXPECT_EQ(0, readEvent(bytes));
  EXPECT_EQ(eventParams(), m_event.m_params);
}

TEST_F(Definition, CrLfReadsTheSame) {
  EXPECT_EQ(0, readEvent(definitionOf(eventParams(), "\r\n")));
  EXPECT_EQ(eventParams(), m_event.m_params);
  EXPECT_EQ(3, m_event.getEventType());
}

TEST_F(Definition, LastLineWithoutEndIsRead) {
  expectLineAccepted("Time=later", "Time", "later");
  expectLineAccepted("Time=later\r", "Time", "later");
}

TEST_F(Definition, SendTypeDecidesTheEventType) {
  struct Case {
    const char* sendType;
    int eventType;
  };
  for (const Case& c : {Case{"err", 3}, Case{"ERR", 4}, Case{"error", 4}, Case{"Err", 4},
                        Case{"er", 4}, Case{"err ", 4}, Case{" err", 4}, Case{"info", 4}}) {
    SCOPED_TRACE(c.sendType);
    expectLineAccepted(std::string("SendType=") + c.sendType + "\n", "SendType", c.sendType);
    EXPECT_EQ(c.eventType, m_event.getEventType());
  }
}

TEST_F(Definition, RejectionSetsTheEventTypeToZero) {
  for (const char* bytes : {"", "nonsense\n", "Label=\n"}) {
    m_event.m_eventType = 3;
    EXPECT_EQ(68, readEvent(bytes));
    EXPECT_EQ(0, m_event.getEventType());
  }
}

TEST_F(Definition, NotFound) {
  for (const std::string& path : {m_dir / "missing", m_dir.path(), std::string()}) {
    m_event.m_eventType = 3;
    EXPECT_EQ(68, parseEventFile(m_event, path));
    EXPECT_EQ(Texts{path + kNotFound}, m_log.take());
    EXPECT_EQ(0, m_event.getEventType());
    EXPECT_EQ(Params(), m_event.m_params);
  }
}

TEST_F(Definition, NullPathIsNotFound) {
  EXPECT_EQ(68, m_event.parseTanexEventMsg(nullptr));
  EXPECT_EQ(Texts{kNotFound}, m_log.take());
  EXPECT_EQ(68, m_event.parseTanexMsg(nullptr));
  EXPECT_EQ(Texts{kNotFound}, m_log.take());
}

TEST_F(Definition, PathThatIsAParameterIsNamedAsItWas) {
  const std::string time = "Time=" + std::string(200, 't');
  m_event.setParam("Time", C(write(time + "\n")));
  EXPECT_EQ(68, m_event.parseTanexEventMsg(C(m_event.m_params["Time"])));
  EXPECT_EQ((Texts{time, m_path + kParameterError}), m_log.texts());
}

TEST_F(Definition, CannotBeOpened) {
  const std::string socket = makeSocketFile(m_dir);
  EXPECT_EQ(68, parseEventFile(m_event, socket));
  EXPECT_EQ(Texts{socket + kOpenError}, m_log.take());
  EXPECT_EQ(68, parseIncidentFile(m_event, socket));
  EXPECT_EQ(Texts{socket + kOpenError}, m_log.take());
}

TEST_F(Definition, NothingCanBeReadIsAReadError) {
  EXPECT_EQ(68, parseEventFile(m_event, "/proc/self/mem"));
  EXPECT_EQ(Texts{"/proc/self/mem" + kReadError}, m_log.texts());
}

/// Reading fails after the lines of `params`, which is all that is logged.
void expectReadError(const Params& params) {
  for (const auto parse : {&CSendEventBase::parseTanexEventMsg, &CSendEventBase::parseTanexMsg}) {
    const CapturedLog log(CapturedLog::Level::kTrace);
    const BrokenFile file(definitionOf(params));
    TestEvent event;
    std::string path = file.path();
    EXPECT_EQ(68, (event.*parse)(C(path)));
    EXPECT_EQ(Texts{path + kReadError}, log.texts()) << "nothing is traced";
    EXPECT_EQ(params, event.m_params) << "what was read stays, and no key is inserted";
  }
}

TEST_F(Definition, ReadErrorIsToldBeforeAnyMissingKey) {
  expectReadError({});
  expectReadError({{"HostName", "db01"}});
}

TEST_F(Definition, ReadInPartIsRejectedEvenWhenItLooksComplete) {
  const BrokenFile file(definitionOf(eventParams()));
  EXPECT_EQ(68, parseEventFile(m_event, file.path()));
  EXPECT_EQ(Texts{file.path() + kReadError}, m_log.texts());
  EXPECT_EQ(0, m_event.getEventType());
}

TEST_F(Definition, BadLineIsToldAndNotTheReadErrorBehindIt) {
  const std::vector<std::pair<std::string, std::string>> table = {
      {"nonsense\n", "nonsense" + kFormatError},
      {"label=disk\n", "label" + kKeywordError},
      {"Label=\n", "Label" + kValueError},
  };
  for (const auto& [line, text] : table) {
    const BrokenFile file("HostName=db01\n" + line);
    EXPECT_EQ(68, parseEventFile(m_event, file.path()));
    EXPECT_EQ(Texts{text}, m_log.take());
  }
}

TEST_F(Definition, PartOfALineBeforeTheReadErrorIsNotLookedAt) {
  const BrokenFile file("HostName=db01\nnonsense");
  EXPECT_EQ(68, parseEventFile(m_event, file.path()));
  EXPECT_EQ(Texts{file.path() + kReadError}, m_log.texts());
}

TEST_F(Definition, Fifo) {
  const FilledFifo fifo(m_dir, definitionOf(eventParams()));
  EXPECT_EQ(0, parseEventFile(m_event, fifo.path()));
  EXPECT_EQ(eventParams(), m_event.m_params);
}

TEST_F(Definition, EmptyOrBlankFileMissesTheFirstKey) {
  for (const char* bytes : {"", "\n", "\n\r\n\n", "# only this\n"}) {
    m_event.m_params.clear();
    EXPECT_EQ(68, readEvent(bytes));
    EXPECT_EQ(Texts{m_path + kParameterError}, m_log.take());
    EXPECT_EQ((Params{{"Time", ""}}), m_event.m_params)
        << "only the first missing key is looked at";
  }
}

TEST_F(Definition, CommentsAndBlankLinesAreSkipped) {
  expectLineAccepted("#\n\n#Label=other\n\r\n# no equals sign\n#\r\nTime=later\n", "Time", "later");
}

TEST_F(Definition, CommentIsRecognisedInTheFirstColumnOnly) {
  expectLineRejected("  #x=1", "  #x" + kKeywordError);
}

TEST_F(Definition, LineOfBlanksIsNotEmpty) {
  expectLineRejected("   ", "   " + kFormatError);
  expectLineRejected("\t", "\t" + kFormatError);
}

TEST_F(Definition, LineWithoutEqualsSign) {
  expectLineRejected("HostName", "HostName" + kFormatError);
  expectLineRejected("HostName: db01 100%s", "HostName: db01 100%s" + kFormatError);
  expectLineRejected("\xa4\xa2\xff", "\xa4\xa2\xff" + kFormatError);
}

TEST_F(Definition, BlankBeforeTheEqualsSignBelongsToTheKey) {
  expectLineRejected("HostName = x", "HostName " + kKeywordError);
}

TEST_F(Definition, UnknownKeys) {
  for (const char* key : {"", "hostname", "HOSTNAME", "HostNam", "HostName2", " HostName",
                          "IncidentNumber", "CollectionTime", "%s"}) {
    expectLineRejected(std::string(key) + "=x", key + kKeywordError);
    expectLineRejected(std::string(key) + "=", key + kKeywordError);
  }
}

TEST_F(Definition, ValueGoesFromTheFirstEqualsSignToTheEnd) {
  expectLineAccepted("HostName=a=b\n", "HostName", "a=b");
  expectLineAccepted("HostName==\n", "HostName", "=");
  expectLineAccepted("HostName= x  \n", "HostName", " x  ");
  expectLineAccepted("HostName=\"q\" \\n #c\n", "HostName", "\"q\" \\n #c");
  expectLineAccepted("HostName=\xa4\xa2\xff\n", "HostName", "\xa4\xa2\xff");
  expectLineAccepted("HostName=a\rb\r\r\n", "HostName", "a\rb\r");
}

TEST_F(Definition, EmptyValueOfEachKeyButMsgId) {
  for (const std::string& key : kEventKeys) {
    if (key == "MsgID") continue;
    expectLineRejected(key + "=", key + kValueError);
    expectLineRejected(key + "=\r", key + kValueError);
  }
}

TEST_F(Definition, EmptyMsgIdIsAccepted) {
  expectLineAccepted("MsgID=\n", "MsgID", "");
  Params expected = eventParams();
  expected["MsgID"] = "";
  EXPECT_EQ(traceOf(expected), m_log.texts());
}

TEST_F(Definition, AbsentMsgIdIsInsertedEmptyAndNotTraced) {
  const Params given = without(eventParams(), "MsgID");
  Params expected = eventParams();
  expected["MsgID"] = "";
  EXPECT_EQ(0, readEvent(definitionOf(given)));
  EXPECT_EQ(expected, m_event.m_params);
  EXPECT_EQ(3, m_event.getEventType());
  EXPECT_EQ(traceOf(given), m_log.texts()) << "the trace comes before the check";
}

TEST_F(Definition, KeyGivenTwiceKeepsTheLaterValue) {
  expectLineAccepted("Label=later\n", "Label", "later");
  Params expected = eventParams();
  expected["Label"] = "later";
  EXPECT_EQ(traceOf(expected), m_log.texts()) << "the trace shows only the later one";
}

TEST_F(Definition, EachMissingKeyIsReportedAfterTheTrace) {
  for (const std::string& key : kEventKeys) {
    if (key == "MsgID") continue;
    SCOPED_TRACE(key);
    m_event.m_params.clear();
    m_event.m_eventType = 3;
    const Params given = without(eventParams(), key);
    EXPECT_EQ(68, readEvent(definitionOf(given)));
    Texts expected = traceOf(given);
    expected.push_back(m_path + kParameterError);
    EXPECT_EQ(expected, m_log.take());
    EXPECT_EQ(0, m_event.getEventType());
  }
}

TEST_F(Definition, MissingLabel) {
  const CapturedLog log;
  EXPECT_EQ(68, readEvent(definitionOf(without(eventParams(), "Label"))));
  EXPECT_EQ(Texts{m_path + kParameterError}, log.texts());
}

TEST_F(Definition, CheckStopsAtTheFirstMissingKeyOfTheList) {
  const Params given = {{"Label", "disk"}, {"OSType", "Linux"}};
  Params expected = given;
  expected["Time"] = "";
  EXPECT_EQ(68, readEvent(definitionOf(given)));
  EXPECT_EQ(expected, m_event.m_params);

  // In list order: HostName is asked for before EventID, which the map has first.
  m_event.m_params.clear();
  m_log.take();
  EXPECT_EQ(68, readEvent("Time=now\nLabel=disk\n"));
  EXPECT_EQ((Params{{"HostName", ""}, {"Label", "disk"}, {"Time", "now"}}), m_event.m_params);
  EXPECT_EQ((Texts{"Label=disk", "Time=now", m_path + kParameterError}), m_log.texts());
}

TEST_F(Definition, ParameterThatIsAlreadyThereSatisfiesTheCheck) {
  m_event.setParam("HostName", "kept");
  EXPECT_EQ(0, readEvent(definitionOf(without(eventParams(), "HostName"))));
  EXPECT_STREQ("kept", m_event.getParam("HostName"));
}

TEST_F(Definition, EmptyParameterThatIsAlreadyThereIsMissing) {
  m_event.getParam("HostName");
  const Params given = without(eventParams(), "HostName");
  Params traced = given;
  traced["HostName"] = "";
  EXPECT_EQ(68, readEvent(definitionOf(given)));
  Texts expected = traceOf(traced);
  expected.push_back(m_path + kParameterError);
  EXPECT_EQ(expected, m_log.texts());
}

TEST_F(Definition, ReadingStopsAtTheFirstBadLine) {
  EXPECT_EQ(68, readEvent("Label=disk\nfirst\nsecond\nTime=\n"));
  EXPECT_EQ(Texts{"first" + kFormatError}, m_log.texts());
}

// --- long lines: rules apply to each piece of 1,023 bytes ----------------------------------------

std::string hostLine(std::size_t bytes) { return "HostName=" + x(bytes - 9) + "\n"; }

TEST_F(Definition, LinesAroundThePieceLength) {
  expectLineAccepted(hostLine(1022), "HostName", x(1022 - 9));
  expectLineAccepted(hostLine(1023), "HostName", x(1023 - 9));
  expectLineAccepted("HostName=" + x(1023 - 9), "HostName", x(1023 - 9));
  expectLineAccepted("HostName=" + x(1023 - 9) + "\r\n", "HostName", x(1023 - 9));
}

TEST_F(Definition, SecondPieceIsLookedAtLikeALine) {
  EXPECT_EQ(68, readEvent(hostLine(1024)));
  EXPECT_EQ(Texts{"x" + kFormatError}, m_log.take());
  EXPECT_EQ((Params{{"HostName", x(1023 - 9)}}), m_event.m_params);

  expectLineAccepted("HostName=" + x(1023 - 9) + "Label=cut\nHostName=db01\n", "Label", "cut");
}

TEST_F(Definition, SecondPieceMayBeAComment) {
  expectLineAccepted("HostName=" + x(1023 - 9) + "#no line\n", "HostName", x(1023 - 9));
}

TEST_F(Definition, LongLine) {
  EXPECT_EQ(68, readEvent(hostLine(5000)));
  EXPECT_EQ(Texts{x(1023) + kFormatError}, m_log.texts());
  EXPECT_EQ((Params{{"HostName", x(1023 - 9)}}), m_event.m_params);
}

TEST_F(Definition, LongCommentsSecondPieceIsNoComment) {
  EXPECT_EQ(68, readEvent("#" + x(1022) + "rest\n"));
  EXPECT_EQ(Texts{"rest" + kFormatError}, m_log.take());
  expectLineAccepted("#" + x(1021) + "\n", "HostName", "db01");
  expectLineAccepted("#" + x(1022) + "\n", "HostName", "db01");
  expectLineAccepted("#" + x(1022) + "#" + x(100) + "\n", "HostName", "db01");
}

TEST_F(Definition, ZeroByteCutsItsPieceOnly) {
  expectLineAccepted(bytesOf("HostName=ab\0cd\nTime=later\n") + "Time=" + eventParams()["Time"],
                     "HostName", "ab");
  expectLineAccepted(bytesOf("\0nonsense\n\0=x\n"), "HostName", "db01");
  expectLineRejected(bytesOf("OSName\0=x"), "OSName" + kFormatError);
  expectLineRejected(bytesOf("OSName=\0x"), "OSName" + kValueError);
}

// --- incident definition files -------------------------------------------------------------------

TEST_F(Definition, CompleteIncident) {
  EXPECT_EQ(0, readIncident(definitionOf(incidentParams())));
  EXPECT_EQ(2, m_event.getEventType());
  EXPECT_EQ(incidentParams(), m_event.m_params);
  EXPECT_EQ((Texts{"CollectionTime=2026/11/20 12:00:00", "HostName=db01", "IncidentNumber=77",
                   "PartitionName=p0"}),
            m_log.texts());
}

TEST_F(Definition, IncidentKeepsItsTypeWhenRejected) {
  for (const char* bytes : {"", "nonsense\n", "HostName=\n"}) {
    m_event.m_eventType = 0;
    EXPECT_EQ(68, readIncident(bytes));
    EXPECT_EQ(2, m_event.getEventType());
  }
  m_event.m_eventType = 0;
  EXPECT_EQ(68, parseIncidentFile(m_event, "/nowhere"));
  EXPECT_EQ(2, m_event.getEventType());
}

TEST_F(Definition, IncidentNeedsEachOfItsKeys) {
  for (const std::string& key : kIncidentKeys) {
    SCOPED_TRACE(key);
    m_event.m_params.clear();
    const Params given = without(incidentParams(), key);
    EXPECT_EQ(68, readIncident(definitionOf(given)));
    Texts expected = traceOf(given);
    expected.push_back(m_path + kParameterError);
    EXPECT_EQ(expected, m_log.take());

    m_event.m_params.clear();
    EXPECT_EQ(68, readIncident(key + "=\n"));
    EXPECT_EQ(Texts{key + kValueError}, m_log.take());
  }
}

TEST_F(Definition, IncidentChecksItsKeysInOrder) {
  EXPECT_EQ(68, readIncident("IncidentNumber=77\n"));
  EXPECT_EQ((Params{{"IncidentNumber", "77"}, {"HostName", ""}}), m_event.m_params);
}

TEST_F(Definition, IncidentKnowsNoOtherKey) {
  for (const std::string& key : kEventKeys) {
    if (std::count(kIncidentKeys.begin(), kIncidentKeys.end(), key) != 0) continue;
    EXPECT_EQ(68, readIncident(key + "=x\n"));
    EXPECT_EQ(Texts{key + kKeywordError}, m_log.take());
  }
}

TEST_F(Definition, AnyKeyList) {
  std::string path = write("b=1\nMsgID=\na=2\n");
  Texts keys = {"a", "b", "MsgID"};
  EXPECT_EQ(0, m_event.parseMsgCommon(C(path), keys));
  EXPECT_EQ((Params{{"MsgID", ""}, {"a", "2"}, {"b", "1"}}), m_event.m_params);
  EXPECT_EQ(0, m_event.getEventType()) << "the common reader leaves the type alone";
  EXPECT_EQ((Texts{"a", "b", "MsgID"}), keys);

  Texts none;
  path = write("# nothing\n");
  m_event.m_params.clear();
  EXPECT_EQ(0, m_event.parseMsgCommon(C(path), none));
  EXPECT_EQ(Params(), m_event.m_params);
}

}  // namespace
