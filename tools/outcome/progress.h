#ifndef TANEXICS_OUTCOME_PROGRESS_H
#define TANEXICS_OUTCOME_PROGRESS_H

#include <set>

#include "tools/outcome/message.h"
#include "tools/outcome/run.h"

namespace outcome {

/// How far a run has come, and what that means for its verdict: what a line changes, and nothing
/// else. Small, and compared by value, so that all that a torn log leaves possible can be kept.
struct Progress {
  enum class Phase : unsigned char {
    kNowhere,        ///< the beginning is not in the log
    kBegun,          ///< after "started"
    kCommunicating,  ///< before "Main Loop" or the last line of a transmission
    kLooped,         ///< before the call of a notification
    kNotifying,      ///< before its answer
    kNotified,       ///< before the call of a transfer
    kTransferring,   ///< before its answer
    kSent,           ///< after "commonSendEvent OK" or "commonSendEvent Error."
    kRefused,        ///< after a line that says why nothing is sent
    kElapsed,        ///< before the last line
    kEnded,
  };
  enum class Sent : unsigned char { kNotSaid, kOk, kError };

  Phase phase = Phase::kNowhere;
  Sent sent = Sent::kNotSaid;
  bool isEvent = false;  ///< two exchanges, whatever is listed; once a call has said so
  bool isModeKnown = false;
  bool hasBeginning = false;  ///< the run's first line is in the log
  bool hasStarted = false;    ///< communication was started
  bool hasRefusal = false;
  bool isMissing = false;   ///< a listed file could not be measured
  bool mayMiss = false;     ///< lines that would tell so may be lost
  bool wasNonzero = false;  ///< the answer before was another than 0
  int part = 0;             ///< the listed file that is being sent, from 1
  int total = 0;            ///< of so many; 0: not known
  int accepted = 0;         ///< answers of 0
  int uncertain = 0;        ///< answers that may have been of 0 or not, or were lost
  int doubtful = 0;         ///< answers of 0 that repeat what was before, should a call have thrown
  int failed = 0;           ///< all other answers
  int torn = 0;             ///< lines that were lost on the way

  /// Whether a run that has come so far may write `message` next, no line of it lost.
  bool accepts(const Message& message) const;

  /// Goes on by a message, accepted or not: in the latter case the fewest lines are taken as lost
  /// that explain it.
  void advance(const Message& message);

  /// A line was written of which nobody knows what it said.
  void lose();

  /// How many exchanges there are to be made; 0 where it is not known.
  int expected() const;

  /// All verdicts that remain possible now that no more lines of the run will come.
  std::set<Verdict> verdicts() const;

  bool operator==(const Progress& other) const;

 private:
  int answered() const { return accepted + uncertain + doubtful + failed; }
  int answersBefore(int number, bool isTransfer) const;
  void fillUp(int answers);
  void start();
  void answer(const Message& message);
};

}  // namespace outcome

#endif
