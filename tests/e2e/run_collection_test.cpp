// The two collection commands of an incident: what they print is relayed, and nothing that they do
// changes the run.

#include <sys/stat.h>

#include "e2e/support/cases.h"

namespace {

/// The first one prints these bytes, the second one nothing.
Arrange printing(const std::string& bytes) {
  return [=](const Machine& machine) {
    machine.write("/case/bytes", bytes);
    machine.setCollection("cat /case/bytes\n", "");
  };
}

Arrange running(const std::string& script) {
  return [=](const Machine& machine) { machine.setCollection(script); };
}

void makeUnexecutable(const Machine& machine) {
  machine.setCollection("echo ran\n");
  for (const char* name : {"tanexcc", "tanexcs"}) {
    ::chmod(machine.outside(std::string("/opt/dovra/tanex/bin/") + name).c_str(), 0644);
  }
}

std::string megabyte() {
  std::string text;
  for (int line = 0; text.size() < 1024 * 1024; ++line) {
    text += std::to_string(line) + std::string(static_cast<std::size_t>(line % 900), 'm') + "\n";
  }
  return text;
}

/// An incident goes as ever, and prints this.
Case collection(const std::string& name, const std::string& out, Arrange arrange) {
  Expected expected = Sending().incident();
  expected.out = out;
  return {name, incidentCall(), expected, std::move(arrange)};
}

std::vector<Case> cases() {
  return {
      collection("PrintingOneMegabyte", megabyte(), printing(megabyte())),
      // As a format that there are no arguments to; 511 bytes are a piece, of which a zero byte
      // hides the rest.
      collection("PrintingConversions", std::string(508, 'x') + "%n%\xa5\xff\n%s %d % half",
                 printing(std::string(508, 'x') + "%n%\xa5\xff\n%s %d %% ha" + '\0' + "\nlf")),
      collection("PrintingToStandardError", "", running("echo unseen >&2\n")),
      collection("FailingWithAStatus", "", running("exit 3\n")),
      collection("EndingByASignal", "", running("kill -KILL $$\n")),
      collection("PrintingBeforeItFails", "partpart", running("printf part; exit 255\n")),
      collection("Missing", "", [](const Machine& m) { m.remove("/opt/dovra"); }),
      collection("NotExecutable", "", makeUnexecutable),
      collection("RemovingItsDirectory", "", running("rmdir \"$1\"\n")),
      collection(
          "FillingItsDirectory", "",
          running("mkdir -p \"$1/d e/f\"; touch \"$1/-rf\" \"$1/d e/f/x\"; chmod 0 \"$1\"\n")),
      collection("RunningOneAfterTheOther", "in out in out ",
                 running("printf 'in '; sleep 0.1; printf 'out '\n")),
  };
}

TANEXICS_PLAY(Collection, atBothLevels(cases()));

using CollectionRun = MachineTest;

TEST_F(CollectionRun, FailedFirst_SecondRunsAllTheSame) {
  machine.setCollection("exit 1\n", "echo \"$0 $#\"\n");
  const RunResult result = machine.run(incidentCall());
  EXPECT_EQ(result.child.out, "/opt/dovra/tanex/bin/tanexcs 1\n");
  EXPECT_EQ(result.child.exitCode(), 0);
}

TEST_F(CollectionRun, EveryChild_HasBeenWaitedForBeforeTheNextOne) {
  // Those of the command's children that have ended and were not waited for.
  machine.setCollection("ps --ppid \"$(cat /pid)\" -o stat= | grep -c Z\n");
  EXPECT_EQ(machine.run(incidentCall()).child.out, "0\n0\n");
}

}  // namespace
