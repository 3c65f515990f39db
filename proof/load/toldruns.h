#ifndef TANEXICS_PROOF_LOAD_TOLDRUNS_H
#define TANEXICS_PROOF_LOAD_TOLDRUNS_H

#include <gtest/gtest.h>

#include <cstdio>
#include <map>
#include <string>

#include "tools/outcome/reader.h"

/// What the log says of runs whose verdicts are known: by process id, the right word for each.
class ToldRuns {
 public:
  explicit ToldRuns(const std::map<int, std::string>& truths) : m_truths(truths) {}

  /// Reads a log that is given in several files, the oldest first. Every verdict must be right or
  /// unknown.
  void read(std::initializer_list<std::string> files) {
    outcome::Reader reader([this](const outcome::Run& run) {
      const auto truth = m_truths.find(run.pid);
      if (truth == m_truths.end()) return;
      ++(run.verdict == outcome::Verdict::kUnknown ? unknown : right);
      if (run.verdict == outcome::Verdict::kUnknown || wordOf(run.verdict) == truth->second) return;
      --right;
      ++wrong;
      ADD_FAILURE() << run.pid << " is " << truth->second << ", not " << wordOf(run.verdict) << ": "
                    << run.reason;
    });
    for (const std::string& bytes : files) reader.feed(bytes);
    reader.finish();
  }

  /// Prints the share that is unknown, in percent, and gives it.
  double unknownShare(const char* what) const {
    const double share = right + unknown == 0 ? 100.0 : 100.0 * unknown / (right + unknown);
    std::printf("%s: %d runs are told right, %d wrong, %d are unknown (%.1f %%)\n", what, right,
                wrong, unknown, share);
    return share;
  }

  int right = 0;
  int unknown = 0;
  int wrong = 0;

 private:
  const std::map<int, std::string>& m_truths;
};

#endif
