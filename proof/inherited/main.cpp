// Proves that the command does not depend on what its caller hands down: signals, descriptors,
// limits, working directory, environment, argument list, mask, niceness and terminal.
// docs/proof.md explains what is tried and what must hold.

#include <CLI/CLI.hpp>
#include <algorithm>
#include <chrono>
#include <cstdio>
#include <iostream>
#include <thread>

#include "inherited/exceptions.h"
#include "inherited/sweep.h"
#include "sweep/report.h"

namespace {

void printRow(const std::string& name, int tried, int seen, int excepted, int broken) {
  std::printf("%-28s %8d %8d %8d %8d\n", name.c_str(), tried, seen, excepted, broken);
}

void printTable(const Tally& tally) {
  std::printf("%-28s %8s %8s %8s %8s\n", "family", "tried", "seen", "excepted", "broken");
  for (const auto& [name, counts] : tally.rows) {
    if (isExceptionRow(name)) continue;
    printRow(name, tally.at(name, "tried"), tally.at(name, "seen"), tally.at(name, "excepted"),
             tally.at(name, "broken"));
  }
  printRow("all", tally.sum("tried"), tally.sum("seen"), tally.sum("excepted"),
           tally.sum("broken"));
}

/// The exceptions with the number of their claims. Returns whether each was claimed.
bool printExceptions(const Tally& tally) {
  bool areAll = true;
  for (const Exception& exception : exceptions()) {
    const int count = tally.at(exceptionRow(exception.name), "claimed");
    areAll = areAll && count > 0;
    std::printf("%-28s %8d  %s\n", exception.name, count, exception.reason);
  }
  return areAll;
}

/// What was seen to take effect. The seeded bugs are no proof of the command, unless they are all
/// that was wanted.
int seenOf(const Tally& tally) {
  const int all = tally.sum("seen");
  const int own = tally.at(kSeededRow, "seen");
  return own == all ? all : all - own;
}

/// Prints everything. Returns whether all is well.
bool report(const InheritedPlan& plan, int least, const Tally& tally, double seconds,
            const char* program) {
  printTable(tally);
  const bool areClaimed = printExceptions(tally);
  for (const std::string& what : leftOut()) std::printf("left out: %s\n", what.c_str());
  printFindings(tally, program);
  const int seen = seenOf(tally);
  printEffort(plan.seed, plan.jobs, seconds);
  if (seen < least) std::printf("only %d seen to take effect, %d are wanted\n", seen, least);
  const bool isWhole = plan.sample == 0 && plan.family.empty() && plan.only.empty();
  const bool isIdle = isWhole && !plan.isBlunt && !areClaimed;
  if (isIdle) std::printf("an exception is claimed by nothing\n");
  return printClosingLine(tally) && seen >= least && !isIdle;
}

InheritedPlan defaultPlan() {
  InheritedPlan plan;
  plan.equipment.command = TANEXICS_COMMAND;
  plan.equipment.seeded = SEEDED_COMMAND;
  plan.equipment.library = WITNESS_LIBRARY;
  plan.equipment.witness = WITNESS_PROGRAM;
  plan.jobs = std::max(1U, std::thread::hardware_concurrency());
  return plan;
}

}  // namespace

int main(int argc, char** argv) {
  InheritedPlan plan = defaultPlan();
  int least = 1;
  CLI::App app("Hands down everything odd to the command. Runs as the super-user.");
  app.add_option("--command", plan.equipment.command, "the command under proof");
  app.add_option("--seed", plan.seed, "of the sample and of the order");
  app.add_option("--sample", plan.sample, "how many situations, drawn by the seed; 0 for all");
  app.add_option("--jobs", plan.jobs, "how many at a time")->check(CLI::PositiveNumber);
  app.add_option("--family", plan.family, "only this line of the table");
  app.add_option("--only", plan.only, "only the one of this name, as a finding prints it");
  app.add_option("--at-least", least, "fail when fewer took effect")->check(CLI::NonNegativeNumber);
  app.add_flag("--blunt", plan.isBlunt, "hand down nothing: everything must fail");
  CLI11_PARSE(app, argc, argv);
  try {
    const auto start = std::chrono::steady_clock::now();
    const Tally tally = sweepInherited(plan);
    const std::chrono::duration<double> seconds = std::chrono::steady_clock::now() - start;
    return report(plan, least, tally, seconds.count(), argv[0]) ? 0 : 1;
  } catch (const std::exception& error) {
    std::cerr << "the proof cannot be run: " << error.what() << "\n";
    return 2;
  }
}
