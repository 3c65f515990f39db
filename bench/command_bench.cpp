// Measures the command beside the floor under its cost (floor.c), turn by turn, so that a machine
// whose speed drifts does so for both. Prints one row for each kind and size of run: medians of CPU
// time, wall time and peak memory with their ratios to the floor, and, for every size, what one
// more listed file costs in system calls and instructions. Instructions and calls do not depend on
// the machine's mood.
//
// The runs of every size load a library in C, which no maker's library that throws can be; the
// short ones follow again with one that brings the unwinder along, since loading it is most of what
// they cost above the floor.
//
//   command_bench --command PATH --floor PATH --library DIR --throwing DIR [--runs N]
//                 [--table FILE]

#include <fcntl.h>
#include <sys/resource.h>
#include <sys/wait.h>
#include <time.h>
#include <unistd.h>

#include <CLI/CLI.hpp>
#include <algorithm>
#include <cstdio>
#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <functional>
#include <iostream>
#include <regex>
#include <sstream>
#include <stdexcept>
#include <string>
#include <vector>

namespace fs = std::filesystem;

namespace {

struct Options {
  std::string command;
  std::string floor;
  std::string library;   // folder of the silent library
  std::string throwing;  // folder of the one that brings the unwinder
  std::string table;
  int runs = 15;
};

using Words = std::vector<std::string>;

/// One kind of run.
struct Kind {
  std::string name;
  Words arguments;  // behind the list of files; none for a run without arguments
  bool isTraced;

  Kind named(const std::string& other) const { return {other, arguments, isTraced}; }
};

struct Sample {
  double cpu;   // seconds
  double wall;  // seconds
  double peak;  // bytes
};

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

/// Runs a program to its end with its output thrown away; `errors` may name a file for standard
/// error.
Sample runOnce(const Words& words, const std::string& errors = "/dev/null") {
  std::vector<char*> argv;
  for (const std::string& word : words) argv.push_back(const_cast<char*>(word.c_str()));
  argv.push_back(nullptr);
  timespec before = {};
  timespec after = {};
  ::clock_gettime(CLOCK_MONOTONIC, &before);
  const pid_t pid = ::fork();
  if (pid == 0) {
    ::dup2(::open("/dev/null", O_RDWR), STDIN_FILENO);
    ::dup2(STDIN_FILENO, STDOUT_FILENO);
    ::dup2(::open(errors.c_str(), O_WRONLY | O_CREAT | O_TRUNC, 0600), STDERR_FILENO);
    ::execvp(argv[0], argv.data());
    ::_exit(127);
  }
  int status = 0;
  rusage usage = {};
  if (::wait4(pid, &status, 0, &usage) != pid) throw std::runtime_error("wait4 failed");
  ::clock_gettime(CLOCK_MONOTONIC, &after);
  if (!WIFEXITED(status) || (WEXITSTATUS(status) != 0 && WEXITSTATUS(status) != 68)) {
    throw std::runtime_error(words[0] + " ended with wait status " + std::to_string(status));
  }
  const auto seconds = [](const timeval& t) {
    return static_cast<double>(t.tv_sec) + static_cast<double>(t.tv_usec) / 1e6;
  };
  return {seconds(usage.ru_utime) + seconds(usage.ru_stime),
          static_cast<double>(after.tv_sec - before.tv_sec) +
              static_cast<double>(after.tv_nsec - before.tv_nsec) / 1e9,
          static_cast<double>(usage.ru_maxrss) * 1024};
}

double median(std::vector<double> values) {
  std::sort(values.begin(), values.end());
  return values[values.size() / 2];
}

Sample medianOf(const std::vector<Sample>& samples) {
  const auto pick = [&samples](double Sample::*field) {
    std::vector<double> values;
    values.reserve(samples.size());
    for (const Sample& sample : samples) values.push_back(sample.*field);
    return median(values);
  };
  return {pick(&Sample::cpu), pick(&Sample::wall), pick(&Sample::peak)};
}

class Bench {
 public:
  explicit Bench(const Options& options) : m_options(options) {
    useLibrary(options.library);
    ::setenv("TANEX_LOG", m_folder.path("action.log").c_str(), 1);
  }

  /// From here on, both programs load the library of this folder.
  static void useLibrary(const std::string& folder) {
    ::setenv("LD_LIBRARY_PATH", folder.c_str(), 1);
  }

  void compareLogs(const Kind& kind, int files) {
    const std::string theirs = logOf(m_options.floor, kind, files);
    if (logOf(m_options.command, kind, files) != theirs) {
      throw std::runtime_error("the floor does not log what the command logs: " + kind.name);
    }
  }

  void measure(const Kind& kind, int files) {
    std::vector<Sample> command;
    std::vector<Sample> floor;
    std::vector<double> ratios;
    // A short run takes a millisecond, of which the machine's mood is a larger part.
    const int runs = m_options.runs * (files <= 1 ? 20 : 1);
    for (int run = 0; run <= runs; ++run) {
      const Sample a = once(m_options.command, kind, files);
      const Sample b = once(m_options.floor, kind, files);
      if (run == 0) continue;  // warms the caches
      command.push_back(a);
      floor.push_back(b);
      ratios.push_back(a.cpu / b.cpu);
    }
    report(kind, files, medianOf(command), medianOf(floor), median(ratios));
  }

  /// What one more listed file costs, from runs of two sizes, as counted by `count`.
  double slope(const std::string& program, const Kind& kind,
               const std::function<double(const Words&)>& count) {
    constexpr int kFew = 100;
    constexpr int kMany = 1100;
    const double few = count(wordsOf(program, kind, kFew));
    return (count(wordsOf(program, kind, kMany)) - few) / (kMany - kFew);
  }

  void reportSlopes(const Kind& kind) {
    // Into /dev/null, so that neither run rotates its log.
    ::setenv("TANEX_LOG", "/dev/null", 1);
    const auto calls = [this](const Words& words) { return countCalls(words); };
    const auto instructions = [this](const Words& words) { return countInstructions(words); };
    std::printf("%-24s %12.3f %12.3f %14.0f %14.0f\n", kind.name.c_str(),
                slope(m_options.command, kind, calls), slope(m_options.floor, kind, calls),
                slope(m_options.command, kind, instructions),
                slope(m_options.floor, kind, instructions));
    ::setenv("TANEX_LOG", m_folder.path("action.log").c_str(), 1);
  }

  const Folder& folder() const { return m_folder; }

 private:
  Words wordsOf(const std::string& program, const Kind& kind, int files) {
    ::setenv("TANEX_LOG_LEVEL", kind.isTraced ? "LOG_LEVEL_TRACE" : "", 1);
    Words words = {program};
    if (kind.arguments.empty()) return words;
    words.push_back(m_folder.list(files));
    words.insert(words.end(), kind.arguments.begin(), kind.arguments.end());
    return words;
  }

  Sample once(const std::string& program, const Kind& kind, int files) {
    fs::remove(m_folder.path("action.log"));
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

  /// The system calls of the command itself, without its children's.
  double countCalls(const Words& words) {
    const std::string out = m_folder.path("calls");
    Words traced = {"strace", "-c", "-S", "calls", "-o", out};
    traced.insert(traced.end(), words.begin(), words.end());
    runOnce(traced);
    return lastNumber(out, R"((\d+)(?:\s+\d+)?\s+total)");
  }

  double countInstructions(const Words& words) {
    const std::string out = m_folder.path("instructions");
    Words counted = {"valgrind", "--tool=callgrind", "--callgrind-out-file=/dev/null"};
    counted.insert(counted.end(), words.begin(), words.end());
    runOnce(counted, out);
    return lastNumber(out, R"(Collected : (\d+))");
  }

  static double lastNumber(const std::string& path, const std::string& pattern) {
    std::ifstream file(path);
    const std::string text{std::istreambuf_iterator<char>(file), {}};
    const std::regex expression(pattern);
    double number = -1;
    for (std::sregex_iterator match(text.begin(), text.end(), expression), end; match != end;
         ++match) {
      number = std::stod((*match)[1]);
    }
    if (number < 0) throw std::runtime_error("no count in " + path);
    return number;
  }

  void report(const Kind& kind, int files, const Sample& command, const Sample& floor,
              double ratio) {
    const double perFile = files > 0 ? (command.peak - floor.peak) / files : 0;
    std::printf("%-24s %7d %10.3f %10.3f %7.3f %10.3f %10.3f %9.0f %9.0f %9.1f\n",
                kind.name.c_str(), files, command.cpu * 1e3, floor.cpu * 1e3, ratio,
                command.wall * 1e3, floor.wall * 1e3, command.peak / 1024, floor.peak / 1024,
                perFile);
    std::fflush(stdout);
    if (!m_options.table.empty()) {
      std::ofstream(m_options.table, std::ios::app)
          << '"' << kind.name << ' ' << files << "\" " << ratio << "\n";
    }
  }

  Options m_options;
  Folder m_folder;
};

void runAll(const Options& options) {
  Bench bench(options);
  const Words event = {"-r", bench.folder().path("event.def")};
  const Kind bare = {"no arguments", {}, false};
  const std::vector<Kind> kinds = {
      {"incident", {"-i", "4711"}, false}, {"event", event, false}, {"event, traced", event, true}};

  std::printf("%-24s %7s %10s %10s %7s %10s %10s %9s %9s %9s\n", "run", "files", "CPU ms",
              "floor ms", "ratio", "wall ms", "floor ms", "peak KB", "floor KB", "B/file");
  bench.compareLogs(bare, 0);
  bench.measure(bare, 0);
  for (const Kind& kind : kinds) {
    bench.compareLogs(kind, 10);
    for (const int files : {1, 1000, 10000, 100000}) bench.measure(kind, files);
  }
  std::printf("with a library that brings the unwinder along\n");
  Bench::useLibrary(options.throwing);
  bench.measure(bare.named("no arguments, unwinder"), 0);
  for (const Kind& kind : kinds) {
    for (const int files : {1, 1000}) bench.measure(kind.named(kind.name + ", unwinder"), files);
  }
  Bench::useLibrary(options.library);
  std::printf("\n%-24s %12s %12s %14s %14s\n", "each further file", "calls", "floor",
              "instructions", "floor");
  for (const Kind& kind : kinds) bench.reportSlopes(kind);
}

}  // namespace

int main(int argc, char** argv) {
  Options options;
  CLI::App app("Measures the command beside the floor under its cost");
  app.add_option("--command", options.command, "the command")->required();
  app.add_option("--floor", options.floor, "the floor")->required();
  app.add_option("--library", options.library, "folder of the silent library")->required();
  app.add_option("--throwing", options.throwing, "folder of the one that brings the unwinder")
      ->required();
  app.add_option("--runs", options.runs,
                 "runs of each kind and size; of those with one file, twenty times as many")
      ->check(CLI::Range(1, 1000));
  app.add_option("--table", options.table, "file for the ratios, one a line");
  CLI11_PARSE(app, argc, argv);
  try {
    runAll(options);
  } catch (const std::exception& error) {
    std::cerr << error.what() << "\n";
    return 1;
  }
  return 0;
}
