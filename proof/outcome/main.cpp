// Proves that the reader of action logs never says what is wrong: short runs that mix by chance,
// piece by piece, with some of the pieces lost. docs/proof.md explains what must hold.

#include <CLI/CLI.hpp>
#include <algorithm>
#include <chrono>
#include <cstdint>
#include <cstdio>
#include <string>
#include <thread>
#include <vector>

#include "outcome/mix.h"

namespace {

constexpr std::size_t kRows = 4;
constexpr std::size_t kWholeRows = 2;  // the first ones
constexpr const char* kRowNames[kRows] = {"2 runs", "3 runs", "2 runs, 1 to 3 pieces lost",
                                          "3 runs, 1 to 3 pieces lost"};

struct Row {
  long logs = 0;
  long told = 0;
  long unknown = 0;
  long decidable = 0;
  long unjudged = 0;
  long wrong = 0;

  void add(const Row& more) {
    logs += more.logs;
    told += more.told;
    unknown += more.unknown;
    decidable += more.decidable;
    unjudged += more.unjudged;
    wrong += more.wrong;
  }
};

struct Share {
  Row rows[kRows];
  std::vector<std::uint64_t> findings;
};

Share doShare(std::uint32_t seed, std::uint64_t count, unsigned number, unsigned jobs) {
  Share share;
  for (std::uint64_t at = number; at < count; at += jobs) {
    const Reading reading = readMix(mixOf(seed, at));
    const bool isWrong = !reading.wrong.empty();
    share.rows[at % kRows].add(
        {1, reading.told, reading.unknown, reading.decidable, reading.unjudged, isWrong ? 1 : 0});
    if (isWrong) share.findings.push_back(at);
  }
  return share;
}

/// Whether nothing is wrong that could have been known: nothing at all where nothing is lost. What
/// is lost from the midst of mixed lines may leave a log that reads as one without a loss.
bool isRight(const Share& all) {
  constexpr long kOneOf = 5000;
  for (std::size_t row = 0; row < kRows; ++row) {
    const long most = row < kWholeRows ? 0 : 1 + all.rows[row].told / kOneOf;
    if (all.rows[row].wrong > most) return false;
  }
  return true;
}

/// Runs of another truth must be found out: those that are told as they are.
bool isBlind(std::uint32_t seed) {
  constexpr std::uint64_t kMixes = 1000;
  long told = 0;
  long found = 0;
  for (std::uint64_t at = 0; at < kMixes; at += 2) {
    Mix mix = mixOf(seed, at);
    for (MadeRun& run : mix.runs) {
      run.truth = run.truth.find("delivered") == std::string::npos ? "delivered" : "refused";
    }
    const Reading reading = readMix(mix);
    told += reading.told;
    found += static_cast<long>(reading.wrong.size());
  }
  std::printf("self-test: %ld of %ld false verdicts found\n", found, told);
  return told == 0 || found < told;
}

void printMix(const Mix& mix) {
  for (std::size_t run = 0; run < mix.runs.size(); ++run) {
    std::printf("--- run %zu: %s\n", run + 100, mix.runs[run].truth.c_str());
    for (const std::string& message : mix.runs[run].messages) std::printf("%s\n", message.c_str());
  }
  std::printf("--- log\n%s\n--- verdicts\n", bytesOf(mix.log).c_str());
  for (const outcome::Run& run : runsOf(bytesOf(mix.log))) {
    std::printf("%d %s: %s\n", run.pid, wordOf(run.verdict), run.reason.c_str());
  }
}

void printTable(const Share& all) {
  std::printf("%-28s %8s %9s %9s %9s %9s %9s\n", "mix", "logs", "told", "unknown", "decidable",
              "unjudged", "wrong");
  Row sum;
  const auto printRow = [](const char* name, const Row& row) {
    std::printf("%-28s %8ld %9ld %9ld %9ld %9ld %9ld\n", name, row.logs, row.told, row.unknown,
                row.decidable, row.unjudged, row.wrong);
  };
  for (std::size_t row = 0; row < kRows; ++row) {
    printRow(kRowNames[row], all.rows[row]);
    sum.add(all.rows[row]);
  }
  printRow("all", sum);
}

}  // namespace

int main(int argc, char** argv) {
  constexpr std::size_t kMostPrinted = 20;
  std::uint32_t seed = 1;
  std::uint64_t count = 1000000;
  std::int64_t only = -1;
  unsigned jobs = std::max(1U, std::thread::hardware_concurrency());
  CLI::App app("Mixes the lines of short runs by chance, and reads what became of each.");
  app.add_option("--count", count, "how many logs");
  app.add_option("--seed", seed, "of everything that is left to chance");
  app.add_option("--jobs", jobs, "how many at a time")->check(CLI::PositiveNumber);
  app.add_option("--only", only, "the log of this number, as a finding prints it");
  CLI11_PARSE(app, argc, argv);
  const auto start = std::chrono::steady_clock::now();
  if (only >= 0) {
    const Mix mix = mixOf(seed, static_cast<std::uint64_t>(only));
    printMix(mix);
    for (const std::string& what : readMix(mix).wrong) std::printf("    %s\n", what.c_str());
    return 0;
  }
  std::vector<Share> shares(jobs);
  std::vector<std::thread> workers;
  for (unsigned number = 0; number < jobs; ++number) {
    workers.emplace_back([=, &shares] { shares[number] = doShare(seed, count, number, jobs); });
  }
  Share all;
  for (unsigned number = 0; number < jobs; ++number) {
    workers[number].join();
    for (std::size_t row = 0; row < kRows; ++row) all.rows[row].add(shares[number].rows[row]);
    const auto& findings = shares[number].findings;
    all.findings.insert(all.findings.end(), findings.begin(), findings.end());
  }
  printTable(all);
  std::sort(all.findings.begin(), all.findings.end());
  for (std::size_t at = 0; at < std::min(kMostPrinted, all.findings.size()); ++at) {
    std::printf("%s --seed %u --only %llu\n", argv[0], seed,
                static_cast<unsigned long long>(all.findings[at]));
    for (const std::string& what : readMix(mixOf(seed, all.findings[at])).wrong) {
      std::printf("    %s\n", what.c_str());
    }
  }
  const bool isUseless = isBlind(seed);
  const std::chrono::duration<double> seconds = std::chrono::steady_clock::now() - start;
  std::printf("seed %u, %u at a time, %.0f seconds\n", seed, jobs, seconds.count());
  return isRight(all) && !isUseless ? 0 : 1;
}
