#ifndef TANEXICS_PROOF_INHERITED_SUBJECT_H
#define TANEXICS_PROOF_INHERITED_SUBJECT_H

#include <string>
#include <vector>

#include "inherited/judge.h"
#include "sweep/judge_plain.h"

/// One run before its judge.
struct Subject {
  const Situation& situation;
  const Undisturbed& undisturbed;
  const Expected& expected;
  const Run& run;
  std::vector<std::string>& broken;

  void expect(bool isKept, const std::string& what) const { demand(isKept, what, broken); }
};

// What must be as expected, each by the file that judges it.
void judgeLog(const Subject& subject);        // heads, messages, permission bits and backup
void judgeProcesses(const Subject& subject);  // the command at each call, and its children

#endif
