// What a run costs, counted in system calls and in instructions. The closed library does nothing
// here, so that the command's own calls are counted; the sanitizers make calls of their own.

#include <cctype>
#include <map>

#include "e2e/support/cases.h"

namespace {

/// What builds a command that takes the instructions in the table: another compiler makes others.
constexpr char kFiguresBelongTo[] = "GNU 12, C++17, x86_64, -O2";

constexpr int kFew = 10;
constexpr int kMany = 1000;
constexpr int kFiles = kMany - kFew;

/// Calls of the growth of memory and of the reading of input, and how many more of them there may
/// be: a list of 12 kB is read in blocks of 4,096 bytes; memory grows by 132 kB and more at a time.
/// And one that depends on neither: a name takes as many random words as chance will have it.
const std::map<std::string, int> kMayGrow = {
    {"brk", 4}, {"mmap", 4}, {"mremap", 4}, {"munmap", 4}, {"read", 3}, {"getrandom", kFiles / 10}};

struct Slope {
  std::string name;
  Call call;
  int logLines;      // that each further file adds
  int instructions;  // that each further file took when the figure was last looked at
};

void PrintTo(const Slope& row, std::ostream* stream) { *stream << row.name; }

class Cost : public CommandTest, public testing::WithParamInterface<Slope> {
 protected:
  void SetUp() override {
    CommandTest::SetUp();
#ifdef TANEXICS_INSTRUMENTED
    GTEST_SKIP() << "the instrumentation makes system calls of its own";
#endif
  }

  /// Runs the command with a list of so many files under a program that counts; gives what that
  /// wrote. The log is the null device, which a long run does not rotate.
  static std::string countedFor(int files, const std::vector<std::string>& counter) {
    const Machine machine;
    std::string list;
    for (int number = 0; number < files; ++number) list += "/case/a.txt\n";
    machine.write("/case/list", list);
    Call call = GetParam().call;
    call.environment = {{"LD_LIBRARY_PATH", "/testkelcom"}, {"TANEX_LOG", "/dev/null"}};
    call.wrapper = counter;
    const RunResult result = machine.run(call);
    EXPECT_EQ(result.child.exitCode(), 0) << counter.front() << " is needed: " << result.child.err;
    return machine.exists("/case/counted") ? machine.read("/case/counted") : "";
  }

  /// The calls of the command itself, without those of its children.
  static std::map<std::string, int> callsFor(int files) {
    std::map<std::string, int> counts;
    for (const std::string& line :
         linesOf(countedFor(files, {"/usr/bin/strace", "-o", "/case/counted"}))) {
      if (std::isalpha(static_cast<unsigned char>(line[0])) == 0) continue;  // a signal, or the end
      const std::string name = line.substr(0, line.find('('));
      ++counts[name == "newfstatat" || name == "statx" ? "stat" : name];
    }
    return counts;
  }

  static long instructionsFor(int files) {
    const std::string text =
        countedFor(files, {"/usr/bin/valgrind", "--tool=callgrind",
                           "--callgrind-out-file=/dev/null", "--log-file=/case/counted"});
    const std::string label = "Collected : ";
    const std::size_t at = text.find(label);
    return at == std::string::npos ? 0 : std::stol(text.substr(at + label.size()));
  }
};

TEST_P(Cost, OfAFileIsOneStatAndSevenCallsALogLine) {
  std::map<std::string, int> growth = callsFor(kMany);
  for (const auto& [name, count] : callsFor(kFew)) growth[name] -= count;
  for (const auto& [name, most] : kMayGrow) {
    EXPECT_LE(growth[name], most) << name;
    growth[name] = 0;
  }
  const int lines = GetParam().logLines * kFiles;
  for (const auto& [name, count] : std::map<std::string, int>{{"stat", kFiles + lines},
                                                              {"openat", lines},
                                                              {"getpid", lines},
                                                              {"write", 3 * lines},
                                                              {"close", lines}}) {
    EXPECT_EQ(growth[name], count) << name;
    growth[name] = 0;
  }
  for (const auto& [name, count] : growth) EXPECT_EQ(count, 0) << name;
}

TEST_P(Cost, OfAFileInInstructionsIsWhatItWas) {
  if (std::string(COMMAND_BUILT_BY) != kFiguresBelongTo) {
    GTEST_SKIP() << "the figures belong to " << kFiguresBelongTo << ", this is " COMMAND_BUILT_BY;
  }
  const long few = instructionsFor(kFew);
  ASSERT_GT(few, 0);
  const long each = (instructionsFor(kMany) - few) / kFiles;
  // Some room for another machine's variants of the C library's functions. A cheaper run wants a
  // new figure as well, so that it stays cheap.
  EXPECT_LE(each, GetParam().instructions * 105L / 100);
  EXPECT_GE(each, GetParam().instructions * 85L / 100);
}

INSTANTIATE_TEST_SUITE_P(Slope, Cost,
                         testing::Values(Slope{"Event", eventCall(), 0, 610},
                                         Slope{"EventTraced", eventCall().traced(), 1, 4906},
                                         Slope{"Incident", incidentCall(), 5, 17071},
                                         Slope{"IncidentTraced", incidentCall().traced(), 6,
                                               21388}),
                         [](const auto& row) { return row.param.name; });

}  // namespace
