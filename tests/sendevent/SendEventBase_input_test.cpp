#include "sendevent/SendEventBase.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <string>
#include <type_traits>
#include <vector>

#include "common/base/format.h"
#include "sendevent/CSendEventSingleSystem.h"
#include "support/actionlog.h"
#include "support/inputfiles.h"
#include "support/scratch.h"
#include "support/slots.h"
#include "support/testevent.h"

namespace {

// --- the object ----------------------------------------------------------------------------------

static_assert(std::is_convertible_v<CSendEventSingleSystem*, CSendEventBase*>);
static_assert(std::has_virtual_destructor_v<CSendEventBase>);
static_assert(std::is_same_v<decltype(TestEvent().getSendFileList()), Texts>, "a copy");
static_assert(sizeof(CSendEventSingleSystem) == sizeof(CSendEventBase), "it adds no field");

TEST(SendEventObject, Destructor_AloneIsVirtual) {
  using Base = CSendEventBase;
  const std::vector<std::size_t> operations =
      slotsOf(&Base::parseTanexEventMsg, &Base::parseTanexMsg, &Base::parseMsgCommon,
              &Base::getEventType, &Base::getSendFileList, &Base::getParam, &Base::setParam,
              &Base::commonSendEvent, &Base::getSyslogLine, &Base::convStr,
              &CSendEventSingleSystem::parseCommandLine, &CSendEventSingleSystem::sendEvent);
  // In place of a slot there is the address of one that is not virtual.
  for (const std::size_t slot : operations) EXPECT_GT(slot, 100U);
}

TEST(SendEventObject, Fields_AreTypeListAndParametersInThisOrder) {
  const TestEvent event;
  const void* places[] = {&event.m_eventType, &event.m_sendFileList, &event.m_params};
  EXPECT_LT(places[0], places[1]);
  EXPECT_LT(places[1], places[2]);
}

TEST(SendEventObject, NewEvent_IsEmpty) {
  TestSingleSystem event;
  EXPECT_EQ(event.getEventType(), 0);
  EXPECT_EQ(event.getSendFileList(), Texts());
  EXPECT_EQ(event.m_params, Params());
}

TEST(SendEventObject, GetParam_InsertsAnUnknownKeyEmptyUnlessItIsNull) {
  TestEvent event;
  event.setParam("Label", "disk");
  const char* value = event.getParam("Label");
  // Keys are case-sensitive and compared whole.
  for (const char* key : {"Time", "label", "Lab", "", static_cast<const char*>(nullptr)}) {
    EXPECT_STREQ(event.getParam(key), "");
  }
  EXPECT_EQ(event.m_params,
            (Params{{"Label", "disk"}, {"Time", ""}, {"label", ""}, {"Lab", ""}, {"", ""}}));
  EXPECT_STREQ(value, "disk") << "it stays valid until it changes";
}

TEST(SendEventObject, SetParam_InsertsAndOverwritesUnlessSomethingIsNull) {
  TestEvent event;
  event.setParam("Label", "disk");
  event.setParam("any key", "");
  event.setParam("Label", "a=b ");
  event.setParam(nullptr, "value");
  event.setParam("Label", nullptr);
  event.setParam("Other", nullptr);
  EXPECT_EQ(event.m_params, (Params{{"Label", "a=b "}, {"any key", ""}}));
}

TEST(SendEventObject, SetParam_TakesAValueOfItsOwn) {
  TestEvent event;
  const std::string value(100, 'v');
  event.setParam("Label", ("ab" + value).c_str());
  event.setParam("Label", event.getParam("Label") + 2);
  event.setParam("Time", event.getParam("Label"));
  event.setParam(event.getParam("Label"), "x");
  EXPECT_EQ(event.m_params, (Params{{"Label", value}, {"Time", value}, {value, "x"}}));
}

// --- what a definition is read into --------------------------------------------------------------

/// One of the two forms of a definition file.
struct Form {
  int (CSendEventBase::*parse)(char*);
  Params params;  // of a complete file
  int parsedType;
  int rejectedType;
};

const Form kEvent = {&CSendEventBase::parseTanexEventMsg, eventParams(), 3, 0};
const Form kIncident = {&CSendEventBase::parseTanexMsg,
                        {{"IncidentNumber", "77"},
                         {"HostName", "db01"},
                         {"PartitionName", "p0"},
                         {"CollectionTime", "2026/11/20 12:00:00"}},
                        2,
                        2};

Params with(Params params, const std::string& key, const std::string& value) {
  params[key] = value;
  return params;
}

Params without(Params params, const std::string& key) {
  params.erase(key);
  return params;
}

/// What the trace shows of the parameters, and a line after it.
Texts traceOf(const Params& params, const Texts& after = {}) {
  Texts texts;
  for (const auto& [key, value] : params) texts.push_back(key + "=" + value);
  texts.insert(texts.end(), after.begin(), after.end());
  return texts;
}

/// A definition file that is written anew for each reading.
class Definition : public testing::Test {
 protected:
  int parseFile(const Form& form, std::string path) { return (m_event.*form.parse)(C(path)); }
  int read(const Form& form, const std::string& bytes) {
    return parseFile(form, m_dir.write("event.def", bytes));
  }

  /// Reads a file into an event without parameters, which must be rejected with these lines of log.
  void expectRejected(const Form& form, const std::string& bytes, const Texts& log,
                      const Params& left) {
    SCOPED_TRACE(bytes.substr(0, 80));
    m_event.m_params.clear();
    m_event.m_eventType = 7;
    EXPECT_EQ(read(form, bytes), 68);
    EXPECT_EQ(m_log.take(), log);
    EXPECT_EQ(m_event.m_params, left) << "what stood before the bad line stays";
    EXPECT_EQ(m_event.getEventType(), form.rejectedType);
  }

  /// Reads a file that must give these parameters, and trace them.
  void expectRead(const Form& form, const std::string& bytes, const Params& params,
                  int eventType = 3) {
    SCOPED_TRACE(bytes.substr(0, 80));
    m_event.m_params.clear();
    EXPECT_EQ(read(form, bytes), 0);
    EXPECT_EQ(m_event.m_params, params);
    EXPECT_EQ(m_event.getEventType(), eventType);
    EXPECT_EQ(m_log.take(), traceOf(params));
  }

  ScratchDir m_dir;
  CapturedLog m_log{CapturedLog::Level::kTrace};
  TestEvent m_event;
  const std::string m_missing = (m_dir / "event.def") + kParameterError;
};

// --- both forms ----------------------------------------------------------------------------------

TEST_F(Definition, CompleteFile_IsReadWhateverItsOrderAndItsLineEnds) {
  for (const Form& form : {kEvent, kIncident}) {
    expectRead(form, definitionOf(form.params), form.params, form.parsedType);
    expectRead(form, definitionOf(form.params, "\r\n"), form.params, form.parsedType);
    Texts lines = linesOf(definitionOf(form.params));
    std::reverse(lines.begin(), lines.end());
    std::string reversed;
    for (const std::string& line : lines) reversed += line + "\n";
    expectRead(form, reversed, form.params, form.parsedType);
  }
}

TEST_F(Definition, FileThatCannotBeRead_IsTold) {
  const std::string socket = makeSocketFile(m_dir);
  const Texts table[] = {
      {m_dir / "missing", kNotFound}, {m_dir.path(), kNotFound},      {"", kNotFound},
      {socket, kOpenError},           {"/proc/self/mem", kReadError},
  };
  for (const Form& form : {kEvent, kIncident}) {
    for (const Texts& row : table) {
      m_event.m_eventType = 7;
      EXPECT_EQ(parseFile(form, row[0]), 68);
      EXPECT_EQ(m_log.take(), Texts{row[0] + row[1]});
      EXPECT_EQ(m_event.getEventType(), form.rejectedType);
      EXPECT_EQ(m_event.m_params, Params());
    }
    EXPECT_EQ((m_event.*form.parse)(nullptr), 68);
    EXPECT_EQ(m_log.take(), Texts{kNotFound});
  }
}

TEST_F(Definition, EachKeyButMsgId_MustHaveAValue) {
  for (const Form& form : {kEvent, kIncident}) {
    for (const auto& [key, value] : form.params) {
      if (key == "MsgID") continue;
      const std::string line = key + "=";
      const Texts log = {key + kValueError};
      const Params before = {{"HostName", "x"}};
      expectRejected(form, definitionOf(before) + line + "\n", log, before);
      expectRejected(form, definitionOf(before) + line + "\r\n", log, before);
    }
  }
}

TEST_F(Definition, EachKeyButMsgId_MustBeThere) {
  for (const Form& form : {kEvent, kIncident}) {
    for (const auto& [key, value] : form.params) {
      if (key == "MsgID") continue;
      const Params given = without(form.params, key);
      Params left = with(given, key, "");
      expectRejected(form, definitionOf(given), traceOf(given, {m_missing}), left);
    }
  }
}

TEST_F(Definition, KeyOfTheOtherForm_IsUnknown) {
  for (const Form& form : {kEvent, kIncident}) {
    const Form& other = form.parsedType == 3 ? kIncident : kEvent;
    for (const auto& [key, value] : other.params) {
      if (form.params.count(key) != 0) continue;
      expectRejected(form, key + "=x\n", {key + kKeywordError}, {});
    }
  }
}

TEST_F(Definition, AnyKeyList_CanBeAskedForAndMsgIdIsInsertedEmptyAfterTheTrace) {
  std::string path = m_dir.write("event.def", "b=1\na=2\n");
  Texts keys = {"a", "b", "MsgID"};
  EXPECT_EQ(m_event.parseMsgCommon(C(path), keys), 0);
  EXPECT_EQ(m_event.m_params, (Params{{"MsgID", ""}, {"a", "2"}, {"b", "1"}}));
  EXPECT_EQ(m_event.getEventType(), 0) << "the common reader leaves the type alone";
  EXPECT_EQ(keys, (Texts{"a", "b", "MsgID"}));
  EXPECT_EQ(m_log.texts(), (Texts{"a=2", "b=1"}));

  Texts none;
  m_dir.write("event.def", "# nothing\n");
  m_event.m_params.clear();
  EXPECT_EQ(m_event.parseMsgCommon(C(path), none), 0);
  EXPECT_EQ(m_event.m_params, Params());
}

// --- lines ---------------------------------------------------------------------------------------

TEST_F(Definition, GoodLine_SetsItsKey) {
  const std::string full = "HostName=" + x(1023 - 9);  // a piece, to the last byte
  struct Row {
    std::string lines;  // at the end of a complete file
    const char* key;
    std::string value;
    int eventType = 3;
  };
  const Row rows[] = {
      {"SendType=err\n", "SendType", "err", 3},
      {"SendType=ERR\n", "SendType", "ERR", 4},
      {"SendType=error\n", "SendType", "error", 4},
      {"SendType=er\n", "SendType", "er", 4},
      {"SendType=err \n", "SendType", "err ", 4},
      {"SendType= err\n", "SendType", " err", 4},
      // A last line without its end.
      {"Time=later", "Time", "later"},
      {"Time=later\r", "Time", "later"},
      {"#\n\n#Label=other\n\r\n# no equals sign\n#\r\nTime=later\n", "Time", "later"},
      // The value goes from the first equals sign to the end.
      {"HostName=a=b\n", "HostName", "a=b"},
      {"HostName==\n", "HostName", "="},
      {"HostName= x  \n", "HostName", " x  "},
      {"HostName=\"q\" \\n #c\n", "HostName", "\"q\" \\n #c"},
      {"HostName=\xa4\xa2\xff\n", "HostName", "\xa4\xa2\xff"},
      {"HostName=a\rb\r\r\n", "HostName", "a\rb\r"},
      {"HostName=100%s\n", "HostName", "100%s"},
      {"MsgID=\n", "MsgID", ""},
      {"Label=first\nLabel=later\n", "Label", "later"},
      // A zero byte cuts its piece only.
      {bytesOf("HostName=ab\0cd\nTime=2026/11/20 12:00:00\n"), "HostName", "ab"},
      {bytesOf("\0nonsense\n\0=x\n"), "HostName", "db01"},
      // The rules apply to each piece of 1,023 bytes.
      {full + "\n", "HostName", x(1023 - 9)},
      {full + "\r\n", "HostName", x(1023 - 9)},
      {full + "Label=cut\nHostName=db01\n", "Label", "cut"},
      {full + "#no line\n", "HostName", x(1023 - 9)},
      {"#" + x(1021) + "\n", "HostName", "db01"},
      {"#" + x(1022) + "\n", "HostName", "db01"},
      {"#" + x(1022) + "#" + x(100) + "\n", "HostName", "db01"},
  };
  for (const Row& row : rows) {
    expectRead(kEvent, definitionOf(eventParams()) + row.lines,
               with(eventParams(), row.key, row.value), row.eventType);
  }
}

TEST_F(Definition, BadLine_IsToldAndEndsTheReading) {
  const Texts table[] = {
      {"  #x=1", "  #x" + kKeywordError},
      {"   ", "   " + kFormatError},
      {"\t", "\t" + kFormatError},
      {"HostName", "HostName" + kFormatError},
      {"HostName: db01 100%s", "HostName: db01 100%s" + kFormatError},
      {"\xa4\xa2\xff", "\xa4\xa2\xff" + kFormatError},
      {"HostName = x", "HostName " + kKeywordError},
      {"first\nsecond\nTime=", "first" + kFormatError},
      {bytesOf("OSName\0=x"), "OSName" + kFormatError},
      {bytesOf("OSName=\0x"), "OSName" + kValueError},
  };
  const Params before = {{"Label", "disk"}};
  for (const Texts& row : table) {
    expectRejected(kEvent, definitionOf(before) + row[0] + "\nOSType=Linux\n", {row[1]}, before);
  }
  for (const char* key : {"", "hostname", "HOSTNAME", "HostNam", "HostName2", " HostName", "%s"}) {
    for (const char* value : {"=x", "="}) {
      expectRejected(kEvent, definitionOf(before) + key + value + "\nOSType=Linux\n",
                     {key + kKeywordError}, before);
    }
  }
}

TEST_F(Definition, BadFile_IsToldByItsFirstFault) {
  struct Row {
    std::string bytes;
    Texts log;
    Params left;
  };
  const Params full = {{"HostName", x(1023 - 9)}};
  const Row rows[] = {
      // Only the first key that is missing, in the order of the list, is looked at.
      {"", {m_missing}, {{"Time", ""}}},
      {"\n\r\n\n", {m_missing}, {{"Time", ""}}},
      {"# only this\n", {m_missing}, {{"Time", ""}}},
      {"Label=disk\nOSType=Linux\n",
       {"Label=disk", "OSType=Linux", m_missing},
       {{"Label", "disk"}, {"OSType", "Linux"}, {"Time", ""}}},
      {"Time=now\nLabel=disk\n",
       {"Label=disk", "Time=now", m_missing},
       {{"HostName", ""}, {"Label", "disk"}, {"Time", "now"}}},
      // The second piece of a long line is looked at like a line.
      {"HostName=" + x(1024 - 9) + "\n", {"x" + kFormatError}, full},
      {"HostName=" + x(5000 - 9) + "\n", {x(1023) + kFormatError}, full},
      {"#" + x(1022) + "rest\n", {"rest" + kFormatError}, {}},
  };
  for (const Row& row : rows) expectRejected(kEvent, row.bytes, row.log, row.left);
}

// --- what the event knows before -----------------------------------------------------------------

TEST_F(Definition, LogAtInformationLevel_HasNoTrace) {
  const CapturedLog log(CapturedLog::Level::kInfo);
  EXPECT_EQ(read(kEvent, definitionOf(eventParams())), 0);
  EXPECT_EQ(log.texts(), Texts());
  m_event.m_params.clear();
  EXPECT_EQ(read(kEvent, definitionOf(without(eventParams(), "Label"))), 68);
  EXPECT_EQ(log.texts(), Texts{m_missing});
}

TEST_F(Definition, ParameterThatIsAlreadyThere_CountsUnlessItIsEmpty) {
  const Params given = without(eventParams(), "HostName");
  m_event.setParam("HostName", "100%s");
  m_event.setParam("zebra", "z");
  EXPECT_EQ(read(kEvent, definitionOf(given)), 0);
  const Params known = with(with(given, "HostName", "100%s"), "zebra", "z");
  EXPECT_EQ(m_event.m_params, known);
  EXPECT_EQ(m_log.take(), traceOf(known)) << "also what the file does not have";

  m_event.m_params.clear();
  m_event.setParam("HostName", "");
  EXPECT_EQ(read(kEvent, definitionOf(given)), 68);
  EXPECT_EQ(m_log.texts(), traceOf(with(given, "HostName", ""), {m_missing}));
}

TEST_F(Definition, PathThatIsAParameter_IsNamedAsItWas) {
  const std::string time = "Time=" + std::string(200, 't');
  m_event.setParam("Time", C(m_dir.write("event.def", time + "\n")));
  EXPECT_EQ(m_event.parseTanexEventMsg(C(m_event.m_params["Time"])), 68);
  EXPECT_EQ(m_log.texts(), (Texts{time, m_missing}));
}

}  // namespace
