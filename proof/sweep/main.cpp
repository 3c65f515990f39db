// Proves what the command promises on a bad day: makes each of its system calls, and of those of
// the programs that it runs, fail in turn; its allocations; the closed library; and ends it by a
// signal at every call. docs/proof.md explains what is tried and what must hold.

#include <CLI/CLI.hpp>
#include <algorithm>
#include <chrono>
#include <cstdio>
#include <iostream>
#include <thread>

#include "sweep/report.h"
#include "sweep/sweep.h"

namespace {

void printRow(const std::string& name, int calls, int tried, int hit, int broken) {
  std::printf("%-28s %7d %8d %8d %8d\n", name.c_str(), calls, tried, hit, broken);
}

void printTable(const Tally& tally) {
  std::printf("%-28s %7s %8s %8s %8s\n", "scenario", "calls", "tried", "hit", "broken");
  int calls = 0;
  for (const std::string& name : rowNames(tally)) {
    if (tally.at(name, "tried") == 0 && tally.at(name, "broken") == 0) continue;
    calls += tally.at(name, "calls");
    printRow(name, tally.at(name, "calls"), tally.at(name, "tried"), tally.at(name, "hit"),
             tally.at(name, "broken"));
  }
  printRow("all", calls, tally.sum("tried"), tally.sum("hit"), tally.sum("broken"));
}

/// The faults that hit. The self-tests are none, unless they are all that was wanted.
int faultsHit(const Tally& tally) {
  const int all = tally.sum("hit");
  const int own = tally.at(kSelfTestRow, "hit");
  return own == all ? all : all - own;
}

/// Prints everything. Returns whether all is well.
bool report(const Plan& plan, int least, const Tally& tally, double seconds, const char* program) {
  printTable(tally);
  printFindings(tally, program);
  const int hit = faultsHit(tally);
  printEffort(plan.seed, plan.jobs, seconds);
  if (hit < least) std::printf("only %d faults hit, %d are wanted\n", hit, least);
  return printClosingLine(tally) && hit >= least;
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
    const Tally tally = sweep(plan);
    const std::chrono::duration<double> seconds = std::chrono::steady_clock::now() - start;
    return report(plan, least, tally, seconds.count(), argv[0]) ? 0 : 1;
  } catch (const std::exception& error) {
    std::cerr << "the proof cannot be run: " << error.what() << "\n";
    return 2;
  }
}
