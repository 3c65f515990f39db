#include "sweep/report.h"

#include <sys/resource.h>
#include <sys/time.h>

#include <cstdio>

namespace {

/// Findings printed in full; a fault at the root of things shows in thousands of trials.
constexpr std::size_t kMostFindings = 40;

double secondsOf(const timeval& time) {
  return static_cast<double>(time.tv_sec) + static_cast<double>(time.tv_usec) * 1e-6;
}

/// The CPU time of all that has been run.
double processorSeconds() {
  rusage usage = {};
  ::getrusage(RUSAGE_CHILDREN, &usage);
  return secondsOf(usage.ru_utime) + secondsOf(usage.ru_stime);
}

}  // namespace

void printFindings(const Tally& tally, const char* program) {
  std::size_t shown = 0;
  for (const Finding& finding : tally.findings) {
    if (++shown > kMostFindings) {
      std::printf("... and %zu more\n", tally.findings.size() - kMostFindings);
      return;
    }
    std::printf("%s --only '%s'\n", program, finding.trial.c_str());
    for (const std::string& broken : finding.broken) std::printf("    %s\n", broken.c_str());
  }
}

void printEffort(std::uint32_t seed, unsigned jobs, double seconds) {
  std::printf("seed %u, %u at a time, %.0f seconds, %.0f of processor time\n", seed, jobs, seconds,
              processorSeconds());
}

bool printClosingLine(const Tally& tally) {
  const int tried = tally.sum("tried");
  const auto failed = static_cast<int>(tally.findings.size());
  std::printf("%d passed, %d failed\n", tried > failed ? tried - failed : 0, failed);
  return failed == 0;
}
