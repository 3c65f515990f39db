// The two collection commands of an incident: what they print is relayed, and nothing that they do
// changes the run.

#include <cstring>

#include "e2e/support/cases.h"

namespace {

constexpr char kFirst[] = "/opt/dovra/tanex/bin/tanexcc";
constexpr char kSecond[] = "/opt/dovra/tanex/bin/tanexcs";

const Call kIncident = {{"/case/list", "-i", "1"}};

std::string wholeLog(bool trace) {
  return framed(standardIncident(trace) + collectionLines(trace), 0);
}

/// Both collection commands are this script.
std::function<void(const Machine&)> running(const std::string& script) {
  return [=](const Machine& machine) {
    for (const char* path : {kFirst, kSecond}) machine.write(path, "#!/bin/sh\n" + script, 0755);
  };
}

/// The first one prints these bytes, the second one nothing.
std::function<void(const Machine&)> printing(const std::string& bytes) {
  return [=](const Machine& machine) {
    machine.write("/case/bytes", bytes);
    machine.write(kFirst, "#!/bin/sh\ncat /case/bytes\n", 0755);
    machine.write(kSecond, "#!/bin/sh\n", 0755);
  };
}

Case collection(const std::string& name, const std::string& out,
                std::function<void(const Machine&)> arrange) {
  return {name, kIncident, {wholeLog(false), standardIncidentCalls(), 0, out}, std::move(arrange)};
}

std::string megabyte() {
  std::string text;
  for (int line = 0; text.size() < 1024 * 1024; ++line) {
    text += std::to_string(line) + std::string(static_cast<std::size_t>(line % 900), 'm') + "\n";
  }
  return text;
}

std::vector<Case> cases() {
  const std::string x510(510, 'x');
  std::vector<Case> rows = {
      collection("Silent", "", running("")),
      collection("Printing", "one\ntwo", printing("one\ntwo")),
      collection("PrintingOneMegabyte", megabyte(), printing(megabyte())),
      collection("PrintingOneMegabyteWithoutLineEnd", std::string(1048576, 'z'),
                 printing(std::string(1048576, 'z'))),
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
      collection("NotExecutable", "",
                 [](const Machine& m) {
                   for (const char* path : {kFirst, kSecond}) m.write(path, "#!/bin/sh\n", 0644);
                 }),
      collection("RemovingItsDirectory", "", running("rmdir \"$1\"\n")),
      collection(
          "FillingItsDirectory", "",
          running("mkdir -p \"$1/d e/f\"; touch \"$1/-rf\" \"$1/d e/f/x\"; chmod 0 \"$1\"\n")),
      collection("RunningOneAfterTheOther", "in out in out ",
                 running("printf 'in '; sleep 0.1; printf 'out '\n")),
  };
  const std::size_t count = rows.size();
  for (std::size_t at = 0; at < count; ++at) rows.push_back(traced(rows[at], wholeLog(true)));
  return rows;
}

}  // namespace

TANEXICS_PLAY(Collection, cases);

class CollectionRun : public CommandTest {};

TEST_F(CollectionRun, SecondRunsAfterTheFirstFailed) {
  const Machine machine;
  machine.write(kFirst, "#!/bin/sh\nexit 1\n", 0755);
  const RunResult result = machine.run(kIncident);
  EXPECT_EQ(machine.read("/case/collected").substr(0, 10), "tanexcs 1 ");
  EXPECT_EQ(result.child.exitCode(), 0);
}

TEST_F(CollectionRun, PercentMGivesASystemErrorText) {
  const Machine machine;
  printing("<%m>")(machine);
  const std::string out = machine.run(kIncident).child.out;
  bool isErrorText = false;
  for (int error = 0; error < 134; ++error) {
    if (out == std::string("<") + std::strerror(error) + ">") isErrorText = true;
  }
  EXPECT_TRUE(isErrorText) << out;
}

TEST_F(CollectionRun, CutConversionsAtEveryPlaceComeOutAsTheyAre) {
  // Whatever stands where the piece ends, no memory is printed.
  for (std::size_t before = 505; before <= 511; ++before) {
    const Machine machine;
    const std::string text = std::string(before, 'x') + "%-08.3s%n%ld\n";
    printing(text)(machine);
    EXPECT_EQ(machine.run(kIncident).child.out, text) << before;
  }
}

TEST_F(CollectionRun, EveryChildHasBeenWaitedForBeforeTheNextOne) {
  const Machine machine;
  // Those of the command's children that have ended and were not waited for.
  running("ps --ppid \"$(cat /pid)\" -o stat= | grep -c Z\n")(machine);
  EXPECT_EQ(machine.run(kIncident).child.out, "0\n0\n");
}
