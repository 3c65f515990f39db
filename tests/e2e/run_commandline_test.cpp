// Every rejection of the command line and of the send-file list, and every list that is accepted
// although it looks odd.

#include <sys/stat.h>
#include <unistd.h>

#include "e2e/support/cases.h"

namespace {

constexpr char kCountError[] = "parameter count error.(CSendEventSingleSystem::parseCommandLine)";
constexpr char kOptionError[] = "parameter option error.(CSendEventSingleSystem::parseCommandLine)";
constexpr char kNoFile[] = "No send file.(CSendEventSingleSystem::parseCommandLine)";

std::string notFound(const std::string& path) {
  return path + " not found.(CSendEventSingleSystem::parseCommandLine)";
}

std::string openError(const std::string& path) {
  return path + " open error.(CSendEventSingleSystem::parseCommandLine)";
}

std::string readError(const std::string& path) {
  return path + " read error.(CSendEventSingleSystem::parseCommandLine)";
}

std::function<void(const Machine&)> withList(const std::string& bytes) {
  return [=](const Machine& machine) { machine.write("/case/list", bytes); };
}

void makeSocket(const Machine& machine) { machine.makeSocket("/case/list"); }

Case rejection(const std::string& name, const std::vector<std::string>& arguments,
               const std::string& message, std::function<void(const Machine&)> arrange = nullptr) {
  return {name, {arguments}, {rejected(message), "", 68}, std::move(arrange)};
}

std::vector<Case> rejections() {
  std::vector<Case> rows = {
      rejection("NoArguments", {}, kCountError),
      rejection("ListAlone", {"/case/list"}, kCountError),
      // The count is checked before the list is looked at.
      rejection("MissingListAlone", {"/case/none"}, kCountError),
      rejection("IncidentWithoutNumber", {"/case/list", "-i"}, kCountError),
      rejection("EventWithoutFile", {"/case/list", "-r"}, kCountError),
      rejection("JoinedIncidentWithoutArgument", {"/case/list", "-ifoo"}, kCountError),
      rejection("JoinedIncidentWithAnEmptyArgument", {"/case/list", "-ifoo", ""}, kCountError),
      rejection("JoinedIncidentWithAShortArgument", {"/case/list", "-ifoo", "A"}, kCountError),
      rejection("UnknownOption", {"/case/list", "-x", "1"}, kOptionError),
      rejection("UpperCaseOption", {"/case/list", "-I", "1"}, kOptionError),
      rejection("LongOption", {"/case/list", "--incident", "1"}, kOptionError),
      rejection("DashAlone", {"/case/list", "-", "1"}, kOptionError),
      rejection("EmptyOption", {"/case/list", "", "1"}, kOptionError),
      rejection("OptionBeforeTheList", {"-i", "/case/list", "1"}, notFound("-i")),
      rejection("OptionWithAPercentSign", {"/case/list", "%s%n", "1"}, kOptionError),
      rejection("ListMissing", {"/case/none", "-i", "1"}, notFound("/case/none")),
      rejection("ListWithAPercentSignMissing", {"/case/%s%n", "-i", "1"}, notFound("/case/%s%n")),
      rejection("ListNameEmpty", {"", "-i", "1"}, notFound("")),
      rejection("ListIsADirectory", {"/case", "-i", "1"}, notFound("/case")),
      rejection("ListMissingBeforeTheOptionIsLookedAt", {"/case/none", "-x", "1"},
                notFound("/case/none")),
      rejection("ListIsASocket", {"/case/list", "-i", "1"}, openError("/case/list"), makeSocket),
      rejection("ListEmpty", {"/case/list", "-i", "1"}, kNoFile, withList("")),
      rejection("ListEmptyForAnEvent", {"/case/list", "-r", "/case/event.def"}, kNoFile,
                withList("")),
      rejection("ListEmptyBeforeTheOptionIsLookedAt", {"/case/list", "-x", "1"}, kNoFile,
                withList("")),
      rejection("ListEmptyBeforeTheCountOfAnIncidentIsChecked", {"/case/list", "-i"}, kNoFile,
                withList("")),
      rejection("ListEmptyBeforeTheDefinitionIsRead", {"/case/list", "-r", "/case/none"}, kNoFile,
                withList("")),
      rejection("ListOfEmptyLinesOnly", {"/case/list", "-i", "1"}, kNoFile, withList("\n\n\n")),
      rejection("ListOfEmptyLinesWithCrLfOnly", {"/case/list", "-i", "1"}, kNoFile,
                withList("\r\n\r\n")),
      rejection("ListOfZeroBytesOnly", {"/case/list", "-i", "1"}, kNoFile,
                withList(std::string(3, '\0') + "\n" + std::string(2, '\0'))),
      // It can be opened, but not read.
      rejection("ListCannotBeRead", {"/proc/self/mem", "-i", "1"}, readError("/proc/self/mem")),
      rejection("ListIsNull", {"/dev/null", "-i", "1"}, kNoFile),
  };
  const std::size_t count = rows.size();
  for (std::size_t at = 0; at < count; ++at)
    rows.push_back(traced(rows[at], rows[at].expected.log));
  return rows;
}

/// Accepted lists are shown by what an event traces and sends of them.
Case accepted(const std::string& name, const std::string& list,
              const std::vector<std::string>& paths) {
  std::string measures;
  std::string failures;
  std::vector<Item> items;
  unsigned total = 0;
  int copies = 0;
  for (const std::string& path : paths) {
    if (path == "/case/a.txt") {
      measures += measured(std::to_string(total), path, "6");
      total += 6;
      items.push_back({path, "=items/000" + std::to_string(++copies) + "-a.txt"});
    } else {
      // No such file: -1, as an unsigned word, is one below what it was.
      measures += "get file size error(" + path + ",No such file or directory)\n";
      measures += measured(std::to_string(total), path, "-1");
      total -= 1;
      items.push_back({path, "No such file or directory"});
    }
  }
  measures += measuredAll(std::to_string(total));
  const std::string text = eventText("Software Log");
  const int count = static_cast<int>(paths.size());
  return {
      name,
      {{"/case/list", "-r", "/case/event.def"}, "", true},
      {framed(parameterLines() + measures + startedLine() +
                  eventPart("0x40204", text, count, paths.front()) + "commonSendEvent OK\n",
              0),
       asked() + startComm() + notify("0x40204", text) + sendItems("0x4010d", items) + stopped()},
      withList(list)};
}

std::vector<Case> lists() {
  const std::string a = "/case/a.txt";
  return {
      accepted("NoLastLineEnd", a + "\n" + a, {a, a}),
      accepted("CrLfEnds", a + "\r\n" + a + "\r\n", {a, a}),
      accepted("LineEndsMixed", a + "\r\n" + a + "\n" + a + "\r", {a, a, a}),
      accepted("OneCarriageReturnGoesTheSecondStays", a + "\r\r\n", {a + "\r"}),
      accepted("EmptyLinesAreDropped", "\n\n" + a + "\n\r\n\n" + a + "\n\n", {a, a}),
      accepted("DuplicatesAreKept", a + "\n" + a + "\n" + a + "\n", {a, a, a}),
      accepted("NumberSignIsAFileName", "#comment\n" + a + "\n", {"#comment", a}),
      accepted("BlanksAreKept", " \n" + a + " \n", {" ", a + " "}),
      accepted("PercentSignsAreKept", "%s%n%d\n" + a + "\n", {"%s%n%d", a}),
      accepted("ZeroByteEndsTheLineTheNextIsWhole", a + std::string(1, '\0') + "lost\n" + a + "\n",
               {a, a}),
      accepted("ZeroByteFirstDropsTheLine", std::string(1, '\0') + a + "\n" + a + "\n", {a}),
  };
}

}  // namespace

TANEXICS_PLAY(RejectedCommandLine, rejections);
TANEXICS_PLAY(AcceptedList, lists);

class ListRun : public CommandTest {
 protected:
  /// The names of the data calls of an incident with this list.
  static std::vector<std::string> sentFor(const std::string& list) {
    const Machine machine;
    machine.write("/case/list", list);
    const RunResult result = machine.run({{"/case/list", "-i", "1"}});
    EXPECT_EQ(result.child.exitCode(), 0);
    EXPECT_EQ(result.child.out + result.child.err, "");
    std::vector<std::string> names;
    const std::string head = "RM_Communicate call (param=0x4010b ? 1 ";
    for (const std::string& line : linesOf(result.log)) {
      if (line.rfind(head, 0) == 0) {
        names.push_back(line.substr(head.size(), line.size() - head.size() - 12));
      }
    }
    return names;
  }
};

TEST_F(ListRun, LineUpTo1023BytesIsOneEntry) {
  for (const std::size_t length : {1021U, 1022U, 1023U}) {
    const std::string name(length, 'x');
    EXPECT_EQ(sentFor(name + "\n"), std::vector<std::string>{name}) << length;
    EXPECT_EQ(sentFor(name), std::vector<std::string>{name}) << length;
    EXPECT_EQ(sentFor(name + "\ny\n"), (std::vector<std::string>{name, "y"})) << length;
  }
}

TEST_F(ListRun, LineOf1024BytesBecomesTwoEntries) {
  EXPECT_EQ(sentFor(std::string(1023, 'x') + "yz\nnext\n"),
            (std::vector<std::string>{std::string(1023, 'x'), "yz", "next"}));
}

TEST_F(ListRun, CarriageReturnAtTheBoundGoesWithItsPiece) {
  EXPECT_EQ(sentFor(std::string(1022, 'x') + "\r\nnext\n"),
            (std::vector<std::string>{std::string(1022, 'x'), "next"}));
}

TEST_F(ListRun, LineOf5000BytesBecomesFiveEntries) {
  const std::string piece(1023, 'x');
  EXPECT_EQ(sentFor(std::string(5000, 'x') + "\n"),
            (std::vector<std::string>{piece, piece, piece, piece, std::string(908, 'x')}));
}

TEST_F(ListRun, ZeroByteInALongLineLosesTheRestOfItsPieceAlone) {
  EXPECT_EQ(sentFor("a" + std::string(1, '\0') + std::string(1021, 'x') + "tail\nnext\n"),
            (std::vector<std::string>{"a", "tail", "next"}));
}

TEST_F(ListRun, BytesAbove0x7fAreKept) {
  EXPECT_EQ(sentFor("\xa5\xed\xa5\xb0\xff\n"), std::vector<std::string>{"\xa5\xed\xa5\xb0\xff"});
}

TEST_F(ListRun, ListFromAFifoIsReadToItsEnd) {
  const Machine machine;
  ASSERT_EQ(::mkfifo(machine.outside("/case/fifo").c_str(), 0600), 0);
  const auto feed = [] {
    if (::fork() == 0) {
      ::execl("/bin/sh", "sh", "-c",
              "{ echo /case/a.txt; sleep 0.1; echo /case/c.txt; } >/case/fifo", nullptr);
      ::_exit(1);
    }
    return true;
  };
  const std::string text = eventText("Software Log");
  expectRun(
      machine.run({{"/case/fifo", "-r", "/case/event.def"}, "", false, {}, feed}),
      {framed(startedLine() + eventPart("0x40204", text, 2, "/case/a.txt") + "commonSendEvent OK\n",
              0),
       asked() + startComm() + notify("0x40204", text) +
           sendItems("0x4010d",
                     {{"/case/a.txt", "=items/0001-a.txt"}, {"/case/c.txt", "=items/0002-c.txt"}}) +
           stopped()});
}

TEST_F(ListRun, UnreadableListIsAnOpenError) {
  const Machine machine;
  machine.write("/case/list", "/case/a.txt\n", 0000);
  expectRun(machine.run({{"/case/list", "-i", "1"}, "", false, {}, obeyPermissions}),
            {rejected(openError("/case/list")), "", 68});
}
