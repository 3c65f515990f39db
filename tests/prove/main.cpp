// Proves what the command promises on a bad day: makes each of its system calls, and of those of
// the programs that it runs, fail in turn; its allocations; the closed library; and ends it by a
// signal at every call. docs/proof.md explains what is tried and what must hold.

#include <sys/resource.h>
#include <sys/time.h>

#include <CLI/CLI.hpp>
#include <algorithm>
#include <chrono>
#include <cstdio>
#include <iostream>
#include <thread>

#include "prove/sweep.h"

namespace {

/// Findings printed in full; a fault at the root of things shows in thousands of trials.
constexpr std::size_t kMostFindings = 40;

void printTable(const std::vector<Row>& rows) {
  std::printf("%-28s %7s %8s %8s %8s\n", "scenario", "calls", "tried", "hit", "broken");
  Row sum;
  for (const Row& row : rows) {
    if (row.tried == 0 && row.broken == 0) continue;
    std::printf("%-28s %7d %8d %8d %8d\n", row.name.c_str(), row.calls, row.tried, row.hit,
                row.broken);
    sum.calls += row.calls;
    sum.tried += row.tried;
    sum.hit += row.hit;
    sum.broken += row.broken;
  }
  std::printf("%-28s %7d %8d %8d %8d\n", "all", sum.calls, sum.tried, sum.hit, sum.broken);
}

void printFindings(const std::vector<Finding>& findings, const char* program) {
  std::size_t shown = 0;
  for (const Finding& finding : findings) {
    if (++shown > kMostFindings) {
      std::printf("... and %zu more\n", findings.size() - kMostFindings);
      return;
    }
    std::printf("%s --only '%s'\n", program, finding.trial.c_str());
    for (const std::string& broken : finding.broken) std::printf("    %s\n", broken.c_str());
  }
}

int countOf(const std::vector<Row>& rows, int Row::*field) {
  int count = 0;
  for (const Row& row : rows) count += row.*field;
  return count;
}

/// The faults that hit. The self-tests are none, unless they are all that was wanted.
int faultsHit(const std::vector<Row>& rows) {
  const int all = countOf(rows, &Row::hit);
  int own = 0;
  for (const Row& row : rows) own += row.name == kSelfTestRow ? row.hit : 0;
  return own == all ? all : all - own;
}

double secondsOf(const timeval& time) {
  return static_cast<double>(time.tv_sec) + static_cast<double>(time.tv_usec) * 1e-6;
}

/// The CPU time of all that has been run.
double processorSeconds() {
  rusage usage = {};
  ::getrusage(RUSAGE_CHILDREN, &usage);
  return secondsOf(usage.ru_utime) + secondsOf(usage.ru_stime);
}

/// Prints everything. Returns whether all is well.
bool report(const Plan& plan, int least, const Result& result, double seconds,
            const char* program) {
  printTable(result.rows);
  printFindings(result.findings, program);
  const int tried = countOf(result.rows, &Row::tried);
  const int hit = faultsHit(result.rows);
  const auto failed = static_cast<int>(result.findings.size());
  std::printf("seed %u, %u at a time, %.0f seconds, %.0f of processor time\n", plan.seed, plan.jobs,
              seconds, processorSeconds());
  if (hit < least) std::printf("only %d faults hit, %d are wanted\n", hit, least);
  std::printf("%d passed, %d failed\n", tried > failed ? tried - failed : 0, failed);
  return failed == 0 && hit >= least;
}

Plan defaultPlan() {
  Plan plan;
  plan.equipment.command = TANEXICS_COMMAND;
  plan.equipment.loopback = LOOPBACK_LIBRARY;
  plan.equipment.hostile = HOSTILE_LIBRARY;
  plan.equipment.fence = FENCE_LIBRARY;
  plan.equipment.allocation = ALLOCATION_LIBRARY;
  plan.equipment.seeded = SEEDED_COMMAND;
  plan.jobs = std::max(1U, std::thread::hardware_concurrency());
  return plan;
}

}  // namespace

int main(int argc, char** argv) {
  Plan plan = defaultPlan();
  int least = 1;
  CLI::App app("Makes every call of the command fail in turn. Runs as the super-user.");
  app.add_option("--command", plan.equipment.command, "the command under proof");
  app.add_option("--seed", plan.seed, "of the sample and of the order");
  app.add_option("--sample", plan.sample, "how many trials, drawn by the seed; 0 for all");
  app.add_option("--jobs", plan.jobs, "how many at a time")->check(CLI::PositiveNumber);
  app.add_option("--scenario", plan.scenario, "only this line of the table");
  app.add_option("--only", plan.only, "only the trial of this name, as a finding prints it");
  app.add_option("--at-least", least, "fail when fewer faults were hit")
      ->check(CLI::PositiveNumber);
  app.add_flag("--blunt", plan.isBlunt, "inject nothing: everything must fail");
  CLI11_PARSE(app, argc, argv);
  try {
    const auto start = std::chrono::steady_clock::now();
    const Result result = sweep(plan);
    const std::chrono::duration<double> seconds = std::chrono::steady_clock::now() - start;
    return report(plan, least, result, seconds.count(), argv[0]) ? 0 : 1;
  } catch (const std::exception& error) {
    std::cerr << "the proof cannot be run: " << error.what() << "\n";
    return 2;
  }
}
