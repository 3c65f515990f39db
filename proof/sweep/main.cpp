// Proves what the command promises on a bad day: makes each of its system calls, and of those of
// the programs that it runs, fail in turn; its allocations; the closed library; and ends it by a
// signal at every call. docs/proof.md explains what is tried and what must hold.

#include <deque>
#include <stdexcept>

#include "sweep/judge.h"
#include "sweep/trials.h"

namespace {

class FaultSweep : public Sweep {
 public:
  void prepare(const Plan& plan, Tally* tally) override {
    m_isBlunt = plan.isBlunt;
    enterStage({{kCommandFile, plan.command},
                {std::string(kLoopbackFolder) + "/libkelcom.so", LOOPBACK_LIBRARY},
                {std::string(kHostileFolder) + "/libkelcom.so", HOSTILE_LIBRARY},
                {kPreloadFile, PRELOAD_LIBRARY},
                {kSeededFile, SEEDED_COMMAND}});
    for (const Scenario& scenario : scenarios()) {
      m_references.push_back({&scenario, {}, m_isBlunt});
      Reference& reference = m_references.back();
      reference.outcome = runTraced(reference, launchOf(scenario), nullptr);
      const Outcome second = runTraced(reference, launchOf(scenario), nullptr);
      if (tally == nullptr) continue;
      const auto calls = static_cast<int>(reference.outcome.trace.calls.size());
      tally->rows[scenario.name]["calls"] = calls;
      tally->note(scenario.name, scenario.name + " undisturbed",
                  judgeReference(scenario, reference.outcome, second));
    }
  }

  std::vector<Trial> trials() override {
    std::vector<Trial> all;
    const auto add = [&all](const std::vector<Trial>& more) {
      all.insert(all.end(), more.begin(), more.end());
    };
    for (const Reference& reference : m_references) add(callTrials(reference));
    for (const char* name : {"event-err", "log-rotation", "incident"}) {
      add(signalTrials(referenceOf(name)));
    }
    // The other families have their own ways to a fault.
    if (m_isBlunt) return all;
    for (const Reference& reference : m_references) add(allocationTrials(reference));
    add(libraryTrials(referenceOf("event-err")));
    add(throwTrials(referenceOf("incident")));
    return all;
  }

  std::vector<Trial> selfTrials() override {
    std::vector<Trial> all = ::selfTrials(referenceOf("event-err"), referenceOf("incident"));
    for (const Reference& reference : m_references) all.push_back(endTrial(reference));
    return all;
  }

 private:
  const Reference& referenceOf(const std::string& name) const {
    for (const Reference& reference : m_references) {
      if (reference.scenario->name == name) return reference;
    }
    throw std::invalid_argument("no scenario is called " + name);
  }

  std::deque<Reference> m_references;
  bool m_isBlunt = false;
};

}  // namespace

int main(int argc, char** argv) {
  FaultSweep sweep;
  return runSweep(argc, argv,
                  {"Makes every call of the command fail in turn.",
                   "scenario",
                   {"calls", "tried", "hit", "broken"}},
                  sweep);
}
