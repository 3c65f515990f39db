// Proves that the command does not depend on what its caller hands down: signals, descriptors,
// limits, working directory, environment, argument list, mask, niceness and terminal.
// docs/proof.md explains what is tried and what must hold.

#include <csignal>
#include <cstdio>
#include <map>

#include "inherited/judge.h"

namespace {

/// One bug of seeds.cpp, how the findings begin of which there must be one, and what brings it out.
struct Seed {
  const char* bug;
  const char* scenario;
  const char* judge;
  Change change;
};

const Seed kSeeds[] = {
    {"sigchld-kept", "incident", "end: ", having(&Caller::ignored, bitOf(SIGCHLD))},
    {"sigpipe-default", "incident-above-buffer", "end: signal 13", having(1, Stream::kBrokenPipe)},
    {"sigxfsz-default", "event-err", "end: signal 25", limitedTo(RLIMIT_FSIZE, 500)},
    {"handler-installed", "event-err", "command in KEL_GetID: catches", asAlways},
    {"signals-handed-on", "incident", "shell of uname", asAlways},
    {"signal-blocked", "incident", "shell of uname", asAlways},
    {"mask-kept", "event-err", "log: its permission bits", having(&Caller::mask, 0777)},
    {"mask-kept", "incident", "temporary directory: ", having(&Caller::mask, 0)},
    {"descriptors-closed", "event-err", "command in KEL_GetID: ", having(0, Stream::kClosed)},
    {"descriptors-closed", "incident", "command in KEL_GetID: ", having(1, Stream::kClosed)},
    {"zone-ignored", "event-err", "log: line 1 has the head", having("TZ=XST-9")},
    {"zone-kept", "event-err", "log: line ", changingZone("KEL_StartComm", "XST-9")},
    {"folder-needed", "event-err", "end: ", having(&Caller::folder, Folder::kDeleted)}};

class InheritedSweep : public Sweep {
 public:
  void prepare(const Plan& plan, Tally* tally) override {
    m_isBlunt = plan.isBlunt;
    enterInheritedStage(plan.command);
    for (const Scenario& scenario : inheritedScenarios()) {
      Undisturbed& reference = m_references[&scenario];
      reference.run = runIn(undisturbed(scenario), /*isBlunt=*/false);
      reference.expected = expectationFrom(scenario, reference.run);
      if (tally != nullptr) judgeReference(scenario, reference.expected, *tally);
    }
  }

  std::vector<Trial> trials() override {
    Catalogue catalogue;
    addProcess(catalogue);
    addEnvironment(catalogue);
    addMixtures(catalogue);
    std::vector<Trial> all;
    for (Situation& situation : catalogue.situations) {
      const std::string family = situation.family;
      const std::string name = situation.name;
      all.push_back(
          {family, name, [this, situation = std::move(situation)] { return tryOut(situation); }});
    }
    return all;
  }

  std::vector<Trial> selfTrials() override {
    std::vector<Trial> all;
    for (const Seed& seed : kSeeds) {
      const Situation situation = changed(seed.scenario, kSelfTestRow, seed.bug, seed.change);
      all.push_back(seedTrial(situation.name, seed.bug, seed.judge,
                              [this, situation](const std::string& bug) {
                                Situation seeded = situation;
                                seeded.bug = bug;
                                seeded.caller.environment.push_back("SEEDED_BUG=" + bug);
                                return tryOut(seeded).findings;
                              }));
    }
    return all;
  }

  /// The exceptions with the number of their claims. Returns whether each was claimed, unless
  /// something is left out.
  bool report(const Plan& plan, Tally& tally) override {
    bool areClaimed = true;
    for (const Exception& exception : kExceptions) {
      const int count = tally.claims[exception.name];
      areClaimed = areClaimed && count > 0;
      std::printf("%-28s %8d  %s\n", exception.name, count, exception.reason);
    }
    std::printf("left out: SIGKILL and SIGSTOP ignored or blocked: the kernel allows neither\n");
    if (leastNice() > -20) {
      std::printf("left out: less niceness than the caller's: not permitted here\n");
    }
    const bool isWell = areClaimed || !plan.isWhole();
    if (!isWell) std::printf("an exception is claimed by nothing\n");
    return isWell;
  }

 private:
  /// A second run must be like the first, with nothing excepted.
  void judgeReference(const Scenario& scenario, const Expected& expected, Tally& tally) {
    const Situation situation = undisturbed(scenario);
    Verdict second = tryOut(situation);
    for (const std::string& what : second.claimed) {
      second.findings.expect(false, "0: claimed: " + what);
    }
    second.findings.expect(expected.output == scenario.output, "0: another output");
    second.findings.expect(expected.errors.empty(), "0: " + expected.errors);
    tally.note(situation.family, situation.name, second.findings);
  }

  Verdict tryOut(const Situation& situation) const {
    return judgeInherited(situation, m_references.at(situation.scenario),
                          runIn(situation, m_isBlunt));
  }

  std::map<const Scenario*, Undisturbed> m_references;
  bool m_isBlunt = false;
};

}  // namespace

int main(int argc, char** argv) {
  InheritedSweep sweep;
  return runSweep(argc, argv,
                  {"Hands down everything odd to the command.",
                   "family",
                   {"tried", "hit", "excepted", "broken"}},
                  sweep);
}
