#include <gtest/gtest.h>
#include <sys/socket.h>
#include <sys/stat.h>
#include <sys/un.h>
#include <unistd.h>

#include <algorithm>
#include <cstdint>
#include <cstring>
#include <fstream>
#include <ostream>
#include <string>
#include <thread>
#include <type_traits>
#include <vector>

#include "common/format.h"
#include "log/CLog.h"
#include "sendevent/CSendEventSingleSystem.h"
#include "sendevent/SendEventBase.h"
#include "support/FakeKelcom.h"
#include "support/actionlog.h"
#include "support/brokenfile.h"
#include "support/childrun.h"
#include "support/environmentguard.h"
#include "support/scratch.h"
#include "support/testevent.h"

namespace {

using Texts = std::vector<std::string>;

const std::string kCountError = "parameter count error.(CSendEventSingleSystem::parseCommandLine)";
const std::string kOptionError =
    "parameter option error.(CSendEventSingleSystem::parseCommandLine)";
const std::string kNoSendFile = "No send file.(CSendEventSingleSystem::parseCommandLine)";
const std::string kListNotFound = " not found.(CSendEventSingleSystem::parseCommandLine)";
const std::string kListOpenError = " open error.(CSendEventSingleSystem::parseCommandLine)";
const std::string kNotFound = " not found.(CSendEventBase::parseMsgCommon)";
const std::string kOpenError = " open error.(CSendEventBase::parseMsgCommon)";
const std::string kFormatError = " format error.(CSendEventBase::parseMsgCommon)";
const std::string kKeywordError = " Keyword error.(CSendEventBase::parseMsgCommon)";
const std::string kValueError = " value error.(CSendEventBase::parseMsgCommon)";
const std::string kParameterError = " parameter error.(CSendEventBase::parseTanexMsg)";

const Texts kEventKeys = {"Time",    "Label",   "HostName", "OSType",   "OSName",  "OSVersion",
                          "PkgName", "MsgType", "MsgID",    "SendType", "EventID", "PartitionName"};
const Texts kIncidentKeys = {"IncidentNumber", "HostName", "PartitionName", "CollectionTime"};

int parse(CSendEventSingleSystem& event, const Texts& words) {
  Arguments arguments(words);
  return event.parseCommandLine(arguments.argc(), arguments.argv());
}

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

/// A socket file, which exists and cannot be opened, not even by root.
std::string makeSocketFile(const ScratchDir& dir) {
  const std::string path = dir / "socket";
  sockaddr_un address = {};
  address.sun_family = AF_UNIX;
  std::strncpy(address.sun_path, path.c_str(), sizeof address.sun_path - 1);
  const int fd = ::socket(AF_UNIX, SOCK_STREAM, 0);
  EXPECT_EQ(0, ::bind(fd, reinterpret_cast<const sockaddr*>(&address), sizeof address));
  ::close(fd);
  return path;
}

/// A FIFO that somebody writes `bytes` into as soon as it is read.
class FilledFifo {
 public:
  FilledFifo(const ScratchDir& dir, const std::string& bytes) : m_path(dir / "fifo") {
    EXPECT_EQ(0, ::mkfifo(m_path.c_str(), 0600));
    m_writer = std::thread([path = m_path, bytes] { std::ofstream(path) << bytes; });
  }
  ~FilledFifo() { m_writer.join(); }
  FilledFifo(const FilledFifo&) = delete;
  FilledFifo& operator=(const FilledFifo&) = delete;

  const std::string& path() const { return m_path; }

 private:
  std::string m_path;
  std::thread m_writer;
};

/// Bytes of a text with zero bytes in it.
template <std::size_t N>
std::string bytesOf(const char (&literal)[N]) {
  return std::string(literal, N - 1);
}

// --- object --------------------------------------------------------------------------------------

TEST(SendEventObject, DerivedClassAddsNoFieldAndOverridesOnlyTheDestructor) {
  EXPECT_TRUE((std::is_convertible_v<CSendEventSingleSystem*, CSendEventBase*>));
  EXPECT_TRUE(std::has_virtual_destructor_v<CSendEventBase>);
  EXPECT_EQ(sizeof(CSendEventBase), sizeof(CSendEventSingleSystem));
}

/// Whether an operation is virtual, as the C++ ABI marks it in a pointer to a member: by the lowest
/// bit of its first word, on some machines of its second.
template <class Member>
bool isVirtual(Member member) {
  std::uintptr_t words[2];
  static_assert(sizeof member == sizeof words, "a pointer and an adjustment");
  std::memcpy(words, &member, sizeof words);
  return ((words[0] | words[1]) & 1) != 0;
}

TEST(SendEventObject, OnlyTheDestructorIsVirtual) {
  struct Virtual {
    virtual ~Virtual() = default;
    virtual void operation() {}
  };
  EXPECT_TRUE(isVirtual(&Virtual::operation)) << "the mark itself";
  EXPECT_FALSE(isVirtual(&CSendEventBase::parseTanexEventMsg));
  EXPECT_FALSE(isVirtual(&CSendEventBase::parseTanexMsg));
  EXPECT_FALSE(isVirtual(&CSendEventBase::parseMsgCommon));
  EXPECT_FALSE(isVirtual(&CSendEventBase::getEventType));
  EXPECT_FALSE(isVirtual(&CSendEventBase::getSendFileList));
  EXPECT_FALSE(isVirtual(&CSendEventBase::getParam));
  EXPECT_FALSE(isVirtual(&CSendEventBase::setParam));
  EXPECT_FALSE(isVirtual(&CSendEventBase::commonSendEvent));
  EXPECT_FALSE(isVirtual(&CSendEventBase::getSyslogLine));
  EXPECT_FALSE(isVirtual(&CSendEventBase::convStr));
  EXPECT_FALSE(isVirtual(&CSendEventSingleSystem::parseCommandLine));
  EXPECT_FALSE(isVirtual(&CSendEventSingleSystem::sendEvent));
}

TEST(SendEventObject, FieldsAreTypeListAndParametersInThisOrder) {
  const TestEvent event;
  const auto place = [&event](const auto& field) {
    return reinterpret_cast<const char*>(&field) - reinterpret_cast<const char*>(&event);
  };
  EXPECT_LT(place(event.m_eventType), place(event.m_sendFileList));
  EXPECT_LT(place(event.m_sendFileList), place(event.m_params));
}

TEST(SendEventObject, StartsEmpty) {
  TestSingleSystem event;
  EXPECT_EQ(0, event.getEventType());
  EXPECT_EQ(Texts(), event.getSendFileList());
  EXPECT_EQ(Params(), event.m_params);
}

TEST(SendEventObject, GetParamInsertsAnAbsentKeyEmpty) {
  TestEvent event;
  EXPECT_STREQ("", event.getParam("Label"));
  EXPECT_EQ((Params{{"Label", ""}}), event.m_params);
}

TEST(SendEventObject, GetParamGivesTheValueUntilItChanges) {
  TestEvent event;
  event.setParam("Label", "disk");
  const char* value = event.getParam("Label");
  event.setParam("Time", "now");
  event.getParam("Absent");
  EXPECT_STREQ("disk", value);
  EXPECT_STREQ("", event.getParam("label")) << "keys are case-sensitive";
  EXPECT_STREQ("", event.getParam("Lab")) << "keys are compared whole";
}

TEST(SendEventObject, GetParamOfNullInsertsNothing) {
  TestEvent event;
  EXPECT_STREQ("", event.getParam(nullptr));
  EXPECT_EQ(Params(), event.m_params);
}

TEST(SendEventObject, SetParamInsertsAndOverwrites) {
  TestEvent event;
  event.setParam("Label", "disk");
  event.setParam("any key", "");
  event.setParam("Label", "a=b ");
  EXPECT_EQ((Params{{"Label", "a=b "}, {"any key", ""}}), event.m_params);
}

TEST(SendEventObject, SetParamWithNullDoesNothing) {
  TestEvent event;
  event.setParam(nullptr, "value");
  event.setParam("Label", nullptr);
  EXPECT_EQ(Params(), event.m_params);
}

TEST(SendEventObject, SendFileListIsACopy) {
  TestEvent event(2, {"/a", "/b"});
  Texts copy = event.getSendFileList();
  EXPECT_EQ((Texts{"/a", "/b"}), copy);
  copy.clear();
  EXPECT_EQ((Texts{"/a", "/b"}), event.getSendFileList());
}

// --- command line --------------------------------------------------------------------------------

TEST(ParseCommandLine, FewerThanThreeArguments) {
  const ScratchDir dir;
  const std::string list = dir.write("list", "/a\n");
  for (const Texts& words : {Texts{"tanexics"}, Texts{"tanexics", list}, Texts{"tanexics", ""}}) {
    const CapturedLog log;
    TestSingleSystem event;
    event.m_eventType = 3;
    EXPECT_EQ(68, parse(event, words)) << words.size();
    EXPECT_EQ(Texts{kCountError}, log.texts());
    EXPECT_EQ(0, event.getEventType());
    EXPECT_EQ(Texts(), event.getSendFileList()) << "the list was not read";
  }
}

TEST(ParseCommandLine, ListMissing) {
  const ScratchDir dir;
  const CapturedLog log;
  TestSingleSystem event;
  EXPECT_EQ(68, parse(event, {"tanexics", dir / "missing", "-i", "1"}));
  EXPECT_EQ(Texts{(dir / "missing") + kListNotFound}, log.texts());
  EXPECT_EQ(0, event.getEventType());
  EXPECT_EQ(Params(), event.m_params);
}

TEST(ParseCommandLine, ListEmptyName) {
  const CapturedLog log;
  TestSingleSystem event;
  EXPECT_EQ(68, parse(event, {"tanexics", "", "-i", "1"}));
  EXPECT_EQ(Texts{kListNotFound}, log.texts());
}

TEST(ParseCommandLine, ListIsADirectory) {
  const ScratchDir dir;
  const CapturedLog log;
  TestSingleSystem event;
  EXPECT_EQ(68, parse(event, {"tanexics", dir.path(), "-i", "1"}));
  EXPECT_EQ(Texts{dir.path() + kListNotFound}, log.texts());
}

TEST(ParseCommandLine, ListCannotBeOpened) {
  const ScratchDir dir;
  const std::string socket = makeSocketFile(dir);
  const CapturedLog log;
  TestSingleSystem event;
  EXPECT_EQ(68, parse(event, {"tanexics", socket, "-i", "1"}));
  EXPECT_EQ(Texts{socket + kListOpenError}, log.texts());
  EXPECT_EQ(0, event.getEventType());
}

TEST(ParseCommandLine, ListOfWhichNothingCanBeReadNamesNoFile) {
  const CapturedLog log;
  TestSingleSystem event;
  EXPECT_EQ(68, parse(event, {"tanexics", "/proc/self/mem", "-i", "1"}));
  EXPECT_EQ(Texts{kNoSendFile}, log.texts());
}

TEST(ParseCommandLine, ListReadInPartIsRejected) {
  const CapturedLog log;
  const BrokenFile list("/a\n/b\n");
  TestSingleSystem event;
  EXPECT_EQ(68, parse(event, {"tanexics", list.path(), "-i", "1"}));
  EXPECT_EQ(Texts{list.path() + " read error.(CSendEventSingleSystem::parseCommandLine)"},
            log.texts());
}

TEST(ParseCommandLine, ListIsCheckedBeforeTheOption) {
  const CapturedLog log;
  TestSingleSystem event;
  EXPECT_EQ(68, parse(event, {"tanexics", "/nowhere/list", "-x"}));
  EXPECT_EQ(Texts{"/nowhere/list" + kListNotFound}, log.texts());
}

TEST(ParseCommandLine, ListWithoutALineIsRejectedInEveryMode) {
  const ScratchDir dir;
  for (const char* bytes : {"", "\n", "\n\n\n", "\r\n\r\n", "\r", "\r\n"}) {
    const std::string list = dir.write("list", bytes);
    for (const char* option : {"-i", "-ifoo", "-r", "-x"}) {
      const CapturedLog log;
      TestSingleSystem event;
      EXPECT_EQ(68, parse(event, {"tanexics", list, option, "ABC"})) << option;
      EXPECT_EQ(Texts{kNoSendFile}, log.texts()) << option;
      EXPECT_EQ(0, event.getEventType());
      EXPECT_EQ(Params(), event.m_params);
    }
  }
}

struct ListCase {
  const char* name;
  std::string bytes;
  Texts entries;
};

void PrintTo(const ListCase& c, std::ostream* out) { *out << c.name; }

class SendFileList : public testing::TestWithParam<ListCase> {};

TEST_P(SendFileList, Entries) {
  const ScratchDir dir;
  const std::string list = dir.write("list", GetParam().bytes);
  const CapturedLog log(CapturedLog::Level::kTrace);
  TestSingleSystem event;
  EXPECT_EQ(0, parse(event, {"tanexics", list, "-i", "1"}));
  EXPECT_EQ(GetParam().entries, event.getSendFileList());
  EXPECT_EQ(Texts(), log.texts());
}

std::string x(std::size_t count) { return std::string(count, 'x'); }

const ListCase kListCases[] = {
    {"OneLine", "/a\n", {"/a"}},
    {"FileOrder", "/b\n/a\n/c\n", {"/b", "/a", "/c"}},
    {"CrLfEnds", "/a\r\n/b\r\n", {"/a", "/b"}},
    {"LastLineWithoutEnd", "/a\n/b", {"/a", "/b"}},
    {"LastLineWithCrOnly", "/a\n/b\r", {"/a", "/b"}},
    {"BlankLinesAreDropped", "\n/a\n\n\r\n/b\n\n", {"/a", "/b"}},
    {"DuplicatesAreKept", "/a\n/a\n/b\n/a\n", {"/a", "/a", "/b", "/a"}},
    {"LineBeginningWithHashIsAFileName", "#/a\n# b\n", {"#/a", "# b"}},
    {"BlanksAreKept", "  /a  \n \n\t\n", {"  /a  ", " ", "\t"}},
    {"OnlyOneCrGoes", "/a\r\r\n", {"/a\r"}},
    {"CrWithinALineStays", "/a\rb\n", {"/a\rb"}},
    {"HighBytes", "/\x80\xff\xa4\xa2\n", {"/\x80\xff\xa4\xa2"}},
    {"PercentSigns", "/%s%n\n", {"/%s%n"}},
    {"ZeroByteCutsItsLineOnly", bytesOf("/a\0b\n/c\n"), {"/a", "/c"}},
    {"ZeroByteAtTheBeginningDropsItsLine", bytesOf("\0/a\n/c\n"), {"/c"}},
    {"ZeroByteBeforeALongRest", bytesOf("/a\0") + x(1500) + "\n/c\n", {"/a", x(480), "/c"}},
    {"Line1022", x(1022) + "\n/b\n", {x(1022), "/b"}},
    {"Line1022CrLf", x(1022) + "\r\n/b\n", {x(1022), "/b"}},
    {"Line1023", x(1023) + "\n/b\n", {x(1023), "/b"}},
    {"Line1023CrLf", x(1023) + "\r\n/b\n", {x(1023), "/b"}},
    {"Line1023AtTheEnd", x(1023), {x(1023)}},
    {"Line1024", x(1024) + "\n/b\n", {x(1023), "x", "/b"}},
    {"Line5000", x(5000) + "\n/b\n", {x(1023), x(1023), x(1023), x(1023), x(908), "/b"}},
    {"CrAtThePieceEndIsALineEnd", x(1022) + "\ry\n", {x(1022), "y"}},
};

INSTANTIATE_TEST_SUITE_P(Bytes, SendFileList, testing::ValuesIn(kListCases),
                         [](const auto& each) { return each.param.name; });

TEST(ParseCommandLine, ListIsAFifo) {
  const ScratchDir dir;
  const FilledFifo fifo(dir, "/a\n/b");
  TestSingleSystem event;
  EXPECT_EQ(0, parse(event, {"tanexics", fifo.path(), "-i", "1"}));
  EXPECT_EQ((Texts{"/a", "/b"}), event.getSendFileList());
}

TEST(ParseCommandLine, HundredThousandListedFiles) {
  std::string bytes;
  for (int i = 0; i < 100000; ++i) bytes += "/file" + std::to_string(i) + "\n";
  const ScratchDir dir;
  const std::string list = dir.write("list", bytes);
  TestSingleSystem event;
  EXPECT_EQ(0, parse(event, {"tanexics", list, "-i", "1"}));
  ASSERT_EQ(100000U, event.getSendFileList().size());
  EXPECT_EQ("/file99999", event.getSendFileList().back());
}

TEST(ParseCommandLine, UnreadableListForAnotherUser) {
  if (!canBecomeNobody()) GTEST_SKIP() << "needs root to become another user";
  const ScratchDir dir;
  const std::string list = dir.write("list", "/a\n");
  const std::string logFile = dir.write("log", "");
  ASSERT_EQ(0, ::chmod(dir.path().c_str(), 0755));
  ASSERT_EQ(0, ::chmod(list.c_str(), 0200));
  ASSERT_EQ(0, ::chmod(logFile.c_str(), 0666));
  const EnvironmentGuard guard("TANEX_LOG", logFile.c_str());
  const ChildResult child = runInChild([&] {
    gLog.init("unit-test", nullptr);
    if (!becomeNobody()) return 1;
    CSendEventSingleSystem event;
    return parse(event, {"tanexics", list, "-i", "1"});
  });
  EXPECT_EQ(68, child.exitCode());
  EXPECT_EQ(Texts{list + kListOpenError}, logTexts(readFile(logFile)));
  EXPECT_EQ("", child.out + child.err);
}

/// A list of one file, a definition file beside it, and an event.
class CommandLine : public testing::Test {
 protected:
  int parse(const Texts& options) {
    Texts words = {"tanexics", m_list};
    words.insert(words.end(), options.begin(), options.end());
    return ::parse(m_event, words);
  }

  /// The outcome of a rejection: the one line of log, and what it leaves.
  void expectRejected(const Texts& options, const std::string& text, int eventType) {
    EXPECT_EQ(68, parse(options));
    EXPECT_EQ(Texts{text}, m_log.take());
    EXPECT_EQ(eventType, m_event.getEventType());
    EXPECT_EQ(Texts{"/a"}, m_event.getSendFileList()) << "the list is read before the option";
    EXPECT_EQ(Params(), m_event.m_params);
    m_event.m_sendFileList.clear();
  }

  void expectIncident(const Texts& options, const std::string& number) {
    EXPECT_EQ(0, parse(options)) << options.front();
    EXPECT_EQ(2, m_event.getEventType());
    EXPECT_EQ((Params{{"IncidentNumber", number}}), m_event.m_params);
    EXPECT_EQ(Texts(), m_log.take());
    m_event.m_params.clear();
  }

  ScratchDir m_dir;
  CapturedLog m_log;
  TestSingleSystem m_event;
  std::string m_list = m_dir.write("list", "/a\n");
  std::string m_definition = m_dir.write("my.def", definitionOf(eventParams()));
};

TEST_F(CommandLine, IncidentNumberIsNotValidated) {
  for (const char* number : {"77", "0", "-1", "", "abc", " 7 ", "-i", "\xff"}) {
    expectIncident({"-i", number}, number);
  }
}

TEST_F(CommandLine, IncidentIgnoresFurtherArguments) {
  expectIncident({"-i", "77", "-r", "x"}, "77");
}

TEST_F(CommandLine, IncidentWithoutNumber) { expectRejected({"-i"}, kCountError, 2); }

TEST_F(CommandLine, JoinedIncidentTakesTheNextArgumentFromItsThirdCharacter) {
  expectIncident({"-ifoo", "ABC123"}, "C123");
}

TEST_F(CommandLine, JoinedIncidentForms) {
  expectIncident({"-i7", "AB8"}, "8");
  expectIncident({"-i ", "  9"}, "9");
  expectIncident({"-i-r", "AB8", "extra"}, "8");
}

TEST_F(CommandLine, JoinedIncidentWithTwoCharactersIsEmpty) { expectIncident({"-ifoo", "AB"}, ""); }

TEST_F(CommandLine, JoinedIncidentWithoutArgument) { expectRejected({"-ifoo"}, kCountError, 2); }

TEST_F(CommandLine, JoinedIncidentWithTooShortArgument) {
  expectRejected({"-ifoo", "A"}, kCountError, 2);
  expectRejected({"-ifoo", ""}, kCountError, 2);
  expectRejected({"-ifoo", "", "extra"}, kCountError, 2);
}

TEST_F(CommandLine, EventReadsTheNextArgument) {
  EXPECT_EQ(0, parse({"-r", m_definition}));
  EXPECT_EQ(3, m_event.getEventType());
  EXPECT_EQ(eventParams(), m_event.m_params);
  EXPECT_EQ(Texts{"/a"}, m_event.getSendFileList());
  EXPECT_EQ(Texts(), m_log.texts());
}

TEST_F(CommandLine, EventIgnoresFurtherArguments) {
  EXPECT_EQ(0, parse({"-r", m_definition, "extra"}));
  EXPECT_EQ(3, m_event.getEventType());
  EXPECT_EQ(Texts(), m_log.texts());
}

TEST_F(CommandLine, EventWithoutFile) { expectRejected({"-r"}, kCountError, 0); }

TEST_F(CommandLine, JoinedEventReadsItsOwnTail) {
  EXPECT_EQ(0, parse({"-r" + m_definition}));
  EXPECT_EQ(3, m_event.getEventType());
  EXPECT_EQ(eventParams(), m_event.m_params);
}

TEST_F(CommandLine, JoinedEventReadsARelativeFile) {
  const ChildResult child = runInChild([this] {
    if (::chdir(m_dir.path().c_str()) != 0) return 1;
    if (parse({"-rmy.def", "/nowhere"}) != 0) return 2;
    return m_event.m_params == eventParams() ? 0 : 3;
  });
  EXPECT_EQ(0, child.exitCode());
  EXPECT_EQ(Texts(), m_log.texts());
}

TEST_F(CommandLine, EventFileMissing) {
  expectRejected({"-r", "/nowhere/x.def"}, "/nowhere/x.def" + kNotFound, 0);
  expectRejected({"-r", ""}, kNotFound, 0);
  expectRejected({"-r/nowhere/y.def"}, "/nowhere/y.def" + kNotFound, 0);
  expectRejected({"-rx", m_definition}, "x" + kNotFound, 0);
}

TEST_F(CommandLine, RejectedEventFileAddsNoLineOfItsOwn) {
  const std::string bad = m_dir.write("bad.def", "nonsense\n");
  expectRejected({"-r", bad}, "nonsense" + kFormatError, 0);
  expectRejected({"-r" + bad}, "nonsense" + kFormatError, 0);
}

TEST_F(CommandLine, OtherOptionsAreRejected) {
  for (const char* option :
       {"-x", "", "-", "i", "r", "--i", "-I", "-R", " -i", "x-i", "+i", "77"}) {
    SCOPED_TRACE(option);
    expectRejected({option}, kOptionError, 0);
    expectRejected({option, "1"}, kOptionError, 0);
    expectRejected({option, "-i", "1"}, kOptionError, 0);
  }
}

TEST_F(CommandLine, SecondCallAddsToTheListAndTheParameters) {
  EXPECT_EQ(0, parse({"-i", "77"}));
  EXPECT_EQ(0, parse({"-r", m_definition}));
  EXPECT_EQ((Texts{"/a", "/a"}), m_event.getSendFileList());
  Params expected = eventParams();
  expected["IncidentNumber"] = "77";
  EXPECT_EQ(expected, m_event.m_params);
}

TEST_F(CommandLine, LibraryIsNotAsked) {
  const FakeKelcom fake;
  EXPECT_EQ(0, parse({"-i", "77"}));
  EXPECT_EQ(0, parse({"-r", m_definition}));
  EXPECT_EQ(Texts(), fake.calls);
}

TEST_F(CommandLine, NothingIsPrinted) {
  const ChildResult child = runInChild([this] {
    for (const Texts& options : {Texts{"-x"}, Texts{"-i"}, Texts{"-r", m_list}, Texts{"-i", "1"}}) {
      parse(options);
    }
    return 0;
  });
  EXPECT_EQ("", child.out);
  EXPECT_EQ("", child.err);
}

// --- definition files ----------------------------------------------------------------------------

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

TEST_F(Definition, CannotBeOpened) {
  const std::string socket = makeSocketFile(m_dir);
  EXPECT_EQ(68, parseEventFile(m_event, socket));
  EXPECT_EQ(Texts{socket + kOpenError}, m_log.take());
  EXPECT_EQ(68, parseIncidentFile(m_event, socket));
  EXPECT_EQ(Texts{socket + kOpenError}, m_log.take());
}

TEST_F(Definition, NothingCanBeReadMissesTheFirstKey) {
  EXPECT_EQ(68, parseEventFile(m_event, "/proc/self/mem"));
  EXPECT_EQ(Texts{"/proc/self/mem" + kParameterError}, m_log.texts());
}

TEST_F(Definition, ReadInPartIsRejectedEvenWhenItLooksComplete) {
  const BrokenFile file(definitionOf(eventParams()));
  EXPECT_EQ(68, parseEventFile(m_event, file.path()));
  Texts expected = traceOf(eventParams());
  expected.push_back(file.path() + " read error.(CSendEventBase::parseMsgCommon)");
  EXPECT_EQ(expected, m_log.texts());
  EXPECT_EQ(0, m_event.getEventType());
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
