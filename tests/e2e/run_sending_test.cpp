// An incident and an event travel from end to end: one notification and one data call for each file
// of an incident, one of each for all files of an event. Some messages with which a run ends before
// that; all are tried where the command line and the definition are read.

#include <sys/resource.h>
#include <sys/stat.h>

#include "e2e/support/cases.h"

namespace {

std::string replaced(std::string text, const std::string& from, const std::string& to) {
  return text.replace(text.find(from), from.size(), to);
}

class Sent : public MachineTest {
 protected:
  struct Row {
    Call call;
    Expected expected;
    std::string bytes = "";  // of the file that the call names last
  };

  void play(const std::vector<Row>& rows) const {
    for (const auto& [call, expected, bytes] : rows) {
      SCOPED_TRACE(testing::PrintToString(call.arguments) + bytes);
      machine.clear();
      if (!bytes.empty()) machine.write(call.arguments.back(), bytes);
      expectRun(machine.run(call), expected);
    }
  }
};

TEST_F(Sent, IncidentOrEvent_LeavesItsWholeLogAndRecord) {
  Sending joined;
  joined.number = "C123";
  const Expected event = Sending().event();
  play({
      {incidentCall(), Sending().incident()},
      {incidentCall().traced(), Sending().incident()},
      // Odd: the number is the next argument without its first two characters.
      {{{"/case/list", "-ifoo", "ABC123"}}, joined.incident()},
      {eventCall(), event},
      {eventCall().traced(), event},
      {{{"list", "-revent.def", "/no/such/file"}}, event},
  });
}

TEST_F(Sent, OddDefinition_IsTakenAsItIs) {
  const std::string label = "a\"%s%n\xb9\xff";
  std::string definition = "Label=first\n#no equals\r\n";
  for (const std::string& line : linesOf(kEventDefinition)) definition += line + "\r\n\n";
  definition = replaced(definition, "SendType=err", "SendType=err ");
  definition = replaced(definition, "MsgID=4001\r\n", "");
  machine.write("/case/event.def", replaced(definition, "disk", label));
  machine.write("/case/b.syslog.txt", "# a\n#b\nFeb \"2\"\r\nlater\n");
  Sending sending;
  sending.code = "0x40205";
  sending.files[1].size = 22;
  sending.text = replaced(eventText(R"(Feb ""2"")"), "disk", "a\"\"%s%n\xb9\xff");
  sending.text = replaced(sending.text, "\"4001\"", "");
  // The map has no identifier of the message yet when it is traced.
  sending.parameters = replaced(parameterLines("err ").trace, "MsgID=4001\n", "");
  sending.parameters = replaced(sending.parameters.trace, "disk", label);
  expectRun(machine.run(eventCall().traced()), sending.event());
}

TEST_F(Sent, RejectedInput_EndsTheRunBeforeAnyCall) {
  const std::string from = ".(CSendEventSingleSystem::parseCommandLine)";
  const std::string line = "%s%n%d\xa5\xff";
  play({
      {Call(), rejected("parameter count error" + from)},
      {{{"/case/%s%n", "-x", "1"}}, rejected("/case/%s%n not found" + from)},
      {{{"/case/list", "%s%n", "1"}}, rejected("parameter option error" + from)},
      {{{"list", "-r", "no/%s"}}, rejected("no/%s not found.(CSendEventBase::parseMsgCommon)")},
      {eventCall(), rejected(line + " format error.(CSendEventBase::parseMsgCommon)"),
       kEventDefinition + line + "\n"},
      // Told only after the definition was traced.
      {eventCall().traced(),
       rejected("HostName=db01\nLabel=disk\n"
                "/case/event.def parameter error.(CSendEventBase::parseTanexMsg)"),
       "Label=disk\nHostName=db01\n"},
  });
  machine.clear();
  machine.write("/case/list", "\n\r\n" + std::string(3, '\0') + "\n");
  expectRun(machine.run(incidentCall()), rejected("No send file" + from));
}

// --- listed files --------------------------------------------------------------------------------

std::string listOf(const std::vector<File>& files) {
  std::string list;
  for (const File& file : files) list += file.path + "\n";
  return list;
}

TEST_F(Sent, ListedFiles_AreMeasuredAndNamedWhateverTheyAre) {
  constexpr off_t kGiB = 1024LL * 1024 * 1024;
  const std::string odd = "/case/a b\"c'%s%n;$(x)";
  machine.write("/case/empty", "");
  machine.write("/case/secret", "12345", 0000);
  machine.write(odd, "123");
  machine.makeFolder("/case/folder");
  machine.makeSparse("/case/below", 4 * kGiB - 1);
  machine.makeSparse("/case/above", 5 * kGiB);
  ASSERT_EQ(::mkfifo(machine.outside("/case/fifo").c_str(), 0600), 0);
  struct stat folder = {};
  ASSERT_EQ(::stat(machine.outside("/case/folder").c_str(), &folder), 0);
  Sending sending;
  sending.files = {{"/case/none", -1, "No such file or directory"},
                   {"/case/a.txt/x", -1, "Not a directory"},
                   {"#\xa5\xff", -1, "No such file or directory"},
                   {"/case/folder", folder.st_size, "not a regular file"},
                   {"/case/secret", 5, "cannot be opened: Permission denied"},
                   {"/case/fifo", 0, "not a regular file"},
                   {"/case/empty", 0},
                   {"a.txt", 6},
                   {odd, 3},
                   {"/case/below", 4 * kGiB - 1},
                   {"/case/above", 5 * kGiB}};
  sending.text = eventText("Software Log");
  machine.write("/case/list", listOf(sending.files));
  expectRun(machine.run(eventCall().traced().prepared(obeyPermissions)), sending.event());
  machine.clear();
  expectRun(machine.run(incidentCall().traced().prepared(obeyPermissions)), sending.incident());
  // The three that are missing and the one just below 4 GiB take one byte each off the sum.
  const std::string total = std::to_string(kGiB + folder.st_size + 5 + 6 + 3 - 4);
  EXPECT_NE(machine.log().find("final_total='" + total + "'"), std::string::npos);
}

// --- very many -----------------------------------------------------------------------------------

class ManyFiles : public MachineTest {
 protected:
  static constexpr int kMany = 40000;  // pointers to them are more than the stack holds

  void SetUp() override {
    MachineTest::SetUp();
    machine.write("/case/list", listOf(std::vector<File>(kMany, standardFiles()[0])));
  }

  /// On a small stack, and on the library that does nothing, so that the command's own time shows.
  /// The system's time is not counted: most of it goes into a log that is opened for each line.
  RunResult run(const Call& call) const {
    const double before = userSeconds();
    RunResult result =
        machine.run(call.with({{"LD_LIBRARY_PATH", "/testkelcom"}}).prepared(limitStack));
    EXPECT_LT(userSeconds() - before, 10.0);
    return result;
  }

 private:
  static bool limitStack() {
    const rlimit limit = {256UL * 1024UL, 256UL * 1024UL};
    return ::setrlimit(RLIMIT_STACK, &limit) == 0;
  }

  static double userSeconds() {
    rusage usage = {};
    EXPECT_EQ(::getrusage(RUSAGE_CHILDREN, &usage), 0);
    return static_cast<double>(usage.ru_utime.tv_sec) +
           static_cast<double>(usage.ru_utime.tv_usec) / 1e6;
  }
};

TEST_F(ManyFiles, Event_TakesLittleTimeAndStack) {
  const std::string text = eventText("Software Log");
  expectRun(run(eventCall()),
            {framed(startedLine() + eventPart("0x40204", text, kMany, "/case/a.txt") +
                        "commonSendEvent OK\n",
                    0)});
}

TEST_F(ManyFiles, Incident_TakesLittleTimeAndStack) {
  Sending sending;
  sending.files = std::vector<File>(kMany, sending.files[0]);
  const std::string whole = sending.incident().log.info;
  const RunResult result = run(incidentCall());
  EXPECT_EQ(result.child.exitCode(), 0);
  // The log has been rotated since it began.
  ASSERT_GT(result.log.size(), 1000U);
  EXPECT_TRUE(result.log == whole.substr(whole.size() - result.log.size()));
}

}  // namespace
