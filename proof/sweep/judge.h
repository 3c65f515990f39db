#ifndef TANEXICS_PROOF_SWEEP_JUDGE_H
#define TANEXICS_PROOF_SWEEP_JUDGE_H

#include <string>
#include <vector>

#include "sweep/scenario.h"
#include "sweep/stage.h"

/// One run before its judge.
struct Case {
  const Scenario& scenario;
  const Outcome& reference;  // the undisturbed run of the scenario
  const Outcome& run;
  unsigned areas = 0;                // what the faults of the run have touched
  std::vector<std::string>& broken;  // out: each broken promise, its number first

  bool touched(unsigned some) const { return (areas & some) != 0; }
  void expect(bool isKept, int promise, const std::string& what) const {
    if (!isKept) broken.push_back(std::to_string(promise) + ": " + what);
  }
};

/// Judges a disturbed run by all seven promises. Returns what is broken, nothing when all is kept.
std::vector<std::string> judge(const Scenario& scenario, const Outcome& reference,
                               const Outcome& run);

/// Judges the undisturbed run itself: by what is known of the scenario beforehand, and by a second
/// run of the same.
std::vector<std::string> judgeReference(const Scenario& scenario, const Outcome& first,
                                        const Outcome& second);

/// Whether the command ended at once, with status 1, because a pipe failed under `s_popen`: nothing
/// that would have come later happens then.
bool isEndOfPipes(const Trace& run);

/// Whether input that could not be read was rejected: nothing follows but the end.
bool isRejected(const Case& subject);

/// Whether std::terminate ended the command.
bool isTerminated(const Trace& run);

/// Whether `text` is `whole` with pieces left out, in order, each line a line of it or its part.
bool isPartOf(const std::string& text, const std::string& whole);

// The promises, each by the file that judges it.
void judgeEnd(const Case& subject);        // 1 and 2
void judgeExchanges(const Case& subject);  // 3
void judgeLog(const Case& subject);        // 4
void judgeStreams(const Case& subject);    // 4 and 5: standard error and standard output
void judgeRemains(const Case& subject);    // 6

/// How a run came to its end, as far as its exchanges are concerned.
enum class Ending {
  kWhole,       // on its own: everything must be there
  kTerminated,  // by std::terminate: communication must be stopped, but the rest may be missing
  kCut          // where it stood: the record may end anywhere
};

/// The third promise for a record of its own: nothing before the start or after the last stop,
/// every notification with its data call.
std::vector<std::string> judgeOrder(const std::string& record, const Scenario& scenario,
                                    Ending ending);

/// How many exchanges a record holds.
int countExchanges(const std::string& record);

#endif
