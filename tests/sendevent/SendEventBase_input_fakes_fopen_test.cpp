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
    EXPECT_EQ(readEvent("Label=disk\n" + line + "\nOSType=Linux\n"), 68);
    EXPECT_EQ(m_log.take(), Texts{text}) << "and nothing is traced";
    EXPECT_EQ(m_event.m_params, (Params{{"Label", "disk"}})) << "what stood before stays";
    EXPECT_EQ(m_event.getEventType(), 0);
  }

  /// Reads a good definition with `line` at its end, which changes `key` to `value`.
  void expectLineAccepted(const std::string& line, const std::string& key,
                          const std::string& value) {
    SCOPED_TRACE(line.substr(0, 80));
    m_event.m_params.clear();
    Params expected = eventParams();
    expected[key] = value;
    EXPECT_EQ(readEvent(definitionOf(eventParams()) + line), 0);
    EXPECT_EQ(m_event.m_params, expected);
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
  EXPECT_EQ(readEvent(definitionOf(eventParams())), 0);
  EXPECT_EQ(m_event.m_params, eventParams());
  EXPECT_EQ(m_event.getEventType(), 3);
  EXPECT_EQ(m_log.texts(),
            (Texts{"EventID=e1", "HostName=db01", "Label=disk", "MsgID=M0815", "MsgType=E",
                   "OSName=Debian", "OSType=Linux", "OSVersion=12", "PartitionName=p0",
                   "PkgName=kernel", "SendType=err", "Time=2026/11/20 12:00:00"}));
}

TEST_F(Definition, TraceHasTheWholeMapInByteOrder) {
  m_event.setParam("zebra", "z");
  m_event.setParam("Zebra", "Z");
  m_event.setParam("IncidentNumber", "100%s");
  Params expected = eventParams();
  expected.insert({{"zebra", "z"}, {"Zebra", "Z"}, {"IncidentNumber", "100%s"}});
  EXPECT_EQ(readEvent(definitionOf(eventParams())), 0);
  EXPECT_EQ(m_log.texts(), traceOf(expected));
}

TEST_F(Definition, SilentAtInformationLevel) {
  const CapturedLog log(CapturedLog::Level::kInfo);
  EXPECT_EQ(readEvent(definitionOf(eventParams())), 0);
  EXPECT_EQ(log.texts(), Texts());
}

TEST_F(Definition, LineOrderDoesNotMatter) {
  Texts lines = linesOf(definitionOf(eventParams()));
  std::reverse(lines.begin(), lines.end());
  std::string bytes;
  for (const std::string& line : lines) bytes += line + "\n";
  EXPECT_EQ(readEvent(bytes), 0);
  EXPECT_EQ(m_event.m_params, eventParams());
}

TEST_F(Definition, CrLfReadsTheSame) {
  EXPECT_EQ(readEvent(definitionOf(eventParams(), "\r\n")), 0);
  EXPECT_EQ(m_event.m_params, eventParams());
  EXPECT_EQ(m_event.getEventType(), 3);
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
    EXPECT_EQ(m_event.getEventType(), c.eventType);
  }
}

TEST_F(Definition, RejectionSetsTheEventTypeToZero) {
  for (const char* bytes : {"", "nonsense\n", "Label=\n"}) {
    m_event.m_eventType = 3;
    EXPECT_EQ(readEvent(bytes), 68);
    EXPECT_EQ(m_event.getEventType(), 0);
  }
}

TEST_F(Definition, NotFound) {
  for (const std::string& path : {m_dir / "missing", m_dir.path(), std::string()}) {
    m_event.m_eventType = 3;
    EXPECT_EQ(parseEventFile(m_event, path), 68);
    EXPECT_EQ(m_log.take(), Texts{path + kNotFound});
    EXPECT_EQ(m_event.getEventType(), 0);
    EXPECT_EQ(m_event.m_params, Params());
  }
}

TEST_F(Definition, NullPathIsNotFound) {
  EXPECT_EQ(m_event.parseTanexEventMsg(nullptr), 68);
  EXPECT_EQ(m_log.take(), Texts{kNotFound});
  EXPECT_EQ(m_event.parseTanexMsg(nullptr), 68);
  EXPECT_EQ(m_log.take(), Texts{kNotFound});
}

TEST_F(Definition, PathThatIsAParameterIsNamedAsItWas) {
  const std::string time = "Time=" + std::string(200, 't');
  m_event.setParam("Time", C(write(time + "\n")));
  EXPECT_EQ(m_event.parseTanexEventMsg(C(m_event.m_params["Time"])), 68);
  EXPECT_EQ(m_log.texts(), (Texts{time, m_path + kParameterError}));
}

TEST_F(Definition, CannotBeOpened) {
  const std::string socket = makeSocketFile(m_dir);
  EXPECT_EQ(parseEventFile(m_event, socket), 68);
  EXPECT_EQ(m_log.take(), Texts{socket + kOpenError});
  EXPECT_EQ(parseIncidentFile(m_event, socket), 68);
  EXPECT_EQ(m_log.take(), Texts{socket + kOpenError});
}

TEST_F(Definition, NothingCanBeReadIsAReadError) {
  EXPECT_EQ(parseEventFile(m_event, "/proc/self/mem"), 68);
  EXPECT_EQ(m_log.texts(), Texts{"/proc/self/mem" + kReadError});
}

/// Reading fails after the lines of `params`, which is all that is logged.
void expectReadError(const Params& params) {
  for (const auto parse : {&CSendEventBase::parseTanexEventMsg, &CSendEventBase::parseTanexMsg}) {
    const CapturedLog log(CapturedLog::Level::kTrace);
    const BrokenFile file(definitionOf(params));
    TestEvent event;
    std::string path = file.path();
    EXPECT_EQ((event.*parse)(C(path)), 68);
    EXPECT_EQ(log.texts(), Texts{path + kReadError}) << "nothing is traced";
    EXPECT_EQ(event.m_params, params) << "what was read stays, and no key is inserted";
  }
}

TEST_F(Definition, ReadErrorIsToldBeforeAnyMissingKey) {
  expectReadError({});
  expectReadError({{"HostName", "db01"}});
}

TEST_F(Definition, ReadInPartIsRejectedEvenWhenItLooksComplete) {
  const BrokenFile file(definitionOf(eventParams()));
  EXPECT_EQ(parseEventFile(m_event, file.path()), 68);
  EXPECT_EQ(m_log.texts(), Texts{file.path() + kReadError});
  EXPECT_EQ(m_event.getEventType(), 0);
}

TEST_F(Definition, BadLineIsToldAndNotTheReadErrorBehindIt) {
  const std::vector<std::pair<std::string, std::string>> table = {
      {"nonsense\n", "nonsense" + kFormatError},
      {"label=disk\n", "label" + kKeywordError},
      {"Label=\n", "Label" + kValueError},
  };
  for (const auto& [line, text] : table) {
    const BrokenFile file("HostName=db01\n" + line);
    EXPECT_EQ(parseEventFile(m_event, file.path()), 68);
    EXPECT_EQ(m_log.take(), Texts{text});
  }
}

TEST_F(Definition, PartOfALineBeforeTheReadErrorIsNotLookedAt) {
  const BrokenFile file("HostName=db01\nnonsense");
  EXPECT_EQ(parseEventFile(m_event, file.path()), 68);
  EXPECT_EQ(m_log.texts(), Texts{file.path() + kReadError});
}

TEST_F(Definition, Fifo) {
  const FilledFifo fifo(m_dir, definitionOf(eventParams()));
  EXPECT_EQ(parseEventFile(m_event, fifo.path()), 0);
  EXPECT_EQ(m_event.m_params, eventParams());
}

TEST_F(Definition, EmptyOrBlankFileMissesTheFirstKey) {
  for (const char* bytes : {"", "\n", "\n\r\n\n", "# only this\n"}) {
    m_event.m_params.clear();
    EXPECT_EQ(readEvent(bytes), 68);
    EXPECT_EQ(m_log.take(), Texts{m_path + kParameterError});
    EXPECT_EQ(m_event.m_params, (Params{{"Time", ""}}))
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
  EXPECT_EQ(m_log.texts(), traceOf(expected));
}

TEST_F(Definition, AbsentMsgIdIsInsertedEmptyAndNotTraced) {
  const Params given = without(eventParams(), "MsgID");
  Params expected = eventParams();
  expected["MsgID"] = "";
  EXPECT_EQ(readEvent(definitionOf(given)), 0);
  EXPECT_EQ(m_event.m_params, expected);
  EXPECT_EQ(m_event.getEventType(), 3);
  EXPECT_EQ(m_log.texts(), traceOf(given)) << "the trace comes before the check";
}

TEST_F(Definition, KeyGivenTwiceKeepsTheLaterValue) {
  expectLineAccepted("Label=later\n", "Label", "later");
  Params expected = eventParams();
  expected["Label"] = "later";
  EXPECT_EQ(m_log.texts(), traceOf(expected)) << "the trace shows only the later one";
}

TEST_F(Definition, EachMissingKeyIsReportedAfterTheTrace) {
  for (const std::string& key : kEventKeys) {
    if (key == "MsgID") continue;
    SCOPED_TRACE(key);
    m_event.m_params.clear();
    m_event.m_eventType = 3;
    const Params given = without(eventParams(), key);
    EXPECT_EQ(readEvent(definitionOf(given)), 68);
    Texts expected = traceOf(given);
    expected.push_back(m_path + kParameterError);
    EXPECT_EQ(m_log.take(), expected);
    EXPECT_EQ(m_event.getEventType(), 0);
  }
}

TEST_F(Definition, MissingLabel) {
  const CapturedLog log;
  EXPECT_EQ(readEvent(definitionOf(without(eventParams(), "Label"))), 68);
  EXPECT_EQ(log.texts(), Texts{m_path + kParameterError});
}

TEST_F(Definition, CheckStopsAtTheFirstMissingKeyOfTheList) {
  const Params given = {{"Label", "disk"}, {"OSType", "Linux"}};
  Params expected = given;
  expected["Time"] = "";
  EXPECT_EQ(readEvent(definitionOf(given)), 68);
  EXPECT_EQ(m_event.m_params, expected);

  // In list order: HostName is asked for before EventID, which the map has first.
  m_event.m_params.clear();
  m_log.take();
  EXPECT_EQ(readEvent("Time=now\nLabel=disk\n"), 68);
  EXPECT_EQ(m_event.m_params, (Params{{"HostName", ""}, {"Label", "disk"}, {"Time", "now"}}));
  EXPECT_EQ(m_log.texts(), (Texts{"Label=disk", "Time=now", m_path + kParameterError}));
}

TEST_F(Definition, ParameterThatIsAlreadyThereSatisfiesTheCheck) {
  m_event.setParam("HostName", "kept");
  EXPECT_EQ(readEvent(definitionOf(without(eventParams(), "HostName"))), 0);
  EXPECT_STREQ(m_event.getParam("HostName"), "kept");
}

TEST_F(Definition, EmptyParameterThatIsAlreadyThereIsMissing) {
  m_event.getParam("HostName");
  const Params given = without(eventParams(), "HostName");
  Params traced = given;
  traced["HostName"] = "";
  EXPECT_EQ(readEvent(definitionOf(given)), 68);
  Texts expected = traceOf(traced);
  expected.push_back(m_path + kParameterError);
  EXPECT_EQ(m_log.texts(), expected);
}

TEST_F(Definition, ReadingStopsAtTheFirstBadLine) {
  EXPECT_EQ(readEvent("Label=disk\nfirst\nsecond\nTime=\n"), 68);
  EXPECT_EQ(m_log.texts(), Texts{"first" + kFormatError});
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
  EXPECT_EQ(readEvent(hostLine(1024)), 68);
  EXPECT_EQ(m_log.take(), Texts{"x" + kFormatError});
  EXPECT_EQ(m_event.m_params, (Params{{"HostName", x(1023 - 9)}}));

  expectLineAccepted("HostName=" + x(1023 - 9) + "Label=cut\nHostName=db01\n", "Label", "cut");
}

TEST_F(Definition, SecondPieceMayBeAComment) {
  expectLineAccepted("HostName=" + x(1023 - 9) + "#no line\n", "HostName", x(1023 - 9));
}

TEST_F(Definition, LongLine) {
  EXPECT_EQ(readEvent(hostLine(5000)), 68);
  EXPECT_EQ(m_log.texts(), Texts{x(1023) + kFormatError});
  EXPECT_EQ(m_event.m_params, (Params{{"HostName", x(1023 - 9)}}));
}

TEST_F(Definition, LongCommentsSecondPieceIsNoComment) {
  EXPECT_EQ(readEvent("#" + x(1022) + "rest\n"), 68);
  EXPECT_EQ(m_log.take(), Texts{"rest" + kFormatError});
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
  EXPECT_EQ(readIncident(definitionOf(incidentParams())), 0);
  EXPECT_EQ(m_event.getEventType(), 2);
  EXPECT_EQ(m_event.m_params, incidentParams());
  EXPECT_EQ(m_log.texts(), (Texts{"CollectionTime=2026/11/20 12:00:00", "HostName=db01",
                                  "IncidentNumber=77", "PartitionName=p0"}));
}

TEST_F(Definition, IncidentKeepsItsTypeWhenRejected) {
  for (const char* bytes : {"", "nonsense\n", "HostName=\n"}) {
    m_event.m_eventType = 0;
    EXPECT_EQ(readIncident(bytes), 68);
    EXPECT_EQ(m_event.getEventType(), 2);
  }
  m_event.m_eventType = 0;
  EXPECT_EQ(parseIncidentFile(m_event, "/nowhere"), 68);
  EXPECT_EQ(m_event.getEventType(), 2);
}

TEST_F(Definition, IncidentNeedsEachOfItsKeys) {
  for (const std::string& key : kIncidentKeys) {
    SCOPED_TRACE(key);
    m_event.m_params.clear();
    const Params given = without(incidentParams(), key);
    EXPECT_EQ(readIncident(definitionOf(given)), 68);
    Texts expected = traceOf(given);
    expected.push_back(m_path + kParameterError);
    EXPECT_EQ(m_log.take(), expected);

    m_event.m_params.clear();
    EXPECT_EQ(readIncident(key + "=\n"), 68);
    EXPECT_EQ(m_log.take(), Texts{key + kValueError});
  }
}

TEST_F(Definition, IncidentChecksItsKeysInOrder) {
  EXPECT_EQ(readIncident("IncidentNumber=77\n"), 68);
  EXPECT_EQ(m_event.m_params, (Params{{"IncidentNumber", "77"}, {"HostName", ""}}));
}

TEST_F(Definition, IncidentKnowsNoOtherKey) {
  for (const std::string& key : kEventKeys) {
    if (std::count(kIncidentKeys.begin(), kIncidentKeys.end(), key) != 0) continue;
    EXPECT_EQ(readIncident(key + "=x\n"), 68);
    EXPECT_EQ(m_log.take(), Texts{key + kKeywordError});
  }
}

TEST_F(Definition, AnyKeyList) {
  std::string path = write("b=1\nMsgID=\na=2\n");
  Texts keys = {"a", "b", "MsgID"};
  EXPECT_EQ(m_event.parseMsgCommon(C(path), keys), 0);
  EXPECT_EQ(m_event.m_params, (Params{{"MsgID", ""}, {"a", "2"}, {"b", "1"}}));
  EXPECT_EQ(m_event.getEventType(), 0) << "the common reader leaves the type alone";
  EXPECT_EQ(keys, (Texts{"a", "b", "MsgID"}));

  Texts none;
  path = write("# nothing\n");
  m_event.m_params.clear();
  EXPECT_EQ(m_event.parseMsgCommon(C(path), none), 0);
  EXPECT_EQ(m_event.m_params, Params());
}

}  // namespace
