#include "outcome/mix.h"

#include <algorithm>
#include <map>
#include <optional>
#include <random>

namespace {

constexpr int kFirstPid = 100;

using Random = std::mt19937_64;

int below(Random& random, int most) {
  return static_cast<int>(random() % static_cast<std::uint64_t>(most));
}

// --- made-up runs --------------------------------------------------------------------------------

/// What the library does in the exchanges of a run, and what the command logs of that: a call that
/// throws leaves the result of the call before.
class Answers {
 public:
  Answers(Random& random, int count) {
    // Most libraries answer each call alike.
    const int usual = below(random, 3) == 0 ? -1 : 0;
    for (int at = 0; at < count; ++at) {
      const int chance = below(random, 10);
      const int result = chance < 7 ? usual : -below(random, 3);
      if (chance == 9) {
        m_status = 33;
      } else {
        m_last = result;
        m_accepted += result == 0 ? 1 : 0;
      }
      m_logged.push_back(m_last);
    }
  }

  const std::vector<int>& logged() const { return m_logged; }
  int status() const { return m_status; }

  std::string truth(bool isMissing) const {
    if (m_accepted == 0) return "refused";
    const bool isWhole = m_accepted == static_cast<int>(m_logged.size()) && !isMissing;
    return isWhole ? "delivered" : "partly";
  }

 private:
  std::vector<int> m_logged;
  int m_last = 0;
  int m_accepted = 0;
  int m_status = 0;
};

MadeRun makeUnsent(Random& random) {
  const struct {
    const char* reason;
    int status;
  } kinds[] = {{"not Super-User", 65},
               {"list not found.(CSendEventSingleSystem::parseCommandLine)", 68},
               {"(CSendInfo::SendInfo) CRMSenderBase::RM_StartComm() error(code=-7)", 1}};
  const auto& kind = kinds[below(random, 3)];
  return {unsent(kind.reason, kind.status), "not-sent", false};
}

MadeRun makeRun(Random& random) {
  const int chance = below(random, 10);
  if (chance == 0) return makeUnsent(random);
  const bool isEvent = chance < 5;
  const Answers answers(random, isEvent || chance < 9 ? 2 : 4);
  const char* const end = answers.status() == 0 ? kOk : kError;
  MadeRun run;
  run.isMissing = below(random, 6) == 0;
  run.messages = isEvent ? event(answers.logged(), end, answers.status())
                         : incident(answers.logged(), end, answers.status());
  run.truth = answers.truth(run.isMissing);
  if (run.isMissing) {
    run.messages.insert(run.messages.begin() + 1,
                        "get file size error(/b,No such file or directory)");
  }
  return run;
}

// --- mixing --------------------------------------------------------------------------------------

/// The pieces of all runs in an order in which those of each one keep theirs. A process goes on for
/// a while before another takes its turn: longer in some mixes than in others.
Log mixed(Random& random, const std::vector<MadeRun>& runs) {
  std::vector<Log> writers;
  for (std::size_t process = 0; process < runs.size(); ++process) {
    writers.push_back(piecesOf(process, runs[process].messages));
  }
  const int changes = 1 + below(random, 10);  // of ten pieces so many are followed by another's
  std::vector<std::size_t> next(writers.size(), 0);
  Log log;
  std::size_t process = 0;
  std::size_t left = 0;
  for (const Log& writer : writers) left += writer.size();
  for (; left > 0; --left) {
    const auto isDone = [&] { return next[process] == writers[process].size(); };
    if (below(random, 10) < changes || isDone()) {
      process = static_cast<std::size_t>(below(random, static_cast<int>(writers.size())));
      while (isDone()) process = (process + 1) % writers.size();
    }
    log.push_back(writers[process][next[process]++]);
  }
  return log;
}

/// Whether nothing is left that tells that a file of the process is missing: the text is lost, and
/// so is its head or the next one, which leaves a line less.
bool isLineLost(const Log& before, const std::vector<bool>& isLost, std::size_t process) {
  std::vector<std::size_t> own;
  for (std::size_t at = 0; at < before.size(); ++at) {
    if (before[at].process == process) own.push_back(at);
  }
  constexpr std::size_t kFirstPiece = 3;  // it is the second line
  return isLost[own[kFirstPiece + 1]] && (isLost[own[kFirstPiece]] || isLost[own[kFirstPiece + 3]]);
}

void losePieces(Random& random, Mix& mix) {
  constexpr int kMostLost = 3;
  std::vector<bool> isLost(mix.log.size(), false);
  const int count = 1 + below(random, kMostLost);
  const bool isInARow = below(random, 2) == 0;
  std::size_t at = 0;
  for (int lost = 0; lost < count; ++lost) {
    const bool goesOn = isInARow && lost > 0 && at + 1 < mix.log.size();
    at =
        goesOn ? at + 1 : static_cast<std::size_t>(below(random, static_cast<int>(mix.log.size())));
    isLost[at] = true;
  }
  for (std::size_t process = 0; process < mix.runs.size(); ++process) {
    MadeRun& run = mix.runs[process];
    // The log has no trace of that line then, but for a line feed that may be anybody's.
    if (run.isMissing && isLineLost(mix.log, isLost, process)) {
      run.truth += run.truth == "partly" ? " or delivered" : "";
    }
  }
  Log rest;
  for (std::size_t piece = 0; piece < mix.log.size(); ++piece) {
    if (!isLost[piece]) rest.push_back(mix.log[piece]);
  }
  mix.log = std::move(rest);
  mix.hasLosses = true;
}

/// Whether a run that has written `own` may have written `text` as well, for all that its other
/// lines say.
bool fitsInPlaceOf(const std::string& own, const std::string& text) {
  if (own == text) return true;
  const auto haveBoth = [&](const char* begin) {
    return beginsWithKind(begin, own) && beginsWithKind(begin, text);
  };
  const auto isSent = [](const std::string& one) { return one == kOk || one == kError; };
  return haveBoth("RM_Communicate done (") || haveBoth("### main : tanexics exit.") ||
         (isSent(own) && isSent(text));
}

/// The verdicts of all that a process may have written; nothing where there are too many.
std::optional<std::set<std::string>> possibleVerdicts(const std::set<Texts>& possible) {
  constexpr std::size_t kMostPossible = 64;
  if (possible.size() > kMostPossible) return std::nullopt;
  std::set<std::string> verdicts;
  for (const Texts& messages : possible) verdicts.insert(verdictAlone(messages));
  return verdicts;
}

}  // namespace

Mix mixOf(std::uint32_t seed, std::uint64_t number) {
  Random random((std::uint64_t{seed} << 32U) ^ number);
  Mix mix;
  const int count = number % 2 == 0 ? 2 : 3;
  for (int run = 0; run < count; ++run) mix.runs.push_back(makeRun(random));
  mix.log = mixed(random, mix.runs);
  if (number % 4 >= 2) losePieces(random, mix);
  return mix;
}

Reading readMix(const Mix& mix) {
  constexpr std::size_t kMostSteps = 3000;
  Reading reading;
  const std::vector<outcome::Run> found = runsOf(bytesOf(mix.log));
  std::vector<Texts> kinds;
  for (const MadeRun& run : mix.runs) kinds.push_back(run.messages);
  std::optional<Judge> judge;
  if (!mix.hasLosses) {
    judge.emplace(mix.log, kinds, fitsInPlaceOf, kMostSteps);
    if (found.size() != mix.runs.size()) {
      reading.wrong.push_back(std::to_string(found.size()) + " runs are found");
    }
  }
  for (const outcome::Run& run : found) {
    const std::string verdict = wordOf(run.verdict);
    const auto process = static_cast<std::size_t>(run.pid - kFirstPid);
    const bool isUnknown = run.verdict == outcome::Verdict::kUnknown;
    ++(isUnknown ? reading.unknown : reading.told);
    const std::string& truth = mix.runs.at(process).truth;
    if (!isUnknown && truth.find(verdict) == std::string::npos) {
      reading.wrong.push_back(std::to_string(run.pid) + " is " + truth + ", not " + verdict);
      continue;
    }
    if (!judge) continue;
    const auto possible =
        judge->isWhole ? possibleVerdicts(judge->possible[process]) : std::nullopt;
    if (!possible) {
      ++reading.unjudged;
    } else if (isUnknown) {
      reading.decidable += possible->size() == 1 && possible->count(verdict) == 0 ? 1 : 0;
    } else if (*possible != std::set<std::string>{verdict}) {
      reading.wrong.push_back(std::to_string(run.pid) + " is " + verdict + " by luck alone");
    }
  }
  return reading;
}
