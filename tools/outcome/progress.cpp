#include "tools/outcome/progress.h"

#include <algorithm>
#include <tuple>

#include "rmglib/kelcom.h"

namespace outcome {

namespace {

bool isEventRequest(unsigned request) {
  return request == kKelNotifyErrorEvent || request == kKelNotifyOtherEvent ||
         request == kKelDataEvent;
}

auto valuesOf(const Progress& p) {
  return std::tie(p.phase, p.sent, p.isEvent, p.isModeKnown, p.hasBeginning, p.hasStarted,
                  p.hasRefusal, p.isMissing, p.mayMiss, p.wasNonzero, p.part, p.total, p.accepted,
                  p.uncertain, p.doubtful, p.failed, p.torn);
}

}  // namespace

bool Progress::operator==(const Progress& other) const {
  return valuesOf(*this) == valuesOf(other);
}

int Progress::expected() const {
  if (!isModeKnown || total <= 0) return 0;
  return isEvent ? 2 : 2 * total;
}

bool Progress::accepts(const Message& message) const {
  const bool isFinished =
      phase == Phase::kCommunicating && part > 0 && (isModeKnown && isEvent ? true : part == total);
  if (message.kind == Kind::kUnread || phase == Phase::kEnded) return false;
  if (message.kind == Kind::kStarted) return *this == Progress();
  if (phase == Phase::kNowhere) return true;
  switch (message.kind) {
    case Kind::kOther:
      return phase != Phase::kElapsed;
    case Kind::kRefusal:
    case Kind::kStartedComm:
    case Kind::kMissing:
      return phase == Phase::kBegun;
    case Kind::kLoop:
      return phase == Phase::kCommunicating && !isFinished && message.number == part + 1 &&
             message.total >= message.number && (part == 0 || message.total == total);
    case Kind::kNotification:
      return phase == Phase::kLooped && (message.part == 0 || message.part == part) &&
             (message.total == 0 || message.total == total) &&
             (!isModeKnown || isEvent == isEventRequest(message.request));
    case Kind::kData:
      return phase == Phase::kNotified && isModeKnown &&
             isEvent == isEventRequest(message.request) && message.total == (isEvent ? total : 1);
    case Kind::kDone:
      return phase == Phase::kNotifying || phase == Phase::kTransferring;
    case Kind::kSent:
      return isFinished;
    case Kind::kNoTempDir:
      return phase == Phase::kSent || phase == Phase::kRefused;
    case Kind::kElapsed:
      return phase == Phase::kBegun || phase == Phase::kSent || phase == Phase::kRefused;
    default:  // the exit: all others are decided above
      return phase == Phase::kElapsed;
  }
}

int Progress::answersBefore(int number, bool isTransfer) const {
  return 2 * (number - 1) + (isTransfer ? 1 : 0);
}

/// Answers that must have been given by now, and are not in the log, may have been anything.
void Progress::fillUp(int answers) {
  if (answered() >= answers) return;
  uncertain += answers - answered();
  wasNonzero = false;
}

void Progress::lose() {
  ++torn;
  if (!hasStarted) mayMiss = true;
}

/// Communication was started, whether its line is in the log or not.
void Progress::start() {
  if (!hasStarted) mayMiss = true;
  hasStarted = true;
}

void Progress::answer(const Message& message) {
  if (message.number != 0) {
    ++failed;
  } else if (!message.text.empty()) {
    ++uncertain;
  } else if (wasNonzero) {
    ++accepted;  // a call that throws repeats the answer before: this one was given
  } else {
    ++doubtful;
  }
  wasNonzero = message.number != 0;
}

void Progress::advance(const Message& message) {
  if (!accepts(message) && message.kind != Kind::kOther && message.kind != Kind::kMissing) lose();
  switch (message.kind) {
    case Kind::kOther:
    case Kind::kUnread:
    case Kind::kNoTempDir:
      if (phase == Phase::kNowhere) mayMiss = true;  // no longer the first line
      return;
    case Kind::kStarted:
      *this = {};
      hasBeginning = true;
      phase = Phase::kBegun;
      return;
    case Kind::kMissing:
      isMissing = true;
      return;
    case Kind::kRefusal:
      hasRefusal = true;
      phase = Phase::kRefused;
      return;
    case Kind::kStartedComm:
      if (phase == Phase::kNowhere) mayMiss = true;
      hasStarted = true;
      phase = Phase::kCommunicating;
      return;
    case Kind::kLoop:
      start();
      part = message.number;
      total = message.total;
      fillUp(answersBefore(part, false));
      phase = Phase::kLooped;
      return;
    case Kind::kNotification:
      start();
      isModeKnown = true;
      isEvent = isEventRequest(message.request);
      if (message.part > 0) part = message.part;
      if (message.total > 0) total = message.total;
      fillUp(answersBefore(std::max(part, 1), false));
      phase = Phase::kNotifying;
      return;
    case Kind::kData:
      start();
      isModeKnown = true;
      isEvent = isEventRequest(message.request);
      if (isEvent) {
        part = 1;
        total = message.total;
      } else if (phase == Phase::kCommunicating) {
        ++part;  // its "Main Loop" and its notification are lost
      }
      fillUp(answersBefore(std::max(part, 1), true));
      phase = Phase::kTransferring;
      return;
    case Kind::kDone:
      start();
      if (phase == Phase::kCommunicating) ++part;
      answer(message);
      phase = phase == Phase::kNotified || phase == Phase::kTransferring ? Phase::kCommunicating
                                                                         : Phase::kNotified;
      return;
    case Kind::kSent:
      start();
      fillUp(expected());
      sent = message.number == 0 ? Sent::kOk : Sent::kError;
      phase = Phase::kSent;
      return;
    case Kind::kElapsed:
      if (hasStarted) fillUp(expected());
      phase = Phase::kElapsed;
      return;
    case Kind::kExit:
      if (hasStarted) fillUp(expected());
      phase = Phase::kEnded;
      return;
  }
}

std::set<Verdict> Progress::verdicts() const {
  if (!hasStarted) {
    if (hasRefusal) return {Verdict::kNotSent};
    const bool isWhole = phase == Phase::kEnded && hasBeginning && torn == 0;
    return {isWhole ? Verdict::kNotSent : Verdict::kUnknown};
  }
  if (hasRefusal && answered() == 0) return {Verdict::kNotSent};

  // With an integer thrown, an answer of 0 may stand for a call that gave none.
  const bool isOk = sent == Sent::kOk;
  const int ok = accepted + (isOk ? doubtful : 0);
  const int open = uncertain + (isOk ? 0 : doubtful);
  if (ok > 0 && failed > 0) return {Verdict::kPartly};
  if (expected() == 0 || answered() > expected()) return {Verdict::kUnknown};
  const int lost = expected() - answered();
  const int undecided = open + lost;

  std::set<Verdict> possible;
  if (failed == 0 && isOk) {
    if (!isMissing) possible.insert(Verdict::kDelivered);
    if (isMissing || mayMiss) possible.insert(Verdict::kPartly);
  }
  if (ok == 0) possible.insert(Verdict::kRefused);
  if (undecided > 0) possible.insert(Verdict::kPartly);
  return possible;
}

}  // namespace outcome
