#include "sendevent/CSendEventSingleSystem.h"

#include <gtest/gtest.h>
#include <sys/stat.h>
#include <unistd.h>

#include <ostream>
#include <string>
#include <vector>

#include "log/CLog.h"
#include "support/FakeKelcom.h"
#include "support/actionlog.h"
#include "support/brokenfile.h"
#include "support/bytes.h"
#include "support/childrun.h"
#include "support/definitionerrors.h"
#include "support/environmentguard.h"
#include "support/scratch.h"
#include "support/specialfiles.h"
#include "support/testevent.h"

namespace {

using Texts = std::vector<std::string>;

const std::string kCountError = "parameter count error.(CSendEventSingleSystem::parseCommandLine)";
const std::string kOptionError =
    "parameter option error.(CSendEventSingleSystem::parseCommandLine)";
const std::string kNoSendFile = "No send file.(CSendEventSingleSystem::parseCommandLine)";
const std::string kListNotFound = " not found.(CSendEventSingleSystem::parseCommandLine)";
const std::string kListReadError = " read error.(CSendEventSingleSystem::parseCommandLine)";
const std::string kListOpenError = " open error.(CSendEventSingleSystem::parseCommandLine)";

int parse(CSendEventSingleSystem& event, const Texts& words) {
  Arguments arguments(words);
  return event.parseCommandLine(arguments.argc(), arguments.argv());
}

// --- list of files -------------------------------------------------------------------------------

TEST(ParseCommandLine, FewerThanThreeArguments) {
  const ScratchDir dir;
  const std::string list = dir.write("list", "/a\n");
  for (const Texts& words : {Texts{"tanexics"}, Texts{"tanexics", list}, Texts{"tanexics", ""}}) {
    const CapturedLog log;
    TestSingleSystem event;
    event.m_eventType = 3;
    EXPECT_EQ(parse(event, words), 68) << words.size();
    EXPECT_EQ(log.texts(), Texts{kCountError});
    EXPECT_EQ(event.getEventType(), 0);
    EXPECT_EQ(event.getSendFileList(), Texts()) << "the list was not read";
  }
}

TEST(ParseCommandLine, ListMissing) {
  const ScratchDir dir;
  const CapturedLog log;
  TestSingleSystem event;
  EXPECT_EQ(parse(event, {"tanexics", dir / "missing", "-i", "1"}), 68);
  EXPECT_EQ(log.texts(), Texts{(dir / "missing") + kListNotFound});
  EXPECT_EQ(event.getEventType(), 0);
  EXPECT_EQ(event.m_params, Params());
}

TEST(ParseCommandLine, ListEmptyName) {
  const CapturedLog log;
  TestSingleSystem event;
  EXPECT_EQ(parse(event, {"tanexics", "", "-i", "1"}), 68);
  EXPECT_EQ(log.texts(), Texts{kListNotFound});
}

TEST(ParseCommandLine, ListNullCountsAsAnEmptyName) {
  const CapturedLog log;
  char program[] = "tanexics";
  char option[] = "-i";
  char* argv[] = {program, nullptr, option, option, nullptr};
  TestSingleSystem event;
  EXPECT_EQ(event.parseCommandLine(4, argv), 68);
  EXPECT_EQ(log.texts(), Texts{kListNotFound});
}

TEST(ParseCommandLine, ListIsADirectory) {
  const ScratchDir dir;
  const CapturedLog log;
  TestSingleSystem event;
  EXPECT_EQ(parse(event, {"tanexics", dir.path(), "-i", "1"}), 68);
  EXPECT_EQ(log.texts(), Texts{dir.path() + kListNotFound});
}

TEST(ParseCommandLine, ListCannotBeOpened) {
  const ScratchDir dir;
  const std::string socket = makeSocketFile(dir);
  const CapturedLog log;
  TestSingleSystem event;
  EXPECT_EQ(parse(event, {"tanexics", socket, "-i", "1"}), 68);
  EXPECT_EQ(log.texts(), Texts{socket + kListOpenError});
  EXPECT_EQ(event.getEventType(), 0);
}

TEST(ParseCommandLine, ListOfWhichNothingCanBeReadIsAReadError) {
  const CapturedLog log;
  TestSingleSystem event;
  EXPECT_EQ(parse(event, {"tanexics", "/proc/self/mem", "-i", "1"}), 68);
  EXPECT_EQ(log.texts(), Texts{"/proc/self/mem" + kListReadError});
}

TEST(ParseCommandLine, ListReadInPartIsRejected) {
  for (const char* bytes : {"", "\n\n", "/a", "/a\n/b\n", "/a\n/b"}) {
    const CapturedLog log;
    const BrokenFile list(bytes);
    TestSingleSystem event;
    EXPECT_EQ(parse(event, {"tanexics", list.path(), "-i", "1"}), 68) << bytes;
    EXPECT_EQ(log.texts(), Texts{list.path() + kListReadError}) << bytes;
  }
}

TEST(ParseCommandLine, ListIsCheckedBeforeTheOption) {
  const CapturedLog log;
  TestSingleSystem event;
  EXPECT_EQ(parse(event, {"tanexics", "/nowhere/list", "-x"}), 68);
  EXPECT_EQ(log.texts(), Texts{"/nowhere/list" + kListNotFound});
}

TEST(ParseCommandLine, ListWithoutALineIsRejectedInEveryMode) {
  const ScratchDir dir;
  for (const char* bytes : {"", "\n", "\n\n\n", "\r\n\r\n", "\r", "\r\n"}) {
    const std::string list = dir.write("list", bytes);
    for (const char* option : {"-i", "-ifoo", "-r", "-x"}) {
      const CapturedLog log;
      TestSingleSystem event;
      EXPECT_EQ(parse(event, {"tanexics", list, option, "ABC"}), 68) << option;
      EXPECT_EQ(log.texts(), Texts{kNoSendFile}) << option;
      EXPECT_EQ(event.getEventType(), 0);
      EXPECT_EQ(event.m_params, Params());
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
  EXPECT_EQ(parse(event, {"tanexics", list, "-i", "1"}), 0);
  EXPECT_EQ(event.getSendFileList(), GetParam().entries);
  EXPECT_EQ(log.texts(), Texts());
}

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
  EXPECT_EQ(parse(event, {"tanexics", fifo.path(), "-i", "1"}), 0);
  EXPECT_EQ(event.getSendFileList(), (Texts{"/a", "/b"}));
}

TEST(ParseCommandLine, HundredThousandListedFiles) {
  std::string bytes;
  for (int i = 0; i < 100000; ++i) bytes += "/file" + std::to_string(i) + "\n";
  const ScratchDir dir;
  const std::string list = dir.write("list", bytes);
  TestSingleSystem event;
  EXPECT_EQ(parse(event, {"tanexics", list, "-i", "1"}), 0);
  ASSERT_EQ(event.getSendFileList().size(), 100000U);
  EXPECT_EQ(event.getSendFileList().back(), "/file99999");
}

TEST(ParseCommandLine, UnreadableListForAnotherUser) {
  if (!canBecomeNobody()) GTEST_SKIP() << "needs root to become another user";
  const ScratchDir dir;
  const std::string list = dir.write("list", "/a\n");
  const std::string logFile = dir.write("log", "");
  ASSERT_EQ(::chmod(dir.path().c_str(), 0755), 0);
  ASSERT_EQ(::chmod(list.c_str(), 0200), 0);
  ASSERT_EQ(::chmod(logFile.c_str(), 0666), 0);
  const EnvironmentGuard guard("TANEX_LOG", logFile.c_str());
  const ChildResult child = runInChild([&] {
    gLog.init("unit-test", nullptr);
    if (!becomeNobody()) return 1;
    CSendEventSingleSystem event;
    return parse(event, {"tanexics", list, "-i", "1"});
  });
  EXPECT_EQ(child.exitCode(), 68);
  EXPECT_EQ(logTexts(readFile(logFile)), Texts{list + kListOpenError});
  EXPECT_EQ(child.out + child.err, "");
}

// --- options -------------------------------------------------------------------------------------

/// A list of one file, a definition file beside it, and an event.
class CommandLine : public testing::Test {
 protected:
  Texts wordsWith(const Texts& options) const {
    Texts words = {"tanexics", m_list};
    words.insert(words.end(), options.begin(), options.end());
    return words;
  }

  int parse(const Texts& options) { return ::parse(m_event, wordsWith(options)); }

  /// The outcome of a rejection: the one line of log, and what it leaves.
  void expectRejected(const Texts& options, const std::string& text, int eventType) {
    expectRejection(parse(options), text, eventType);
  }

  /// The same for a command line that counts the null after its last option.
  void expectRejectedAsNull(const Texts& options, const std::string& text, int eventType) {
    Arguments arguments(wordsWith(options));
    expectRejection(m_event.parseCommandLine(arguments.argc() + 1, arguments.argv()), text,
                    eventType);
  }

  void expectRejection(int status, const std::string& text, int eventType) {
    EXPECT_EQ(status, 68);
    EXPECT_EQ(m_log.take(), Texts{text});
    EXPECT_EQ(m_event.getEventType(), eventType);
    EXPECT_EQ(m_event.getSendFileList(), Texts{"/a"}) << "the list is read before the option";
    EXPECT_EQ(m_event.m_params, Params());
    m_event.m_sendFileList.clear();
  }

  void expectIncident(const Texts& options, const std::string& number) {
    EXPECT_EQ(parse(options), 0) << options.front();
    EXPECT_EQ(m_event.getEventType(), 2);
    EXPECT_EQ(m_event.m_params, (Params{{"IncidentNumber", number}}));
    EXPECT_EQ(m_log.take(), Texts());
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

TEST_F(CommandLine, OptionNullIsNoOption) { expectRejectedAsNull({}, kOptionError, 0); }

TEST_F(CommandLine, ValueNullIsMissing) {
  expectRejectedAsNull({"-i"}, kCountError, 2);
  expectRejectedAsNull({"-ifoo"}, kCountError, 2);
  expectRejectedAsNull({"-r"}, kCountError, 0);
}

TEST_F(CommandLine, JoinedEventHasNoUseForAValue) {
  Arguments arguments({"tanexics", m_list, "-r" + m_definition});
  EXPECT_EQ(m_event.parseCommandLine(4, arguments.argv()), 0);
  EXPECT_EQ(m_event.m_params, eventParams());
}

TEST_F(CommandLine, EventReadsTheNextArgument) {
  EXPECT_EQ(parse({"-r", m_definition}), 0);
  EXPECT_EQ(m_event.getEventType(), 3);
  EXPECT_EQ(m_event.m_params, eventParams());
  EXPECT_EQ(m_event.getSendFileList(), Texts{"/a"});
  EXPECT_EQ(m_log.texts(), Texts());
}

TEST_F(CommandLine, EventIgnoresFurtherArguments) {
  EXPECT_EQ(parse({"-r", m_definition, "extra"}), 0);
  EXPECT_EQ(m_event.getEventType(), 3);
  EXPECT_EQ(m_log.texts(), Texts());
}

TEST_F(CommandLine, EventWithoutFile) { expectRejected({"-r"}, kCountError, 0); }

TEST_F(CommandLine, JoinedEventReadsItsOwnTail) {
  EXPECT_EQ(parse({"-r" + m_definition}), 0);
  EXPECT_EQ(m_event.getEventType(), 3);
  EXPECT_EQ(m_event.m_params, eventParams());
}

TEST_F(CommandLine, JoinedEventReadsARelativeFile) {
  const ChildResult child = runInChild([this] {
    if (::chdir(m_dir.path().c_str()) != 0) return 1;
    if (parse({"-rmy.def", "/nowhere"}) != 0) return 2;
    return m_event.m_params == eventParams() ? 0 : 3;
  });
  EXPECT_EQ(child.exitCode(), 0);
  EXPECT_EQ(m_log.texts(), Texts());
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
  EXPECT_EQ(parse({"-i", "77"}), 0);
  EXPECT_EQ(parse({"-r", m_definition}), 0);
  EXPECT_EQ(m_event.getSendFileList(), (Texts{"/a", "/a"}));
  Params expected = eventParams();
  expected["IncidentNumber"] = "77";
  EXPECT_EQ(m_event.m_params, expected);
}

TEST_F(CommandLine, LibraryIsNotAsked) {
  const FakeKelcom fake;
  EXPECT_EQ(parse({"-i", "77"}), 0);
  EXPECT_EQ(parse({"-r", m_definition}), 0);
  EXPECT_EQ(fake.calls, Texts());
}

TEST_F(CommandLine, NothingIsPrinted) {
  const ChildResult child = runInChild([this] {
    for (const Texts& options : {Texts{"-x"}, Texts{"-i"}, Texts{"-r", m_list}, Texts{"-i", "1"}}) {
      parse(options);
    }
    return 0;
  });
  EXPECT_EQ(child.out, "");
  EXPECT_EQ(child.err, "");
}

}  // namespace
