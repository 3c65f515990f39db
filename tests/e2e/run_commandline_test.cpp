// Every rejection of the command line and of the send-file list, and every list that is accepted
// although it looks odd.

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

Arrange withList(const std::string& bytes) {
  return [=](const Machine& machine) { machine.write("/case/list", bytes); };
}

void makeSocket(const Machine& machine) { machine.makeSocket("/case/list"); }

std::string zeroBytes(std::size_t count) { return std::string(count, '\0'); }

// --- rejected ------------------------------------------------------------------------------------

Case rejection(const std::string& name, const std::vector<std::string>& arguments,
               const std::string& message, Arrange arrange = nullptr) {
  return {name, {arguments}, rejected(message), std::move(arrange)};
}

std::vector<Case> rejections() {
  return {
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
                withList(zeroBytes(3) + "\n" + zeroBytes(2))),
      // It can be opened, but not read.
      rejection("ListCannotBeRead", {"/proc/self/mem", "-i", "1"}, readError("/proc/self/mem")),
      rejection("ListIsNull", {"/dev/null", "-i", "1"}, kNoFile),
  };
}

TANEXICS_PLAY(RejectedCommandLine, atBothLevels(rejections()));

// --- accepted ------------------------------------------------------------------------------------

/// An event with these files, of which those that every machine has are there.
Sending sendingOf(const std::vector<std::string>& paths) {
  Sending sending;
  sending.text = eventText("Software Log");
  sending.files.clear();
  for (const std::string& path : paths) {
    const bool isTooLong = path.size() > 255;
    File file = {path, -1, isTooLong ? "File name too long" : "No such file or directory"};
    for (const File& standard : standardFiles()) {
      if (standard.path == path) file = standard;
    }
    sending.files.push_back(file);
  }
  return sending;
}

/// Accepted lists are shown by what an event traces and sends of them.
Case accepted(const std::string& name, const std::string& list,
              const std::vector<std::string>& paths) {
  return {name, eventCall().traced(), sendingOf(paths).event(), withList(list)};
}

std::vector<Case> lists() {
  const std::string a = "/case/a.txt";
  const std::string x1021(1021, 'x');
  const std::string x1022(1022, 'x');
  const std::string x1023(1023, 'x');
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
      accepted("BytesAbove0x7fAreKept", "\xa5\xed\xa5\xb0\xff\n", {"\xa5\xed\xa5\xb0\xff"}),
      accepted("ZeroByteEndsTheLineTheNextIsWhole", a + zeroBytes(1) + "lost\n" + a + "\n", {a, a}),
      accepted("ZeroByteFirstDropsTheLine", zeroBytes(1) + a + "\n" + a + "\n", {a}),
      // A line of up to 1,023 bytes is one entry, whatever follows it.
      accepted("LinesOf1021Bytes", x1021 + "\ny\n" + x1021, {x1021, "y", x1021}),
      accepted("LinesOf1022Bytes", x1022 + "\ny\n" + x1022, {x1022, "y", x1022}),
      accepted("LinesOf1023Bytes", x1023 + "\ny\n" + x1023, {x1023, "y", x1023}),
      accepted("LastLineOf1021BytesWithItsEnd", "y\n" + x1021 + "\n", {"y", x1021}),
      accepted("LastLineOf1022BytesWithItsEnd", "y\n" + x1022 + "\n", {"y", x1022}),
      accepted("LastLineOf1023BytesWithItsEnd", "y\n" + x1023 + "\n", {"y", x1023}),
      accepted("LineOf1025BytesBecomesTwoEntries", x1023 + "yz\nnext\n", {x1023, "yz", "next"}),
      accepted("CarriageReturnAtTheBoundGoesWithItsPiece", x1022 + "\r\nnext\n", {x1022, "next"}),
      accepted("LineOf5000BytesBecomesFiveEntries", std::string(5000, 'x') + "\n",
               {x1023, x1023, x1023, x1023, std::string(908, 'x')}),
      accepted("ZeroByteInALongLineLosesTheRestOfItsPieceAlone",
               "a" + zeroBytes(1) + x1021 + "tail\nnext\n", {"a", "tail", "next"}),
  };
}

TANEXICS_PLAY(AcceptedList, lists());

using ListRun = MachineTest;

TEST_F(ListRun, ListFromAFifoIsReadToItsEnd) {
  Call call = {{"/case/fifo", "-r", "/case/event.def"}};
  call.prepare = fifoFedBy("echo /case/a.txt; sleep 0.1; echo /case/c.txt");
  expectRun(machine.run(call), sendingOf({"/case/a.txt", "/case/c.txt"}).event());
}

TEST_F(ListRun, UnreadableListIsAnOpenError) {
  machine.write("/case/list", "/case/a.txt\n", 0000);
  expectRun(machine.run(incidentCall().prepared(obeyPermissions)),
            rejected(openError("/case/list")));
}

}  // namespace
