// Measures the command beside the floor under its cost (floor.c), turn by turn, and holds it to
// its limits: CPU time against the floor's, memory a listed file, and no system call that the floor
// does not make. Prints a table of each, and fails, after the last, where a limit is not held.
//
// The runs of every size load a library in C, which no maker's library that throws can be; the
// short ones follow again with one that brings the unwinder along, since loading it is most of what
// they cost above the floor.
//
//   command_bench --command PATH --floor PATH --library DIR --throwing DIR [--turns N]
//                 [--points FILE]

#include <stdlib.h>

#include <CLI/CLI.hpp>
#include <algorithm>
#include <cmath>
#include <cstdio>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <regex>
#include <set>
#include <stdexcept>
#include <string>
#include <vector>

#include "counts.h"
#include "runs.h"

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

struct Options {
  std::string command;
  std::string floor;
  std::string library;   // folder of the silent library
  std::string throwing;  // folder of the one that brings the unwinder
  std::string points;
  int turns = 15;
};

/// One kind of run.
struct Kind {
  std::string name;
  Words arguments;  // behind the list of files; none for a run without arguments
  bool isTraced;
  double mostRatio;  // of CPU time to the floor's; where there are files, from kLimitedFiles on
  Calls ownCalls;    // what the command alone has to make

  Kind named(const std::string& other) const {
    Kind kind = *this;
    kind.name = other;
    return kind;
  }
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

// --- the measuring -------------------------------------------------------------------------------

/// Bytes a file of a program: what a run takes above one with a single file.
double bytesAFile(const Sample& run, const Sample& single, int files) {
  return (run.peak - single.peak) / files;
}

/// What the command makes above the floor, and, below 0, the floor above the command.
Calls difference(Calls command, const Calls& floor) {
  for (const auto& [name, count] : floor) command[name] -= count;
  return command;
}

class Bench {
 public:
  explicit Bench(const Options& options) : m_options(options) {
    useLibrary(options.library);
    ::setenv("TANEX_LOG", m_folder.path("action.log").c_str(), 1);
    if (!options.points.empty()) m_points.open(options.points);
  }

  /// From here on, both programs load the library of this folder.
  static void useLibrary(const std::string& folder) {
    ::setenv("LD_LIBRARY_PATH", folder.c_str(), 1);
  }

  const Folder& folder() const { return m_folder; }

  /// What was not held, one sentence each.
  const std::vector<std::string>& broken() const { return m_broken; }

  void compareLogs(const Kind& kind, int files) {
    const std::string theirs = logOf(m_options.floor, kind, files);
    if (logOf(m_options.command, kind, files) != theirs) {
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
    const Calls command = countCalls(wordsOf(m_options.command, kind, files), trace);
    clearLog();
    const Calls floor = countCalls(wordsOf(m_options.floor, kind, files), trace);
    std::string others;
    int memory = 0;
    for (const auto& [name, count] : difference(command, floor)) {
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

  static void printInstructionsHead() {
    std::printf("\n%-24s %18s %10s\n", "each further file", "instructions", "floor");
  }

  void reportInstructions(const Kind& kind) {
    // Into /dev/null, so that neither run rotates its log.
    ::setenv("TANEX_LOG", "/dev/null", 1);
    std::printf("%-24s %18.0f %10.0f\n", kind.name.c_str(),
                instructionsAFile(m_options.command, kind),
                instructionsAFile(m_options.floor, kind));
    std::fflush(stdout);
    ::setenv("TANEX_LOG", m_folder.path("action.log").c_str(), 1);
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
  void takeTurn(Turns& turns, const Kind& kind, int files) {
    const bool isCommandFirst = turns.count() % 2 == 0;
    const Sample first = once(isCommandFirst ? m_options.command : m_options.floor, kind, files);
    const Sample second = once(isCommandFirst ? m_options.floor : m_options.command, kind, files);
    turns.add(isCommandFirst ? first : second, isCommandFirst ? second : first);
  }

  /// A short run takes a millisecond, of which the machine's mood is a larger part; in a long one,
  /// it evens out.
  int leastTurns(int files) const {
    if (files < 100) return 20 * m_options.turns;
    if (files < kLimitedFiles) return 5 * m_options.turns;
    return files < kLongList ? m_options.turns : std::max(kLeastTurns, m_options.turns / 3);
  }

  /// Takes turns; more of them, where a limit lies so near that they do not tell.
  Comparison compare(const Kind& kind, int files) {
    once(m_options.command, kind, files);  // warms the caches
    once(m_options.floor, kind, files);
    const auto least = static_cast<std::size_t>(leastTurns(files));
    Turns turns;
    while (turns.count() < least) takeTurn(turns, kind, files);
    while (kind.isLimited(files) && turns.count() < 4 * least && isUndecided(kind, turns)) {
      takeTurn(turns, kind, files);
    }
    return turns.result();
  }

  static bool isUndecided(const Kind& kind, const Turns& turns) {
    const Comparison sofar = turns.result();
    return sofar.low <= kind.mostRatio && kind.mostRatio <= sofar.high;
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

  double instructionsAFile(const std::string& program, const Kind& kind) {
    constexpr int kFew = 100;
    constexpr int kMany = 1100;
    const std::string report = m_folder.path("instructions");
    const double few = countInstructions(wordsOf(program, kind, kFew), report);
    return (countInstructions(wordsOf(program, kind, kMany), report) - few) / (kMany - kFew);
  }

  void breaks(const Kind& kind, int files, const std::string& what) {
    m_broken.push_back(kind.name + ", " + std::to_string(files) + " files: " + what);
  }

  Options m_options;
  Folder m_folder;
  std::ofstream m_points;
  std::vector<std::string> m_broken;
};

bool runAll(const Options& options) {
  Bench bench(options);
  const std::vector<Kind> kinds = kindsOfRun(bench.folder().path("event.def"));

  bench.compareLogs(kWithoutArguments, 0);
  for (const Kind& kind : kinds) bench.compareLogs(kind, 10);

  Bench::printTimesHead();
  bench.measure(kWithoutArguments, {0});
  for (const Kind& kind : kinds) bench.measure(kind, {1, 10, 100, 1000, 10000, 100000});
  std::printf("with a library that brings the unwinder along\n");
  Bench::useLibrary(options.throwing);
  bench.measure(kWithoutArguments.named("no arguments, unwinder"), {0});
  for (const Kind& kind : kinds) bench.measure(kind.named(kind.name + ", unwinder"), {1, 1000});
  Bench::useLibrary(options.library);

  Bench::printCallsHead();
  bench.compareCalls(kWithoutArguments, 0);
  for (const Kind& kind : kinds) {
    for (const int files : {1, 10, 1010}) bench.compareCalls(kind, files);
  }
  Bench::printInstructionsHead();
  for (const Kind& kind : kinds) bench.reportInstructions(kind);

  std::printf("\n%s\n", bench.broken().empty() ? "Every limit is held." : "Not held:");
  for (const std::string& what : bench.broken()) std::printf("  %s\n", what.c_str());
  return bench.broken().empty();
}

}  // namespace

int main(int argc, char** argv) {
  try {
    Options options;
    CLI::App app("Measures the command beside the floor under its cost");
    app.add_option("--command", options.command, "the command")->required();
    app.add_option("--floor", options.floor, "the floor")->required();
    app.add_option("--library", options.library, "folder of the silent library")->required();
    app.add_option("--throwing", options.throwing, "folder of the one that brings the unwinder")
        ->required();
    app.add_option(
           "--turns", options.turns,
           "turns of each kind and size at least; of short runs, up to twenty times as many")
        ->check(CLI::Range(kLeastTurns, 1000));
    app.add_option("--points", options.points, "file for the figures, to be drawn");
    CLI11_PARSE(app, argc, argv);
    return runAll(options) ? 0 : 1;
  } catch (const std::exception& error) {
    std::fprintf(stderr, "%s\n", error.what());
    return 1;
  }
}
