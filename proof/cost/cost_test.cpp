// What a run costs, counted in system calls and in instructions. The closed library does nothing
// here, so that the command's own calls are counted; the sanitizers make calls of their own.

#include <algorithm>
#include <cctype>
#include <map>
#include <set>

#include "e2e/support/cases.h"

namespace {

using Counts = std::map<std::string, int>;

/// System calls of the growth of memory and of the reading of input, which come block by block.
const std::set<std::string> kByTheBlock = {"brk", "mmap", "mremap", "munmap", "read"};

/// A call that depends on neither: a generated name takes as many random words as chance will have
/// it.
const std::set<std::string> kByChance = {"getrandom"};

constexpr int kFew = 10;
constexpr int kMany = 1000;

/// The calls of one process in a trace of strace(1); those that a signal interrupted or that were
/// told in two parts count once.
Counts countCalls(const std::string& trace, const std::string& process) {
  Counts counts;
  for (const std::string& line : linesOf(trace)) {
    const std::size_t start = line.find_first_not_of(' ', process.size());
    if (line.compare(0, process.size(), process) != 0 || start == process.size()) continue;
    const std::size_t end = line.find('(', start);
    if (std::isalpha(static_cast<unsigned char>(line[start])) == 0) continue;
    const std::string name = line.substr(start, end - start);
    const bool isStat = name == "stat" || name == "newfstatat" || name == "statx";
    ++counts[isStat ? "stat" : name];
  }
  return counts;
}

/// Runs the command with a list of so many files under a program that counts. The log is the null
/// device, which a long run does not rotate.
void runCounted(const Machine& machine, int files, const std::vector<std::string>& option,
                bool trace, const std::vector<std::string>& counter) {
  std::string list;
  for (int number = 0; number < files; ++number) list += "/case/a.txt\n";
  machine.write("/case/list", list);
  std::vector<std::string> arguments = {"/case/list"};
  arguments.insert(arguments.end(), option.begin(), option.end());
  const RunResult result =
      machine.run({arguments,
                   "",
                   trace,
                   {{"LD_LIBRARY_PATH", "/testkelcom"}, {"TANEX_LOG", "/dev/null"}},
                   nullptr,
                   "",
                   counter});
  EXPECT_EQ(result.child.exitCode(), 0) << counter.front() << " is needed: " << result.child.err;
}

Counts callsFor(int files, const std::vector<std::string>& option, bool trace) {
  const Machine machine;
  runCounted(machine, files, option, trace, {"/usr/bin/strace", "-f", "-o", "/case/strace"});
  if (!machine.exists("/case/strace")) return {};
  const std::string text = machine.read("/case/strace");
  return countCalls(text, text.substr(0, text.find(' ')));
}

long instructionsFor(int files, const std::vector<std::string>& option, bool trace) {
  const Machine machine;
  runCounted(machine, files, option, trace,
             {"/usr/bin/valgrind", "--tool=callgrind", "--callgrind-out-file=/dev/null",
              "--log-file=/case/valgrind"});
  if (!machine.exists("/case/valgrind")) return 0;
  const std::string text = machine.read("/case/valgrind");
  const std::string label = "Collected : ";
  const std::size_t at = text.find(label);
  return at == std::string::npos ? 0 : std::stol(text.substr(at + label.size()));
}

struct Slope {
  std::string name;
  std::vector<std::string> option;
  bool trace;
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
};

TEST_P(Cost, OfAFileIsOneStatAndSevenCallsALogLine) {
  Counts growth = callsFor(kMany, GetParam().option, GetParam().trace);
  for (const auto& [name, count] : callsFor(kFew, GetParam().option, GetParam().trace)) {
    growth[name] -= count;
  }
  Counts others;
  for (const std::set<std::string>& names : {kByTheBlock, kByChance}) {
    for (const std::string& name : names) {
      others[name] = growth[name];
      growth.erase(name);
    }
  }
  for (auto at = growth.begin(); at != growth.end();) {
    at = at->second == 0 ? growth.erase(at) : std::next(at);
  }

  constexpr int kFiles = kMany - kFew;
  const int lines = GetParam().logLines * kFiles;
  Counts expected = {{"stat", kFiles + lines}};
  if (lines > 0) {
    expected["openat"] = lines;
    expected["getpid"] = lines;
    expected["write"] = 3 * lines;
    expected["close"] = lines;
  }
  EXPECT_EQ(growth, expected);

  // A list of 12 kB is read in blocks of 4,096 bytes; memory grows by 132 kB and more at a time.
  EXPECT_LE(others["read"], 3);
  for (const std::string name : {"brk", "mmap", "mremap", "munmap"}) {
    EXPECT_LE(others[name], 4) << name;
  }
  for (const std::string& name : kByChance) EXPECT_LE(others[name], kFiles / 10) << name;
}

TEST_P(Cost, OfAFileInInstructionsIsWhatItWas) {
  const long many = instructionsFor(kMany, GetParam().option, GetParam().trace);
  const long few = instructionsFor(kFew, GetParam().option, GetParam().trace);
  ASSERT_GT(few, 0);
  const long each = (many - few) / (kMany - kFew);
  // Some room for another machine's variants of the C library's functions. A cheaper run wants a
  // new figure as well, so that it stays cheap.
  EXPECT_LE(each, GetParam().instructions * 105L / 100);
  EXPECT_GE(each, GetParam().instructions * 85L / 100);
}

INSTANTIATE_TEST_SUITE_P(
    Slope, Cost,
    testing::Values(Slope{"Event", {"-r", "/case/event.def"}, false, 0, 610},
                    Slope{"EventTraced", {"-r", "/case/event.def"}, true, 1, 4906},
                    Slope{"Incident", {"-i", "1"}, false, 5, 17071},
                    Slope{"IncidentTraced", {"-i", "1"}, true, 6, 21388}),
    [](const auto& row) { return row.param.name; });

}  // namespace
