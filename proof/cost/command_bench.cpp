// Measures the command beside the floor under its cost (floor.c), turn by turn, and holds it to
// its limits: CPU time against the floor's, memory a listed file, and no system call that the floor
// does not make. Prints a table of each, and fails, after the last, where a limit is not held.
//
// The runs of every size load a library in C, which no maker's library that throws can be; the
// short ones follow again with one that brings the unwinder along, since loading it is most of what
// they cost above the floor.
//
//   command_bench [--turns N] [--points FILE]

#include <fcntl.h>
#include <stdlib.h>
#include <sys/resource.h>
#include <sys/wait.h>
#include <unistd.h>

#include <CLI/CLI.hpp>
#include <algorithm>
#include <cmath>
#include <cstdio>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <map>
#include <regex>
#include <set>
#include <stdexcept>
#include <string>
#include <vector>

namespace fs = std::filesystem;

namespace {

// --- what is held --------------------------------------------------------------------------------

/// From here on a run is long enough for a limit: below it, what the machine does beside weighs
/// more than what a file costs.
constexpr int kLimitedFiles = 1000;

/// Of memory, in lists of paths of 31 bytes, each of which is held twice: in the list, and in the
/// copy for the library.
constexpr double kMostBytesAFile = 150;

/// The kernel counts resident memory up to some hundred kilobytes late, so that a file's share can
/// be told of long lists only.
constexpr int kMeasuredFiles = 10000;

/// Memory is asked for by the block, of which a program that keeps more may need more.
const std::set<std::string> kMemoryCalls = {"brk", "mmap", "mremap", "munmap"};
constexpr double kBlockBytes = 132 * 1024;

/// A generated name takes as many random words as chance will have it.
constexpr char kCallByChance[] = "getrandom";

/// A run of so many files takes seconds.
constexpr int kLongList = 100000;

/// The 95 % interval of a median needs as many values.
constexpr int kLeastTurns = 6;

/// A program and its arguments.
using Words = std::vector<std::string>;

/// How often each system call was made, by its name.
using Calls = std::map<std::string, int>;

/// One kind of run.
struct Kind {
  std::string name;
  Words arguments;  // behind the list of files; none for a run without arguments
  bool isTraced;
  double mostRatio;  // of CPU time to the floor's; where there are files, from kLimitedFiles on
  Calls ownCalls;    // what the command alone has to make

  bool isLimited(int files) const { return arguments.empty() || files >= kLimitedFiles; }
};

std::vector<Kind> kindsOfRun(const std::string& definition) {
  const Words event = {"-r", definition};
  return {{"incident", {"-i", "4711"}, false, 1.03, {}},
          {"event", event, false, 1.15, {}},
          {"event, traced", event, true, 1.03, {}}};
}

/// The status that ends this run is thrown, and before the first throw the C++ runtime tells the
/// kernel that its tables are set up.
const Kind kWithoutArguments = {"no arguments", {}, false, 1.2, {{"futex", 1}}};

// --- where it runs -------------------------------------------------------------------------------

/// The work folder: lists of files, a definition, and the action log of the run under way.
class Folder {
 public:
  Folder() {
    char name[] = "/tmp/tanexics-bench-XXXXXX";
    if (::mkdtemp(name) == nullptr) throw std::runtime_error("mkdtemp failed");
    m_path = name;
    std::ofstream(path("file")) << "one line\n";
    std::ofstream definition(path("event.def"));
    for (const char* key : {"Time", "Label", "HostName", "OSType", "OSName", "OSVersion", "PkgName",
                            "MsgType", "MsgID", "EventID", "PartitionName"}) {
      definition << key << "=value of " << key << "\n";
    }
    definition << "SendType=err\n";
  }
  ~Folder() { fs::remove_all(m_path); }
  Folder(const Folder&) = delete;
  Folder& operator=(const Folder&) = delete;

  std::string path(const std::string& name) const { return m_path + "/" + name; }

  std::string list(int files) const {
    std::string name = path("list" + std::to_string(files));
    if (!fs::exists(name)) {
      std::ofstream out(name);
      for (int i = 0; i < files; ++i) out << path("file") << "\n";
    }
    return name;
  }

 private:
  std::string m_path;
};

// --- a run ---------------------------------------------------------------------------------------

constexpr int kRejected = 68;  // the status of a run without arguments

/// The call that silent-kelcom.c makes once everything is loaded.
constexpr char kLoadedMark[] = "getppid";

/// What a run took, its children's share included.
struct Sample {
  double cpu;   // seconds, in user and system mode
  double peak;  // bytes of resident memory
};

double secondsOf(const timeval& time) {
  return static_cast<double>(time.tv_sec) + static_cast<double>(time.tv_usec) / 1e6;
}

/// Runs a program to its end with its output thrown away.
Sample runOnce(const Words& words) {
  std::vector<char*> argv;
  for (const std::string& word : words) argv.push_back(const_cast<char*>(word.c_str()));
  argv.push_back(nullptr);
  const pid_t pid = ::fork();
  if (pid == 0) {
    const int nothing = ::open("/dev/null", O_RDWR);
    for (int number = 0; number < 3; ++number) ::dup2(nothing, number);
    ::execvp(argv[0], argv.data());
    ::_exit(127);
  }
  int status = 0;
  rusage usage = {};
  if (::wait4(pid, &status, 0, &usage) != pid) throw std::runtime_error("wait4 failed");
  if (!WIFEXITED(status) || (WEXITSTATUS(status) != 0 && WEXITSTATUS(status) != kRejected)) {
    throw std::runtime_error(words[0] + " ended with wait status " + std::to_string(status));
  }
  return {secondsOf(usage.ru_utime) + secondsOf(usage.ru_stime),
          static_cast<double>(usage.ru_maxrss) * 1024};
}

/// The name of the call in a line of a trace, "PID NAME(...": empty for one that tells how an
/// interrupted call went on.
std::string callIn(const std::string& line) {
  const std::size_t start = line.find_first_not_of("0123456789 ");
  const std::size_t end = line.find_first_not_of("abcdefghijklmnopqrstuvwxyz0123456789_", start);
  if (start == std::string::npos || end == std::string::npos || line[end] != '(') return "";
  return line.substr(start, end - start);
}

/// Counts the system calls of a program and its children with strace(1), from where everything is
/// loaded on. `trace` names a file to be written.
Calls countCalls(const Words& words, const std::string& trace) {
  Words traced = {"strace", "-f", "-qq", "-e", "signal=none", "-o", trace};
  traced.insert(traced.end(), words.begin(), words.end());
  runOnce(traced);
  std::ifstream file(trace);
  Calls calls;
  bool isLoaded = false;
  for (std::string line; std::getline(file, line);) {
    const std::string name = callIn(line);
    if (isLoaded && !name.empty()) ++calls[name];
    isLoaded = isLoaded || name == kLoadedMark;
  }
  if (!isLoaded) throw std::runtime_error(words[0] + " was not seen to load the silent library");
  return calls;
}

int sumOf(const Calls& calls) {
  int sum = 0;
  for (const auto& [name, count] : calls) sum += count;
  return sum;
}

// --- two programs, run in turn -------------------------------------------------------------------

struct Turn {
  Sample command;
  Sample floor;
};

struct Comparison {
  Sample command;  // medians, each of its own
  Sample floor;
  double ratio;  // the median of the turns' ratios of CPU time
  double low;    // between these two the median lies with a probability of 95 %
  double high;
  std::size_t turns;
};

/// The ratios of the turns are compared, rather than the sums: a machine's speed may drift.
Comparison comparisonOf(const std::vector<Turn>& turns) {
  const std::size_t count = turns.size();
  const auto sorted = [&turns](const auto& value) {
    std::vector<double> values;
    for (const Turn& turn : turns) values.push_back(value(turn));
    std::sort(values.begin(), values.end());
    return values;
  };
  const auto medianOf = [&sorted, count](Sample Turn::*program) {
    return Sample{sorted([program](const Turn& turn) { return (turn.*program).cpu; })[count / 2],
                  sorted([program](const Turn& turn) { return (turn.*program).peak; })[count / 2]};
  };
  const std::vector<double> ratios =
      sorted([](const Turn& turn) { return turn.command.cpu / turn.floor.cpu; });
  // How many of the values lie below the median is a matter of tossing coins, whatever their
  // distribution: half of them, give or take half the root of their number, times 1.96 for 95 %.
  const double spread = 1.96 * std::sqrt(static_cast<double>(count));
  const auto low =
      static_cast<std::size_t>(std::max(0.0, (static_cast<double>(count) - spread) / 2));
  return {medianOf(&Turn::command), medianOf(&Turn::floor),
          ratios[count / 2],        ratios[low],
          ratios[count - 1 - low],  count};
}

// --- the measuring -------------------------------------------------------------------------------

/// Bytes a file of a program: what a run takes above one with a single file.
double bytesAFile(const Sample& run, const Sample& single, int files) {
  return (run.peak - single.peak) / files;
}

/// From here on, both programs load this library.
void useLibrary(const fs::path& library) {
  ::setenv("LD_LIBRARY_PATH", library.parent_path().c_str(), 1);
}

class Bench {
 public:
  Bench(int turns, const std::string& points) : m_turns(turns) {
    ::setenv("TANEX_LOG", m_folder.path("action.log").c_str(), 1);
    if (!points.empty()) m_points.open(points);
  }

  const Folder& folder() const { return m_folder; }

  /// What was not held, one sentence each.
  const std::vector<std::string>& broken() const { return m_broken; }

  void compareLogs(const Kind& kind, int files) {
    const std::string theirs = logOf(BENCH_FLOOR, kind, files);
    if (logOf(BENCH_COMMAND, kind, files) != theirs) {
      throw std::runtime_error("the floor does not log what the command logs: " + kind.name);
    }
  }

  static void printTimesHead() {
    std::printf("%-24s %7s %6s %10s %10s %7s %15s %6s %9s %9s %7s %7s\n", "run", "files", "turns",
                "CPU ms", "floor ms", "ratio", "95 % interval", "limit", "peak KB", "floor KB",
                "B/file", "floor");
  }

  /// The runs of a kind from the smallest number of files, which is 0 or 1, to the largest.
  void measure(const Kind& kind, const std::vector<int>& sizes) {
    m_points << "\n\n# " << kind.name << "\n";
    const Comparison single = compare(kind, sizes.front());
    report(kind, sizes.front(), single, single);
    for (auto files = std::next(sizes.begin()); files != sizes.end(); ++files) {
      report(kind, *files, compare(kind, *files), single);
    }
  }

  static void printCallsHead() {
    std::printf("\n%-24s %7s %10s %10s   %s\n", "system calls", "files", "command", "floor",
                "more than the floor");
  }

  /// The calls of a run and its children; none may be the command's alone.
  void compareCalls(const Kind& kind, int files) {
    const std::string trace = m_folder.path("trace");
    clearLog();
    const Calls command = countCalls(wordsOf(BENCH_COMMAND, kind, files), trace);
    clearLog();
    const Calls floor = countCalls(wordsOf(BENCH_FLOOR, kind, files), trace);
    Calls difference = command;
    for (const auto& [name, count] : floor) difference[name] -= count;
    std::string others;
    int memory = 0;
    for (const auto& [name, count] : difference) {
      if (count == 0 || name == kCallByChance) continue;
      others += " " + name + " " + std::to_string(count);
      const auto own = kind.ownCalls.find(name);
      const int allowed = own == kind.ownCalls.end() ? 0 : own->second;
      if (kMemoryCalls.count(name) != 0) {
        memory += count;
      } else if (count != allowed) {
        breaks(kind, files, name + " is called " + std::to_string(count) + " times more");
      }
    }
    std::printf("%-24s %7d %10d %10d  %s\n", kind.name.c_str(), files, sumOf(command), sumOf(floor),
                others.empty() ? " none" : others.c_str());
    std::fflush(stdout);
    if (memory > std::ceil(kMostBytesAFile * files / kBlockBytes)) {
      breaks(kind, files, std::to_string(memory) + " calls more ask for memory");
    }
  }

 private:
  Words wordsOf(const std::string& program, const Kind& kind, int files) {
    ::setenv("TANEX_LOG_LEVEL", kind.isTraced ? "LOG_LEVEL_TRACE" : "", 1);
    Words words = {program};
    if (kind.arguments.empty()) return words;
    words.push_back(m_folder.list(files));
    words.insert(words.end(), kind.arguments.begin(), kind.arguments.end());
    return words;
  }

  void clearLog() const { fs::remove(m_folder.path("action.log")); }

  Sample once(const std::string& program, const Kind& kind, int files) {
    clearLog();
    return runOnce(wordsOf(program, kind, files));
  }

  /// The log of a run without what differs from run to run.
  std::string logOf(const std::string& program, const Kind& kind, int files) {
    once(program, kind, files);
    std::ifstream file(m_folder.path("action.log"));
    std::string text{std::istreambuf_iterator<char>(file), {}};
    for (const char* varying : {R"(\d{4}/\d\d/\d\d \d\d:\d\d:\d\d +\d+ )", "pid=\\d+", "swcon\\w+",
                                "main : \\S+", "time=.*"}) {
      text = std::regex_replace(text, std::regex(varying), "*");
    }
    return text;
  }

  /// One turn, in which either program is the first every second time.
  void takeTurn(std::vector<Turn>& turns, const Kind& kind, int files) {
    const bool isCommandFirst = turns.size() % 2 == 0;
    const Sample first = once(isCommandFirst ? BENCH_COMMAND : BENCH_FLOOR, kind, files);
    const Sample second = once(isCommandFirst ? BENCH_FLOOR : BENCH_COMMAND, kind, files);
    turns.push_back(isCommandFirst ? Turn{first, second} : Turn{second, first});
  }

  /// A short run takes a millisecond, of which the machine's mood is a larger part; in a long one,
  /// it evens out.
  int leastTurns(int files) const {
    if (files < 100) return 20 * m_turns;
    if (files < kLimitedFiles) return 5 * m_turns;
    return files < kLongList ? m_turns : std::max(kLeastTurns, m_turns / 3);
  }

  /// Takes turns; more of them, where a limit lies so near that they do not tell.
  Comparison compare(const Kind& kind, int files) {
    once(BENCH_COMMAND, kind, files);  // warms the caches
    once(BENCH_FLOOR, kind, files);
    const auto least = static_cast<std::size_t>(leastTurns(files));
    std::vector<Turn> turns;
    while (turns.size() < least) takeTurn(turns, kind, files);
    Comparison sofar = comparisonOf(turns);
    while (kind.isLimited(files) && turns.size() < 4 * least && sofar.low <= kind.mostRatio &&
           kind.mostRatio <= sofar.high) {
      takeTurn(turns, kind, files);
      sofar = comparisonOf(turns);
    }
    return sofar;
  }

  void report(const Kind& kind, int files, const Comparison& runs, const Comparison& single) {
    const bool isMeasured = files >= kMeasuredFiles;
    const double bytes = isMeasured ? bytesAFile(runs.command, single.command, files) : NAN;
    const double floorBytes = isMeasured ? bytesAFile(runs.floor, single.floor, files) : NAN;
    std::printf("%-24s %7d %6zu %10.3f %10.3f %7.3f %7.3f %7.3f %6s %9.0f %9.0f %7s %7s\n",
                kind.name.c_str(), files, runs.turns, runs.command.cpu * 1e3, runs.floor.cpu * 1e3,
                runs.ratio, runs.low, runs.high,
                kind.isLimited(files) ? shortened(kind.mostRatio, 2).c_str() : "",
                runs.command.peak / 1024, runs.floor.peak / 1024, shortened(bytes, 0).c_str(),
                shortened(floorBytes, 0).c_str());
    std::fflush(stdout);
    m_points << files << ' ' << runs.command.cpu * 1e3 << ' ' << runs.floor.cpu * 1e3 << ' '
             << runs.ratio << ' ' << runs.low << ' ' << runs.high << ' ' << runs.command.peak / 1e6
             << ' ' << runs.floor.peak / 1e6 << std::endl;
    if (kind.isLimited(files) && runs.low > kind.mostRatio) {
      breaks(kind, files,
             shortened(runs.ratio, 3) + " times the CPU time of the floor (" +
                 shortened(runs.low, 3) + " to " + shortened(runs.high, 3) + ")");
    }
    if (bytes > kMostBytesAFile) breaks(kind, files, shortened(bytes, 0) + " bytes a file");
  }

  static std::string shortened(double number, int digits) {
    char text[32];
    std::snprintf(text, sizeof text, "%.*f", digits, number);
    return std::isnan(number) ? "" : text;
  }

  void breaks(const Kind& kind, int files, const std::string& what) {
    m_broken.push_back(kind.name + ", " + std::to_string(files) + " files: " + what);
  }

  int m_turns;
  Folder m_folder;
  std::ofstream m_points;
  std::vector<std::string> m_broken;
};

bool runAll(int turns, const std::string& points) {
  Bench bench(turns, points);
  const std::vector<Kind> kinds = kindsOfRun(bench.folder().path("event.def"));

  useLibrary(SILENT_LIBRARY);
  bench.compareLogs(kWithoutArguments, 0);
  for (const Kind& kind : kinds) bench.compareLogs(kind, 10);

  Bench::printTimesHead();
  bench.measure(kWithoutArguments, {0});
  for (const Kind& kind : kinds) bench.measure(kind, {1, 10, 100, 1000, 10000, 100000});
  std::printf("with a library that brings the unwinder along\n");
  useLibrary(THROWING_LIBRARY);
  std::vector<Kind> unwinding = {kWithoutArguments};
  unwinding.insert(unwinding.end(), kinds.begin(), kinds.end());
  for (Kind& kind : unwinding) {
    kind.name += ", unwinder";
    bench.measure(kind, kind.arguments.empty() ? std::vector{0} : std::vector{1, 1000});
  }
  useLibrary(SILENT_LIBRARY);

  Bench::printCallsHead();
  bench.compareCalls(kWithoutArguments, 0);
  for (const Kind& kind : kinds) {
    for (const int files : {1, 10, 1010}) bench.compareCalls(kind, files);
  }

  std::printf("\n%s\n", bench.broken().empty() ? "Every limit is held." : "Not held:");
  for (const std::string& what : bench.broken()) std::printf("  %s\n", what.c_str());
  return bench.broken().empty();
}

}  // namespace

int main(int argc, char** argv) {
  try {
    int turns = 15;
    std::string points;
    CLI::App app("Measures the command beside the floor under its cost");
    app.add_option(
           "--turns", turns,
           "turns of each kind and size at least; of short runs, up to twenty times as many")
        ->check(CLI::Range(kLeastTurns, 1000));
    app.add_option("--points", points, "file for the figures, to be drawn");
    CLI11_PARSE(app, argc, argv);
    return runAll(turns, points) ? 0 : 1;
  } catch (const std::exception& error) {
    std::fprintf(stderr, "%s\n", error.what());
    return 1;
  }
}
