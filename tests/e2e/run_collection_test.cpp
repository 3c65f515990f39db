// The two collection commands of an incident: what they print is relayed, and nothing that they do
// changes the run.

#include <sys/stat.h>

#include <cstring>

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
  const std::string x510(510, 'x');
  const std::string z1M(1048576, 'z');
  return {
      collection("Silent", "", running("")),
      collection("Printing", "one\ntwo", printing("one\ntwo")),
      collection("PrintingOneMegabyte", megabyte(), printing(megabyte())),
      collection("PrintingOneMegabyteWithoutLineEnd", z1M, printing(z1M)),
      collection("PrintingBytesAbove0x7f", "\xa5\xed\xff\x80\n", printing("\xa5\xed\xff\x80\n")),
      collection("PrintingConversions", "%s %d %n %x %c %5$s %*d %lc %\n",
                 printing("%s %d %n %x %c %5$s %*d %lc %\n")),
      collection("PrintingDoubledPercentSigns", "100% %s %%\n", printing("100%% %%s %%%%\n")),
      collection("PrintingAPercentSignLastOfAll", "50%", printing("50%")),
      // 511 characters are a piece: here a conversion, there a doubled percent sign is cut in two.
      collection("ConversionCutByThePiece", x510 + "%s\n", printing(x510 + "%s\n")),
      collection("DoubledPercentSignCutByThePiece", x510 + "%%\n", printing(x510 + "%%\n")),
      collection("DoubledPercentSignUncutBeforeTheEndOfThePiece", x510.substr(1) + "%\n",
                 printing(x510.substr(1) + "%%\n")),
      // As everywhere, a zero byte ends what is seen of a piece.
      collection("PrintingZeroBytes", "onethree\n", printing(std::string("one\0two\nthree\n", 14))),
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

TEST_F(CollectionRun, SecondRunsAfterTheFirstFailed) {
  machine.setCollection("exit 1\n", "echo \"$0 $#\"\n");
  const RunResult result = machine.run(incidentCall());
  EXPECT_EQ(result.child.out, "/opt/dovra/tanex/bin/tanexcs 1\n");
  EXPECT_EQ(result.child.exitCode(), 0);
}

TEST_F(CollectionRun, PercentMGivesASystemErrorText) {
  printing("<%m>")(machine);
  const std::string out = machine.run(incidentCall()).child.out;
  bool isErrorText = false;
  for (int error = 0; error < 134; ++error) {
    if (out == std::string("<") + std::strerror(error) + ">") isErrorText = true;
  }
  EXPECT_TRUE(isErrorText) << out;
}

TEST_F(CollectionRun, CutConversionsAtEveryPlaceComeOutAsTheyAre) {
  // Whatever stands where the piece ends, no memory is printed.
  for (std::size_t before = 505; before <= 511; ++before) {
    const std::string text = std::string(before, 'x') + "%-08.3s%n%ld\n";
    machine.clear();
    printing(text)(machine);
    EXPECT_EQ(machine.run(incidentCall()).child.out, text) << before;
  }
}

TEST_F(CollectionRun, EveryChildHasBeenWaitedForBeforeTheNextOne) {
  // Those of the command's children that have ended and were not waited for.
  machine.setCollection("ps --ppid \"$(cat /pid)\" -o stat= | grep -c Z\n");
  EXPECT_EQ(machine.run(incidentCall()).child.out, "0\n0\n");
}

}  // namespace
