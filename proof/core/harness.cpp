#include "core/harness.h"

#include <sys/mman.h>
#include <sys/prctl.h>
#include <sys/resource.h>
#include <sys/wait.h>
#include <unistd.h>

#include <CLI/CLI.hpp>
#include <algorithm>
#include <cerrno>
#include <chrono>
#include <csignal>
#include <cstdio>
#include <fstream>
#include <iostream>
#include <nlohmann/json.hpp>
#include <random>
#include <stdexcept>
#include <thread>

const char* const kSelfTestRow = "self-test";

NLOHMANN_DEFINE_TYPE_NON_INTRUSIVE(Tally::Finding, trial, broken)
NLOHMANN_DEFINE_TYPE_NON_INTRUSIVE(Tally, rows, claims, verdicts, findings)

namespace {

using Json = nlohmann::json;

// --- one process ---------------------------------------------------------------------------------

/// The trials that the plan asks for, in the same order in every process, so that each takes its
/// own share of them.
std::vector<Trial> chosenTrials(const Plan& plan, Sweep& sweep) {
  const auto wanted = [&plan](const std::vector<Trial>& all) {
    std::vector<Trial> some;
    for (const Trial& trial : all) {
      const bool isInRow = plan.row.empty() || trial.row == plan.row;
      if (isInRow && (plan.only.empty() || trial.name == plan.only)) some.push_back(trial);
    }
    return some;
  };
  std::vector<Trial> trials = wanted(sweep.trials());
  std::mt19937 random(plan.seed);
  std::shuffle(trials.begin(), trials.end(), random);
  if (plan.sample > 0 && trials.size() > plan.sample) trials.resize(plan.sample);
  if (plan.isBlunt) return trials;
  for (const Trial& trial : wanted(sweep.selfTrials())) trials.push_back(trial);
  return trials;
}

void add(VerdictCounts& counts, const VerdictCounts& more) {
  for (const auto& [truth, verdicts] : more) {
    for (const auto& [verdict, count] : verdicts) counts[truth][verdict] += count;
  }
}

void tryOut(const Plan& plan, const Trial& trial, Tally& tally) {
  Verdict verdict;
  try {
    verdict = trial.run();
    verdict.findings.expect(verdict.isHit, "0: it was not seen to happen");
  } catch (const std::exception& error) {
    verdict.findings.expect(false, std::string("0: ") + error.what());
  }
  // Asked for one trial alone, somebody wants to see it.
  if (!plan.only.empty()) std::cout << storyOf(verdict.run) << std::flush;
  ++tally.rows[trial.row]["tried"];
  tally.rows[trial.row]["hit"] += verdict.isHit ? 1 : 0;
  tally.rows[trial.row]["excepted"] += verdict.claimed.empty() ? 0 : 1;
  for (const std::string& name : verdict.claimed) ++tally.claims[name];
  if (trial.row != kSelfTestRow) add(tally.verdicts, verdict.verdicts);
  tally.note(trial.row, trial.name, verdict.findings);
}

Tally doShare(const Plan& plan, Sweep& sweep, unsigned number) {
  Tally tally;
  sweep.prepare(plan, number == 0 ? &tally : nullptr);
  const std::vector<Trial> trials = chosenTrials(plan, sweep);
  for (std::size_t at = number; at < trials.size(); at += plan.jobs) {
    tryOut(plan, trials[at], tally);
  }
  return tally;
}

// --- all of them ---------------------------------------------------------------------------------

/// Does one share in a process of its own; what it found goes to `report`.
void startWorker(const Plan& plan, Sweep& sweep, unsigned number, int report) {
  const pid_t pid = ::fork();
  if (pid < 0) throw std::runtime_error("no worker");
  if (pid != 0) return;
  ::prctl(PR_SET_PDEATHSIG, SIGKILL);
  Json result;
  try {
    result = doShare(plan, sweep, number);
  } catch (const std::exception& error) {
    result = {{"failure", error.what()}};
  }
  // Bytes of a hostile command may be anything.
  const std::string text = result.dump(-1, ' ', true, Json::error_handler_t::replace);
  ::_exit(::write(report, text.data(), text.size()) == static_cast<ssize_t>(text.size()) ? 0 : 1);
}

void addReport(Tally& tally, int file) {
  std::ifstream text("/proc/self/fd/" + std::to_string(file));
  const Json report = Json::parse(text, nullptr, /*allow_exceptions=*/false);
  ::close(file);
  if (!report.is_object()) throw std::runtime_error("a worker ended without a report");
  if (report.contains("failure")) throw std::runtime_error(report.value("failure", ""));
  const auto more = report.get<Tally>();
  for (const auto& [row, counts] : more.rows) {
    for (const auto& [column, count] : counts) tally.rows[row][column] += count;
  }
  for (const auto& [name, count] : more.claims) tally.claims[name] += count;
  add(tally.verdicts, more.verdicts);
  tally.findings.insert(tally.findings.end(), more.findings.begin(), more.findings.end());
}

/// Does all shares at once, each in a process of its own, and adds up what they come to.
Tally workTogether(const Plan& plan, Sweep& sweep) {
  std::vector<int> reports;
  for (unsigned number = 0; number < plan.jobs; ++number) {
    reports.push_back(::memfd_create("report", MFD_CLOEXEC));
    startWorker(plan, sweep, number, reports.back());
  }
  while (::wait(nullptr) > 0 || errno == EINTR) continue;
  Tally tally;
  for (const int report : reports) addReport(tally, report);
  return tally;
}

// --- what is printed -----------------------------------------------------------------------------

void printTable(const Terms& terms, Tally& tally) {
  const auto printRow = [&terms](const std::string& name, const auto& textOf) {
    std::printf("%-28s", name.c_str());
    for (const char* column : terms.columns) std::printf(" %8s", textOf(column).c_str());
    std::printf("\n");
  };
  printRow(terms.row, [](const char* column) { return std::string(column); });
  for (auto& [name, counts] : tally.rows) {
    if (counts["tried"] == 0 && counts["broken"] == 0) continue;
    printRow(name, [&row = counts](const char* column) { return std::to_string(row[column]); });
  }
  printRow("all", [&tally](const char* column) { return std::to_string(tally.sum(column)); });
}

/// What the logs say of the runs. Returns whether they say enough: few trials prove nothing of
/// that.
bool printShareOfUnknown(const Plan& plan, Tally& tally) {
  constexpr int kFewestTrials = 400;
  const bool isEnough = printVerdicts(tally.verdicts);
  if (isEnough) return true;
  const bool isFinding = !plan.isBlunt && tally.sum("tried") >= kFewestTrials;
  std::printf("more than a tenth is unknown%s\n",
              isFinding ? ": a finding" : ", which proves nothing of so few or undisturbed runs");
  return !isFinding;
}

/// Each finding, with the line that tries it again; the first ones of very many.
void printFindings(const Tally& tally, const char* program) {
  constexpr std::size_t kMost = 40;
  for (std::size_t at = 0; at < std::min(tally.findings.size(), kMost); ++at) {
    std::printf("%s --only '%s'\n", program, tally.findings[at].trial.c_str());
    for (const std::string& what : tally.findings[at].broken) std::printf("    %s\n", what.c_str());
  }
  if (tally.findings.size() > kMost)
    std::printf("... and %zu more\n", tally.findings.size() - kMost);
}

/// The seed, and what it took on the clock and of all processors.
void printEffort(const Plan& plan, std::chrono::steady_clock::time_point start) {
  const std::chrono::duration<double> seconds = std::chrono::steady_clock::now() - start;
  rusage usage = {};
  ::getrusage(RUSAGE_CHILDREN, &usage);
  std::printf("seed %u, %u at a time, %.0f seconds, %ld of processor time\n", plan.seed, plan.jobs,
              seconds.count(), usage.ru_utime.tv_sec + usage.ru_stime.tv_sec);
}

/// What was hit. The self-tests are no proof of the command, unless they are all that was wanted.
int hitsOf(Tally& tally) {
  const int all = tally.sum("hit");
  const int own = tally.rows[kSelfTestRow]["hit"];
  return own == all ? all : all - own;
}

/// "N passed, M failed". Returns whether nothing failed.
bool printClosingLine(Tally& tally) {
  const int failed = static_cast<int>(tally.findings.size());
  std::printf("%d passed, %d failed\n", std::max(tally.sum("tried") - failed, 0), failed);
  return failed == 0;
}

/// Does all that the plan asks for, and prints everything. Returns whether all is well.
bool carryOut(const Plan& plan, const Terms& terms, Sweep& sweep, const char* program) {
  const auto start = std::chrono::steady_clock::now();
  Tally tally = workTogether(plan, sweep);
  printTable(terms, tally);
  const bool isMoreWell = sweep.report(plan, tally);
  const bool isToldEnough = printShareOfUnknown(plan, tally);
  printFindings(tally, program);
  printEffort(plan, start);
  const int hits = hitsOf(tally);
  if (hits < plan.least) std::printf("only %d were hit, %d are wanted\n", hits, plan.least);
  return printClosingLine(tally) && hits >= plan.least && isMoreWell && isToldEnough;
}

}  // namespace

void Tally::note(const std::string& row, const std::string& trial, const Findings& found) {
  if (found.broken.empty()) return;
  ++rows[row]["broken"];
  findings.push_back({trial, found.broken});
}

int Tally::sum(const std::string& column) {
  int sum = 0;
  for (auto& row : rows) sum += row.second[column];
  return sum;
}

int runSweep(int argc, char** argv, const Terms& terms, Sweep& sweep) {
  Plan plan;
  plan.command = TANEXICS_COMMAND;
  plan.jobs = std::max(1U, std::thread::hardware_concurrency());
  CLI::App app(std::string(terms.purpose) + " Runs as the super-user.");
  app.add_option("--command", plan.command, "the command under proof");
  app.add_option("--seed", plan.seed, "of the sample and of the order");
  app.add_option("--sample", plan.sample, "how many trials, drawn by the seed; 0 for all");
  app.add_option("--jobs", plan.jobs, "how many at a time")->check(CLI::PositiveNumber);
  app.add_option(std::string("--") + terms.row, plan.row, "only this line of the table");
  app.add_option("--only", plan.only, "only the trial of this name, as a finding prints it");
  app.add_option("--at-least", plan.least, "fail when fewer were hit")
      ->check(CLI::NonNegativeNumber);
  app.add_flag("--blunt", plan.isBlunt, "have nothing happen: everything must fail");
  CLI11_PARSE(app, argc, argv);
  try {
    return carryOut(plan, terms, sweep, argv[0]) ? 0 : 1;
  } catch (const std::exception& error) {
    std::cerr << "the proof cannot be run: " << error.what() << "\n";
    return 2;
  }
}

Trial seedTrial(const std::string& name, const std::string& bug, const std::string& judge,
                const std::function<Findings(const std::string&)>& findingsOf) {
  return {kSelfTestRow, name, [=] {
            Verdict verdict;
            verdict.isHit = true;
            const Findings found = findingsOf(bug);
            if (!found.hasHead(judge)) {
              verdict.findings.expect(false, "0: the seeded bug is not found by " + judge);
              verdict.findings.take(found);
            }
            verdict.findings.take(findingsOf("none"), "0: without the bug: ");
            return verdict;
          }};
}
