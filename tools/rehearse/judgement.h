#ifndef TANEXICS_REHEARSE_JUDGEMENT_H
#define TANEXICS_REHEARSE_JUDGEMENT_H

#include <optional>
#include <string>
#include <vector>

#include "tools/rehearse/folder.h"
#include "tools/rehearse/recorded.h"

/// What became of a rehearsed report, by two computations that know nothing of each other.
struct Judgement {
  /// What the record says; without a record that is whole, what the log says.
  outcome::Verdict verdict = outcome::Verdict::kUnknown;
  std::string reason = "";  ///< one sentence: why; bytes, in whatever encoding the log is

  outcome::Verdict fromRecord = outcome::Verdict::kUnknown;
  outcome::Verdict fromLog = outcome::Verdict::kUnknown;

  /// Why the log leaves open what the record decides; empty where it does not.
  std::string openInLog = "";

  /// Why the record leaves open what the log decides; empty where it does not.
  std::string openInRecord = "";

  /// One of the two is wrong: nothing that the log cannot know explains the difference.
  bool isContradiction = false;
};

/// Judges a run by both.
///
/// `recorded`    nothing where there is no record.
/// `runs`        the runs that the log has.
/// `waitStatus`  how the run ended, see wait(2).
Judgement judge(const std::optional<Recorded>& recorded, const std::vector<outcome::Run>& runs,
                int waitStatus);

/// The same of the record and the log, with its backup in front, that a rehearsal has left.
Judgement judgementOf(const RehearsalFolder& folder, int waitStatus);

#endif
