// Proves that the checker says what the command does: made-up input without end, and runs of both.
// docs/proof.md explains what must hold.

#include <CLI/CLI.hpp>
#include <algorithm>
#include <chrono>
#include <cstdint>
#include <cstdio>
#include <filesystem>
#include <fstream>
#include <string>
#include <thread>
#include <vector>

#include "check/made.h"
#include "check/recorded.h"
#include "fuzz/target.h"
#include "loopback/bytes.h"

namespace {

constexpr std::size_t kRows = kKinds + 1;
constexpr const char* kRowNames[kRows] = {"lists", "definitions", "command lines", "spoilt places",
                                          "runs of the command"};

struct Row {
  long inputs = 0;
  long accepted = 0;
  long rejected = 0;
  long faults = 0;
  long wrong = 0;

  void add(const Row& more) {
    inputs += more.inputs;
    accepted += more.accepted;
    rejected += more.rejected;
    faults += more.faults;
    wrong += more.wrong;
  }
};

struct Options {
  std::uint64_t count = 1000000;
  std::uint64_t runs = 400;
  std::uint32_t seed = 1;
  std::int64_t only = -1;
  std::int64_t onlyRun = -1;
  unsigned jobs = std::max(1U, std::thread::hardware_concurrency());
  Programs programs = {TANEXICS_COMMAND, TANEXICS_CHECK, LOOPBACK_FOLDER};
};

/// A number of an input, and whether it was run.
struct Finding {
  std::uint64_t number;
  bool isRun;
};

/// What one of the workers has found.
struct Share {
  Row rows[kRows];
  std::vector<Finding> findings;
};

/// Where the files of an input are.
class Desk {
 public:
  Desk(const ScratchFolder& scratch, unsigned number)
      : folder(scratch / ("desk" + std::to_string(number))) {
    std::filesystem::create_directory(folder);
  }

  /// Makes the input of a number, and its files.
  Made take(const Shelf& shelf, const Options& options, std::uint64_t number) const {
    Made made = makeInput(shelf, folder, options.seed, number);
    for (const char* name : {"list", "event"}) {
      const std::string path = folder + '/' + name;
      std::ofstream(path, std::ios::binary) << made.input.files.at(path);
    }
    return made;
  }

  const std::string folder;
};

/// In what the report on a made-up input is wrong.
Texts wrongIn(const Made& made, const check::Report& report) {
  Texts wrong = disagreements(made.input, report);
  if (made.kind == Kind::kSpoilt) {
    const std::string found = textOf(placesIn(report));
    const std::string expected = textOf(made.spoilt);
    if (found != expected) wrong.push_back("the faults:\n" + found + "not:\n" + expected);
  }
  return wrong;
}

void checkMade(const Desk& desk, const Shelf& shelf, const Options& options, std::uint64_t number,
               Share& share) {
  const Made made = desk.take(shelf, options, number);
  const check::Report report = check::reportOn(made.input.words, false);
  const bool isAccepted = report.answer == check::Answer::kAccepted;
  const bool isWrong = !wrongIn(made, report).empty();
  const auto faults = static_cast<long>(report.faults.errors() + report.faults.warnings());
  share.rows[static_cast<std::size_t>(made.kind)].add(
      {1, isAccepted ? 1 : 0, isAccepted ? 0 : 1, faults, isWrong ? 1 : 0});
  if (isWrong) share.findings.push_back({number, false});
}

void runBoth(const Desk& desk, const Shelf& shelf, const Options& options, std::uint64_t number,
             Share& share) {
  const Made made = desk.take(shelf, options, number);
  const Recorded recorded = runRecorded(options.programs, made.input, desk.folder + "/outbox");
  const bool isWrong = !recorded.differences.empty();
  share.rows[kKinds].add(
      {1, recorded.isAccepted ? 1 : 0, recorded.isAccepted ? 0 : 1, 0, isWrong ? 1 : 0});
  if (isWrong) share.findings.push_back({number, true});
}

void printTable(const Share& all) {
  std::printf("%-22s %9s %9s %9s %9s %9s\n", "input", "tried", "accepted", "rejected", "faults",
              "wrong");
  Row sum;
  const auto print = [](const char* name, const Row& row) {
    std::printf("%-22s %9ld %9ld %9ld %9ld %9ld\n", name, row.inputs, row.accepted, row.rejected,
                row.faults, row.wrong);
  };
  for (std::size_t row = 0; row < kRows; ++row) {
    print(kRowNames[row], all.rows[row]);
    if (row < kKinds) sum.add(all.rows[row]);
  }
  print("all but the runs", sum);
}

/// Tells of one input, and of what is wrong with the answer.
void tell(const Desk& desk, const Shelf& shelf, const Options& options, const Finding& finding,
          bool isWhole) {
  const Made made = desk.take(shelf, options, finding.number);
  if (isWhole) {
    std::printf("words:");
    for (const std::string& word : made.input.words) {
      std::printf(" \"%s\"", escapeBytes(word).c_str());
    }
    for (const auto& [path, bytes] : made.input.files) {
      std::printf("\n--- %s\n%s", path.c_str(), visibleBytes(bytes).c_str());
    }
    std::printf("\n");
  }
  const Texts wrong =
      finding.isRun ? runRecorded(options.programs, made.input, desk.folder + "/outbox").differences
                    : wrongIn(made, check::reportOn(made.input.words, false));
  for (const std::string& what : wrong) std::printf("    %s\n", what.c_str());
}

}  // namespace

int main(int argc, char** argv) {
  constexpr std::size_t kMostPrinted = 20;
  Options options;
  CLI::App app("Compares what tanexics-check says of made-up input with what the command does.");
  app.add_option("--count", options.count, "how many inputs");
  app.add_option("--runs", options.runs, "how many runs of the command, as the super-user");
  app.add_option("--seed", options.seed, "of everything that is left to chance");
  app.add_option("--jobs", options.jobs, "how many at a time")->check(CLI::PositiveNumber);
  app.add_option("--only", options.only, "the input of this number, as a finding prints it");
  app.add_option("--only-run", options.onlyRun, "the same, by a run of the command");
  CLI11_PARSE(app, argc, argv);
  const auto start = std::chrono::steady_clock::now();
  const ScratchFolder scratch;
  std::filesystem::create_directory(scratch / "shelf");
  std::filesystem::create_directory(scratch / "empty");
  const Shelf shelf(scratch / "shelf");
  std::filesystem::current_path(scratch / "empty");  // for names that are relative
  if (options.only >= 0 || options.onlyRun >= 0) {
    const bool isRun = options.onlyRun >= 0;
    const auto number = static_cast<std::uint64_t>(isRun ? options.onlyRun : options.only);
    tell(Desk(scratch, 0), shelf, options, {number, isRun}, true);
    return 0;
  }
  std::vector<Share> shares(options.jobs);
  std::vector<std::thread> workers;
  for (unsigned worker = 0; worker < options.jobs; ++worker) {
    workers.emplace_back([&, worker] {
      const Desk desk(scratch, worker);
      for (std::uint64_t number = worker; number < options.count; number += options.jobs) {
        checkMade(desk, shelf, options, number, shares[worker]);
      }
    });
  }
  for (std::thread& worker : workers) worker.join();
  Share all;
  for (const Share& share : shares) {
    for (std::size_t row = 0; row < kRows; ++row) all.rows[row].add(share.rows[row]);
    all.findings.insert(all.findings.end(), share.findings.begin(), share.findings.end());
  }
  const Desk desk(scratch, options.jobs);
  for (std::uint64_t number = 0; number < options.runs; ++number) {
    runBoth(desk, shelf, options, number, all);
  }
  printTable(all);
  std::sort(all.findings.begin(), all.findings.end(),
            [](const Finding& one, const Finding& other) { return one.number < other.number; });
  for (std::size_t at = 0; at < std::min(kMostPrinted, all.findings.size()); ++at) {
    const Finding& finding = all.findings[at];
    std::printf("%s --seed %u --only%s %llu\n", argv[0], options.seed, finding.isRun ? "-run" : "",
                static_cast<unsigned long long>(finding.number));
    tell(desk, shelf, options, finding, false);
  }
  const std::chrono::duration<double> seconds = std::chrono::steady_clock::now() - start;
  std::printf("seed %u, %u at a time, %.0f seconds\n", options.seed, options.jobs, seconds.count());
  return all.findings.empty() ? 0 : 1;
}
