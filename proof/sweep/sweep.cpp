#include "sweep/sweep.h"

#include <algorithm>
#include <deque>
#include <iostream>
#include <random>
#include <stdexcept>

#include "sweep/judge.h"
#include "sweep/story.h"
#include "sweep/trial.h"

const char* const kSelfTestRow = "self-test";

namespace {

const char* const kNotHit = "0: the fault was not seen to hit";

/// The part of the work that one process does.
class Worker {
 public:
  Worker(const Plan& plan, unsigned number) : m_plan(plan), m_number(number) {}

  Tally work() {
    enterStage(m_plan.equipment);
    makeReferences();
    makeTrials();
    for (std::size_t at = m_number; at < m_trials.size(); at += m_plan.jobs) tryOut(m_trials[at]);
    return m_tally;
  }

 private:
  void makeReferences();
  void makeTrials();
  void addUntraced();
  void addSelfTests();
  void add(std::vector<Trial> trials);
  void tryOut(const Trial& trial);
  const Reference& referenceOf(const std::string& scenario) const;

  const Plan& m_plan;
  unsigned m_number;
  std::deque<Reference> m_references;
  std::vector<Trial> m_trials;
  Tally m_tally;
};

void Worker::makeReferences() {
  for (const Scenario& scenario : scenarios()) {
    prepareStage(scenario);
    Outcome first = runTraced(launchOf(scenario), {});
    prepareStage(scenario);
    const Outcome second = runTraced(launchOf(scenario), {});
    if (m_number == 0) {
      m_tally.count(scenario.name, "calls", static_cast<int>(first.trace.calls.size()));
      m_tally.note(scenario.name, scenario.name + " undisturbed",
                   judgeReference(scenario, first, second));
    }
    m_references.push_back({&scenario, std::move(first), m_plan.isBlunt});
  }
}

const Reference& Worker::referenceOf(const std::string& scenario) const {
  for (const Reference& reference : m_references) {
    if (reference.scenario->name == scenario) return reference;
  }
  throw std::invalid_argument("no scenario is called " + scenario);
}

void Worker::add(std::vector<Trial> trials) {
  for (Trial& trial : trials) {
    const bool isWanted = (m_plan.scenario.empty() || trial.row == m_plan.scenario) &&
                          (m_plan.only.empty() || trial.name == m_plan.only);
    if (isWanted) m_trials.push_back(std::move(trial));
  }
}

void Worker::makeTrials() {
  for (const Reference& reference : m_references) add(callTrials(reference));
  for (const char* name : {"event-err", "log-rotation", "incident"}) {
    add(signalTrials(referenceOf(name)));
  }
  // The other families and the self-tests have their own ways to a fault.
  if (!m_plan.isBlunt) addUntraced();
  // The same order in every process, so that each takes its own share of it.
  std::mt19937 random(m_plan.seed);
  std::shuffle(m_trials.begin(), m_trials.end(), random);
  if (m_plan.sample > 0 && m_trials.size() > m_plan.sample) m_trials.resize(m_plan.sample);
  // The proof of the machinery is never left to chance.
  if (!m_plan.isBlunt) addSelfTests();
}

void Worker::addUntraced() {
  for (const Reference& reference : m_references) add(allocationTrials(reference));
  add(libraryTrials(referenceOf("event-err")));
  add(throwTrials(referenceOf("incident")));
}

void Worker::addSelfTests() {
  for (const Reference& reference : m_references) add(endTrials(reference));
  add(selfTrials(referenceOf("event-err"), referenceOf("incident")));
}

void Worker::tryOut(const Trial& trial) {
  Verdict verdict;
  try {
    verdict = trial.run();
    if (!verdict.isHit) verdict.broken.emplace_back(kNotHit);
  } catch (const std::exception& error) {
    verdict.broken.push_back(std::string("0: ") + error.what());
  }
  // Asked for one trial alone, somebody wants to see it.
  if (!m_plan.only.empty()) std::cout << storyOf(verdict.run) << std::flush;
  m_tally.count(trial.row, "tried");
  m_tally.count(trial.row, "hit", verdict.isHit ? 1 : 0);
  m_tally.note(trial.row, trial.name, verdict.broken);
}

}  // namespace

Tally sweep(const Plan& plan) {
  return workTogether(plan.jobs, [&plan](unsigned number) { return Worker(plan, number).work(); });
}

std::vector<std::string> rowNames(const Tally& tally) {
  std::vector<std::string> names;
  for (const Scenario& scenario : scenarios()) names.push_back(scenario.name);
  const auto scenarioCount = static_cast<std::ptrdiff_t>(names.size());
  for (const auto& [name, counts] : tally.rows) {
    if (std::find(names.begin(), names.begin() + scenarioCount, name) ==
        names.begin() + scenarioCount) {
      names.push_back(name);
    }
  }
  return names;
}
