#include "sendevent/CSendEventSingleSystem.h"

#include <gtest/gtest.h>
#include <sys/stat.h>

#include <fstream>
#include <string>
#include <thread>
#include <vector>

#include "support/actionlog.h"
#include "support/inputfiles.h"
#include "support/scratch.h"
#include "support/testevent.h"

namespace {

const std::string kHere = "(CSendEventSingleSystem::parseCommandLine)";
const std::string kCountError = "parameter count error." + kHere;
const std::string kOptionError = "parameter option error." + kHere;
const std::string kNoSendFile = "No send file." + kHere;
const std::string kListNotFound = " not found." + kHere;
const std::string kListReadError = " read error." + kHere;
const std::string kListOpenError = " open error." + kHere;

/// A list of one file, a definition file beside it, and what becomes of command lines.
class CommandLine : public testing::Test {
 protected:
  /// Parses the words after the program's name, with so many nulls after them counted.
  int parse(Texts words, int nulls = 0) {
    words.insert(words.begin(), "tanexics");
    Arguments arguments(words);
    return m_event.parseCommandLine(arguments.argc() + nulls, arguments.argv());
  }

  Texts withList(Texts options) const {
    options.insert(options.begin(), m_list);
    return options;
  }

  /// A rejection: the one line of log, and what it leaves.
  void expectRejected(const Texts& words, const std::string& text, int eventType = 0,
                      const Texts& files = {}, int nulls = 0) {
    SCOPED_TRACE(testing::PrintToString(words));
    m_event = TestSingleSystem(3, {});
    EXPECT_EQ(parse(words, nulls), 68);
    EXPECT_EQ(m_log.take(), Texts{text});
    EXPECT_EQ(m_event.getEventType(), eventType);
    EXPECT_EQ(m_event.getSendFileList(), files);
    EXPECT_EQ(m_event.m_params, Params());
  }

  /// The list was read, and is good.
  void expectAccepted(const Texts& options, int eventType, const Params& params, int nulls = 0) {
    SCOPED_TRACE(testing::PrintToString(options));
    m_event = TestSingleSystem(0, {});
    EXPECT_EQ(parse(withList(options), nulls), 0);
    EXPECT_EQ(m_log.take(), Texts());
    EXPECT_EQ(m_event.getEventType(), eventType);
    EXPECT_EQ(m_event.getSendFileList(), Texts{"/a"});
    EXPECT_EQ(m_event.m_params, params);
  }

  ScratchDir m_dir;
  CapturedLog m_log;
  TestSingleSystem m_event;
  std::string m_list = m_dir.write("list", "/a\n");
  std::string m_definition = m_dir.write("my.def", definitionOf(eventParams()));
};

// --- list of files -------------------------------------------------------------------------------

TEST_F(CommandLine, ListThatCannotBeRead_IsTold) {
  const std::string socket = makeSocketFile(m_dir);
  expectRejected({}, kCountError);
  expectRejected({m_list}, kCountError);
  expectRejected({""}, kCountError);
  expectRejected({m_dir / "missing", "-i", "1"}, (m_dir / "missing") + kListNotFound);
  expectRejected({"", "-i", "1"}, kListNotFound);
  expectRejected({m_dir.path(), "-i", "1"}, m_dir.path() + kListNotFound);
  expectRejected({socket, "-i", "1"}, socket + kListOpenError);
  expectRejected({"/proc/self/mem", "-i", "1"}, "/proc/self/mem" + kListReadError);
  expectRejected({"/nowhere/list", "-x"}, "/nowhere/list" + kListNotFound);
}

TEST_F(CommandLine, ListNull_CountsAsAnEmptyName) {
  char program[] = "tanexics";
  char option[] = "-i";
  char* argv[] = {program, nullptr, option, option, nullptr};
  EXPECT_EQ(m_event.parseCommandLine(4, argv), 68);
  EXPECT_EQ(m_log.texts(), Texts{kListNotFound});
}

TEST_F(CommandLine, ListWithoutALine_IsRejectedInEveryMode) {
  for (const char* bytes : {"", "\n", "\n\n\n", "\r\n\r\n", "\r", "\r\n"}) {
    m_dir.write("list", bytes);
    for (const char* option : {"-i", "-ifoo", "-r", "-x"}) {
      expectRejected({m_list, option, "ABC"}, kNoSendFile);
    }
  }
}

TEST_F(CommandLine, EveryLineOfTheList_IsAFile) {
  struct Row {
    std::string bytes;
    Texts files;
  };
  const Row rows[] = {
      {"/b\n/a\n/b\n", {"/b", "/a", "/b"}},
      {"/a\r\n/b\r\n", {"/a", "/b"}},
      {"/a\n/b", {"/a", "/b"}},
      {"/a\n/b\r", {"/a", "/b"}},
      {"\n/a\n\n\r\n/b\n\n", {"/a", "/b"}},
      {"#/a\n# b\n", {"#/a", "# b"}},
      {"/%s%n\n", {"/%s%n"}},
      {"  /a  \n \n\t\n", {"  /a  ", " ", "\t"}},
      {"/a\r\r\n", {"/a\r"}},
      {"/a\rb\n", {"/a\rb"}},
      {"/\x80\xff\xa4\xa2\n", {"/\x80\xff\xa4\xa2"}},
      {bytesOf("/a\0b\n/c\n"), {"/a", "/c"}},
      {bytesOf("\0/a\n/c\n"), {"/c"}},
      {x(1023) + "\n/b\n", {x(1023), "/b"}},
      {x(1024) + "\n/b\n", {x(1023), "x", "/b"}},
      {x(1022) + "\ry\n", {x(1022), "y"}},
  };
  const CapturedLog log(CapturedLog::Level::kTrace);
  for (const Row& row : rows) {
    SCOPED_TRACE(row.bytes.substr(0, 80));
    TestSingleSystem event;
    Arguments arguments({"tanexics", m_dir.write("list", row.bytes), "-i", "1"});
    EXPECT_EQ(event.parseCommandLine(arguments.argc(), arguments.argv()), 0);
    EXPECT_EQ(event.getSendFileList(), row.files);
    EXPECT_EQ(log.texts(), Texts());
  }
}

TEST_F(CommandLine, ListThatIsAFifo_IsRead) {
  const std::string fifo = m_dir / "fifo";
  ASSERT_EQ(::mkfifo(fifo.c_str(), 0600), 0);
  std::thread writer([&fifo] { std::ofstream(fifo) << "/a\n/b"; });
  EXPECT_EQ(parse({fifo, "-i", "1"}), 0);
  writer.join();
  EXPECT_EQ(m_event.getSendFileList(), (Texts{"/a", "/b"}));
}

// --- options -------------------------------------------------------------------------------------

TEST_F(CommandLine, Incident_TakesItsNumberAsItIs) {
  const auto expectNumber = [this](const Texts& options, const std::string& number) {
    expectAccepted(options, 2, {{"IncidentNumber", number}});
  };
  for (const char* number : {"77", "0", "-1", "", "abc", " 7 ", "-i", "\xff"}) {
    expectNumber({"-i", number}, number);
  }
  expectNumber({"-i", "77", "-r", "x"}, "77");
  // A joined option takes the next argument from its third character on.
  expectNumber({"-ifoo", "ABC123"}, "C123");
  expectNumber({"-i7", "AB8"}, "8");
  expectNumber({"-i ", "  9"}, "9");
  expectNumber({"-i-r", "AB8", "extra"}, "8");
  expectNumber({"-ifoo", "AB"}, "");
}

TEST_F(CommandLine, Event_ReadsTheNextArgumentOrItsOwnTail) {
  expectAccepted({"-r", m_definition}, 3, eventParams());
  expectAccepted({"-r", m_definition, "extra"}, 3, eventParams());
  expectAccepted({"-r" + m_definition}, 3, eventParams());
  expectAccepted({"-r" + m_definition}, 3, eventParams(), /*nulls=*/1);
}

TEST_F(CommandLine, BadOption_IsRejectedAfterTheListWasRead) {
  const std::string bad = m_dir.write("bad.def", "nonsense\n");
  struct Row {
    Texts options;
    std::string text;
    int eventType;
    int nulls = 0;
  };
  std::vector<Row> rows = {
      {{"-i"}, kCountError, 2},
      {{"-i"}, kCountError, 2, 1},
      {{"-ifoo"}, kCountError, 2, 1},
      {{"-ifoo", "A"}, kCountError, 2},
      {{"-ifoo", "", "extra"}, kCountError, 2},
      {{"-r"}, kCountError, 0},
      {{"-r"}, kCountError, 0, 1},
      {{"-r", "/nowhere/x.def"}, "/nowhere/x.def" + kNotFound, 0},
      {{"-r", ""}, kNotFound, 0},
      {{"-r/nowhere/y.def"}, "/nowhere/y.def" + kNotFound, 0},
      {{"-rx", m_definition}, "x" + kNotFound, 0},
      {{"-r", bad}, "nonsense" + kFormatError, 0},
      {{"-r" + bad}, "nonsense" + kFormatError, 0},
      {{}, kOptionError, 0, 1},
  };
  for (const char* option :
       {"-x", "", "-", "i", "r", "--i", "-I", "-R", " -i", "x-i", "+i", "77"}) {
    rows.push_back({{option}, kOptionError, 0});
    rows.push_back({{option, "1"}, kOptionError, 0});
    rows.push_back({{option, "-i", "1"}, kOptionError, 0});
  }
  for (const Row& row : rows) {
    expectRejected(withList(row.options), row.text, row.eventType, {"/a"}, row.nulls);
  }
}

TEST_F(CommandLine, SecondCall_AddsToTheListAndTheParameters) {
  EXPECT_EQ(parse(withList({"-i", "77"})), 0);
  EXPECT_EQ(parse(withList({"-r", m_definition})), 0);
  EXPECT_EQ(m_event.getSendFileList(), (Texts{"/a", "/a"}));
  Params expected = eventParams();
  expected["IncidentNumber"] = "77";
  EXPECT_EQ(m_event.m_params, expected);
}

}  // namespace
