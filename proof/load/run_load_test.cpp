// The built command with more than a day usually brings: many at once, and input that is very
// large.

#include <sys/resource.h>

#include <algorithm>
#include <fstream>
#include <map>
#include <sstream>

#include "e2e/support/cases.h"
#include "logpieces.h"
#include "support/actionlog.h"
#include "toldruns.h"

namespace {

constexpr rlim_t kMiB = 1024 * 1024;
constexpr rlim_t kGiB = 1024 * kMiB;

/// An event on the library that does nothing: no record is kept.
Call loadCall() { return eventCall().with({{"LD_LIBRARY_PATH", "/testkelcom"}}); }

/// For `Call::prepare`: as much memory for data as that, beside the megabyte of a small run.
Prepare withMemory(rlim_t bytes) {
  return [bytes] {
    const rlimit limit = {kMiB + bytes, kMiB + bytes};
    return ::setrlimit(RLIMIT_DATA, &limit) == 0;
  };
}

class Load : public CommandTest {
 protected:
  Machine machine;
};

// --- many at once --------------------------------------------------------------------------------

constexpr char kSharedLog[] = "/case/shared.log";
constexpr int kRuns = 200;

TEST_F(Load, TwoHundredRunsShareOneLog) {
  // The texts of a run, the elapsed time left open.
  Call call = loadCall();
  call.argument0 = "/build/tanexics";
  std::vector<std::string> expected = linesOf(machine.run(call).log);
  for (std::string& text : expected) text.erase(std::min(text.find("*'"), text.size()));
  ASSERT_EQ(expected.size(), 10U);

  call.environment["TANEX_LOG"] = kSharedLog;
  const std::string all = "n=0; while [ $n -lt " + std::to_string(kRuns) +
                          " ]; do \"$@\" || echo failed $? & n=$((n + 1)); done; wait";
  call.wrapper = {"/bin/sh", "-c", all, "sh"};
  const RunResult result = machine.run(call);
  EXPECT_EQ(result.child.exitCode(), 0);
  EXPECT_EQ(result.child.out, "");
  EXPECT_EQ(result.child.err, "");

  const std::string bytes = machine.read(kSharedLog);
  ASSERT_LE(bytes.size(), 512000U) << "there was a rotation";
  const auto textLength = [&expected](const std::string& log, std::size_t at) -> std::size_t {
    for (const std::string& text : expected) {
      if (log.compare(at, text.size(), text) != 0) continue;
      const bool isElapsed = text.back() == '\'';
      return isElapsed ? log.find('\'', at + text.size()) + 1 - at : text.size();
    }
    return 0;
  };
  const LogPieces pieces(bytes, textLength);
  EXPECT_EQ(pieces.torn, 0U) << bytes.substr(bytes.size() - pieces.torn, 200);
  const int lines = kRuns * static_cast<int>(expected.size());
  EXPECT_EQ(pieces.lineFeeds, lines);
  EXPECT_EQ(pieces.heads.size(), static_cast<std::size_t>(kRuns));
  for (const auto& [pid, count] : pieces.heads) EXPECT_EQ(count * kRuns, lines) << pid;
  std::map<std::string, int> missing;
  for (const std::string& text : expected) missing[text] += kRuns;
  for (const std::string& text : pieces.texts) {
    const bool isElapsed = missing.count(text) == 0;
    --missing[isElapsed ? text.substr(0, text.find('\'', text.find("time=")) + 1) : text];
  }
  for (const auto& [text, count] : missing) EXPECT_EQ(count, 0) << text;
}

TEST_F(Load, TwoHundredRunsAreToldFromOneLog) {
  constexpr double kMostUnknown = 10.0;
  const std::pair<const char*, const char*> kinds[] = {{"", "delivered"},
                                                       {"communicate * -62 2 54\n", "refused"},
                                                       {"communicate 0x4010b -55 2 49\n", "partly"},
                                                       {"status 0x20000\n", "not-sent"}};
  std::map<std::string, std::string> truthOfKind;
  for (const auto& [answers, truth] : kinds) {
    const std::string kind = std::to_string(truthOfKind.size());
    machine.write("/case/answers" + kind, answers);
    truthOfKind[kind] = truth;
  }
  Call call = incidentCall();
  call.environment["TANEX_LOG"] = kSharedLog;
  const std::string all = "seq -f /case/out%g 0 199 | xargs mkdir; n=0; while [ $n -lt " +
                          std::to_string(kRuns) +
                          " ]; do k=$((n % 4)); "
                          "KELCOM_LOOPBACK_SCRIPT=/case/answers$k "
                          "KELCOM_LOOPBACK_OUTBOX=/case/out$n \"$@\" & "
                          "echo $! $k >>/case/kinds; n=$((n + 1)); done; wait";
  call.wrapper = {"/bin/sh", "-c", all, "sh"};
  EXPECT_EQ(machine.run(call).child.exitCode(), 0);
  std::map<int, std::string> truths;
  std::istringstream text(machine.read("/case/kinds"));
  std::string kind;
  for (int pid = 0; text >> pid >> kind;) truths[pid] = truthOfKind[kind];
  ASSERT_EQ(truths.size(), static_cast<std::size_t>(kRuns));
  const std::string bytes = machine.read(kSharedLog);
  ASSERT_LE(bytes.size(), 512000U) << "there was a rotation";
  ToldRuns told(truths);
  told.read({bytes});
  EXPECT_EQ(told.right + told.unknown, kRuns);
  EXPECT_LE(told.unknownShare("200 runs at once"), kMostUnknown);
}

// --- very large input ----------------------------------------------------------------------------

TEST_F(Load, FileOfTenGigabytesIsNamedAndNotRead) {
  machine.makeSparse("/case/huge", 10 * kGiB);
  machine.write("/case/list", "/case/huge\n/case/a.txt\n");
  const RunResult result = machine.run(loadCall().traced().prepared(withMemory(kMiB)));
  // The total wraps at 4 GiB.
  expectRun(result, {framed(parameterLines() + measured("0", "/case/huge", "10737418240") +
                                measured("2147483648", "/case/a.txt", "6") +
                                measuredAll("2147483654") + startedLine() +
                                eventPart("0x40204", eventText("Software Log"), 2, "/case/huge") +
                                "commonSendEvent OK\n",
                            0)});
}

/// Sends an event with a list of so many lines, each naming the same file, in as much memory as the
/// list itself twice, as it was read and as the library gets it, and a little for each line; short
/// paths take nothing beside that little.
void expectListFits(const Machine& machine, std::size_t lines, const std::string& path) {
  constexpr std::size_t kMostBytesOfALine = 150;
  constexpr std::size_t kShortLine = 16;
  std::ofstream file(machine.outside("/case/list"));
  for (std::size_t line = 0; line < lines; ++line) file << path << "\n";
  file.close();
  EXPECT_TRUE(file.good());
  const std::size_t lineBytes = path.size() + 1;
  const std::size_t pathBytes = lineBytes <= kShortLine ? 0 : 2 * lineBytes;
  const std::size_t memory = lines * (pathBytes + kMostBytesOfALine);
  const RunResult result = machine.run(loadCall().prepared(withMemory(memory)));
  expectRun(
      result,
      {framed(startedLine() +
                  eventPart("0x40204", eventText("Software Log"), static_cast<int>(lines), path) +
                  "commonSendEvent OK\n",
              0)});
}

TEST_F(Load, ListOfAHundredThousandFilesTakesAtMost150BytesALine) {
  expectListFits(machine, 100000, "/case/a.txt");
}

// Not on every commit: it takes a gigabyte of disk and of memory.
TEST_F(Load, HeavyListOfOneGigabyte) {
  std::string folder = "/case";
  for (int depth = 0; depth < 4; ++depth) folder += "/" + std::string(240, 'd');
  machine.write(folder + "/file", "");
  expectListFits(machine, kGiB / (folder.size() + 6), folder + "/file");
}

}  // namespace
