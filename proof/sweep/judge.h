#ifndef TANEXICS_PROOF_SWEEP_JUDGE_H
#define TANEXICS_PROOF_SWEEP_JUDGE_H

#include <string>

#include "core/judge.h"

/// One run before its judge.
struct Case {
  const Scenario& scenario;
  const Outcome& reference;  // the undisturbed run of the scenario
  const Outcome& run;
  unsigned areas = 0;  // what the faults of the run have touched
  Findings& findings;  // out: each broken promise, its number first

  bool touched(unsigned some) const { return (areas & some) != 0; }
  void expect(bool isKept, const std::string& what) const { findings.expect(isKept, what); }
};

/// Judges a disturbed run by all seven promises.
Findings judge(const Scenario& scenario, const Outcome& reference, const Outcome& run);

/// Judges the undisturbed run itself: by what is known of the scenario beforehand, and by a second
/// run of the same.
Findings judgeReference(const Scenario& scenario, const Outcome& first, const Outcome& second);

/// Whether the command ended at once, with status 1, because a pipe failed under `s_popen`: nothing
/// that would have come later happens then.
bool isEndOfPipes(const Trace& run);

/// Whether input that could not be read was rejected: nothing follows but the end.
bool isRejected(const Case& subject);

// Promises in files of their own.
void judgeExchanges(const Case& subject);  // 3
void judgeLog(const Case& subject);        // 4
void judgeRemains(const Case& subject);    // 6

#endif
