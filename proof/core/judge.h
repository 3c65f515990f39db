#ifndef TANEXICS_PROOF_CORE_JUDGE_H
#define TANEXICS_PROOF_CORE_JUDGE_H

#include <nlohmann/json_fwd.hpp>
#include <string>
#include <vector>

#include "core/stage.h"

// What must hold of any run, whether a tracer has watched it or not.

/// What is broken, each text with the promise, or the judge, that it belongs to at its head.
struct Findings {
  Texts broken;

  /// Notes `what` unless it is kept.
  void expect(bool isKept, const std::string& what) {
    if (!isKept) broken.push_back(what);
  }

  /// Expects the same texts, each at its place, or where `isBeginning` only the first of them.
  void expectSame(const Texts& texts, const Texts& expected, const std::string& what,
                  bool isBeginning = false);

  /// Takes over what others have found.
  void take(const Findings& others, const std::string& head = "") {
    for (const std::string& what : others.broken) broken.push_back(head + what);
  }

  /// Whether something is broken that begins so.
  bool hasHead(const std::string& head) const;
};

/// How a run came to its end, as far as its exchanges are concerned.
enum class Ending {
  kWhole,       // on its own: everything must be there
  kTerminated,  // by std::terminate: communication must be stopped, but the rest may be missing
  kCut          // where it stood: the record may end anywhere
};

/// Whether std::terminate ended the command.
bool isTerminated(const Outcome& run);

/// The third promise for a record of its own: nothing before the start or after the last stop,
/// every notification with its data call.
Findings judgeOrder(const std::string& record, const Scenario& scenario, Ending ending);

/// The calls of the closed library.
std::vector<nlohmann::json> recordsOf(const std::string& record);

/// How many exchanges a record holds.
int countExchanges(const std::string& record);

/// Whether `text` is `whole` with pieces left out, in order, each line a line of it or its part.
bool isPartOf(const std::string& text, const std::string& whole);

// --- runs that no tracer has watched -------------------------------------------------------------

/// The log must hold whole lines that all belong to the command; input files and /opt are as they
/// were.
void judgePlainly(const Outcome& reference, const Outcome& run, Findings& findings);

/// What must hold when the command came to an end of its own as well: the order of the exchanges;
/// the last line must be the exit line of the status; nothing but what the collection commands
/// print, or less where one was not run or its output not read; no temporary item is left, but
/// where the command was told that it could not be made, or the memory to remove it was not to be
/// had.
void judgePlainEnd(const Scenario& scenario, const Outcome& reference, const Outcome& run,
                   Findings& findings);

/// All that is left to promise where memory is refused to the command, or to what it starts: a
/// status of the table, or std::terminate with communication stopped and whole lines in the log.
void judgeShortOfMemory(const Scenario& scenario, const Outcome& reference, const Outcome& run,
                        Findings& findings);

#endif
