// Each kind of message with which a run ends before it asks the closed library anything. What else
// leads to the same messages is tried where the command line and the definition are read.

#include "e2e/support/cases.h"

namespace {

Case rejection(const std::string& name, const std::vector<std::string>& arguments,
               const std::string& message, Arrange arrange = nullptr) {
  return {name, {arguments}, rejected(message), std::move(arrange)};
}

// --- the command line and the list ---------------------------------------------------------------

std::vector<Case> commandLines() {
  const std::string from = ".(CSendEventSingleSystem::parseCommandLine)";
  const std::string count = "parameter count error" + from;
  const std::string option = "parameter option error" + from;
  const std::string noFile = "No send file" + from;
  return {
      rejection("NoArguments", {}, count),
      // The count is checked before the list is looked at, and the list before the option.
      rejection("MissingListAlone", {"/case/none"}, count),
      rejection("ListMissing", {"/case/%s%n", "-x", "1"}, "/case/%s%n not found" + from),
      rejection("ListCannotBeRead", {"/proc/self/mem", "-i", "1"},
                "/proc/self/mem read error" + from),
      rejection("ListHasEmptyLinesOnly", {"/case/list", "-r", "/case/none"}, noFile,
                written("/case/list", "\n\r\n" + std::string(3, '\0') + "\n")),
      rejection("JoinedIncidentWithAShortArgument", {"/case/list", "-ifoo", "A"}, count),
      rejection("UnknownOption", {"/case/list", "%s%n", "1"}, option),
  };
}

TANEXICS_PLAY(RejectedCommandLine, atBothLevels(commandLines()));

// --- the definition ------------------------------------------------------------------------------

std::vector<Case> definitions() {
  const std::string from = " error.(CSendEventBase::parseMsgCommon)";
  const std::string notFound = " not found.(CSendEventBase::parseMsgCommon)";
  const std::string longLine(1023, 'x');
  const std::vector<std::string> event = eventCall().arguments;
  // The definition that every machine has, with this line after it.
  const auto ending = [](const std::string& line) {
    return written("/case/event.def", kEventDefinition + line);
  };
  return {
      // The name is told as it was given.
      rejection("Missing", {"list", "-r", "no/%s"}, "no/%s" + notFound),
      rejection("MissingAndJoined", {"list", "-rno.def", "event.def"}, "no.def" + notFound),
      rejection("CannotBeRead", {"list", "-r", "/proc/self/mem"}, "/proc/self/mem read" + from),
      rejection("LineWithoutEquals", event, "%s%n%d\xa5\xff format" + from,
                ending("%s%n%d\xa5\xff\n")),
      rejection("LongLineWithoutEquals", event, longLine + " format" + from,
                ending(longLine + "=rest\n")),
      rejection("UnknownKey", event, "Nickname Keyword" + from, ending("Nickname=x\n")),
      rejection("EmptyValue", event, "Label value" + from, ending("Label=\r\n")),
      rejection("Empty", event, "/case/event.def parameter error.(CSendEventBase::parseTanexMsg)",
                written("/case/event.def", "#a\n\r\n#b")),
  };
}

TANEXICS_PLAY(RejectedDefinition, atBothLevels(definitions()));

using RejectedRun = MachineTest;

TEST_F(RejectedRun, UnreadableFile_IsAnOpenError) {
  machine.write("/case/list", "/case/a.txt\n", 0000);
  expectRun(machine.run(incidentCall().prepared(obeyPermissions)),
            rejected("/case/list open error.(CSendEventSingleSystem::parseCommandLine)"));
  machine.clear();
  machine.write("/case/list", "/case/a.txt\n");
  machine.write("/case/event.def", "Label=disk\n", 0000);
  expectRun(machine.run(eventCall().prepared(obeyPermissions)),
            rejected("/case/event.def open error.(CSendEventBase::parseMsgCommon)"));
}

TEST_F(RejectedRun, MissingKey_ShowsOnlyAfterTheDefinitionWasTraced) {
  machine.write("/case/event.def", "Label=disk\nHostName=db01\n");
  expectRun(machine.run(eventCall().traced()),
            rejected("HostName=db01\nLabel=disk\n"
                     "/case/event.def parameter error.(CSendEventBase::parseTanexMsg)"));
}

}  // namespace
